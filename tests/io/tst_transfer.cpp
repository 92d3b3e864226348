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
            // Concatenated, not formatted: texts hold placeholders of their own.
            out << QString::number(id) + u'/' + QString::number(int(source)) + QStringLiteral(" text=") + r->text
                       + QStringLiteral(" has=") + QString::number(r->hasText) + QStringLiteral(" desc=") + r->description
                       + QStringLiteral(" rev=") + QString::number(r->revision) + QStringLiteral(" props=")
                       + QString::number(r->properties) + QStringLiteral(" sc=") + r->shortcutCharacter
                       + QStringLiteral(" mode=") + QString::number(r->shortcutMode) + QStringLiteral(" status=")
                       + QString::number(r->status);
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

} // namespace

class TestTransfer : public QObject {
    Q_OBJECT

private slots:
    void formatFromExtension_data();
    void formatFromExtension();
    void englishScriptFillsTheEnglishDefault();
    void translationScriptFillsTheLocalDefault();
    void sourceCanBeChosen_data();
    void sourceCanBeChosen();
    void reimportKeepsWhatTheFileDoesNotSay();
    void symbolMovesToItsNewId();
    void fileWithErrorsImportsNothing();
    void failureHalfWayImportsNothing();
    void workspaceWithEditsIsRefused();
    void xliffTranslationsWithTheirStates();
    void xliffSourceTextsStartAWorkspace();
    void xliffWithoutTranslationsIsTakenAsTheStrings();
    void roundTrip_data();
    void roundTrip();
    void demoStatesSurviveXliff();
    void exportWritesTheTableVersion();
    void exportReportsProgress();
    void countsMatchTheDemo_data();
    void countsMatchTheDemo();
    void importIsSavedToTheFile();
};

void TestTransfer::formatFromExtension_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("format");   // -1: none
    QTest::newRow(".rc") << "a/b.rc" << int(FileFormat::ResourceScript);
    QTest::newRow(".RC") << "B.RC" << int(FileFormat::ResourceScript);
    QTest::newRow(".rc2") << "b.rc2" << int(FileFormat::ResourceScript);
    QTest::newRow(".xlf") << "b.xlf" << int(FileFormat::Xliff);
    QTest::newRow(".xliff") << "b.de.xliff" << int(FileFormat::Xliff);
    QTest::newRow(".txt") << "b.txt" << -1;
    QTest::newRow("none") << "rc" << -1;
}

void TestTransfer::formatFromExtension()
{
    QFETCH(QString, file);
    QFETCH(int, format);
    const std::optional<FileFormat> f = FormatOfFile(file);
    QCOMPARE(f ? int(*f) : -1, format);
}

void TestTransfer::englishScriptFillsTheEnglishDefault()
{
    server::WorkspacePtr ws = NewWorkspace();
    const ImportSummary s = ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
    QCOMPARE(s.source, ssEnglishDefault);
    QCOMPARE(s.languageTag, QStringLiteral("en-US"));
    QCOMPARE(s.added, 12);
    QCOMPARE(s.changed + s.unchanged + s.skipped, 0);
    QVERIFY(std::any_of(s.notes.cbegin(), s.notes.cend(),
                        [](const Diagnostic &d) { return d.message.contains(QLatin1String("windows.h")); }));

    const std::shared_ptr<server::TableSet> set = ws->Set();
    QVERIFY(!set->Modified());
    QCOMPARE(set->RecordCount(ssEnglishDefault), 12);
    QCOMPARE(set->RecordCount(ssLocalDefault), 0);
    QCOMPARE(set->Text(101, ssEnglishDefault), QStringLiteral("Sample Editor"));
    QCOMPARE(ws->Symbol(101), QStringLiteral("IDS_APP_TITLE"));
    QCOMPARE(ws->Symbol(110), QString());

    const StringEntryPtr open = set->Entry(102, ssEnglishDefault);
    QVERIFY(open->Property(tpAllowShortcut));
    QCOMPARE(open->ShortcutCharacter(), QStringLiteral("O"));
    QCOMPARE(open->ShortcutMode(), 1);
    QVERIFY(set->Entry(108, ssEnglishDefault)->Property(tpMultipleLines));
    QVERIFY(set->Entry(109, ssEnglishDefault)->TabsAllowed());
    QCOMPARE(ParameterIds(*ws, 105), QList<int>{1});
    QCOMPARE(ParameterIds(*ws, 106), (QList<int>{1, 2, 3}));
    QCOMPARE(set->Parameters(106).first().Placeholder(), QStringLiteral("%1"));
    QCOMPARE(set->Revision(101, ssEnglishDefault), qint16(1));
}

