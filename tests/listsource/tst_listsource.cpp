// The list data source over real in-memory tables: columns, widths, cell texts, the id list and
// where a searched id lands in the window.

#include "dataview/UCKvDataView.h"
#include "listsource/CDVDataSource.h"
#include "server/Workspace.h"

#include "TestServices.h"

#include <QSignalSpy>
#include <QTableView>
#include <QtTest>

#include <functional>

using namespace kvedit;

namespace {

void Put(const StringTableSetPtr &tables, int id, StringSource source, const QString &text, bool valid = false)
{
    const StringEntryPtr blank = tables->Entry(StringId(id), source);
    tables->AddEntry(blank->CreateEdited(StringId(id), text, QString(), false, false, false, QString(), 0,
                                         blank->ParameterDefinitions(), valid));
}

// English default: 1, 2, 5. Local edited: 1 and the orphan 3. Local default: 1, 5 and the orphan
// 7. English edited: 2. Everything saved, so the set starts unmodified.
server::WorkspacePtr SampleWorkspace(int maximumCount = 100)
{
    auto ws = server::Workspace::CreateInMemory({QStringLiteral("Demo"), QStringLiteral("de-DE"), maximumCount});
    const StringTableSetPtr t = ws->Tables();
    Put(t, 1, ssEnglishDefault, QStringLiteral("Open"));
    Put(t, 2, ssEnglishDefault, QStringLiteral("Close\tnow"));
    Put(t, 5, ssEnglishDefault, QStringLiteral("Save\r\n"));
    Put(t, 1, ssLocalEdited, QStringLiteral("Öffnen"), true);
    Put(t, 3, ssLocalEdited, QStringLiteral("Verwaist"));
    Put(t, 1, ssLocalDefault, QStringLiteral("Oeffnen"));
    Put(t, 5, ssLocalDefault, QStringLiteral("Speichern"));
    Put(t, 7, ssLocalDefault, QStringLiteral("Ohne Quelle"));
    Put(t, 2, ssEnglishEdited, QStringLiteral("Close at once"));
    t->Save(ssEnglishDefault, false);
    return ws;
}

QList<qint32> Ids(CDVDataSource &source)
{
    QList<qint32> ids;
    for (int row = 1; row <= source.GetRecordCount(); ++row)
        ids << source.RecordNumberToId(row);
    return ids;
}

} // namespace

class TestListSource : public QObject {
    Q_OBJECT

