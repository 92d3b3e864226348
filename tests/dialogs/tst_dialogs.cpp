// The string dialogs on entries of a real in-memory workspace: the character code report, insert
// special, the parameter definitions and the translate dialog, each run modally as its caller does.
// What a dialog shows is compared whole with the case files under data/.

#include "dialogs/frmInsert.h"
#include "dialogs/frmParameters.h"
#include "dialogs/frmReport.h"
#include "dialogs/frmTranslate.h"

#include "DialogTestSupport.h"
#include "TestServices.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTextDocumentFragment>
#include <QTextEdit>
#include <QTreeWidget>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

constexpr StringId kId = 42;

void SetCaret(QPlainTextEdit *box, int position, int anchor = -1)
{
    QTextCursor cursor = box->textCursor();
    cursor.setPosition(anchor < 0 ? position : anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    box->setTextCursor(cursor);
}

void ClickRow(QTreeWidget *list, const QTreeWidgetItem *row)
{
    if (row)
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(row).center());
}

// What a control shows as one line: a list's heading and rows ("text:description:key", the
// selected marked), a combo box's choice, a check box's mark, the text of the others; nothing
// for a container.
std::optional<QString> Value(QWidget *control)
{
    if (auto *button = qobject_cast<QAbstractButton *>(control))
        return button->text() + (!button->isCheckable() ? "" : button->isChecked() ? " [x]" : " [ ]");
    if (auto *combo = qobject_cast<QComboBox *>(control))
        return QStringLiteral("%1 (%2 of %3)").arg(combo->currentText()).arg(combo->currentIndex())
            .arg(combo->count());
    if (auto *list = qobject_cast<QTreeWidget *>(control)) {
        QStringList rows{list->headerItem()->text(0) + ':' + list->headerItem()->text(1)};
        for (int i = 0; i < list->topLevelItemCount(); ++i) {
            const QTreeWidgetItem *item = list->topLevelItem(i);
            const QString key = item->data(0, Qt::UserRole + 1).toString();
            rows << item->text(0) + ':' + item->text(1) + (key.isEmpty() ? "" : ':' + key)
                        + (item->isSelected() ? " (selected)" : "");
        }
        return rows.join(QStringLiteral(" | "));
    }
    for (const char *property : {"text", "plainText", "title"})   // labels, line and text boxes, frames
        if (control->metaObject()->indexOfProperty(property) >= 0)
            return control->property(property).toString();
    return std::nullopt;
}

// What a dialog shows: its caption and place, then a line per named control with its value and
// how it stands (hidden, disabled, read-only, the focus and what is selected in it).
QStringList Shown(QWidget *form)
{
    const QString place = QStringLiteral(" at %1,%2").arg(form->x()).arg(form->y());
    QStringList lines{"window \"" + form->windowTitle() + '"' + place};
    for (QWidget *control : form->findChildren<QWidget *>()) {
        const QString name = control->objectName();
        const std::optional<QString> value = Value(control);
        if (!value || name.isEmpty() || name.startsWith(QLatin1String("qt_")))
            continue;
        auto *line = qobject_cast<QLineEdit *>(control);
        auto *box = qobject_cast<QPlainTextEdit *>(control);
        const QString selected = line ? line->selectedText()
                                      : box ? box->textCursor().selection().toPlainText() : QString();
        const std::pair<bool, QString> states[] = {
            {!control->isVisibleTo(form), "hidden"}, {!control->isEnabled(), "disabled"},
            {control->property("readOnly").toBool(), "read-only"},
            {control == QApplication::focusWidget(), "focus"},
            {!selected.isEmpty(), "selected \"" + Visible(selected) + '"'}};
        QStringList flags;
        for (const auto &[on, state] : states)
            if (on)
                flags << state;
        lines << name + ": \"" + Visible(*value) + '"' + (flags.isEmpty() ? "" : " (" + flags.join(", ") + ')');
    }
    return lines;
}

// The lines of Shown() for the controls whose names start so.
QString ShownOf(QWidget *form, const QString &names)
{
    return Shown(form).filter(QRegularExpression('^' + names)).join(QStringLiteral(", "));
}

