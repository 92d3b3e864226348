// The demo workspace: its contents and the counts it documents.

#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::server;

class TestDemo : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    WorkspacePtr m_demo;   // written to a file and opened again

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        const QString path = m_dir.filePath("demo.kvw");
        CreateDemoWorkspace(path);
        m_demo = Workspace::Open(path);
        QVERIFY(!m_demo->Tables()->Modified());
    }

    void countsAsTheSearchesFindThem_data()
    {
        QTest::addColumn<int>("version");
        QTest::newRow("Local Edited") << 0;
        QTest::newRow("Local Default") << 1;
    }
    void countsAsTheSearchesFindThem()
    {
        QFETCH(int, version);
        const StringTableSetPtr set = m_demo->Tables();
        const auto v = StringSource(version);
        DemoStringCounts found;
        for (int id = 1; id <= m_demo->TextServer()->MaximumCount(); ++id) {
            const auto i = StringId(id);
            if (!set->IdInUse(i, ssEnglishDefault))
                continue;
            ++found.total;
            const bool missing = !set->HasText(i, v);
            const bool outOfDate = missing || set->Revision(i, v) < set->Revision(i, ssEnglishDefault);
            found.translated += !missing;
            found.missing += missing;
            found.outOfDate += outOfDate;
            found.unapproved += outOfDate || !set->HasStatus(i, v, sfApproved);
        }
        const DemoStringCounts documented = DemoCounts(v);
        QCOMPARE((QList<int>{found.total, found.translated, found.missing, found.outOfDate, found.unapproved}),
                 (QList<int>{documented.total, documented.translated, documented.missing, documented.outOfDate,
                             documented.unapproved}));
        // Each search finds more than the one before it.
        QVERIFY(found.missing < found.outOfDate && found.outOfDate < found.unapproved);
    }

    void everyStatePresent()
    {
        const std::shared_ptr<TableSet> set = m_demo->Set();
        int approvedCurrent = 0, unapprovedCurrent = 0, outOfDate = 0, recordWithoutText = 0, noRecord = 0;
        int localOverDefault = 0, localFillsMissing = 0;
        for (int id = 1; id <= set->MaximumCount(); ++id) {
            const auto i = StringId(id);
            if (!set->IdInUse(i, ssEnglishDefault))
                continue;
            const std::optional<Record> german = set->RecordOf(i, ssLocalDefault);
            if (!german)
                ++noRecord;
            else if (!german->hasText)
                ++recordWithoutText;
            else if (german->revision < set->Revision(i, ssEnglishDefault))
                ++outOfDate;
            else
                ++(german->status & sfApproved ? approvedCurrent : unapprovedCurrent);
            if (set->RecordOf(i, ssLocalEdited).has_value())
                ++(german && german->hasText ? localOverDefault : localFillsMissing);
        }
        QVERIFY(approvedCurrent > 150);
        for (const int n : {unapprovedCurrent, outOfDate, recordWithoutText, noRecord, localOverDefault, localFillsMissing})
            QVERIFY(n > 0);
        QVERIFY(set->RecordCount(ssEnglishEdited) > 0);
    }

    void textsOfADesktopApplication()
    {
        const std::shared_ptr<TableSet> set = m_demo->Set();
        QCOMPARE(m_demo->Name(), QString("Demo Application"));
        QCOMPARE(set->SourceLanguage(ssLocalDefault).Name(), QString("German"));

        // A menu item whose translation picks its own shortcut character.
        const StringId open = set->IdOfSymbol("IDS_FILE_OPEN");
        QVERIFY(set->Entry(open, ssEnglishDefault)->Property(tpAllowShortcut));
        QCOMPARE(set->Entry(open, ssLocalDefault)->ShortcutCharacter(), QString("F"));

        const StringId failed = set->IdOfSymbol("IDS_MSG_OPEN_FAILED");
        const StringEntryPtr message = set->Entry(failed, ssEnglishDefault);
        QVERIFY(message->Property(tpMultipleLines));
        const QList<ParameterDefinition> parameters = message->ParameterDefinitions()->Items();
        QCOMPARE(parameters.size(), 2);
        QVERIFY(message->Text().contains(parameters.at(1).Placeholder()));
        QVERIFY(!parameters.at(1).Description().isEmpty());

        // Every string has a symbol; a few texts and descriptions are Japanese, for the adaptation.
        int japaneseTexts = 0, japaneseDescriptions = 0;
        const auto isJapanese = [](const QString &s) {
            return std::any_of(s.begin(), s.end(), [](QChar c) { return c.unicode() >= 0x3040 && c.unicode() <= 0x9FFF; });
        };
        for (int id = 1; id <= set->MaximumCount(); ++id) {
            const std::optional<Record> r = set->RecordOf(StringId(id), ssEnglishDefault);
            if (!r)
                continue;
            QVERIFY2(!set->Symbol(StringId(id)).isEmpty(), qPrintable(QString::number(id)));
            japaneseTexts += isJapanese(r->text);
            japaneseDescriptions += isJapanese(r->description);
        }
        QVERIFY(japaneseTexts >= 3 && japaneseDescriptions >= 1);
    }

    void replacesAnExistingFile()
    {
        const QString path = m_dir.filePath("replaced.kvw");
        {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("not a workspace");
        }
        QCOMPARE(CreateDemoWorkspace(path)->FilePath(), path);
        QCOMPARE(Workspace::Open(path)->Set()->RecordCount(ssEnglishDefault), DemoCounts(ssLocalEdited).total);
    }
};

QTEST_GUILESS_MAIN(TestDemo)
#include "tst_demo.moc"
