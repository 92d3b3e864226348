#include "dialogs/frmTranslate.h"

#include "checks/Checks.h"
#include "common/basCheckJapanese.h"
#include "common/basGlobals.h"
#include "dialogs/DialogSupport.h"
#include "dialogs/frmInsert.h"
#include "dialogs/frmParameters.h"
#include "dialogs/frmReport.h"
#include "services/Services.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QTextCursor>
#include <QTextBlock>
#include <QTextEdit>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

Q_LOGGING_CATEGORY(lcDialogs, "kvedit.dialogs")

namespace kvedit {

using namespace dialogs;

namespace {

const char *const kPropertyCheckNames[3] = {"chkProperties_0", "chkProperties_1", "chkProperties_2"};
const char *const kPropertyLabelNames[3] = {"lblProperties_0", "lblProperties_1", "lblProperties_2"};

// Captions of the property labels that stand in for the check boxes in translate mode.
QString PropertyCaption(int index, bool on)
{
    switch (index) {
    case frmTranslate::piShortcut:
        return on ? QStringLiteral("Shortcuts enabled") : QStringLiteral("Shortcuts disabled");
    case frmTranslate::piMultipleLines:
        return on ? QStringLiteral("Multiline enabled") : QStringLiteral("Multiline disabled");
    default:
        return on ? QStringLiteral("Allow Tab Characters") : QStringLiteral("Prohibit Tab Characters");
    }
}

// The numeric value of an id text, when it is a number at all.
std::optional<double> NumericValue(const QString &text)
{
    bool ok = false;
    const double value = QLocale::c().toDouble(text.trimmed(), &ok);
    if (!ok || std::isnan(value))
        return std::nullopt;
    return value;
}

// The id text as a 16-bit whole number, rounding halves to even; a text that is no number or
// does not fit fails as the conversion would.
StringId ToStringId(const QString &text)
{
    const std::optional<double> value = NumericValue(text);
    if (!value)
        throw KvError(errTypeMismatch, QStringLiteral("Type mismatch: \"%1\" is not a number").arg(text));
    const double rounded = std::nearbyint(*value);
    if (rounded < -32768.0 || rounded > 32767.0)
        throw KvError(errOverflow, QStringLiteral("Overflow: %1 is not a 16-bit number").arg(text));
    return static_cast<StringId>(rounded);
}

// The text of a plain-text box with its line breaks as CR LF. The raw text keeps no-break
// spaces, which translations need; paragraph and line separators both count as a break.
QString BoxText(const QPlainTextEdit *box)
{
    QString text = box->document()->toRawText();
    QString out;
    out.reserve(text.size() + 16);
    for (const QChar ch : std::as_const(text)) {
        if (ch == QChar::ParagraphSeparator || ch == QChar::LineSeparator)
            out += QStringLiteral("\r\n");
        else
            out += ch;
    }
    return out;
}

// A check box and its stand-in label share one cell: in translate mode the label takes the
// check box's place, so the cell is as wide as the widest of them.
QWidget *PropertyCell(QWidget *parent, QCheckBox *check, QLabel *label)
{
    auto *cell = new QWidget(parent);
    check->setParent(cell);
    label->setParent(cell);
    label->hide();
    return cell;
}

// Sizes a property cell for the captions in the form's final font.
void SizePropertyCell(QCheckBox *check, QLabel *label)
{
    const int index = check->objectName().back().digitValue();
    const QString caption = label->text();
    int width = check->sizeHint().width();
    int labelHeight = 0;
    for (bool on : {true, false}) {
        label->setText(PropertyCaption(index, on));
        width = qMax(width, label->sizeHint().width());
        labelHeight = qMax(labelHeight, label->sizeHint().height());
    }
    label->setText(caption);
    const int checkHeight = check->sizeHint().height();
    check->setGeometry(0, 0, width, checkHeight);
    label->resize(width, labelHeight);
    check->parentWidget()->setFixedSize(width, qMax(checkHeight, labelHeight));
}

} // namespace

frmTranslate::frmTranslate(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmTranslate"));
    setWindowTitle(QStringLiteral("translate string"));
    CreateControls();
    Form_Load();
    FinishLayout();
}

void frmTranslate::CreateControls()
{
    auto named = [](auto *control, const char *name) {
        control->setObjectName(QLatin1String(name));
        return control;
    };

    cmdReport = named(new QPushButton(QStringLiteral("&Report")), "cmdReport");
    tmrFocus = named(new QTimer(this), "tmrFocus");
    tmrFocus->setSingleShot(true);
    fraTranslate = named(new QGroupBox(QStringLiteral("&Translation")), "fraTranslate");
    chkValidTranslation = named(new QCheckBox(QStringLiteral("&Valid Translation")), "chkValidTranslation");
    rtfTranslate = named(new QPlainTextEdit, "rtfTranslate");
    const QString checkCaptions[3] = {QStringLiteral("&Allow Shortcut"), QStringLiteral("&Multiple Lines"),
                                      QStringLiteral("Allow &Tab Characters")};
    for (int i = 0; i < 3; ++i) {
        chkProperties[i] = named(new QCheckBox(checkCaptions[i]), kPropertyCheckNames[i]);
        lblProperties[i] = named(new QLabel, kPropertyLabelNames[i]);
    }
    cmdInsert = named(new QPushButton(QStringLiteral("&Insert Special")), "cmdInsert");
    cboShortcutCharacter = named(new QComboBox, "cboShortcutCharacter");
    cboShortcutMode = named(new QComboBox, "cboShortcutMode");
    lblShortcutChar = named(new QLabel(QStringLiteral("Shortcut &Character:")), "lblShortcutChar");
    fraSource = named(new QGroupBox(QStringLiteral("&Original Text")), "fraSource");
    cboOriginal = named(new QComboBox, "cboOriginal");
    rtfOriginal = named(new QPlainTextEdit, "rtfOriginal");
    txtProperties = named(new QPlainTextEdit, "txtProperties");
    fraParameters = named(new QGroupBox(QStringLiteral("&Parameters")), "fraParameters");
    cmdEditParameterDefs = named(new QPushButton(QStringLiteral("&Edit")), "cmdEditParameterDefs");
    txtCount = named(new QLineEdit, "txtCount");
    lvwParameters = named(new QTreeWidget, "lvwParameters");
    lblCount = named(new QLabel(QStringLiteral("&Parameter Count:")), "lblCount");
    txtDescription = named(new QLineEdit, "txtDescription");
    txtId = named(new QLineEdit, "txtId");
    cmdCancel = named(new QPushButton(QStringLiteral("&Cancel")), "cmdCancel");
    cmdSave = named(new QPushButton(QStringLiteral("&Save")), "cmdSave");
    cmdSaveNext = named(new QPushButton(QStringLiteral("Save && Ne&xt")), "cmdSaveNext");
    cmdSaveNext->setToolTip(QStringLiteral("Save, then open the next string that needs work (Ctrl+Return)"));
    cmdCopyOriginal = named(new QPushButton(QStringLiteral("Cop&y Original")), "cmdCopyOriginal");
    cmdCopyOriginal->setToolTip(QStringLiteral("Put the original text into the translation (Ctrl+B)"));
    lblDescription = named(new QLabel(QStringLiteral("&Description:")), "lblDescription");
    lblId = named(new QLabel(QStringLiteral("String &Resource Id:")), "lblId");
    lblProblems = named(new QLabel, "lblProblems");
    lblProblems->setWordWrap(true);
    lblProblems->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    lblProblems->setTextFormat(Qt::PlainText);

    lblId->setBuddy(txtId);
    lblDescription->setBuddy(txtDescription);
    lblShortcutChar->setBuddy(cboShortcutCharacter);
    lblCount->setBuddy(txtCount);

    rtfOriginal->setReadOnly(true);
    txtProperties->setReadOnly(true);
    txtProperties->setTabChangesFocus(true);
    txtProperties->setFocusPolicy(Qt::NoFocus);
    // Tab moves on to the next control; a tab character is inserted through Insert Special.
    rtfTranslate->setTabChangesFocus(true);
    txtCount->setReadOnly(true);
    txtCount->setAlignment(Qt::AlignRight);
    SetupReportList(lvwParameters);
    // Blank until an entry's definitions name the columns, rather than the list's own numbers.
    lvwParameters->setHeaderLabels({QString(), QString()});

    cboOriginal->setMinimumContentsLength(16);
    cboShortcutCharacter->setMinimumContentsLength(6);
    cboShortcutMode->setSizeAdjustPolicy(QComboBox::AdjustToContents);

    // No button is the default: Enter in a text box must neither save nor close the dialog.
    for (QPushButton *button : {cmdReport, cmdInsert, cmdEditParameterDefs, cmdCancel, cmdSave, cmdSaveNext, cmdCopyOriginal})
        button->setAutoDefault(false);

    // Id and description.
    auto *idRow = new QHBoxLayout;
    idRow->addWidget(lblId);
    idRow->addWidget(txtId);
    idRow->addSpacing(16);
    idRow->addWidget(lblDescription);
    idRow->addWidget(txtDescription, 1);

    // The original on top, its stored properties beside it.
    auto *sourceGrid = new QGridLayout(fraSource);
    sourceGrid->addWidget(cboOriginal, 0, 0, Qt::AlignLeft);
    sourceGrid->addWidget(rtfOriginal, 1, 0);
    sourceGrid->addWidget(txtProperties, 1, 1);
    sourceGrid->setColumnStretch(0, 1);
    sourceGrid->setRowStretch(1, 1);

    // The new text, its commands at the side, its properties below.
    auto *translateGrid = new QGridLayout(fraTranslate);
    auto *commandColumn = new QVBoxLayout;
    commandColumn->addWidget(cmdInsert);
    commandColumn->addWidget(cmdReport);
    commandColumn->addWidget(cmdCopyOriginal);
    commandColumn->addStretch(1);
    auto *textColumn = new QVBoxLayout;
    textColumn->setSpacing(2);
    textColumn->addWidget(rtfTranslate, 1);
    textColumn->addWidget(lblProblems);
    translateGrid->addLayout(textColumn, 0, 0, 1, 4);
    translateGrid->addLayout(commandColumn, 0, 4);
    auto *propertyColumn = new QVBoxLayout;
    propertyColumn->setSpacing(2);
    for (int i = 0; i < 3; ++i)
        propertyColumn->addWidget(PropertyCell(fraTranslate, chkProperties[i], lblProperties[i]));
    translateGrid->addLayout(propertyColumn, 1, 0, 2, 1, Qt::AlignTop);
    translateGrid->addWidget(lblShortcutChar, 1, 1);
    translateGrid->addWidget(cboShortcutCharacter, 1, 2, Qt::AlignLeft);
    translateGrid->addWidget(cboShortcutMode, 2, 2, Qt::AlignLeft | Qt::AlignTop);
    translateGrid->addWidget(chkValidTranslation, 2, 4, Qt::AlignRight | Qt::AlignBottom);
    translateGrid->setColumnMinimumWidth(0, 0);
    translateGrid->setColumnStretch(3, 1);
    translateGrid->setRowStretch(0, 1);
    translateGrid->setHorizontalSpacing(12);

    // The parameters: count and the Edit command above the list.
    auto *parameterGrid = new QGridLayout(fraParameters);
    parameterGrid->addWidget(lblCount, 0, 0);
    parameterGrid->addWidget(txtCount, 0, 1);
    parameterGrid->setColumnStretch(2, 1);
    parameterGrid->addWidget(cmdEditParameterDefs, 0, 3);
    parameterGrid->addWidget(lvwParameters, 1, 0, 1, 4);
    parameterGrid->setRowStretch(1, 1);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdSaveNext);
    buttons->addWidget(cmdSave);
    buttons->addWidget(cmdCancel);