    std::unique_ptr<test::TestServices> services;

private slots:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("kvedit.server.debug=false")); }
    void init() { services = std::make_unique<test::TestServices>(); }
    void cleanup() { services.reset(); }

    void columnCountsFollowTheVersion_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<int>("data");
        QTest::addColumn<int>("support");
        QTest::newRow("local edited") << 0 << 2 << 4;
        QTest::newRow("local default") << 1 << 2 << 4;
        QTest::newRow("English edited") << 2 << 2 << 4;
        QTest::newRow("English default") << 3 << 1 << 2;
        QTest::newRow("beyond the sources") << 4 << 0 << 0;
        QTest::newRow("negative") << -1 << 0 << 0;
    }
    void columnCountsFollowTheVersion()
    {
        QFETCH(int, version);
        QFETCH(int, data);
        QFETCH(int, support);
        CDVDataSource source;
        source.setTableVersion(TableVersion(version));
        QCOMPARE(source.CountDataColumns(), data);
        QCOMPARE(source.CountSupportColumns(), support);
        QCOMPARE(source.CountTotalColumns(), data + support);
        QCOMPARE(source.LastColumn(), data + support);
        QCOMPARE(source.FirstColumn(), 0);
        QCOMPARE(source.IdColumn(), 1);
    }

    void headingsAndAlignments_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QStringList>("headings");
        const QStringList fixed{QString(), QStringLiteral("Id"), QStringLiteral("English default")};
        QTest::newRow("local edited") << 0
                                      << fixed + QStringList{"German edited", "String Source", "Valid?"};
        QTest::newRow("local default") << 1
                                       << fixed + QStringList{"German default", "String Source", "Valid?"};
        QTest::newRow("English edited") << 2
                                        << fixed + QStringList{"English edited", "String Source", "Valid?"};
        QTest::newRow("English default") << 3 << fixed;
    }
    void headingsAndAlignments()
    {
        QFETCH(int, version);
        QFETCH(QStringList, headings);
        CDVDataSource source;
        source.setWorkspace(SampleWorkspace());
        source.setTableVersion(TableVersion(version));
        QStringList actual;
        QList<int> alignments;
        for (int c = source.FirstColumn(); c < source.CountTotalColumns(); ++c) {
            actual << source.ColumnHeading(c);
            alignments << source.ColumnAlignment(c);
        }
        QCOMPARE(actual, headings);
        QCOMPARE(alignments, (QList<int>{0, 2, 1, 1, 0, 0}.mid(0, headings.size())));
        for (int c : {-1, 6, 9}) {
            QCOMPARE(source.ColumnHeading(c), QString());
            QCOMPARE(source.ColumnAlignment(c), 0);
            QCOMPARE(source.ColumnWidth(c), 0.0);
        }
    }

    void widthsComeFromTextAndTheRestGoesToTheTextColumns_data()
    {
        QTest::addColumn<int>("version");
        QTest::newRow("local edited") << 0;
        QTest::newRow("English edited") << 2;
        QTest::newRow("English default") << 3;
    }
    void widthsComeFromTextAndTheRestGoesToTheTextColumns()
    {
        QFETCH(int, version);
        QWidget form;
        QFont font = form.font();
        font.setPointSize(11);
        form.setFont(font);
        const QFontMetrics fm(font);
        CDVDataSource source;
        source.setWorkspace(SampleWorkspace());
        source.setTableVersion(TableVersion(version));
        const bool translating = version != 3;

        source.CalculateColumnSizes(&form, 900);
        QCOMPARE(source.ColumnWidth(0), double(fm.horizontalAdvance("XXX")));
        QCOMPARE(source.ColumnWidth(1), double(fm.horizontalAdvance("8888888")));
        QCOMPARE(source.ColumnWidth(4), translating ? double(fm.horizontalAdvance("WEnglish Default")) : 0.0);
        QCOMPARE(source.ColumnWidth(5), translating ? double(fm.horizontalAdvance("WValid?")) : 0.0);
        // Everything but a reserve of 100 twips is handed out.
        double sum = 0;
        for (int c = 0; c < 6; ++c)
            sum += source.ColumnWidth(c);
        QCOMPARE(sum + TwipsToPixelsX(100), 900.0);
        QCOMPARE(source.ColumnWidth(3), translating ? source.ColumnWidth(2) : 0.0);

        QList<double> before;
        for (int c = 0; c < 6; ++c)
            before << source.ColumnWidth(c);
        source.CalculateColumnSizes(&form, 1500);
        const double gain = translating ? 300 : 600;
        for (int c = 0; c < 6; ++c) {
            const bool textColumn = c == 2 || (c == 3 && translating);
            QCOMPARE(source.ColumnWidth(c), before[c] + (textColumn ? gain : 0));
        }

        QVERIFY(source.RowHeight() >= fm.height());
        QVERIFY(source.RowHeight() <= fm.height() + 10);
        font.setPointSize(22);
        form.setFont(font);
        source.CalculateColumnSizes(&form, 1500);
        QVERIFY(source.RowHeight() >= QFontMetrics(font).height());
    }

    void widthsWithoutAFormOrColumns()
    {
        QWidget form;
        CDVDataSource source;
        QCOMPARE(source.CalculateColumnWidth(0, nullptr), 0.0);
        QCOMPARE(source.CalculateColumnWidth(2, &form), 0.0);
        QCOMPARE(source.CalculateColumnWidth(6, &form), 0.0);
        QCOMPARE(source.CalculateRowHeight(nullptr), 0.0);
        source.CalculateColumnSizes(nullptr, 800);
        QCOMPARE(source.ColumnWidth(1), 0.0);
        QCOMPARE(source.RowHeight(), 0.0);

        // No data columns: the text columns get nothing rather than a division by zero.
        source.setTableVersion(TableVersion(4));
        source.CalculateColumnSizes(&form, 800);
        QCOMPARE(source.ColumnWidth(2), 0.0);
        QCOMPARE(source.ColumnWidth(3), 0.0);
        QCOMPARE(source.ColumnWidth(4), 0.0);
        QVERIFY(source.ColumnWidth(0) > 0);
        QVERIFY(services->reporter->errors.isEmpty());
    }

    void renderForDisplay_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("plain") << QStringLiteral("Open file") << QStringLiteral("Open file");
        QTest::newRow("letter CR LF") << QStringLiteral("a\r\n") << QStringLiteral("a\\r\n");
        QTest::newRow("tab in the middle") << QStringLiteral("a\tb") << QStringLiteral("a\\tb");
        QTest::newRow("line feed in the middle") << QStringLiteral("a\nb") << QStringLiteral("a\\nb");
        QTest::newRow("bell removed") << QStringLiteral("a\ab") << QStringLiteral("ab");
        QTest::newRow("only a control character") << QStringLiteral("\x01") << QString();
        QTest::newRow("two escapes push one past the end") << QStringLiteral("x\ty\r\n")
                                                           << QStringLiteral("x\\ty\\r\n");
        QTest::newRow("three tabs, the last stays raw") << QStringLiteral("\t\t\t") << QStringLiteral("\\t\\t\t");
        QTest::newRow("after a removed character the next is not looked at")
            << QStringLiteral("a\x01\x02" "b") << QStringLiteral("a\x02" "b");
    }
    void renderForDisplay()
    {
        QFETCH(QString, text);
        QFETCH(QString, shown);
        QCOMPARE(CDVDataSource::RenderForDisplay(text), shown);
    }

    void refreshStringList_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QList<qint32>>("ids");
        QTest::addColumn<int>("orphan");   // in the version only, 0 for none
        // Every English string has a slot in each translation table, so all three are listed
        // there, translated or not; translations without an English string are not.
        QTest::newRow("local edited") << 0 << QList<qint32>{1, 2, 5} << 3;
        QTest::newRow("local default") << 1 << QList<qint32>{1, 2, 5} << 7;
        QTest::newRow("English edited") << 2 << QList<qint32>{1, 2, 5} << 0;
        QTest::newRow("English default") << 3 << QList<qint32>{1, 2, 5} << 0;
    }
    void refreshStringList()
    {
        QFETCH(int, version);
        QFETCH(QList<qint32>, ids);
        QFETCH(int, orphan);
        const auto ws = SampleWorkspace();
        const StringTableSetPtr tables = ws->Tables();
        const QString orphanText = orphan ? tables->Text(StringId(orphan), TableVersion(version)) : QString();
        CDVDataSource source;
        source.setWorkspace(ws);
        source.setTableVersion(TableVersion(version));
        QCOMPARE(Ids(source), ids);
        QCOMPARE(source.StringList().Capacity(), ids.size());

        if (orphan) {
            // Offering the orphan back to the set leaves its translation as it was.
            QVERIFY(tables->IdInUse(StringId(orphan), TableVersion(version)));
            QCOMPARE(tables->Text(StringId(orphan), TableVersion(version)), orphanText);
            QVERIFY(!orphanText.isEmpty());
        }
        QVERIFY(!tables->Modified());
        source.RefreshStringList();
        QCOMPARE(Ids(source), ids);
        QVERIFY(services->reporter->errors.isEmpty());
    }

    void refreshFollowsEditsAndTheWholeIdRange()
    {
        const auto ws = SampleWorkspace(kMaxStringId);
        CDVDataSource source;
        source.setWorkspace(ws);
        source.setTableVersion(ssEnglishDefault);
        Put(ws->Tables(), kMaxStringId, ssEnglishDefault, QStringLiteral("Last"));
        Put(ws->Tables(), 4, ssEnglishDefault, QStringLiteral("Four"));
        source.RefreshStringList();
        QCOMPARE(Ids(source), (QList<qint32>{1, 2, 4, 5, kMaxStringId}));
        ws->Tables()->RemoveEntry(2, ssEnglishDefault);
        source.RefreshStringList();
        QCOMPARE(Ids(source), (QList<qint32>{1, 4, 5, kMaxStringId}));
    }

    void updateBufferPlacesTheFoundRow_data()
    {
        QTest::addColumn<bool>("search");
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("row");        // the row of the searched id
        QTest::addColumn<int>("expectedFirst");
        // Rows hold the ids 2, 4, 6, ...: row n is id 2n.
        QTest::newRow("below, even window") << true << 1 << 10 << 100 << 96;
        QTest::newRow("below, odd window, 95.5 gives 96") << true << 1 << 11 << 100 << 96;
        QTest::newRow("below, odd window, 96.5 gives 96") << true << 1 << 11 << 101 << 96;
        QTest::newRow("below, odd window, 97.5 gives 98") << true << 1 << 11 << 102 << 98;
        QTest::newRow("above becomes the top row") << true << 50 << 10 << 20 << 20;
        QTest::newRow("visible stays") << true << 50 << 10 << 55 << 50;
        QTest::newRow("just past the window stays") << true << 50 << 10 << 60 << 50;
        QTest::newRow("one further moves") << true << 50 << 10 << 61 << 57;
        QTest::newRow("no search changes nothing") << false << 50 << 10 << 400 << 50;
    }
    void updateBufferPlacesTheFoundRow()
    {
        QFETCH(bool, search);
        QFETCH(int, first);
        QFETCH(int, rows);
        QFETCH(int, row);
        QFETCH(int, expectedFirst);
        CDVDataSource source;
        for (int n = 1; n <= 500; ++n)
            source.StringList().Add(2 * n);
        qint32 top = first;
        qint32 id = 2 * row;
        qint32 found = -7;
        source.UpdateBuffer(false, top, rows, 0, search, id, found);
        QCOMPARE(top, expectedFirst);
        QCOMPARE(found, search ? row : -7);
        QCOMPARE(id, 2 * row);
    }

    void updateBufferWithAnAbsentId()
    {
        CDVDataSource source;
        for (int n = 1; n <= 500; ++n)
            source.StringList().Add(2 * n);
        qint32 top = 1, id = 201, found = 0;
        source.UpdateBuffer(false, top, 10, 0, true, id, found);
        // A neighbour of where id 201 would stand (between rows 100 and 101).
        QVERIFY(found == 100 || found == 101);
    }

    void cellsAndFeedback()
    {
        const auto ws = SampleWorkspace();
        CDVDataSource source;
        source.setWorkspace(ws);
        source.setTableVersion(ssLocalEdited);
        QCOMPARE(source.EvaluateColumn(1, 0), QString());
        QCOMPARE(source.EvaluateColumn(1, 1), QStringLiteral("1"));
        QCOMPARE(source.EvaluateColumn(1, 2), QStringLiteral("Open"));
        QCOMPARE(source.EvaluateColumn(1, 3), QStringLiteral("Öffnen"));
        QCOMPARE(source.EvaluateColumn(1, 4), QStringLiteral("Local Edited"));
        QCOMPARE(source.EvaluateColumn(1, 5), QStringLiteral("Yes"));
        QCOMPARE(source.EvaluateColumn(1, 6), QString());
        // Id 5 has no local edit: its text and name come from the local default.
        QCOMPARE(source.EvaluateColumn(5, 2), QStringLiteral("Save\\r\n"));
        QCOMPARE(source.EvaluateColumn(5, 3), QStringLiteral("Speichern"));
        QCOMPARE(source.EvaluateColumn(5, 4), QStringLiteral("Local Default"));
        QCOMPARE(source.EvaluateColumn(5, 5), QStringLiteral("No"));
        QCOMPARE(source.EvaluateColumn(2, 2), QStringLiteral("Close\\tnow"));
        QVERIFY(services->reporter->errors.isEmpty());

        source.setTableVersion(ssEnglishDefault);
        QCOMPARE(source.ReportRecordCount(3, 3), QStringLiteral("Id: 5 (Position 3 of 3)"));
        QCOMPARE(source.ReportRecordCount(4, 3), QStringLiteral("Id: 0 (Position 4 of 3)"));
        QCOMPARE(source.RecordNumberToId(0), 0);

        QObject feedback;
        source.setFeedback(&feedback);
        QCOMPARE(source.Feedback(), &feedback);
        auto *gone = new QObject;
        source.setFeedback(gone);
        delete gone;
        QCOMPARE(source.Feedback(), nullptr);
    }

    void failingCellsAreReportedAndEmpty_data()
    {
        QTest::addColumn<qint32>("id");
        QTest::addColumn<int>("number");
        QTest::newRow("wider than a string id") << qint32(70000) << int(errOverflow);
        QTest::newRow("no id") << qint32(0) << int(errSubscriptOutOfRange);
    }
    void failingCellsAreReportedAndEmpty()
    {
        QFETCH(qint32, id);
        QFETCH(int, number);
        CDVDataSource source;
        source.setWorkspace(SampleWorkspace());
        source.setTableVersion(ssLocalEdited);
        QCOMPARE(source.EvaluateColumn(id, 2), QString());
        QCOMPARE(services->reporter->errors.size(), 1);
        QCOMPARE(services->reporter->errors[0].number, number);
    }

    void withoutAWorkspaceEverythingIsEmpty()
    {
        CDVDataSource source;
        QSignalSpy title(&source, &CDVDataSource::UpdateTitle);
        source.setTableVersion(ssLocalEdited);
        QCOMPARE(title.count(), 1);
        QCOMPARE(source.GetRecordCount(), 0);
        QCOMPARE(source.NoDataMessage(), QStringLiteral("No defined string resources"));
        QCOMPARE(source.TypeName(), QStringLiteral("CDVDataSource"));
        QVERIFY(source.IsBufferLoaded());
        QCOMPARE(source.ColumnHeading(2), QString());
        QCOMPARE(source.ColumnHeading(3), QString());
        QCOMPARE(source.ColumnHeading(1), QStringLiteral("Id"));
        QCOMPARE(source.EvaluateColumn(4, 3), QString());
        QCOMPARE(source.Title(), QString());
        QVERIFY(services->reporter->errors.isEmpty());
    }

    void titleAndTheOrderOfTableVersionLet()
    {
        const auto ws = SampleWorkspace();
        CDVDataSource source;
        source.setWorkspace(ws);
        QList<int> versions;
        QList<int> countsAtSignal;
        connect(&source, &CDVDataSource::UpdateTitle, this, [&](int version) {
            versions << version;
            countsAtSignal << source.GetRecordCount();
        });
        source.setTableVersion(ssEnglishDefault);
        QCOMPARE(source.Title(), QStringLiteral("Demo - English default"));
        source.setTableVersion(ssLocalDefault);
        QCOMPARE(source.Title(), QStringLiteral("Demo - German default"));
        QCOMPARE(versions, (QList<int>{3, 1}));
        // The title goes out first, the list is refreshed after it.
        QCOMPARE(countsAtSignal, (QList<int>{0, 3}));
        QCOMPARE(source.GetRecordCount(), 3);
        QCOMPARE(source.TableVersion(), ssLocalDefault);

        // A new workspace empties the list until the version is set again.
        source.setWorkspace(SampleWorkspace());
        QCOMPARE(source.GetRecordCount(), 0);
    }

    void limitAndMessageTimeout()
    {
        CDVDataSource source;
        source.setWorkspace(SampleWorkspace(500));
        QCOMPARE(source.Limit(), 0);
        source.setLimit(120);
        QCOMPARE(source.Limit(), 120);
        source.setLimit(-5);
        QCOMPARE(source.Limit(), 120);
        source.setLimit(9000);
        QCOMPARE(source.Limit(), 500);
        // The tests run headless.
        QCOMPARE(source.MessageTestTimeout(), 5000);
    }

    void reportingProcedureNames()
    {
        QWidget form;
        CDVDataSource source;
        source.setWorkspace(SampleWorkspace());
        source.setTableVersion(ssLocalEdited);
        source.CalculateColumnSizes(&form, 600);
        source.EvaluateColumn(1, 2);
        source.MessageTestTimeout();
        source.RecordNumberToId(1);
        qint32 first = 1, id = 1, found = 0;
        source.UpdateBuffer(false, first, 5, 0, true, id, found);
        CDVDataSource::RenderForDisplay(QStringLiteral("x"));

        QSet<QString> entered;
        for (const test::TraceCall &call : services->trace->calls)
            if (call.module == QLatin1String("CDVDataSource"))
                entered << call.procedure;
        const QSet<QString> expected{"CalculateColumnSizes", "CalculateRowHeight", "CalculateColumnWidth",
                                     "EvaluateColumn", "MessageTestTimeout(Get)", "RecordNumberToId",
                                     "RefreshStringList", "RenderForDisplay", "TableVersion(Let)", "UpdateBuffer"};
        QCOMPARE(entered, expected);
        // Every entry has its exit.
        const QStringList lines = services->trace->Lines();
        QCOMPARE(lines.filter(QStringLiteral("enter CDVDataSource.")).size(),
                 lines.filter(QStringLiteral("leave CDVDataSource.")).size());
    }

    void feedsTheDataView()
    {
        const auto ws = SampleWorkspace(kMaxStringId);
        for (int id = 10; id <= 30000; id += 3)
            Put(ws->Tables(), id, ssEnglishDefault, QStringLiteral("String %1").arg(id));
        CDVDataSource source;
        source.setWorkspace(ws);
        source.setTableVersion(ssEnglishDefault);
        UCKvDataView view;
        view.resize(700, 400);
        view.setDataSource(&source);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        view.setActivated(true);
        QTableView *table = view.TableView();
        QCOMPARE(table->model()->rowCount(), source.GetRecordCount());
        QCOMPARE(table->model()->columnCount(), 3);
        QCOMPARE(table->model()->headerData(2, Qt::Horizontal).toString(), QStringLiteral("English default"));

        QSignalSpy feedback(&view, &UCKvDataView::FeedbackChanged);
        view.ShowId(20002);
        const qint32 row = view.CurrentRecord();
        QCOMPARE(source.RecordNumberToId(row), 20002);
        QCOMPARE(table->model()->index(row - 1, 2).data().toString(), QStringLiteral("String 20002"));
        QCOMPARE(feedback.last().at(0).toString(),
                 QStringLiteral("Id: 20002 (Position %1 of %2)").arg(row).arg(source.GetRecordCount()));

        source.setTableVersion(ssLocalEdited);
        view.Refresh();
        QCOMPARE(table->model()->columnCount(), 6);
        // The translation table lists every English string; only id 1 is translated and approved.
        QCOMPARE(table->model()->rowCount(), source.GetRecordCount());
        QCOMPARE(source.RecordNumberToId(1), 1);
        QCOMPARE(table->model()->index(0, 5).data().toString(), QStringLiteral("Yes"));
        QCOMPARE(table->model()->index(1, 5).data().toString(), QStringLiteral("No"));
    }
};

QTEST_MAIN(TestListSource)
#include "tst_listsource.moc"
