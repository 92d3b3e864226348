#include "gui/EditorLauncher.h"

#include "dataview/UCKvDataView.h"
#include "editor/frmEdit.h"
#include "entry/CGlobals.h"
#include "entry/EditingRun.h"
#include "memorysetup/MemorySetup.h"
#include "server/Workspace.h"
#include "services/ErrorContext.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTableView>
#include <QTimer>

#include <cstdio>
#include <future>

namespace kvedit::app {

namespace {

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
        // The paint is done here, so that the time is taken when it ends, before whatever the
        // editor left for after its first screen.
        QCoreApplication::sendEvent(watched, event);
        std::printf("kvedit: shown after %.1f ms\n", g_started.nsecsElapsed() / 1e6);
        std::fflush(stdout);
        QWidget *window = list->window();
        QTimer::singleShot(0, window, [window] { window->close(); });
        return true;
    }

private:
    bool m_done = false;
};

// The demo workspace the program opens when no workspace is given: kept in the user's data
// folder, so that what is saved in it lasts.
QString DemoWorkspacePath()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation))
        .filePath(QStringLiteral("demo.kvw"));
}

// Opens the demo workspace at path, making it on first use.
server::WorkspacePtr OpenDemoWorkspace(const QString &path)
{
    if (!QFileInfo::exists(path)) {
        const QString folder = QFileInfo(path).absolutePath();
        if (!QDir().mkpath(folder))
            throw KvError(errFileAccess, QStringLiteral("Cannot create the folder %1 for the demo workspace")
                                             .arg(QDir::toNativeSeparators(folder)));
        try {
            return server::CreateDemoWorkspace(path, false);
        } catch (const KvError &) {
            if (!QFileInfo::exists(path))   // else another kvedit made it meanwhile
                throw;
        }
    }
    return server::Workspace::Open(path);
}

// What the command line asks for; error is set (exit code 2) when it asks for nothing sensible.
struct Request {
    QString error;
    bool help = false, version = false;
    QString helpText;
    QString workspace;   // empty: the demo workspace
    int table = 0;
    QString screenshot;
    QSize size;
    QStringList memory;   // other workspaces for the translation memory
};

Request ParseRequest(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Edit the string tables of a workspace (.kvw).\n"
                       "Without a workspace, the demo workspace kept in %1 is opened (made on first use;\n"
                       "kvedit demo \"%1\" --force starts it over).\n"
                       "Command-line tools: kvedit new|import|export|stats|demo ... (kvedit <tool> --help).")
            .arg(QDir::toNativeSeparators(DemoWorkspacePath())));
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
    QCommandLineOption memoryOption(QStringLiteral("memory"),
                                    QStringLiteral("Another workspace whose translations are suggested (repeatable; "
                                                   "memory/workspaces in %1 lists more).")
                                        .arg(QDir::toNativeSeparators(SettingsFile())),
                                    QStringLiteral("FILE.kvw"));
    parser.addOption(tableOption);
    parser.addOption(memoryOption);
    parser.addOption(screenshotOption);
    parser.addOption(sizeOption);

    Request r;
    if (!parser.parse(arguments)) {
        r.error = parser.errorText();
        return r;
    }
    r.help = parser.isSet(QStringLiteral("help"));
    r.version = parser.isSet(QStringLiteral("version"));
    if (r.help)
        r.helpText = parser.helpText();
    if (r.help || r.version)
        return r;
    const QStringList positional = parser.positionalArguments();
    if (positional.size() > 1) {
        r.error = QStringLiteral("expected at most one workspace file, got %1").arg(positional.size());
        return r;
    }
    r.workspace = positional.value(0);
    bool tableOk = false;
    r.table = parser.value(tableOption).toInt(&tableOk);
    if (!tableOk || r.table < 0 || r.table > 3) {
        r.error = QStringLiteral("--table takes 0, 1, 2 or 3, not '%1'").arg(parser.value(tableOption));
        return r;
    }
    if (parser.isSet(sizeOption) && !parser.isSet(screenshotOption)) {
        r.error = QStringLiteral("--size sets the size of a --screenshot; without one it has nothing to do");
        return r;
    }
    r.screenshot = parser.value(screenshotOption);
    r.memory = parser.values(memoryOption);
    const QStringList size = parser.value(sizeOption).split(u'x');
    r.size = QSize(size.value(0).toInt(), size.value(1).toInt());
    if (size.size() != 2 || r.size.width() < 200 || r.size.height() < 150)
        r.error = QStringLiteral("--size takes WIDTHxHEIGHT, for example 1280x800");
    return r;
}

QStringList ArgumentList(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

} // namespace