void TestTransfer::translationScriptFillsTheLocalDefault()
{
    server::WorkspacePtr ws = NewWorkspace();
    ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
    const ImportSummary s = ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions());
    QCOMPARE(s.source, ssLocalDefault);
    QCOMPARE(s.languageTag, QStringLiteral("de-DE"));
    QCOMPARE(s.added, 5);

    const std::shared_ptr<server::TableSet> set = ws->Set();
    QCOMPARE(set->Text(102, ssLocalDefault), QStringLiteral("Datei \u00f6&ffnen"));
    QCOMPARE(set->Entry(102, ssLocalDefault)->ShortcutCharacter(), QStringLiteral("F"));
    // Current against the English text, not yet approved; the English is untouched.
    QCOMPARE(set->Revision(102, ssLocalDefault), set->Revision(102, ssEnglishDefault));
    QVERIFY(!set->HasStatus(102, ssLocalDefault, sfApproved));
    QCOMPARE(set->Text(102, ssEnglishDefault), QStringLiteral("&Open file"));
    const StringCounts c = CountStrings(*ws, ssLocalDefault);
    QCOMPARE(c, (StringCounts{12, 5, 7, 7, 12}));
}

void TestTransfer::sourceCanBeChosen_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("as");
    QTest::addColumn<int>("source");
    QTest::newRow("English script as a translation") << "app/app.rc" << int(ImportAs::LocalDefault) << int(ssLocalDefault);
    QTest::newRow("German script as the strings") << "lang/de.rc" << int(ImportAs::EnglishDefault) << int(ssEnglishDefault);
    QTest::newRow("German script by its language") << "lang/de.rc" << int(ImportAs::Automatic) << int(ssLocalDefault);
}

void TestTransfer::sourceCanBeChosen()
{
    QFETCH(QString, file);
    QFETCH(int, as);
    QFETCH(int, source);
    server::WorkspacePtr ws = NewWorkspace();
    // Translations need their strings first.
    ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
    ImportOptions o = SampleOptions();
    o.as = static_cast<ImportAs>(as);
    const ImportSummary s = ImportFile(*ws, DataFile(file), o);
    QCOMPARE(int(s.source), source);
    QVERIFY(ws->Set()->RecordCount(static_cast<StringSource>(source)) >= 5);
}

