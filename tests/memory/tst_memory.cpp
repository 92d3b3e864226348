// The translation memory: how matches rank, what an inserted match becomes, the index following
// saves and other workspaces' files, and pre-translation from the command line.

#include "memory/TranslationMemory.h"
#include "memorysetup/MemorySetup.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include "CliRun.h"
#include "RecordTestSupport.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::memory;
using kvedit::test::Cli;
using kvedit::test::Full;

namespace {

struct Pair {
    StringId id;
    QString english;
    QString translation;   // empty: missing
    bool approved = true;
};

// A workspace file holding the pairs as saved state.
server::WorkspacePtr MakeWorkspace(const QString &path, const QList<Pair> &pairs)
{
    const server::WorkspacePtr ws = server::Workspace::Create(path, {QStringLiteral("Test"), QStringLiteral("de-DE"), 100});
    for (const Pair &p : pairs) {
        ws->Set()->PutRecord(p.id, ssEnglishDefault, Full(p.english, 1, 0));
        if (!p.translation.isEmpty())
            ws->Set()->PutRecord(p.id, ssLocalEdited, Full(p.translation, 1, p.approved ? sfApproved : 0));
    }
    ws->Tables()->Save(ssLocalEdited, false);
    return ws;
}

void StoreTranslation(const StringTableSetPtr &tables, StringId id, const QString &text)
{
    const StringEntryPtr e = tables->Entry(id, ssLocalEdited);
    tables->StoreEntry(e->CreateEdited(id, text, {}, false, false, false, {}, 0, e->ParameterDefinitions(), true));
    tables->Save(ssLocalEdited, false);
}

// "100 Datei öffnen"; a fuzzy match as "~ text"; a match from another workspace with its file name
// after it: "100 Drucken (other.kvw)".
QStringList Shown(const QList<Suggestion> &found)
{
    QStringList out;
    for (const Suggestion &s : found) {
        out << (s.percent < kExactButPunctuation ? QStringLiteral("~") : QString::number(s.percent)) + u' ' + s.translation;
        if (s.origin != QLatin1String("this workspace"))
            out.last() += QStringLiteral(" (%1)").arg(s.origin);
    }
    return out;
}

} // namespace

