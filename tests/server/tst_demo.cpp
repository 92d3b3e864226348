// The demo workspace: its contents and the counts it documents.

#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::server;

class TestDemo : public QObject {
    Q_OBJECT

private slots:
    // Written to a file and opened again: the counts it documents are those the searches find,
    // each search finding more than the one before it; every state a translation can be in is
    // there; every string has a symbol, and a few texts and descriptions are Japanese.
    void contents()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("demo.kvw");
        CreateDemoWorkspace(path);
        const std::shared_ptr<TableSet> set = Workspace::Open(path)->Set();
        QVERIFY(!set->Modified());
        DemoStringCounts found[2];   // per table version 0 and 1
        // approved, unapproved, out of date, record without text, no record, local over the
        // default, local filling a missing one, Japanese texts, Japanese descriptions
        QList<int> states(9, 0);
        const auto isJapanese = [](const QString &s) {
            return std::any_of(s.begin(), s.end(), [](QChar c) { return c.unicode() >= 0x3040 && c.unicode() <= 0x9FFF; });
        };
        for (int id = 1; id <= set->MaximumCount(); ++id) {
            const auto i = StringId(id);
            const std::optional<Record> english = set->RecordOf(i, ssEnglishDefault);
            if (!english)
                continue;
            QVERIFY2(!set->Symbol(i).isEmpty(), qPrintable(QString::number(id)));
            for (const StringSource v : {ssLocalEdited, ssLocalDefault}) {
                DemoStringCounts &c = found[v];
                const bool missing = !set->HasText(i, v);
                const bool outOfDate = missing || set->Revision(i, v) < english->revision;
                ++c.total;
                c.translated += !missing;
                c.missing += missing;
                c.outOfDate += outOfDate;
                c.unapproved += outOfDate || !set->HasStatus(i, v, sfApproved);
            }
            const std::optional<Record> german = set->RecordOf(i, ssLocalDefault);
            const bool local = set->RecordOf(i, ssLocalEdited).has_value();
            const int state = !german ? 4
                              : !german->hasText                    ? 3
                              : german->revision < english->revision ? 2
                              : german->status & sfApproved         ? 0
                                                                    : 1;
            ++states[state];
            states[5] += local && german && german->hasText;
            states[6] += local && !(german && german->hasText);
            states[7] += isJapanese(english->text);
            states[8] += isJapanese(english->description);
        }
        for (const StringSource v : {ssLocalEdited, ssLocalDefault}) {
            const DemoStringCounts &f = found[v];
            const DemoStringCounts d = DemoCounts(v);
            QCOMPARE((QList<int>{f.total, f.translated, f.missing, f.outOfDate, f.unapproved}),
                     (QList<int>{d.total, d.translated, d.missing, d.outOfDate, d.unapproved}));
            QVERIFY(f.missing < f.outOfDate && f.outOfDate < f.unapproved);
        }
        QVERIFY2(states[0] > 150 && !states.contains(0), qPrintable(QString::number(states.indexOf(0))));
        QVERIFY(states[7] >= 3 && set->RecordCount(ssEnglishEdited) > 0);
    }
};

QTEST_GUILESS_MAIN(TestDemo)
#include "tst_demo.moc"