void TestTransfer::reimportKeepsWhatTheFileDoesNotSay()
{
    server::WorkspacePtr ws = SampleWorkspace();
    const std::shared_ptr<server::TableSet> set = ws->Set();
    // By hand: a description, a parameter's description, a shortcut mode, an approval.
    StringEntryPtr english = set->Entry(105, ssEnglishDefault);
    auto parameters = english->ParameterDefinitions();
    parameters->Clear();
    parameters->Add(1, QStringLiteral("the document"));
    set->StoreEntry(english->CreateEdited(105, english->Text(), QStringLiteral("Asked on closing"), false, false, false,
                                          QString(), 4, parameters, false));
    const StringEntryPtr german = set->Entry(101, ssLocalDefault);
    set->StoreEntry(german->CreateEdited(101, german->Text(), QString(), false, false, false, QString(), 0, nullptr, true));
    set->Save(ssEnglishDefault, false);

    const ImportSummary a = ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
    QCOMPARE(a.unchanged, 12);
    const ImportSummary b = ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions());
    QCOMPARE(b.unchanged, 5);
    QCOMPARE(set->Entry(105, ssEnglishDefault)->EntryText(), QStringLiteral("Asked on closing"));
    QCOMPARE(set->Entry(105, ssEnglishDefault)->ShortcutMode(), 4);
    QCOMPARE(set->Parameters(105).first().Description(), QStringLiteral("the document"));
    QVERIFY(set->HasStatus(101, ssLocalDefault, sfApproved));

    // A changed English text takes its properties from the text again, and its translation is
    // then out of date.
    QTemporaryDir dir;
    const QString changed = WriteBytes(dir, QStringLiteral("changed.rc"),
                                       "#include \"resource.h\"\nSTRINGTABLE BEGIN IDS_SAVE_CHANGES \"&Save %1 and %2?\" END\n");
    ImportOptions o = SampleOptions();
    o.rc.headers.clear();
    o.rc.includeDirs << DataFile(QStringLiteral("app"));
    const ImportSummary c = ImportFile(*ws, changed, o);
    QCOMPARE(c.changed, 1);
    QCOMPARE(set->Entry(105, ssEnglishDefault)->ShortcutMode(), 1);
    QCOMPARE(set->Entry(105, ssEnglishDefault)->ShortcutCharacter(), QStringLiteral("S"));
    QCOMPARE(set->Parameters(105).size(), 2);
    QCOMPARE(set->Parameters(105).first().Description(), QStringLiteral("the document"));
    QVERIFY(set->Revision(105, ssLocalDefault) < set->Revision(105, ssEnglishDefault));
}

void TestTransfer::symbolMovesToItsNewId()
{
    server::WorkspacePtr ws = NewWorkspace();
    QTemporaryDir dir;
    ImportFile(*ws, WriteBytes(dir, QStringLiteral("a.rc"), "#define IDS_X 5\nSTRINGTABLE BEGIN IDS_X \"a\" END\n"));
    const ImportSummary s =
        ImportFile(*ws, WriteBytes(dir, QStringLiteral("b.rc"), "#define IDS_X 6\nSTRINGTABLE BEGIN IDS_X \"b\" END\n"));
    QCOMPARE(ws->Symbol(5), QString());
    QCOMPARE(ws->Symbol(6), QStringLiteral("IDS_X"));
    QCOMPARE(ws->Set()->Text(5, ssEnglishDefault), QStringLiteral("a"));
    QList<Diagnostic> moves;
    for (const Diagnostic &d : s.notes)
        if (d.message.contains(QLatin1String("moves")))
            moves << d;
    QCOMPARE(moves.size(), 1);
    QCOMPARE(moves.first().message, QStringLiteral("IDS_X moves from id 5 to id 6"));
    QCOMPARE(moves.first().line, 2);
}

void TestTransfer::fileWithErrorsImportsNothing()
{
    server::WorkspacePtr ws = SampleWorkspace();
    const QStringList before = Snapshot(*ws);
    QTemporaryDir dir;
    const QString bad = WriteBytes(dir, QStringLiteral("bad.rc"),
                                   "LANGUAGE 7, 1\nSTRINGTABLE\nBEGIN\n 101 \"Neu\"\n 102 \"Auch neu\"\n IDS_NOWHERE \"x\"\nEND\n");
    try {
        ImportFile(*ws, bad, SampleOptions());
        QFAIL("the file has an error");
    } catch (const FileError &e) {
        QCOMPARE(e.Errors().first().file, bad);
        QCOMPARE(e.Errors().first().line, 6);
    }
    QVERIFY(!ws->Set()->Modified());
    QCOMPARE(Snapshot(*ws), before);
}

