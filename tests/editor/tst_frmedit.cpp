// The editor window on real tables, driven as a user drives it: its menus and toolbar per table
// version, the File commands, the searches, the entry commands with the translate dialog answered
// by its buttons, the translator's workflow, Carry Over and the translation memory. A whole run
// translated, saved and reopened is the entry test's.

#include "DialogTestSupport.h"
#include "ModelDoubles.h"
#include "TestServices.h"

#include "dataview/UCKvDataView.h"
#include "editor/CImageList.h"
#include "editor/frmEdit.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTableView>
#include <QTextCursor>
#include <QUndoStack>
#include <QComboBox>
#include <QTemporaryDir>
#include <QToolBar>
#include <QTreeWidget>
#include <QtTest>

#include <sqlite3.h>

using namespace kvedit;
using namespace kvedit::test;

namespace {

// Stores a text as the editor would: an English one with a shortcut allowed or not (flag), or a
// translation in Local Edited, valid or not (flag), up to date with the English text of the moment;
// an empty translation is a missing one.
void Put(const StringTableSetPtr &tables, StringId id, const QString &text, bool english, bool flag = false)
{
    const StringEntryPtr e = tables->Entry(id, english ? ssEnglishDefault : ssLocalEdited);
    const bool shortcut = english ? flag : e->Property(tpAllowShortcut);
    tables->StoreEntry(e->CreateEdited(id, text, e->EntryText(), false, false, shortcut, e->ShortcutCharacter(),
                                       e->ShortcutMode(), e->ParameterDefinitions(), !english && flag));
}

// English texts as ids 1, 2, ...; "^" before a text allows a shortcut, "=Text" after it adds an
// approved translation of it, an empty text leaves the id out. Saved, so the tables start without
// edits; in memory unless a file is named.
server::WorkspacePtr Strings(const QStringList &texts, int maximumCount = 100, const QString &file = {})
{
    const server::WorkspaceInfo info{QStringLiteral("Editor test"), QStringLiteral("de-DE"), maximumCount};
    auto ws = file.isEmpty() ? server::Workspace::CreateInMemory(info) : server::Workspace::Create(file, info);
    for (const bool english : {true, false}) {
        for (int i = 0; i < texts.size(); ++i) {
            const QString text = english ? texts.at(i).section(u'=', 0, 0) : texts.at(i).section(u'=', 1);
            const bool shortcut = english && text.startsWith(u'^');
            if (!text.isEmpty())
                Put(ws->Tables(), StringId(i + 1), text.mid(shortcut ? 1 : 0), english, shortcut || !english);
        }
        ws->Tables()->Save(ssEnglishDefault, false);
    }
    return ws;
}

// "Line 1" .. "Line 10" with some replaced.
QStringList Ten(const QMap<int, QString> &replaced = {})
{
    QStringList texts;
    for (int id = 1; id <= 10; ++id)
        texts << replaced.value(id, QStringLiteral("Line %1").arg(id));
    return texts;
}

// Translations of ids 1..5: 1 approved, 2 not approved, 3 approved but its English text changed
// since, 4 missing, 5 approved. Complete: all five approved and up to date.
server::WorkspacePtr TranslatedFive(bool complete)
{
    server::WorkspacePtr ws = Strings({"Open", "Save", "Close", "Print", "Quit"});
    const QStringList german{"Öffnen", "Speichern", "Schließen", complete ? "Drucken" : "", "Beenden"};
    for (StringId id = 1; id <= 5; ++id)
        Put(ws->Tables(), id, german.at(id - 1), false, complete || id != 2);
    ws->Tables()->Save(ssLocalEdited, false);
    if (!complete)
        Put(ws->Tables(), 3, QStringLiteral("Close window"), true);
    ws->Tables()->Save(ssEnglishDefault, false);
    return ws;
}

// The editor prepared on a workspace, with a translation memory in the file named or none,
// shown and activated (its list loaded); row 1 is current.
std::unique_ptr<frmEdit> OpenEditor(const ResourceWorkspacePtr &rfw, TableVersion version, const QString &memory = {})
{
    auto form = std::make_unique<frmEdit>();
    if (!memory.isEmpty())
        form->SetMemory(std::make_shared<memory::TranslationMemory>(memory));
    form->Prepare(rfw, version);
    form->show();
    if (!QTest::qWaitForWindowActive(form.get(), 2000))
        qWarning("the editor window did not become active");
    return form;
}

qint32 CurrentId(frmEdit &form)
{
    return form.DataSource()->RecordNumberToId(form.DataView()->CurrentRecord());
}

// Every question, notice and input box so far: "confirm:text", "notify:text", "input:title", "beep".
QStringList Prompts(const ScriptedPrompts &prompts)
{
    QStringList out;
    for (const PromptCall &c : prompts.calls)
        out << (c.kind == PromptCall::Input     ? "input:" + c.title
                : c.kind == PromptCall::Confirm ? "confirm:" + c.text
                : c.kind == PromptCall::Notify  ? "notify:" + c.text
                                                : QStringLiteral("beep"));
    return out;
}

// A File command (-1: the window's close box) in a table version, after row 2 was cut (or its
// translation deleted) or not, its question answered OK or not; the question asked, then whether
// edits are left, whether anything was saved and whether the window is open, and the rows.
struct FileCase {
    int version, item;
    bool edits, agree;
    QString asked, after;
};

// A search from the current row: the English texts, or with none the five translations (complete
// or not) in Local Edited; 4 Find (answered), 5 Find Next (for "needle"), 7, 8 and 9 the searches
// for missing, out-of-date and unapproved translations; the row found, 0 for none; an id whose
// text the tables hand out while HasText says there is none, as a host's tables may.
struct SearchCase {
    QStringList texts;
    bool complete;
    int current, item;
    QString answer;
    int expected, denied = 0;
};

// A command that opens the translate dialog, and what the dialog is given and hands back.
struct EntryCase {
    int version;
    qint32 currentId;
    QString how, clipboard, id, text, title;   // no title: no dialog may open
    qint32 storedId;                          // 0: nothing is stored
    QString notice;
    qint32 currentAfter;
};


// Every state in one table, for table version 0: 1 approved, 2 unapproved, 3 out of date and 4
// missing in Local Default; 5 approved and 6 unapproved as local edits in Local Edited; 1 has a
// symbol and a description, and an English correction of 2 waits in English Edited.
server::WorkspacePtr EveryState()
{
    server::WorkspacePtr ws = Strings({"^&Open", "^&Save", "Close", "Print", "Quit", "Help"});
    const StringTableSetPtr t = ws->Tables();
    const auto put = [&](StringId id, StringSource source, const QString &text, bool approved) {
        const StringEntryPtr e = t->Entry(id, source);
        t->StoreEntry(e->CreateEdited(id, text, id == 1 ? QStringLiteral("Menu File: open") : e->EntryText(), false,
                                      false, e->Property(tpAllowShortcut), e->ShortcutCharacter(), e->ShortcutMode(),
                                      e->ParameterDefinitions(), approved));
    };
    put(1, ssLocalDefault, QStringLiteral("Ö&ffnen"), true);
    put(2, ssLocalDefault, QStringLiteral("&Speichern"), false);
    put(3, ssLocalDefault, QStringLiteral("Schließen"), true);
    put(5, ssLocalEdited, QStringLiteral("Beenden"), true);
    put(6, ssLocalEdited, QStringLiteral("Hilfe"), false);
    put(2, ssEnglishEdited, QStringLiteral("&Save all"), false);
    t->Save(ssLocalEdited, false);
    put(3, ssEnglishDefault, QStringLiteral("Close window"), false);
    ws->Set()->setSymbol(1, QStringLiteral("IDS_OPEN"));
    put(1, ssEnglishDefault, QStringLiteral("&Open"), false);
    t->Save(ssEnglishDefault, false);
    return ws;
}

// The list's rows as their ids, in order.
QString ListedIds(frmEdit &form)
{
    QStringList ids;
    for (int row = 1; row <= form.DataSource()->GetRecordCount(); ++row)
        ids << QString::number(form.DataSource()->RecordNumberToId(row));
    return ids.join(u' ');
}

// Translations of ids 1 and 7 for the memory to suggest; the other ids untranslated.
const QStringList kForMemory{"Open=Öffnen", "Open", "Print", "Open", "^&Open…", "Close", "Close=Schließen"};

// A translation stored through the editor, as the translate dialog's Save does.
void Translate(frmEdit &form, StringId id, const QString &text)
{
    const StringEntryPtr e = form.DataSource()->Tables()->Entry(id, ssLocalEdited);
    form.UpdateEntry(e, e->CreateEdited(id, text, e->EntryText(), false, false, false, {}, 0, e->ParameterDefinitions(), true));
}

// What the tables hold for some ids in a source: text, revision, approval; for the English
// default the parameter count and symbol too; "-" where the source has no record of its own.
QString Holdings(const server::WorkspacePtr &ws, StringSource source, std::initializer_list<int> ids)
{
    QStringList out;
    for (const int id : ids) {
        const std::optional<server::Record> r = ws->Set()->RecordOf(StringId(id), source);
        const QString text = r && r->hasText ? r->text : QStringLiteral("(none)");
        QString item = r ? QStringLiteral("%1/%2/%3").arg(text, QString::number(r->revision), QString::number(r->status))
                         : QStringLiteral("-");
        if (source == ssEnglishDefault)
            item += QStringLiteral("/p%1/%2").arg(ws->Set()->Parameters(StringId(id)).size()).arg(ws->Set()->Symbol(StringId(id)));
        out << QStringLiteral("%1:%2").arg(id).arg(item);
    }
    return out.join(u' ');
}
} // namespace

