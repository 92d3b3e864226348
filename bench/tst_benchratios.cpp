// The ratios of timed rows to their interleaved controls: how a target on a ratio is judged,
// how far from it a run is, and that a stored run keeps its controls.

#include "BenchResults.h"

#include <QTest>

using namespace kvedit::bench;

class TestBenchRatios : public QObject {
    Q_OBJECT

private slots:
    void ratioTarget_data()
    {
        QTest::addColumn<QList<double>>("samples");
        QTest::addColumn<QList<double>>("control");
        QTest::addColumn<double>("limit");
        QTest::addColumn<double>("ratioLimit");
        QTest::addColumn<bool>("met");
        QTest::addColumn<QString>("margin");
        // Medians 100 and 60 give the ratio 1.67.
        const QList<double> start{100, 90, 140}, label{60, 55, 70};
        QTest::newRow("ratio within") << start << label << 0.0 << 2.0 << true << QStringLiteral("ratio 17 % under");
        QTest::newRow("ratio over, time within") << start << label << 200.0 << 1.3 << false
                                                 << QStringLiteral("50 % under, ratio 28 % over");
        QTest::newRow("time over, ratio within") << start << label << 50.0 << 2.0 << false
                                                 << QStringLiteral("100 % over, ratio 17 % under");
        QTest::newRow("no control: the time alone") << start << QList<double>{} << 120.0 << 1.0 << true
                                                    << QStringLiteral("17 % under");
    }
    void ratioTarget()
    {
        QFETCH(QList<double>, samples);
        QFETCH(QList<double>, control);
        QFETCH(double, limit);
        QFETCH(double, ratioLimit);
        QFETCH(bool, met);
        QFETCH(QString, margin);
        Results r;
        Series &s = r.At(QStringLiteral("start"), 32767);
        s.samples.assign(samples.begin(), samples.end());
        s.control.assign(control.begin(), control.end());
        s.target = Target{limit, 32767, ratioLimit};
        QCOMPARE(s.MeetsTarget(), std::optional<bool>(met));
        QCOMPARE(s.Margin(), margin);
        QCOMPARE(r.Table().contains(QStringLiteral("MISSED")), !met);
    }

    void storedRunKeepsControls()
    {
        Results r;
        r.info.loadHighest = 1.75;
        Series &s = r.At(QStringLiteral("start"), 1000);
        s.samples = {40, 44};
        s.control = {31, 35};
        s.controlName = QStringLiteral("label window");
        s.target = Target{0, 1000, 1.3};
        const std::optional<Results> back = Results::FromJson(r.ToJson());
        QVERIFY(back);
        const Series *t = back->Find(QStringLiteral("start"), 1000);
        QVERIFY(t);
        QCOMPARE(t->Ratio(), s.Ratio());
        QCOMPARE(t->controlName, s.controlName);
        QCOMPARE(t->MeetsTarget(), std::optional<bool>(true));
        QCOMPARE(back->info.loadHighest, 1.75);
        QVERIFY(back->Comparison(r).contains(QStringLiteral("1.27")));
    }
};

QTEST_GUILESS_MAIN(TestBenchRatios)
#include "tst_benchratios.moc"
