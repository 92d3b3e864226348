// After a refresh, what the window shows is what a full paint of the list would show: a refresh
// that keeps the list's shape repaints only the rows that changed, and must not miss one.

#include "dataview/UCKvDataView.h"

#include "TestServices.h"

#include <QScreen>
#include <QTableView>
#include <QtTest>

#include <functional>

using namespace kvedit;

namespace {

// Marker and text columns over a list of ids whose texts and signs the test changes.
class EditableSource final : public IDVDataSource {
public:
    QList<qint32> ids;
    QHash<qint32, QString> texts;
    QHash<qint32, int> signs;

    void CalculateColumnSizes(QWidget *, double width) override { m_width = width; }
    int ColumnAlignment(int) override { return 0; }
    QString ColumnHeading(int c) override { return c == 1 ? QStringLiteral("Text") : QString(); }
    double ColumnWidth(int c) override { return c == 0 ? 30 : m_width - 30; }
    int CountDataColumns() override { return 1; }
    int CountTotalColumns() override { return 2; }
    QString EvaluateColumn(qint32 id, int c) override { return c == 1 ? texts.value(id) : QString(); }
    QObject *Feedback() override { return nullptr; }
    void setFeedback(QObject *) override {}
    int FirstColumn() override { return 0; }
    qint32 GetRecordCount() override { return static_cast<qint32>(ids.size()); }
    int IdColumn() override { return 0; }
    bool IsBufferLoaded() override { return true; }
    int LastColumn() override { return 2; }
    QString NoDataMessage() override { return QStringLiteral("Nothing to list"); }
    qint32 RecordNumberToId(qint32 n) override { return n >= 1 && n <= ids.size() ? ids.at(n - 1) : 0; }
    QString ReportRecordCount(qint32 n, qint32) override { return QStringLiteral("Id %1").arg(RecordNumberToId(n)); }
    double RowHeight() override { return 18; }
    QString TypeName() override { return QStringLiteral("EditableSource"); }
    void UpdateBuffer(bool, qint32 &, qint32, int, bool search, qint32 &id, qint32 &found) override
    {
        if (search)
            found = static_cast<qint32>(ids.indexOf(id)) + 1;
    }
    int RowSign(qint32 id) override { return signs.value(id); }

private:
    double m_width = 0;
};

// What a row changes in the source between the first paint and the refresh.
using Change = std::function<void(EditableSource &)>;

} // namespace

Q_DECLARE_METATYPE(Change)

class TestRepaint : public QObject {
    Q_OBJECT

private slots:
    void showsWhatAFullPaintShows_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<bool>("throughShowId");
        const Change text = [](EditableSource &source) { source.texts[5] = QStringLiteral("Edited"); };
        const Change swap = [](EditableSource &source) { source.ids.swapItemsAt(3, 7); };
        QTest::newRow("one text, Refresh") << text << false;
        QTest::newRow("one text, ShowId") << text << true;
        QTest::newRow("one sign") << Change([](EditableSource &source) { source.signs[6] = rsMissing | rsError; })
                                  << false;
        QTest::newRow("two rows swapped") << swap << false;
        QTest::newRow("two rows swapped, ShowId") << swap << true;
        QTest::newRow("a row fewer") << Change([](EditableSource &source) { source.ids.removeAt(4); }) << false;
        QTest::newRow("nothing") << Change([](EditableSource &) {}) << false;
    }
    void showsWhatAFullPaintShows()
    {
        QFETCH(Change, change);
        QFETCH(bool, throughShowId);
        test::TestServices services;
        EditableSource source;
        for (qint32 id = 1; id <= 200; ++id) {
            source.ids << id;
            source.texts[id] = QStringLiteral("String number %1").arg(id);
            source.signs[id] = rsApproved;
        }
        UCKvDataView view;
        view.resize(500, 300);
        view.setDataSource(&source);
        view.setActivated(true);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        view.setCurrentRecord(4);
        QString feedback;
        connect(&view, &UCKvDataView::FeedbackChanged, this, [&](const QString &text) { feedback = text; });
        QCoreApplication::processEvents();

        change(source);
        if (throughShowId)
            view.ShowId(3);   // not the changed row, which becoming current would repaint
        else
            view.Refresh();
        QCoreApplication::processEvents();

        // The window's backing store holds what was painted; a grab paints everything afresh.
        QTableView *table = view.TableView();
        const QPoint origin = table->viewport()->mapTo(&view, QPoint(0, 0));
        const QImage shown = view.screen()
                                 ->grabWindow(view.winId(), origin.x(), origin.y(), table->viewport()->width(),
                                              table->viewport()->height())
                                 .toImage()
                                 .convertToFormat(QImage::Format_RGB32);
        const QImage full = table->viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32);
        QCOMPARE(shown.size(), full.size());
        QVERIFY(shown == full);
        // The status line names the string now in the current row.
        QCOMPARE(feedback, source.ReportRecordCount(view.CurrentRecord(), 0));
    }
};

QTEST_MAIN(TestRepaint)
#include "tst_repaint.moc"