Q_DECLARE_METATYPE(FileCase)
Q_DECLARE_METATYPE(SearchCase)
Q_DECLARE_METATYPE(EntryCase)

class TestFrmEdit : public QObject {
    Q_OBJECT
    std::optional<TestServices> services;

private slots:
    void init() { services.emplace(); }
    void cleanup()
    {
        QVERIFY(services->reporter->errors.isEmpty());
        QCOMPARE(QApplication::overrideCursor(), nullptr);
        QGuiApplication::clipboard()->clear();
    }

    // --- The window -------------------------------------------------------------------------

    // Per table version: the menus' items, captions, shortcuts and visibility, the toolbar's
    // buttons and pictures. Placed at a tenth of the 1600 x 1000 screen, or cascaded over the host
    // (English default) by the offset of 20; the list loads on the first activation; kept no
    // smaller than its minimum.
    void windowMenusAndToolbar_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QString>("fileMenu");   // captions, then which are visible
        QTest::addColumn<QString>("editShown");
        QTest::addColumn<QString>("toolbar");    // F/E menu, item = picture; [hidden]; | a separator
        const QString translating = "F2=10 | E0=11 [E1=13] [E2=14] | E4=15 | E7=17 | E11=16 [E13=18] | E15=19";
        const QString shown = "1001111111110011", plain = "&Reset|-|&Save|&Save as|-|&Close 111011";
        QTest::newRow("local edited")
            << 0 << "&Reset|-|&Save as Local Edited|&Save as Local Default|-|&Close 111111" << shown << translating;
        QTest::newRow("local default") << 1 << plain << shown << translating;
        QTest::newRow("English edited")
            << 2 << "&Reset|-|&Save as English Edited|&Save as English Default|-|&Close 111111" << shown << translating;
        QTest::newRow("English default")
            << 3 << plain << "1111110000011111" << "F2=10 | E0=12 E1=13 E2=14 | E4=15 [E7=17] E11=16 | E13=18 | E15=19";
    }
    void windowMenusAndToolbar()
    {
        QFETCH(int, version);
        QFETCH(QString, fileMenu);
        QFETCH(QString, editShown);
        QFETCH(QString, toolbar);
        server::WorkspacePtr ws = Strings({"One", "Two"});
        if (version == 3)
            ws->setHostWindowPosition(QPoint(300, 200));
        auto form = std::make_unique<frmEdit>();
        form->Prepare(ws, TableVersion(version));
        QCOMPARE(form->geometry(), QRect(version == 3 ? QPoint(320, 220) : QPoint(160, 100), QSize(1280, 800)));
        QVERIFY(!form->DataView()->Activated());
        form->show();
        QVERIFY(QTest::qWaitForWindowActive(form.get()));
        QVERIFY(form->DataView()->Activated());
        QCOMPARE(form->windowTitle(), "Manage String Resources: " + form->DataSource()->Title());
        QCOMPARE(form->findChild<QMenu *>("mnuFile")->title(), "&File");
        QCOMPARE(form->findChild<QMenu *>("mnuEdit")->title(), "&Edit");
        QStringList file, edit;
        QString fileShown, shown;
        for (int i = 0; i < 6; ++i) {
            file << form->FileItem(i)->text();
            fileShown += form->FileItem(i)->isVisible() ? '1' : '0';
        }
        for (int i = 0; i < 16; ++i) {
            QAction *item = form->EditItem(i);
            edit << item->text() + (item->shortcut().isEmpty() ? "" : ' ' + item->shortcut().toString());
            shown += item->isVisible() ? '1' : '0';
            QCOMPARE(item->isSeparator(), item->text() == QLatin1String("-"));
        }
        QCOMPARE(file.join(u'|') + ' ' + fileShown, fileMenu);
        QCOMPARE(edit, (QStringList{version == 3 ? "Cu&t Ctrl+X" : "&Delete Ctrl+X", "&Copy Ctrl+C", "&Paste Ctrl+V",
                                    "-", "&Find... Ctrl+F", "Find &Next F3", "-", "Find &Missing Translation Ctrl+M",
                                    "Find &Out-of-Date Translation Ctrl+O", "Find &Unapproved Translation Ctrl+U", "-",
                                    "&Go to... Ctrl+G", "-", "&New String... Ctrl+N", "-", "&Properties... Ctrl+E"}));
        QCOMPARE(shown, editShown);
        QToolBar *bar = form->findChild<QToolBar *>("tbrEdit");
        QStringList buttons;
        for (QAction *button : bar->actions()) {
            const QString key = frmEdit::MenuKey(button);
            const QString picture = QString::number(form->ImageList()->PictureId(key));
            const QString text = button->isSeparator() ? "|" : key.at(3) + key.section(u':', 1) + '=' + picture;
            buttons << (bar->widgetForAction(button)->isVisibleTo(form.get()) ? text : '[' + text + ']');
            QVERIFY(button->isSeparator() || !button->icon().isNull());
        }
        QCOMPARE(buttons.join(u' '), toolbar);
        QTest::mouseClick(bar->widgetForAction(form->EditItem(11)), Qt::LeftButton);   // a button runs its item
        QCOMPARE(Prompts(*services->prompts), QStringList{"input:Go to"});

        // A separator item keeps its caption "-" but looks exactly like a separator without one.
        int separators = 0;
        for (QMenu *menu : {form->findChild<QMenu *>("mnuFile"), form->findChild<QMenu *>("mnuEdit")}) {
            QMenu plain;
            plain.setFont(menu->font());
            for (QAction *item : menu->actions()) {
                QAction *copy = item->isSeparator() ? plain.addSeparator() : plain.addAction(item->text());
                copy->setShortcut(item->shortcut());
                copy->setIcon(item->icon());
                copy->setIconVisibleInMenu(false);
                copy->setVisible(item->isVisible());
            }
            const QImage shown = menu->grab().toImage(), expected = plain.grab().toImage();
            for (int i = 0; i < menu->actions().size(); ++i) {
                QAction *item = menu->actions().at(i);
                if (item->isSeparator() && item->isVisible() && ++separators)
                    QCOMPARE(shown.copy(menu->actionGeometry(item)), expected.copy(plain.actionGeometry(plain.actions().at(i))));
            }
        }
        QCOMPARE(separators, version == 3 ? 6 : 7);   // with the one below Undo and Redo
        form->resize(200, 50);   // no smaller than half the screen's width and its bars
        QVERIFY(form->width() == 800 && form->height() > form->menuBar()->sizeHint().height() + 50);

        // A picture that cannot be loaded is reported and leaves its button out; a key already
        // held is not loaded again.
        const int buttonCount = bar->actions().size();
        QVERIFY(!form->AddListImage(QStringLiteral("mnuEditItem:5"), 99));
        form->MakeToolbarButton(form->EditItem(5), 99, false);
        QCOMPARE(bar->actions().size(), buttonCount);
        QVERIFY(form->AddListImage(QStringLiteral("mnuEditItem:4"), 99));
        QCOMPARE(services->reporter->errors.size(), 2);
        QCOMPARE(services->reporter->errors.first().number, int(errFileNotFound));
        services->reporter->errors.clear();
    }

    void buttonKeys_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("prompt");   // empty: nothing happens
        for (const char *key : {"", "   ", "mnuEditItem4", "mnuEditItem", "mnuEditItem:four", "mnuEditItem:",
                                "mnuToolsItem:4", "MNUEDITITEM:4", "mnuEditItem:4e0"})
            QTest::addRow("does nothing: '%s'", key) << key << "";
        QTest::newRow("edit find") << "mnuEditItem:4" << "input:Find";
        QTest::newRow("decimal index") << "mnuEditItem:4.0" << "input:Find";
        QTest::newRow("surrounding blanks") << "  mnuEditItem:11 " << "input:Go to";
        QTest::newRow("file separator") << "mnuFileItem:4" << "notify:File menu item '- not implemented";
        QTest::newRow("edit separator") << "mnuEditItem:10" << "notify:Edit menu item '- not implemented";
        QTest::newRow("file without item") << "mnuFileItem:9" << "notify:File menu item 9 not implemented";
        QTest::newRow("edit without item") << "mnuEditItem:-1" << "notify:Edit menu item -1 not implemented";
    }
    void buttonKeys()
    {
        QFETCH(QString, key);
        QFETCH(QString, prompt);
        auto form = OpenEditor(Strings({"One"}), ssLocalEdited);
        form->tbrEdit_ButtonClick(key);
        QCOMPARE(Prompts(*services->prompts).join(u';'), prompt);
    }

    // --- File commands ----------------------------------------------------------------------

    void fileCommands_data()
    {
        QTest::addColumn<FileCase>("c");
        const QString close = "You have not saved your changes yet. Close without saving?";
        const QString reset = "Are you sure you want to abandon all unsaved edits?";
        QTest::newRow("save without edits: nothing") << FileCase{0, 2, false, false, "", "001 5"};
        QTest::newRow("save") << FileCase{0, 2, true, false, "", "011 5"};
        QTest::newRow("save as") << FileCase{0, 3, true, false, "", "011 5"};
        // Reset keeps the same entry current, by id: id 4 moves from row 3 back to row 4.
        QTest::newRow("reset, OK") << FileCase{3, 0, true, true, reset, "001 5"};
        QTest::newRow("reset, Cancel") << FileCase{3, 0, true, false, reset, "101 4"};
        QTest::newRow("close without edits: no question") << FileCase{0, 5, false, false, "", "000 5"};
        QTest::newRow("close with edits, Cancel") << FileCase{0, 5, true, false, close, "101 5"};
        QTest::newRow("close with edits, OK: discarded") << FileCase{0, 5, true, true, close, "000 5"};
        // The window's close box (-1) asks the same, and only once.
        QTest::newRow("close box with edits, Cancel") << FileCase{0, -1, true, false, close, "101 5"};
        QTest::newRow("close box with edits, OK") << FileCase{0, -1, true, true, close, "000 5"};
    }
    void fileCommands()
    {
        QFETCH(FileCase, c);
        server::WorkspacePtr ws = TranslatedFive(false);
        auto form = OpenEditor(ws, TableVersion(c.version));
        // Reset, Save, Save as (when shown) and the Save button are enabled exactly while there are edits.
        const QString on = form->FileItem(3)->isVisible() ? "1111" : "1101";
        const auto enabled = [&] {
            QString state;
            for (QAction *item : {form->FileItem(0), form->FileItem(2), form->FileItem(3)})
                state += item->isEnabled() ? '1' : '0';
            return state + (form->ToolBar()->widgetForAction(form->FileItem(2))->isEnabled() ? '1' : '0');
        };
        QCOMPARE(enabled(), QStringLiteral("0000"));
        if (c.edits) {
            form->DataView()->setCurrentRecord(2);
            form->EditItem(0)->trigger();
            QCOMPARE(enabled(), on);
        }
        form->DataView()->ShowId(4);
        services->prompts->confirmAnswers << c.agree;
        if (c.item < 0)
            form->close();
        else
            form->FileItem(c.item)->trigger();
        QCOMPARE(Prompts(*services->prompts), c.asked.isEmpty() ? QStringList() : QStringList{"confirm:" + c.asked});
        QCOMPARE(QStringLiteral("%1%2%3 %4").arg(ws->Tables()->Modified()).arg(form->Saved()).arg(form->isVisible())
                     .arg(form->DataSource()->GetRecordCount()), c.after);
        QCOMPARE(CurrentId(*form), 4);
        QVERIFY(c.item < 0 || enabled() == (ws->Tables()->Modified() ? on : "0000"));
    }

    // Another program writing the workspace file makes Save fail: reported, the edits kept.
    void failedSaveIsReportedAndKeepsTheEdits()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("busy.kvw"));
        server::WorkspacePtr ws = Strings({"One", "Two"}, 100, path);
        sqlite3 *other = nullptr;
        QCOMPARE(sqlite3_open(QFile::encodeName(path).constData(), &other), SQLITE_OK);
        QCOMPARE(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->EditItem(0)->trigger();
        form->FileItem(2)->trigger();
        sqlite3_close_v2(other);
        QCOMPARE(services->reporter->errors.size(), 1);
        QCOMPARE(services->reporter->errors.first().number, int(errStorage));
        QVERIFY(!form->Saved() && ws->Tables()->Modified() && form->isVisible());
        services->reporter->errors.clear();
    }

    // --- Searches ---------------------------------------------------------------------------

    void searches_data()
    {
        QTest::addColumn<SearchCase>("c");
        using S = SearchCase;
        const QString needle = "needle";
        QTest::newRow("wraps to an earlier row, trimmed") << S{Ten({{2, "Needle here"}}), false, 5, 4, " needle ", 2};
        QTest::newRow("current row is tested last") << S{Ten({{5, "needle"}}), false, 5, 4, needle, 0};
        QTest::newRow("from the last row on with row 1") << S{Ten({{1, "needle"}}), false, 10, 4, needle, 1};
        QTest::newRow("case-insensitive") << S{Ten({{4, "THE NEEDLE"}}), false, 1, 4, needle, 4};
        QTest::newRow("shortcut marker ignored") << S{Ten({{6, "^Ne&edle"}}), false, 1, 4, needle, 6};
        QTest::newRow("marker kept without shortcut") << S{Ten({{6, "Ne&edle"}}), false, 1, 4, needle, 0};
        QTest::newRow("double marker is an ampersand") << S{Ten({{6, "^Salt && Pepper"}}), false, 1, 4, "t & p", 6};
        QTest::newRow("nothing matches") << S{Ten(), false, 3, 4, needle, 0};
        QTest::newRow("empty answer: no search, no Find Next") << S{Ten({{6, "needle"}}), false, 4, 4, "", 0};
        QTest::newRow("next: the row after current is tested last") << S{Ten({{6, "needle"}}), false, 5, 5, "", 0};
        QTest::newRow("next: wraps") << S{Ten({{2, "needle"}}), false, 5, 5, "", 2};
        QTest::newRow("next: from the row before last") << S{Ten({{10, "needle"}}), false, 9, 5, "", 0};
        QTest::newRow("next: from the last row finds row 3") << S{Ten({{3, "needle"}}), false, 10, 5, "", 3};
        // Kept on purpose: from the last row one pass ends the search.
        QTest::newRow("next: from the last row, no match ends") << S{Ten(), false, 10, 5, "", 0};
        QTest::newRow("missing") << SearchCase{{}, false, 1, 7, "", 4};
        QTest::newRow("missing only on the current row") << SearchCase{{}, false, 4, 7, "", 0};
        QTest::newRow("out of date by revision") << SearchCase{{}, false, 1, 8, "", 3};
        QTest::newRow("missing counts as out of date") << SearchCase{{}, false, 3, 8, "", 4};
        QTest::newRow("unapproved") << SearchCase{{}, false, 1, 9, "", 2};
        QTest::newRow("out of date counts as unapproved") << SearchCase{{}, false, 2, 9, "", 3};
        QTest::newRow("complete: no missing") << SearchCase{{}, true, 3, 7, "", 0};
        QTest::newRow("complete: none unapproved") << SearchCase{{}, true, 3, 9, "", 0};
        QTest::newRow("find a translation") << SearchCase{{}, false, 1, 4, "speichern", 2};
        QTest::newRow("find the English text of a missing one") << SearchCase{{}, false, 1, 4, "print", 4};
        QTest::newRow("find passes over a denied translation") << S{{}, false, 1, 4, "speichern", 0, 2};
        QTest::newRow("find passes over a denied English text") << S{Ten({{3, "needle"}}), false, 1, 4, needle, 0, 3};
        QTest::newRow("find: the others still match") << S{{}, false, 1, 4, "speichern", 2, 5};
    }
    void searches()
    {
        QFETCH(SearchCase, c);
        const StringSource source = c.texts.isEmpty() ? ssLocalEdited : ssEnglishDefault;
        ResourceWorkspacePtr ws = c.texts.isEmpty() ? TranslatedFive(c.complete) : Strings(c.texts);
        if (c.denied)
            ws = std::make_shared<WorkspaceDenyingText>(ws, source, QSet<StringId>{StringId(c.denied)});
        auto form = OpenEditor(ws, TableVersion(source));
        const int rows = form->DataSource()->GetRecordCount();
        form->DataView()->setCurrentRecord(c.current);
        form->setFindText(c.item == 5 ? QStringLiteral("needle") : QStringLiteral("previous"));
        if (c.item == 5)
            form->UpdateMenuState();
        else
            QVERIFY(!form->EditItem(5)->isEnabled());   // none after opening; a Find may enable it
        services->prompts->inputAnswers << c.answer;
        form->EditItem(c.item)->trigger();

        const int row = c.expected ? c.expected : c.current;
        QCOMPARE(form->StatusText(), QStringLiteral("Id: %1 (Position %1 of %2)").arg(row).arg(rows));
        const QString findText = c.item == 5 ? QStringLiteral("needle") : c.answer.trimmed();
        QVERIFY(c.item > 5 || (form->FindText() == findText && form->EditItem(5)->isEnabled() == !findText.isEmpty()));
        const QStringList done{"", "", "", "", "Done finding text", "Done finding text", "",
                               "Done finding missing translations", "Done finding out of date translations",
                               "Done finding unapproved translations"};
        QStringList prompts = c.item == 4 ? QStringList{"input:Find"} : QStringList();
        if (!c.expected && !(c.item == 4 && findText.isEmpty()))
            prompts << "notify:" + done.at(c.item);
        QCOMPARE(Prompts(*services->prompts), prompts);
        if (c.item == 4) {
            const PromptCall &call = services->prompts->calls.first();
            QCOMPARE(call.text + '|' + call.defaultText, QStringLiteral("What do you want to look for?|previous"));
            QCOMPARE(call.position, form->pos() + QPoint(20, 20));
        }
    }

    // --- Entry commands ---------------------------------------------------------------------

    void goTo_data()
    {
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<int>("expectedId");   // 0: the current row stays
        QTest::newRow("an id") << QStringList{"7"} << 7;
        QTest::newRow("0, 32768 and text ask again") << QStringList{"0", "32768", "abc", " 4 "} << 4;
        QTest::newRow("a decimal number") << QStringList{"6.0"} << 6;
        QTest::newRow("32767 is accepted") << QStringList{"32767"} << 32767;
        QTest::newRow("empty ends") << QStringList{""} << 0;
        QTest::newRow("empty after a wrong answer") << QStringList{"-3", ""} << 0;
        QTest::newRow("only plain numbers") << QStringList{"1e1", "0x5", "5 5", "+5"} << 5;
    }
    void goTo()
    {
        QFETCH(QStringList, answers);
        QFETCH(int, expectedId);
        server::WorkspacePtr ws = Strings(Ten(), kMaxStringId);
        Put(ws->Tables(), 32767, QStringLiteral("The last id"), true);
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->DataView()->setCurrentRecord(2);
        services->prompts->inputAnswers.append(answers);
        form->EditItem(11)->trigger();
        QCOMPARE(services->prompts->calls.size(), answers.size());
        for (const PromptCall &call : services->prompts->calls) {
            QCOMPARE(call.title + '|' + call.text, "Go to|Please type the resource id as a value between 1 and 32767");
            QCOMPARE(call.position, form->pos() + QPoint(20, 20));
        }
        QCOMPARE(CurrentId(*form), expectedId ? expectedId : 2);
    }

    void copyCutDelete_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("item");   // 0 Cut in version 3, Delete in the others; 1 Copy
        QTest::addColumn<bool>("denied");   // HasText says no for the row's id, Text hands one out
        QTest::addColumn<QString>("after");   // the clipboard; rows, current row, its id
        QTest::newRow("copy") << 3 << 3 << 1 << false << "Close window|5 3 3";
        QTest::newRow("copy without a translation: clipboard emptied") << 0 << 4 << 1 << false << "|5 4 4";
        QTest::newRow("copy takes a denied text all the same") << 0 << 2 << 1 << true << "Speichern|5 2 2";
        QTest::newRow("cut: the next row moves up") << 3 << 3 << 0 << false << "Close window|4 3 4";
        QTest::newRow("cut the last row: the new last row") << 3 << 5 << 0 << false << "Quit|4 4 4";
        QTest::newRow("delete: the row stays, now missing") << 0 << 2 << 0 << false << "Speichern|5 2 2";
    }
    void copyCutDelete()
    {
        QFETCH(int, version);
        QFETCH(int, row);
        QFETCH(int, item);
        QFETCH(bool, denied);
        QFETCH(QString, after);
        server::WorkspacePtr ws = TranslatedFive(false);
        ResourceWorkspacePtr shown = ws;
        if (denied)
            shown = std::make_shared<WorkspaceDenyingText>(ws, StringSource(version), QSet<StringId>{StringId(row)});
        auto form = OpenEditor(shown, TableVersion(version));
        QGuiApplication::clipboard()->setText(QStringLiteral("stale"));
        form->DataView()->setCurrentRecord(row);
        const bool hadText = ws->Tables()->HasText(StringId(row), StringSource(version));
        form->EditItem(item)->trigger();
        QCOMPARE(QStringLiteral("%1|%2 %3 %4").arg(QGuiApplication::clipboard()->text())
                     .arg(form->DataSource()->GetRecordCount()).arg(form->DataView()->CurrentRecord()).arg(CurrentId(*form)),
                 after);
        QCOMPARE(ws->Tables()->HasText(StringId(row), StringSource(version)), item == 1 && hadText);
        QCOMPARE(form->FileItem(2)->isEnabled(), item == 0);
    }

    void entryDialog_data()
    {
        QTest::addColumn<EntryCase>("c");
        using E = EntryCase;
        const QString edit = "Edit string resource ", edit4 = edit + "4", edit2 = edit + "2";
        const QString translate3 = "Translate string resource 3";
        QTest::newRow("paste: a new string of the clipboard text")
            << E{3, 1, "paste", "  Pasted text \n", "", "", edit4, 4, "", 4};
        QTest::newRow("paste of an empty clipboard") << E{3, 1, "paste", "", "", "", "", 0, "", 1};
        QTest::newRow("paste of blanks") << E{3, 1, "paste", "  \t \r\n ", "", "", "", 0, "", 1};
        QTest::newRow("new string in the gap after the current") << E{3, 1, "new", "", "", "Fresh", edit4, 4, "", 4};
        QTest::newRow("new string next to the current row") << E{3, 5, "new", "", "", "Fresh", edit + "6", 6, "", 6};
        QTest::newRow("new string after the last") << E{3, 7, "new", "", "", "Fresh", edit + "8", 8, "", 8};
        QTest::newRow("new string cancelled") << E{3, 1, "new cancel", "", "", "Never stored", edit4, 0, "", 1};
        QTest::newRow("changed id in use: refused")
            << E{3, 2, "menu", "", "3", "Changed", edit2, 0, "String entry id 3 is already in use!", 2};
        QTest::newRow("changed id: the string moves") << E{3, 2, "menu", "", "50", "", edit2, 50, "", 50};
        QTest::newRow("properties by double click") << E{0, 3, "double click", "", "", "Fenster", translate3, 3, "", 3};
        QTest::newRow("properties by Enter") << E{0, 3, "Enter", "", "", "Fenster", translate3, 3, "", 3};
        QTest::newRow("properties by Ctrl+Enter") << E{0, 3, "Ctrl+Enter", "", "", "Fenster", translate3, 3, "", 3};
        QTest::newRow("properties by the menu") << E{0, 3, "menu", "", "", "Fenster", translate3, 3, "", 3};
    }
    void entryDialog()
    {
        QFETCH(EntryCase, c);
        const StringSource version = StringSource(c.version);
        server::WorkspacePtr ws = Strings({"String 1", "String 2", "String 3=Drei", "", "String 5", "", "String 7"});
        auto form = OpenEditor(ws, TableVersion(version));
        form->DataView()->ShowId(c.currentId);
        const int rows = form->DataSource()->GetRecordCount();
        QGuiApplication::clipboard()->setText(c.clipboard);
        QString title, shown;
        if (!c.title.isEmpty())
            OnModal<QDialog>([&](QDialog *dialog) {
                title = dialog->windowTitle();
                shown = Find<QPlainTextEdit>(dialog, "rtfTranslate")->toPlainText();
                if (!c.id.isEmpty())
                    Find<QLineEdit>(dialog, "txtId")->setText(c.id);
                if (!c.text.isEmpty())
                    Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(c.text);
                Click(dialog, c.how.endsWith(QLatin1String("cancel")) ? "cmdCancel" : "cmdSave");
            });
        QTableView *view = form->DataView()->TableView();
        const QPoint centre = view->visualRect(view->model()->index(form->DataView()->CurrentRecord() - 1, 1)).center();
        if (c.how == QLatin1String("double click")) {
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, centre);
            QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, centre);
        } else if (c.how.endsWith(QLatin1String("Enter")))
            QTest::keyClick(view, Qt::Key_Return, c.how.startsWith(u'C') ? Qt::ControlModifier : Qt::NoModifier);
        else
            form->EditItem(c.how == QLatin1String("paste") ? 2 : c.how.startsWith(u'n') ? 13 : 15)->trigger();

        QCOMPARE(title, c.title);
        if (c.how == QLatin1String("paste") && !title.isEmpty())
            QCOMPARE(shown, c.clipboard.trimmed());
        QCOMPARE(services->prompts->Notices(), c.notice.isEmpty() ? QStringList() : QStringList{c.notice});
        if (c.storedId)
            QCOMPARE(ws->Tables()->Text(StringId(c.storedId), version), c.text.isEmpty() ? shown : c.text);
        QCOMPARE(ws->Tables()->Modified(), c.storedId != 0);
        QCOMPARE(form->FileItem(2)->isEnabled(), c.storedId != 0);   // the menus are brought up to date
        QCOMPARE(CurrentId(*form), c.currentAfter);
        const bool added = c.storedId && (c.how == QLatin1String("paste") || c.how.startsWith(QLatin1String("new")));
        QCOMPARE(form->DataSource()->GetRecordCount(), rows + (added ? 1 : 0));
    }

    void newStringWithoutAFreeIdDoesNothing()
    {
        server::WorkspacePtr ws = Strings({"One", "Two", "Three"}, 3);
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->EditItem(13)->trigger();   // a dialog would block here
        QVERIFY(!ws->Tables()->Modified());
    }

    // --- The translator's workflow ------------------------------------------------------------

    // The rows' signs and tooltips and the progress, in the translation and in the English. Find,
    // Find Next, the searches and Go to work on the rows the filter shows; Go to an id it hides
    // shows every row again; the current id stays while it matches.
    void signsProgressAndFilteredSearches()
    {
        server::WorkspacePtr ws = EveryState();
        auto form = OpenEditor(ws, ssLocalEdited);
        CDVDataSource *source = form->DataSource();
        QStringList signs;
        for (int id = 1; id <= 6; ++id)
            signs << QString::number(source->RowSign(id), 16);
        // approved, unapproved, out of date, missing; then two local edits (badge 0x10).
        QCOMPARE(signs.join(u' '), QStringLiteral("4 3 2 1 14 13"));
        QCOMPARE(source->RowToolTip(1), QStringLiteral("1: Approved\nSymbol: IDS_OPEN\nDescription: Menu File: open"));
        QCOMPARE(source->RowToolTip(3), QStringLiteral("3: Out of date: the English text changed since"));
        QCOMPARE(source->RowToolTip(6), QStringLiteral("6: Unapproved: translated, not yet approved (locally edited)"));
        QCOMPARE(form->ProgressText(),
                 QStringLiteral("2 of 6 translated (33 %) \u00b7 1 missing \u00b7 1 out of date \u00b7 2 unapproved"));
        // The marker column's tooltip and sign reach the view through its model.
        const QModelIndex marker = form->DataView()->TableView()->model()->index(2, 0);
        QCOMPARE(marker.data(Qt::ToolTipRole).toString(), source->RowToolTip(3));

        auto english = OpenEditor(ws, ssEnglishDefault);
        QCOMPARE(english->DataSource()->RowSign(2), int(rsPending));
        QCOMPARE(english->DataSource()->RowSign(1), int(rsNone));
        QCOMPARE(english->ProgressText(), QStringLiteral("6 strings \u00b7 1 English corrections pending"));
        english.reset();

        form->DataView()->ShowId(6);
        form->FilterState()->setCurrentIndex(1);   // needs work: 2 3 4 6
        QCOMPARE(CurrentId(*form), 6);
        services->prompts->inputAnswers << QStringLiteral("e");   // in 2, 3 and 6, and in hidden 1 and 5
        form->EditItem(4)->trigger();
        QCOMPARE(CurrentId(*form), 2);
        form->EditItem(5)->trigger();   // Find Next starts one row further on
        QCOMPARE(CurrentId(*form), 6);
        form->EditItem(7)->trigger();   // Find Missing
        QCOMPARE(CurrentId(*form), 4);
        services->prompts->inputAnswers << QStringLiteral("5");
        form->EditItem(11)->trigger();   // Go to a hidden id
        QCOMPARE(CurrentId(*form), 5);
        QCOMPARE(form->FilterState()->currentIndex(), 0);
        QCOMPARE(form->DataSource()->GetRecordCount(), 6);
    }

    void filter_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("state");   // the choice's index
        QTest::addColumn<QString>("ids");
        QTest::newRow("no filter: every row") << "" << 0 << "1 2 3 4 5 6";
        QTest::newRow("needs work") << "" << 1 << "2 3 4 6";
        QTest::newRow("missing") << "" << 2 << "4";
        QTest::newRow("out of date") << "" << 3 << "3";
        QTest::newRow("unapproved") << "" << 4 << "2 6";
        QTest::newRow("approved") << "" << 5 << "1 5";
        QTest::newRow("locally edited") << "" << 6 << "5 6";
        QTest::newRow("translation, marker cleaned, any case") << "SPEICH" << 0 << "2";
        QTest::newRow("English text across the marker") << "open" << 0 << "1";
        QTest::newRow("symbol") << "ids_op" << 0 << "1";
        QTest::newRow("description") << "menu file" << 0 << "1";
        QTest::newRow("id") << "5" << 0 << "5";
        QTest::newRow("text and state together") << "e" << 4 << "2 6";
        QTest::newRow("nothing matches") << "zzz" << 0 << "";
    }
    void filter()
    {
        QFETCH(QString, text);
        QFETCH(int, state);
        QFETCH(QString, ids);
        auto form = OpenEditor(EveryState(), ssLocalEdited);
        form->FilterState()->setCurrentIndex(state);
        QTest::keyClicks(form->FilterText(), text);
        QCOMPARE(ListedIds(*form), ids);
        if (!ids.isEmpty())
            QCOMPARE(form->StatusText(), QStringLiteral("Id: %1 (Position 1 of %2)").arg(ids.section(u' ', 0, 0)).arg(ids.count(u' ') + 1));
        form->ClearFilter();
        QCOMPARE(ListedIds(*form), QStringLiteral("1 2 3 4 5 6"));
    }

    // A string's problems mark its row, name themselves in its tooltip, make the filter's "Has
    // problems", are counted in the progress and walked by Find Next Problem (F8, after the
    // translation searches: wrapping, a notice when no other row has one); each change to the
    // tables is checked again.
    void problems_data()
    {
        QTest::addColumn<QString>("change");
        // The signs of ids 1 to 5 (E error, W warning), the problem lines of 4's tooltip, the count,
        // the ids F8 walks to three times from row 1, the notices, the rows "Has problems" shows.
        QTest::addColumn<QStringList>("expected");
        const QString lacks = "error [placeholders]: the translation lacks %1", done = "Done finding problems";
        const QString both = "1 error \u00b7 1 warning";
        QTest::newRow("as saved") << "" << QStringList{"- - W E -", lacks, both, "3 4 3", "", "3 4"};
        QTest::newRow("error fixed") << "fix" << QStringList{"- - W - -", "", "1 warning", "3 3 3", done + '|' + done, "3"};
        QTest::newRow("fix undone") << "fix undo" << QStringList{"- - W E -", lacks, both, "3 4 3", "", "3 4"};
        QTest::newRow("another error")
            << "break" << QStringList{"- E W E -", lacks, "2 errors \u00b7 1 warning", "2 3 4", "", "2 3 4"};
        QTest::newRow("a rule switched off, saved")
            << "rule" << QStringList{"- - - E -", lacks, "1 error", "4 4 4", done + '|' + done, "4"};
    }
    void problems()
    {
        QFETCH(QString, change);
        QFETCH(QStringList, expected);
        // Approved translations with two faults: 3 lacks the English full stop (a warning), 4 the
        // English %1 (an error).
        server::WorkspacePtr ws = Strings({"Open %1=Öffnen %1", "Save=Speichern", "Quit.=Beenden",
                                           "Close %1=Schließen", "Print=Drucken"});
        auto form = OpenEditor(ws, ssLocalEdited);
        CDVDataSource *source = form->DataSource();
        if (change.startsWith(QLatin1String("fix")))
            Translate(*form, 4, QStringLiteral("Schließen %1"));
        if (change.endsWith(QLatin1String("undo")))
            form->UndoStack()->undo();
        if (change == QLatin1String("break"))
            Translate(*form, 2, QStringLiteral("Speichern %1"));
        if (change == QLatin1String("rule")) {
            ws->Tables()->SetDisabledCheckRules({QStringLiteral("punctuation")});
            Translate(*form, 5, QStringLiteral("Drucken"));
            form->FileItem(2)->trigger();
        }
        QStringList signs, ids;
        for (int id = 1; id <= 5; ++id) {
            const int sign = source->RowSign(id);
            signs << (sign & rsError ? "E" : sign & rsWarning ? "W" : "-");
            QCOMPARE(sign & rsShapeMask, int(rsApproved));   // the state's sign stays under it
        }
        // The whole table's count follows the window's first paint.
        const auto counted = [&] {
            return form->ProgressText().remove(QStringLiteral(" \u00b7 Modified")).section(QStringLiteral(" \u00b7 "), 4);
        };
        QTRY_COMPARE(counted(), expected.at(2));

        const QList<QAction *> menu = form->findChild<QMenu *>("mnuEdit")->actions();
        QCOMPARE(menu.indexOf(form->findChild<QAction *>("mnuEditFindNextProblem")), menu.indexOf(form->EditItem(9)) + 1);
        form->DataView()->ShowId(1);
        for (int i = 0; i < 3; ++i) {
            QTest::keyClick(form.get(), Qt::Key_F8);
            ids << QString::number(CurrentId(*form));
        }
        QStringList shown{signs.join(u' '), source->RowToolTip(4).section(u'\n', 1), counted(), ids.join(u' '),
                          services->prompts->Notices().join(u'|')};
        form->FilterState()->setCurrentIndex(form->FilterState()->findText(QStringLiteral("Has problems")));
        QCOMPARE(shown << ListedIds(*form), expected);
    }

    // Save && Next stores the text and opens the next string that needs work, in the list's
    // order from the one saved, until none is left; Ctrl+Return does the same. Ctrl+B copies the
    // original over the selection, or over the whole text when nothing is selected.
    void saveAndNextWalksTheStringsThatNeedWork()
    {
        server::WorkspacePtr ws = EveryState();
        auto form = OpenEditor(ws, ssLocalEdited);
        form->DataView()->ShowId(3);
        QStringList titles, copied;
        std::function<void(QDialog *)> work = [&](QDialog *dialog) {
            titles << dialog->windowTitle();
            auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
            if (titles.size() == 1) {
                QTRY_VERIFY(box->hasFocus());   // the box selects all as it takes the focus
                QTextCursor cursor = box->textCursor();
                cursor.setPosition(1);
                cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
                box->setTextCursor(cursor);
                QTest::keyClick(dialog, Qt::Key_B, Qt::ControlModifier);
                box->moveCursor(QTextCursor::Start);
                copied << box->toPlainText() << Find<QPlainTextEdit>(dialog, "rtfOriginal")->toPlainText();
                QTest::keyClick(dialog, Qt::Key_B, Qt::ControlModifier);
                copied << box->toPlainText();
            }
            box->setPlainText(QStringLiteral("Text %1").arg(titles.size()));
            if (!Find<QCheckBox>(dialog, "chkValidTranslation")->isChecked())
                Click(dialog, "chkValidTranslation");
            if (titles.size() < 4)
                OnModal<QDialog>(work);
            if (titles.size() == 2)
                QTest::keyClick(box, Qt::Key_Return, Qt::ControlModifier);
            else
                Click(dialog, "cmdSaveNext");
        };
        OnModal<QDialog>(work);
        form->EditItem(15)->trigger();
        QCOMPARE(copied, (QStringList{"SClose window", "Close window", "Close window"}));
        QCOMPARE(titles, (QStringList{"Translate string resource 3", "Translate string resource 4",
                                      "Translate string resource 6", "Translate string resource 2"}));
        QCOMPARE(services->prompts->Notices(), QStringList{"Done finding unapproved translations"});
        QVERIFY(form->ProgressText().startsWith(QStringLiteral("6 of 6 translated (100 %)")));
        QCOMPARE(ws->Tables()->Text(6, ssLocalEdited), QStringLiteral("Text 3"));
        QCOMPARE(CurrentId(*form), 2);
    }

    void undoAndRedo_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("undoText");
        QTest::newRow("translation") << 0 << "store" << "&Undo translation of 4";
        QTest::newRow("delete") << 0 << "delete" << "&Undo deletion of 6";
        QTest::newRow("undo after Save") << 0 << "store save" << "&Undo translation of 4";
        QTest::newRow("cut") << 3 << "delete" << "&Undo cut of 6";
        QTest::newRow("paste") << 3 << "paste" << "&Undo new string 7";
        QTest::newRow("new string") << 3 << "new" << "&Undo new string 7";
        QTest::newRow("changed id") << 3 << "id" << "&Undo id change 1 to 9";
        QTest::newRow("parameter definitions") << 3 << "parameters" << "&Undo edit of 1";
    }
    void undoAndRedo()
    {
        QFETCH(int, version);
        QFETCH(QString, change);
        QFETCH(QString, undoText);
        server::WorkspacePtr ws = EveryState();
        const StringTableSetPtr t = ws->Tables();
        const auto source = StringSource(version);
        auto form = OpenEditor(ws, TableVersion(version));
        const auto state = [&] {
            return Holdings(ws, source, {1, 4, 6, 7, 9}) + " | rows " + ListedIds(*form) + " | "
                   + (t->Modified() ? "modified" : "saved");
        };
        const QString before = state();
        const qint32 focus = change == QLatin1String("delete") ? 6 : change.startsWith(QLatin1String("store")) ? 4 : 1;
        form->DataView()->ShowId(focus);
        const StringEntryPtr e = t->Entry(StringId(CurrentId(*form)), source);
        if (change.startsWith(QLatin1String("store"))) {
            Translate(*form, 4, QStringLiteral("Drucken"));
        } else if (change == QLatin1String("delete")) {
            QTest::keyClick(form->DataView()->TableView(), Qt::Key_Delete);
        } else if (change == QLatin1String("paste") || change == QLatin1String("new")) {
            QGuiApplication::clipboard()->setText(QStringLiteral("Pasted"));
            form->DataView()->ShowId(6);
            OnModal<QDialog>([&](QDialog *dialog) {
                Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("Pasted"));
                Click(dialog, "cmdSave");
            });
            form->EditItem(change == QLatin1String("paste") ? 2 : 13)->trigger();
            QVERIFY(Reactivate(form.get()));
        } else {
            ParameterDefinitionsPtr parameters = e->ParameterDefinitions();
            if (change == QLatin1String("parameters"))
                parameters->Add(1, QStringLiteral("file name"));
            form->UpdateEntry(e, e->CreateEdited(change == QLatin1String("id") ? 9 : 1, e->Text(), e->EntryText(), false,
                                                 false, true, {}, 0, parameters, false));
        }
        if (change.endsWith(QLatin1String("save")))
            QTest::keyClick(form.get(), Qt::Key_S, Qt::ControlModifier);
        const QString after = state();
        QVERIFY2(after != before, qPrintable(after));
        QCOMPARE(form->findChild<QAction *>("mnuEditUndo")->text(), undoText);

        QTest::keyClick(form.get(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(state().section(u'|', 0, 1), before.section(u'|', 0, 1));
        // Back to what the file holds, unless a Save came between.
        QCOMPARE(t->Modified(), change.endsWith(QLatin1String("save")));
        QTest::keyClick(form.get(), Qt::Key_Y, Qt::ControlModifier);
        QCOMPARE(state().section(u'|', 0, 1), after.section(u'|', 0, 1));
        form->UndoStack()->undo();
        // Undoing a new string shows the row that takes its place.
        QCOMPARE(CurrentId(*form), change == QLatin1String("paste") || change == QLatin1String("new") ? 6 : focus);
    }

    // --- What changed in the English, the translation memory ---------------------------------

    // Carry Over restamps the translations of trivial English changes, leaves changed words,
    // reports both, and each carried string comes back on its own with Undo.
    void carryOverAndUndo()
    {
        server::WorkspacePtr ws = Strings({"Save changes.=Änderungen speichern.",
                                           "Could not open %1=%1 konnte nicht geöffnet werden",
                                           "^&Cancel=&Abbrechen"});
        const StringTableSetPtr t = ws->Tables();
        Put(t, 1, QStringLiteral("Save changes?"), true);
        Put(t, 2, QStringLiteral("Could not read %1"), true);
        Put(t, 3, QStringLiteral("Cancel"), true);   // its shortcut no longer allowed
        t->Save(ssEnglishDefault, false);
        auto form = OpenEditor(ws, ssLocalEdited);
        auto *carryOver = form->findChild<QAction *>("mnuEditCarryOver");
        QVERIFY(form->findChild<QMenu *>("mnuEdit")->actions().contains(carryOver));
        carryOver->trigger();
        QCOMPARE(Holdings(ws, ssLocalEdited, {1, 2, 3}), "1:Änderungen speichern?/2/2 "
                                                         "2:%1 konnte nicht geöffnet werden/1/2 3:Abbrechen/2/2");
        const QStringList notices = services->prompts->Notices();
        QCOMPARE(notices.size(), 1);
        for (const char *part : {"Carried over 2", "1 (punctuation", "3 (shortcut", "1 with changed words"})
            QVERIFY2(notices.first().contains(part), qPrintable(notices.first()));
        QCOMPARE(form->UndoStack()->count(), 2);
        form->UndoStack()->undo();
        QCOMPARE(Holdings(ws, ssLocalEdited, {1, 3}), "1:Änderungen speichern?/2/2 3:&Abbrechen/1/2");
        form->UndoStack()->undo();
        QCOMPARE(Holdings(ws, ssLocalEdited, {1}), "1:Änderungen speichern./1/2");
        QVERIFY(!t->Modified());
    }

    void insertSuggestion_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("suggestions");
        QTest::newRow("Ctrl+1, exact") << 2 << 1 << "Öffnen" << 1;
        QTest::newRow("Ctrl+1, marker and ellipsis adapted") << 5 << 1 << "&Öffnen…" << 1;
        QTest::newRow("Ctrl+2 without a second") << 2 << 2 << "" << 1;
        QTest::newRow("nothing for a new text") << 3 << 1 << "" << 0;
    }
    void insertSuggestion()
    {
        QFETCH(int, id);
        QFETCH(int, key);
        QFETCH(QString, expected);
        QFETCH(int, suggestions);
        QTemporaryDir dir;
        server::WorkspacePtr ws = Strings(kForMemory);
        auto form = OpenEditor(ws, ssLocalEdited, dir.filePath(QStringLiteral("memory.sqlite")));
        QString typed = QStringLiteral("(not reached)");
        int shown = -1;
        OnModal<QDialog>([&](QDialog *dialog) {
            auto *list = Find<QTreeWidget>(dialog, "lstSuggestions");
            auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
            QTRY_VERIFY(list->topLevelItemCount() > 0);
            shown = list->topLevelItem(0)->flags() & Qt::ItemIsEnabled ? list->topLevelItemCount() : 0;
            // Past defect: stacked under the form, the suggestions made the dialog taller than a
            // laptop's screen (768 lines less a panel and a title bar); they sit beside it.
            QVERIFY2(dialog->height() <= 700, qPrintable(QString::number(dialog->height())));
            QTest::keyClick(box, static_cast<Qt::Key>(Qt::Key_0 + key), Qt::ControlModifier);
            typed = box->toPlainText();
        });
        form->EditTranslation(ws->Tables()->Entry(StringId(id), ssLocalEdited));
        QCOMPARE(shown, suggestions);
        QCOMPARE(typed, expected);
    }

    // Once its window is up, the editor indexes its workspace for the memory in steps of its own,
    // as many as a workspace larger than one step needs.
    void memoryIndexedInSteps()
    {
        QTemporaryDir dir;
        QStringList texts;
        for (int i = 1; i <= 1500; ++i)
            texts << QStringLiteral("Text number %1=Text Nummer %1").arg(i);
        server::WorkspacePtr ws = Strings(texts, 1500);
        auto form = OpenEditor(ws, ssLocalEdited, dir.filePath(QStringLiteral("memory.sqlite")));
        // A step of no strings indexes nothing: only the editor's own steps can finish it.
        QTRY_VERIFY(form->Memory()->WarmStep(0));
    }

    // A translation saved joins the memory, by its id, even with no row shown. Pre-translate fills
    // the rows the filter shows from the memory, unapproved, down to the similarity asked for, as
    // one step of Undo.
    void pretranslateAndSave_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("minimum");
        QTest::addColumn<QString>("filled");
        QTest::newRow("filtered, exact") << "Open" << "100" << "2:Öffnen 4:Öffnen";
        QTest::newRow("filtered, down to 97") << "Open" << "97" << "2:Öffnen 4:Öffnen 5:&Öffnen…";
        QTest::newRow("every row") << "" << "100" << "2:Öffnen 4:Öffnen 6:Schließen";
    }
    void pretranslateAndSave()
    {
        QFETCH(QString, filter);
        QFETCH(QString, minimum);
        QFETCH(QString, filled);
        QTemporaryDir dir;
        server::WorkspacePtr ws = Strings(kForMemory);
        auto form = OpenEditor(ws, ssLocalEdited, dir.filePath(QStringLiteral("memory.sqlite")));
        QCOMPARE(form->Memory()->Lookup(QStringLiteral("Print")).size(), 0);   // indexed as opened
        Translate(*form, 3, QStringLiteral("Drucken"));
        QCOMPARE(form->Memory()->Lookup(QStringLiteral("Print")).size(), 0);   // not saved yet
        form->FilterText()->setText(QStringLiteral("no such text"));
        form->ProcessFileMenuSave(false);
        const QList<memory::Suggestion> found = form->Memory()->Lookup(QStringLiteral("Print"));
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.first().translation, QStringLiteral("Drucken"));

        form->FilterText()->setText(filter);
        services->prompts->inputAnswers.enqueue(minimum);
        auto *action = form->findChild<QAction *>(QStringLiteral("mnuEditPretranslate"));
        QVERIFY(action && action->isVisible() && action->isEnabled());
        const StringTableSetPtr tables = ws->Tables();
        const auto texts = [&] {
            QStringList out;
            for (StringId id = 2; id <= 6; ++id)
                if (tables->HasText(id, ssLocalEdited) && !tables->HasStatus(id, ssLocalEdited, sfApproved))
                    out << QStringLiteral("%1:%2").arg(id).arg(tables->Text(id, ssLocalEdited));
            return out.join(u' ');
        };
        const int steps = form->UndoStack()->count();
        action->trigger();
        QCOMPARE(texts(), filled);
        const QString notice = QStringLiteral("Pre-translated %1 of").arg(filled.count(u':'));
        QVERIFY(services->prompts->Notices().last().startsWith(notice));
        QCOMPARE(form->UndoStack()->count(), steps + 1);
        form->UndoStack()->undo();
        QCOMPARE(texts(), QString());
    }
};

QTEST_MAIN(TestFrmEdit)
#include "tst_frmedit.moc"
