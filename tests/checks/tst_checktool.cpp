// The check tool and the problem lines of import and export: the demo workspace's deliberate
// problems as lines and JSON, the exit codes, rules switched off and kept, and --strict.

#include "CliRun.h"
#include "IoTestSupport.h"
#include "server/Workspace.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <algorithm>

using namespace kvedit;

namespace {

using Run = kvedit::test::CliRun;
using kvedit::test::Cli;
using kvedit::test::WriteBytes;

// Lines of the check's output that report a problem of the rule.
int LinesOf(const QString &out, const QString &rule)
{
    return static_cast<int>(out.count(QStringLiteral(" [%1]: ").arg(rule)));
}

const QStringList kErrorRules{"placeholders", "parameters", "formats", "shortcut", "line-breaks", "tabs"};

QStringList NoRules(const QStringList &rules)
{
    QStringList options;
    for (const QString &rule : rules)
        options << QStringLiteral("--no-rule") << rule;
    return options;
}

} // namespace

class TestCheckTool : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_demo;

private slots:
    void initTestCase()
    {
        m_demo = m_dir.filePath(QStringLiteral("demo.kvw"));
        server::CreateDemoWorkspace(m_demo);
    }

    void theDemo_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("line");   // one line the output holds; empty: no problem lines
        QTest::addColumn<QString>("rule");   // a rule reported on no line

        QTest::newRow("translation") << QStringList() << 1
                                     << ":1035 (IDS_MSG_PICTURE_TOO_LARGE): error [placeholders]: the translation lacks %2" << "parameters";
        QTest::newRow("local default") << QStringList{"--table", "1"} << 1
                                       << ":1041 (IDS_MSG_ZOOM): error [formats]: a '%' that starts no format; a printf-style text writes '%%'"
                                       << "parameters";
        QTest::newRow("errors off") << NoRules(kErrorRules) << 0 << ": warning [identical]: the translation is the English text itself"
                                    << "placeholders";
        QTest::newRow("warnings as errors") << NoRules(kErrorRules) + QStringList{"--warnings-as-errors"} << 1 << "warning [length]"
                                            << "tabs";
        QTest::newRow("all off") << NoRules(kErrorRules) + NoRules({"shortcut-clash", "line-count", "whitespace", "punctuation", "identical", "length"})
                                           + QStringList{"--warnings-as-errors"}
                                 << 0 << "" << "";
    }

    void theDemo()
    {
        QFETCH(QStringList, options);
        QFETCH(int, exitCode);
        QFETCH(QString, line);
        QFETCH(QString, rule);
        const Run r = Cli(QStringList{"check", m_demo} + options);
        QVERIFY2(r.code == exitCode && r.err.isEmpty(), r.Describe());
        const QStringList lines = r.out.split(u'\n', Qt::SkipEmptyParts);
        // Every line but the summary is one problem of the workspace; the summary counts them.
        QVERIFY(!lines.isEmpty());
        for (const QString &l : lines.mid(0, lines.size() - 1))
            QVERIFY2(l.startsWith(m_demo + QLatin1Char(':')), qPrintable(l));
        const QRegularExpressionMatch summary =
            QRegularExpression(QStringLiteral("^.*demo\\.kvw, table \\d \\(.*\\): (\\d+) errors? and (\\d+) warnings? in \\d+ strings?$"))
                .match(lines.last());
        QVERIFY2(summary.hasMatch(), qPrintable(lines.last()));
        QCOMPARE(summary.captured(1).toInt() + summary.captured(2).toInt(), lines.size() - 1);
        QCOMPARE(summary.captured(1).toInt() > 0 || (options.contains("--warnings-as-errors") && summary.captured(2).toInt() > 0),
                 exitCode == 1);
        if (line.isEmpty())
            QCOMPARE(lines.size(), 1);
        else
            QVERIFY2(r.out.contains(line), r.Describe());
        if (!rule.isEmpty())
            QCOMPARE(LinesOf(r.out, rule), 0);
    }

    void json()
    {
        const Run text = Cli({"check", m_demo, "--table", "1"});
        const Run r = Cli({"check", m_demo, "--table", "1", "--json", "--no-rule", "length"});
        QCOMPARE(r.code, 1);
        QJsonParseError error;
        const QJsonObject o = QJsonDocument::fromJson(r.out.toUtf8(), &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QVERIFY(!o.value(QLatin1String("rules")).toArray().contains(QStringLiteral("length")));
        const QJsonArray problems = o.value(QLatin1String("problems")).toArray();
        QCOMPARE(problems.size(), text.out.count(u'\n') - 1 - LinesOf(text.out, QStringLiteral("length")));
        QCOMPARE(o.value(QLatin1String("errors")).toInt() + o.value(QLatin1String("warnings")).toInt(), problems.size());
        // The same problem as in the text: the shortcut marked twice, with its range.
        const auto match = std::find_if(problems.begin(), problems.end(), [](const QJsonValue &v) {
            return v[QLatin1String("symbol")] == QLatin1String("IDS_DLG_MATCH_CASE");
        });
        QVERIFY(match != problems.end());
        const QJsonObject p = match->toObject();
        QCOMPARE(p[QLatin1String("rule")].toString() + ' ' + p[QLatin1String("severity")].toString(), "shortcut error");
        QCOMPARE(p[QLatin1String("start")].toInt(), QStringLiteral("&Groß-/Klein&schreibung").lastIndexOf(u'&'));
        QVERIFY(text.out.contains(QStringLiteral(":%1 (IDS_DLG_MATCH_CASE): error [shortcut]: %2")
                                      .arg(p[QLatin1String("id")].toInt())
                                      .arg(p[QLatin1String("message")].toString())));
    }

    void usage_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("no workspace") << QStringList{"check"} << "check expects one workspace file";
        QTest::newRow("unknown rule") << QStringList{"check", "w.kvw", "--no-rule", "spelling"} << "there is no rule \"spelling\"";
        QTest::newRow("table 4") << QStringList{"check", "w.kvw", "--table", "4"} << "--table takes 0 to 3";
    }

    void usage()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const Run r = Cli(arguments);
        QCOMPARE(r.code, int(cli::exitUsage));
        QVERIFY2(r.err.contains(message) && r.err.contains(QLatin1String("kvedit check WORKSPACE")), r.Describe());
    }

    void rulesKeptInTheWorkspace()
    {
        QTemporaryDir dir;
        const QString ws = dir.filePath(QStringLiteral("w.kvw"));
        QFile::copy(m_demo, ws);
        const int punctuation = LinesOf(Cli({"check", ws}).out, QStringLiteral("punctuation"));
        QVERIFY(punctuation > 0);
        QCOMPARE(Cli({"check", ws, "--no-rule", "punctuation", "--no-rule", "identical", "--save-rules"}).code, 1);
        QCOMPARE(server::Workspace::Open(ws)->Tables()->DisabledCheckRules(), (QStringList{"identical", "punctuation"}));
        Run r = Cli({"check", ws});
        QCOMPARE(LinesOf(r.out, QStringLiteral("punctuation")), 0);
        r = Cli({"check", ws, "--rule", "punctuation"});   // for one run
        QCOMPARE(LinesOf(r.out, QStringLiteral("punctuation")), punctuation);
        QCOMPARE(LinesOf(r.out, QStringLiteral("identical")), 0);
        QCOMPARE(Cli({"check", ws, "--rule", "punctuation", "--rule", "identical", "--save-rules"}).code, 1);
        QCOMPARE(server::Workspace::Open(ws)->Tables()->DisabledCheckRules(), QStringList());
    }

    void importAndExport()
    {
        QTemporaryDir dir;
        const QString ws = dir.filePath(QStringLiteral("w.kvw"));
        QCOMPARE(Cli({"new", ws, "--language", "de-DE"}).code, 0);
        const QString english = WriteBytes(dir, QStringLiteral("app.rc"),
                                      "STRINGTABLE\nBEGIN\n  1 \"&Open...\"\n  2 \"Page %1 of %2\"\n  3 \"Ready\"\nEND\n");
        Run r = Cli({"import", ws, english});
        QVERIFY2(r.code == 0 && r.out.contains(QLatin1String("The 3 added or changed strings carry 0 errors and 0 warnings")),
                 r.Describe());

        // A translation that drops %2 and the shortcut: refused whole with --strict.
        const QString german = WriteBytes(dir, QStringLiteral("de.rc"),
                                     "LANGUAGE LANG_GERMAN, SUBLANG_GERMAN\nSTRINGTABLE\nBEGIN\n  1 \"\xc3\x96\x66\x66nen...\"\n"
                                     "  2 \"Seite %1\"\n  3 \"Bereit\"\nEND\n");
        r = Cli({"import", ws, german, "--strict"});
        QCOMPARE(r.code, int(cli::exitBadInput));
        QVERIFY2(r.err.contains(german + QStringLiteral(": string 2: error [placeholders]: the translation lacks %2"))
                     && r.err.contains(QLatin1String("the import would add 2 errors; nothing was imported")),
                 r.Describe());
        QVERIFY(server::Workspace::Open(ws)->Tables()->Text(3, ssLocalDefault).isEmpty());

        r = Cli({"import", ws, german});
        QVERIFY2(r.code == 0 && r.out.contains(QLatin1String("The 3 added or changed strings carry 2 errors and 0 warnings")),
                 r.Describe());
        r = Cli({"check", ws, "--table", "1"});
        QVERIFY2(r.code == 1 && r.out.startsWith(ws + QStringLiteral(":1: error [shortcut]: the English text has a shortcut, the translation none\n"))
                     && r.out.contains(ws + QStringLiteral(":2: error [placeholders]: the translation lacks %2\n")),
                 r.Describe());
        r = Cli({"import", ws, german, "--strict"});   // nothing new: nothing added, nothing refused
        QVERIFY2(r.code == 0 && r.out.contains(QLatin1String("The 0 added or changed strings carry 0 errors")), r.Describe());

        r = Cli({"export", ws, dir.filePath(QStringLiteral("out.rc")), "--table", "1"});
        QVERIFY2(r.code == 0 && r.out.contains(QLatin1String("The exported table carries 2 errors and 0 warnings")), r.Describe());
    }
};

QTEST_GUILESS_MAIN(TestCheckTool)
#include "tst_checktool.moc"