    auto *fields = new QVBoxLayout;
    fields->addWidget(fraSource, 2);
    fields->addWidget(fraTranslate, 3);
    fields->addWidget(fraParameters, 2);

    // Beside the form, not above or below it: what changed in the English and the memory's
    // suggestions. Stacked in the form they made it taller than a laptop's screen.
    fraAssist = new QWidget(this);
    fraAssist->setObjectName(QStringLiteral("fraAssist"));
    auto *assist = new QVBoxLayout(fraAssist);
    assist->setContentsMargins(0, 0, 0, 0);
    assist->addWidget(CreateChangePanel());
    assist->addWidget(CreateSuggestions(), 1);
    assist->addStretch(0);
    fraAssist->hide();

    auto *body = new QHBoxLayout;
    body->addLayout(fields, 1);
    body->addWidget(fraAssist);

    auto *form = new QVBoxLayout(this);
    form->addLayout(idRow);
    form->addLayout(body, 1);
    form->addLayout(buttons);

    QWidget *tabOrder[] = {txtId, txtDescription, cboOriginal, rtfOriginal, rtfTranslate, cmdInsert, cmdReport,
                           cmdCopyOriginal, chkProperties[0], chkProperties[1], chkProperties[2],
                           cboShortcutCharacter, cboShortcutMode, chkValidTranslation, txtCount,
                           cmdEditParameterDefs, lvwParameters, cmdSaveNext, cmdSave, cmdCancel};
    for (size_t i = 1; i < std::size(tabOrder); ++i)
        setTabOrder(tabOrder[i - 1], tabOrder[i]);

