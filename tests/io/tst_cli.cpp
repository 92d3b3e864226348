// The command-line tools: usage errors end with 2, bad input with 1 and a message naming file
// and line, work with 0; new, import, export and stats do what they say.

#include "IoTestSupport.h"

#include "cli/CommandLine.h"
#include "io/WorkspaceTransfer.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>
#include <QtTest>

using namespace kvedit;
using kvedit::test::DataFile;
using kvedit::test::WriteBytes;

namespace {

struct Run {
    int code = -1;
    QString out, err;
};

Run Cli(const QStringList &arguments, bool interactive = false)
{
    Run r;
    QTextStream out(&r.out);
    QTextStream err(&r.err);
    r.code = cli::RunCommandLine(QStringList{QStringLiteral("kvedit")} + arguments, out, err, interactive);
    out.flush();
    err.flush();
    return r;
}

QString Describe(const Run &r)
{
    return QStringLiteral("exit %1\nstdout:\n%2\nstderr:\n%3").arg(r.code).arg(r.out, r.err);
}

// "  Missing          26" -> 26
int Row(const QString &table, const QString &label)
{
    const QRegularExpression row(QStringLiteral("^  %1 +(\\d+)").arg(QRegularExpression::escape(label)),
                                 QRegularExpression::MultilineOption);
    const auto m = row.match(table);
    return m.hasMatch() ? m.captured(1).toInt() : -1;
}

} // namespace

class TestCli : public QObject {
    Q_OBJECT

private slots:
    void toolNames_data();
    void toolNames();
    void usageErrors_data();
    void usageErrors();
    void newCreatesAWorkspace();
    void importExportAndStats();
    void badInputNamesFileAndLine_data();
    void badInputNamesFileAndLine();
    void statsOfTheDemo_data();
    void statsOfTheDemo();
    void progressOnATerminal();
    void theProgram();
};

void TestCli::toolNames_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<bool>("tool");
    QTest::newRow("new") << "new" << true;
    QTest::newRow("import") << "import" << true;
    QTest::newRow("export") << "export" << true;
    QTest::newRow("stats") << "stats" << true;
    QTest::newRow("a workspace") << "demo.kvw" << false;
    QTest::newRow("an option") << "--table" << false;
    QTest::newRow("capitals") << "Stats" << false;
}

void TestCli::toolNames()
{
    QFETCH(QString, argument);
    QFETCH(bool, tool);
    QCOMPARE(cli::IsCommandLineTool(argument.toUtf8().constData()), tool);
    QVERIFY(!cli::IsCommandLineTool(nullptr));
}

void TestCli::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("no tool") << QStringList() << "Usage:";
    QTest::newRow("unknown tool") << QStringList{"merge"} << "Usage:";
    QTest::newRow("new without a file") << QStringList{"new", "--language", "de"} << "new expects one workspace file";
    QTest::newRow("new without a language") << QStringList{"new", "w.kvw"} << "new needs --language";
    QTest::newRow("new with a bad language") << QStringList{"new", "w.kvw", "--language", "not a tag"} << "is not a language tag";
    QTest::newRow("import without a file") << QStringList{"import", "w.kvw"} << "import expects a workspace file and the file";
    QTest::newRow("import as what") << QStringList{"import", "w.kvw", "a.rc", "--as", "french"} << "--as takes english-default or local-default";
    QTest::newRow("import code page") << QStringList{"import", "w.kvw", "a.rc", "--codepage", "latin"} << "--codepage takes";
    QTest::newRow("export table 4") << QStringList{"export", "w.kvw", "a.rc", "--table", "4"} << "--table takes 0 to 3";
    QTest::newRow("stats table word") << QStringList{"stats", "w.kvw", "--table", "one"} << "--table takes 0 to 3";
    QTest::newRow("unknown option") << QStringList{"stats", "w.kvw", "--colour"} << "Unknown option 'colour'";
    QTest::newRow("option without value") << QStringList{"export", "w.kvw", "a.rc", "--table"} << "Missing value after '--table'";
    QTest::newRow("too many files") << QStringList{"stats", "a.kvw", "b.kvw"} << "stats expects one workspace file";
}

