// The virtual list control over a counting source: what it asks, when, and what it raises.

#include "dataview/UCKvDataView.h"

#include "TestServices.h"

#include <QHeaderView>
#include <QSignalSpy>
#include <QTableView>
#include <QtTest>

using namespace kvedit;

namespace {

// Three columns: marker, id, text. Ids are ten times the record number so that a confusion of the
// two shows.
class CountingSource final : public QObject, public IDVDataSource {
public:
    explicit CountingSource(qint32 records) : count(records) {}

    qint32 count;
    int evaluateCalls = 0;
    QWidget *lastContainer = nullptr;
    double lastTotalWidth = -1;
    qint32 lastFirstIn = 0, lastRowsIn = 0;
    QObject *feedback = nullptr;

    void CalculateColumnSizes(QWidget *objContainer, double sngTotalWidth) override
    {
        lastContainer = objContainer;
        lastTotalWidth = sngTotalWidth;
    }
    int ColumnAlignment(int c) override { return c == 1 ? 2 : (c == 2 ? 1 : 0); }
    QString ColumnHeading(int c) override { return QStringList{"", "Id", "English default"}.value(c); }
    // Fixed columns 24 and 70 wide, the text column takes the rest but a reserve of 100.
    double ColumnWidth(int c) override { return QList<double>{24, 70, lastTotalWidth - 194}.value(c); }
    int CountDataColumns() override { return 1; }
    int CountTotalColumns() override { return 3; }
    QString EvaluateColumn(qint32 id, int c) override
    {
        ++evaluateCalls;
        return c == 1 ? QString::number(id) : c == 2 ? QStringLiteral("Text of %1").arg(id) : QString();
    }
    QObject *Feedback() override { return feedback; }
    void setFeedback(QObject *o) override { feedback = o; }
    int FirstColumn() override { return 0; }
    qint32 GetRecordCount() override { return count; }
    int IdColumn() override { return 1; }
    bool IsBufferLoaded() override { return true; }
    int LastColumn() override { return 3; }
    QString NoDataMessage() override { return QStringLiteral("Nothing to list"); }
    qint32 RecordNumberToId(qint32 n) override { return n >= 1 && n <= count ? n * 10 : 0; }
    QString ReportRecordCount(qint32 n, qint32 c) override
    {
        return QStringLiteral("Id: %1 (Position %2 of %3)").arg(RecordNumberToId(n)).arg(n).arg(c);
    }
    double RowHeight() override { return 21; }
    QString TypeName() override { return QStringLiteral("CountingSource"); }
    // Puts the found row a fixed 3 rows below the top when it lies outside the window.
    void UpdateBuffer(bool, qint32 &first, qint32 rows, int, bool search, qint32 &id, qint32 &found) override
    {
        lastFirstIn = first;
        lastRowsIn = rows;
        if (!search)
            return;
        found = id / 10;
        if (found < first || found >= first + rows)
            first = qMax(1, found - 3);
    }
};

struct Fixture {
    explicit Fixture(qint32 records, bool activate = true) : source(records)
    {
        view.resize(600, 400);
        view.setDataSource(&source);
        view.show();
        if (!QTest::qWaitForWindowExposed(&view))
            qWarning("window not exposed");
        if (activate)
            view.setActivated(true);
        QCoreApplication::processEvents();
    }
    QTableView *table() const { return view.TableView(); }
    QAbstractItemModel *model() const { return table()->model(); }
    QString LastFeedback(const QSignalSpy &spy) const { return spy.isEmpty() ? "none" : spy.last().at(0).toString(); }

    test::TestServices services;
    CountingSource source;
    UCKvDataView view;
};

// Pixels in a band across the middle of the viewport that differ from its base colour.
int InkInCentre(QTableView *table)
{
    const QImage image = table->viewport()->grab().toImage();
    const QColor base = table->palette().color(QPalette::Active, QPalette::Base);
    int ink = 0;
    for (int y = image.height() / 2 - 15; y < image.height() / 2 + 15; ++y)
        for (int x = 0; x < image.width(); ++x)
            ink += image.pixelColor(x, y) != base;
    return ink;
}

} // namespace

