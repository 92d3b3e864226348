// What changed in the English since an out-of-date translation was made: the English text at the
// translation's revision and now, as a word difference with the revisions named, the grade of
// the change and, for a trivial one, Keep Approval, which carries the translation over as the
// editor's Carry Over Trivial Changes does and saves it.

#include "dialogs/frmTranslate.h"

#include "dialogs/DialogSupport.h"
#include "history/EnglishChanges.h"
#include "services/ErrorContext.h"
#include "textdiff/TextDiff.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace kvedit {

using namespace dialogs;

namespace {

// The text properties in words, for a change of properties only.
QString PropertyWords(const EntryValues &v)
{
    QStringList words;
    words << ((v.properties & tpMultipleLines) ? QStringLiteral("multiple lines") : QStringLiteral("single line"));
    if (v.properties & tpAllowTab)
        words << QStringLiteral("tabs allowed");
    if (v.properties & tpAllowShortcut) {
        words << QStringLiteral("shortcut allowed");
        if (!v.shortcutCharacter.isEmpty())
            words << QStringLiteral("shortcut %1").arg(v.shortcutCharacter);
        if (v.shortcutMode != 0)
            words << QStringLiteral("mode %1").arg(v.shortcutMode);
    }
    return words.join(QStringLiteral(", "));
}

// Line breaks of the stored texts are CR LF; the difference shows them as one break.
QString Shown(const QString &text)
{
    return QString(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
}

} // namespace

QGroupBox *frmTranslate::CreateChangePanel()
{
    fraChange = new QGroupBox(QStringLiteral("What changed in the English"), this);
    fraChange->setObjectName(QStringLiteral("fraChange"));
    lblChangeRevisions = new QLabel(fraChange);
    lblChangeRevisions->setObjectName(QStringLiteral("lblChangeRevisions"));
    lblChange = new QLabel(fraChange);
    lblChange->setObjectName(QStringLiteral("lblChange"));
    lblChange->setTextFormat(Qt::RichText);
    lblChange->setWordWrap(true);
    lblChange->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A struck comma must be seen at a glance: the difference is set a little larger.
    QFont larger = lblChange->font();
    larger.setPointSizeF(larger.pointSizeF() * 1.2);
    lblChange->setFont(larger);
    lblChangeClass = new QLabel(fraChange);
    lblChangeClass->setObjectName(QStringLiteral("lblChangeClass"));
    cmdKeepApproval = new QPushButton(QStringLiteral("&Keep Approval"), fraChange);
    cmdKeepApproval->setObjectName(QStringLiteral("cmdKeepApproval"));
    cmdKeepApproval->setAutoDefault(false);

    auto *bottom = new QHBoxLayout;
    bottom->addWidget(lblChangeClass, 1);
    bottom->addWidget(cmdKeepApproval);
    auto *layout = new QVBoxLayout(fraChange);
    layout->setSpacing(4);
    layout->addWidget(lblChangeRevisions);
    layout->addWidget(lblChange);
    layout->addLayout(bottom);
    fraChange->hide();

    connect(cmdKeepApproval, &QPushButton::clicked, this, &frmTranslate::cmdKeepApproval_Click);
    return fraChange;
}

void frmTranslate::ShowEnglishChange()
{
    Reporting("frmTranslate", "ShowEnglishChange", [&] {
        m_change.reset();
        fraChange->hide();
        const StringEntryPtr entry = Require(m_entry, "entry");
        const StringSource version = entry->StringSource();
        const StringTableSetPtr tables = entry->TextTable();
        if (version == ssEnglishDefault || !tables)
            return;
        const std::optional<history::EnglishChange> change = history::ChangeSince(*tables, entry->Id(), version);
        if (!change)
            return;
        m_change = std::make_shared<const history::EnglishChange>(*change);
        lblChangeRevisions->setText(QStringLiteral("English at revision %1 (when this was translated) and at revision %2 (now):")
                                        .arg(change->fromRevision)
                                        .arg(change->toRevision));
        QString shown;
        if (!change->before) {
            shown = QStringLiteral("<i>The text at revision %1 was not kept.</i> Now: %2")
                        .arg(change->fromRevision)
                        .arg(Shown(change->after.text).toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")));
        } else {
            shown = textdiff::DiffHtml(textdiff::WordDiff(Shown(change->before->text), Shown(change->after.text)));
            if (change->change == history::ChangeClass::Properties)
                shown += QStringLiteral("<br>Properties: <s style=\"color:#b71c1c\">%1</s> <span style=\"color:#1b5e20\">%2</span>")
                             .arg(PropertyWords(*change->before).toHtmlEscaped(), PropertyWords(change->after).toHtmlEscaped());
        }
        lblChange->setText(shown);
        const bool trivial = history::IsTrivial(change->change) && change->before;
        lblChangeClass->setText(QStringLiteral("Change: %1").arg(history::Describe(change->change)));
        cmdKeepApproval->setVisible(trivial);
        if (trivial) {
            const std::optional<history::CarriedOver> carried = history::CarryOver(*change, entry->TextTable()->Values(entry->Id(), version));
            cmdKeepApproval->setToolTip(QStringLiteral("Save the translation for the new English text, its approval kept (%1)")
                                            .arg(carried ? carried->note : QString()));
        }
        fraChange->show();
    });
}

void frmTranslate::cmdKeepApproval_Click()
{
    Reporting("frmTranslate", "cmdKeepApproval_Click", [&] {
        if (!m_change || !m_entry)
            return;
        // Carried over from what the dialog holds now, so an edit made here is kept.
        EntryValues current{TrimBlanks(TranslationText()), txtDescription->text(), ShortcutCharacter(),
                            (AllowShortcut() ? tpAllowShortcut : 0) | (LineMode() == 0 ? tpMultipleLines : 0)
                                | (AllowTab() ? tpAllowTab : 0),
                            ShortcutMode()};
        const std::optional<history::CarriedOver> carried = history::CarryOver(*m_change, current);
        if (!carried)
            return;
        const EntryValues &v = carried->values;
        setAllowShortcut(v.properties & tpAllowShortcut);
        setAllowTab(v.properties & tpAllowTab);
        setLineMode((v.properties & tpMultipleLines) ? 0 : 1);
        cboShortcutMode->setCurrentIndex(v.shortcutMode);
        setShortcutCharacter(v.shortcutCharacter);
        if (v.text != current.text)
            rtfTranslate->setPlainText(QString(v.text).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
        setValid(m_entry->Status(sfApproved));
        cmdSave_Click();
    });
}

} // namespace kvedit
