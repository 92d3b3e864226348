// Strings into and out of a workspace in every format: which source an import fills, what it
// sets, that a bad file, a file in another language or a failure half-way changes nothing,
// unknown and symbolic ids, round trips, the counts of the editor's searches, and PO and TS
// files as the peers' own tools see them.

#include "states/StringStates.h"
#include "CliRun.h"
#include "IoTestSupport.h"

#include "io/ExchangeRules.h"
#include "io/Po.h"
#include "io/Ts.h"
#include "io/WorkspaceTransfer.h"
#include "io/Xliff.h"
#include "server/TableSet.h"

#include <QLibraryInfo>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::io;
using kvedit::test::DataFile;
using kvedit::test::WriteBytes;

namespace {

server::WorkspacePtr NewWorkspace(const QString &language = QStringLiteral("de-DE"),
                                  const QString &name = QStringLiteral("Sample"))
{
    server::WorkspaceInfo info;
    info.name = name;
    info.targetLanguage = language;
    return server::Workspace::CreateInMemory(info);
}

ImportOptions AsEnglish()
{
    ImportOptions o;
    o.as = ImportAs::EnglishDefault;
    return o;
}

ImportOptions SampleOptions()
{
    ImportOptions o;
    o.rc.includeDirs << DataFile(QStringLiteral("app/include"));
    o.rc.headers << DataFile(QStringLiteral("app/resource.h"));
    return o;
}

// English from the sample script, German from its language file.
server::WorkspacePtr SampleWorkspace()
{
    server::WorkspacePtr ws = NewWorkspace();
    ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
    ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions());
    return ws;
}

// Everything an import can set, per string: both default sources (id/source|text|has text|
// description|revision|properties|shortcut|shortcut mode|status), symbol and parameters.
QStringList Snapshot(server::Workspace &ws)
{
    const std::shared_ptr<server::TableSet> set = ws.Set();
    QStringList out;
    for (int i = 1; i <= set->MaximumCount(); ++i) {
        const StringId id = static_cast<StringId>(i);
        for (const StringSource source : {ssLocalDefault, ssEnglishDefault}) {
            const std::optional<server::Record> r = set->RecordOf(id, source);
            if (!r)
                continue;
            out << QStringList{QString::number(id) + u'/' + QString::number(int(source)), r->text,
                               QString::number(r->hasText), r->description, QString::number(r->revision),
                               QString::number(r->properties), r->shortcutCharacter, QString::number(r->shortcutMode),
                               QString::number(r->status)}
                       .join(u'|');
        }
        if (!set->Symbol(id).isEmpty())
            out << QStringLiteral("%1 symbol=%2").arg(id).arg(set->Symbol(id));
        for (const ParameterDefinition &d : set->Parameters(id))
            out << QString::number(id) + QStringLiteral(" parameter ") + QString::number(d.Id()) + u' ' + d.Description()
                       + u' ' + d.Placeholder();
    }
    return out;
}

// The state of a translation as the searches see it; "current" also for an approved one when the
// approval could not have been kept.
QString StateName(server::TableSet &set, StringId id, bool approvals = true)
{
    if (!set.HasText(id, ssLocalDefault))
        return QStringLiteral("missing");
    if (set.Revision(id, ssLocalDefault) < set.Revision(id, ssEnglishDefault))
        return QStringLiteral("out of date");
    return approvals && set.HasStatus(id, ssLocalDefault, sfApproved) ? QStringLiteral("approved") : QStringLiteral("current");
}

// Every translation with its state.
QStringList States(server::Workspace &ws)
{
    const std::shared_ptr<server::TableSet> set = ws.Set();
    QStringList out;
    for (int i = 1; i <= set->MaximumCount(); ++i) {
        const StringId id = static_cast<StringId>(i);
        if (!set->IdInUse(id, ssEnglishDefault))
            continue;
        const QString text = set->Text(id, ssLocalDefault);
        out << QString::number(id) + u' ' + StateName(*set, id) + (text.isEmpty() ? QString() : u' ' + text);
    }
    return out;
}

// Every string's state and translation, then its records, one line each.
QString Dump(server::Workspace &ws)
{
    QString out;
    for (const QString &line : States(ws) + Snapshot(ws))
        out += test::Visible(line) + u'\n';
    return out;
}

