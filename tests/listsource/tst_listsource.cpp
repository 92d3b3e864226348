// The list data source over real in-memory tables: columns and their widths, cell texts, the id
// list and where a searched id lands in the window. What a version shows is compared whole with
// the case files under data/.

#include "listsource/CDVDataSource.h"
#include "server/Workspace.h"

#include "DialogTestSupport.h"
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
server::WorkspacePtr SampleWorkspace(int maximumCount = kMaxStringId)
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

} // namespace

class TestListSource : public QObject {
    Q_OBJECT

    std::unique_ptr<test::TestServices> services;

private slots:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("kvedit.server.debug=false")); }
    void init() { services = std::make_unique<test::TestServices>(); }
    void cleanup() { services.reset(); }

    // What the list shows of the sample in one version: the title (sent before the list is
    // filled), the columns, every row's cells with those of ids outside the string range, the
    // orphans offered back to the set unchanged, and the rows after a refresh that follows the
    // English strings up to the last id.
    void versionShown_data() { test::CaseRows(QStringLiteral(KVEDIT_CASES "/versions")); }
    void versionShown()
    {
        QFETCH(QString, path);
        const test::Case c(path);
        const auto ws = SampleWorkspace();
        const StringTableSetPtr tables = ws->Tables();
        CDVDataSource source;
        source.setWorkspace(ws);
        QStringList shown;
        connect(&source, &CDVDataSource::UpdateTitle, this, [&](int version) {
            shown << QStringLiteral("UpdateTitle(%1) with %2 rows: ").arg(version).arg(source.GetRecordCount())
                         + source.Title();
        });
        const auto version = TableVersion(c.Value("version").toInt());
        source.setTableVersion(version);
        shown << QString::asprintf("columns: %d data + %d support = %d, last %d",
                                   source.CountDataColumns(), source.CountSupportColumns(),
                                   source.CountTotalColumns(), source.LastColumn());
        for (int column = -1; column <= 6; ++column)
            shown << QStringLiteral("column %1: \"%2\" aligned %3")
                         .arg(QString::number(column), source.ColumnHeading(column))
                         .arg(source.ColumnAlignment(column));
        const int rows = source.GetRecordCount();
        shown << QStringLiteral("%1 rows, or \"%2\"").arg(rows).arg(source.NoDataMessage());
        for (int row = 1; row <= rows; ++row) {
            QStringList cells;
            for (int column = 0; column <= 6; ++column)
                cells << test::Visible(source.EvaluateColumn(source.RecordNumberToId(row), column));
            shown << source.ReportRecordCount(row, rows) + ": " + cells.join(u'|');
        }
        shown << "past the end: " + source.ReportRecordCount(rows + 1, rows);
        for (qint32 id : {0, 70000})
            shown << QStringLiteral("id %1: \"%2\"").arg(id).arg(source.EvaluateColumn(id, 2));
        for (const test::ReportedError &error : services->reporter->errors)
            shown << QStringLiteral("error %1 in %2").arg(error.number).arg(error.source);
        for (StringId orphan : {3, 7})
            if (version <= ssEnglishDefault)   // beyond the sources nothing is stored
                shown << QStringLiteral("orphan %1: \"%2\"").arg(orphan).arg(tables->Text(orphan, version));
        shown << QStringLiteral("workspace modified: %1").arg(tables->Modified());
        Put(tables, kMaxStringId, ssEnglishDefault, QStringLiteral("Last"));
        tables->RemoveEntry(2, ssEnglishDefault);
        source.RefreshStringList();
        QStringList ids;
        for (int row = 1; row <= source.GetRecordCount(); ++row)
            ids << QString::number(source.RecordNumberToId(row));
        shown << "after a refresh: \"" + ids.join(u' ') + '"';
        shown << QStringLiteral("capacity %1").arg(source.StringList().Capacity());
        source.setWorkspace(SampleWorkspace());   // empties the list until the version is set again
        shown << QStringLiteral("rows in a new workspace: %1").arg(source.GetRecordCount());
        c.Compare(shown);
    }

    // Widths from texts in the form's font; everything but a reserve of 100 twips is handed out,
    // and widening the form widens only the text columns.
    void widthsFollowTheFont_data()
    {
        QTest::addColumn<int>("version");
        QTest::newRow("local edited") << 0;
        QTest::newRow("local default") << 1;
        QTest::newRow("English default") << 3;
    }
    void widthsFollowTheFont()
    {
        QFETCH(int, version);
        CDVDataSource source;
        source.setWorkspace(SampleWorkspace(100));
        source.setTableVersion(TableVersion(version));
        QWidget form;
        QFont font = form.font();
        font.setPointSize(11);
        form.setFont(font);
        const QFontMetrics fm(font);
        const int data = source.CountDataColumns();
        const bool translating = data == 2;
        source.CalculateColumnSizes(&form, 900);
        QList<double> before;
        for (int c = 0; c <= 6; ++c)
            before << source.ColumnWidth(c);
        const auto advance = [&](const char *text, bool on) { return on ? fm.horizontalAdvance(text) : 0.0; };
        QCOMPARE(before, (QList<double>{advance("XXX", true), advance("8888888", true), before[2],
                                        translating ? before[2] : 0, advance("WEnglish Default", translating),
                                        advance("WValid?", translating), 0}));
        QCOMPARE(std::accumulate(before.begin(), before.end(), 0.0) + TwipsToPixelsX(100), 900.0);
        source.CalculateColumnSizes(&form, 1500);
        for (int c = 0; c < 6; ++c) {
            const bool textColumn = c == 2 || (c == 3 && translating);
            QCOMPARE(source.ColumnWidth(c), before[c] + (textColumn ? 600 / data : 0));
        }
        // The text height of the headings on one line, without a margin of the source's own.
        QCOMPARE(source.RowHeight(), double(fm.height()));
    }

    void withoutAWorkspaceFormOrColumns()
    {
        QWidget form;
        CDVDataSource source;
        source.setTableVersion(ssLocalEdited);
        QCOMPARE(source.GetRecordCount(), 0);
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
        // The feedback object is not owned: one that goes away is forgotten.
        auto *gone = new QObject;
        source.setFeedback(gone);
        QCOMPARE(source.Feedback(), gone);
        delete gone;
        QCOMPARE(source.Feedback(), nullptr);
        // A negative limit is ignored, one above the workspace's size cut to it.
        source.setWorkspace(SampleWorkspace(500));
        source.setLimit(120);
        source.setLimit(-5);
        QCOMPARE(source.Limit(), 120);
        source.setLimit(9000);
        QCOMPARE(source.Limit(), 500);
    }

    // Each text shown with its control characters escaped or removed, the length fixed first.
    void renderForDisplay()
    {
        const test::Case c(QStringLiteral(KVEDIT_CASES "/render.txt"));
        QStringList shown;
        for (const QString &text : c.Values(QStringLiteral("text")))
            shown << test::Visible(text) + " -> " + test::Visible(CDVDataSource::RenderForDisplay(text));
        c.Compare(shown);
    }

    // Where a searched id lands in the window, over rows holding the ids 2, 4, 6, ...
    void updateBufferPlacesTheFoundRow()
    {
        const test::Case c(QStringLiteral(KVEDIT_CASES "/search.txt"));
        CDVDataSource source;
        for (int n = 1; n <= 500; ++n)
            source.StringList().Add(2 * n);
        QStringList shown;
        for (const QString &given : c.Values(QStringLiteral("search"))) {
            const QStringList v = given.split(u' ');
            qint32 first = v[0].toInt(), searched = v[2].toInt(), found = -7;
            source.UpdateBuffer(false, first, v[1].toInt(), 0, v[3] == QLatin1String("yes"), searched, found);
            shown << given + QString::asprintf(": id %d in row %d, first row %d", searched, found, first);
        }
        c.Compare(shown);
    }
};

QTEST_MAIN(TestListSource)
#include "tst_listsource.moc"