class TestMemory : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    int m_serial = 0;
    QString NewFile(const QString &suffix) { return m_dir.filePath(QStringLiteral("f%1%2").arg(++m_serial).arg(suffix)); }

    // A memory on a fresh index over one workspace of the pairs.
    std::unique_ptr<TranslationMemory> MemoryOf(const QList<Pair> &pairs, server::WorkspacePtr *keep = nullptr)
    {
        const QString path = NewFile(QStringLiteral(".kvw"));
        const server::WorkspacePtr ws = MakeWorkspace(path, pairs);
        auto memory = std::make_unique<TranslationMemory>(NewFile(QStringLiteral(".sqlite")));
        memory->SetWorkspace(ws->Tables(), path, 100);
        if (keep)
            *keep = ws;
        return memory;
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("KVEDIT_MEMORY_INDEX", QFile::encodeName(m_dir.filePath(QStringLiteral("cli-memory.sqlite"))));
    }

    void ranking_data()
    {
        test::AddCaseRows(QFINDTESTDATA("data/ranking.txt"), {"query", "exclude", "expected"});
    }
    void ranking()
    {
        QFETCH(QString, query);
        QFETCH(QString, exclude);
        QFETCH(QString, expected);
        const auto memory = MemoryOf({{1, "Open file", "Datei öffnen"},
                                      {2, "OPEN FILE", "DATEI ÖFFNEN"},
                                      {3, "Open &File", "Datei ö&ffnen"},
                                      {4, "Open file.", "Datei öffnen."},
                                      {5, "Open the selected file", "Die ausgewählte Datei öffnen"},
                                      {6, "Close window", "Fenster schließen"}});
        QCOMPARE(Shown(memory->Lookup(query, static_cast<StringId>(exclude.toInt()))).join("; "), expected);
    }

    void insertText_data()
    {
        test::AddCaseRows(QFINDTESTDATA("data/insert.txt"),
                          {"translation", "matchEnglish", "approved", "query", "expected"});
    }
    void insertText()
    {
        QFETCH(QString, translation);
        QFETCH(QString, matchEnglish);
        QFETCH(QString, approved);
        QFETCH(QString, query);
        QFETCH(QString, expected);
        const auto memory = MemoryOf({{1, matchEnglish, translation, approved == "yes"}});
        QCOMPARE(memory->Lookup(query).value(0).insertText, expected);
    }

    void refreshAfterSave()
    {
        server::WorkspacePtr ws;
        const auto memory = MemoryOf({{1, "Close", ""}, {2, "Open", "Öffnen"}}, &ws);
        QCOMPARE(Shown(memory->Lookup(QStringLiteral("Close"))), QStringList{});
        // A changed translation replaces the old one, in the full-text index too.
        for (const QString text : {"Schließen", "Zumachen"}) {
            StoreTranslation(ws->Tables(), 1, text);
            memory->Refresh({1});
            QCOMPARE(Shown(memory->Lookup("Close")) + Shown(memory->Lookup("Close it now")),
                     (QStringList{"100 " + text, "~ " + text}));
        }

        // The same workspace as another one's memory: indexed once, again after its file changed.
        const QString other = NewFile(QStringLiteral(".kvw"));
        const server::WorkspacePtr otherWs = MakeWorkspace(other, {{1, "Close", ""}});
        TranslationMemory second(memory->IndexFile());
        second.SetWorkspace(otherWs->Tables(), other, 100);
        const QString first = ws->FilePath();
        QVERIFY(!second.IsCurrent(first));
        second.AddWorkspace(first, ws->Tables(), 100);
        QVERIFY(second.IsCurrent(first));
        QCOMPARE(Shown(second.Lookup("Close", 1)), QStringList{"100 Zumachen (" + QFileInfo(first).fileName() + u')'});
        StoreTranslation(ws->Tables(), 2, QStringLiteral("Aufmachen"));
        QVERIFY(!second.IsCurrent(first));
    }

    void pretranslate_data()
    {
        test::AddCaseRows(QFINDTESTDATA("data/pretranslate.txt"), {"options", "listed", "code", "filled", "message"});
    }
    void pretranslate()
    {
        QFETCH(QString, options);
        QFETCH(QString, listed);
        QFETCH(QString, code);
        QFETCH(QString, filled);
        QFETCH(QString, message);
        const QString path = NewFile(QStringLiteral(".kvw"));
        MakeWorkspace(path, {{1, "Open", "Öffnen"}, {2, "Open", ""}, {3, "&Open…", ""}, {4, "Print", ""}});
        const QString other = m_dir.filePath(QStringLiteral("other.kvw"));
        if (!QFileInfo::exists(other))
            MakeWorkspace(other, {{9, "Print", "Drucken"}});
        QSettings settings(app::SettingsFile(), QSettings::IniFormat);
        const QStringList listedFiles = listed.replace("OTHER", other).split(u' ', Qt::SkipEmptyParts);
        settings.setValue(QStringLiteral("memory/workspaces"), listedFiles);
        settings.sync();

        const QStringList arguments = options.replace("OTHER", other).split(u' ', Qt::SkipEmptyParts);
        const test::CliRun r = Cli(QStringList{"pretranslate", path} + arguments);
        QVERIFY2(r.code == code.toInt() && (r.out + r.err).contains(message), r.Describe());

        const server::WorkspacePtr ws = server::Workspace::Open(path);
        QStringList found;
        for (StringId id = 2; id <= 4; ++id) {
            if (!ws->Tables()->HasText(id, ssLocalEdited))
                continue;
            found << QStringLiteral("%1:%2").arg(id).arg(ws->Tables()->Text(id, ssLocalEdited));
            QVERIFY(!ws->Tables()->HasStatus(id, ssLocalEdited, sfApproved));
        }
        QCOMPARE(found.join(u' '), filled);
    }

    // Indexing in steps ends with the index a whole pass gives, ids above the workspace's highest
    // left out; a lookup before the last step finishes it.
    void warmInSteps()
    {
        server::WorkspacePtr ws;
        auto memory = MemoryOf({{1, "Open", "Öffnen"}, {2, "Open", ""}, {50, "Print", "Drucken"}}, &ws);
        QVERIFY(!memory->WarmStep(40));
        QCOMPARE(Shown(memory->Lookup(QStringLiteral("Print"))), QStringList{"100 Drucken"});   // finished by the lookup
        QVERIFY(memory->WarmStep(40));
        memory->SetWorkspace(ws->Tables(), ws->FilePath(), 10);
        int steps = 0;
        while (!memory->WarmStep(4))
            ++steps;
        QCOMPARE(steps, 2);   // ids 1-4, 5-8, then 9-10 and the end
        QCOMPARE(memory->Lookup(QStringLiteral("Print")).size(), 0);
        QCOMPARE(Shown(memory->Lookup(QStringLiteral("Open"))), QStringList{"100 Öffnen"});
    }

    // An XLIFF file's <alt-trans> offers: kept as suggestions for the workspace (the best of a
    // unit's offers), never as its translations, and found by pre-translation.
    void offeredTranslations()
    {
        const QString path = NewFile(QStringLiteral(".kvw"));
        MakeWorkspace(path, {{1, "Open", "Öffnen"}, {2, "Print", ""}, {3, "Save all", ""}});
        test::CliRun r = Cli({"import", path, QFINDTESTDATA("data/offers.xlf")});
        QVERIFY2(r.code == 0 && r.out.contains("offers for 2 strings"), r.Describe());
        QVERIFY(!server::Workspace::Open(path)->Tables()->HasText(2, ssLocalEdited));
        r = Cli({"pretranslate", path, "--min", "60"});
        QVERIFY2(r.code == 0 && r.out.contains("2\t100 %\tDrucken\t(offered in an XLIFF file)")
                     && r.out.contains("3\t80 %\tAlle Dateien speichern"),
                 r.Describe());
    }
};

QTEST_GUILESS_MAIN(TestMemory)
#include "tst_memory.moc"