int RunEditor(int argc, char **argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("kvedit"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KVEDIT_VERSION));
    if (!HasDisplayOrPlatform()) {
        // Without a display the request is checked first, as it is with one: the advice on how
        // to run the editor is for a request that would otherwise work.
        const Request request = ParseRequest(ArgumentList(argc, argv));
        if (!request.error.isEmpty()) {
            PrintError(request.error);
            return 2;
        }
        if (!request.help && !request.version && request.screenshot.isEmpty()) {
            try {
                if (!request.workspace.isEmpty())
                    server::Workspace::Open(request.workspace);
                for (const QString &path : request.memory)
                    server::Workspace::Open(path);
            } catch (const KvError &e) {
                PrintError(e.Description());
                return 1;
            }
            std::fprintf(stderr,
                         "kvedit: no display found (DISPLAY and WAYLAND_DISPLAY are not set).\n"
                         "Run it under a virtual display:   xvfb-run -a kvedit [WORKSPACE]\n"
                         "or without any window:            QT_QPA_PLATFORM=offscreen kvedit [WORKSPACE]\n"
                         "or render a picture of it:        kvedit [WORKSPACE] --screenshot editor.png\n");
            return 2;
        }
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }

    QApplication app(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("kvedit"));

    const Request request = ParseRequest(QCoreApplication::arguments());
    if (!request.error.isEmpty()) {
        PrintError(request.error);
        return 2;
    }
    if (request.help) {
        std::fputs(qPrintable(request.helpText), stdout);
        return 0;
    }
    if (request.version) {
        std::printf("kvedit %s\n", KVEDIT_VERSION);
        return 0;
    }

    // The workspace is read on a second thread while this one opens the translation memory and
    // builds the editor's window: for a large workspace the read is most of the start.
    const QString demoPath = request.workspace.isEmpty() ? DemoWorkspacePath() : QString();
    std::future<server::WorkspacePtr> opening = std::async(std::launch::async, [&request, &demoPath] {
        return request.workspace.isEmpty() ? OpenDemoWorkspace(demoPath)
                                            : server::Workspace::Open(request.workspace, server::TextLoading::FirstScreenFirst);
    });

    // The translation memory: this workspace, the ones listed in the settings (left out with a
    // warning when gone) and the ones given (an error when wrong, as the workspace is). What it
    // has to say waits for the workspace's error, which is told first.
    memory::TranslationMemoryPtr memory;
    QStringList memoryMessages;
    bool memoryFailed = false;
    try {
        memory = std::make_shared<memory::TranslationMemory>();
    } catch (const KvError &e) {
        memoryMessages << e.Description() + QStringLiteral(" (the editor runs without suggestions)");
        memoryFailed = !request.memory.isEmpty();
    }
    if (memory) {
        try {
            AddUsersMemoryWorkspaces(*memory, request.memory, [&](const QString &warning) { memoryMessages << warning; });
        } catch (const KvError &e) {
            memoryMessages << e.Description();
            memoryFailed = true;
        }
    }
    auto prepared = std::make_shared<std::unique_ptr<frmEdit>>(std::make_unique<frmEdit>());

    std::shared_ptr<server::Workspace> workspace;
    try {
        workspace = opening.get();
    } catch (const KvError &e) {
        PrintError(e.Description());
        if (request.workspace.isEmpty())
            PrintError(QStringLiteral("a fresh demo workspace: kvedit demo \"%1\" --force")
                           .arg(QDir::toNativeSeparators(demoPath)));
        return 1;
    }
    for (const QString &message : std::as_const(memoryMessages))
        PrintError(message);
    if (memoryFailed)
        return 1;

    if (!request.screenshot.isEmpty()) {
        frmEdit &form = **prepared;
        form.SetMemory(memory);
        form.Prepare(workspace, static_cast<TableVersion>(request.table));
        form.resize(request.size);
        form.show();
        QApplication::processEvents();
        QApplication::processEvents();
        if (form.size() != request.size)
            PrintError(QStringLiteral("the window cannot be as small as %1x%2, so the picture is %3x%4")
                           .arg(request.size.width()).arg(request.size.height())
                           .arg(form.width()).arg(form.height()));
        const QString file = request.screenshot;
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

    setEditorFormFactory([memory, prepared] {
        auto form = *prepared ? std::move(*prepared) : std::make_unique<frmEdit>();
        form->SetMemory(memory);
        return form;
    });
    ResourceWorkspacePtr rfw = workspace;
    CGlobals globals;
    globals.EditStringResources(rfw, static_cast<TableVersion>(request.table));
    return 0;
}

} // namespace kvedit::app
