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
        if (set->IdInUse(id, ssEnglishDefault))
            out << QString::number(id) + u' ' + StateName(*set, id) + u' ' + set->Text(id, ssLocalDefault);
    }
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

QString StateOf(const ImportedString &s)
{
    static const char *const names[] = {"missing", "out of date", "current", "approved"};
    return QLatin1String(names[int(s.state)]);
}

QByteArray PoHeader(const QByteArray &language)
{
    return "msgid \"\"\nmsgstr \"\"\n\"Language: " + language + "\\n\"\n\"Content-Type: text/plain; charset=UTF-8\\n\"\n\n";
}

QByteArray TsStart(const QByteArray &attributes)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\"" + attributes + ">\n<context>\n";
}

} // namespace

class TestTransfer : public QObject {
    Q_OBJECT

private slots:
    // The sample script fills the English default, its language file the local default: current
    // against the English text, not yet approved, the English untouched; symbols as in the script.
    // Imported again, they keep what the files do not say; over unsaved edits, nothing comes in.
    void sampleScriptsFillTheirSources()
    {
        server::WorkspacePtr ws = NewWorkspace();
        const std::shared_ptr<server::TableSet> set = ws->Set();
        const ImportSummary en = ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
        QCOMPARE(Summary(en), QStringLiteral("3 en-US: 12 added, 0 changed, 0 unchanged, 0 skipped"));
        QVERIFY(!set->Modified());
        QCOMPARE(ws->Symbol(101) + '|' + ws->Symbol(110), QStringLiteral("IDS_APP_TITLE|"));
        QCOMPARE(ParameterIds(*ws, 106), (QList<int>{1, 2, 3}));
        const ImportSummary de = ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions());
        QCOMPARE(Summary(de), QStringLiteral("1 de-DE: 5 added, 0 changed, 0 unchanged, 0 skipped"));
        QCOMPARE(set->Entry(102, ssLocalDefault)->ShortcutCharacter(), QStringLiteral("F"));
        QCOMPARE(States(*ws).at(1), QStringLiteral("102 current Datei \u00f6&ffnen"));
        QCOMPARE(set->Text(102, ssEnglishDefault), QStringLiteral("&Open file"));

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
        QCOMPARE(States(*ws).at(4), QStringLiteral("105 out of date \u00c4nderungen an %1 speichern?"));