// Everything the translate dialog could change in an entry.
QString Snapshot(const StringEntryPtr &e)
{
    if (!e)
        return QStringLiteral("no entry");
    QStringList values{e->Text(), e->EntryText(), e->ShortcutCharacter()};
    for (int n : {int(e->Id()), e->ShortcutMode(), int(e->Property(tpAllowShortcut)), int(e->Property(tpMultipleLines)),
                  int(e->Property(tpAllowTab)), int(e->Status(sfApproved))})
        values << QString::number(n);
    for (const ParameterDefinition &d : e->ParameterDefinitions()->Items())
        values << QStringLiteral("%1:%2").arg(d.Id()).arg(d.Description());
    return values.join(u'|');
}

} // namespace

class TestDialogs : public QObject {
    Q_OBJECT
    std::optional<TestServices> services;
    std::optional<Tables> tables;
    const QFont applicationFont = QApplication::font();

    StringEntryPtr Translate(StringSource source, std::function<void(frmTranslate *)> work, QWidget *owner = nullptr,
                             int maximumCount = kMaxStringId)
    {
        frmTranslate form;
        OnModal<frmTranslate>(std::move(work));
        return form.Edit(owner, tables->Entry(kId, source), maximumCount);
    }

    StringEntryPtr WithParameters(bool tabs, const QString &descriptions)
    {
        tables->Put(kId, ssEnglishDefault, {.text = "Hello World!", .description = "File open failed",
                                            .properties = tabs ? tpAllowTab | tpMultipleLines : 0});
        tables->SetParameters(kId, descriptions.split(u' ', Qt::SkipEmptyParts));
        return tables->Entry(kId, ssEnglishDefault);
    }

private slots:
    void init()
    {
        services.emplace();
        tables.emplace();
    }
    void cleanup()
    {
        QApplication::setFont(applicationFont);
        QVERIFY(services->reporter->errors.isEmpty());
    }

    // Nothing to work on: no dialog opens and the caller gets its "nothing" answer.
    void noEntryNoDialog()
    {
        QVERIFY(!frmParameters().Edit(nullptr, nullptr));
        QVERIFY(!frmInsert().SelectSpecial(nullptr));
        QVERIFY(!frmTranslate().Edit(nullptr, nullptr));
    }

    // The character code report of each text, a line per character.
    void reportLines()
    {
        const Case c(QStringLiteral(KVEDIT_CASES "/report.txt"));
        QStringList shown;
        for (const QString &text : c.Values(QStringLiteral("text")))
            shown << "text \"" + Visible(text) + '"'
                  << Visible(CharacterCodeReport(text)).split(QStringLiteral("\u240D\u240A"));   // at its CR LF
        c.Compare(shown);
    }

    // Insert Special from the translate dialog, with the caret over "World": the rows offered,
    // OK enabled only once one is chosen, the text and caret after, and what is saved.
    void insertSpecial_data() { CaseRows(QStringLiteral(KVEDIT_CASES "/insert")); }
    void insertSpecial()
    {
        QFETCH(QString, path);
        const Case c(path);
        const auto source = StringSource(c.Value("source").toInt());
        WithParameters(c.Value("tabs") == QLatin1String("yes"), c.Value("parameters"));
        if (source != ssEnglishDefault)
            tables->Put(kId, source, {.text = "Hello World!"});
        QStringList shown;
        const StringEntryPtr result = Translate(source, [&](frmTranslate *dialog) {
            auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
            // Past the focus timer, which gives the focus to the translation (selecting it all)
            // or, for an English string, to its id (where the focus may already be before it
            // fires); a late one would take it from the box again.
            QTRY_VERIFY(!dialog->findChild<QTimer *>(QStringLiteral("tmrFocus"))->isActive());
            QTRY_COMPARE(QApplication::focusWidget(), source != ssEnglishDefault ? static_cast<QWidget *>(box)
                                                                                 : Find(dialog, "txtId"));
            SetCaret(box, 11, 6);
            OnModal<frmInsert>([&](frmInsert *insert) {
                shown << Shown(insert);
                auto *list = Find<QTreeWidget>(insert, "lvwSpecial");
                ClickRow(list, list->findItems(c.Value("choice"), Qt::MatchExactly).value(0));
                shown << "chosen: " + *Value(list) << ShownOf(insert, "cmdOkay");
                Click(insert, qPrintable(c.Value("button")));
                shown << "selection: " + Visible(insert->Selection());
            });
            Click(dialog, "cmdInsert");
            // The focus is back in the box, the caret after what was inserted.
            QVERIFY(Reactivate(dialog));
            QTRY_COMPARE(QApplication::focusWidget(), box);
            shown << QStringLiteral("caret at %1: ").arg(box->textCursor().position())
                         + ShownOf(dialog, "rtfTranslate");
            Click(dialog, "cmdSave");
        });
        shown << "saved: " + Visible(result ? result->Text() : "nothing");
        c.Compare(shown);
    }

