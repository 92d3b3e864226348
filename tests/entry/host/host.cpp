// Opens the editor twice on an empty workspace (once through the linked class, once through the
// C entry point loaded at run time) and closes it as soon as it shows.
#include "entry/CGlobals.h"

#include <QApplication>
#include <QLibrary>
#include <QTimer>
#include <QWidget>

#include <cstdio>

namespace {

class EmptyWorkspace final : public kvedit::ResourceWorkspace {
public:
    kvedit::TextServerPtr TextServer() const override { return nullptr; }
    QString Name() const override { return QStringLiteral("Host workspace"); }
    std::optional<QPoint> HostWindowPosition() const override { return QPoint(40, 30); }
};

// Closes the editor window once it is up, modal as it must be; records that it was seen.
void CloseEditorWhenShown(bool *seen)
{
    QTimer::singleShot(50, [seen] {
        QWidget *window = QApplication::activeModalWidget();
        if (!window || !window->windowTitle().startsWith(QStringLiteral("Manage String Resources: ")))
            return CloseEditorWhenShown(seen);
        *seen = true;
        window->close();
    });
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    bool seenLinked = false, seenLoaded = false;
    CloseEditorWhenShown(&seenLinked);
    kvedit::ResourceWorkspacePtr rfw = std::make_shared<EmptyWorkspace>();
    const bool saved = kvedit::CGlobals().EditStringResources(rfw, kvedit::ssLocalEdited);

    QLibrary lib(QStringLiteral(KVEDIT_LIBRARY_PATH));
    const auto entry = reinterpret_cast<int (*)(void *, int)>(lib.resolve("kvedit_EditStringResources"));
    CloseEditorWhenShown(&seenLoaded);
    const int loadedResult = entry ? entry(rfw.get(), 3) : -1;   // the host keeps its workspace
    const bool ok = !saved && seenLinked && loadedResult == 0 && seenLoaded;
    std::printf("linked: saved %d, seen %d; C entry: %d, seen %d %s\n%s\n", saved, seenLinked, loadedResult,
                seenLoaded, entry ? "" : qPrintable(lib.errorString()), ok ? "host ok" : "host failed");
    return ok ? 0 : 1;
}