void TestCli::usageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    QTemporaryDir dir;
    const QString previous = QDir::currentPath();
    QDir::setCurrent(dir.path());   // nothing may be created by a refused command
    const Run r = Cli(arguments);
    QDir::setCurrent(previous);
    QCOMPARE(r.code, int(cli::exitUsage));
    QVERIFY2(r.err.contains(message), qPrintable(Describe(r)));
    QVERIFY(r.err.contains(QLatin1String("Usage:")));
    QVERIFY(r.out.isEmpty());
    QVERIFY(QDir(dir.path()).entryList(QDir::Files).isEmpty());
}

void TestCli::newCreatesAWorkspace()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("french.kvw"));
    Run r = Cli({QStringLiteral("new"), path, QStringLiteral("--language"), QStringLiteral("fr-FR")});
    QVERIFY2(r.code == cli::exitSuccess, qPrintable(Describe(r)));
    QVERIFY(r.out.contains(QLatin1String("French")));
    {
        const server::WorkspacePtr ws = server::Workspace::Open(path);
        QCOMPARE(ws->Info().targetLanguage, QStringLiteral("fr-FR"));
        QCOMPARE(ws->Name(), QStringLiteral("french"));
        QCOMPARE(ws->Set()->RecordCount(ssEnglishDefault), 0);
    }
    // Not over an existing file.
    r = Cli({QStringLiteral("new"), path, QStringLiteral("--language"), QStringLiteral("de")});
    QCOMPARE(r.code, int(cli::exitBadInput));
    QVERIFY2(r.err.contains(QLatin1String("french.kvw")), qPrintable(Describe(r)));
    QCOMPARE(server::Workspace::Open(path)->Info().targetLanguage, QStringLiteral("fr-FR"));
}

void TestCli::importExportAndStats()
{
    QTemporaryDir dir;
    const QString ws = dir.filePath(QStringLiteral("sample.kvw"));
    QCOMPARE(Cli({QStringLiteral("new"), ws, QStringLiteral("--language"), QStringLiteral("de-DE")}).code, 0);

    Run r = Cli({QStringLiteral("import"), ws, DataFile(QStringLiteral("app/app.rc")), QStringLiteral("-I"),
                 DataFile(QStringLiteral("app/include")), QStringLiteral("-DWITH_EXTRAS")});
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QVERIFY2(r.out.contains(QLatin1String("into English Default: 12 added, 0 changed, 0 unchanged")), qPrintable(Describe(r)));
    QVERIFY(r.err.contains(QLatin1String("app.rc:4: note: system header \"windows.h\" is not present")));
    QCOMPARE(server::Workspace::Open(ws)->Set()->Text(107, ssEnglishDefault), QStringLiteral("Extended build"));

    r = Cli({QStringLiteral("import"), ws, DataFile(QStringLiteral("lang/de.rc")), QStringLiteral("--header"),
             DataFile(QStringLiteral("app/resource.h"))});
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QVERIFY(r.out.contains(QLatin1String("into Local Default: 5 added")));

    r = Cli({QStringLiteral("stats"), ws, QStringLiteral("--table"), QStringLiteral("1")});
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QCOMPARE(Row(r.out, QStringLiteral("Strings")), 12);
    QCOMPARE(Row(r.out, QStringLiteral("Translated")), 5);
    QCOMPARE(Row(r.out, QStringLiteral("Missing")), 7);
    QCOMPARE(Row(r.out, QStringLiteral("Out of date")), 7);
    QCOMPARE(Row(r.out, QStringLiteral("Unapproved")), 12);

    // Export as a script and as XLIFF; the XLIFF carries the translations.
    const QString rc = dir.filePath(QStringLiteral("de.rc"));
    r = Cli({QStringLiteral("export"), ws, rc, QStringLiteral("--table"), QStringLiteral("1")});
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QVERIFY(r.out.contains(QLatin1String("Exported 5 strings of Local Default")));
    QVERIFY(QString::fromUtf8(test::ReadBytes(rc))
                .contains(QRegularExpression(QStringLiteral("\n +IDS_FILE_OPEN +\"Datei \u00f6&ffnen\"\n"))));
    const QString xlf = dir.filePath(QStringLiteral("de.xliff"));
    r = Cli({QStringLiteral("export"), ws, xlf});
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QVERIFY(r.out.contains(QLatin1String("Exported 12 strings of Local Edited")));

    // The XLIFF starts another workspace.
    const QString other = dir.filePath(QStringLiteral("other.kvw"));
    QCOMPARE(Cli({QStringLiteral("new"), other, QStringLiteral("--language"), QStringLiteral("de-DE")}).code, 0);
    QCOMPARE(Cli({QStringLiteral("import"), other, xlf, QStringLiteral("--as"), QStringLiteral("english-default")}).code, 0);
    r = Cli({QStringLiteral("import"), other, xlf});
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QVERIFY(r.out.contains(QLatin1String("5 added, 0 changed, 0 unchanged, 7 not imported")));
    QCOMPARE(Cli({QStringLiteral("stats"), other, QStringLiteral("--table"), QStringLiteral("1")}).out,
             Cli({QStringLiteral("stats"), ws, QStringLiteral("--table"), QStringLiteral("1")}).out.replace(
                 QLatin1String("sample"), QLatin1String("other")));
}