    // The parameter dialog over the descriptions loaded, the row selected and the buttons
    // clicked, then closed with OK, Cancel or its close box: what it shows before closing, the
    // input boxes it asked, and what the entry holds after.
    void parameterCommands_data() { CaseRows(QStringLiteral(KVEDIT_CASES "/parameters")); }
    void parameterCommands()
    {
        QFETCH(QString, path);
        const Case c(path);
        const StringEntryPtr entry = WithParameters(false, c.Value("load"));
        services->prompts->inputAnswers << c.Values(QStringLiteral("answer"));
        QStringList shown;
        frmParameters form;
        OnModal<frmParameters>([&](frmParameters *dialog) {
            auto *list = Find<QTreeWidget>(dialog, "lvwParameters");
            const QFontMetrics metrics = dialog->fontMetrics();
            QCOMPARE(list->columnWidth(0), metrics.horizontalAdvance(QStringLiteral("NumberWW")));
            QCOMPARE(list->columnWidth(0) + list->columnWidth(1), list->width() - metrics.horizontalAdvance("WWW"));
            ClickRow(list, list->topLevelItem(c.Value("select").toInt() - 1));   // none for 0
            for (const QString &button : c.Value("click").split(u' ', Qt::SkipEmptyParts))
                Click(dialog, qPrintable("cmd" + button));
            shown << Shown(dialog) << "dirty: " + QString::number(dialog->Dirty());
            if (c.Value("close") == QLatin1String("box"))
                dialog->close();
            else
                Click(dialog, qPrintable("cmd" + c.Value("close")));
        });
        const bool saved = form.Edit(nullptr, entry);
        shown << QStringLiteral("saved: %1, accepted: %2").arg(saved).arg(form.Accepted());
        for (const PromptCall &call : services->prompts->calls)
            shown << QStringLiteral("asked \"%1\": \"%2\", default \"%3\", at %4,%5")
                         .arg(call.title, call.text, call.defaultText)
                         .arg(call.position.x()).arg(call.position.y());
        shown << "entry: \"" + Snapshot(entry).section(u'|', 9) + '"';
        c.Compare(shown);
    }

    // How the translate dialog opens an entry of the source with the parameters and properties
    // given, every source between it and the English default holding a text: all it shows once
    // the focus timer has placed the focus, then each original offered.
    void translateModes_data() { CaseRows(QStringLiteral(KVEDIT_CASES "/translate-open")); }
    void translateModes()
    {
        QFETCH(QString, path);
        const Case c(path);
        const auto source = StringSource(c.Value("source").toInt());
        tables->Put(kId, ssEnglishDefault, {.text = "Open file", .description = "File menu"});
        tables->Put(kId, source, {"Datei öffnen", "File menu", "O", c.Value("properties").toInt(), 2});
        for (int between = source + 1; between < ssEnglishDefault; ++between)
            tables->Put(kId, StringSource(between), {.text = QStringLiteral("text %1").arg(between)});
        tables->SetParameters(kId, c.Value("parameters").split(u' ', Qt::SkipEmptyParts));
        QWidget owner;   // the screen is 1600 x 1000, the window offset 20
        owner.move(300, 200);
        const bool owned = c.Value("owned") == QLatin1String("yes");
        QStringList shown;
        Translate(source, [&](frmTranslate *dialog) {
            QCOMPARE(dialog->parentWidget(), owned ? &owner : nullptr);
            QTRY_VERIFY(!dialog->findChild<QTimer *>(QStringLiteral("tmrFocus"))->isActive());
            shown << Shown(dialog);
            auto *originals = Find<QComboBox>(dialog, "cboOriginal");
            for (int i = 0; i < originals->count(); ++i) {
                originals->setCurrentIndex(i);
                shown << originals->currentText() + " original: " + ShownOf(dialog, "rtfOriginal");
            }
            // Tabbing into the description to edit it selects it whole, ready to be typed over.
            auto *description = Find<QLineEdit>(dialog, "txtDescription");
            description->setFocus(Qt::TabFocusReason);
            QTRY_VERIFY(source != ssEnglishDefault || description->selectedText() == description->text());
        }, owned ? &owner : nullptr);
        c.Compare(shown);
    }

