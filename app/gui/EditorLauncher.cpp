#include "gui/EditorLauncher.h"

#include "dataview/UCKvDataView.h"
#include "editor/frmEdit.h"
#include "entry/CGlobals.h"
#include "server/Workspace.h"
#include "services/ErrorContext.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTableView>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvedit::app {

namespace {

bool WantsScreenshot(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--screenshot") == 0 || std::strncmp(argv[i], "--screenshot=", 13) == 0)
            return true;
    return false;
}

bool WantsHelp(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0 || std::strcmp(argv[i], "--version") == 0)
            return true;
    return false;
}

// Qt aborts when its default platform finds no display; say what to do instead.
bool HasDisplayOrPlatform()
{
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qEnvironmentVariableIsSet("DISPLAY")
           || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

void PrintError(const QString &text)
{
    std::fprintf(stderr, "kvedit: %s\n", qPrintable(text));
}

// Started while the program is loaded, before main.
const QElapsedTimer g_started = [] {
    QElapsedTimer t;
    t.start();
    return t;
}();

// KVEDIT_EXIT_WHEN_SHOWN=1 (benchmarks): once the editor's list has been painted with its rows,
// print how long after start that was and close the editor as the user would.
class ExitWhenShown final : public QObject {
protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (m_done || event->type() != QEvent::Paint || !watched->isWidgetType())
            return false;
        QWidget *view = static_cast<QWidget *>(watched)->parentWidget();
        const auto *list = view ? qobject_cast<UCKvDataView *>(view->parentWidget()) : nullptr;
        if (!list || list->TableView()->viewport() != watched || !list->Activated())
            return false;
        m_done = true;
        QWidget *window = list->window();
        QTimer::singleShot(0, window, [window] {
            std::printf("kvedit: shown after %.1f ms\n", g_started.nsecsElapsed() / 1e6);
            std::fflush(stdout);
            window->close();
        });
        return false;
    }

private:
    bool m_done = false;
};

} // namespace

int RunEditor(int argc, char **argv)
{
    const bool screenshot = WantsScreenshot(argc, argv);
    if (!HasDisplayOrPlatform()) {
        if (screenshot || WantsHelp(argc, argv)) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        } else {
            std::fprintf(stderr,
                         "kvedit: no display found (DISPLAY and WAYLAND_DISPLAY are not set).\n"
                         "Run it under a virtual display:   xvfb-run -a kvedit [WORKSPACE]\n"
                         "or without any window:            QT_QPA_PLATFORM=offscreen kvedit [WORKSPACE]\n"
                         "or render a picture of it:        kvedit [WORKSPACE] --screenshot editor.png\n");
            return 2;
        }
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("kvedit"));
    QApplication::setApplicationDisplayName(QStringLiteral("kvedit"));
    QApplication::setApplicationVersion(QStringLiteral(KVEDIT_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Edit the string tables of a workspace (.kvw); without a workspace, a demo workspace is opened.\n"
        "Command-line tools: kvedit new|import|export|stats ... (kvedit <tool> --help)."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("workspace"), QStringLiteral("Workspace file to open (.kvw)."),
                                 QStringLiteral("[WORKSPACE]"));
    QCommandLineOption tableOption(QStringLiteral("table"),
                                   QStringLiteral("Table version: 0 Local Edited (default), 1 Local Default, "
                                                  "2 English Edited, 3 English Default."),
                                   QStringLiteral("0..3"), QStringLiteral("0"));
    QCommandLineOption screenshotOption(QStringLiteral("screenshot"),
                                        QStringLiteral("Render the opened editor to a PNG file and exit."),
                                        QStringLiteral("FILE.png"));
    QCommandLineOption sizeOption(QStringLiteral("size"), QStringLiteral("Window size for --screenshot."),
                                  QStringLiteral("WxH"), QStringLiteral("1280x800"));
    parser.addOption(tableOption);
    parser.addOption(screenshotOption);
    parser.addOption(sizeOption);
    if (!parser.parse(QCoreApplication::arguments())) {
        PrintError(parser.errorText());
        return 2;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        std::printf("kvedit %s\n", KVEDIT_VERSION);
        return 0;
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.size() > 1) {
        PrintError(QStringLiteral("expected at most one workspace file, got %1").arg(positional.size()));
        return 2;
    }
    bool tableOk = false;
    const int table = parser.value(tableOption).toInt(&tableOk);
    if (!tableOk || table < 0 || table > 3) {
        PrintError(QStringLiteral("--table takes 0, 1, 2 or 3, not '%1'").arg(parser.value(tableOption)));
        return 2;
    }

    QTemporaryDir demoDir;
    std::shared_ptr<server::Workspace> workspace;
    try {
        if (positional.isEmpty()) {
            if (!demoDir.isValid()) {
                PrintError(QStringLiteral("cannot create a temporary folder for the demo workspace"));
                return 1;
            }
            workspace = server::CreateDemoWorkspace(demoDir.filePath(QStringLiteral("demo.kvw")));
        } else {
            workspace = server::Workspace::Open(positional.first());
        }
    } catch (const KvError &e) {
        PrintError(e.Description());
        return 1;
    }

    if (parser.isSet(screenshotOption)) {
        const QStringList size = parser.value(sizeOption).split(u'x');
        const int w = size.value(0).toInt();
        const int h = size.value(1).toInt();
        if (size.size() != 2 || w < 200 || h < 150) {
            PrintError(QStringLiteral("--size takes WIDTHxHEIGHT, for example 1280x800"));
            return 2;
        }
        frmEdit form;
        form.Prepare(workspace, static_cast<TableVersion>(table));
        form.resize(w, h);
        form.show();
        QApplication::processEvents();
        QApplication::processEvents();
        const QString file = parser.value(screenshotOption);
        if (!form.grab().save(file, "PNG")) {
            PrintError(QStringLiteral("cannot write the screenshot to %1").arg(QDir::toNativeSeparators(file)));
            return 1;
        }
        std::printf("kvedit: wrote %s\n", qPrintable(QDir::toNativeSeparators(file)));
        return 0;
    }

    ExitWhenShown exitWhenShown;
    if (qEnvironmentVariableIntValue("KVEDIT_EXIT_WHEN_SHOWN") == 1)
        app.installEventFilter(&exitWhenShown);

    ResourceWorkspacePtr rfw = workspace;
    CGlobals globals;
    globals.EditStringResources(rfw, static_cast<TableVersion>(table));
    return 0;
}

} // namespace kvedit::app