void TestCli::badInputNamesFileAndLine_data()
{
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("message");

    QTest::newRow("script error") << "import" << "bad.rc"
                                  << QByteArray("STRINGTABLE\nBEGIN\n  1 \"ok\"\n  IDS_UNKNOWN \"no\"\nEND\n")
                                  << "bad.rc:4: error: \"IDS_UNKNOWN\" is not defined";
    QTest::newRow("XLIFF error") << "import" << "bad.xlf" << QByteArray("<xliff version=\"1.2\">\n<file>\n</xliff>\n")
                                 << "bad.xlf:3: error:";
    QTest::newRow("unknown kind of file") << "import" << "strings.txt" << QByteArray("x") << "strings.txt: error: the kind of file is not known";
    QTest::newRow("no such file") << "import" << "" << QByteArray() << "missing.rc: error: the file does not exist";
    QTest::newRow("export to an unknown kind") << "export" << "out.po" << QByteArray() << "out.po: error: the kind of file is not known";
}

void TestCli::badInputNamesFileAndLine()
{
    QFETCH(QString, tool);
    QFETCH(QString, fileName);
    QFETCH(QByteArray, content);
    QFETCH(QString, message);
    QTemporaryDir dir;
    const QString ws = dir.filePath(QStringLiteral("w.kvw"));
    server::CreateDemoWorkspace(ws);
    const QStringList before = Cli({QStringLiteral("stats"), ws, QStringLiteral("--json")}).out.split(u'\n');

    QString file = dir.filePath(fileName.isEmpty() ? QStringLiteral("missing.rc") : fileName);
    if (!content.isEmpty())
        file = WriteBytes(dir, fileName, content);
    const Run r = Cli({tool, ws, file});
    QCOMPARE(r.code, int(cli::exitBadInput));
    QVERIFY2(r.err.contains(message), qPrintable(Describe(r)));
    QVERIFY(r.out.isEmpty());
    QCOMPARE(Cli({QStringLiteral("stats"), ws, QStringLiteral("--json")}).out.split(u'\n'), before);

    // A workspace that is not one is bad input too.
    const QString notWorkspace = WriteBytes(dir, QStringLiteral("text.kvw"), "plain text");
    const Run r2 = Cli({QStringLiteral("stats"), notWorkspace});
    QCOMPARE(r2.code, int(cli::exitBadInput));
    QVERIFY2(r2.err.contains(QLatin1String("text.kvw")), qPrintable(Describe(r2)));
}

void TestCli::statsOfTheDemo_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("version");
    QTest::newRow("default table") << QStringList() << int(ssLocalEdited);
    QTest::newRow("table 0") << QStringList{"--table", "0"} << int(ssLocalEdited);
    QTest::newRow("table 1") << QStringList{"--table", "1"} << int(ssLocalDefault);
}