    for (QWidget *control : {static_cast<QWidget *>(rtfTranslate), static_cast<QWidget *>(txtId),
                             static_cast<QWidget *>(txtDescription), static_cast<QWidget *>(rtfOriginal)})
        control->installEventFilter(this);

    connect(tmrFocus, &QTimer::timeout, this, &frmTranslate::tmrFocus_Timer);
    connect(cboOriginal, &QComboBox::currentIndexChanged, this, &frmTranslate::cboOriginal_Click);
    connect(txtId, &QLineEdit::textChanged, this, &frmTranslate::txtId_Change);
    connect(cmdSave, &QPushButton::clicked, this, &frmTranslate::cmdSave_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmTranslate::cmdCancel_Click);
    connect(cmdSaveNext, &QPushButton::clicked, this, &frmTranslate::cmdSaveNext_Click);
    connect(cmdCopyOriginal, &QPushButton::clicked, this, &frmTranslate::cmdCopyOriginal_Click);
    auto *copyOriginal = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_B), this);
    connect(copyOriginal, &QShortcut::activated, this, &frmTranslate::cmdCopyOriginal_Click);
    for (int i = 0; i < 3; ++i)
        connect(chkProperties[i], &QCheckBox::clicked, this, [this, i] { chkProperties_Click(i); });
    connect(chkValidTranslation, &QCheckBox::clicked, this, &frmTranslate::chkValidTranslation_Click);
    connect(cmdInsert, &QPushButton::clicked, this, &frmTranslate::cmdInsert_Click);
    connect(cmdReport, &QPushButton::clicked, this, &frmTranslate::cmdReport_Click);
    connect(cmdEditParameterDefs, &QPushButton::clicked, this, &frmTranslate::cmdEditParameterDefs_Click);
    // The problems follow the text and every property the checks read.
    connect(rtfTranslate, &QPlainTextEdit::textChanged, this, &frmTranslate::UpdateProblems);
    for (QCheckBox *check : chkProperties)
        connect(check, &QCheckBox::toggled, this, &frmTranslate::UpdateProblems);
    for (QComboBox *box : {cboShortcutCharacter, cboShortcutMode})
        connect(box, &QComboBox::currentIndexChanged, this, &frmTranslate::UpdateProblems);

}