void TestTransfer::failureHalfWayImportsNothing()
{
    server::WorkspacePtr ws = SampleWorkspace();
    const QStringList before = Snapshot(*ws);
    // Well-formed, but the second translation of 101 is only found after the first was stored.
    QTemporaryDir dir;
    const QString file = WriteBytes(
        dir, QStringLiteral("twice.xlf"),
        "<xliff version=\"1.2\"><file original=\"x\" source-language=\"en\" target-language=\"de\" datatype=\"winres\"><body>\n"
        "<trans-unit id=\"102\"><source>&amp;Open file</source><target>Neu</target></trans-unit>\n"
        "<trans-unit id=\"101\"><source>Sample Editor</source><target>Eins</target></trans-unit>\n"
        "<trans-unit id=\"101\"><source>Sample Editor</source><target>Zwei</target></trans-unit>\n"
        "</body></file></xliff>\n");
    try {
        ImportFile(*ws, file);
        QFAIL("a string translated twice is an error");
    } catch (const FileError &e) {
        QCOMPARE(e.Errors().first().line, 4);
        QVERIFY(e.Errors().first().message.contains(QLatin1String("translated twice (first on line 3)")));
    }
    QVERIFY(!ws->Set()->Modified());
    QCOMPARE(Snapshot(*ws), before);
}

void TestTransfer::workspaceWithEditsIsRefused()
{
    server::WorkspacePtr ws = SampleWorkspace();
    const std::shared_ptr<server::TableSet> set = ws->Set();
    const StringEntryPtr e = set->Entry(101, ssLocalDefault);
    set->StoreEntry(e->CreateEdited(101, QStringLiteral("Unsaved"), QString(), false, false, false, QString(), 0, nullptr, false));
    try {
        ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions());
        QFAIL("an import must not mix with unsaved edits");
    } catch (const KvError &e) {
        QCOMPARE(e.Number(), int(errInvalidCall));
    }
    QCOMPARE(set->Text(101, ssLocalDefault), QStringLiteral("Unsaved"));
}

void TestTransfer::xliffTranslationsWithTheirStates()
{
    server::WorkspacePtr ws = NewWorkspace();
    ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
    const ImportSummary s = ImportFile(*ws, DataFile(QStringLiteral("xliff/foreign.xlf")));
    QCOMPARE(s.source, ssLocalDefault);
    QCOMPARE(s.added, 6);
    // 4242 is unknown; the build kind ("new") and 113 (no target) have no translation.
    QCOMPARE(s.skipped, 3);
    QStringList reported;
    for (const Diagnostic &d : s.notes)
        if (d.message.contains(QLatin1String("not a string of the workspace")))
            reported << QStringLiteral("%1:%2 %3").arg(QFileInfo(d.file).fileName()).arg(d.line).arg(d.message);
    QCOMPARE(reported, (QStringList{"foreign.xlf:49 id 4242 is not a string of the workspace; not imported",
                                    "foreign.xlf:53 id 113 is not a string of the workspace; not imported"}));
    QVERIFY(!ws->Set()->IdInUse(4242, ssEnglishDefault));
    QVERIFY(!ws->Set()->IdInUse(4242, ssLocalDefault));

    const QStringList states = States(*ws, ssLocalDefault);
    QCOMPARE(states.filter(QRegularExpression(QStringLiteral("^10[1-9] "))),
             (QStringList{"101 unapproved Beispiel-Editor", QStringLiteral("102 approved Datei &\u00f6ffnen"),
                          "103 missing ", "104 missing ", QStringLiteral("105 out of date \u00c4nderungen an %1 speichern?"),
                          // made for another English text than the workspace's
                          "106 out of date %2 von %3 Dateien nach %1 kopiert", "107 missing ",
                          "108 approved Erste Zeile\r\nZweite Zeile", "109 unapproved Name:\tWert"}));
    // Properties follow the translation's text.
    QCOMPARE(ws->Set()->Entry(102, ssLocalDefault)->ShortcutCharacter(), QString());
    QVERIFY(ws->Set()->Entry(102, ssLocalDefault)->Property(tpAllowShortcut));
    QVERIFY(ws->Set()->Entry(108, ssLocalDefault)->Property(tpMultipleLines));

    // A translation made for another English text is out of date, whatever its state says.
    QTemporaryDir dir;
    const QString file = WriteBytes(dir, QStringLiteral("old.xlf"),
                                    "<xliff version=\"1.2\"><file original=\"x\" source-language=\"en\" datatype=\"winres\"><body>"
                                    "<trans-unit id=\"110\"><source>Old id text</source><target state=\"signed-off\">Alt</target>"
                                    "</trans-unit></body></file></xliff>");
    const ImportSummary old = ImportFile(*ws, file);
    QCOMPARE(old.notes.size(), 1);
    QVERIFY(States(*ws, ssLocalDefault).contains(QStringLiteral("110 out of date Alt")));
}

