// The string dialogs on entries of a real in-memory workspace: the character code report, insert
// special, the parameter definitions and the translate dialog, each run modally as its caller does.

#include "dialogs/frmInsert.h"
#include "dialogs/frmParameters.h"
#include "dialogs/frmReport.h"
#include "dialogs/frmTranslate.h"

#include "DialogTestSupport.h"
#include "TestServices.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextEdit>
#include <QTreeWidget>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

constexpr StringId kId = 42;
const QString kCopyright(QChar(0x00A9));

// The text of a plain-text box with its line breaks as the dialogs read them.
QString BoxText(QWidget *form, const char *name)
{
    return Find<QPlainTextEdit>(form, name)->toPlainText().replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
}

void SetCaret(QPlainTextEdit *box, int position, int anchor = -1)
{
    QTextCursor cursor = box->textCursor();
    cursor.setPosition(anchor < 0 ? position : anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    box->setTextCursor(cursor);
}

// The rows of a list view as "column 0:column 1", with ":key" when asked for.
QStringList Rows(QWidget *dialog, const char *name, bool withKey = false)
{
    auto *list = Find<QTreeWidget>(dialog, name);
    QStringList rows;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *item = list->topLevelItem(i);
        rows << item->text(0) + ':' + item->text(1) + (withKey ? ':' + item->data(0, Qt::UserRole + 1).toString() : "");
    }
    return rows;
}

int SelectedRow(QTreeWidget *list)
{
    const QList<QTreeWidgetItem *> selected = list->selectedItems();
    return selected.isEmpty() ? 0 : list->indexOfTopLevelItem(selected.first()) + 1;
}

void ClickRow(QTreeWidget *list, int row)
{
    if (row > 0)
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(list->topLevelItem(row - 1)).center());
}

// "a b c" -> "1:a", "2:b", "3:c": the rows a parameter list of these descriptions shows.
QStringList Numbered(const QString &descriptions)
{
    QStringList out;
    for (const QString &d : descriptions.split(u' ', Qt::SkipEmptyParts))
        out << QStringLiteral("%1:%2").arg(out.size() + 1).arg(d);
    return out;
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
    return (values + Descriptions(e->ParameterDefinitions())).join(u'|');
}

// One use of the parameter dialog: the descriptions loaded and the row selected (0: none); the
// buttons clicked, without their "cmd", closed with Ok unless the last is Cancel or Frame (the
// window's close box); the input box answer (null: no box); then what it shows before closing.
struct ParameterCase {
    QString initial;
    int selected;
    QString buttons, answer, title, rows;
    int selectedAfter;
    bool dirty;
    QString enabled{};   // null: not checked
};

// Insert Special on an entry of the source, tabs allowed or not, with parameters of these
// descriptions: the rows offered (text:description:key), the one chosen with OK or not, the text after.
struct InsertCase {
    int source;
    bool tabs;
    QString parameters;
    QStringList rows;
    QString choice;
    bool accept;
    QString text;
};

// How the translate dialog opens an entry of the source with the parameters and properties
// given, every source between it and the English default holding a text; the captions of window
// and frame; the property labels and the properties' summary; the original preselected, then
// each one offered, as "source=text".
struct OpenCase {
    int source;
    bool owned;
    QString parameters;
    int properties;
    QString captions, shown, originals;
};

} // namespace