void frmTranslate::FinishLayout()
{
    // Sized once the form has its final font (which may be a Japanese one).
    for (int i = 0; i < 3; ++i)
        SizePropertyCell(chkProperties[i], lblProperties[i]);
    const QFontMetrics metrics = fontMetrics();
    const int lineHeight = metrics.lineSpacing();
    txtId->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("0000000")) + 12);
    txtCount->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("0000")) + 12);
    rtfOriginal->setMinimumHeight(lineHeight * 4 + 12);
    rtfTranslate->setMinimumHeight(lineHeight * 5 + 12);
    // Two lines, kept as the problems come and go, so the dialog never jumps as one types.
    lblProblems->setFixedHeight(lineHeight * 2);
    txtProperties->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("Allow tab characterWW")) + 12);
    lvwParameters->setMinimumHeight(lineHeight * 5 + 12);
    const QSize designed(TwipsToPixelsX(10800), TwipsToPixelsY(9000));
    resize(designed.expandedTo(minimumSizeHint()));
    fraAssist->setFixedWidth(TwipsToPixelsX(7200));
    // Lay the controls out now: the parameter columns are sized from the list's width before the
    // dialog is first shown, and hidden widgets get no resize events, so each frame's own layout
    // is activated as well.
    ensurePolished();
    layout()->activate();
    for (QWidget *child : findChildren<QWidget *>())
        if (child->layout())
            child->layout()->activate();
}

void frmTranslate::ShowAssist()
{
    // The column comes and goes with what it has to show; the form beside it keeps its width.
    const bool wanted = !fraChange->isHidden() || !fraSuggestions->isHidden();
    if (wanted == !fraAssist->isHidden())
        return;
    const int step = fraAssist->width() + layout()->spacing();
    fraAssist->setVisible(wanted);
    resize(width() + (wanted ? step : -step), height());
}

void frmTranslate::Form_Load()
{
    Reporting("frmTranslate", "Form_Load", [&] {
        basCheckJapanese::FormToJapanese(this);
        setWindowIcon(ApplicationIcon());
        basGlobals::LoadShortcutCharacterComboBox(cboShortcutCharacter);
        basGlobals::LoadShortcutModeComboBox(cboShortcutMode);
    });
}

StringEntryPtr frmTranslate::Edit(QWidget *owner, const StringEntryPtr &entry, int maximumCount)
{
    StringEntryPtr result;
    Reporting("frmTranslate", "Edit", [&] {
        if (!entry)
            return;
        m_maximumCount = maximumCount;
        if (owner && parentWidget() != owner)
            setParent(owner, windowFlags());
        if (entry->StringSource() == ssEnglishDefault) {
            setWindowTitle(QStringLiteral("Edit string resource %1").arg(entry->Id()));
            fraTranslate->setTitle(QStringLiteral("&New value"));
        } else {
            setWindowTitle(QStringLiteral("Translate string resource %1").arg(entry->Id()));
            fraTranslate->setTitle(QStringLiteral("&New translation for ") + entry->TargetName());
        }
        m_entry = entry;
        m_checkEnglish = entry->StringSource() == ssEnglishDefault || entry->StringSource() == ssEnglishEdited;
        m_english.reset();
        if (!m_checkEnglish) {
            const StringTableSetPtr tables = entry->TextTable();
            if (const StringEntryPtr english = tables ? tables->Entry(entry->Id(), ssEnglishDefault) : nullptr)
                m_english = std::make_shared<const checks::StringValues>(checks::StringValues::Of(*english, false));
        }
        if (const ParameterDefinitionsPtr parameters = entry->ParameterDefinitions())
            m_openingParameters = parameters->Items();
        LoadOriginalsComboBox();
        InitializeValues();
        ShowEnglishChange();
        const QString pending = entry->PendingText();
        if (!pending.isEmpty())
            rtfTranslate->setPlainText(pending);
        UpdateProblems();
        StartSuggestions();
        ShowAssist();
        PlaceDialog(this, owner);
        StartFocusTimer();
        exec();
        if (m_saved) {
            result = CreateResultEntry();
        } else if (const ParameterDefinitionsPtr parameters = entry->ParameterDefinitions()) {
            if (parameters->Items() != m_openingParameters) {
                parameters->Clear();
                for (const ParameterDefinition &definition : std::as_const(m_openingParameters))
                    parameters->Add(definition.Id(), definition.Description());
            }
        }
    });
    return result;
}

