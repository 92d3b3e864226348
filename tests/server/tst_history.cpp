// The English history: what a Save, an import or a Save as replaces is kept with its revision and
// text properties; the text at a revision answers from the current record, an unsaved edit's
// saved one or the file. (A file of the previous schema gaining it: tst_workspacefile.cpp.)

#include "io/WorkspaceTransfer.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::server;

namespace {

void StoreEnglish(const StringTableSetPtr &set, StringId id, StringSource source, const QString &text, bool shortcut = false)
{
    const StringEntryPtr e = set->Entry(id, source);
    set->StoreEntry(e->CreateEdited(id, text, e->EntryText(), false, false, shortcut, shortcut ? "O" : "", shortcut ? 1 : 0,
                                    e->ParameterDefinitions(), true));
}

} // namespace

class TestHistory : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
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
        const QString path = m_dir.filePath(how + ".kvw");
        {
            const WorkspacePtr ws = Workspace::Create(path, {"h", "de-DE", 100});
            StoreEnglish(ws->Tables(), 1, ssEnglishDefault, "&Open", true);
            StoreEnglish(ws->Tables(), 2, ssEnglishDefault, "Close");
            ws->Tables()->Save(ssEnglishDefault, false);
            if (how != "import") {
                StoreEnglish(ws->Tables(), 1, how == "save" ? ssEnglishDefault : ssEnglishEdited, "Open file");
                ws->Tables()->Save(how == "save" ? ssEnglishDefault : ssEnglishEdited, how == "saveas");
            }
        }
        if (how == "import") {
            QFile rc(m_dir.filePath("en.rc"));
            QVERIFY(rc.open(QIODevice::WriteOnly));
            rc.write("STRINGTABLE\nBEGIN\n  1 \"Open file\"\n  2 \"Close\"\nEND\n");
            rc.close();
            QCOMPARE(io::ImportFile(*Workspace::Open(path), rc.fileName()).changed, 1);
        }
        const StringTableSetPtr set = Workspace::Open(path)->Tables();
        QCOMPARE(set->Revision(1, ssEnglishDefault), qint16(2));
        QCOMPARE(set->EnglishAt(1, 1), std::optional(EntryValues{"&Open", "", "O", tpAllowShortcut, 1}));
        QCOMPARE(set->EnglishAt(1, 2)->text + u'|' + set->EnglishAt(2, 1)->text, QString("Open file|Close"));
        QVERIFY(!set->EnglishAt(2, 2));
    }

    // Before a Save, the text an edit replaced is the saved record; Reset drops the edit.
    void unsavedEditAnswersFromTheSavedRecord()
    {
        const StringTableSetPtr set = Workspace::CreateInMemory({"m", "de-DE", 10})->Tables();
        StoreEnglish(set, 4, ssEnglishDefault, "Print");
        set->Save(ssEnglishDefault, false);
        StoreEnglish(set, 4, ssEnglishDefault, "Print…");
        QCOMPARE(set->EnglishAt(4, 1)->text + u'|' + set->EnglishAt(4, 2)->text, QString("Print|Print…"));
        set->DiscardEdits();
        QVERIFY(!set->EnglishAt(4, 2));
    }
};

QTEST_GUILESS_MAIN(TestHistory)
#include "tst_history.moc"