class TestDataView : public QObject {
    Q_OBJECT

private slots:
    void rowsLoadOnFirstActivationAndGoWithTheSource()
    {
        Fixture f(50, false);
        QCOMPARE(f.model()->rowCount() + f.view.CurrentRecord(), 0);
        QSignalSpy feedback(&f.view, &UCKvDataView::FeedbackChanged);

        f.view.setActivated(true);
        QCOMPARE(QPoint(f.model()->rowCount(), f.view.CurrentRecord()), QPoint(50, 1));
        QCOMPARE(f.LastFeedback(feedback), QStringLiteral("Id: 10 (Position 1 of 50)"));
        QCOMPARE(f.source.Feedback(), &f.view);

        // A second activation reloads nothing and keeps the current row.
        f.view.setCurrentRecord(7);
        f.source.count = 5;
        f.view.setActivated(true);
        QCOMPARE(QPoint(f.model()->rowCount(), f.view.CurrentRecord()), QPoint(50, 7));

        // A source that goes away is let go: the list empties and is never asked again.
        auto *other = new CountingSource(10);
        f.view.setDataSource(other);
        QCOMPARE(f.model()->rowCount(), 10);
        delete other;
        QCOMPARE(f.view.DataSource(), nullptr);
        QCOMPARE(f.model()->rowCount(), 0);
        f.view.ShowId(20);
        QCOMPARE(f.view.CurrentRecord(), 0);
    }

    void cellsAndWidthsComeFromTheSource()
    {
        Fixture f(5);
        QCOMPARE(f.model()->headerData(2, Qt::Horizontal).toString(), QStringLiteral("English default"));
        const QModelIndex id = f.model()->index(2, 1), text = f.model()->index(2, 2);
        QCOMPARE(id.data().toString() + '|' + text.data().toString(), QStringLiteral("30|Text of 30"));
        QCOMPARE((QList<int>{id.data(Qt::TextAlignmentRole).toInt() & Qt::AlignHorizontal_Mask,
                             text.data(Qt::TextAlignmentRole).toInt() & Qt::AlignHorizontal_Mask}),
                 (QList<int>{Qt::AlignRight, Qt::AlignLeft}));
        QVERIFY(!(f.model()->flags(text) & Qt::ItemIsEditable));

        QTableView *table = f.table();
        QCOMPARE(f.source.lastContainer, f.view.window());
        // The source's text height of 21 and a few pixels of margin that the list keeps.
        QCOMPARE_GT(table->verticalHeader()->defaultSectionSize(), 21);
        QCOMPARE_LE(table->verticalHeader()->defaultSectionSize(), 21 + 8);
        QCOMPARE(table->verticalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
        // Widening the view hands the new width to the source, which gives it to the text column.
        const int before = table->viewport()->width();
        f.view.resize(800, 400);
        QCoreApplication::processEvents();
        QCOMPARE(table->viewport()->width() - before, 200);
        QCOMPARE(f.source.lastTotalWidth, double(table->viewport()->width()));
        QCOMPARE(QPoint(table->horizontalHeader()->sectionSize(1), table->horizontalHeader()->sectionSize(2)),
                 QPoint(70, table->viewport()->width() - 194));
    }

    void noDataMessagePainted_data()
    {
        QTest::addColumn<bool>("activate");
        QTest::addColumn<int>("records");
        QTest::addColumn<bool>("message");
        QTest::newRow("empty list") << true << 0 << true;
        QTest::newRow("not yet activated") << false << 0 << false;
        QTest::newRow("a few rows") << true << 3 << false;
    }
    void noDataMessagePainted()
    {
        QFETCH(bool, activate);
        QFETCH(int, records);
        QFETCH(bool, message);
        Fixture f(records, activate);
        QCOMPARE(InkInCentre(f.table()) > 0, message);
    }

    void showIdScrollsAndMakesCurrent_data()
    {
        QTest::addColumn<int>("startRecord");
        QTest::addColumn<int>("record");
        QTest::addColumn<int>("expectedTop");
        QTest::newRow("far below") << 1 << 5000 << 4997;
        QTest::newRow("above the window") << 20000 << 15 << 12;
        QTest::newRow("inside the window") << 1 << 4 << 1;
        QTest::newRow("last record") << 1 << 32767 << -1;   // the window cannot start lower than a full page
    }
    void showIdScrollsAndMakesCurrent()
    {
        QFETCH(int, startRecord);
        QFETCH(int, record);
        QFETCH(int, expectedTop);
        Fixture f(32767);
        f.view.ShowId(startRecord * 10);
        const qint32 topBefore = f.view.FirstVisibleRecord();

        QSignalSpy feedback(&f.view, &UCKvDataView::FeedbackChanged);
        f.view.ShowId(record * 10);
        QCOMPARE(QPoint(f.source.lastFirstIn, f.source.lastRowsIn), QPoint(topBefore, f.view.VisibleRows()));
        QCOMPARE(f.view.CurrentRecord(), record);
        const QRect cell = f.table()->visualRect(f.model()->index(record - 1, 1));
        QVERIFY(f.table()->viewport()->rect().contains(cell));
        if (expectedTop > 0)
            QCOMPARE(f.view.FirstVisibleRecord(), expectedTop);
        QCOMPARE(feedback.count(), 1);
        QCOMPARE(f.LastFeedback(feedback), QStringLiteral("Id: %1 (Position %2 of 32767)").arg(record * 10).arg(record));
    }

    void keys_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("keyAscii");   // -1: no KeyPress
        QTest::addColumn<int>("currentAfter");
        QTest::newRow("Return") << "Return" << 13 << 3;
        QTest::newRow("keypad Enter") << "Num+Enter" << 13 << 3;
        QTest::newRow("Ctrl+Return") << "Ctrl+Return" << 10 << 3;
        QTest::newRow("Down navigates") << "Down" << -1 << 4;
        QTest::newRow("letters do not search") << "T" << -1 << 3;
    }
    void keys()
    {
        QFETCH(QString, key);
        QFETCH(int, keyAscii);
        QFETCH(int, currentAfter);
        Fixture f(20);
        f.view.setCurrentRecord(3);
        QSignalSpy keys(&f.view, &UCKvDataView::KeyPress);
        const QKeyCombination combination = QKeySequence(key)[0];
        QTest::keyClick(f.table(), combination.key(), combination.keyboardModifiers());
        QCOMPARE(keys.count() == 1 ? keys.at(0).at(0).toInt() : keys.count() - 1, keyAscii);   // none: -1
        QCOMPARE(f.view.CurrentRecord(), currentAfter);
    }

