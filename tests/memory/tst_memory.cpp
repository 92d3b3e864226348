// The translation memory: how matches rank, what an inserted match becomes, the index following
// saves and other workspaces' files, and pre-translation from the command line.

#include "cli/CommandLine.h"
#include "memory/TranslationMemory.h"
#include "memorysetup/MemorySetup.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::memory;

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
        server::Record english;
        english.text = p.english;
        english.hasText = true;
        english.revision = 1;
        ws->Set()->PutRecord(p.id, ssEnglishDefault, english);
        if (p.translation.isEmpty())
            continue;
        server::Record local = english;
        local.text = p.translation;
        local.status = p.approved ? sfApproved : 0;
        ws->Set()->PutRecord(p.id, ssLocalEdited, local);
    }
    ws->Tables()->Save(ssLocalEdited, false);
    return ws;
}

void StoreTranslation(const StringTableSetPtr &tables, StringId id, const QString &text)
{
    const StringEntryPtr e = tables->Entry(id, ssLocalEdited);
    tables->StoreEntry(e->CreateEdited(id, text, e->EntryText(), e->Property(tpMultipleLines), e->Property(tpAllowTab),
                                       e->Property(tpAllowShortcut), e->ShortcutCharacter(), e->ShortcutMode(),
                                       e->ParameterDefinitions(), true));
    tables->Save(ssLocalEdited, false);
}