void TestTransfer::xliffSourceTextsStartAWorkspace()
{
    server::WorkspacePtr ws = NewWorkspace();
    ImportOptions o;
    o.as = ImportAs::EnglishDefault;
    const ImportSummary s = ImportFile(*ws, DataFile(QStringLiteral("xliff/foreign.xlf")), o);
    QCOMPARE(s.source, ssEnglishDefault);
    QCOMPARE(s.added, 9);
    const std::shared_ptr<server::TableSet> set = ws->Set();
    QCOMPARE(set->RecordCount(ssLocalDefault), 0);
    QCOMPARE(set->Text(4242, ssEnglishDefault), QStringLiteral("Not in the workspace"));
    QCOMPARE(ws->Symbol(4242), QStringLiteral("IDS_NOT_HERE"));
    // Symbolic ids take the next free numbers, in file order.
    QCOMPARE(set->IdOfSymbol(QStringLiteral("IDS_COPY_PROGRESS")), StringId(4243));
    QCOMPARE(set->IdOfSymbol(QStringLiteral("IDS_BUILD_KIND")), StringId(4244));
    QCOMPARE(set->Text(4244, ssEnglishDefault), QStringLiteral("Standard <b>build</b>"));
    QCOMPARE(set->Entry(101, ssEnglishDefault)->EntryText(), QStringLiteral("The main window's title"));
    QCOMPARE(ParameterIds(*ws, 4243), (QList<int>{1, 2, 3}));

    // Imported again, the symbols find their ids and nothing moves.
    const ImportSummary again = ImportFile(*ws, DataFile(QStringLiteral("xliff/foreign.xlf")), o);
    QCOMPARE(again.unchanged, 9);
    QCOMPARE(set->IdOfSymbol(QStringLiteral("IDS_BUILD_KIND")), StringId(4244));
}

void TestTransfer::xliffWithoutTranslationsIsTakenAsTheStrings()
{
    server::WorkspacePtr demo = server::CreateDemoWorkspace(QString());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("english.xlf"));
    ExportFile(*demo, file, ExportOptions{ssEnglishDefault, {}});
    QVERIFY(!test::ReadBytes(file).contains("target-language"));
    QVERIFY(!test::ReadBytes(file).contains("<target"));

    server::WorkspacePtr ws = NewWorkspace();
    const ImportSummary s = ImportFile(*ws, file);
    QCOMPARE(s.source, ssEnglishDefault);
    QCOMPARE(s.added, CountStrings(*demo, ssLocalDefault).total);
    QCOMPARE(CountStrings(*ws, ssLocalDefault).total, s.added);
}

void TestTransfer::roundTrip_data()
{
    QTest::addColumn<QString>("extension");
    QTest::newRow("resource script") << "rc";
    QTest::newRow("XLIFF") << "xlf";
}

