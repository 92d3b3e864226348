#include "model/CStringList.h"
#include "model/Types.h"

#include "TestServices.h"

#include <QTest>

#include <climits>
#include <functional>

using namespace kvedit;

using ListCall = std::function<void(CStringList &)>;
Q_DECLARE_METATYPE(ListCall)

namespace {

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

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup()
    {
        QVERIFY2(m_services->reporter->errors.isEmpty(),
                 qPrintable(m_services->reporter->errors.value(0).description));
        m_services.reset();
    }

    void growsInStepsOf128_data();
    void growsInStepsOf128();
    void countIsClampedToTheMaximum();
    void addAtTheMaximumOverwritesTheLastPosition();
    void negativeCountBecomesZero();
    void countNeverShrinksTheStore();
    void outsideTheListReadsZeroAndIgnoresWrites_data();
    void outsideTheListReadsZeroAndIgnoresWrites();
    void index_data();
    void index();
    void indexFindsEveryPresentValue();
    void indexOfAbsentValuesStaysInsideTheList();
    void clearThenAdd();
    void clearOnAnEmptyListLeavesItUntouched();
    void trimKeepsTheValues();
    void trimOnAnEmptyListIsNotAnError();
    void proceduresReportUnderCStringList_data();
    void proceduresReportUnderCStringList();
    void countDoesNotReport();

private:
    std::unique_ptr<test::TestServices> m_services;
};

void TestCStringList::growsInStepsOf128_data()
{
    QTest::addColumn<int>("adds");
    QTest::addColumn<int>("capacity");
    QTest::newRow("new list") << 0 << 0;
    QTest::newRow("first value") << 1 << 128;
    QTest::newRow("127 values") << 127 << 128;
    QTest::newRow("128 values stay") << 128 << 128;
    QTest::newRow("129th value") << 129 << 256;
    QTest::newRow("256 values") << 256 << 256;
    QTest::newRow("257th value") << 257 << 384;
    QTest::newRow("1000 values") << 1000 << 1024;
}

void TestCStringList::growsInStepsOf128()
{
    QFETCH(int, adds);
    QFETCH(int, capacity);
    CStringList list;
    for (int i = 1; i <= adds; ++i)
        list.Add(i * 3);
    QCOMPARE(list.Count(), adds);
    QCOMPARE(list.Capacity(), capacity);
    // Growing keeps what was stored before.
    for (int position = 1; position <= adds; ++position)
        QCOMPARE(list.Value(position), position * 3);
}

void TestCStringList::countIsClampedToTheMaximum()
{
    CStringList list(200);
    list.setCount(500);
    QCOMPARE(list.Count(), 200);
    QCOMPARE(list.Capacity(), 256);
    list.setCount(200);
    QCOMPARE(list.Count(), 200);
}

void TestCStringList::addAtTheMaximumOverwritesTheLastPosition()
{
    const CStringList list = Filled({1, 2, 3, 4, 5, 6, 7}, 5);
    QCOMPARE(list.Count(), 5);
    QCOMPARE(Contents(list), (QList<qint32>{1, 2, 3, 4, 7}));

    const CStringList none = Filled({1, 2}, 0);
    QCOMPARE(none.Count(), 0);
    QCOMPARE(none.Value(1), 0);
}

void TestCStringList::negativeCountBecomesZero()
{
    CStringList list = Filled({4, 5, 6});
    list.setCount(-1);
    QCOMPARE(list.Count(), 0);
    list.setCount(INT_MIN);
    QCOMPARE(list.Count(), 0);
    QCOMPARE(list.Value(1), 0);
}

void TestCStringList::countNeverShrinksTheStore()
{
    CStringList list = Filled(QList<qint32>(300, 9));
    QCOMPARE(list.Capacity(), 384);
    list.setCount(10);
    QCOMPARE(list.Count(), 10);
    QCOMPARE(list.Capacity(), 384);
}

void TestCStringList::outsideTheListReadsZeroAndIgnoresWrites_data()
{
    QTest::addColumn<int>("position");
    QTest::newRow("zero") << 0;
    QTest::newRow("count + 1") << 4;
    QTest::newRow("inside the store, beyond the count") << 100;
    QTest::newRow("beyond the store") << 1000;
    QTest::newRow("negative") << -1;
    QTest::newRow("most negative") << INT_MIN;
    QTest::newRow("largest") << INT_MAX;
}

void TestCStringList::outsideTheListReadsZeroAndIgnoresWrites()
{
    QFETCH(int, position);
    CStringList list = Filled({10, 20, 30});
    QCOMPARE(list.Value(position), 0);
    list.setValue(position, 99);
    QCOMPARE(list.Count(), 3);
    QCOMPARE(Contents(list), (QList<qint32>{10, 20, 30}));
    // The slot behind the count stays unused: growing the count back shows no written value.
    list.setCount(list.Capacity());
    QVERIFY(!Contents(list).contains(99));
}

void TestCStringList::index_data()
{
    QTest::addColumn<QList<qint32>>("values");
    QTest::addColumn<qint32>("value");
    QTest::addColumn<int>("index");
    const QList<qint32> five{10, 20, 30, 40, 50};
    QTest::newRow("empty list") << QList<qint32>() << qint32(7) << 0;
    QTest::newRow("single, present") << QList<qint32>{7} << qint32(7) << 0;
    QTest::newRow("single, above") << QList<qint32>{7} << qint32(100) << 0;
    QTest::newRow("first") << five << qint32(10) << 0;
    QTest::newRow("middle") << five << qint32(30) << 2;
    QTest::newRow("fourth") << five << qint32(40) << 3;
    QTest::newRow("last") << five << qint32(50) << 4;
    QTest::newRow("below all") << five << qint32(5) << 0;
    QTest::newRow("above all") << five << qint32(60) << 4;
    QTest::newRow("between 20 and 30") << five << qint32(25) << 1;
    QTest::newRow("between 30 and 40") << five << qint32(35) << 3;
    // Midpoints of an odd sum go to the even neighbour; rounding down or up would end elsewhere.
    QTest::newRow("0.5 goes to 0") << QList<qint32>{10, 20} << qint32(15) << 1;
    QTest::newRow("2.5 goes to 2") << QList<qint32>{10, 20, 30, 40, 50, 60} << qint32(35) << 3;
    QTest::newRow("3.5 goes to 4") << five << qint32(45) << 3;
}