void TestCli::statsOfTheDemo()
{
    QFETCH(QStringList, options);
    QFETCH(int, version);
    QTemporaryDir dir;
    const QString ws = dir.filePath(QStringLiteral("demo.kvw"));
    server::CreateDemoWorkspace(ws);
    const server::DemoStringCounts expected = server::DemoCounts(static_cast<TableVersion>(version));

    Run r = Cli(QStringList{QStringLiteral("stats"), ws} + options);
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QVERIFY(r.out.contains(QStringLiteral("table %1 (%2").arg(version).arg(server::TableSet::FixedSourceName(version))));
    QCOMPARE(Row(r.out, QStringLiteral("Strings")), expected.total);
    QCOMPARE(Row(r.out, QStringLiteral("Translated")), expected.translated);
    QCOMPARE(Row(r.out, QStringLiteral("Missing")), expected.missing);
    QCOMPARE(Row(r.out, QStringLiteral("Out of date")), expected.outOfDate);
    QCOMPARE(Row(r.out, QStringLiteral("Unapproved")), expected.unapproved);

    r = Cli(QStringList{QStringLiteral("stats"), ws, QStringLiteral("--json")} + options);
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QJsonParseError error;
    const QJsonObject o = QJsonDocument::fromJson(r.out.toUtf8(), &error).object();
    QCOMPARE(error.error, QJsonParseError::NoError);
    QCOMPARE(o.value(QLatin1String("table")).toInt(), version);
    QCOMPARE(o.value(QLatin1String("language")).toString(), QStringLiteral("de"));
    QCOMPARE(o.value(QLatin1String("total")).toInt(), expected.total);
    QCOMPARE(o.value(QLatin1String("translated")).toInt(), expected.translated);
    QCOMPARE(o.value(QLatin1String("missing")).toInt(), expected.missing);
    QCOMPARE(o.value(QLatin1String("outOfDate")).toInt(), expected.outOfDate);
    QCOMPARE(o.value(QLatin1String("unapproved")).toInt(), expected.unapproved);
}

void TestCli::progressOnATerminal()
{
    QTemporaryDir dir;
    const QString demo = dir.filePath(QStringLiteral("demo.kvw"));
    server::CreateDemoWorkspace(demo);
    const QString xlf = dir.filePath(QStringLiteral("demo.xlf"));
    Run r = Cli({QStringLiteral("export"), demo, xlf}, true);
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QVERIFY(r.err.contains(QLatin1String("\rExporting 32767/32767")));
    QVERIFY(r.err.endsWith(QLatin1String("\r\033[K")));   // the line is cleared before the summary

    const QString ws = dir.filePath(QStringLiteral("w.kvw"));
    QCOMPARE(Cli({QStringLiteral("new"), ws, QStringLiteral("--language"), QStringLiteral("de-DE")}).code, 0);
    r = Cli({QStringLiteral("import"), ws, xlf, QStringLiteral("--as"), QStringLiteral("english-default")}, true);
    QVERIFY2(r.code == 0, qPrintable(Describe(r)));
    QVERIFY(r.err.contains(QLatin1String("\rImporting 200/286")));
    QVERIFY(r.err.contains(QLatin1String("\rImporting 286/286")));

    // Not on a terminal: no progress at all.
    r = Cli({QStringLiteral("export"), demo, xlf});
    QVERIFY(r.err.isEmpty());
}

void TestCli::theProgram()
{
#ifndef KVEDIT_BINARY
    QSKIP("the kvedit program is not part of this build");
#else
    QTemporaryDir dir;
    const QString ws = dir.filePath(QStringLiteral("demo.kvw"));
    server::CreateDemoWorkspace(ws);
    test::ProcessResult r = test::RunTool(QStringLiteral(KVEDIT_BINARY), {QStringLiteral("stats"), ws});
    QCOMPARE(r.exitCode, 0);
    QCOMPARE(Row(r.out, QStringLiteral("Missing")), server::DemoCounts(ssLocalEdited).missing);

    const QString bad = WriteBytes(dir, QStringLiteral("bad.rc"), "STRINGTABLE BEGIN\n 0 \"zero\"\nEND\n");
    r = test::RunTool(QStringLiteral(KVEDIT_BINARY), {QStringLiteral("import"), ws, bad});
    QCOMPARE(r.exitCode, 1);
    QVERIFY2(r.err.contains(bad + QStringLiteral(":2: error: the string id 0 is outside 1 to 32767")), qPrintable(r.err));
    QVERIFY(r.out.isEmpty());

    r = test::RunTool(QStringLiteral(KVEDIT_BINARY), {QStringLiteral("export"), ws});
    QCOMPARE(r.exitCode, 2);
    QVERIFY(r.err.contains(QLatin1String("Usage:")));
#endif
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
