// The list data source over real in-memory tables: columns and their widths, cell texts, the id
// list and where a searched id lands in the window.

#include "listsource/CDVDataSource.h"
#include "server/Workspace.h"

#include "TestServices.h"

#include <QtTest>

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

// A source over the workspace, showing the version (held by pointer: the class is a QObject).
std::unique_ptr<CDVDataSource> Showing(const server::WorkspacePtr &ws, int version)
{
    auto source = std::make_unique<CDVDataSource>();
    source->setWorkspace(ws);
    source->setTableVersion(TableVersion(version));
    return source;
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

    void columnsFollowTheVersion_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<int>("data");
        QTest::addColumn<QStringList>("headings");
        const QStringList fixed{QString(), QStringLiteral("Id"), QStringLiteral("English default")};
        QTest::newRow("local edited") << 0 << 2 << fixed + QStringList{"German edited", "String Source", "Valid?"};
        QTest::newRow("local default") << 1 << 2 << fixed + QStringList{"German default", "String Source", "Valid?"};
        QTest::newRow("English default") << 3 << 1 << fixed;
        QTest::newRow("beyond the sources") << 4 << 0 << QStringList();
    }
    void columnsFollowTheVersion()
    {
        QFETCH(int, version);
        QFETCH(int, data);
        QFETCH(QStringList, headings);
        const auto source = Showing(SampleWorkspace(), version);
        QCOMPARE(source->CountDataColumns(), data);
        QCOMPARE(source->CountTotalColumns(), headings.size());
        QCOMPARE(source->CountSupportColumns(), headings.size() - data);
        QCOMPARE(source->LastColumn(), headings.size());   // the count itself, not the last index
        QStringList actual;
        QList<int> alignments;
        for (int c = 0; c < source->CountTotalColumns(); ++c) {
            actual << source->ColumnHeading(c);
            alignments << source->ColumnAlignment(c);
        }
        QCOMPARE(actual, headings);
        QCOMPARE(alignments, (QList<int>{0, 2, 1, 1, 0, 0}.mid(0, headings.size())));
        QCOMPARE(source->ColumnHeading(-1) + source->ColumnHeading(6), QString());
        QCOMPARE(source->ColumnAlignment(6), 0);
        QCOMPARE(source->ColumnWidth(6), 0.0);
        if (data == 0)
            return;   // no widths to share out (see withoutAWorkspaceFormOrColumns)

        // Widths from texts in the form's font; the rest goes to the text columns.
        QWidget form;
        QFont font = form.font();
        font.setPointSize(11);
        form.setFont(font);
        const QFontMetrics fm(font);
        const bool translating = data == 2;
        source->CalculateColumnSizes(&form, 900);
        QCOMPARE(source->ColumnWidth(0), double(fm.horizontalAdvance("XXX")));
        QCOMPARE(source->ColumnWidth(1), double(fm.horizontalAdvance("8888888")));
        QCOMPARE(source->ColumnWidth(4), translating ? double(fm.horizontalAdvance("WEnglish Default")) : 0.0);
        QCOMPARE(source->ColumnWidth(5), translating ? double(fm.horizontalAdvance("WValid?")) : 0.0);
        QCOMPARE(source->ColumnWidth(3), translating ? source->ColumnWidth(2) : 0.0);
        QList<double> before;
        for (int c = 0; c < 6; ++c)
            before << source->ColumnWidth(c);
        // Everything but a reserve of 100 twips is handed out.
        QCOMPARE(std::accumulate(before.begin(), before.end(), 0.0) + TwipsToPixelsX(100), 900.0);

        // Widening the form widens only the text columns.
        source->CalculateColumnSizes(&form, 1500);
        for (int c = 0; c < 6; ++c) {
            const bool textColumn = c == 2 || (c == 3 && translating);
            QCOMPARE(source->ColumnWidth(c), before[c] + (textColumn ? 600 / data : 0));
        }
        // The text height of the headings on one line, without a margin of the source's own.
        QCOMPARE(source->RowHeight(), double(fm.height()));
    }

    void withoutAWorkspaceFormOrColumns()
    {
        QWidget form;
        CDVDataSource source;
        source.setTableVersion(ssLocalEdited);
        QCOMPARE(source.GetRecordCount(), 0);
        QCOMPARE(source.NoDataMessage(), QStringLiteral("No defined string resources"));
        QCOMPARE(source.ColumnHeading(1) + '|' + source.ColumnHeading(2) + '|' + source.EvaluateColumn(4, 3) + source.Title(), "Id||");
        QCOMPARE(source.MessageTestTimeout(), 5000);   // nobody answers a box offscreen
        QCOMPARE((QList<double>{source.CalculateColumnWidth(0, nullptr), source.CalculateColumnWidth(6, &form)}),
                 (QList<double>{0, 0}));
        source.CalculateColumnSizes(nullptr, 800);
        QCOMPARE((QList<double>{source.ColumnWidth(1), source.RowHeight()}), (QList<double>{0, 0}));
        // No data columns: the text columns get nothing rather than a division by zero.
        source.setTableVersion(TableVersion(4));
        source.CalculateColumnSizes(&form, 800);
        QCOMPARE((QList<double>{source.ColumnWidth(2), source.ColumnWidth(3)}), (QList<double>{0, 0}));
        QVERIFY(source.ColumnWidth(0) > 0);
        QVERIFY(services->reporter->errors.isEmpty());
    }

    void renderForDisplay_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        QTest::newRow("letter CR LF") << QStringLiteral("a\r\n") << QStringLiteral("a\\r\n");
        QTest::newRow("tab in the middle") << QStringLiteral("a\tb") << QStringLiteral("a\\tb");
        QTest::newRow("line feed in the middle") << QStringLiteral("a\nb") << QStringLiteral("a\\nb");
        QTest::newRow("bell removed") << QStringLiteral("a\ab") << QStringLiteral("ab");
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
        QTest::addColumn<int>("orphan");   // in the version only, 0 for none
        // Every English string has a slot in each translation table, so all three are listed
        // there, translated or not; translations without an English string are not.
        QTest::newRow("local edited") << 0 << 3;
        QTest::newRow("local default") << 1 << 7;
        QTest::newRow("English edited") << 2 << 0;
        QTest::newRow("English default") << 3 << 0;
    }
    void refreshStringList()
    {
        QFETCH(int, version);
        QFETCH(int, orphan);
        const auto ws = SampleWorkspace(kMaxStringId);
        const StringTableSetPtr tables = ws->Tables();
        const QString orphanText = orphan ? tables->Text(StringId(orphan), TableVersion(version)) : QString();
        const auto source = Showing(ws, version);
        QCOMPARE(Ids(*source), (QList<qint32>{1, 2, 5}));
        QCOMPARE(source->StringList().Capacity(), 3);
        // Offering the orphan back to the set leaves its translation as it was.
        if (orphan)
            QCOMPARE(tables->Text(StringId(orphan), TableVersion(version)), orphanText);
        QVERIFY(!tables->Modified());
        QVERIFY(services->reporter->errors.isEmpty());

        // A refresh follows the English strings up to the last id.
        Put(tables, kMaxStringId, ssEnglishDefault, QStringLiteral("Last"));
        tables->RemoveEntry(2, ssEnglishDefault);
        source->RefreshStringList();
        QCOMPARE(Ids(*source), (QList<qint32>{1, 5, kMaxStringId}));
    }

    void updateBufferPlacesTheFoundRow_data()
    {
        QTest::addColumn<bool>("search");
        QTest::addColumn<QList<int>>("c");   // first row, rows shown, id sought; row found, first row after
        // Rows hold the ids 2, 4, 6, ...: row n is id 2n.
        QTest::newRow("below, even window") << true << QList<int>{1, 10, 200, 100, 96};
        QTest::newRow("below, odd window, 95.5 gives 96") << true << QList<int>{1, 11, 200, 100, 96};
        QTest::newRow("below, odd window, 96.5 gives 96") << true << QList<int>{1, 11, 202, 101, 96};
        QTest::newRow("below, odd window, 97.5 gives 98") << true << QList<int>{1, 11, 204, 102, 98};
        QTest::newRow("above becomes the top row") << true << QList<int>{50, 10, 40, 20, 20};
        QTest::newRow("just past the window stays") << true << QList<int>{50, 10, 120, 60, 50};
        QTest::newRow("one further moves") << true << QList<int>{50, 10, 122, 61, 57};
        QTest::newRow("absent id, a neighbour") << true << QList<int>{1, 10, 201, 100, 96};
        QTest::newRow("no search changes nothing") << false << QList<int>{50, 10, 800, -7, 50};
    }
    void updateBufferPlacesTheFoundRow()
    {
        QFETCH(bool, search);
        QFETCH(QList<int>, c);
        CDVDataSource source;
        for (int n = 1; n <= 500; ++n)
            source.StringList().Add(2 * n);
        qint32 top = c[0], searched = c[2], foundRow = -7;
        source.UpdateBuffer(false, top, c[1], 0, search, searched, foundRow);
        QCOMPARE((QList<int>{searched, foundRow, top}), c.mid(2));
    }

    void cellsAndFeedback()
    {
        const auto source = Showing(SampleWorkspace(), ssLocalEdited);
        QStringList row1, row5;
        for (int c = 0; c <= 6; ++c)
            row1 << source->EvaluateColumn(1, c);
        QCOMPARE(row1, (QStringList{"", "1", "Open", "Öffnen", "Local Edited", "Yes", ""}));
        // Id 5 has no local edit: its text and name come from the local default.
        for (int c = 2; c <= 5; ++c)
            row5 << source->EvaluateColumn(5, c);
        QCOMPARE(row5, (QStringList{"Save\\r\n", "Speichern", "Local Default", "No"}));
        QCOMPARE(source->EvaluateColumn(2, 2), QStringLiteral("Close\\tnow"));
        QVERIFY(services->reporter->errors.isEmpty());
        // Ids outside the string range are reported and show an empty cell.
        QCOMPARE(source->EvaluateColumn(70000, 2), QString());
        QCOMPARE(source->EvaluateColumn(0, 2), QString());
        QCOMPARE((QList<int>{services->reporter->errors[0].number, services->reporter->errors[1].number}),
                 (QList<int>{errOverflow, errSubscriptOutOfRange}));
        QCOMPARE(source->ReportRecordCount(3, 3), QStringLiteral("Id: 5 (Position 3 of 3)"));
        QCOMPARE(source->ReportRecordCount(4, 3), QStringLiteral("Id: 0 (Position 4 of 3)"));
        // The feedback object is not owned: one that goes away is forgotten.
        auto *gone = new QObject;
        source->setFeedback(gone);
        QCOMPARE(source->Feedback(), gone);
        delete gone;
        QCOMPARE(source->Feedback(), nullptr);
    }

    void titleAndTheOrderOfTableVersionLet()
    {
        CDVDataSource source;
        source.setWorkspace(SampleWorkspace());
        QList<int> versions, countsAtSignal;
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
        // A new workspace empties the list until the version is set again.
        source.setWorkspace(SampleWorkspace(500));
        QCOMPARE(source.GetRecordCount(), 0);
        // A negative limit is ignored, one above the workspace's size cut to it.
        source.setLimit(120);
        source.setLimit(-5);
        QCOMPARE(source.Limit(), 120);
        source.setLimit(9000);
        QCOMPARE(source.Limit(), 500);
    }
};

QTEST_MAIN(TestListSource)
#include "tst_listsource.moc"
