#include "model/CStringList.h"
#include "model/Types.h"

#include "TestServices.h"

#include <QTest>

#include <climits>

using namespace kvedit;

namespace {

// 1, 2, ... n.
QList<qint32> Seq(int n)
{
    QList<qint32> out;
    for (int i = 1; i <= n; ++i)
        out << i;
    return out;
}

CStringList Filled(const QList<qint32> &values, int maximumCount = kMaxStringId)
{
    CStringList list(maximumCount);
    for (qint32 v : values)
        list.Add(v);
    return list;
}

QList<qint32> Contents(const CStringList &list)
{
    QList<qint32> out;
    for (int position = 1; position <= list.Count(); ++position)
        out << list.Value(position);
    return out;
}

} // namespace

class TestCStringList : public QObject {
    Q_OBJECT
    std::unique_ptr<test::TestServices> m_services;

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup()
    {
        QVERIFY2(m_services->reporter->errors.isEmpty(),
                 qPrintable(m_services->reporter->errors.value(0).description));
        m_services.reset();
    }

    void countAndCapacity_data()
    {
        QTest::addColumn<int>("maximum");
        QTest::addColumn<int>("adds");         // adds 1, 2, 3, ...
        QTest::addColumn<int>("setCount");     // INT_MAX: not set
        QTest::addColumn<int>("capacity");
        QTest::addColumn<QList<qint32>>("contents");
        QTest::newRow("new list") << kMaxStringId << 0 << INT_MAX << 0 << QList<qint32>();
        QTest::newRow("first value") << kMaxStringId << 1 << INT_MAX << 128 << Seq(1);
        QTest::newRow("128 values stay") << kMaxStringId << 128 << INT_MAX << 128 << Seq(128);
        QTest::newRow("129th value") << kMaxStringId << 129 << INT_MAX << 256 << Seq(129);
        QTest::newRow("count clamped to the maximum") << 200 << 0 << 500 << 256 << QList<qint32>(200, 0);
        QTest::newRow("add at the maximum overwrites the last") << 5 << 7 << INT_MAX << 128
                                                                << QList<qint32>{1, 2, 3, 4, 7};
        QTest::newRow("maximum 0 holds nothing") << 0 << 2 << INT_MAX << 0 << QList<qint32>();
        QTest::newRow("negative count becomes 0") << kMaxStringId << 3 << -1 << 128 << QList<qint32>();
        QTest::newRow("a smaller count keeps the store") << kMaxStringId << 300 << 10 << 384 << Seq(10);
    }
    void countAndCapacity()
    {
        QFETCH(int, maximum);
        QFETCH(int, adds);
        QFETCH(int, setCount);
        QFETCH(int, capacity);
        QFETCH(QList<qint32>, contents);
        CStringList list = Filled(Seq(adds), maximum);
        if (setCount != INT_MAX)
            list.setCount(setCount);
        QCOMPARE(list.Count(), contents.size());
        QCOMPARE(list.Capacity(), capacity);
        QCOMPARE(Contents(list), contents);
    }

    void outsideTheListReadsZeroAndIgnoresWrites()
    {
        // 0, count + 1, inside the store but beyond the count, and the extremes.
        for (const int position : {0, 4, 100, INT_MIN, INT_MAX}) {
            CStringList list = Filled({10, 20, 30});
            QCOMPARE(list.Value(position), 0);
            list.setValue(position, 99);
            QCOMPARE(Contents(list), (QList<qint32>{10, 20, 30}));
            // The slot behind the count stays unused: growing the count back shows no written value.
            list.setCount(list.Capacity());
            QVERIFY2(!Contents(list).contains(99), qPrintable(QString::number(position)));
        }
    }

    void index_data()
    {
        QTest::addColumn<QList<qint32>>("values");
        QTest::addColumn<qint32>("value");
        QTest::addColumn<int>("index");
        const QList<qint32> five{10, 20, 30, 40, 50};
        QTest::newRow("empty list") << QList<qint32>() << qint32(7) << 0;
        QTest::newRow("single, above") << QList<qint32>{7} << qint32(100) << 0;
        QTest::newRow("fourth") << five << qint32(40) << 3;
        QTest::newRow("between 20 and 30") << five << qint32(25) << 1;
        // Midpoints of an odd sum go to the even neighbour; rounding down or up would end elsewhere.
        QTest::newRow("0.5 goes to 0") << QList<qint32>{10, 20} << qint32(15) << 1;
        QTest::newRow("2.5 goes to 2") << QList<qint32>{10, 20, 30, 40, 50, 60} << qint32(35) << 3;
        QTest::newRow("3.5 goes to 4") << five << qint32(45) << 3;
    }
    void index()
    {
        QFETCH(QList<qint32>, values);
        QFETCH(qint32, value);
        QFETCH(int, index);
        QCOMPARE(Filled(values).Index(value), index);
    }

    void clearAndTrim()
    {
        CStringList list = Filled(Seq(130));
        list.Trim();
        QCOMPARE(list.Capacity(), 130);
        list.Add(131);   // after a trim the next add grows by a full step again
        QCOMPARE(list.Capacity(), 256);
        list.Clear();
        QCOMPARE(list.Count() + list.Capacity(), 0);
        // Trimming an empty list gives its store back without an error (cleanup() checks).
        CStringList emptied = Filled({1, 2});
        emptied.setCount(0);
        emptied.Trim();
        QCOMPARE(emptied.Capacity(), 0);
        emptied.Add(8);
        QCOMPARE(Contents(emptied), QList<qint32>{8});
    }
};

QTEST_GUILESS_MAIN(TestCStringList)
#include "tst_cstringlist.moc"