// "100 Datei öffnen"; a fuzzy match as "~ text".
QStringList Shown(const QList<Suggestion> &found)
{
    QStringList out;
    for (const Suggestion &s : found)
        out << (s.percent < kExactButPunctuation ? QStringLiteral("~") : QString::number(s.percent)) + u' ' + s.translation;
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
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("exclude");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("exact, then case, marker, punctuation, fuzzy")
            << "Open file" << 0
            << QStringList{"100 Datei öffnen", "99 DATEI ÖFFNEN", "98 Datei ö&ffnen", "97 Datei öffnen.",
                           "~ Die ausgewählte Datei öffnen"};
        QTest::newRow("case beats marker") << "OPEN file" << 0
                                           << QStringList{"99 Datei öffnen", "99 DATEI ÖFFNEN", "98 Datei ö&ffnen",
                                                          "97 Datei öffnen.", "~ Die ausgewählte Datei öffnen"};
        QTest::newRow("fuzzy only") << "Open the selected files" << 0
                                    << QStringList{"~ Die ausgewählte Datei öffnen"};
        QTest::newRow("nothing alike") << "Print preview" << 0 << QStringList{};
        QTest::newRow("the string itself left out") << "Close window" << 6 << QStringList{};
    }
    void ranking()
    {
        QFETCH(QString, query);
        QFETCH(int, exclude);
        QFETCH(QStringList, expected);
        const auto memory = MemoryOf({{1, "Open file", "Datei öffnen"},
                                      {2, "OPEN FILE", "DATEI ÖFFNEN"},
                                      {3, "Open &File", "Datei ö&ffnen"},
                                      {4, "Open file.", "Datei öffnen."},
                                      {5, "Open the selected file", "Die ausgewählte Datei öffnen"},
                                      {6, "Close window", "Fenster schließen"}});
        const QList<Suggestion> found = memory->Lookup(query, static_cast<StringId>(exclude));
        QCOMPARE(Shown(found), expected);
        for (const Suggestion &s : found)
            QCOMPARE(s.origin, QStringLiteral("this workspace"));
    }

    void adapt_data()
    {
        QTest::addColumn<QString>("translation");
        QTest::addColumn<QString>("matchEnglish");
        QTest::addColumn<QString>("currentEnglish");
        QTest::addColumn<QString>("expected");
        QTest::newRow("placeholders swapped") << "%1 nach %2 kopieren" << "Copy %1 to %2" << "Copy %2 to %1"
                                              << "%2 nach %1 kopieren";
        QTest::newRow("placeholders renumbered") << "Datei %1 fehlt" << "File %1 missing" << "File %3 missing"
                                                 << "Datei %3 fehlt";
        QTest::newRow("marker on the same letter") << "Speichern" << "Save" << "&Save" << "&Speichern";
        QTest::newRow("marker on the first letter") << "Öffnen" << "Open" << "&Open" << "&Öffnen";
        QTest::newRow("marker dropped, ampersand kept") << "&Ziehen && Ablegen" << "&Drag && Drop" << "Drag && Drop"
                                                        << "Ziehen && Ablegen";
        QTest::newRow("ellipsis added") << "Öffnen" << "Open" << "Open…" << "Öffnen…";
        QTest::newRow("colon dropped") << "Name:" << "Name:" << "Name" << "Name";
        QTest::newRow("other ending left") << "Name (Pflicht)" << "Name:" << "Name" << "Name (Pflicht)";
    }
    void adapt()
    {
        QFETCH(QString, translation);
        QFETCH(QString, matchEnglish);
        QFETCH(QString, currentEnglish);
        QFETCH(QString, expected);
        QCOMPARE(Adapt(translation, matchEnglish, currentEnglish), expected);
    }

    void insertText_data()
    {
        QTest::addColumn<bool>("approved");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("expected");
        QTest::newRow("approved, placeholders") << true << "Copy %2 to %1" << "%2 nach %1 kopieren";
        QTest::newRow("approved, marker and ellipsis") << true << "&Copy %1 to %2…" << "%1 na&ch %2 kopieren…";
        QTest::newRow("unapproved stays") << false << "Copy %2 to %1" << "%1 nach %2 kopieren";
        QTest::newRow("fuzzy stays") << true << "Copy %1 to %2 now" << "%1 nach %2 kopieren";
    }
    void insertText()
    {
        QFETCH(bool, approved);
        QFETCH(QString, query);
        QFETCH(QString, expected);
        const auto memory = MemoryOf({{1, "Copy %1 to %2", "%1 nach %2 kopieren", approved}});
        const QList<Suggestion> found = memory->Lookup(query);
        QVERIFY(!found.isEmpty());
        QCOMPARE(found.first().insertText, expected);
    }

    void refreshAfterSave()
    {
        server::WorkspacePtr ws;
        const auto memory = MemoryOf({{1, "Close", ""}, {2, "Open", "Öffnen"}}, &ws);
        QCOMPARE(Shown(memory->Lookup(QStringLiteral("Close"))), QStringList{});
        StoreTranslation(ws->Tables(), 1, QStringLiteral("Schließen"));
        memory->Refresh({1});
        QCOMPARE(Shown(memory->Lookup(QStringLiteral("Close"))), QStringList{"100 Schließen"});
        // A changed translation replaces the old one, in the full-text index too.
        StoreTranslation(ws->Tables(), 1, QStringLiteral("Zumachen"));
        memory->Refresh({1});
        QCOMPARE(Shown(memory->Lookup(QStringLiteral("Close"))), QStringList{"100 Zumachen"});
        QCOMPARE(Shown(memory->Lookup(QStringLiteral("Close it now"))), QStringList{"~ Zumachen"});

        // The same workspace as another one's memory: indexed once, again after its file changed.
        const QString other = NewFile(QStringLiteral(".kvw"));
        const server::WorkspacePtr otherWs = MakeWorkspace(other, {{1, "Close", ""}});
        TranslationMemory second(memory->IndexFile());
        second.SetWorkspace(otherWs->Tables(), other, 100);
        const QString first = ws->FilePath();
        QVERIFY(!second.IsCurrent(first));
        second.AddWorkspace(first, ws->Tables(), 100);
        QVERIFY(second.IsCurrent(first));
        const QList<Suggestion> found = second.Lookup(QStringLiteral("Close"), 1);
        QCOMPARE(Shown(found), QStringList{"100 Zumachen"});
        QCOMPARE(found.first().origin, QFileInfo(first).fileName());
        StoreTranslation(ws->Tables(), 2, QStringLiteral("Aufmachen"));
        QVERIFY(!second.IsCurrent(first));
    }

    void pretranslate_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QStringList>("listed");   // in the user's settings
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("filled");   // "id:text ..." after the run
        QTest::addColumn<QString>("message");
        const QStringList none;
        QTest::newRow("exact only") << QStringList{} << none << 0 << "2:Öffnen" << "Pre-translated 1 string";
        QTest::newRow("down to 97, adapted") << QStringList{"--min", "97"} << none << 0 << "2:Öffnen 3:&Öffnen…"
                                             << "3\t97 %\t&Öffnen…";
        QTest::newRow("from another workspace") << QStringList{"--memory", "OTHER"} << none << 0 << "2:Öffnen 4:Drucken"
                                                << "4\t100 %\tDrucken\t(other.kvw)";
        QTest::newRow("from the settings list") << QStringList{} << QStringList{"OTHER"} << 0 << "2:Öffnen 4:Drucken"
                                                << "(other.kvw)";
        QTest::newRow("a listed file gone") << QStringList{} << QStringList{"gone.kvw"} << 0 << "2:Öffnen"
                                            << "gone.kvw does not exist (left out)";
        QTest::newRow("missing memory file") << QStringList{"--memory", "nowhere.kvw"} << none << 1 << "" << "nowhere.kvw";
        QTest::newRow("English table") << QStringList{"--table", "2"} << none << 2 << "" << "--table takes 0 or 1";
        QTest::newRow("minimum too low") << QStringList{"--min", "10"} << none << 2 << "" << "--min takes 50 to 100";
    }
    void pretranslate()
    {
        QFETCH(QStringList, options);
        QFETCH(QStringList, listed);
        QFETCH(int, code);
        QFETCH(QString, filled);
        QFETCH(QString, message);
        const QString path = NewFile(QStringLiteral(".kvw"));
        MakeWorkspace(path, {{1, "Open", "Öffnen"}, {2, "Open", ""}, {3, "&Open…", ""}, {4, "Print", ""}});
        const QString other = m_dir.filePath(QStringLiteral("other.kvw"));
        if (!QFileInfo::exists(other))
            MakeWorkspace(other, {{9, "Print", "Drucken"}});
        options.replaceInStrings(QStringLiteral("OTHER"), other);
        QSettings settings(app::SettingsFile(), QSettings::IniFormat);
        settings.setValue(QStringLiteral("memory/workspaces"), listed.replaceInStrings(QStringLiteral("OTHER"), other));
        settings.sync();

        QString out, err;
        QTextStream outStream(&out), errStream(&err);
        const int exit = cli::RunCommandLine(QStringList{"kvedit", "pretranslate", path} + options, outStream, errStream);
        outStream.flush();
        errStream.flush();
        QVERIFY2(exit == code, qPrintable(out + err));
        QVERIFY2((out + err).contains(message), qPrintable(out + err));

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
        memory->SetWorkspace(ws->Tables(), m_dir.filePath(QStringLiteral("f%1.kvw").arg(m_serial - 1)), 10);
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
        const QString xliff = NewFile(QStringLiteral(".xlf"));
        QFile file(xliff);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"(<?xml version="1.0" encoding="UTF-8"?>
<xliff xmlns="urn:oasis:names:tc:xliff:document:1.2" version="1.2">
 <file original="app" source-language="en" target-language="de-DE" datatype="plaintext"><body>
  <trans-unit id="2"><source>Print</source><target state="new"/>
   <alt-trans origin="mt" match-quality="70"><target>Drucke</target></alt-trans>
   <alt-trans origin="tm" match-quality="95%"><source>Print</source><target>Drucken</target></alt-trans>
  </trans-unit>
  <trans-unit id="3"><source>Save all</source>
   <alt-trans><source>Save all files</source><target>Alle Dateien speichern</target></alt-trans>
  </trans-unit>
 </body></file>
</xliff>
)");
        file.close();
        const auto run = [](const QStringList &arguments, QString &output) {
            QTextStream stream(&output);
            const int code = cli::RunCommandLine(QStringList{"kvedit"} + arguments, stream, stream);
            stream.flush();
            return code;
        };
        QString output;
        QVERIFY2(run({"import", path, xliff}, output) == 0, qPrintable(output));
        QVERIFY2(output.contains(QLatin1String("offers for 2 strings")), qPrintable(output));
        QVERIFY(!server::Workspace::Open(path)->Tables()->HasText(2, ssLocalEdited));
        output.clear();
        QVERIFY2(run({"pretranslate", path, "--min", "60"}, output) == 0, qPrintable(output));
        QVERIFY2(output.contains(QLatin1String("2\t100 %\tDrucken\t(offered in an XLIFF file)")), qPrintable(output));
        QVERIFY2(output.contains(QLatin1String("3\t80 %\tAlle Dateien speichern")), qPrintable(output));
    }
};

QTEST_GUILESS_MAIN(TestMemory)
#include "tst_memory.moc"
