// The editor's commands driven on the real window over real tables: File (Save, Save as, Reset,
// Close), the searches, and the entry commands with the translate dialog answered by its buttons.

#include "EditorTestSupport.h"

#include "dataview/UCKvDataView.h"
#include "editor/frmEdit.h"

#include "TestServices.h"

#include <QAbstractItemModel>
#include <QAction>
#include <QCheckBox>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

// Ten strings "Line 1" .. "Line 10" with some replaced.
QStringList TenLines(const QMap<int, QString> &replaced = {})
{
    QStringList texts;
    for (int id = 1; id <= 10; ++id)
        texts << replaced.value(id, QStringLiteral("Line %1").arg(id));
    return texts;
}

qint32 CurrentId(frmEdit &form)
{
    return form.DataSource()->RecordNumberToId(form.DataView()->CurrentRecord());
}

QString Feedback(int row, int count)
{
    return QStringLiteral("Id: %1 (Position %1 of %2)").arg(row).arg(count);
}

template <typename T>
T *Control(QWidget *dialog, const char *name)
{
    T *control = dialog->findChild<T *>(QString::fromLatin1(name));
    if (!control)
        qWarning("the dialog has no %s", name);
    return control;
}

// Translations of ids 1..5 in Local Edited: 1 approved, 2 not approved, 3 approved but its
// English text changed since, 4 missing (a record without text), 5 approved. complete fixes 2, 3
// and 4.
server::WorkspacePtr TranslatedFive(bool complete)
{
    server::WorkspacePtr ws = WorkspaceWithStrings(
        {QStringLiteral("Open"), QStringLiteral("Save"), QStringLiteral("Close"), QStringLiteral("Print"),
         QStringLiteral("Quit")});
    const StringTableSetPtr tables = ws->Tables();
    PutTranslation(tables, 1, ssLocalEdited, QStringLiteral("Öffnen"), true);
    PutTranslation(tables, 2, ssLocalEdited, QStringLiteral("Speichern"), complete);
    PutTranslation(tables, 3, ssLocalEdited, QStringLiteral("Schließen"), true);
    if (!complete)
        PutSource(tables, 3, QStringLiteral("Close window"));
    if (complete)
        PutTranslation(tables, 4, ssLocalEdited, QStringLiteral("Drucken"), true);
    else
        PutBlanks(ws, ssLocalEdited, {4});
    PutTranslation(tables, 5, ssLocalEdited, QStringLiteral("Beenden"), true);
    tables->Save(ssLocalEdited, false);
    return ws;
}

} // namespace

