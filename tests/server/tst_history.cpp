// The English history: what a Save, an import or a Save as replaces is kept with its revision and
// text properties, a file of the previous schema gains the history on its first save, and the
// text at a revision answers from the current record, an unsaved edit's saved one or the file.

#include "io/WorkspaceTransfer.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QtTest>

#include <sqlite3.h>

using namespace kvedit;
using namespace kvedit::server;

namespace {

void StoreEnglish(const StringTableSetPtr &set, StringId id, StringSource source, const QString &text,
                  bool allowShortcut)
{
    const StringEntryPtr e = set->Entry(id, source);
    set->StoreEntry(e->CreateEdited(id, text, e->EntryText(), false, false, allowShortcut,
                                    allowShortcut ? QStringLiteral("O") : QString(), allowShortcut ? 1 : 0,
                                    e->ParameterDefinitions(), true));
}

int UserVersion(const QString &path)
{
    sqlite3 *db = nullptr;
    sqlite3_open_v2(QFile::encodeName(path).constData(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt *s = nullptr;
    sqlite3_prepare_v2(db, "PRAGMA user_version", -1, &s, nullptr);
    const int version = sqlite3_step(s) == SQLITE_ROW ? sqlite3_column_int(s, 0) : -1;
    sqlite3_finalize(s);
    sqlite3_close(db);
    return version;
}

} // namespace

class TestHistory : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    // Every way an English text is replaced keeps the one before it, in the file.
    void replacedTextIsKept_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("save") << "save";
        QTest::newRow("import") << "import";
        QTest::newRow("save as from English Edited") << "saveas";
    }
    void replacedTextIsKept()
    {
        QFETCH(QString, how);
        const QString path = m_dir->filePath("h.kvw");
        {
            const WorkspacePtr ws = Workspace::Create(path, {"h", "de-DE", 100});
            StoreEnglish(ws->Tables(), 1, ssEnglishDefault, "&Open", true);
            StoreEnglish(ws->Tables(), 2, ssEnglishDefault, "Close", false);
            ws->Tables()->Save(ssEnglishDefault, false);
            QCOMPARE(ws->Tables()->Revision(1, ssEnglishDefault), qint16(1));
            if (how == "save") {
                StoreEnglish(ws->Tables(), 1, ssEnglishDefault, "Open file", false);
                ws->Tables()->Save(ssEnglishDefault, false);
            } else if (how == "saveas") {
                StoreEnglish(ws->Tables(), 1, ssEnglishEdited, "Open file", false);
                ws->Tables()->Save(ssEnglishEdited, true);
            }
        }
        if (how == "import") {
            QFile rc(m_dir->filePath("en.rc"));
            QVERIFY(rc.open(QIODevice::WriteOnly));
            rc.write("STRINGTABLE\nBEGIN\n  1 \"Open file\"\n  2 \"Close\"\nEND\n");
            rc.close();
            const WorkspacePtr ws = Workspace::Open(path);
            const io::ImportSummary summary = io::ImportFile(*ws, rc.fileName());
            QCOMPARE(summary.changed, 1);
        }
        const WorkspacePtr ws = Workspace::Open(path);
        const StringTableSetPtr set = ws->Tables();
        QCOMPARE(set->Revision(1, ssEnglishDefault), qint16(2));
        const std::optional<EntryValues> before = set->EnglishAt(1, 1);
        QVERIFY(before);
        QCOMPARE(before->text, QString("&Open"));
        QCOMPARE(before->properties & tpAllowShortcut, int(tpAllowShortcut));
        QCOMPARE(before->shortcutCharacter, QString("O"));
        QCOMPARE(set->EnglishAt(1, 2)->text, QString("Open file"));
        QCOMPARE(set->EnglishAt(2, 1)->text, QString("Close"));   // unchanged: no history needed
        QVERIFY(!set->EnglishAt(2, 2));
        QVERIFY(!set->EnglishAt(3, 1));
    }

    // Before a Save, the text an edit replaced is the saved record; the edit changed back again
    // leaves nothing behind, and Reset drops the edit.
    void unsavedEditAnswersFromTheSavedRecord()
    {
        const WorkspacePtr ws = Workspace::CreateInMemory({"m", "de-DE", 10});
        const StringTableSetPtr set = ws->Tables();
        StoreEnglish(set, 4, ssEnglishDefault, "Print", false);
        set->Save(ssEnglishDefault, false);
        StoreEnglish(set, 4, ssEnglishDefault, "Print…", false);
        QCOMPARE(set->EnglishAt(4, 1)->text, QString("Print"));
        QCOMPARE(set->EnglishAt(4, 2)->text, QString("Print…"));
        set->DiscardEdits();
        QVERIFY(!set->EnglishAt(4, 2));
        QCOMPARE(set->EnglishAt(4, 1)->text, QString("Print"));
    }

    // A file written before the history existed opens as it is, answers the current texts, and
    // gains the history with its first save without losing anything.
    void previousSchemaMigratesOnSave()
    {
        const QString path = m_dir->filePath("old.kvw");
        QVERIFY(QFile::copy(QFINDTESTDATA("data/schema2.kvw"), path));
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(UserVersion(path), 2);
        {
            const WorkspacePtr ws = Workspace::Open(path);
            const StringTableSetPtr set = ws->Tables();
            QCOMPARE(set->EnglishAt(1, 1)->text, QString("&Open..."));
            StoreEnglish(set, 1, ssEnglishDefault, "&Open…", true);
            set->Save(ssEnglishDefault, false);
        }
        QCOMPARE(UserVersion(path), 3);
        const WorkspacePtr ws = Workspace::Open(path);
        const StringTableSetPtr set = ws->Tables();
        QCOMPARE(set->EnglishAt(1, 1)->text, QString("&Open..."));
        QCOMPARE(set->Text(1, ssEnglishDefault), QString("&Open…"));
        QCOMPARE(set->Text(1, ssLocalDefault), QString("Ö&ffnen..."));
        QCOMPARE(set->Revision(1, ssLocalDefault), qint16(1));
        QCOMPARE(set->Text(3, ssLocalDefault), QString("Änderungen an %1 speichern?"));
        QCOMPARE(set->Text(2, ssEnglishDefault), QString("Could not open %1"));
    }
};

QTEST_GUILESS_MAIN(TestHistory)
#include "tst_history.moc"