    // Edit mode from opening to Save: the property check boxes and shortcut combo boxes, keys in the
    // translation box, the id's check, a parameter added through its dialog, the character code
    // report of the text, and the values handed back, trimmed, in a new entry; Cancel or the close
    // box hand back nothing and leave the entry as it was.
    void translateSaveBuildsTheResult_data() { CaseRows(QStringLiteral(KVEDIT_CASES "/translate-save")); }
    void translateSaveBuildsTheResult()
    {
        QFETCH(QString, path);
        const Case c(path);
        tables->Put(kId, ssEnglishDefault, {.text = "a\r\nb", .description = "Toolbar", .shortcutCharacter = "O",
                                            .properties = tpMultipleLines | tpAllowShortcut, .shortcutMode = 1});
        tables->SetParameters(kId, {QStringLiteral("file")});
        services->prompts->inputAnswers << QStringLiteral("drive");
        const StringEntryPtr entry = tables->Entry(kId, ssEnglishDefault);
        const QString before = Snapshot(entry);
        QStringList shown;
        const StringEntryPtr result = Translate(ssEnglishDefault, [&](frmTranslate *dialog) {
            auto *character = Find<QComboBox>(dialog, "cboShortcutCharacter");
            auto *mode = Find<QComboBox>(dialog, "cboShortcutMode");
            shown << "shortcut: " + *Value(character) + ", " + *Value(mode);
            auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
            const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers, const char *text) {
                SetCaret(box, 1);
                QKeyEvent event(QEvent::KeyPress, key, modifiers, QString::fromLatin1(text));
                QApplication::sendEvent(box, &event);
            };
            QTRY_COMPARE(QApplication::focusWidget(), Find(dialog, "txtId"));   // past the focus timer
            // Multiple lines off joins the lines; then Enter and line feed only beep.
            Click(dialog, "chkProperties_1");
            box->setFocus(Qt::TabFocusReason);
            shown << "single line, tabbed in: " + ShownOf(dialog, "rtfTranslate");
            press(Qt::Key_Return, Qt::NoModifier, "\r");
            press(Qt::Key_J, Qt::ControlModifier, "\n");
            shown << "after Enter and Ctrl+J: " + ShownOf(dialog, "rtfTranslate");
            // On again the break does not come back, but Enter makes one.
            Click(dialog, "chkProperties_1");
            press(Qt::Key_Return, Qt::NoModifier, "\r");
            shown << "multiple lines, after Enter: " + ShownOf(dialog, "rtfTranslate");
            QVERIFY(dialog->isVisible());
            // The valid mark leaves the caret where it was; Tab leaves the box, typing nothing.
            SetCaret(box, 2);
            Click(dialog, "chkValidTranslation");
            shown << QStringLiteral("marked valid, caret at %1: ").arg(box->textCursor().position())
                         + ShownOf(dialog, "rtfTranslate");
            QTest::keyClick(box, Qt::Key_Tab);
            shown << "after Tab: " + ShownOf(dialog, "rtfTranslate");
            for (int i = 0; i < 2; ++i) {
                Click(dialog, "chkProperties_0");
                shown << "shortcuts toggled: " + ShownOf(dialog, "cboShortcut");
            }
            character->setCurrentIndex(0);   // (none)
            mode->setCurrentIndex(3);
            Click(dialog, "chkProperties_2");   // tabs on
            // An id of 0, a fraction, letters, none, a negative or one above the largest turns red and
            // disables Save; 1, the largest and a whole number written as a decimal are good.
            auto *txtId = Find<QLineEdit>(dialog, "txtId");
            const QColor normal = QApplication::palette(txtId).color(QPalette::Base);
            for (const QString id : {"0", "1.5", "abc", "", "-3", "501", "1", "500", "7.0", "43"}) {
                txtId->clear();
                QTest::keyClicks(txtId, id);
                const QColor base = txtId->palette().color(QPalette::Base);
                shown << QStringLiteral("id \"%1\": %2, ").arg(id, base == normal ? "normal" : base.name())
                             + ShownOf(dialog, "cmdSave:");
            }
            Find<QLineEdit>(dialog, "txtDescription")->setText(c.Value("description"));
            Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(c.Value("text"));
            OnModal<frmParameters>([&](frmParameters *parameters) {
                QCOMPARE(parameters->pos(), dialog->pos() + QPoint(20, 20));
                Click(parameters, "cmdAdd");
                Click(parameters, "cmdOk");
            });
            Click(dialog, "cmdEditParameterDefs");
            shown << ShownOf(dialog, "(lvwParameters|txtCount)");   // the count kept on purpose
            // The report shows the box's text, fills its window at any size, each report replacing
            // the whole text; it is gone once closed.
            OnModal<frmReport>([&](frmReport *form) {
                auto *report = Find<QPlainTextEdit>(form, "rtfReport");
                shown << form->windowTitle() + QString::asprintf(", %d x %d", form->width(), form->height())
                      << ShownOf(form, "rtfReport");   // 6930 x 4770 twips at 96 dpi, the box's text
                QCOMPARE(report->geometry(), form->rect());
                form->showMinimized();
                form->showNormal();
                form->resize(300, 100);
                QCOMPARE(report->geometry(), QRect(0, 0, 300, 100));
                form->DisplayText(QString(200, QLatin1Char('x')));
                QVERIFY(report->toPlainText().startsWith(QStringLiteral("1.\t120\t0x78\tx\n")));
                QVERIFY(report->verticalScrollBar()->maximum() > 0);
            });
            Click(dialog, "cmdReport");
            QVERIFY(!dialog->findChild<frmReport *>());
            Click(dialog, qPrintable(c.Value("close")));
        }, nullptr, 500);
        for (const PromptCall &call : services->prompts->calls)
            shown << (call.kind == PromptCall::Beep ? "beep" : "asked \"" + call.title + '"');
        QVERIFY(result != entry);
        shown << "saved: " + Visible(Snapshot(result));
        QCOMPARE(Snapshot(entry), before);
        QVERIFY(!Translate(ssEnglishDefault, [](frmTranslate *dialog) { dialog->close(); }));
        c.Compare(shown);
    }

    // The line under the translation lists the problems of the text as it is typed, underlining
    // the characters at fault; it asks nothing and Save stores the text all the same, trimmed.
    void translateShowsProblemsAsTyped_data() { CaseRows(QStringLiteral(KVEDIT_CASES "/problems")); }
    void translateShowsProblemsAsTyped()
    {
        QFETCH(QString, path);
        const Case c(path);
        tables->Put(kId, ssEnglishDefault, {.text = "Delete %1?"});
        tables->Put(kId, ssLocalEdited, {});
        QStringList shown;
        const StringEntryPtr result = Translate(ssLocalEdited, [&](frmTranslate *dialog) {
            auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
            QTRY_VERIFY(box->hasFocus());   // the box selects all as it takes the focus
            QTest::keyClicks(box, c.Value("type"));
            shown << "typed: " + ShownOf(dialog, "lblProblems") << "underlined:";
            for (const QTextEdit::ExtraSelection &mark : box->extraSelections())
                if (mark.format.underlineStyle() == QTextCharFormat::WaveUnderline)
                    shown.last() += " \"" + mark.cursor.selectedText() + '"';
            SetCaret(box, c.Value("caret").toInt());
            for (int i = 0; i < c.Value("delete").toInt(); ++i)
                QTest::keyClick(box, Qt::Key_Delete);
            shown << "after deleting: " + ShownOf(dialog, "lblProblems");
            Click(dialog, "cmdSave");
        });
        shown << "saved: \"" + (result ? result->Text() : "nothing") + '"';
        QVERIFY(services->prompts->calls.isEmpty());
        c.Compare(shown);
    }

    // An out-of-date translation shows what changed in the English, its grade and revisions;
    // Keep Approval, offered for a trivial change, saves the translation carried over, approved.
    void translateShowsEnglishChange_data() { CaseRows(QStringLiteral(KVEDIT_CASES "/english-changed")); }
    void translateShowsEnglishChange()
    {
        QFETCH(QString, path);
        const Case c(path);
        tables->Put(kId, ssEnglishDefault, {.text = c.Value("before")});
        tables->Put(kId, ssLocalDefault, {.text = "Öffnen", .status = sfApproved});
        tables->set->Save(ssEnglishDefault, false);
        if (c.Value("after") != c.Value("before")) {   // the English text of revision 1 stays in the history
            tables->Put(kId, ssEnglishDefault, {.text = c.Value("after"), .revision = 2});
            tables->set->Save(ssEnglishDefault, false);
        }
        QStringList shown;
        const StringEntryPtr result = Translate(ssLocalDefault, [&](frmTranslate *dialog) {
            QTRY_VERIFY(!dialog->findChild<QTimer *>(QStringLiteral("tmrFocus"))->isActive());
            const QRegularExpression panel(QStringLiteral("^(fraChange|lblChange|cmdKeepApproval)"));
            shown << Shown(dialog).filter(panel);
            if (Find(dialog, "cmdKeepApproval")->isVisible())
                Click(dialog, "cmdKeepApproval");
        });
        shown << "saved: " + (result ? Snapshot(result) : "nothing");
        c.Compare(shown);
    }

    // The twips layouts scale as one, exactly 1 with a font as small as the design's, when the
    // captions need more room; no caption is cut off.
    void layoutInTwips_data()
    {
        QTest::addColumn<bool>("insert");
        QTest::addColumn<int>("fontPixels");   // the design's, the platform's (0), a large one
        for (bool insert : {true, false})
            for (int pixels : {insert ? 6 : 8, 0, 20})
                QTest::addRow("%s, %d px", insert ? "insert" : "parameters", pixels) << insert << pixels;
    }
    void layoutInTwips()
    {
        QFETCH(bool, insert);
        QFETCH(int, fontPixels);
        QFont font = applicationFont;
        if (fontPixels)
            font.setPixelSize(fontPixels);
        QApplication::setFont(font);
        std::unique_ptr<QDialog> form(insert ? static_cast<QDialog *>(new frmInsert) : new frmParameters);
        const QSize client = insert ? QSize(6255, 3360) : QSize(7095, 2775);
        const double scale = form->width() * 15.0 / client.width();
        QVERIFY(scale >= 1.0 && (fontPixels == 0 || fontPixels == 20 || scale == 1.0));
        QVERIFY(qAbs(form->height() - client.height() * scale / 15) <= 1);
        // The OK button: 972 x 372 twips at 5160, 120 (insert) or 4920, 2280 (parameters).
        const QRect ok = Find(form.get(), insert ? "cmdOkay" : "cmdOk")->geometry();
        const QRectF twips(insert ? 5160 : 4920, insert ? 120 : 2280, 972, 372);
        const QRect want = QRectF(twips.topLeft() * scale / 15, twips.size() * scale / 15).toRect();
        QVERIFY((ok.topLeft() - want.topLeft()).manhattanLength() <= 2);
        QVERIFY((ok.bottomRight() - want.bottomRight()).manhattanLength() <= 2);
        for (QWidget *control : form->findChildren<QWidget *>()) {
            auto *button = qobject_cast<QAbstractButton *>(control);
            auto *label = qobject_cast<QLabel *>(control);
            const QString caption = CleanAccessMarkers(button ? button->text() : label ? label->text() : QString());
            const QFontMetrics metrics(control->font());
            QVERIFY2(caption.isEmpty() || (metrics.horizontalAdvance(caption) + (button ? 12 : 0) <= control->width()
                                           && metrics.height() <= control->height()),
                     qPrintable(control->objectName()));
        }
    }
};

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
