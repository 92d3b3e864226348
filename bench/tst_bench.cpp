// The benchmark's own logic, without timing anything: the statistics and targets of a series,
// the JSON a later run is compared with, the growth verdict, and the synthetic workspaces.

#include "BenchResults.h"
#include "SyntheticWorkspace.h"

#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace kvedit;
using namespace kvedit::bench;

namespace {

// The row of one operation in the growth table, from the operation's name to the line end.
QString GrowthRow(const QString &table, const QString &operation)
{
    for (const QString &line : table.split(u'\n'))
        if (line.startsWith(operation + u' '))
            return line;
    return QString();
}

} // namespace

class TestBench : public QObject {
    Q_OBJECT

private slots:
    void statistics_data()
    {
        QTest::addColumn<QList<double>>("samples");
        QTest::addColumn<double>("median");
        QTest::addColumn<double>("min");
        QTest::addColumn<double>("max");
        QTest::newRow("one run") << QList<double>{4.0} << 4.0 << 4.0 << 4.0;
        QTest::newRow("odd, unsorted") << QList<double>{9.0, 1.0, 5.0} << 5.0 << 1.0 << 9.0;
        QTest::newRow("even: the middle two halved") << QList<double>{8.0, 2.0, 4.0, 6.0} << 5.0 << 2.0 << 8.0;
        QTest::newRow("an outlier leaves the median") << QList<double>{3.0, 3.1, 2.9, 40.0, 3.0} << 3.0 << 2.9 << 40.0;
    }
    void statistics()
    {
        QFETCH(QList<double>, samples);
        QFETCH(double, median);
        QFETCH(double, min);
        QFETCH(double, max);
        Series s;
        s.samples.assign(samples.begin(), samples.end());
        QCOMPARE(s.Median(), median);
        QCOMPARE(s.Min(), min);
        QCOMPARE(s.Max(), max);
    }

    void emptySeriesHasNoFigures()
    {
        Series s;
        QVERIFY(std::isnan(s.Median()));
        QVERIFY(!s.MeetsTarget().has_value());
    }

    void targetAppliesAtItsSizeOnly()
    {
        Results r;
        Series &small = r.At(QStringLiteral("open"), 1000);
        Series &large = r.At(QStringLiteral("open"), 32767);
        small.samples = {500};
        large.samples = {90, 110, 95};
        small.target = large.target = Target{100, 32767};
        QVERIFY(!small.MeetsTarget().has_value());
        QCOMPARE(large.MeetsTarget(), std::optional<bool>(true));
        large.samples = {90, 110, 105};
        QCOMPARE(large.MeetsTarget(), std::optional<bool>(false));
        QVERIFY(r.Table().contains(QStringLiteral("MISSED")));
    }

    void seriesKeepTheirPlaceAsMoreAreAdded()
    {
        Results r;
        Series &first = r.At(QStringLiteral("a"), 1000);
        for (int i = 0; i < 100; ++i)
            r.At(QStringLiteral("op %1").arg(i), 1000);
        first.samples.push_back(1.5);
        QCOMPARE(r.Find(QStringLiteral("a"), 1000)->samples.size(), size_t(1));
        QCOMPARE(&r.At(QStringLiteral("a"), 1000), &first);
        QCOMPARE(r.Operations().first(), QStringLiteral("a"));
    }

    void jsonRoundTrip()
    {
        Results r;
        r.info.date = QStringLiteral("2026-01-02T03:04:05Z");
        r.info.cores = 2;
        r.info.sizes = {1000, 32767};
        r.info.loadBefore = 1.5;
        Series &open = r.At(QStringLiteral("open workspace"), 32767);
        open.samples = {40.5, 41.0, 39.75};
        open.target = Target{100, 32767};
        open.note = QStringLiteral("ready to query");
        r.At(QStringLiteral("peak memory"), 1000, QStringLiteral("MB")).samples = {36.5};
        r.At(QStringLiteral("never measured"), 1000);

        const std::optional<Results> back = Results::FromJson(r.ToJson());
        QVERIFY(back.has_value());
        QCOMPARE(back->info.date, r.info.date);
        QCOMPARE(back->info.sizes, r.info.sizes);
        QCOMPARE(back->info.loadBefore, 1.5);
        const Series *o = back->Find(QStringLiteral("open workspace"), 32767);
        QVERIFY(o);
        QCOMPARE(o->samples, open.samples);
        QCOMPARE(o->target->limit, 100.0);
        QCOMPARE(o->note, open.note);
        QCOMPARE(back->Find(QStringLiteral("peak memory"), 1000)->unit, QStringLiteral("MB"));
        QVERIFY(!back->Find(QStringLiteral("never measured"), 1000));   // empty series are not written
    }