void TestTransfer::roundTrip()
{
    QFETCH(QString, extension);
    // First workspace: from the sample files, XLIFF translations with every state on top.
    server::WorkspacePtr first = SampleWorkspace();
    if (extension == QLatin1String("xlf")) {
        ImportFile(*first, DataFile(QStringLiteral("xliff/foreign.xlf")));
        const std::shared_ptr<server::TableSet> set = first->Set();
        const StringEntryPtr e = set->Entry(105, ssEnglishDefault);
        auto p = e->ParameterDefinitions();
        p->Clear();
        p->Add(1, QStringLiteral("file name"));
        set->StoreEntry(e->CreateEdited(105, e->Text(), QStringLiteral("Asked on closing"), false, true, false,
                                        QString(), 2, p, false));
        set->Save(ssEnglishDefault, false);
    }

    QTemporaryDir dir;
    const QString english = dir.filePath(QStringLiteral("english.") + extension);
    const QString german = dir.filePath(QStringLiteral("german.") + extension);
    server::WorkspacePtr second = NewWorkspace();
    ImportOptions asEnglish;
    asEnglish.as = ImportAs::EnglishDefault;
    if (extension == QLatin1String("rc")) {
        ExportFile(*first, english, ExportOptions{ssEnglishDefault, {}});
        ExportFile(*first, german, ExportOptions{ssLocalDefault, {}});
        ImportFile(*second, english);
        ImportFile(*second, german);
    } else {
        // One XLIFF file carries both sides.
        ExportFile(*first, german, ExportOptions{ssLocalDefault, {}});
        ImportFile(*second, german, asEnglish);
        ImportFile(*second, german);
    }
    QCOMPARE(Snapshot(*second), Snapshot(*first));
    QCOMPARE(States(*second, ssLocalDefault), States(*first, ssLocalDefault));

    // Exported again, the files are the same.
    const QString again = dir.filePath(QStringLiteral("again.") + extension);
    ExportFile(*second, again, ExportOptions{ssLocalDefault, {}});
    QCOMPARE(test::ReadBytes(again), test::ReadBytes(german));
}

void TestTransfer::demoStatesSurviveXliff()
{
    server::WorkspacePtr demo = server::CreateDemoWorkspace(QString());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("demo.xlf"));
    const ExportSummary exported = ExportFile(*demo, file, ExportOptions{ssLocalDefault, {}});
    QCOMPARE(exported.strings, CountStrings(*demo, ssLocalDefault).total);
    QCOMPARE(exported.languageTag, demo->Info().targetLanguage);

    server::WorkspacePtr copy = NewWorkspace(demo->Info().targetLanguage);
    ImportOptions asEnglish;
    asEnglish.as = ImportAs::EnglishDefault;
    ImportFile(*copy, file, asEnglish);
    ImportFile(*copy, file);
    QCOMPARE(States(*copy, ssLocalDefault), States(*demo, ssLocalDefault));
    const auto demoCounts = server::DemoCounts(ssLocalDefault);
    QCOMPARE(CountStrings(*copy, ssLocalDefault),
             (StringCounts{demoCounts.total, demoCounts.translated, demoCounts.missing, demoCounts.outOfDate,
                           demoCounts.unapproved}));
    for (int i = 1; i <= demo->Set()->MaximumCount(); ++i) {
        const StringId id = static_cast<StringId>(i);
        QCOMPARE(copy->Symbol(id), demo->Symbol(id));
        // Approval marks too, also on translations that are out of date.
        QCOMPARE(copy->Set()->HasStatus(id, ssLocalDefault, sfApproved), demo->Set()->HasStatus(id, ssLocalDefault, sfApproved));
        if (demo->Set()->HasText(id, ssEnglishDefault)) {
            const StringEntryPtr a = demo->Set()->Entry(id, ssEnglishDefault);
            const StringEntryPtr b = copy->Set()->Entry(id, ssEnglishDefault);
            QCOMPARE(b->Text(), a->Text());
            QCOMPARE(b->EntryText(), a->EntryText());
            QCOMPARE(b->ShortcutMode(), a->ShortcutMode());
            QCOMPARE(copy->Set()->Parameters(id), demo->Set()->Parameters(id));
        }
    }
}

