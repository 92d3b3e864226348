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

// The program's environment: with the offscreen platform or with no display at all, and its
// user data and settings folders (the demo workspace, the translation memory) in a folder of the
// test's own.
QProcessEnvironment Environment(bool display)
{
    static QTemporaryDir data;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_DATA_HOME"), data.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), data.path() + QStringLiteral("/config"));
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    if (display)
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    else
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    return env;
}

QString DemoPath()
{
    return Environment(false).value(QStringLiteral("XDG_DATA_HOME")) + QStringLiteral("/kvedit/demo.kvw");
}

Result Run(const QStringList &args, bool display = true)
{
    QProcess p;
    p.setProcessEnvironment(Environment(display));
    p.start(QStringLiteral(KVEDIT_BINARY), args);
    if (!p.waitForFinished(60000)) {
        p.kill();
        return {-1, {}, QStringLiteral("timed out")};
    }
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -2, QString::fromLocal8Bit(p.readAllStandardOutput()),
            QString::fromLocal8Bit(p.readAllStandardError())};
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
        QTest::newRow("missing file") << QStringList{"%ws"} << "" << 1 << "ws.kvw";
        QTest::newRow("foreign file") << QStringList{"%ws"} << "just some text\n" << 1 << "ws.kvw";
        QTest::newRow("table out of range") << QStringList{"--table", "4"} << "" << 2 << "--table";
        QTest::newRow("two workspaces") << QStringList{"a.kvw", "b.kvw"} << "" << 2 << "at most one";
        QTest::newRow("unknown option") << QStringList{"--frobnicate"} << "" << 2 << "frobnicate";
        QTest::newRow("size without a screenshot") << QStringList{"--size", "800x600"} << "" << 2 << "--size";
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
        // The same answer without a display: the request is checked before the display is missed.
        for (const bool display : {true, false}) {
            const Result r = Run(args, display);
            QCOMPARE(r.exitCode, exitCode);
            QVERIFY2(r.err.contains(message) && !r.err.contains(QStringLiteral("xvfb-run")), qPrintable(r.err));
        }
        if (!content.isEmpty()) {   // nothing was written over the foreign file
            QFile f(ws);
            QVERIFY(f.open(QIODevice::ReadOnly));
            QCOMPARE(QString::fromUtf8(f.readAll()), content);
        }
    }

    // Without a workspace the demo kept in the user's data folder opens: made on first use, not
    // for a run without a display (which says how to run), named in the help, and reused with
    // what was saved in it.
    void demoWorkspaceKeepsTheUsersWork()
    {
        QFile::remove(DemoPath());
        Result r = Run({}, false);
        QCOMPARE(r.exitCode, 2);
        QVERIFY2(r.err.contains("xvfb-run") && r.err.contains("QT_QPA_PLATFORM=offscreen"), qPrintable(r.err));
        QVERIFY(!QFile::exists(DemoPath()));
        QVERIFY2(Run({"--help"}, false).out.contains(DemoPath()), qPrintable(DemoPath()));
        QTemporaryDir dir;
        const QString png = dir.filePath(QStringLiteral("shot.png"));
        r = Run({"--screenshot", png}, false);
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        {
            const kvedit::server::WorkspacePtr demo = kvedit::server::Workspace::Open(DemoPath());
            const kvedit::StringEntryPtr e = demo->Tables()->Entry(100, kvedit::ssLocalEdited);
            demo->Tables()->StoreEntry(e->CreateEdited(100, QStringLiteral("Mine"), e->EntryText(), false, false, false,
                                                       QString(), 0, e->ParameterDefinitions(), true));
            demo->Tables()->Save(kvedit::ssLocalEdited, false);
        }
        r = Run({"--screenshot", png}, false);
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        QCOMPARE(kvedit::server::Workspace::Open(DemoPath())->Tables()->Text(100, kvedit::ssLocalEdited), "Mine");
        QCOMPARE(QDir(QFileInfo(DemoPath()).path()).entryList(QDir::Files), QStringList{"demo.kvw"});
    }

    void screenshotRendersTheEditor_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QSize>("size");
        QTest::newRow("local edited") << "0" << QSize(1000, 700);
        QTest::newRow("english default") << "3" << QSize(1000, 700);
        QTest::newRow("smaller than the window can be") << "0" << QSize(200, 150);
        QTest::newRow("a workspace file") << "file" << QSize(1000, 700);
    }
    void screenshotRendersTheEditor()
    {
        QFETCH(QString, table);
        QFETCH(QSize, size);
        QTemporaryDir dir;
        const QString png = dir.filePath(QStringLiteral("editor.png"));
        // No display needed: the screenshot mode renders offscreen by itself.
        QStringList args{"--screenshot", png, "--size", QStringLiteral("%1x%2").arg(size.width()).arg(size.height())};
        if (table == QLatin1String("file")) {
            args.prepend(dir.filePath(QStringLiteral("demo.kvw")));
            kvedit::server::CreateDemoWorkspace(args.first());
        } else {
            args << "--table" << table;
        }
        const Result r = Run(args, false);
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        QImage image(png);
        QVERIFY(!image.isNull());
        // A size the window cannot take is said, with the size the picture has instead.
        const QString note = QStringLiteral("cannot be as small as %1x%2, so the picture is %3x%4")
                                 .arg(size.width()).arg(size.height()).arg(image.width()).arg(image.height());
        QCOMPARE(r.err.contains(note), image.size() != size);
        // A populated list is not one flat colour: count distinct colours in the middle band.
        QSet<QRgb> colours;
        for (int y = image.height() / 3; y < 2 * image.height() / 3; y += 3)
            for (int x = 0; x < image.width(); x += 7)
                colours.insert(image.pixel(x, y));
        QVERIFY2(colours.size() > 8, qPrintable(QString::number(colours.size())));
    }
};

QTEST_GUILESS_MAIN(TestApp)
#include "tst_app.moc"