    void unreadableJsonIsRefused_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("not JSON") << QByteArray("median: 4");
        QTest::newRow("no results") << QByteArray(R"({"run": {}, "results": []})");
        QTest::newRow("an array") << QByteArray("[1, 2]");
    }
    void unreadableJsonIsRefused()
    {
        QFETCH(QByteArray, json);
        QString error;
        QVERIFY(!Results::FromJson(json, &error).has_value());
        QVERIFY(!error.isEmpty());
    }

    void comparisonShowsTheChange()
    {
        Results before;
        before.At(QStringLiteral("Find"), 32767).samples = {20};
        Results now;
        now.At(QStringLiteral("Find"), 32767).samples = {10};
        now.At(QStringLiteral("new"), 32767).samples = {1};
        const QString text = now.Comparison(before);
        QVERIFY2(text.contains(QStringLiteral("-50%")), qPrintable(text));
        QVERIFY(GrowthRow(text, QStringLiteral("new")).contains(QStringLiteral(" - ")));
    }

    void growthVerdict_data()
    {
        QTest::addColumn<double>("power");
        QTest::addColumn<QString>("verdict");
        QTest::newRow("constant") << 0.0 << "flat";
        QTest::newRow("square root") << 0.5 << "at most linear";
        QTest::newRow("linear") << 1.0 << "at most linear";
        QTest::newRow("n log n, about") << 1.15 << "at most linear";
        QTest::newRow("quadratic") << 2.0 << "FASTER THAN LINEAR";
    }
    void growthVerdict()
    {
        QFETCH(double, power);
        QFETCH(QString, verdict);
        Results r;
        for (const int n : {1000, 8000, 16000, 32767})
            r.At(QStringLiteral("scan"), n).samples = {std::pow(n / 1000.0, power), 2 * std::pow(n / 1000.0, power)};
        const QString row = GrowthRow(r.GrowthTable(), QStringLiteral("scan"));
        QVERIFY2(row.endsWith(verdict), qPrintable(row));
    }

    void growthRestsOnTheLargestSizes()
    {
        // Cheap while it fits the caches, then linear: linear.
        Results r;
        r.At(QStringLiteral("scan"), 1000).samples = {1};
        r.At(QStringLiteral("scan"), 16000).samples = {40};
        r.At(QStringLiteral("scan"), 32767).samples = {82};
        QVERIFY(GrowthRow(r.GrowthTable(), QStringLiteral("scan")).endsWith(QStringLiteral("at most linear")));
        // Linear at first, then a jump: not.
        r.At(QStringLiteral("scan"), 32767).samples = {200};
        QVERIFY(GrowthRow(r.GrowthTable(), QStringLiteral("scan")).endsWith(QStringLiteral("FASTER THAN LINEAR")));
    }

    void syntheticWorkspaceIsWhatItSays()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("w.kvw"));
        const int strings = 2000;
        const WorkspaceCounts c = CreateSyntheticWorkspace(path, strings, TranslationState::InProgress);
        QCOMPARE(c.strings, strings);

        const server::WorkspacePtr ws = server::Workspace::Open(path);
        const StringTableSetPtr t = ws->Tables();
        WorkspaceCounts seen;
        int longest = 0, multiLine = 0, records = 0;
        for (int i = 0; i < strings; ++i) {
            const auto id = static_cast<StringId>(SyntheticId(i, strings));
            QVERIFY(t->IdInUse(id, ssEnglishDefault));
            const bool missing = !t->HasText(id, ssLocalEdited);
            const bool outOfDate = missing || t->Revision(id, ssLocalEdited) < t->Revision(id, ssEnglishDefault);
            seen.missing += missing;
            seen.outOfDate += outOfDate;
            seen.unapproved += outOfDate || !t->HasStatus(id, ssLocalEdited, sfApproved);
            const QString english = t->Text(id, ssEnglishDefault);
            longest = qMax(longest, static_cast<int>(english.size()));
            multiLine += english.contains(u'\n');
            for (const QString &text : {english, t->Text(id, ssLocalEdited)})
                QVERIFY(!text.contains(UnmatchedSearchText(), Qt::CaseInsensitive));
        }
        for (const int s : {0, 1, 2, 3})
            records += ws->Set()->RecordCount(StringSource(s));
        QCOMPARE(records, c.records);
        QCOMPARE(seen.missing, c.missing);
        QCOMPARE(seen.outOfDate, c.outOfDate);
        QCOMPARE(seen.unapproved, c.unapproved);
        QCOMPARE(multiLine, c.multiLine);
        QCOMPARE(longest, c.longest);
        // Realistic proportions: most translated, a few in each state, texts of every length.
        QVERIFY(c.missing > strings * 0.03 && c.missing < strings * 0.09);
        QVERIFY(c.outOfDate > c.missing && c.unapproved > c.outOfDate);
        QVERIFY(c.unapproved < strings * 0.25);
        QVERIFY(c.localEdits > 0 && c.englishEdits > 0 && c.withParameters > 0);
        QVERIFY(c.longest > 200 && c.averageLength > 20 && c.averageLength < 150);
    }

    void finishedTranslationLeavesNothingToFind()
    {
        QTemporaryDir dir;
        const WorkspaceCounts c = CreateSyntheticWorkspace(dir.filePath(QStringLiteral("f.kvw")), 500, TranslationState::Finished);
        QCOMPARE(c.missing, 0);
        QCOMPARE(c.unapproved, 0);
        QCOMPARE(c.englishEdits, 0);
        QVERIFY(c.localEdits > 0);
    }

    void sameSizeSameWorkspace()
    {
        QTemporaryDir dir;
        const WorkspaceCounts a = CreateSyntheticWorkspace(dir.filePath(QStringLiteral("a.kvw")), 700, TranslationState::InProgress);
        const WorkspaceCounts b = CreateSyntheticWorkspace(dir.filePath(QStringLiteral("b.kvw")), 700, TranslationState::InProgress);
        QCOMPARE(a.records, b.records);
        QCOMPARE(a.unapproved, b.unapproved);
        QCOMPARE(a.averageLength, b.averageLength);
        const auto text = [&](const char *file) {
            return server::Workspace::Open(dir.filePath(QString::fromLatin1(file)))->Tables()->Text(SyntheticId(350, 700), ssLocalEdited);
        };
        QCOMPARE(text("a.kvw"), text("b.kvw"));
    }

    void idsSpreadOverTheWholeRange()
    {
        QCOMPARE(SyntheticId(0, 1000), 1);
        QVERIFY(SyntheticId(999, 1000) > 32700);
        for (int i = 1; i < 32767; i += 997)
            QCOMPARE(SyntheticId(i, 32767), i + 1);
    }
};

QTEST_GUILESS_MAIN(TestBench)
#include "tst_bench.moc"