void TestTransfer::exportWritesTheTableVersion()
{
    server::WorkspacePtr demo = server::CreateDemoWorkspace(QString());
    QTemporaryDir dir;
    for (const TableVersion table : {ssLocalEdited, ssLocalDefault, ssEnglishEdited, ssEnglishDefault}) {
        const QString file = dir.filePath(QStringLiteral("t%1.rc").arg(int(table)));
        const ExportSummary s = ExportFile(*demo, file, ExportOptions{table, {}});
        const ResourceStrings r = ReadResourceScript(file);
        QCOMPARE(r.strings.size(), s.strings);
        QCOMPARE(r.languageTag, table <= ssLocalDefault ? QStringLiteral("de-DE") : QStringLiteral("en-US"));
        int withText = 0;
        for (int id = 1; id <= demo->Set()->MaximumCount(); ++id)
            withText += demo->Set()->HasText(static_cast<StringId>(id), table);
        QCOMPARE(s.strings, withText);
        for (const ImportedString &str : r.strings) {
            QCOMPARE(str.text, demo->Set()->Text(static_cast<StringId>(str.id), table));
            QCOMPARE(str.symbol, demo->Symbol(static_cast<StringId>(str.id)));
        }
    }
    QVERIFY_THROWS_EXCEPTION(FileError, ExportFile(*demo, dir.filePath(QStringLiteral("t.txt"))));
    QVERIFY_THROWS_EXCEPTION(KvError, ExportFile(*demo, dir.filePath(QStringLiteral("t.rc")),
                                                 ExportOptions{static_cast<TableVersion>(4), {}}));
}

void TestTransfer::exportReportsProgress()
{
    server::WorkspacePtr demo = server::CreateDemoWorkspace(QString());
    QTemporaryDir dir;
    QList<QPair<int, int>> calls;
    ExportOptions o;
    o.progress = [&](int done, int total) { calls.append({done, total}); };
    ExportFile(*demo, dir.filePath(QStringLiteral("p.xlf")), o);
    QVERIFY(calls.size() > 2);
    QCOMPARE(calls.last(), qMakePair(demo->Set()->MaximumCount(), demo->Set()->MaximumCount()));
    for (int i = 1; i < calls.size(); ++i)
        QVERIFY(calls.at(i).first >= calls.at(i - 1).first);

    calls.clear();
    server::WorkspacePtr ws = NewWorkspace();
    ImportOptions io;
    io.as = ImportAs::EnglishDefault;
    io.progress = o.progress;
    ImportFile(*ws, dir.filePath(QStringLiteral("p.xlf")), io);
    QVERIFY(!calls.isEmpty());
    QCOMPARE(calls.last().first, calls.last().second);
}

void TestTransfer::countsMatchTheDemo_data()
{
    QTest::addColumn<int>("version");
    QTest::newRow("local edited") << int(ssLocalEdited);
    QTest::newRow("local default") << int(ssLocalDefault);
}

void TestTransfer::countsMatchTheDemo()
{
    QFETCH(int, version);
    server::WorkspacePtr demo = server::CreateDemoWorkspace(QString());
    const auto expected = server::DemoCounts(static_cast<TableVersion>(version));
    const StringCounts c = CountStrings(*demo, static_cast<TableVersion>(version));
    QCOMPARE(c, (StringCounts{expected.total, expected.translated, expected.missing, expected.outOfDate,
                              expected.unapproved}));
}

void TestTransfer::importIsSavedToTheFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("w.kvw"));
    {
        server::WorkspaceInfo info;
        info.targetLanguage = QStringLiteral("de-DE");
        server::WorkspacePtr ws = server::Workspace::Create(path, info);
        ImportFile(*ws, DataFile(QStringLiteral("app/app.rc")), SampleOptions());
        ImportFile(*ws, DataFile(QStringLiteral("lang/de.rc")), SampleOptions());
    }
    server::WorkspacePtr reopened = server::Workspace::Open(path);
    QCOMPARE(Snapshot(*reopened), Snapshot(*SampleWorkspace()));
}

QTEST_GUILESS_MAIN(TestTransfer)
#include "tst_transfer.moc"