void frmTranslate::InitializeValues()
{
    Reporting("frmTranslate", "InitializeValues", [&] {
        const StringEntryPtr entry = Require(m_entry, "entry");
        SetupParameterDisplay();
        txtId->setText(QString::number(entry->Id()));
        txtDescription->setText(entry->EntryText());
        setAllowTab(entry->Property(tpAllowTab));
        setLineMode(entry->Property(tpMultipleLines) ? 0 : 1);
        setAllowShortcut(entry->Property(tpAllowShortcut));
        setValid(entry->Status(sfApproved));
        setShortcutCharacter(entry->ShortcutCharacter());
        ShowOriginalText();
        rtfTranslate->setPlainText(entry->Text());

        QStringList summary;
        if (entry->Property(tpMultipleLines)) {
            summary << QStringLiteral("Multiple lines");
            if (entry->Property(tpAllowTab))
                summary << QStringLiteral("Allow tab character");
        } else {
            summary << QStringLiteral("Single line");
        }
        if (entry->Property(tpAllowShortcut)) {
            summary << QStringLiteral("Allow shortcut key");
            if (!entry->ShortcutCharacter().isEmpty())
                summary << QStringLiteral("Shortcut = ") + entry->ShortcutCharacter();
        } else {
            cboShortcutCharacter->setCurrentIndex(0);
        }
        txtProperties->setPlainText(summary.join(QStringLiteral("\r\n")));
        cboShortcutMode->setCurrentIndex(entry->ShortcutMode());

        if (entry->StringSource() == ssEnglishDefault) {
            m_focusTarget = txtId;
            // Only translations have a next string that needs work.
            cmdSaveNext->hide();
            for (QLabel *label : lblProperties)
                label->hide();
        } else {
            m_focusTarget = rtfTranslate;
            txtId->setReadOnly(true);
            txtDescription->setReadOnly(true);
            cmdEditParameterDefs->hide();
            for (int i = 0; i < 3; ++i) {
                QCheckBox *check = chkProperties[i];
                QLabel *label = lblProperties[i];
                check->hide();
                label->move(check->x(), check->y() + check->height() / 2 - label->height() / 2);
                label->show();
            }
        }
    });
}

void frmTranslate::LoadOriginalsComboBox()
{
    Reporting("frmTranslate", "LoadOriginalsComboBox", [&] {
        const StringEntryPtr entry = Require(m_entry, "entry");
        const int source = entry->StringSource();
        const int first = (source >= ssLocalEdited && source <= ssEnglishEdited) ? source + 1 : source;
        cboOriginal->clear();
        const StringTableSetPtr tables = Require(entry->TextTable(), "TextTable");
        for (int i = first; i <= ssEnglishDefault; ++i) {
            if (!tables->HasText(entry->Id(), static_cast<StringSource>(i)))
                continue;
            cboOriginal->addItem(basGlobals::FixedSourceName(i), i);
            cboOriginal->setCurrentIndex(cboOriginal->count() - 1);
        }
    });
}

void frmTranslate::ShowOriginalText()
{
    Reporting("frmTranslate", "ShowOriginalText", [&] {
        const StringEntryPtr entry = Require(m_entry, "entry");
        const StringSource source = cboOriginal->currentIndex() < 0
                                        ? ssEnglishDefault
                                        : static_cast<StringSource>(cboOriginal->currentData().toInt());
        rtfOriginal->setPlainText(entry->SourceText(source));
    });
}

void frmTranslate::cboOriginal_Click()
{
    Reporting("frmTranslate", "cboOriginal_Click", [&] {
        if (m_entry)
            ShowOriginalText();
    });
}

void frmTranslate::StartFocusTimer()
{
    Reporting("frmTranslate", "StartFocusTimer", [&] {
        tmrFocus->stop();
        tmrFocus->setInterval(10);
        tmrFocus->start();
    });
}

void frmTranslate::tmrFocus_Timer()
{
    Reporting("frmTranslate", "tmrFocus_Timer", [&] {
        tmrFocus->stop();
        tmrFocus->setInterval(0);
        SetInitialFocus();
    });
}

void frmTranslate::SetInitialFocus()
{
    Reporting("frmTranslate", "SetInitialFocus", [&] {
        if (m_focusTarget && focusWidget() != m_focusTarget)
            m_focusTarget->setFocus(Qt::OtherFocusReason);
    });
}

bool frmTranslate::ValidateId()
{
    bool result = false;
    Reporting("frmTranslate", "ValidateId", [&] {
        const std::optional<double> value = NumericValue(txtId->text());
        if (!value || *value > m_maximumCount || *value < 1)
            return;
        // The id must survive the conversion to a 16-bit whole number unchanged.
        result = *value <= kMaxStringId && *value == std::nearbyint(*value);
    });
    return result;
}