    void refreshFollowsTheCount()
    {
        Fixture f(50);
        // One record is repainted alone; records outside the list are passed over.
        QSignalSpy changed(f.model(), &QAbstractItemModel::dataChanged);
        QSignalSpy reset(f.model(), &QAbstractItemModel::modelReset);
        f.view.RefreshRecord(9);
        f.view.RefreshRecord(51);
        f.view.RefreshRecord(0);
        QCOMPARE(QPoint(changed.count(), reset.count()), QPoint(1, 0));
        const auto topLeft = changed.at(0).at(0).value<QModelIndex>();
        const auto bottomRight = changed.at(0).at(1).value<QModelIndex>();
        QCOMPARE(QRect(QPoint(topLeft.column(), topLeft.row()), QPoint(bottomRight.column(), bottomRight.row())),
                 QRect(0, 8, 3, 1));

        f.view.setCurrentRecord(30);
        f.source.count = 12;
        const auto rowsAndCurrent = [&] { return QPoint(f.model()->rowCount(), f.view.CurrentRecord()); };
        f.view.Refresh();
        QCOMPARE(rowsAndCurrent(), QPoint(12, 12));
        // ShowId picks up a changed count by itself.
        f.source.count = 40;
        f.view.ShowId(300);
        QCOMPARE(rowsAndCurrent(), QPoint(40, 30));
        f.source.count = 0;
        QSignalSpy feedback(&f.view, &UCKvDataView::FeedbackChanged);
        f.view.Refresh();
        QCOMPARE(f.view.CurrentRecord(), 0);
        QCOMPARE(f.LastFeedback(feedback), QString());
    }

    void onlyVisibleRowsAreAsked()
    {
        Fixture f(32767);
        const int window = (f.view.VisibleRows() + 1) * f.model()->columnCount();
        // Showing, activating and sizing the list paint it a few times at most.
        QVERIFY2(f.source.evaluateCalls <= 4 * window, qPrintable(QString::number(f.source.evaluateCalls)));
        f.source.evaluateCalls = 0;
        f.table()->viewport()->repaint();
        QVERIFY(f.source.evaluateCalls > 0 && f.source.evaluateCalls <= window);

        f.source.evaluateCalls = 0;
        QTest::keyClick(f.table(), Qt::Key_PageDown);
        QTest::keyClick(f.table(), Qt::Key_End, Qt::ControlModifier);
        QCoreApplication::processEvents();
        QCOMPARE(f.view.CurrentRecord(), 32767);
        QVERIFY(f.source.evaluateCalls <= 4 * window);
    }
};

QTEST_MAIN(TestDataView)
#include "tst_dataview.moc"
