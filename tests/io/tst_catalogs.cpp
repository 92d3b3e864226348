// PO and TS files: what we export passes the peers' own tools and comes back unchanged; their
// messages map to strings, states and descriptions; bad files and files in another language
// import nothing.

#include "states/StringStates.h"
#include "CliRun.h"
#include "IoTestSupport.h"

#include "io/ExchangeRules.h"
#include "io/Po.h"
#include "io/Ts.h"
#include "io/WorkspaceTransfer.h"
#include "server/TableSet.h"

#include <QLibraryInfo>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::io;
using kvedit::test::WriteBytes;

namespace {

server::WorkspacePtr NewWorkspace(const QString &language, const QString &name = QStringLiteral("Sample"))
{
    server::WorkspaceInfo info;
    info.name = name;
    info.targetLanguage = language;
    return server::Workspace::CreateInMemory(info);
}

QString StateName(server::TableSet &set, StringId id, bool approvalKept)
{
    if (!set.HasText(id, ssLocalDefault))
        return QStringLiteral("missing");
    if (set.Revision(id, ssLocalDefault) < set.Revision(id, ssEnglishDefault))
        return QStringLiteral("out of date");
    return approvalKept && set.HasStatus(id, ssLocalDefault, sfApproved) ? QStringLiteral("approved") : QStringLiteral("current");
}

// What the formats carry, per string: id, symbol, English text, description, translation and
// its state (approval only when it could have been kept).
QStringList Listing(server::Workspace &ws, bool approvalKept = true)
{
    const std::shared_ptr<server::TableSet> set = ws.Set();
    QStringList out;
    for (int i = 1; i <= set->MaximumCount(); ++i) {
        const StringId id = static_cast<StringId>(i);
        if (!set->HasText(id, ssEnglishDefault))
            continue;
        out << QStringList{QString::number(id), ws.Symbol(id), set->Text(id, ssEnglishDefault),
                           set->Entry(id, ssEnglishDefault)->EntryText(), StateName(*set, id, approvalKept),
                           set->Text(id, ssLocalDefault)}
                   .join(u'|');
    }
    return out;
}

QString StateOf(const ImportedString &s)
{
    static const char *const names[] = {"missing", "out of date", "current", "approved"};
    return QLatin1String(names[int(s.state)]);
}

QByteArray PoHeader(const QByteArray &language, const QByteArray &charset = "UTF-8")
{
    return "msgid \"\"\nmsgstr \"\"\n\"Language: " + language + "\\n\"\n\"Content-Type: text/plain; charset=" + charset
           + "\\n\"\n\n";
}

QByteArray TsStart(const QByteArray &attributes)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\"" + attributes + ">\n<context>\n";
}

// English strings 1 "Yes", 2 "No", 3 "Open", 4 "Open" for the language and key rules.
server::WorkspacePtr SmallWorkspace(const QString &language, const QTemporaryDir &dir)
{
    server::WorkspacePtr ws = NewWorkspace(language);
    ImportOptions english;
    english.as = ImportAs::EnglishDefault;
    ImportFile(*ws,
               WriteBytes(dir, QStringLiteral("english.po"),
                          "msgctxt \"1\"\nmsgid \"Yes\"\nmsgstr \"\"\n\nmsgctxt \"2\"\nmsgid \"No\"\nmsgstr \"\"\n\n"
                          "msgctxt \"3\"\nmsgid \"Open\"\nmsgstr \"\"\n\nmsgctxt \"4\"\nmsgid \"Open\"\nmsgstr \"\"\n"),
               english);
    return ws;
}

} // namespace