void frmTranslate::txtId_Change()
{
    Reporting("frmTranslate", "txtId_Change", [&] {
        const bool valid = ValidateId();
        QPalette palette = txtId->palette();
        palette.setColor(QPalette::Base,
                         valid ? QApplication::palette(txtId).color(QPalette::Base) : QColor(255, 0, 0));
        txtId->setPalette(palette);
        cmdSave->setEnabled(valid);
    });
}

void frmTranslate::cmdSave_Click()
{
    Reporting("frmTranslate", "cmdSave_Click", [&] {
        m_saved = true;
        accept();
    });
}

void frmTranslate::cmdCancel_Click()
{
    Reporting("frmTranslate", "cmdCancel_Click", [&] { reject(); });
}

void frmTranslate::cmdSaveNext_Click()
{
    Reporting("frmTranslate", "cmdSaveNext_Click", [&] {
        if (cmdSaveNext->isHidden() || !cmdSave->isEnabled())
            return;
        m_saveNext = true;
        cmdSave_Click();
    });
}

void frmTranslate::cmdCopyOriginal_Click()
{
    Reporting("frmTranslate", "cmdCopyOriginal_Click", [&] {
        // Through the cursor, so the box's own undo takes it back.
        QTextCursor cursor = rtfTranslate->textCursor();
        if (!cursor.hasSelection())
            cursor.select(QTextCursor::Document);
        cursor.insertText(rtfOriginal->toPlainText());
        rtfTranslate->setTextCursor(cursor);
        m_keepCaret = true;
        rtfTranslate->setFocus();
    });
}

void frmTranslate::Form_Activate()
{
    m_activated = true;
}

void frmTranslate::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    Form_Activate();
}

void frmTranslate::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        Form_Activate();
}

bool frmTranslate::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == rtfTranslate) {
        if (event->type() == QEvent::FocusIn)
            rtfTranslate_GotFocus();
        else if (event->type() == QEvent::KeyPress)
            return rtfTranslate_KeyPress(static_cast<QKeyEvent *>(event));
    } else if (event->type() == QEvent::FocusIn) {
        SelectAllOnFocus(static_cast<QWidget *>(watched));
    }
    return QDialog::eventFilter(watched, event);
}

void frmTranslate::SelectAllOnFocus(QWidget *control)
{
    Reporting("frmTranslate", control == txtId ? "txtId_GotFocus"
                              : control == txtDescription ? "txtDescription_GotFocus"
                                                          : "rtfOriginal_GotFocus",
              [&] {
                  if (auto *line = qobject_cast<QLineEdit *>(control))
                      line->selectAll();
                  else if (auto *box = qobject_cast<QPlainTextEdit *>(control))
                      box->selectAll();
              });
}

// --- Text properties -------------------------------------------------------------------------

bool frmTranslate::AllowTab() const
{
    return chkProperties[piTab]->isChecked();
}

void frmTranslate::setAllowTab(bool allow)
{
    Reporting("frmTranslate", "AllowTab(Let)", [&] {
        if (chkProperties[piTab]->isChecked() != allow)
            chkProperties[piTab]->setChecked(allow);
        lblProperties[piTab]->setText(PropertyCaption(piTab, allow));
    });
}

bool frmTranslate::AllowShortcut() const
{
    return chkProperties[piShortcut]->isChecked();
}

void frmTranslate::setAllowShortcut(bool allow)
{
    Reporting("frmTranslate", "AllowShortcut(Let)", [&] {
        if (chkProperties[piShortcut]->isChecked() != allow)
            chkProperties[piShortcut]->setChecked(allow);
        cboShortcutCharacter->setEnabled(allow);
        cboShortcutMode->setEnabled(allow);
        lblProperties[piShortcut]->setText(PropertyCaption(piShortcut, allow));
    });
}

void frmTranslate::setLineMode(int mode)
{
    Reporting("frmTranslate", "LineMode(Let)", [&] {
        if (mode != 0 && mode != 1)
            return;
        if (mode == 1) {
            QString text = TranslationText();
            text.remove(QLatin1Char('\r'));
            text.remove(QLatin1Char('\n'));
            if (text != TranslationText())
                rtfTranslate->setPlainText(text);
        }
        m_lineMode = mode;
        chkProperties[piMultipleLines]->setChecked(mode == 0);
        lblProperties[piMultipleLines]->setText(PropertyCaption(piMultipleLines, mode == 0));
    });
}

void frmTranslate::setValid(bool valid)
{
    Reporting("frmTranslate", "Valid(Let)", [&] {
        if (m_valid == valid)
            return;
        chkValidTranslation->setChecked(valid);
        m_valid = valid;
    });
}

QString frmTranslate::ShortcutCharacter() const
{
    QString result;
    Reporting("frmTranslate", "ShortcutCharacter(Get)", [&] {
        if (cboShortcutCharacter->currentIndex() > 0)
            result = cboShortcutCharacter->currentText();
    });
    return result;
}

