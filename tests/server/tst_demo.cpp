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

    // The counts it documents are those the searches find, each search finding more than the one
    // before it; and every state a translation can be in is there.
    void countsAndStates()
    {
        const std::shared_ptr<TableSet> set = m_demo->Set();
        for (const StringSource v : {ssLocalEdited, ssLocalDefault}) {
            DemoStringCounts found;
            for (int id = 1; id <= set->MaximumCount(); ++id) {
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
            const DemoStringCounts d = DemoCounts(v);
            QCOMPARE((QList<int>{found.total, found.translated, found.missing, found.outOfDate, found.unapproved}),
                     (QList<int>{d.total, d.translated, d.missing, d.outOfDate, d.unapproved}));
            QVERIFY(found.missing < found.outOfDate && found.outOfDate < found.unapproved);
        }
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
};

QTEST_GUILESS_MAIN(TestDemo)
#include "tst_demo.moc"