class TestCatalogs : public QObject {
    Q_OBJECT

private slots:
    void peersAcceptTheExport_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("PO") << "po" << QStandardPaths::findExecutable(QStringLiteral("msgfmt"))
                            << QStringList{"--check", "--statistics", "-o", "out.mo"};
        QTest::newRow("TS") << "ts"
                            << QStandardPaths::findExecutable(QStringLiteral("lrelease"),
                                                              {QLibraryInfo::path(QLibraryInfo::BinariesPath),
                                                               QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath)})
                            << QStringList{"-qm", "out.qm"};
    }

    void peersAcceptTheExport()
    {
        QFETCH(QString, extension);
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        if (program.isEmpty())
            QSKIP("the peer's tool is not installed (scripts/install-deps.sh installs it)");
        QTemporaryDir dir;
        const QString workspace = dir.filePath(QStringLiteral("ws.kvw"));
        const QString file = dir.filePath(QStringLiteral("out.") + extension);
        server::CreateDemoWorkspace(workspace);
        QCOMPARE(test::Cli({QStringLiteral("export"), workspace, file, QStringLiteral("--table"), QStringLiteral("1")}).code, int(cli::exitSuccess));
        StringStates states;
        states.Attach(server::Workspace::Open(workspace)->Tables(), ssLocalDefault, kMaxStringId);

        QProcess p;
        p.setWorkingDirectory(dir.path());
        p.start(program, arguments << file);
        QVERIFY(p.waitForFinished(60000));
        const QString output = QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
        QVERIFY2(p.exitCode() == 0 && !output.contains(QLatin1String("warning"), Qt::CaseInsensitive), qPrintable(output));
        // Every current translation is taken as one; the rest are fuzzy or unfinished.
        const int current = states.Counts().approved + states.Counts().unapproved;
        const QString taken = extension == QLatin1String("po") ? QStringLiteral("%1 translated messages").arg(current)
                                                               : QStringLiteral("%1 finished").arg(current);
        QVERIFY2(output.contains(taken), qPrintable(output + taken));
    }

    void roundTrip_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::newRow("PO") << "po";
        QTest::newRow("TS") << "ts";
    }

    void roundTrip()
    {
        QFETCH(QString, extension);
        server::WorkspacePtr demo = server::CreateDemoWorkspace(QString());
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("de.") + extension);
        QCOMPARE(ExportFile(*demo, file, ExportOptions{ssLocalDefault, {}}).strings, demo->Set()->RecordCount(ssEnglishDefault));

        // Into the workspace it came from, nothing changes: approval marks stay on unchanged texts.
        const QStringList before = Listing(*demo);
        const ImportSummary again = ImportFile(*demo, file);
        QCOMPARE(again.changed, 0);
        QCOMPARE(Listing(*demo), before);

        // A new workspace started from it has the same ids, symbols, texts and states.
        server::WorkspacePtr copy = NewWorkspace(demo->Info().targetLanguage, demo->Name());
        ImportOptions english;
        english.as = ImportAs::EnglishDefault;
        QCOMPARE(ImportFile(*copy, file, english).source, ssEnglishDefault);
        QCOMPARE(ImportFile(*copy, file).source, ssLocalDefault);
        QCOMPARE(Listing(*copy, false), Listing(*demo, false));

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
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QStringList>("strings");

        QTest::newRow("PO in Latin-1")
            << "po"
            << PoHeader("de_AT", "ISO-8859-1")
                   + "#. Shown in the title bar\n#. on two lines\n#: IDS_TITLE:101\nmsgctxt \"IDS_TITLE\"\nmsgid \"Editor\"\n"
                     "msgstr \"Bearbeiter\"\n\n"
                     "#, fuzzy, c-format\nmsgctxt \"7\"\nmsgid \"Save %1?\"\nmsgstr \"%1 speichern?\"\n\n"
                     "#: other.c:12\nmsgctxt \"IDS_NEW\"\nmsgid \"\"\n\"&New\\n\"\nmsgstr \"\"\n\n"
                     "msgctxt \"menu|File\"\nmsgid \"Open\"\nmsgstr \"\xd6" "ffnen\"\n\n"
                     "#~ msgid \"Gone\"\n#~ msgstr \"Weg\"\n"
            << "de-AT"
            << QStringList{"10 101 IDS_TITLE current Bearbeiter (Editor) Shown in the title bar\non two lines",
                           "15 7  out of date %1 speichern? (Save %1?) -",
                           "20 0 IDS_NEW missing - (&New\n) -", QStringLiteral("25 0  current \u00d6ffnen (Open) -")};
        QTest::newRow("TS")
            << "ts"
            << TsStart(" language=\"de\" sourcelanguage=\"en\"")
                   + "<message><location filename=\"IDS_TITLE\" line=\"101\"/><source>Editor</source><comment>IDS_TITLE</comment>\n"
                     "<extracomment>Shown in the title bar</extracomment><translation>Bear&lt;b&gt;eiter</translation></message>\n"
                     "<message id=\"7\"><source>Save %1?<byte value=\"x7\"/></source><translation type=\"unfinished\">%1 speichern?</translation></message>\n"
                     "<message><location filename=\"x.cpp\" line=\"3\"/><source>New&#13;\n</source><comment>IDS_NEW</comment>"
                     "<translation type=\"unfinished\"></translation></message>\n"
                     "<message><source>Open</source><comment>menu: File</comment><translation>\xc3\x96" "ffnen</translation></message>\n"
                     "<message><source>Gone</source><translation type=\"vanished\">Weg</translation></message>\n"
                     "</context></TS>\n"
            << "de"
            << QStringList{"5 101 IDS_TITLE current Bear<b>eiter (Editor) Shown in the title bar",
                           "7 7  out of date %1 speichern? (Save %1?\a) -", "8 0 IDS_NEW missing - (New\r\n) -",
                           QStringLiteral("10 0  current \u00d6ffnen (Open) -")};
    }

    void messagesMapToStrings()
    {
        QFETCH(QString, extension);
        QFETCH(QByteArray, content);
        QFETCH(QString, language);
        QFETCH(QStringList, strings);
        QTemporaryDir dir;
        const QString file = WriteBytes(dir, QStringLiteral("in.") + extension, content);
        const ResourceStrings r = extension == QLatin1String("po") ? ReadPo(file) : ReadTs(file);
        QCOMPARE(r.languageTag, language);
        QStringList read;
        for (const ImportedString &s : r.strings)
            read << QStringLiteral("%1 %2 %3 %4 %5 (%6) %7")
                        .arg(s.line).arg(s.id).arg(s.symbol, StateOf(s), s.target.value_or(QStringLiteral("-")), s.sourceText,
                                                   s.description.value_or(QStringLiteral("-")));
        QCOMPARE(read, strings);
        QVERIFY(std::any_of(r.notes.cbegin(), r.notes.cend(), [](const Diagnostic &d) { return d.message.startsWith(u'1'); }));
    }

    void badFileImportsNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("message");

        QTest::newRow("script with an error")
            << "bad.rc" << QByteArray("LANGUAGE 7, 1\nSTRINGTABLE\nBEGIN\n 1 \"Ja\"\n 2 \"Nein\"\n IDS_NOWHERE \"x\"\nEND\n") << 6
            << "IDS_NOWHERE";
        // Well-formed, but the second translation of 1 is only found after the first was stored.
        QTest::newRow("XLIFF failing half-way")
            << "twice.xlf"
            << QByteArray("<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\"><file original=\"x\" "
                          "source-language=\"en\" target-language=\"de\" datatype=\"winres\"><body>\n"
                          "<trans-unit id=\"2\"><source>No</source><target>Nein</target></trans-unit>\n"
                          "<trans-unit id=\"1\"><source>Yes</source><target>Ja</target></trans-unit>\n"
                          "<trans-unit id=\"1\"><source>Yes</source><target>Jawohl</target></trans-unit>\n</body></file></xliff>\n")
            << 4 << "translated twice (first on line 3)";
        QTest::newRow("PO syntax") << "a.po" << QByteArray("msgid \"Yes\"\nmsgstr \"Ja\"\n\nmsgid \"No\nmsgstr \"Nein\"\n") << 4
                                   << "end-of-line within string";
        QTest::newRow("PO plural") << "a.po"
                                   << PoHeader("de") + "msgctxt \"1\"\nmsgid \"Yes\"\nmsgstr \"Ja\"\n\nmsgctxt \"IDS_FILES\"\n"
                                                       "msgid \"%d file\"\nmsgid_plural \"%d files\"\nmsgstr[0] \"\"\nmsgstr[1] \"\"\n"
                                   << 11 << "\"IDS_FILES\" has plural forms";
        static const char withNul[] = "msgid \"Yes\"\nmsgstr \"J\0a\"\n";
        QTest::newRow("PO with NUL bytes") << "a.po" << QByteArray(withNul, sizeof withNul - 1) << 2 << "NUL";
        QTest::newRow("empty PO") << "a.po" << QByteArray() << 0 << "no PO messages";
        QTest::newRow("PO not in its charset") << "a.po" << PoHeader("de") + "msgctxt \"1\"\nmsgid \"Yes\"\nmsgstr \"J\xe4\"\n" << 8
                                               << "invalid multibyte sequence";
        QTest::newRow("XML that is not TS") << "a.ts" << QByteArray("<?xml version=\"1.0\"?>\n<xliff version=\"1.2\"/>\n") << 2
                                            << "not a TS file (its root element is <xliff>)";
        QTest::newRow("TS not well-formed") << "a.ts" << TsStart("") + "<message><source>Yes</sorce>\n" << 5 << "mismatch";
        QTest::newRow("TS plural") << "a.ts"
                                   << TsStart(" language=\"de\"") + "<message><source>Yes</source><comment>1</comment>"
                                                                    "<translation>Ja</translation></message>\n"
                                                                    "<message numerus=\"yes\"><source>%n files</source>"
                                                                    "<comment>IDS_FILES</comment></message></context></TS>\n"
                                   << 6 << "\"IDS_FILES\" has plural forms";
    }

    void badFileImportsNothing()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(int, line);
        QFETCH(QString, message);
        QTemporaryDir dir;
        server::WorkspacePtr ws = SmallWorkspace(QStringLiteral("de-DE"), dir);
        const QStringList before = Listing(*ws);
        const QString file = WriteBytes(dir, name, content);
        try {
            ImportFile(*ws, file);
            QFAIL("the file must be refused");
        } catch (const FileError &e) {
            const Diagnostic first = e.Errors().first();
            QCOMPARE(QFileInfo(first.file).fileName(), name);
            QCOMPARE(first.line, line);
            QVERIFY2(first.message.contains(message), qPrintable(first.message));
        }
        QVERIFY(!ws->Set()->Modified());
        QCOMPARE(Listing(*ws), before);
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
        server::WorkspacePtr ws = SmallWorkspace(QStringLiteral("de-DE"), dir);
        const QString file = WriteBytes(dir, QStringLiteral("plain.po"),
                                        PoHeader("de") + "msgid \"Open\"\nmsgstr \"\xc3\x96" "ffnen\"\n\nmsgid \"Close\"\nmsgstr \"Schlie\xc3\x9f" "en\"\n");
        // Every string with the English text takes the translation, as a catalog's lookup would.
        const ImportSummary s = ImportFile(*ws, file);
        QCOMPARE(QStringLiteral("%1 added, %2 not imported").arg(s.added).arg(s.skipped), QStringLiteral("2 added, 1 not imported"));
        QCOMPARE(Listing(*ws).mid(2), (QStringList{QStringLiteral("3||Open||current|\u00d6ffnen"),
                                                   QStringLiteral("4||Open||current|\u00d6ffnen")}));
        // As the strings, a known text keeps its string and a new one is added.
        ImportOptions english;
        english.as = ImportAs::EnglishDefault;
        const ImportSummary e = ImportFile(*ws, file, english);
        QCOMPARE(QStringLiteral("%1 added, %2 unchanged").arg(e.added).arg(e.unchanged), QStringLiteral("1 added, 1 unchanged"));
        QCOMPARE(ws->Set()->Text(5, ssEnglishDefault), QStringLiteral("Close"));
    }

    void poExportRefusesNul()
    {
        QTemporaryDir dir;
        server::WorkspacePtr ws = NewWorkspace(QStringLiteral("de-DE"));
        ImportOptions english;
        english.as = ImportAs::EnglishDefault;
        ImportFile(*ws, WriteBytes(dir, QStringLiteral("nul.ts"), TsStart("") + "<message><source>a<byte value=\"x0\"/>b</source>"
                                                                             "<comment>5</comment></message></context></TS>\n"),
                   english);
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

QTEST_GUILESS_MAIN(TestCatalogs)
#include "tst_catalogs.moc"
