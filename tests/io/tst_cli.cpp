// The command-line tools: usage errors end with 2, bad input with 1 and a message naming file
// and line, work with 0; each tool does what it says. Most runs are transcripts under
// data/cli/, compared whole with what the tools print.

#include "CliRun.h"
#include "IoTestSupport.h"

#include "server/Workspace.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using namespace kvedit;
using kvedit::test::Cli;
using kvedit::test::DataFile;
using kvedit::test::WriteBytes;

class TestCli : public QObject {
    Q_OBJECT

private slots:
    void transcripts_data() { test::AddTranscriptRows(DataFile(QStringLiteral("cli"))); }

    void transcripts()
    {
        QFETCH(QString, path);
        const QByteArray difference = test::CheckTranscript(path, QStringLiteral(KVEDIT_IO_TEST_DATA));
        QVERIFY2(difference.isEmpty(), difference.constData());
    }

    // The counts the server states for its demo, which other tests build on, are the ones its
    // workspace has.
    void demoCounts()
    {
        QTemporaryDir dir;
        const QString demo = dir.filePath(QStringLiteral("demo.kvw"));
        server::CreateDemoWorkspace(demo);
        for (const TableVersion version : {ssLocalEdited, ssLocalDefault}) {
            const server::DemoStringCounts c = server::DemoCounts(version);
            const test::CliRun r = Cli({"stats", demo, "--json", "--table", QString::number(int(version))});
            const QJsonObject o = QJsonDocument::fromJson(r.out.toUtf8()).object();
            QCOMPARE((QList<int>{o["total"].toInt(), o["translated"].toInt(), o["missing"].toInt(), o["outOfDate"].toInt(),
                                 o["unapproved"].toInt()}),
                     (QList<int>{c.total, c.translated, c.missing, c.outOfDate, c.unapproved}));
        }
    }

    void progressOnATerminal()
    {
        QTemporaryDir dir;
        const QString demo = dir.filePath(QStringLiteral("demo.kvw"));
        server::CreateDemoWorkspace(demo);
        const QString xlf = dir.filePath(QStringLiteral("demo.xlf"));
        test::CliRun r = Cli({"export", demo, xlf}, true);
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