void frmTranslate::setShortcutCharacter(const QString &character)
{
    Reporting("frmTranslate", "ShortcutCharacter(Let)", [&] {
        if (character.isEmpty()) {
            cboShortcutCharacter->setCurrentIndex(0);
        } else if (cboShortcutCharacter->isEnabled()) {
            const int index = cboShortcutCharacter->findText(character);
            if (index >= 0)
                cboShortcutCharacter->setCurrentIndex(index);
            else
                qCWarning(lcDialogs) << "String" << (m_entry ? m_entry->Id() : 0) << "has the shortcut character"
                                     << character << "which the list does not offer; it is left unset";
        }
    });
}

int frmTranslate::ShortcutMode() const
{
    int result = 0;
    Reporting("frmTranslate", "ShortcutMode(Get)", [&] {
        if (cboShortcutMode->currentIndex() >= 0)
            result = cboShortcutMode->currentData().toInt();
    });
    return result;
}

void frmTranslate::chkProperties_Click(int index)
{
    Reporting("frmTranslate", "chkProperties_Click", [&] { HandlePropertyCheckboxClick(index); });
}

void frmTranslate::HandlePropertyCheckboxClick(int index)
{
    Reporting("frmTranslate", "HandlePropertyCheckboxClick", [&] {
        const bool checked = chkProperties[index]->isChecked();
        switch (index) {
        case piShortcut:
            setAllowShortcut(checked);
            break;
        case piMultipleLines:
            setLineMode(checked ? 0 : 1);
            break;
        case piTab:
            setAllowTab(checked);
            break;
        }
    });
}

void frmTranslate::chkValidTranslation_Click()
{
    Reporting("frmTranslate", "chkValidTranslation_Click", [&] {
        setValid(chkValidTranslation->isChecked());
        ReturnFocusToTranslation();
    });
}

void frmTranslate::ReturnFocusToTranslation()
{
    Reporting("frmTranslate", "ReturnFocusToTranslation", [&] {
        if (!m_activated || rtfTranslate->hasFocus())
            return;
        m_keepCaret = true;
        rtfTranslate->setFocus(Qt::OtherFocusReason);
    });
}

void frmTranslate::rtfTranslate_GotFocus()
{
    Reporting("frmTranslate", "rtfTranslate_GotFocus", [&] {
        if (!m_keepCaret)
            rtfTranslate->selectAll();
        m_keepCaret = false;
    });
}

bool frmTranslate::rtfTranslate_KeyPress(QKeyEvent *event)
{
    bool discard = false;
    Reporting("frmTranslate", "rtfTranslate_KeyPress", [&] {
        const bool returnKey = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
        if (returnKey && (event->modifiers() & Qt::ControlModifier) && !cmdSaveNext->isHidden()) {
            // Ctrl+Return saves and moves on; a line break is Return, or Ctrl+J.
            discard = true;
            cmdSaveNext_Click();
            return;
        }
        const QString text = event->text();
        const bool lineBreak = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter
                               || text.contains(QLatin1Char('\r')) || text.contains(QLatin1Char('\n'));
        if (lineBreak && m_lineMode == 1) {
            Services().prompts->Beep();
            discard = true;
        }
    });
    return discard;
}

void frmTranslate::cmdInsert_Click()
{
    Reporting("frmTranslate", "cmdInsert_Click", [&] {
        const QString special = InsertSpecial();
        rtfTranslate->textCursor().insertText(special);
        ReturnFocusToTranslation();
    });
}

QString frmTranslate::InsertSpecial()
{
    QString result;
    Reporting("frmTranslate", "InsertSpecial", [&] {
        const StringEntryPtr current = CreateResultEntry();
        frmInsert insert(this);
        insert.move(CascadePosition(this));
        if (insert.SelectSpecial(current))
            result = insert.Selection();
    });
    return result;
}

void frmTranslate::cmdReport_Click()
{
    Reporting("frmTranslate", "cmdReport_Click", [&] {
        frmReport report(this);
        report.Report(TranslationText());
    });
}

StringEntryPtr frmTranslate::CreateResultEntry()
{
    StringEntryPtr result;
    Reporting("frmTranslate", "CreateResultEntry", [&] {
        const StringEntryPtr entry = Require(m_entry, "entry");
        result = entry->CreateEdited(ToStringId(txtId->text()), TrimBlanks(TranslationText()),
                                     TrimBlanks(txtDescription->text()), LineMode() == 0, AllowTab(),
                                     AllowShortcut(), ShortcutCharacter(), ShortcutMode(),
                                     entry->ParameterDefinitions(), Valid());
    });
    return result;
}

QString frmTranslate::TranslationText() const
{
    return BoxText(rtfTranslate);
}

