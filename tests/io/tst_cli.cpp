// The command-line tools: usage errors end with 2, bad input with 1 and a message naming file
// and line, work with 0; new, import, export and stats do what they say.

#include "CliRun.h"
#include "IoTestSupport.h"

#include "io/WorkspaceTransfer.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using namespace kvedit;
using kvedit::test::DataFile;
using kvedit::test::WriteBytes;

namespace {

using Run = kvedit::test::CliRun;
using kvedit::test::Cli;

// The five counts of a stats table ("  Missing          26"), in its order: "12 5 7 7 12".
QString Counts(const QString &table)
{
    QStringList counts;
    for (const char *label : {"Strings", "Translated", "Missing", "Out of date", "Unapproved"}) {
        const QRegularExpression row(QStringLiteral("^  %1 +(\\d+)").arg(QLatin1String(label)),
                                     QRegularExpression::MultilineOption);
        counts << row.match(table).captured(1);
    }
    return counts.join(u' ');
}

QString Counts(const server::DemoStringCounts &c)
{
    return QStringLiteral("%1 %2 %3 %4 %5").arg(c.total).arg(c.translated).arg(c.missing).arg(c.outOfDate).arg(c.unapproved);
}

} // namespace

class TestCli : public QObject {
    Q_OBJECT

private slots:
    void usageErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("withUsage");   // a bad value is one line, without the usage
        QTest::newRow("no tool") << QStringList() << "Usage:" << true;
        QTest::newRow("unknown tool") << QStringList{"merge"} << "Usage:" << true;
        QTest::newRow("new without a file") << QStringList{"new", "--language", "de"} << "new expects one workspace file" << true;
        QTest::newRow("new without a language") << QStringList{"new", "w.kvw"} << "new needs --language" << true;
        QTest::newRow("new with a bad language") << QStringList{"new", "w.kvw", "--language", "not a tag"} << "is not a language tag" << false;
        QTest::newRow("new with an unknown language") << QStringList{"new", "w.kvw", "--language", "xx-INVALID"}
                                                      << "\"xx-INVALID\" is not a language tag of a known language" << false;
        QTest::newRow("new with a bad region") << QStringList{"new", "w.kvw", "--language", "de-Germany"} << "is not a language tag" << false;
        QTest::newRow("import as what") << QStringList{"import", "w.kvw", "a.rc", "--as", "french"} << "--as takes english-default, local-default or local-edited" << true;
        QTest::newRow("unknown code page") << QStringList{"import", "w.kvw", "a.rc", "--codepage", "99999"}
                                           << "--codepage takes a known code page number, not \"99999\"" << false;
        QTest::newRow("import without a file") << QStringList{"import", "w.kvw"} << "import expects a workspace file and the file" << true;
        QTest::newRow("mismatch how") << QStringList{"import", "w.kvw", "a.xlf", "--language-mismatch", "ignore"}
                                      << "--language-mismatch takes accept" << true;
        QTest::newRow("demo without a file") << QStringList{"demo", "--force"} << "demo expects the workspace file" << true;
        QTest::newRow("export table 4") << QStringList{"export", "w.kvw", "a.rc", "--table", "4"} << "--table takes 0 to 3" << true;
        QTest::newRow("unknown option") << QStringList{"stats", "w.kvw", "--colour"} << "Unknown option 'colour'" << true;
        QTest::newRow("option without value") << QStringList{"export", "w.kvw", "a.rc", "--table"} << "Missing value after '--table'" << true;
    }

    void usageErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        QFETCH(bool, withUsage);
        QTemporaryDir dir;
        const QString previous = QDir::currentPath();
        QDir::setCurrent(dir.path());   // nothing may be created by a refused command
        const Run r = Cli(arguments);
        QDir::setCurrent(previous);
        QCOMPARE(r.code, int(cli::exitUsage));
        QVERIFY2(r.err.contains(message) && r.out.isEmpty(), r.Describe());
        QVERIFY2(withUsage ? r.err.contains(QLatin1String("Usage:")) : r.err.count(u'\n') == 1, r.Describe());
        QVERIFY(QDir(dir.path()).entryList(QDir::Files).isEmpty());
    }

    // One workspace through every tool: new, imports of scripts with the reader's options, stats,
    // exports, and a file in another language refused until accepted, with the reasons it gives.
    void workspaceThroughTheTools()
    {
        QTemporaryDir dir;
        const QString ws = dir.filePath(QStringLiteral("sample.kvw"));
        Run r = Cli({"new", ws, "--language", "de-DE"});
        QVERIFY2(r.code == cli::exitSuccess && r.out.contains(QLatin1String("German")), r.Describe());
        QCOMPARE(server::Workspace::Open(ws)->Name(), QStringLiteral("sample"));
        // Not over an existing file.
        r = Cli({"new", ws, "--language", "fr"});
        QVERIFY2(r.code == cli::exitBadInput && r.err.contains(QLatin1String("sample.kvw")), r.Describe());
        QCOMPARE(server::Workspace::Open(ws)->Info().targetLanguage, QStringLiteral("de-DE"));

        r = Cli({"import", ws, DataFile(QStringLiteral("app/app.rc")), "-I", DataFile(QStringLiteral("app/include")),
                 "-DWITH_EXTRAS"});
        QVERIFY2(r.code == 0 && r.out.contains(QLatin1String("into English Default: 12 added, 0 changed, 0 unchanged")),
                 r.Describe());
        QVERIFY(r.err.contains(QLatin1String("app.rc:4: note: system header \"windows.h\" is not present")));
        QCOMPARE(server::Workspace::Open(ws)->Set()->Text(107, ssEnglishDefault), QStringLiteral("Extended build"));

        r = Cli({"import", ws, DataFile(QStringLiteral("lang/de.rc")), "--header", DataFile(QStringLiteral("app/resource.h"))});
        QVERIFY2(r.code == 0 && r.out.contains(QLatin1String("into Local Default: 5 added")), r.Describe());
        r = Cli({"stats", ws, "--table", "1"});
        QVERIFY2(r.code == 0, r.Describe());
        QCOMPARE(Counts(r.out), QStringLiteral("12 5 7 7 12"));

        r = Cli({"export", ws, dir.filePath(QStringLiteral("de.rc")), "--table", "1"});
        QVERIFY2(r.code == 0 && r.out.contains(QLatin1String("Exported 5 strings of Local Default")), r.Describe());
        r = Cli({"export", ws, dir.filePath(QStringLiteral("de.xliff"))});
        QVERIFY2(r.code == 0 && r.out.contains(QLatin1String("Exported 12 strings of Local Edited")), r.Describe());

        // Japanese translations of the twelve strings and of eight the workspace does not have.
        QByteArray units;
        for (const int id : {101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 201, 202, 203, 204, 205, 206, 207, 208})
            units += "<trans-unit id=\"" + QByteArray::number(id) + "\"><source>s</source><target>t</target></trans-unit>\n";
        const QString xlf = WriteBytes(dir, QStringLiteral("ja.xlf"),
                                       "<xliff xmlns=\"urn:oasis:names:tc:xliff:document:1.2\" version=\"1.2\"><file original=\"x\" "
                                       "source-language=\"en\" target-language=\"ja-JP\" datatype=\"plaintext\"><body>\n"
                                           + units + "</body></file></xliff>\n");
        r = Cli({"import", ws, xlf});
        QVERIFY2(r.code == cli::exitBadInput && r.err.contains(xlf + QStringLiteral(": error: the file is in Japanese (ja-JP)")), r.Describe());
        r = Cli({"import", ws, xlf, "--language-mismatch=accept"});
        QVERIFY2(r.code == 0 && r.err.contains(QLatin1String("imported as asked")), r.Describe());
        QVERIFY2(r.out.contains(QLatin1String("7 added, 5 changed, 0 unchanged, 8 not imported:\n"
                                              "  8 unknown id: 201, 202, 203, 204, 205 and 3 more\n")),
                 r.Describe());
        r = Cli({"import", ws, xlf, "--as", "local-default", "--json"});
        QVERIFY2(r.code == 0, r.Describe());
        const QJsonObject o = QJsonDocument::fromJson(r.out.toUtf8()).object();
        QCOMPARE(o.value(QLatin1String("unchanged")).toInt(), 12);
        const QJsonObject reason = o.value(QLatin1String("reasons")).toArray().first().toObject();
        QCOMPARE(reason.value(QLatin1String("reason")).toString(), QStringLiteral("unknown id"));
        QCOMPARE(reason.value(QLatin1String("ids")).toVariant().toStringList(),
                 (QStringList{"201", "202", "203", "204", "205", "206", "207", "208"}));
    }

    void badInputNamesFileAndLine_data()
    {
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QByteArray>("content");   // empty: no such file
        QTest::addColumn<QString>("message");

        QTest::newRow("script error") << "import" << "bad.rc"
                                      << QByteArray("STRINGTABLE\nBEGIN\n  1 \"ok\"\n  IDS_UNKNOWN \"no\"\nEND\n")
                                      << "bad.rc:4: error: \"IDS_UNKNOWN\" is not defined";
        QTest::newRow("XLIFF error") << "import" << "bad.xlf" << QByteArray("<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n<file>\n</xliff>\n")
                                     << "bad.xlf:3: error:";
        QTest::newRow("unknown kind of file") << "import" << "strings.txt" << QByteArray("x") << "strings.txt: error: the kind of file is not known";
        QTest::newRow("no such file") << "import" << "missing.rc" << QByteArray() << "missing.rc: error: the file does not exist";
        QTest::newRow("export to an unknown kind") << "export" << "out.txt" << QByteArray() << "out.txt: error: the kind of file is not known";
    }

    void badInputNamesFileAndLine()
    {
        QFETCH(QString, tool);
        QFETCH(QString, fileName);
        QFETCH(QByteArray, content);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const QString ws = dir.filePath(QStringLiteral("w.kvw"));
        server::CreateDemoWorkspace(ws);
        const QString before = Cli({"stats", ws, "--json"}).out;

        const QString file = content.isEmpty() ? dir.filePath(fileName) : WriteBytes(dir, fileName, content);
        const Run r = Cli({tool, ws, file});
        QCOMPARE(r.code, int(cli::exitBadInput));
        QVERIFY2(r.err.contains(message) && r.out.isEmpty(), r.Describe());
        QCOMPARE(Cli({"stats", ws, "--json"}).out, before);
    }

    void progressOnATerminal()
    {
        QTemporaryDir dir;
        const QString demo = dir.filePath(QStringLiteral("demo.kvw"));
        server::CreateDemoWorkspace(demo);
        const QString xlf = dir.filePath(QStringLiteral("demo.xlf"));
        Run r = Cli({"export", demo, xlf}, true);
        QVERIFY2(r.code == 0 && r.err.contains(QLatin1String("\rExporting 32767/32767")), r.Describe());
        QVERIFY(r.err.endsWith(QLatin1String("\r\033[K")));   // the line is cleared before the summary

        const QString ws = dir.filePath(QStringLiteral("w.kvw"));
        QCOMPARE(Cli({"new", ws, "--language", "de-DE"}).code, 0);
        r = Cli({"import", ws, xlf, "--as", "english-default"}, true);
        QVERIFY2(r.code == 0 && r.err.contains(QLatin1String("\rImporting 200/286")), r.Describe());
        QVERIFY(r.err.contains(QLatin1String("\rImporting 286/286")));

        // Not on a terminal: no progress at all.
        QVERIFY(Cli({"export", demo, xlf}).err.isEmpty());
    }

    void demoAndItsStats()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("my demo.kvw"));
        QVERIFY(Cli({"demo", path}).code == cli::exitSuccess);
        // The default table and table 1, as a table and as JSON.
        for (const TableVersion version : {ssLocalEdited, ssLocalDefault}) {
            const QStringList table = version == ssLocalEdited ? QStringList() : QStringList{"--table", "1"};
            const QString expected = Counts(server::DemoCounts(version));
            Run r = Cli(QStringList{"stats", path} + table);
            QVERIFY2(r.code == 0, r.Describe());
            QVERIFY(r.out.contains(QStringLiteral("table %1 (%2").arg(int(version)).arg(server::TableSet::FixedSourceName(version))));
            QCOMPARE(Counts(r.out), expected);

            r = Cli(QStringList{"stats", path, "--json"} + table);
            QJsonParseError error;
            const QJsonObject o = QJsonDocument::fromJson(r.out.toUtf8(), &error).object();
            QVERIFY2(r.code == 0 && error.error == QJsonParseError::NoError, r.Describe());
            QCOMPARE(o.value(QLatin1String("table")).toInt(), int(version));
            QCOMPARE(o.value(QLatin1String("language")).toString(), QStringLiteral("de"));
            QStringList counts;
            for (const char *key : {"total", "translated", "missing", "outOfDate", "unapproved"})
                counts << QString::number(o.value(QLatin1String(key)).toInt(-1));
            QCOMPARE(counts.join(u' '), expected);
        }

        {
            const server::WorkspacePtr ws = server::Workspace::Open(path);
            ws->setSymbol(100, QStringLiteral("IDS_MINE"));
            ws->Tables()->Save(ssEnglishDefault, false);
        }
        const auto mine = [&] { return server::Workspace::Open(path)->Symbol(100) == QLatin1String("IDS_MINE"); };
        // Refused over an existing file, which keeps the user's work.
        Run r = Cli({"demo", path});
        QVERIFY2(r.code == cli::exitBadInput && r.err.contains(path) && r.err.contains("--force"), r.Describe());
        QVERIFY(mine());
        r = Cli({"demo", "--force", path});
        QVERIFY2(r.code == cli::exitSuccess, r.Describe());
        QVERIFY(!mine());
        // A place it cannot be written to fails and leaves nothing behind.
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("folder.kvw")));
        r = Cli({"demo", dir.filePath(QStringLiteral("folder.kvw")), "--force"});
        QVERIFY2(r.code == cli::exitBadInput && r.err.contains("folder.kvw"), r.Describe());
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), (QStringList{"folder.kvw", "my demo.kvw"}));

        // A file that is not a workspace is bad input.
        r = Cli({"stats", WriteBytes(dir, QStringLiteral("text.kvw"), "plain text")});
        QVERIFY2(r.code == cli::exitBadInput && r.err.contains(QLatin1String("text.kvw")), r.Describe());
    }

    void theProgram()
    {
#ifndef KVEDIT_BINARY
        QSKIP("the kvedit program is not part of this build");
#else
        QTemporaryDir dir;
        const QString ws = dir.filePath(QStringLiteral("demo.kvw"));
        server::CreateDemoWorkspace(ws);
        test::ProcessResult r = test::RunTool(QStringLiteral(KVEDIT_BINARY), {"stats", ws});
        QCOMPARE(r.exitCode, 0);

        const QString bad = WriteBytes(dir, QStringLiteral("bad.rc"), "STRINGTABLE BEGIN\n 0 \"zero\"\nEND\n");
        r = test::RunTool(QStringLiteral(KVEDIT_BINARY), {"import", ws, bad});
        QCOMPARE(r.exitCode, 1);
        QVERIFY2(r.err.contains(bad + QStringLiteral(":2: error: the string id 0 is outside 1 to 32767")), qPrintable(r.err));
        QVERIFY(r.out.isEmpty());

        r = test::RunTool(QStringLiteral(KVEDIT_BINARY), {"export", ws});
        QCOMPARE(r.exitCode, 2);
        QVERIFY(r.err.contains(QLatin1String("Usage:")));

        // A file name that is not UTF-8 cannot be given back to the system as it was written: refused,
        // not created under another name. The shell passes the raw byte.
        const QStringList before = QDir(dir.path()).entryList(QDir::Files);
        r = test::RunTool(QStringLiteral("sh"), {"-c", "exec \"$0\" new \"$1/caf$(printf '\\351').kvw\" --language de",
                                                 QStringLiteral(KVEDIT_BINARY), dir.path()});
        QCOMPARE(r.exitCode, 1);
        QVERIFY2(r.err.contains(QLatin1String("is not valid UTF-8; rename the file")), qPrintable(r.err));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), before);
#endif
    }
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