        const StringEntryPtr e = set->Entry(101, ssLocalDefault);
        set->StoreEntry(e->CreateEdited(101, QStringLiteral("Unsaved"), QString(), false, false, false, QString(), 0, nullptr, false));
        QVERIFY_THROWS_EXCEPTION(KvError, ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions()));
        QCOMPARE(set->Text(101, ssLocalDefault), QStringLiteral("Unsaved"));
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

        QCOMPARE(States(*ws).mid(0, 9),
                 (QStringList{"101 current Beispiel-Editor", QStringLiteral("102 approved Datei &\u00f6ffnen"),
                              "103 missing ", "104 missing ", QStringLiteral("105 out of date \u00c4nderungen an %1 speichern?"),
                              // made for another English text than the workspace's
                              "106 out of date %2 von %3 Dateien nach %1 kopiert", "107 missing ",
                              "108 approved Erste Zeile\r\nZweite Zeile", "109 current Name:\tWert"}));
        // Properties follow the translation's text.
        QCOMPARE(ws->Set()->Entry(102, ssLocalDefault)->ShortcutCharacter(), QString());
        QVERIFY(ws->Set()->Entry(102, ssLocalDefault)->Property(tpAllowShortcut));
    }

    void xliffSourceTextsStartAWorkspace()
    {
        server::WorkspacePtr ws = NewWorkspace();
        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("xliff/foreign.xlf")), AsEnglish()).added, 9);
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
        QCOMPARE(ImportFile(*ws, DataFile(QStringLiteral("xliff/foreign.xlf")), AsEnglish()).unchanged, 9);
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

    // A file the workspace must not take, for its language or as a bad file, is refused with its
    // name and line and changes nothing; one it may take fills the source asked for.
    void refusedOrTaken_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("as");
        QTest::addColumn<bool>("accept");
        QTest::addColumn<int>("source");   // -1: refused
        QTest::addColumn<int>("line");
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
        QTest::newRow("Japanese XLIFF") << "ja.xlf" << japanese << automatic << false << -1 << 0 << refusedJa;
        QTest::newRow("Japanese script") << "ja.rc" << script << automatic << false << -1 << 0 << refusedJa;
        QTest::newRow("Japanese XLIFF accepted") << "ja.xlf" << japanese << automatic << true << int(ssLocalDefault) << 0
                                                 << "imported as asked";
        QTest::newRow("Japanese script as local default") << "ja.rc" << script << int(ImportAs::LocalDefault) << false
                                                           << int(ssLocalDefault) << 0 << "imported as asked";
        QTest::newRow("Japanese XLIFF as local edited") << "ja.xlf" << japanese << int(ImportAs::LocalEdited) << false
                                                        << int(ssLocalEdited) << 0 << "imported as asked";
        QTest::newRow("Japanese PO")
            << "ja.po" << QByteArray("msgid \"\"\nmsgstr \"\"\n\"Language: ja\\n\"\n\nmsgctxt \"101\"\nmsgid \"Sample Editor\"\nmsgstr \"T\"\n")
            << automatic << false << -1 << 1 << "the file is in Japanese (ja), the workspace's translations are in German (de-DE)";
        const auto ts = [](const char *attributes) {
            return QByteArray("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\"") + attributes
                   + "><context><message><source>Sample Editor</source><comment>101</comment><translation>T</translation>"
                     "</message></context></TS>\n";
        };
        QTest::newRow("TS from French") << "fr.ts" << ts(" language=\"de_DE\" sourcelanguage=\"fr\"") << automatic << false << -1
                                        << 3 << "the file's source texts are in French (fr)";
        QTest::newRow("TS stating nothing") << "x.ts" << ts("") << automatic << false << int(ssLocalDefault) << 0 << "";
        QTest::newRow("sources in French")
            << "fr.xlf"
            << QByteArray("<xliff xmlns=\"urn:oasis:names:tc:xliff:document:1.2\" version=\"1.2\"><file original=\"x\" "
                          "source-language=\"fr\" datatype=\"plaintext\"><body><trans-unit id=\"1\"><source>S</source></trans-unit>"
                          "</body></file></xliff>")
            << automatic << false << -1 << 0 << "the file is in French (fr), the workspace's strings are in English";
        QTest::newRow("translated from French") << "fr-de.xlf" << xliff("source-language=\"fr\" target-language=\"de-DE\"")
                                                << automatic << false << -1 << 0 << "the file's source texts are in French (fr)";
        // Regional variants are translations of their own (pt-PT is no pt-BR); English ones are all English.
        QTest::newRow("same language, other region") << "de-at.xlf" << xliff("source-language=\"en-GB\" target-language=\"de-AT\"")
                                                     << automatic << false << -1 << 0 << "the file is in German (de-AT)";
        QTest::newRow("no region") << "de.xlf" << xliff("source-language=\"en-GB\" target-language=\"de\"")
                                   << automatic << false << int(ssLocalDefault) << 0 << "";

        const auto bad = [&](const char *tag, const char *name, const QByteArray &content, int line, const char *message) {
            QTest::newRow(tag) << QString::fromLatin1(name) << content << automatic << false << -1 << line
                               << QString::fromUtf8(message);
        };
        bad("script with an error", "bad.rc", "LANGUAGE 7, 1\nSTRINGTABLE\nBEGIN\n 101 \"Ja\"\n IDS_NOWHERE \"x\"\nEND\n", 5,
            "IDS_NOWHERE");
        // Well-formed, but the second translation of 110 is only found after the first was stored;
        // neither string had a translation before.
        bad("XLIFF failing half-way", "twice.xlf",
            "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\"><file original=\"x\" "
            "source-language=\"en\" target-language=\"de\" datatype=\"winres\"><body>\n"
            "<trans-unit id=\"111\"><source>Hex id</source><target>Hex-Id</target></trans-unit>\n"
            "<trans-unit id=\"110\"><source>Numeric id</source><target>Zahl</target></trans-unit>\n"
            "<trans-unit id=\"110\"><source>Numeric id</source><target>Nummer</target></trans-unit>\n</body></file></xliff>\n",
            4, "translated twice (first on line 3)");
        bad("PO syntax", "a.po", "msgid \"Yes\"\nmsgstr \"Ja\"\n\nmsgid \"No\nmsgstr \"Nein\"\n", 4,
            "end-of-line within string");
        bad("PO plural", "a.po",
            PoHeader("de") + "msgctxt \"101\"\nmsgid \"Sample Editor\"\nmsgstr \"Ja\"\n\nmsgctxt \"IDS_FILES\"\n"
                             "msgid \"%d file\"\nmsgid_plural \"%d files\"\nmsgstr[0] \"\"\nmsgstr[1] \"\"\n",
            11, "\"IDS_FILES\" has plural forms");
        static const char withNul[] = "msgid \"Yes\"\nmsgstr \"J\0a\"\n";
        bad("PO with NUL bytes", "a.po", QByteArray(withNul, sizeof withNul - 1), 2, "NUL");
        bad("empty PO", "a.po", QByteArray(), 0, "no PO messages");
        bad("PO not in its charset", "a.po", PoHeader("de") + "msgctxt \"101\"\nmsgid \"Sample Editor\"\nmsgstr \"J\xe4\"\n", 8,
            "invalid multibyte sequence");
        bad("XML that is not TS", "a.ts", "<?xml version=\"1.0\"?>\n<xliff version=\"1.2\"/>\n", 2,
            "not a TS file (its root element is <xliff>)");
        bad("TS not well-formed", "a.ts", TsStart("") + "<message><source>Yes</sorce>\n", 5, "mismatch");
        bad("TS plural", "a.ts",
            TsStart(" language=\"de\"") + "<message><source>Sample Editor</source><comment>101</comment>"
                                           "<translation>Ja</translation></message>\n"
                                           "<message numerus=\"yes\"><source>%n files</source>"
                                           "<comment>IDS_FILES</comment></message></context></TS>\n",
            6, "\"IDS_FILES\" has plural forms");
    }

    void refusedOrTaken()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(int, as);
        QFETCH(bool, accept);
        QFETCH(int, source);
        QFETCH(int, line);
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
                const Diagnostic first = e.Errors().first();
                QCOMPARE(first.file, file);
                QCOMPARE(first.line, line);
                QVERIFY2(first.message.contains(message), qPrintable(first.message));
            }
            QVERIFY(!ws->Set()->Modified());
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

    void keylessMessagesFindTheirStrings()
    {
        QTemporaryDir dir;
        server::WorkspacePtr ws = NewWorkspace();
        ImportFile(*ws, WriteBytes(dir, QStringLiteral("english.po"),
                                   "msgctxt \"1\"\nmsgid \"Yes\"\nmsgstr \"\"\n\nmsgctxt \"3\"\nmsgid \"Open\"\nmsgstr \"\"\n\n"
                                   "msgctxt \"4\"\nmsgid \"Open\"\nmsgstr \"\"\n"),
                   AsEnglish());
        const QString file = WriteBytes(dir, QStringLiteral("plain.po"),
                                        PoHeader("de") + "msgid \"Open\"\nmsgstr \"\xc3\x96" "ffnen\"\n\nmsgid \"Close\"\nmsgstr \"Schlie\xc3\x9f" "en\"\n");
        // Every string with the English text takes the translation, as a catalog's lookup would.
        const ImportSummary s = ImportFile(*ws, file);
        QCOMPARE(QStringLiteral("%1 added, %2 not imported").arg(s.added).arg(s.skipped), QStringLiteral("2 added, 1 not imported"));
        QCOMPARE(States(*ws), (QStringList{"1 missing ", QStringLiteral("3 current \u00d6ffnen"),
                                           QStringLiteral("4 current \u00d6ffnen")}));
        // As the strings, a known text keeps its string and a new one is added.
        const ImportSummary e = ImportFile(*ws, file, AsEnglish());
        QCOMPARE(QStringLiteral("%1 added, %2 unchanged").arg(e.added).arg(e.unchanged), QStringLiteral("1 added, 1 unchanged"));
        QCOMPARE(ws->Set()->Text(5, ssEnglishDefault), QStringLiteral("Close"));
    }

    void poExportRefusesNul()
    {
        QTemporaryDir dir;
        server::WorkspacePtr ws = NewWorkspace(QStringLiteral("de-DE"));
        ImportFile(*ws, WriteBytes(dir, QStringLiteral("nul.ts"), TsStart("") + "<message><source>a<byte value=\"x0\"/>b</source>"
                                                                             "<comment>5</comment></message></context></TS>\n"),
                   AsEnglish());
        const QString file = dir.filePath(QStringLiteral("out.po"));
        try {
            ExportFile(*ws, file);
            QFAIL("a PO file cannot hold the string");
        } catch (const FileError &e) {
            QCOMPARE(e.Errors().first().ToString(), file + QStringLiteral(": error: the string 5 holds a NUL character, which a PO file cannot"));
        }
        QVERIFY(!QFile::exists(file));
    }
};

QTEST_GUILESS_MAIN(TestTransfer)
#include "tst_transfer.moc"