void frmTranslate::UpdateProblems()
{
    Reporting("frmTranslate", "UpdateProblems", [&] {
        if (!m_entry)
            return;
        checks::Problems problems;
        // Save stores the text without its outer blanks; the ranges are found in that text and
        // shown in the box, where each CR LF is one character.
        const QString typed = TranslationText();
        const QString stored = TrimBlanks(typed);
        if (m_checkEnglish || m_english) {
            checks::StringValues values;
            values.text = stored;
            values.allowShortcut = AllowShortcut();
            values.multipleLines = LineMode() == 0;
            values.allowTab = AllowTab();
            values.shortcutCharacter = ShortcutCharacter();
            values.shortcutMode = ShortcutMode();
            values.description = txtDescription->text();
            if (m_checkEnglish) {
                if (const ParameterDefinitionsPtr parameters = m_entry->ParameterDefinitions())
                    for (const ParameterDefinition &definition : parameters->Items())
                        values.parameters.append(definition.Id());
                problems = checks::CheckEnglish(values);
            } else {
                problems = checks::Check(*m_english, values);
            }
        }
        int lead = 0;
        while (lead < typed.size() && typed.at(lead) == u' ')
            ++lead;
        const auto boxPosition = [&](int position) {
            const int inTyped = position + lead;
            return inTyped - static_cast<int>(QStringView(typed).left(inTyped).count(QStringLiteral("\r\n")));
        };
        QStringList lines;
        QList<QTextEdit::ExtraSelection> marks;
        bool errors = false;
        for (const checks::Problem &problem : std::as_const(problems)) {
            lines << checks::Describe(problem);
            errors = errors || problem.severity == checks::Severity::Error;
            if (problem.start < 0)
                continue;
            QTextEdit::ExtraSelection mark;
            mark.cursor = QTextCursor(rtfTranslate->document());
            const int end = boxPosition(problem.start + qMax(1, problem.length));
            mark.cursor.setPosition(qMin(boxPosition(problem.start), rtfTranslate->document()->characterCount() - 1));
            mark.cursor.setPosition(qMin(end, rtfTranslate->document()->characterCount() - 1), QTextCursor::KeepAnchor);
            mark.format.setUnderlineStyle(QTextCharFormat::WaveUnderline);
            mark.format.setUnderlineColor(problem.severity == checks::Severity::Error ? QColor(0xd3, 0x2f, 0x2f)
                                                                                      : QColor(0xe6, 0x8a, 0x00));
            marks << mark;
        }
        rtfTranslate->setExtraSelections(marks);
        // All of them in the line, the first ones readable at once; one per line in its tooltip.
        lblProblems->setText(lines.join(QStringLiteral("; ")));
        lblProblems->setToolTip(lines.join(u'\n'));
        QPalette palette = lblProblems->palette();
        palette.setColor(QPalette::WindowText, errors ? QColor(0xb7, 0x1c, 0x1c) : QColor(0x8a, 0x5a, 0x00));
        lblProblems->setPalette(palette);
    });
}

// --- Parameters ------------------------------------------------------------------------------

void frmTranslate::SetupParameterDisplay()
{
    Reporting("frmTranslate", "SetupParameterDisplay", [&] {
        if (!m_entry || !m_entry->ParameterDefinitions())
            return;
        txtCount->setText(QString::number(m_entry->ParameterDefinitions()->Count()));
        lvwParameters->clear();
        SetupParameterColumns();
        RefreshParameters();
    });
}

void frmTranslate::SetupParameterColumns()
{
    Reporting("frmTranslate", "SetupParameterColumns", [&] {
        const ParameterDefinitionsPtr parameters = Require(m_entry, "entry")->ParameterDefinitions();
        Require(parameters, "ParameterDefinitions");
        SetupTwoColumns(lvwParameters, this, {parameters->ColumnHeading(0), parameters->ColumnHeading(1)},
                        {parameters->ColumnKey(0), parameters->ColumnKey(1)});
    });
}

void frmTranslate::RefreshParameters()
{
    Reporting("frmTranslate", "RefreshParameters", [&] {
        const ParameterDefinitionsPtr parameters = Require(m_entry, "entry")->ParameterDefinitions();
        Require(parameters, "ParameterDefinitions");
        lvwParameters->clear();
        for (const ParameterDefinition &definition : parameters->Items()) {
            auto *item = new QTreeWidgetItem(lvwParameters);
            item->setData(0, kKeyRole, parameters->KeyOf(definition.Id()));
            for (int column = 0; column < 2; ++column)
                item->setText(column, column == 0 ? QString::number(definition.Id()) : definition.Description());
        }
    });
}

void frmTranslate::EditParameterDefinitions()
{
    Reporting("frmTranslate", "EditParameterDefinitions", [&] {
        frmParameters parameters(this);
        // Only the rows are rebuilt: the count box keeps the number it showed on opening.
        if (parameters.Edit(this, m_entry)) {
            RefreshParameters();
            UpdateProblems();   // the definitions are checked against the text
        }
    });
}

void frmTranslate::cmdEditParameterDefs_Click()
{
    Reporting("frmTranslate", "cmdEditParameterDefs_Click", [&] { EditParameterDefinitions(); });
}

} // namespace kvedit