class TestFrmEditCommands : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { QGuiApplication::clipboard()->clear(); }

    // --- File -----------------------------------------------------------------------------

    void saveWithoutEditsCallsNothing()
    {
        TestServices services;
        auto ws = std::make_shared<CountingWorkspace>(WorkspaceWithStrings(TenLines()));
        auto form = OpenEditor(ws, ssLocalEdited);
        form->tbrEdit_ButtonClick(QStringLiteral("mnuFileItem:2"));
        form->tbrEdit_ButtonClick(QStringLiteral("mnuFileItem:3"));
        QCOMPARE(ws->tables->saves, 0);
        QCOMPARE(form->Saved(), false);
        QVERIFY(services.prompts->calls.isEmpty());
    }

    void saveWritesAndKeepsTheEntry_data()
    {
        QTest::addColumn<int>("item");
        QTest::addColumn<int>("storedIn");
        QTest::newRow("save") << 2 << int(ssLocalEdited);
        QTest::newRow("save as") << 3 << int(ssLocalDefault);
    }
    void saveWritesAndKeepsTheEntry()
    {
        QFETCH(int, item);
        QFETCH(int, storedIn);
        TestServices services;
        server::WorkspacePtr real = WorkspaceWithStrings(TenLines());
        PutBlanks(real, ssLocalEdited, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
        real->Tables()->Save(ssLocalEdited, false);
        auto ws = std::make_shared<CountingWorkspace>(real);
        auto form = OpenEditor(ws, ssLocalEdited);
        form->DataView()->setCurrentRecord(6);
        PutTranslation(ws->tables, 6, ssLocalEdited, QStringLiteral("Zeile 6"), true);
        form->UpdateMenuState();

        form->FileItem(item)->trigger();
        QCOMPARE(ws->tables->saves, 1);
        QVERIFY(form->Saved());
        QVERIFY(!ws->tables->Modified());
        QVERIFY(ws->tables->IdInUse(6, static_cast<StringSource>(storedIn)));
        QCOMPARE(ws->tables->Text(6, ssLocalEdited), QStringLiteral("Zeile 6"));
        // Save as moves the translation to the default table, out of this list.
        if (storedIn == ssLocalEdited)
            QCOMPARE(CurrentId(*form), 6);
        QVERIFY(!form->FileItem(2)->isEnabled());
        QCOMPARE(QApplication::overrideCursor(), nullptr);
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void failedSaveLeavesTheSavedFlag()
    {
        TestServices services;
        auto ws = std::make_shared<CountingWorkspace>(WorkspaceWithStrings(TenLines()));
        ws->tables->failSave = true;
        auto form = OpenEditor(ws, ssLocalEdited);
        PutTranslation(ws->tables, 2, ssLocalEdited, QStringLiteral("Zeile 2"), false);
        form->UpdateMenuState();
        form->FileItem(2)->trigger();
        QCOMPARE(services.reporter->errors.size(), 1);
        QCOMPARE(services.reporter->errors.first().number, int(errStorage));
        QVERIFY(!form->Saved());
        QVERIFY(ws->tables->Modified());
        QVERIFY(form->isVisible());
        QCOMPARE(QApplication::overrideCursor(), nullptr);
    }

    void reset_data()
    {
        QTest::addColumn<bool>("agree");
        QTest::newRow("OK discards and keeps the entry current") << true;
        QTest::newRow("Cancel keeps the edits") << false;
    }
    void reset()
    {
        QFETCH(bool, agree);
        TestServices services;
        auto ws = std::make_shared<CountingWorkspace>(WorkspaceWithStrings(TenLines()));
        auto form = OpenEditor(ws, ssEnglishDefault);
        // Cut row 2, then stand on id 7, which moved up to row 6.
        form->DataView()->setCurrentRecord(2);
        form->EditItem(0)->trigger();
        form->DataView()->ShowId(7);
        QCOMPARE(form->DataView()->CurrentRecord(), 6);

        services.prompts->confirmAnswers << agree;
        form->FileItem(0)->trigger();
        QCOMPARE(services.prompts->calls.size(), 1);
        QCOMPARE(services.prompts->calls.first().text,
                 QStringLiteral("Are you sure you want to abandon all unsaved edits?"));
        QCOMPARE(ws->tables->discards, agree ? 1 : 0);
        QCOMPARE(ws->tables->Modified(), !agree);
        QCOMPARE(form->DataSource()->GetRecordCount(), agree ? 10 : 9);
        QCOMPARE(CurrentId(*form), 7);
        QCOMPARE(form->DataView()->CurrentRecord(), agree ? 7 : 6);
        QCOMPARE(form->FileItem(0)->isEnabled(), !agree);
        QCOMPARE(QApplication::overrideCursor(), nullptr);
    }

    void close_data()
    {
        QTest::addColumn<bool>("edits");
        QTest::addColumn<bool>("agree");
        QTest::addColumn<bool>("closes");
        QTest::newRow("no edits: closes without asking") << false << false << true;
        QTest::newRow("edits, Cancel: stays with the edits") << true << false << false;
        QTest::newRow("edits, OK: discards and closes") << true << true << true;
    }
    void close()
    {
        QFETCH(bool, edits);
        QFETCH(bool, agree);
        QFETCH(bool, closes);
        TestServices services;
        auto ws = std::make_shared<CountingWorkspace>(WorkspaceWithStrings(TenLines()));
        auto form = OpenEditor(ws, ssLocalEdited);
        if (edits)
            PutTranslation(ws->tables, 3, ssLocalEdited, QStringLiteral("Zeile 3"), false);
        services.prompts->confirmAnswers << agree;

        form->FileItem(5)->trigger();
        QCOMPARE(form->isVisible(), !closes);
        QCOMPARE(services.prompts->calls.size(), edits ? 1 : 0);
        if (edits)
            QCOMPARE(services.prompts->calls.first().text,
                     QStringLiteral("You have not saved your changes yet. Close without saving?"));
        QCOMPARE(ws->tables->Modified(), edits && !agree);
        QCOMPARE(ws->tables->discards, edits && agree ? 1 : 0);
        QCOMPARE(ws->tables->saves, 0);
        QCOMPARE(form->Saved(), false);
        QCOMPARE(QApplication::overrideCursor(), nullptr);
    }

    // --- Searches -------------------------------------------------------------------------

    void findText_data()
    {
        QTest::addColumn<QStringList>("texts");   // "^" before a text: it allows a shortcut
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("item");            // 4 Find, 5 Find Next
        QTest::addColumn<QString>("findText");
        QTest::addColumn<int>("expected");        // 0: the closing message, the row stays

        const QString needle = QStringLiteral("needle");
        QTest::newRow("wraps to an earlier row") << TenLines({{2, "Needle here"}}) << 5 << 4 << needle << 2;
        QTest::newRow("first match after the current row") << TenLines({{3, "needle"}, {8, "a needle"}}) << 5 << 4
                                                           << needle << 8;
        QTest::newRow("current row is tested last") << TenLines({{5, "needle"}}) << 5 << 4 << needle << 0;
        QTest::newRow("from the last row on with row 1") << TenLines({{1, "needle"}}) << 10 << 4 << needle << 1;
        QTest::newRow("case-insensitive") << TenLines({{4, "THE NEEDLE"}}) << 1 << 4 << needle << 4;
        QTest::newRow("shortcut marker ignored") << TenLines({{6, "^Ne&edle"}}) << 1 << 4 << needle << 6;
        QTest::newRow("marker kept without shortcut") << TenLines({{6, "Ne&edle"}}) << 1 << 4 << needle << 0;
        QTest::newRow("double marker is an ampersand") << TenLines({{6, "^Salt && Pepper"}}) << 1 << 4
                                                       << QStringLiteral("t & p") << 6;
        QTest::newRow("nothing matches") << TenLines() << 3 << 4 << needle << 0;
        QTest::newRow("next: the row after current is tested last") << TenLines({{6, "needle"}}) << 5 << 5 << needle
                                                                    << 0;
        QTest::newRow("next: two rows on") << TenLines({{7, "needle"}}) << 5 << 5 << needle << 7;
        QTest::newRow("next: wraps") << TenLines({{2, "needle"}}) << 5 << 5 << needle << 2;
        QTest::newRow("next: from the row before last") << TenLines({{10, "needle"}}) << 9 << 5 << needle << 0;
        QTest::newRow("next: from the last row finds row 3") << TenLines({{3, "needle"}}) << 10 << 5 << needle << 3;
        QTest::newRow("next: from the last row, no match ends") << TenLines() << 10 << 5 << needle << 0;
    }
    void findText()
    {
        QFETCH(QStringList, texts);
        QFETCH(int, current);
        QFETCH(int, item);
        QFETCH(QString, findText);
        QFETCH(int, expected);
        TestServices services;
        auto form = OpenEditor(WorkspaceWithStrings(texts), ssEnglishDefault);
        form->DataView()->setCurrentRecord(current);
        if (item == 4) {
            services.prompts->inputAnswers << findText;
        } else {
            form->setFindText(findText);
            form->UpdateMenuState();
        }

        form->EditItem(item)->trigger();
        QCOMPARE(form->DataView()->CurrentRecord(), expected ? expected : current);
        QCOMPARE(services.prompts->Notices(), expected ? QStringList() : QStringList{"Done finding text"});
        QCOMPARE(form->StatusText(), Feedback(expected ? expected : current, 10));
        QCOMPARE(form->FindText(), findText);
        QVERIFY(form->EditItem(5)->isEnabled());
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void findAsksWithThePreviousText()
    {
        TestServices services;
        auto form = OpenEditor(WorkspaceWithStrings(TenLines()), ssEnglishDefault);
        form->move(200, 150);
        form->setFindText(QStringLiteral("Line 4"));
        services.prompts->inputAnswers << QStringLiteral("  Line 9  ");
        form->EditItem(4)->trigger();
        QCOMPARE(services.prompts->calls.size(), 1);
        const PromptCall call = services.prompts->calls.first();
        QCOMPARE(call.kind, PromptCall::Input);
        QCOMPARE(call.title, QStringLiteral("Find"));
        QCOMPARE(call.text, QStringLiteral("What do you want to look for?"));
        QCOMPARE(call.defaultText, QStringLiteral("Line 4"));
        QCOMPARE(call.position, form->pos() + QPoint(20, 20));
        QCOMPARE(form->FindText(), QStringLiteral("Line 9"));
        QCOMPARE(form->DataView()->CurrentRecord(), 9);
    }

    void findWithEmptyAnswerClearsTheText()
    {
        TestServices services;
        auto form = OpenEditor(WorkspaceWithStrings(TenLines()), ssEnglishDefault);
        form->setFindText(QStringLiteral("Line"));
        form->UpdateMenuState();
        QVERIFY(form->EditItem(5)->isEnabled());
        form->DataView()->setCurrentRecord(4);
        form->EditItem(4)->trigger();   // no answer queued: Cancel
        QCOMPARE(form->FindText(), QString());
        QVERIFY(!form->EditItem(5)->isEnabled());
        QCOMPARE(form->DataView()->CurrentRecord(), 4);
        QVERIFY(services.prompts->Notices().isEmpty());
    }

    void findLooksAtTheVersionAndTheSource_data()
    {
        QTest::addColumn<QString>("findText");
        QTest::addColumn<int>("expected");
        QTest::newRow("the translation") << QStringLiteral("zeile") << 4;
        QTest::newRow("the English text") << QStringLiteral("line 7") << 7;
        QTest::newRow("an English text whose translation differs") << QStringLiteral("line 4") << 4;
    }
    void findLooksAtTheVersionAndTheSource()
    {
        QFETCH(QString, findText);
        QFETCH(int, expected);
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines());
        PutBlanks(ws, ssLocalEdited, {1, 2, 3, 5, 6, 7, 8, 9, 10});
        PutTranslation(ws->Tables(), 4, ssLocalEdited, QStringLiteral("Zeile vier"), true);
        ws->Tables()->Save(ssLocalEdited, false);
        auto form = OpenEditor(ws, ssLocalEdited);
        services.prompts->inputAnswers << findText;
        form->EditItem(4)->trigger();
        QCOMPARE(form->DataView()->CurrentRecord(), expected);
    }

    void translationChecks_data()
    {
        QTest::addColumn<bool>("complete");
        QTest::addColumn<int>("item");
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("expected");   // 0: the closing message
        QTest::addColumn<QString>("message");

        const QString missing = QStringLiteral("Done finding missing translations");
        const QString outOfDate = QStringLiteral("Done finding out of date translations");
        const QString unapproved = QStringLiteral("Done finding unapproved translations");
        QTest::newRow("missing") << false << 7 << 1 << 4 << missing;
        QTest::newRow("missing only on the current row") << false << 7 << 4 << 0 << missing;
        QTest::newRow("out of date by revision") << false << 8 << 1 << 3 << outOfDate;
        QTest::newRow("missing counts as out of date") << false << 8 << 3 << 4 << outOfDate;
        QTest::newRow("out of date, wrapping") << false << 8 << 5 << 3 << outOfDate;
        QTest::newRow("unapproved") << false << 9 << 1 << 2 << unapproved;
        QTest::newRow("out of date counts as unapproved") << false << 9 << 2 << 3 << unapproved;
        QTest::newRow("unapproved, wrapping") << false << 9 << 4 << 2 << unapproved;
        QTest::newRow("complete: no missing") << true << 7 << 3 << 0 << missing;
        QTest::newRow("complete: none out of date") << true << 8 << 3 << 0 << outOfDate;
        QTest::newRow("complete: none unapproved") << true << 9 << 3 << 0 << unapproved;
    }
    void translationChecks()
    {
        QFETCH(bool, complete);
        QFETCH(int, item);
        QFETCH(int, current);
        QFETCH(int, expected);
        QFETCH(QString, message);
        TestServices services;
        auto form = OpenEditor(TranslatedFive(complete), ssLocalEdited);
        form->DataView()->setCurrentRecord(current);
        form->EditItem(item)->trigger();
        QCOMPARE(form->DataView()->CurrentRecord(), expected ? expected : current);
        QCOMPARE(services.prompts->Notices(), expected ? QStringList() : QStringList{message});
        QCOMPARE(form->StatusText(), Feedback(expected ? expected : current, 5));
        QVERIFY(services.reporter->errors.isEmpty());
    }

    // --- Entry commands -------------------------------------------------------------------

    void goTo_data()
    {
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<int>("expectedId");   // 0: the current row stays
        QTest::addColumn<int>("asked");

        QTest::newRow("an id") << QStringList{"7"} << 7 << 1;
        QTest::newRow("0, 32768 and text ask again") << QStringList{"0", "32768", "abc", " 4 "} << 4 << 4;
        QTest::newRow("a decimal number") << QStringList{"6.0"} << 6 << 1;
        QTest::newRow("32767 is accepted") << QStringList{"32767"} << 32767 << 1;
        QTest::newRow("empty ends") << QStringList{""} << 0 << 1;
        QTest::newRow("empty after a wrong answer") << QStringList{"-3", ""} << 0 << 2;
        QTest::newRow("only plain numbers") << QStringList{"1e1", "0x5", "5 5", "+5"} << 5 << 4;
    }
    void goTo()
    {
        QFETCH(QStringList, answers);
        QFETCH(int, expectedId);
        QFETCH(int, asked);
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines(), kMaxStringId);
        PutSource(ws->Tables(), 32767, QStringLiteral("The last id"));
        ws->Tables()->Save(ssEnglishDefault, false);
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->DataView()->setCurrentRecord(2);
        for (const QString &answer : answers)
            services.prompts->inputAnswers << answer;

        form->EditItem(11)->trigger();
        QCOMPARE(services.prompts->calls.size(), asked);
        for (const PromptCall &call : services.prompts->calls) {
            QCOMPARE(call.title, QStringLiteral("Go to"));
            QCOMPARE(call.text, QStringLiteral("Please type the resource id as a value between 1 and 32767"));
            QCOMPARE(call.position, form->pos() + QPoint(20, 20));
        }
        QCOMPARE(CurrentId(*form), expectedId ? expectedId : 2);
    }

    void copyPutsTheTextOnTheClipboard()
    {
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines());
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->DataView()->setCurrentRecord(3);
        form->EditItem(1)->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("Line 3"));
        QCOMPARE(form->DataSource()->GetRecordCount(), 10);
        QVERIFY(!ws->Tables()->Modified());
    }

    void copyWithoutTextLeavesTheClipboardEmpty()
    {
        TestServices services;
        auto form = OpenEditor(TranslatedFive(false), ssLocalEdited);
        QGuiApplication::clipboard()->setText(QStringLiteral("stale"));
        form->DataView()->setCurrentRecord(4);   // no translation
        form->ProcessEditMenuCopyCut(0);
        QCOMPARE(QGuiApplication::clipboard()->text(), QString());
    }

    void cutRemovesTheString_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("currentAfter");
        QTest::addColumn<int>("idAfter");
        QTest::newRow("the next row moves up") << 3 << 3 << 4;
        QTest::newRow("the last row: the new last row") << 10 << 9 << 9;
    }
    void cutRemovesTheString()
    {
        QFETCH(int, row);
        QFETCH(int, currentAfter);
        QFETCH(int, idAfter);
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines());
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->DataView()->setCurrentRecord(row);
        form->EditItem(0)->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("Line %1").arg(row));
        QVERIFY(!ws->Tables()->IdInUse(static_cast<StringId>(row), ssEnglishDefault));
        QCOMPARE(form->DataSource()->GetRecordCount(), 9);
        QCOMPARE(form->DataView()->CurrentRecord(), currentAfter);
        QCOMPARE(CurrentId(*form), idAfter);
        QVERIFY(form->FileItem(2)->isEnabled());
    }

    void deleteRemovesTheTranslation()
    {
        TestServices services;
        server::WorkspacePtr ws = TranslatedFive(false);
        auto form = OpenEditor(ws, ssLocalEdited);
        form->DataView()->setCurrentRecord(2);
        form->EditItem(0)->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("Speichern"));
        QVERIFY(!ws->Tables()->HasText(2, ssLocalEdited));
        QVERIFY(ws->Tables()->HasText(2, ssEnglishDefault));
        QCOMPARE(form->DataSource()->GetRecordCount(), 5);
        QCOMPARE(form->DataView()->CurrentRecord(), 2);
        QCOMPARE(form->DataSource()->EvaluateColumn(2, 3), QString());
    }

    void pasteOpensANewStringWithTheClipboardText()
    {
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines().mid(0, 5));
        auto form = OpenEditor(ws, ssEnglishDefault);
        QGuiApplication::clipboard()->setText(QStringLiteral("  Pasted text \n"));
        QString shownId, shownText;
        ModalDriver driver([&](QWidget *dialog) {
            shownId = Control<QLineEdit>(dialog, "txtId")->text();
            shownText = Control<QPlainTextEdit>(dialog, "rtfTranslate")->toPlainText();
            Control<QPushButton>(dialog, "cmdSave")->click();
        });
        form->EditItem(2)->trigger();
        QVERIFY(driver.Ran());
        QCOMPARE(shownId, QStringLiteral("6"));
        QCOMPARE(shownText, QStringLiteral("Pasted text"));
        QCOMPARE(ws->Tables()->Text(6, ssEnglishDefault), QStringLiteral("Pasted text"));
        QCOMPARE(CurrentId(*form), 6);
        QVERIFY(form->FileItem(2)->isEnabled());
    }

    void pasteOfBlanksDoesNothing_data()
    {
        QTest::addColumn<QString>("clipboard");
        QTest::newRow("empty") << QString();
        QTest::newRow("blanks") << QStringLiteral("  \t \r\n ");
    }
    void pasteOfBlanksDoesNothing()
    {
        QFETCH(QString, clipboard);
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines());
        auto form = OpenEditor(ws, ssEnglishDefault);
        QGuiApplication::clipboard()->setText(clipboard);
        form->EditItem(2)->trigger();   // a dialog would block here
        QVERIFY(!ws->Tables()->Modified());
        QCOMPARE(form->DataSource()->GetRecordCount(), 10);
    }

    void newStringTakesTheFirstFreeId_data()
    {
        QTest::addColumn<int>("currentId");
        QTest::addColumn<int>("newId");
        QTest::newRow("gap after the current row") << 1 << 4;
        QTest::newRow("next to the current row") << 5 << 6;
        QTest::newRow("after the last row") << 7 << 8;
    }
    void newStringTakesTheFirstFreeId()
    {
        QFETCH(int, currentId);
        QFETCH(int, newId);
        TestServices services;
        server::WorkspacePtr ws = server::Workspace::CreateInMemory({QStringLiteral("Gaps"), QStringLiteral("de-DE"), 100});
        for (StringId id : {1, 2, 3, 5, 7})
            PutSource(ws->Tables(), id, QStringLiteral("String %1").arg(id));
        ws->Tables()->Save(ssEnglishDefault, false);
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->DataView()->ShowId(currentId);
        QString shownId;
        ModalDriver driver([&](QWidget *dialog) {
            shownId = Control<QLineEdit>(dialog, "txtId")->text();
            Control<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("Fresh"));
            Control<QPushButton>(dialog, "cmdSave")->click();
        });
        form->EditItem(13)->trigger();
        QVERIFY(driver.Ran());
        QCOMPARE(shownId, QString::number(newId));
        QCOMPARE(ws->Tables()->Text(static_cast<StringId>(newId), ssEnglishDefault), QStringLiteral("Fresh"));
        QCOMPARE(CurrentId(*form), newId);
        QCOMPARE(form->DataSource()->GetRecordCount(), 6);
    }

    void newStringCancelledStoresNothing()
    {
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines());
        auto form = OpenEditor(ws, ssEnglishDefault);
        ModalDriver driver([](QWidget *dialog) {
            Control<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("Never stored"));
            Control<QPushButton>(dialog, "cmdCancel")->click();
        });
        form->EditItem(13)->trigger();
        QVERIFY(driver.Ran());
        QVERIFY(!ws->Tables()->Modified());
        QVERIFY(!ws->Tables()->IdInUse(11, ssEnglishDefault));
        QVERIFY(!form->FileItem(2)->isEnabled());
    }

    void newStringWithoutAFreeIdDoesNothing()
    {
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines().mid(0, 3), 3);
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->EditItem(13)->trigger();   // a dialog would block here
        QVERIFY(!ws->Tables()->Modified());
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void editedIdInUseIsRefused()
    {
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines());
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->DataView()->setCurrentRecord(2);
        ModalDriver driver([](QWidget *dialog) {
            Control<QLineEdit>(dialog, "txtId")->setText(QStringLiteral("3"));
            Control<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("Changed"));
            Control<QPushButton>(dialog, "cmdSave")->click();
        });
        form->EditItem(15)->trigger();
        QVERIFY(driver.Ran());
        QCOMPARE(services.prompts->Notices(), QStringList{"String entry id 3 is already in use!"});
        QCOMPARE(ws->Tables()->Text(2, ssEnglishDefault), QStringLiteral("Line 2"));
        QCOMPARE(ws->Tables()->Text(3, ssEnglishDefault), QStringLiteral("Line 3"));
        QVERIFY(!ws->Tables()->Modified());
        QCOMPARE(CurrentId(*form), 2);
    }

    void editedIdMovesTheString()
    {
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(TenLines());
        auto form = OpenEditor(ws, ssEnglishDefault);
        form->DataView()->setCurrentRecord(2);
        ModalDriver driver([](QWidget *dialog) {
            Control<QLineEdit>(dialog, "txtId")->setText(QStringLiteral("50"));
            Control<QPushButton>(dialog, "cmdSave")->click();
        });
        form->EditItem(15)->trigger();
        QVERIFY(driver.Ran());
        QVERIFY(!ws->Tables()->IdInUse(2, ssEnglishDefault));
        QCOMPARE(ws->Tables()->Text(50, ssEnglishDefault), QStringLiteral("Line 2"));
        QCOMPARE(CurrentId(*form), 50);
        QCOMPARE(form->DataView()->CurrentRecord(), 10);
    }

    void propertiesOpenFromTheList_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("double click") << QStringLiteral("double click");
        QTest::newRow("Enter") << QStringLiteral("enter");
        QTest::newRow("Ctrl+Enter") << QStringLiteral("ctrl+enter");
        QTest::newRow("menu") << QStringLiteral("menu");
    }
    void propertiesOpenFromTheList()
    {
        QFETCH(QString, how);
        TestServices services;
        server::WorkspacePtr ws = TranslatedFive(false);
        auto form = OpenEditor(ws, ssLocalEdited);
        QTableView *view = form->DataView()->TableView();
        form->DataView()->setCurrentRecord(3);

        QString title;
        ModalDriver driver([&](QWidget *dialog) {
            title = dialog->windowTitle();
            Control<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("Fenster schließen"));
            QCheckBox *valid = Control<QCheckBox>(dialog, "chkValidTranslation");
            if (!valid->isChecked())
                valid->click();
            Control<QPushButton>(dialog, "cmdSave")->click();
        });
        if (how == QLatin1String("double click")) {
            const QRect cell = view->visualRect(view->model()->index(2, 1));
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cell.center());
            QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, cell.center());
        } else if (how == QLatin1String("enter")) {
            QTest::keyClick(view, Qt::Key_Return);
        } else if (how == QLatin1String("ctrl+enter")) {
            QTest::keyClick(view, Qt::Key_Return, Qt::ControlModifier);
        } else {
            form->EditItem(15)->trigger();
        }
        QVERIFY(driver.Ran());
        QCOMPARE(title, QStringLiteral("Translate string resource 3"));
        QCOMPARE(ws->Tables()->Text(3, ssLocalEdited), QStringLiteral("Fenster schließen"));
        QVERIFY(ws->Tables()->HasStatus(3, ssLocalEdited, sfApproved));
        // Stored against the current English text: no longer out of date.
        QCOMPARE(ws->Tables()->Revision(3, ssLocalEdited), ws->Tables()->Revision(3, ssEnglishDefault));
        QCOMPARE(CurrentId(*form), 3);
        QVERIFY(form->FileItem(2)->isEnabled());   // the menus were brought up to date
        QVERIFY(services.reporter->errors.isEmpty());
    }
};

QTEST_MAIN(TestFrmEditCommands)
#include "tst_frmedit_commands.moc"