void TestCStringList::index()
{
    QFETCH(QList<qint32>, values);
    QFETCH(qint32, value);
    QFETCH(int, index);
    QCOMPARE(Filled(values).Index(value), index);
}

void TestCStringList::indexFindsEveryPresentValue()
{
    for (const int size : {1, 2, 3, 127, 128, 129, 1000}) {
        QList<qint32> values;
        for (int i = 0; i < size; ++i)
            values << 2 * i + 1;
        const CStringList list = Filled(values);
        for (int i = 0; i < size; ++i)
            QCOMPARE(list.Index(values[i]), i);
    }
}

void TestCStringList::indexOfAbsentValuesStaysInsideTheList()
{
    QList<qint32> values;
    for (int i = 0; i < 1000; ++i)
        values << 10 * (i + 1);
    const CStringList list = Filled(values);
    for (qint32 value = -5; value <= 10015; value += 10) {
        const int index = list.Index(value);
        QVERIFY2(index >= 0 && index < list.Count(), qPrintable(QString::number(value)));
        // A neighbour of where the value would stand.
        const int expected = qBound(0, int(value / 10) - 1, list.Count() - 1);
        QVERIFY2(qAbs(index - expected) <= 1, qPrintable(QString::number(value)));
    }
    QCOMPARE(list.Index(INT_MAX), list.Count() - 1);
    QCOMPARE(list.Index(INT_MIN), 0);
}

void TestCStringList::clearThenAdd()
{
    CStringList list = Filled(QList<qint32>(200, 3));
    list.Clear();
    QCOMPARE(list.Count(), 0);
    QCOMPARE(list.Capacity(), 0);
    list.Add(5);
    QCOMPARE(list.Count(), 1);
    QCOMPARE(list.Value(1), 5);
    QCOMPARE(list.Capacity(), 128);
}

void TestCStringList::clearOnAnEmptyListLeavesItUntouched()
{
    CStringList list;
    list.Clear();
    QCOMPARE(list.Count(), 0);
    QCOMPARE(list.Capacity(), 0);
    // A count set to zero keeps its store until a real clear releases it.
    CStringList emptied = Filled({1});
    emptied.setCount(0);
    QCOMPARE(emptied.Capacity(), 128);
    emptied.Clear();
    QCOMPARE(emptied.Capacity(), 0);
}

void TestCStringList::trimKeepsTheValues()
{
    QList<qint32> values;
    for (int i = 1; i <= 130; ++i)
        values << i;
    CStringList list = Filled(values);
    QCOMPARE(list.Capacity(), 256);
    list.Trim();
    QCOMPARE(list.Capacity(), 130);
    QCOMPARE(Contents(list), values);
    // After a trim the next add grows by a full step again.
    list.Add(131);
    QCOMPARE(list.Capacity(), 256);
    QCOMPARE(list.Value(131), 131);
}

void TestCStringList::trimOnAnEmptyListIsNotAnError()
{
    CStringList list;
    list.Trim();
    QCOMPARE(list.Capacity(), 0);
    CStringList emptied = Filled({1, 2});
    emptied.setCount(0);
    emptied.Trim();
    QCOMPARE(emptied.Capacity(), 0);
    emptied.Add(8);
    QCOMPARE(Contents(emptied), QList<qint32>{8});
    // cleanup() checks that nothing was reported.
}

void TestCStringList::proceduresReportUnderCStringList_data()
{
    QTest::addColumn<ListCall>("call");
    QTest::addColumn<QString>("procedure");
    QTest::newRow("Add") << ListCall([](CStringList &l) { l.Add(4); }) << "Add";
    QTest::newRow("Clear") << ListCall([](CStringList &l) { l.Clear(); }) << "Clear";
    QTest::newRow("Index") << ListCall([](CStringList &l) { l.Index(2); }) << "Index";
    QTest::newRow("Trim") << ListCall([](CStringList &l) { l.Trim(); }) << "Trim";
    QTest::newRow("Value(Get)") << ListCall([](CStringList &l) { l.Value(1); })
                                << "Value(Get)";
    QTest::newRow("Value(Let)") << ListCall([](CStringList &l) { l.setValue(1, 6); })
                                << "Value(Let)";
}

void TestCStringList::proceduresReportUnderCStringList()
{
    QFETCH(ListCall, call);
    QFETCH(QString, procedure);
    CStringList list = Filled({1, 2, 3});
    m_services->trace->calls.clear();
    call(list);
    QCOMPARE(m_services->trace->Lines(),
             (QStringList{"enter CStringList." + procedure, "leave CStringList." + procedure}));
    for (const test::TraceCall &c : m_services->trace->calls)
        QCOMPARE(c.title, ApplicationTitle());
}

void TestCStringList::countDoesNotReport()
{
    CStringList list;
    list.setCount(3);
    QCOMPARE(list.Count(), 3);
    QVERIFY(m_services->trace->calls.isEmpty());
}

QTEST_GUILESS_MAIN(TestCStringList)
#include "tst_cstringlist.moc"