Q_DECLARE_METATYPE(ParameterCase)
Q_DECLARE_METATYPE(OpenCase)
Q_DECLARE_METATYPE(InsertCase)

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

    // --- Character code report --------------------------------------------------------------

    void reportLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("lines");
        const QString high(QChar(0x7FFF));
        QTest::newRow("empty") << QString() << QStringList();
        QTest::newRow("one character, no break after it") << "A" << QStringList{"1.\t65\t0x41\tA"};
        QTest::newRow("tab between letters")
            << "A\tB" << QStringList{"1.\t65\t0x41\tA", "2.\t9\t0x9\t^74", "3.\t66\t0x42\tB"};
        QTest::newRow("NUL") << QString(QChar(0)) << QStringList{"1.\t0\t0x0\t^65"};
        QTest::newRow("DEL and bang") << "\x7f!" << QStringList{"1.\t127\t0x7F\t\x7f", "2.\t33\t0x21\t!"};
        QTest::newRow("highest positive code") << high << QStringList{"1.\t32767\t0x7FFF\t" + high};
        // From U+8000 the code reads negative and falls into the control-character branch.
        QTest::newRow("U+8A9E is negative") << QString(QChar(0x8A9E)) << QStringList{"1.\t-30050\t0xFFFF8A9E\t^-29985"};
        QTest::newRow("U+FFFF") << QString(QChar(0xFFFF)) << QStringList{"1.\t-1\t0xFFFFFFFF\t^64"};
    }
    void reportLines()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, lines);
        QCOMPARE(CharacterCodeReport(text), lines.join(QStringLiteral("\r\n")));
    }

    // --- Insert special ---------------------------------------------------------------------

    void insertSpecial_data()
    {
        QTest::addColumn<InsertCase>("c");
        using I = InsertCase;
        const QString sign = kCopyright + ":Copyright Sign:", tab = "<TAB>:Horizontal Tab:";
        QTest::newRow("the copyright sign alone") << I{3, false, "", {sign}, kCopyright, true, "Hello " + kCopyright + "!"};
        // The tab row gives the character, not its display text.
        QTest::newRow("tabs allowed") << I{3, true, "", {tab, sign}, "<TAB>", true, "Hello \t!"};
        QTest::newRow("parameters, tab, sign")
            << I{3, true, "file size", {"%1:file:p1", "%2:size:p2", tab, sign}, "%2", true, "Hello %2!"};
        // Cancel deletes the selected text; the selection stays readable, but the caller does not read it.
        QTest::newRow("parameters, no tab, cancelled") << I{3, false, "count", {"%1:count:p1", sign}, "%1", false, "Hello !"};
        QTest::newRow("a translation of a string without parameters")
            << I{0, false, "", {sign}, kCopyright, true, "Hello " + kCopyright + "!"};
    }
    void insertSpecial()
    {
        QFETCH(InsertCase, c);
        const auto &[source, tabs, parameters, rows, choice, accept, text] = c;
        WithParameters(tabs, parameters);
        if (source != ssEnglishDefault)
            tables->Put(kId, StringSource(source), {.text = "Hello World!"});
        const StringEntryPtr result = Translate(StringSource(source), [&](frmTranslate *dialog) {
            auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
            // Past the focus timer, which gives the focus to the translation (selecting it all)
            // or, for an English string, to its id (where the focus may already be before it
            // fires); a late one would take it from the box again.
            QTRY_VERIFY(!dialog->findChild<QTimer *>(QStringLiteral("tmrFocus"))->isActive());
            QTRY_COMPARE(QApplication::focusWidget(), source != ssEnglishDefault ? static_cast<QWidget *>(box)
                                                                                 : Find(dialog, "txtId"));
            SetCaret(box, 11, 6);
            OnModal<frmInsert>([&](frmInsert *insert) {
                QCOMPARE(insert->pos(), dialog->pos() + QPoint(20, 20));
                auto *list = Find<QTreeWidget>(insert, "lvwSpecial");
                QCOMPARE(Rows(insert, "lvwSpecial", true), rows);
                // OK is enabled exactly while a row is selected, from the start and on every click.
                QVERIFY(!Find(insert, "cmdOkay")->isEnabled());
                ClickRow(list, list->indexOfTopLevelItem(list->findItems(choice, Qt::MatchExactly, 0).value(0)) + 1);
                Click(insert, accept ? "cmdOkay" : "cmdCancel");
                QCOMPARE(insert->Selection(), choice == QLatin1String("<TAB>") ? "\t" : choice);
            });
            Click(dialog, "cmdInsert");
            QCOMPARE(BoxText(dialog, "rtfTranslate"), text);
            // The focus is back in the box, the caret after what was inserted.
            QVERIFY(Reactivate(dialog));
            QTRY_COMPARE(QApplication::focusWidget(), box);
            QCOMPARE(box->textCursor().position(), text.indexOf(QLatin1Char('!')));
            Click(dialog, "cmdSave");
        });
        QCOMPARE(result ? result->Text() : QString(), text);
    }

    // --- Parameter definitions ---------------------------------------------------------------

    void parameterCommands_data()
    {
        QTest::addColumn<ParameterCase>("c");
        using PC = ParameterCase;
        const QString none;
        const QString abc = "a b c", first = "Insert Delete Edit MoveDown Add", last = "Insert Delete Edit MoveUp Add";
        const QString middle = "Insert Delete Edit MoveDown MoveUp Add";
        QTest::newRow("add to three, trimmed") << PC{abc, 0, "Add", "  d  ", "Add parameter 4", "a b c d", 4, true};
        QTest::newRow("add to empty") << PC{"", 0, "Add", "first", "Add parameter 1", "first", 1, true};
        QTest::newRow("add cancelled") << PC{abc, 2, "Add", "", "Add parameter 4", "a b c", 2, false, middle};
        QTest::newRow("add blanks only") << PC{abc, 0, "Add", "   ", "Add parameter 4", "a b c", 0, false};
        QTest::newRow("insert at two") << PC{abc, 2, "Insert", "x", "Insert parameter 2", "a x b c", 2, true};
        QTest::newRow("insert cancelled") << PC{abc, 1, "Insert", "", "Insert parameter 1", "a b c", 1, false, first};
        QTest::newRow("edit, trimmed") << PC{abc, 2, "Edit", " B2 ", "Edit parameter 2", "a B2 c", 2, true};
        QTest::newRow("edit cancelled") << PC{abc, 3, "Edit", "", "Edit parameter 3", "a b c", 3, false, last};
        // Deleting does not make the list dirty: Reset stays disabled.
        QTest::newRow("delete middle: the follower") << PC{abc, 2, "Delete", none, "", "a c", 2, false};
        QTest::newRow("delete last: the new last") << PC{abc, 3, "Delete", none, "", "a b", 2, false};
        // Move Down too is disabled on an empty list: 0 < 0 is false.
        QTest::newRow("delete the only row") << PC{"a", 1, "Delete", none, "", "", 0, false, "Add"};
        QTest::newRow("delete everything") << PC{"a b", 1, "Delete Delete", none, "", "", 0, false, "Add"};
        QTest::newRow("move down two of three") << PC{abc, 2, "MoveDown", none, "", "a c b", 3, true};
        QTest::newRow("move down first") << PC{abc, 1, "MoveDown", none, "", "b a c", 2, true, middle + " Reset"};
        // Move Down stays enabled without a selection (0 < count) and then does nothing.
        QTest::newRow("move down, no selection") << PC{abc, 0, "MoveDown", none, "", "a b c", 0, false, "MoveDown Add"};
        QTest::newRow("move up two") << PC{abc, 2, "MoveUp", none, "", "b a c", 1, true, first + " Reset"};
        QTest::newRow("only row selected") << PC{"a", 1, "", none, "", "a", 1, false, "Insert Delete Edit Add"};
        QTest::newRow("reset: the loaded rows") << PC{"a b", 0, "Add Reset", "c", "Add parameter 3", "a b", 0, false};
        QTest::newRow("cancel writes nothing") << PC{"a", 0, "Add Cancel", "b", "Add parameter 2", "a b", 2, true};
        QTest::newRow("the close box cancels") << PC{"a", 0, "Add Frame", "b", "Add parameter 2", "a b", 2, true};
    }
    void parameterCommands()
    {
        QFETCH(ParameterCase, c);
        const StringEntryPtr entry = WithParameters(false, c.initial);
        if (!c.answer.isNull())
            services->prompts->inputAnswers.enqueue(c.answer);
        QStringList clicks = c.buttons.split(u' ', Qt::SkipEmptyParts);
        const bool closes = QStringList{"Cancel", "Frame"}.contains(clicks.value(clicks.size() - 1));
        const QString closing = closes ? clicks.takeLast() : "Ok";

        frmParameters form;
        OnModal<frmParameters>([&](frmParameters *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Edit Parameters for String Id 42: File open failed"));
            QCOMPARE(dialog->pos(), QPoint(160, 100));   // unowned: a tenth of the 1600 x 1000 screen
            auto *list = Find<QTreeWidget>(dialog, "lvwParameters");
            QCOMPARE(list->headerItem()->text(0) + '|' + list->headerItem()->text(1), "Number|Description");
            const QFontMetrics metrics = dialog->fontMetrics();
            QCOMPARE(list->columnWidth(0), metrics.horizontalAdvance(QStringLiteral("NumberWW")));
            QCOMPARE(list->columnWidth(0) + list->columnWidth(1), list->width() - metrics.horizontalAdvance("WWW"));
            ClickRow(list, c.selected);
            QCOMPARE(SelectedRow(list), c.selected);
            for (const QString &button : clicks)
                Click(dialog, qPrintable("cmd" + button));
            QCOMPARE(Rows(dialog, "lvwParameters"), Numbered(c.rows));
            QCOMPARE(SelectedRow(list), c.selectedAfter);
            QCOMPARE(dialog->Dirty(), c.dirty);
            QCOMPARE(Find(dialog, "cmdReset")->isEnabled(), c.dirty);
            QVERIFY(clicks.isEmpty() || QApplication::focusWidget() == list);
            QStringList on;
            for (const char *name : {"Insert", "Delete", "Edit", "MoveDown", "MoveUp", "Add", "Reset"})
                if (Find(dialog, qPrintable(QLatin1String("cmd") + name))->isEnabled())
                    on << name;
            QVERIFY2(c.enabled.isNull() || on.join(u' ') == c.enabled, qPrintable(on.join(u' ')));
            if (closing == QLatin1String("Frame"))
                dialog->close();
            else
                Click(dialog, qPrintable("cmd" + closing));
        });
        const bool saved = form.Edit(nullptr, entry);

        const bool ok = closing == QLatin1String("Ok");
        QCOMPARE(saved, ok && !c.rows.isEmpty());
        QCOMPARE(form.Accepted(), ok);
        QCOMPARE(Descriptions(entry->ParameterDefinitions()), Numbered(ok ? c.rows : c.initial));
        QCOMPARE(services->prompts->calls.size(), c.title.isEmpty() ? 0 : 1);
        for (const PromptCall &call : services->prompts->calls) {
            const bool edit = c.title.startsWith(QLatin1String("Edit"));
            QCOMPARE(call.title + '|' + call.text + '|' + call.defaultText,
                     c.title + (edit ? "|Type a new description for the parameter|"
                                     : "|Type a description for the new parameter|"));
            QCOMPARE(call.position, form.pos() + QPoint(20, 20));
        }
    }

    // --- Translate dialog --------------------------------------------------------------------

    void translateModes_data()
    {
        QTest::addColumn<OpenCase>("c");
        const int all = tpAllowShortcut | tpMultipleLines | tpAllowTab;
        const QString english = "English Default=Open file";
        QTest::newRow("English default: edit, unowned, only itself as original")
            << OpenCase{3, false, "item count folder", all, "Edit string resource 42|&New value",
                        "Shortcuts enabled|Multiline enabled|Allow Tab Characters|Multiple lines|Allow tab character|"
                        "Allow shortcut key|Shortcut = O",
                        "English Default=Datei öffnen|English Default=Datei öffnen"};
        QTest::newRow("local edited: translate, owned, the three others as originals")
            << OpenCase{0, true, "name", 0, "Translate string resource 42|&New translation for German edited",
                        "Shortcuts disabled|Multiline disabled|Prohibit Tab Characters|Single line",
                        english + "|Local Default=text 1|English Edited=text 2|" + english};
        // A translation of a string without definitions shows an empty list with its headings.
        QTest::newRow("local default without definitions, single line ignores tabs")
            << OpenCase{1, false, "", tpAllowTab | tpAllowShortcut,
                        "Translate string resource 42|&New translation for German default",
                        "Shortcuts enabled|Multiline disabled|Allow Tab Characters|Single line|Allow shortcut key|"
                        "Shortcut = O", english + "|English Edited=text 2|" + english};
        QTest::newRow("English edited, multiple lines only")
            << OpenCase{2, false, "name", tpMultipleLines,
                        "Translate string resource 42|&New translation for English edited",
                        "Shortcuts disabled|Multiline enabled|Prohibit Tab Characters|Multiple lines",
                        english + '|' + english};
    }
    void translateModes()
    {
        QFETCH(OpenCase, c);
        const bool editMode = c.source == ssEnglishDefault;
        tables->Put(kId, ssEnglishDefault, {.text = "Open file", .description = "File menu"});
        tables->Put(kId, StringSource(c.source), {"Datei öffnen", "File menu", "O", c.properties, 2});
        for (int between = c.source + 1; between < ssEnglishDefault; ++between)
            tables->Put(kId, StringSource(between), {.text = QStringLiteral("text %1").arg(between)});
        tables->SetParameters(kId, c.parameters.split(u' ', Qt::SkipEmptyParts));
        QWidget owner;   // the screen is 1600 x 1000, the window offset 20
        owner.move(300, 200);
        Translate(StringSource(c.source), [&](frmTranslate *dialog) {
            QCOMPARE(dialog->pos(), c.owned ? QPoint(320, 220) : QPoint(160, 100));
            QCOMPARE(dialog->parentWidget(), c.owned ? &owner : nullptr);
            QCOMPARE(dialog->windowTitle() + '|' + Find<QGroupBox>(dialog, "fraTranslate")->title(), c.captions);
            auto *id = Find<QLineEdit>(dialog, "txtId");
            QCOMPARE(id->text() + '|' + Find<QLineEdit>(dialog, "txtDescription")->text(), "42|File menu");
            QCOMPARE((QList<bool>{id->isReadOnly(), Find<QLineEdit>(dialog, "txtDescription")->isReadOnly(),
                                  Find(dialog, "cmdEditParameterDefs")->isHidden()}), QList<bool>(3, !editMode));
            QStringList shown;
            for (const QByteArray index : {"0", "1", "2"}) {
                QCOMPARE(Find(dialog, "chkProperties_" + index)->isHidden(), !editMode);
                QCOMPARE(Find(dialog, "lblProperties_" + index)->isHidden(), editMode);
                shown << Find<QLabel>(dialog, "lblProperties_" + index)->text();
            }
            shown << BoxText(dialog, "txtProperties").split(QStringLiteral("\r\n"));
            QCOMPARE(shown.join(u'|'), c.shown);
            QCOMPARE(Find<QComboBox>(dialog, "cboShortcutCharacter")->currentText() + ' '
                         + QString::number(Find<QComboBox>(dialog, "cboShortcutMode")->currentIndex()),
                     (c.properties & tpAllowShortcut ? "O" : "(none)") + QStringLiteral(" 2"));
            const QStringList numbered = Numbered(c.parameters);
            QCOMPARE(Find<QLineEdit>(dialog, "txtCount")->text(), QString::number(numbered.size()));
            QCOMPARE(Rows(dialog, "lvwParameters"), numbered);
            auto *originals = Find<QComboBox>(dialog, "cboOriginal");
            QStringList offered{originals->currentText() + '=' + BoxText(dialog, "rtfOriginal")};
            for (int i = 0; i < originals->count(); ++i) {
                originals->setCurrentIndex(i);
                offered << originals->currentText() + '=' + BoxText(dialog, "rtfOriginal");
            }
            QCOMPARE(offered.join(u'|'), c.originals);
            QVERIFY(Find<QPlainTextEdit>(dialog, "rtfOriginal")->isReadOnly());
            // The focus timer puts the focus on the mode's first control, its text selected.
            if (editMode) {
                QTRY_COMPARE(QApplication::focusWidget(), id);
                QCOMPARE(id->selectedText(), QStringLiteral("42"));
                // Tabbing into the description selects it whole, ready to be typed over.
                auto *description = Find<QLineEdit>(dialog, "txtDescription");
                description->setFocus(Qt::TabFocusReason);
                QTRY_COMPARE(description->selectedText(), description->text());
            } else {
                auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
                QTRY_COMPARE(QApplication::focusWidget(), box);
                QCOMPARE(box->textCursor().selectedText(), QStringLiteral("Datei öffnen"));
            }
        }, c.owned ? &owner : nullptr);
    }

    // Edit mode from opening to Save: the property check boxes and shortcut combo boxes, keys in the
    // translation box, the id's check, a parameter added through its dialog, the character code
    // report of the text, and the values handed back, trimmed, in a new entry; Cancel or the close
    // box hand back nothing and leave the entry as it was.
    void translateSaveBuildsTheResult_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("stored");   // text|description; empty: cancelled
        QTest::newRow("blanks around") << "  Hallo Welt  " << "  greeting " << "Hallo Welt|greeting";
        // Only blanks are trimmed: tabs and line breaks at the ends are content.
        QTest::newRow("tabs and breaks kept") << " \tName:\t \r\n" << "x" << "\tName:\t \r\n|x";
        QTest::newRow("cancelled") << "A\r\nB" << "changed" << "";
    }
    void translateSaveBuildsTheResult()
    {
        QFETCH(QString, text);
        QFETCH(QString, description);
        QFETCH(QString, stored);
        tables->Put(kId, ssEnglishDefault, {.text = "a\r\nb", .description = "Toolbar", .shortcutCharacter = "O",
                                            .properties = tpMultipleLines | tpAllowShortcut, .shortcutMode = 1});
        tables->SetParameters(kId, {QStringLiteral("file")});
        services->prompts->inputAnswers << QStringLiteral("drive");
        const StringEntryPtr entry = tables->Entry(kId, ssEnglishDefault);
        const QString before = Snapshot(entry);
        const StringEntryPtr result = Translate(ssEnglishDefault, [&](frmTranslate *dialog) {
            auto *character = Find<QComboBox>(dialog, "cboShortcutCharacter");
            auto *mode = Find<QComboBox>(dialog, "cboShortcutMode");
            QCOMPARE(character->count(), 37);
            QCOMPARE(mode->currentText(), QStringLiteral("1: prefixed by '&'"));
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
            QCOMPARE(box->textCursor().selectedText(), QStringLiteral("ab"));   // the user's way in selects all
            press(Qt::Key_Return, Qt::NoModifier, "\r");
            press(Qt::Key_J, Qt::ControlModifier, "\n");
            QCOMPARE(BoxText(dialog, "rtfTranslate"), QStringLiteral("ab"));
            // On again the break does not come back, but Enter makes one.
            Click(dialog, "chkProperties_1");
            press(Qt::Key_Return, Qt::NoModifier, "\r");
            QCOMPARE(BoxText(dialog, "rtfTranslate"), QStringLiteral("a\r\nb"));
            QVERIFY(dialog->isVisible());
            // The valid mark leaves the caret where it was; Tab leaves the box, typing nothing.
            SetCaret(box, 2);
            Click(dialog, "chkValidTranslation");
            QCOMPARE(QApplication::focusWidget(), box);
            QCOMPARE(box->textCursor().position(), 2);
            QVERIFY(!box->textCursor().hasSelection());
            QTest::keyClick(box, Qt::Key_Tab);
            QVERIFY(QApplication::focusWidget() != box);
            QCOMPARE(BoxText(dialog, "rtfTranslate"), QStringLiteral("a\r\nb"));
            Click(dialog, "chkProperties_0");
            QVERIFY(!character->isEnabled() && !mode->isEnabled());
            Click(dialog, "chkProperties_0");
            QVERIFY(character->isEnabled() && mode->isEnabled());
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
                const bool valid = QStringList{"1", "500", "7.0", "43"}.contains(id);
                QVERIFY2(txtId->palette().color(QPalette::Base) == (valid ? normal : Qt::red), qPrintable(id));
                QVERIFY2(Find(dialog, "cmdSave")->isEnabled() == valid, qPrintable(id));
            }
            Find<QLineEdit>(dialog, "txtDescription")->setText(description);
            Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(text);
            OnModal<frmParameters>([&](frmParameters *parameters) {
                QCOMPARE(parameters->pos(), dialog->pos() + QPoint(20, 20));
                Click(parameters, "cmdAdd");
                Click(parameters, "cmdOk");
            });
            Click(dialog, "cmdEditParameterDefs");
            QCOMPARE(Rows(dialog, "lvwParameters"), Numbered("file drive"));
            QCOMPARE(Find<QLineEdit>(dialog, "txtCount")->text(), QStringLiteral("1"));   // kept on purpose
            // The report shows the box's text, fills its window at any size, each report replacing
            // the whole text; it is gone once closed.
            OnModal<frmReport>([&](frmReport *form) {
                auto *report = Find<QPlainTextEdit>(form, "rtfReport");
                QCOMPARE(BoxText(form, "rtfReport") + '|' + form->windowTitle(),
                         CharacterCodeReport(BoxText(dialog, "rtfTranslate")) + "|Character Code Report");
                QCOMPARE(form->size(), QSize(462, 318));   // 6930 x 4770 twips at 96 dpi
                QCOMPARE(report->geometry(), form->rect());
                form->showMinimized();
                form->showNormal();
                form->resize(300, 100);
                QCOMPARE(report->geometry(), QRect(0, 0, 300, 100));
                form->DisplayText(QString(200, QLatin1Char('x')));
                QVERIFY(report->toPlainText().startsWith(QStringLiteral("1.\t120\t0x78\tx\n")));
                QVERIFY(report->isReadOnly() && report->verticalScrollBar()->maximum() > 0);
            });
            Click(dialog, "cmdReport");
            QVERIFY(!dialog->findChild<frmReport *>());
            Click(dialog, stored.isEmpty() ? "cmdCancel" : "cmdSave");
        }, nullptr, 500);
        const QList<PromptCall> &calls = services->prompts->calls;   // the two beeps, the parameter's input box
        QVERIFY(calls.size() == 3 && calls.at(0).kind == PromptCall::Beep && calls.at(1).kind == PromptCall::Beep);
        QVERIFY(result != entry);
        QCOMPARE(Snapshot(result), stored.isEmpty() ? "no entry" : stored + "||43|3|1|1|1|1|1:file|2:drive");
        QCOMPARE(Snapshot(entry), before);
        QVERIFY(!Translate(ssEnglishDefault, [](frmTranslate *dialog) { dialog->close(); }));
    }

    // The line under the translation lists the problems of the text as it is typed, underlining
    // the characters at fault; it asks nothing and Save stores the text all the same.
    void translateShowsProblemsAsTyped_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("caret");   // where the deleting starts
        QTest::addColumn<int>("deletes");
        QTest::addColumn<QString>("shown");   // the line after typing | the underlined | the line after deleting
        const QString lacks = "error [placeholders]: the translation lacks %1";
        const QString extra = "error [placeholders]: the translation has %2, which the English text lacks";
        QTest::newRow("placeholder typed, then deleted") << "%1 entfernen?" << 0 << 2 << "||" + lacks;
        QTest::newRow("extra placeholder, then deleted") << "%1 entfernen %2?" << 12 << 3 << extra + "|%2|";
        QTest::newRow("after blanks Save trims") << "   %1 %2 entfernen?" << 0 << 0 << extra + "|%2|" + extra;
    }
    void translateShowsProblemsAsTyped()
    {
        QFETCH(QString, typed);
        QFETCH(int, caret);
        QFETCH(int, deletes);
        QFETCH(QString, shown);
        tables->Put(kId, ssEnglishDefault, {.text = "Delete %1?"});
        tables->Put(kId, ssLocalEdited, {});
        QStringList seen;
        const StringEntryPtr result = Translate(ssLocalEdited, [&](frmTranslate *dialog) {
            auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
            auto *line = Find<QLabel>(dialog, "lblProblems");
            QTRY_VERIFY(box->hasFocus());   // the box selects all as it takes the focus
            QTest::keyClicks(box, typed);
            seen << line->text() << QString();
            for (const QTextEdit::ExtraSelection &mark : box->extraSelections())
                if (mark.format.underlineStyle() == QTextCharFormat::WaveUnderline)
                    seen.last() += mark.cursor.selectedText();
            SetCaret(box, caret);
            for (int i = 0; i < deletes; ++i)
                QTest::keyClick(box, Qt::Key_Delete);
            seen << line->text();
            Click(dialog, "cmdSave");
        });
        QCOMPARE(seen.join(u'|'), shown);
        QVERIFY(result && !result->Text().startsWith(u' '));   // saved, as Save trims it
        QVERIFY(services->prompts->calls.isEmpty());
    }

    // An out-of-date translation shows what changed in the English, its grade and revisions;
    // Keep Approval, offered for a trivial change, saves the translation carried over, approved.
    void translateShowsWhatChangedInTheEnglish_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QStringList>("shown");   // empty: no panel at all
        QTest::addColumn<QString>("kept");        // the text Keep Approval saves; empty: not offered
        QTest::newRow("word replaced") << "Could not open %1" << "Could not read %1"
                                       << QStringList{"<s", "open", "read", "words changed"} << "";
        QTest::newRow("ellipsis added") << "Open" << "Open..." << QStringList{"...", "punctuation"} << "Öffnen...";
        QTest::newRow("current") << "Close" << "Close" << QStringList{} << "";
    }
    void translateShowsWhatChangedInTheEnglish()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QStringList, shown);
        QFETCH(QString, kept);
        tables->Put(kId, ssEnglishDefault, {.text = before});
        tables->Put(kId, ssLocalDefault, {.text = "Öffnen", .status = sfApproved});
        tables->set->Save(ssEnglishDefault, false);
        if (after != before) {   // the English text of revision 1 stays in the history
            tables->Put(kId, ssEnglishDefault, {.text = after, .revision = 2});
            tables->set->Save(ssEnglishDefault, false);
        }
        const StringEntryPtr result = Translate(ssLocalDefault, [&](frmTranslate *dialog) {
            QCOMPARE(Find(dialog, "fraChange")->isVisible(), !shown.isEmpty());
            QCOMPARE(Find(dialog, "cmdKeepApproval")->isVisible(), !kept.isEmpty());
            QString all;
            for (const char *label : {"lblChange", "lblChangeClass", "lblChangeRevisions"})
                all += Find<QLabel>(dialog, label)->text();
            for (const QString &part : shown + QStringList{"revision 1", "revision 2"})
                QVERIFY2(shown.isEmpty() || all.contains(part), qPrintable(part + " not in " + all));
            if (!kept.isEmpty())
                Click(dialog, "cmdKeepApproval");
        });
        QCOMPARE(result ? result->Text() : QString(), kept);
        QVERIFY(!result || result->Status(sfApproved));
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
