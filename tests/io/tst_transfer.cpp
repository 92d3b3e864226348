// Strings into and out of a workspace: which source an import fills, what it sets, that a bad
// file or a failure half-way changes nothing, unknown ids, symbolic ids, round trips through
// both formats, and the counts of the editor's searches.

#include "IoTestSupport.h"

#include "io/WorkspaceTransfer.h"
#include "io/Xliff.h"
#include "server/TableSet.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::io;
using kvedit::test::DataFile;
using kvedit::test::WriteBytes;

namespace {

server::WorkspacePtr NewWorkspace(const QString &language = QStringLiteral("de-DE"))
{
    server::WorkspaceInfo info;
    info.name = QStringLiteral("Sample");
    info.targetLanguage = language;
    return server::Workspace::CreateInMemory(info);
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

// Everything an import can set, per string: both default sources, symbol and parameters.
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

// The state of every translation as the searches see it.
QStringList States(server::Workspace &ws, TableVersion version)
{
    const std::shared_ptr<server::TableSet> set = ws.Set();
    QStringList out;
    for (int i = 1; i <= set->MaximumCount(); ++i) {
        const StringId id = static_cast<StringId>(i);
        if (!set->IdInUse(id, ssEnglishDefault))
            continue;
        QString state = QStringLiteral("approved");
        if (!set->HasText(id, version))
            state = QStringLiteral("missing");
        else if (set->Revision(id, version) < set->Revision(id, ssEnglishDefault))
            state = QStringLiteral("out of date");
        else if (!set->HasStatus(id, version, sfApproved))
            state = QStringLiteral("unapproved");
        out << QString::number(id) + u' ' + state + u' ' + set->Text(id, version);
    }
    return out;
}

QList<int> ParameterIds(server::Workspace &ws, StringId id)
{
    QList<int> ids;
    for (const ParameterDefinition &d : ws.Set()->Parameters(id))
        ids << d.Id();
    return ids;
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

QString Summary(const ImportSummary &s)
{
    return QStringLiteral("%1 %2: %3 added, %4 changed, %5 unchanged, %6 skipped")
        .arg(int(s.source)).arg(s.languageTag).arg(s.added).arg(s.changed).arg(s.unchanged).arg(s.skipped);
}

} // namespace

class TestTransfer : public QObject {
    Q_OBJECT

private slots:
    void formatFromExtension()
    {
        QStringList formats;
        for (const char *file : {"a/b.rc", "B.RC", "b.rc2", "b.xlf", "b.de.xliff", "b.txt", "rc"}) {
            const std::optional<FileFormat> f = FormatOfFile(QLatin1String(file));
            formats << (f ? QString::number(int(*f)) : QStringLiteral("-"));
        }
        QCOMPARE(formats.join(u' '), QStringLiteral("%1 %1 %1 %2 %2 - -").arg(int(FileFormat::ResourceScript)).arg(int(FileFormat::Xliff)));
    }

    // The sample script fills the English default, its language file the local default: current
    // against the English text, not yet approved, the English untouched; symbols as in the script.
    void sampleScriptsFillTheirSources()
    {
        server::WorkspacePtr ws = NewWorkspace();
        const ImportSummary en = ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
        QCOMPARE(Summary(en), QStringLiteral("3 en-US: 12 added, 0 changed, 0 unchanged, 0 skipped"));
        QVERIFY(!ws->Set()->Modified());
        QCOMPARE(ws->Symbol(101) + '|' + ws->Symbol(110), QStringLiteral("IDS_APP_TITLE|"));
        QCOMPARE(ParameterIds(*ws, 106), (QList<int>{1, 2, 3}));
        const ImportSummary de = ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions());
        QCOMPARE(Summary(de), QStringLiteral("1 de-DE: 5 added, 0 changed, 0 unchanged, 0 skipped"));
        QCOMPARE(ws->Set()->Entry(102, ssLocalDefault)->ShortcutCharacter(), QStringLiteral("F"));
        QCOMPARE(States(*ws, ssLocalDefault).at(1), QStringLiteral("102 unapproved Datei \u00f6&ffnen"));
        QCOMPARE(ws->Set()->Text(102, ssEnglishDefault), QStringLiteral("&Open file"));
    }

    void reimportKeepsWhatTheFileDoesNotSay()
    {
        server::WorkspacePtr ws = SampleWorkspace();
        const std::shared_ptr<server::TableSet> set = ws->Set();
        const StringEntryPtr german = set->Entry(101, ssLocalDefault);
        set->StoreEntry(german->CreateEdited(101, german->Text(), QString(), false, false, false, QString(), 0, nullptr, true));
        set->Save(ssLocalDefault, false);
        DescribeSaveChanges(*ws, 4);

        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions()).unchanged, 12);
        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions()).unchanged, 5);
        QCOMPARE(set->Entry(105, ssEnglishDefault)->EntryText(), QStringLiteral("Asked on closing"));
        QCOMPARE(set->Entry(105, ssEnglishDefault)->ShortcutMode(), 4);
        QCOMPARE(set->Parameters(105).first().Description(), QStringLiteral("the document"));
        QVERIFY(set->HasStatus(101, ssLocalDefault, sfApproved));

        // A changed English text takes its properties from the text again, and its translation is
        // then out of date.
        QTemporaryDir dir;
        const QString changed = WriteBytes(dir, QStringLiteral("changed.rc"),
                                           "#include \"resource.h\"\nSTRINGTABLE BEGIN IDS_SAVE_CHANGES \"&Save %1 and %2?\" END\n");
        ImportOptions o;
        o.rc.includeDirs << DataFile(QStringLiteral("app"));
        QCOMPARE(ImportFile(*ws, changed, o).changed, 1);
        QCOMPARE(set->Entry(105, ssEnglishDefault)->ShortcutMode(), 1);
        QCOMPARE(set->Entry(105, ssEnglishDefault)->ShortcutCharacter(), QStringLiteral("S"));
        QCOMPARE(ParameterIds(*ws, 105), (QList<int>{1, 2}));
        QCOMPARE(set->Parameters(105).first().Description(), QStringLiteral("the document"));
        QCOMPARE(States(*ws, ssLocalDefault).at(4), QStringLiteral("105 out of date \u00c4nderungen an %1 speichern?"));
    }

    void symbolMovesToItsNewId()
    {
        server::WorkspacePtr ws = NewWorkspace();
        QTemporaryDir dir;
        ImportFile(*ws, WriteBytes(dir, QStringLiteral("a.rc"), "#define IDS_X 5\nSTRINGTABLE BEGIN IDS_X \"a\" END\n"));
        const ImportSummary s =
            ImportFile(*ws, WriteBytes(dir, QStringLiteral("b.rc"), "#define IDS_X 6\nSTRINGTABLE BEGIN IDS_X \"b\" END\n"));
        QCOMPARE(ws->Symbol(5), QString());
        QCOMPARE(ws->Symbol(6), QStringLiteral("IDS_X"));
        QCOMPARE(ws->Set()->Text(5, ssEnglishDefault), QStringLiteral("a"));
        QStringList moves;
        for (const Diagnostic &d : s.notes)
            if (d.message.contains(QLatin1String("moves")))
                moves << QString::number(d.line) + u' ' + d.message;
        QCOMPARE(moves, QStringList{"2 IDS_X moves from id 5 to id 6"});
    }

    void workspaceWithEditsIsRefused()
    {
        server::WorkspacePtr ws = SampleWorkspace();
        const std::shared_ptr<server::TableSet> set = ws->Set();
        const StringEntryPtr e = set->Entry(101, ssLocalDefault);
        set->StoreEntry(e->CreateEdited(101, QStringLiteral("Unsaved"), QString(), false, false, false, QString(), 0, nullptr, false));
        QVERIFY_THROWS_EXCEPTION(KvError, ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions()));
        QCOMPARE(set->Text(101, ssLocalDefault), QStringLiteral("Unsaved"));
    }

    void xliffTranslationsWithTheirStates()
    {
        server::WorkspacePtr ws = NewWorkspace();
        ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
        const ImportSummary s = ImportFile(*ws, DataFile(QStringLiteral("xliff/foreign.xlf")));
        // 4242 is unknown; the build kind ("new") and 113 (no target) have no translation.
        QCOMPARE(Summary(s), QStringLiteral("1 de-DE: 6 added, 0 changed, 0 unchanged, 3 skipped"));
        QStringList reasons;
        for (const NotImported &n : s.notImported)
            reasons << n.reason + QStringLiteral(": ") + n.ids.join(u' ');
        QCOMPARE(reasons, (QStringList{"state new: text-7", "unknown id: 4242 113"}));
        QVERIFY(!ws->Set()->IdInUse(4242, ssLocalDefault));

        QCOMPARE(States(*ws, ssLocalDefault).mid(0, 9),
                 (QStringList{"101 unapproved Beispiel-Editor", QStringLiteral("102 approved Datei &\u00f6ffnen"),
                              "103 missing ", "104 missing ", QStringLiteral("105 out of date \u00c4nderungen an %1 speichern?"),
                              // made for another English text than the workspace's
                              "106 out of date %2 von %3 Dateien nach %1 kopiert", "107 missing ",
                              "108 approved Erste Zeile\r\nZweite Zeile", "109 unapproved Name:\tWert"}));
        // Properties follow the translation's text.
        QCOMPARE(ws->Set()->Entry(102, ssLocalDefault)->ShortcutCharacter(), QString());
        QVERIFY(ws->Set()->Entry(102, ssLocalDefault)->Property(tpAllowShortcut));
    }

    void xliffSourceTextsStartAWorkspace()
    {
        server::WorkspacePtr ws = NewWorkspace();
        ImportOptions o;
        o.as = ImportAs::EnglishDefault;
        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("xliff/foreign.xlf")), o).added, 9);
        const std::shared_ptr<server::TableSet> set = ws->Set();
        QCOMPARE(set->RecordCount(ssLocalDefault), 0);
        QCOMPARE(ws->Symbol(4242), QStringLiteral("IDS_NOT_HERE"));
        // Symbolic ids take the next free numbers, in file order.
        QCOMPARE(set->IdOfSymbol(QStringLiteral("IDS_COPY_PROGRESS")), StringId(4243));
        QCOMPARE(set->IdOfSymbol(QStringLiteral("IDS_BUILD_KIND")), StringId(4244));
        QCOMPARE(set->Text(4244, ssEnglishDefault), QStringLiteral("Standard <b>build</b>"));
        QCOMPARE(set->Entry(101, ssEnglishDefault)->EntryText(), QStringLiteral("The main window's title"));
        QCOMPARE(ParameterIds(*ws, 4243), (QList<int>{1, 2, 3}));

        // Imported again, the symbols find their ids and nothing moves.
        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("xliff/foreign.xlf")), o).unchanged, 9);
        QCOMPARE(set->IdOfSymbol(QStringLiteral("IDS_BUILD_KIND")), StringId(4244));
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
        QCOMPARE(States(*second, ssLocalDefault), States(*first, ssLocalDefault));

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

    void languageRule_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("as");
        QTest::addColumn<bool>("accept");
        QTest::addColumn<int>("source");   // -1: refused
        QTest::addColumn<QString>("message");

        const auto xliff = [](const char *languages) {
            return QByteArray("<xliff xmlns=\"urn:oasis:names:tc:xliff:document:1.2\" version=\"1.2\"><file original=\"x\" ") + languages
                   + " datatype=\"plaintext\"><body><trans-unit id=\"101\"><source>Sample Editor</source><target>T</target>"
                     "</trans-unit></body></file></xliff>";
        };
        const QByteArray japanese = xliff("source-language=\"en\" target-language=\"ja-JP\"");
        const QByteArray script = "LANGUAGE 0x11, 0x01\nSTRINGTABLE BEGIN 101 \"T\" END\n";
        const int automatic = int(ImportAs::Automatic);
        const QString refusedJa = QStringLiteral("the file is in Japanese (ja-JP), the workspace's translations are in German (de-DE); "
                                                 "nothing was imported");
        QTest::newRow("Japanese XLIFF") << "ja.xlf" << japanese << automatic << false << -1 << refusedJa;
        QTest::newRow("Japanese script") << "ja.rc" << script << automatic << false << -1 << refusedJa;
        QTest::newRow("Japanese XLIFF accepted") << "ja.xlf" << japanese << automatic << true << int(ssLocalDefault) << "imported as asked";
        QTest::newRow("Japanese script as local default") << "ja.rc" << script << int(ImportAs::LocalDefault) << false
                                                           << int(ssLocalDefault) << "imported as asked";
        QTest::newRow("Japanese XLIFF as local edited") << "ja.xlf" << japanese << int(ImportAs::LocalEdited) << false
                                                        << int(ssLocalEdited) << "imported as asked";
        QTest::newRow("Japanese PO")
            << "ja.po" << QByteArray("msgid \"\"\nmsgstr \"\"\n\"Language: ja\\n\"\n\nmsgctxt \"101\"\nmsgid \"Sample Editor\"\nmsgstr \"T\"\n")
            << automatic << false << -1 << "the file is in Japanese (ja), the workspace's translations are in German (de-DE)";
        const auto ts = [](const char *attributes) {
            return QByteArray("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\"") + attributes
                   + "><context><message><source>Sample Editor</source><comment>101</comment><translation>T</translation>"
                     "</message></context></TS>\n";
        };
        QTest::newRow("TS from French") << "fr.ts" << ts(" language=\"de_DE\" sourcelanguage=\"fr\"") << automatic << false << -1
                                        << "the file's source texts are in French (fr)";
        QTest::newRow("TS stating nothing") << "x.ts" << ts("") << automatic << false << int(ssLocalDefault) << "";
        QTest::newRow("sources in French")
            << "fr.xlf"
            << QByteArray("<xliff xmlns=\"urn:oasis:names:tc:xliff:document:1.2\" version=\"1.2\"><file original=\"x\" "
                          "source-language=\"fr\" datatype=\"plaintext\"><body><trans-unit id=\"1\"><source>S</source></trans-unit>"
                          "</body></file></xliff>")
            << automatic << false << -1 << "the file is in French (fr), the workspace's strings are in English";
        QTest::newRow("translated from French") << "fr-de.xlf" << xliff("source-language=\"fr\" target-language=\"de-DE\"")
                                                << automatic << false << -1 << "the file's source texts are in French (fr)";
        // Regional variants are translations of their own (pt-PT is no pt-BR); English ones are all English.
        QTest::newRow("same language, other region") << "de-at.xlf" << xliff("source-language=\"en-GB\" target-language=\"de-AT\"")
                                                     << automatic << false << -1 << "the file is in German (de-AT)";
        QTest::newRow("no region") << "de.xlf" << xliff("source-language=\"en-GB\" target-language=\"de\"")
                                   << automatic << false << int(ssLocalDefault) << "";
    }

    void languageRule()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(int, as);
        QFETCH(bool, accept);
        QFETCH(int, source);
        QFETCH(QString, message);
        server::WorkspacePtr ws = SampleWorkspace();
        const QStringList before = Snapshot(*ws);
        QTemporaryDir dir;
        const QString file = WriteBytes(dir, name, content);
        ImportOptions o;
        o.as = static_cast<ImportAs>(as);
        o.acceptLanguageMismatch = accept;
        if (source < 0) {
            try {
                ImportFile(*ws, file, o);
                QFAIL("the file must be refused");
            } catch (const FileError &e) {
                QVERIFY2(e.Errors().first().message.startsWith(message), qPrintable(e.Errors().first().message));
            }
            QCOMPARE(Snapshot(*ws), before);
            return;
        }
        const ImportSummary s = ImportFile(*ws, file, o);
        QCOMPARE(int(s.source), source);
        QCOMPARE(ws->Set()->Text(101, static_cast<StringSource>(source)), QStringLiteral("T"));
        QCOMPARE(std::any_of(s.notes.cbegin(), s.notes.cend(), [&](const Diagnostic &d) { return d.message.endsWith(message); }),
                 !message.isEmpty());
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
            ImportOptions asEnglish;
            asEnglish.as = ImportAs::EnglishDefault;
            const QString file = DataFile(QStringLiteral("xliff/other-tool.xlf"));
            QCOMPARE(ImportFile(*ws, file, asEnglish).added, 6);
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
};

QTEST_GUILESS_MAIN(TestTransfer)
#include "tst_transfer.moc"