// What PO and TS files carry, per string: id, symbol, English text, description, state (without
// approval) and translation.
QStringList Carried(server::Workspace &ws)
{
    const std::shared_ptr<server::TableSet> set = ws.Set();
    QStringList out;
    for (int i = 1; i <= set->MaximumCount(); ++i) {
        const StringId id = static_cast<StringId>(i);
        if (!set->HasText(id, ssEnglishDefault))
            continue;
        out << QStringList{QString::number(id), ws.Symbol(id), set->Text(id, ssEnglishDefault),
                           set->Entry(id, ssEnglishDefault)->EntryText(), StateName(*set, id, false),
                           set->Text(id, ssLocalDefault)}
                   .join(u'|');
    }
    return out;
}

// By hand: a description, a parameter's description and a shortcut mode for IDS_SAVE_CHANGES.
void DescribeSaveChanges(server::Workspace &ws, int shortcutMode)
{
    const std::shared_ptr<server::TableSet> set = ws.Set();
    const StringEntryPtr e = set->Entry(105, ssEnglishDefault);
    auto parameters = e->ParameterDefinitions();
    parameters->Clear();
    parameters->Add(1, QStringLiteral("the document"));
    set->StoreEntry(e->CreateEdited(105, e->Text(), QStringLiteral("Asked on closing"), false, shortcutMode == 2, false,
                                    QString(), shortcutMode, parameters, false));
    set->Save(ssEnglishDefault, false);
}

QString StateOf(const ImportedString &s)
{
    static const char *const names[] = {"missing", "out of date", "current", "approved"};
    return QLatin1String(names[int(s.state)]);
}

} // namespace

class TestTransfer : public QObject {
    Q_OBJECT

    QTemporaryDir m_config;

private slots:
    // An XLIFF file's offered translations go to the translation memory in the user's settings.
    void initTestCase() { qputenv("XDG_CONFIG_HOME", m_config.path().toUtf8()); }

