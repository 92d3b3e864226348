// The kvedit program as a user runs it: exit codes, messages, and the screenshot mode.

#include "server/Workspace.h"

#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Result {
    int exitCode;
    QString out, err;
};

Result Run(const QStringList &args, const QProcessEnvironment &env = QProcessEnvironment::systemEnvironment())
{
    QProcess p;
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(KVEDIT_BINARY), args);
    if (!p.waitForFinished(60000)) {
        p.kill();
        return {-1, {}, QStringLiteral("timed out")};
    }
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -2, QString::fromLocal8Bit(p.readAllStandardOutput()),
            QString::fromLocal8Bit(p.readAllStandardError())};
}

QProcessEnvironment WithoutDisplay()
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    return env;
}

} // namespace

class TestApp : public QObject {
    Q_OBJECT

private slots:
    void badInputFailsClearly_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("content");   // written to the workspace path first, unless empty
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing file") << QStringList{QStringLiteral("%ws")} << QString() << 1 << QStringLiteral("ws.kvw");
        QTest::newRow("foreign file") << QStringList{QStringLiteral("%ws")} << QStringLiteral("just some text\n") << 1
                                      << QStringLiteral("ws.kvw");
        QTest::newRow("table out of range") << QStringList{QStringLiteral("--table"), QStringLiteral("4")} << QString()
                                            << 2 << QStringLiteral("--table");
        QTest::newRow("two workspaces") << QStringList{QStringLiteral("a.kvw"), QStringLiteral("b.kvw")} << QString()
                                        << 2 << QStringLiteral("at most one");
        QTest::newRow("unknown option") << QStringList{QStringLiteral("--frobnicate")} << QString() << 2
                                        << QStringLiteral("frobnicate");
    }
    void badInputFailsClearly()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, content);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const QString ws = dir.filePath(QStringLiteral("ws.kvw"));
        if (!content.isEmpty()) {
            QFile f(ws);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(content.toUtf8());
        }
        args.replaceInStrings(QStringLiteral("%ws"), ws);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        const Result r = Run(args, env);
        QCOMPARE(r.exitCode, exitCode);
        QVERIFY2(r.err.contains(message), qPrintable(r.err));
        if (!content.isEmpty()) {   // nothing was written over the foreign file
            QFile f(ws);
            QVERIFY(f.open(QIODevice::ReadOnly));
            QCOMPARE(QString::fromUtf8(f.readAll()), content);
        }
    }

    void withoutDisplaySaysHowToRun()
    {
        const Result r = Run({}, WithoutDisplay());
        QCOMPARE(r.exitCode, 2);
        QVERIFY2(r.err.contains(QStringLiteral("xvfb-run")), qPrintable(r.err));
        QVERIFY(r.err.contains(QStringLiteral("QT_QPA_PLATFORM=offscreen")));
    }

    void screenshotRendersTheEditor_data()
    {
        QTest::addColumn<QString>("table");
        QTest::newRow("local edited") << QStringLiteral("0");
        QTest::newRow("english default") << QStringLiteral("3");
    }
    void screenshotRendersTheEditor()
    {
        QFETCH(QString, table);
        QTemporaryDir dir;
        const QString png = dir.filePath(QStringLiteral("editor.png"));
        // No display needed: the screenshot mode renders offscreen by itself.
        const Result r = Run({QStringLiteral("--table"), table, QStringLiteral("--screenshot"), png,
                              QStringLiteral("--size"), QStringLiteral("1000x700")},
                             WithoutDisplay());
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        QImage image(png);
        QVERIFY(!image.isNull());
        QCOMPARE(image.size(), QSize(1000, 700));
        // A populated list is not one flat colour: count distinct colours in the middle band.
        QSet<QRgb> colours;
        for (int y = image.height() / 3; y < 2 * image.height() / 3; y += 3)
            for (int x = 0; x < image.width(); x += 7)
                colours.insert(image.pixel(x, y));
        QVERIFY2(colours.size() > 8, qPrintable(QString::number(colours.size())));
    }

    void opensAWorkspaceFileForTheScreenshot()
    {
        QTemporaryDir dir;
        const QString ws = dir.filePath(QStringLiteral("demo.kvw"));
        kvedit::server::CreateDemoWorkspace(ws);
        const QString png = dir.filePath(QStringLiteral("shot.png"));
        const Result r = Run({ws, QStringLiteral("--screenshot"), png}, WithoutDisplay());
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        QVERIFY(!QImage(png).isNull());
    }
};

QTEST_GUILESS_MAIN(TestApp)
#include "tst_app.moc"