    // By hand, an approval, descriptions and a shortcut mode the files do not have: imported again,
    // the sample files keep them. A changed English text takes its properties from the text again,
    // and its translation is then out of date. Over unsaved edits, nothing comes in.
    void importsKeepWhatTheFilesDoNotSay()
    {
        server::WorkspacePtr ws = SampleWorkspace();
        const std::shared_ptr<server::TableSet> set = ws->Set();
        const StringEntryPtr german = set->Entry(101, ssLocalDefault);
        set->StoreEntry(german->CreateEdited(101, german->Text(), QString(), false, false, false, QString(), 0, nullptr, true));
        set->Save(ssLocalDefault, false);
        DescribeSaveChanges(*ws, 4);
        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions()).unchanged, 12);
        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions()).unchanged, 5);
        QCOMPARE(set->Entry(105, ssEnglishDefault)->ShortcutMode(), 4);
        ImportOptions o;
        o.rc.includeDirs << DataFile(QStringLiteral("app"));
        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("transfer/changed.rc")), o).changed, 1);
        const QString expected = DataFile(QStringLiteral("transfer/kept.dump"));
        const QByteArray difference = test::DifferenceFromExpected(expected, Dump(*ws));
        QVERIFY2(difference.isEmpty(), difference.constData());

        const StringEntryPtr e = set->Entry(101, ssLocalDefault);
        set->StoreEntry(e->CreateEdited(101, QStringLiteral("Unsaved"), QString(), false, false, false, QString(), 0, nullptr, false));
        QVERIFY_THROWS_EXCEPTION(KvError, ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions()));
        QCOMPARE(set->Text(101, ssLocalDefault), QStringLiteral("Unsaved"));
    }

    void roundTrip_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::newRow("resource script") << "rc";
        QTest::newRow("XLIFF") << "xlf";
    }

    void roundTrip()
    {
        QFETCH(QString, extension);
        // First workspace: from the sample files, XLIFF translations with every state on top.
        server::WorkspacePtr first = SampleWorkspace();
        if (extension == QLatin1String("xlf")) {
            ImportFile(*first, DataFile(QStringLiteral("xliff/foreign.xlf")));
            DescribeSaveChanges(*first, 2);
        }

        // The strings' file holds no translations and is taken as the strings without being told.
        QTemporaryDir dir;
        const QString english = dir.filePath(QStringLiteral("english.") + extension);
        const QString german = dir.filePath(QStringLiteral("german.") + extension);
        ExportFile(*first, english, ExportOptions{ssEnglishDefault, {}});
        QVERIFY(!test::ReadBytes(english).contains("<target"));
        const ExportSummary exported = ExportFile(*first, german, ExportOptions{ssLocalDefault, {}});
        QCOMPARE(exported.languageTag, QStringLiteral("de-DE"));
        server::WorkspacePtr second = NewWorkspace();
        QCOMPARE(ImportFile(*second, english).source, ssEnglishDefault);
        ImportFile(*second, german);
        QCOMPARE(Snapshot(*second), Snapshot(*first));
        QCOMPARE(States(*second), States(*first));

        // Exported again, the files are the same.
        const QString again = dir.filePath(QStringLiteral("again.") + extension);
        ExportFile(*second, again, ExportOptions{ssLocalDefault, {}});
        QCOMPARE(test::ReadBytes(again), test::ReadBytes(german));
    }

    void exportWritesTheTableVersion()
    {
        server::WorkspacePtr demo = server::CreateDemoWorkspace(QString());
        const std::shared_ptr<server::TableSet> set = demo->Set();
        QTemporaryDir dir;
        for (const TableVersion table : {ssLocalEdited, ssLocalDefault, ssEnglishEdited, ssEnglishDefault}) {
            const QString file = dir.filePath(QStringLiteral("t%1.rc").arg(int(table)));
            const ExportSummary s = ExportFile(*demo, file, ExportOptions{table, {}});
            const ResourceStrings r = ReadResourceScript(file);
            QCOMPARE(r.languageTag, table <= ssLocalDefault ? QStringLiteral("de-DE") : QStringLiteral("en-US"));
            QStringList expected, written;
            for (int id = 1; id <= set->MaximumCount(); ++id)
                if (set->HasText(static_cast<StringId>(id), table))
                    expected << QString::number(id) + u' ' + demo->Symbol(static_cast<StringId>(id)) + u' '
                                    + set->Text(static_cast<StringId>(id), table);
            for (const ImportedString &str : r.strings)
                written << QString::number(str.id) + u' ' + str.symbol + u' ' + str.text;
            QCOMPARE(written, expected);
            QCOMPARE(s.strings, written.size());
        }
        // An empty table: a script without a table, and a note saying so.
        const QString empty = dir.filePath(QStringLiteral("empty.rc"));
        const ExportSummary none = ExportFile(*NewWorkspace(), empty, ExportOptions{ssLocalDefault, {}});
        QCOMPARE(none.notes.size(), 1);
        QVERIFY(!test::ReadBytes(empty).contains("\nSTRINGTABLE"));
        QVERIFY_THROWS_EXCEPTION(FileError, ExportFile(*demo, dir.filePath(QStringLiteral("t.txt"))));
        QVERIFY_THROWS_EXCEPTION(KvError, ExportFile(*demo, dir.filePath(QStringLiteral("t.rc")),
                                                     ExportOptions{static_cast<TableVersion>(4), {}}));
    }

    // Imports through the command line, each followed by what it left in the workspace: transcripts
    // under data/transfer/, with "dump WORKSPACE" printing every string's state and records.
    void transcripts_data() { test::AddTranscriptRows(DataFile(QStringLiteral("transfer"))); }

    void transcripts()
    {
        QFETCH(QString, path);
        const auto dump = [](const QString &program, const QStringList &arguments, test::CliRun &run) {
            if (program != QLatin1String("dump"))
                return false;
            run.out = Dump(*server::Workspace::Open(arguments.value(0)));
            return true;
        };
        const QByteArray difference = test::CheckTranscript(path, QStringLiteral(KVEDIT_IO_TEST_DATA), dump);
        QVERIFY2(difference.isEmpty(), difference.constData());
    }

    // A file failing half-way leaves nothing in the workspace's memory either, as the editor holds it.
    void failureHalfWayKeepsNothing()
    {
        server::WorkspacePtr ws = SampleWorkspace();
        const QStringList before = Snapshot(*ws);
        QVERIFY_THROWS_EXCEPTION(FileError, ImportFile(*ws, DataFile(QStringLiteral("transfer/twice.xlf"))));
        QVERIFY(!ws->Set()->Modified());
        QCOMPARE(Snapshot(*ws), before);
    }

    void otherToolsCodesComeBack()
    {
        // Another tool's file: two <file>s reusing unit ids, inline codes of every kind, states with
        // qualifiers; written the way we write, so that it can come back byte for byte.
        const QByteArray original = test::ReadBytes(DataFile(QStringLiteral("xliff/other-tool.xlf")));
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("w.kvw"));
        {
            server::WorkspaceInfo info;
            info.name = QStringLiteral("w");
            info.targetLanguage = QStringLiteral("fr-FR");
            server::WorkspacePtr ws = server::Workspace::Create(path, info);
            const QString file = DataFile(QStringLiteral("xliff/other-tool.xlf"));
            QCOMPARE(ImportFile(*ws, file, AsEnglish()).added, 6);
            QCOMPARE(ImportFile(*ws, file).added, 4);
        }
        // From the file: the codes are kept in the workspace.
        server::WorkspacePtr ws = server::Workspace::Open(path);
        const QString exported = dir.filePath(QStringLiteral("out.xlf"));
        ExportFile(*ws, exported, ExportOptions{ssLocalDefault, {}});
        // Every unit of each <file>, as markup.
        const auto units = [](const QByteArray &data) {
            static const QRegularExpression file(QStringLiteral("<file original=\"([^\"]*)\"(.*?)</file>"),
                                                 QRegularExpression::DotMatchesEverythingOption);
            static const QRegularExpression unit(QStringLiteral("<trans-unit id=\"([^\"]*)\".*?(<source>.*?</source>)\\s*(<target.*?(/>|</target>))"),
                                                 QRegularExpression::DotMatchesEverythingOption);
            QStringList out;
            for (const QRegularExpressionMatch &f : file.globalMatch(QString::fromUtf8(data)))
                for (const QRegularExpressionMatch &u : unit.globalMatch(f.captured(2)))
                    out << f.captured(1) + u' ' + u.captured(1) + u' ' + u.captured(2) + u' ' + u.captured(3);
            return out;
        };
        const QStringList expected = units(original);
        QCOMPARE(expected.size(), 6);
        QCOMPARE(units(test::ReadBytes(exported)), expected);

        // The same units again find their strings: nothing is added.
        const ImportSummary again = ImportFile(*ws, exported);
        QCOMPARE(again.added + again.changed, 0);
    }

    void peersAcceptTheExport_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("options");   // the compiled file follows, then ours
        QTest::addColumn<QString>("taken");         // how the tool counts the translations it takes
        QTest::newRow("PO") << "po" << QStandardPaths::findExecutable(QStringLiteral("msgfmt"))
                            << QStringList{"--check", "--statistics", "-o"} << "%1 translated messages";
        QTest::newRow("TS") << "ts"
                            << QStandardPaths::findExecutable(QStringLiteral("lrelease"),
                                                              {QLibraryInfo::path(QLibraryInfo::BinariesPath),
                                                               QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath)})
                            << QStringList{"-qm"} << "%1 finished";
    }

    void peersAcceptTheExport()
    {
        QFETCH(QString, extension);
        QFETCH(QString, program);
        QFETCH(QStringList, options);
        QFETCH(QString, taken);
        if (program.isEmpty())
            QSKIP("the peer's tool is not installed (scripts/install-deps.sh installs it)");
        QTemporaryDir dir;
        const QString workspace = dir.filePath(QStringLiteral("ws.kvw"));
        const QString file = dir.filePath(QStringLiteral("out.") + extension);
        server::CreateDemoWorkspace(workspace);
        QCOMPARE(test::Cli({QStringLiteral("export"), workspace, file, QStringLiteral("--table"), QStringLiteral("1")}).code, int(cli::exitSuccess));
        StringStates states;
        states.Attach(server::Workspace::Open(workspace)->Tables(), ssLocalDefault, kMaxStringId);

        const test::ProcessResult r = test::RunTool(program, options << dir.filePath(QStringLiteral("compiled")) << file);
        const QString output = r.out + r.err;
        QVERIFY2(r.exitCode == 0 && !output.contains(QLatin1String("warning"), Qt::CaseInsensitive), qPrintable(output));
        // Every current translation is taken as one; the rest are fuzzy or unfinished.
        const QString expected = taken.arg(states.Counts().approved + states.Counts().unapproved);
        QVERIFY2(output.contains(expected), qPrintable(output + expected));
    }

    void catalogRoundTrip_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::newRow("PO") << "po";
        QTest::newRow("TS") << "ts";
    }

    void catalogRoundTrip()
    {
        QFETCH(QString, extension);
        server::WorkspacePtr demo = server::CreateDemoWorkspace(QString());
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("de.") + extension);
        QCOMPARE(ExportFile(*demo, file, ExportOptions{ssLocalDefault, {}}).strings, demo->Set()->RecordCount(ssEnglishDefault));

        // Into the workspace it came from, nothing changes: approval marks stay on unchanged texts.
        const QStringList before = Snapshot(*demo);
        const ImportSummary again = ImportFile(*demo, file);
        QCOMPARE(again.changed, 0);
        QCOMPARE(Snapshot(*demo), before);

        // A new workspace started from it has the same ids, symbols, texts and states.
        server::WorkspacePtr copy = NewWorkspace(demo->Info().targetLanguage, demo->Name());
        QCOMPARE(ImportFile(*copy, file, AsEnglish()).source, ssEnglishDefault);
        QCOMPARE(ImportFile(*copy, file).source, ssLocalDefault);
        QCOMPARE(Carried(*copy), Carried(*demo));

        // Exported again, the file is the same but for the date.
        const QString second = dir.filePath(QStringLiteral("again.") + extension);
        ExportFile(*copy, second, ExportOptions{ssLocalDefault, {}});
        auto undated = [](const QString &path) {
            QByteArrayList lines = test::ReadBytes(path).split('\n');
            lines.removeIf([](const QByteArray &l) { return l.startsWith("\"PO-Revision-Date"); });
            return lines;
        };
        QCOMPARE(undated(second), undated(file));
    }

    void messagesMapToStrings_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QStringList>("strings");

        QTest::newRow("PO in Latin-1")
            << "catalogs/latin1.po" << "de-AT"
            << QStringList{"10 101 IDS_TITLE current Bearbeiter (Editor) Shown in the title bar\non two lines",
                           "15 7  out of date %1 speichern? (Save %1?) -",
                           "20 0 IDS_NEW missing - (&New\n) -", QStringLiteral("25 0  current \u00d6ffnen (Open) -")};
        QTest::newRow("TS")
            << "catalogs/messages.ts" << "de"
            << QStringList{"5 101 IDS_TITLE current Bear<b>eiter (Editor) Shown in the title bar",
                           "7 7  out of date %1 speichern? (Save %1?\a) -", "8 0 IDS_NEW missing - (New\r\n) -",
                           QStringLiteral("10 0  current \u00d6ffnen (Open) -")};
    }

    void messagesMapToStrings()
    {
        QFETCH(QString, file);
        QFETCH(QString, language);
        QFETCH(QStringList, strings);
        const QString path = DataFile(file);
        const ResourceStrings r = path.endsWith(QLatin1String(".po")) ? ReadPo(path) : ReadTs(path);
        QCOMPARE(r.languageTag, language);
        QStringList read;
        for (const ImportedString &s : r.strings)
            read << QStringLiteral("%1 %2 %3 %4 %5 (%6) %7")
                        .arg(s.line).arg(s.id).arg(s.symbol, StateOf(s), s.target.value_or(QStringLiteral("-")), s.sourceText,
                                                   s.description.value_or(QStringLiteral("-")));
        QCOMPARE(read, strings);
        // The obsolete message is left out, and said so.
        QVERIFY(std::any_of(r.notes.cbegin(), r.notes.cend(), [](const Diagnostic &d) { return d.message.startsWith(u'1'); }));
    }

    void sameLanguageTag_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<bool>("same");
        QTest::newRow("region on one side") << "de" << "de-DE" << true;
        QTest::newRow("script before the region") << "zh-Hant-TW" << "zh_TW" << true;
        QTest::newRow("numeric region") << "es-419" << "es-ES" << false;
    }

    void sameLanguageTag()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(bool, same);
        QCOMPARE(SameLanguageTag(a, b), same);
        QCOMPARE(SameLanguageTag(b, a), same);
    }

};

QTEST_GUILESS_MAIN(TestTransfer)
#include "tst_transfer.moc"
