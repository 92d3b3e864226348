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

// Closes the editor window once it is visible; returns whether one was seen.
void CloseEditorWhenShown(bool *seen)
{
    QTimer::singleShot(50, [seen] {
        for (QWidget *w : QApplication::topLevelWidgets()) {
            if (w->isVisible() && w->windowTitle().startsWith(QStringLiteral("Manage String Resources: "))) {
                *seen = true;
                w->close();
                return;
            }
        }
        CloseEditorWhenShown(seen);
    });
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    bool seenLinked = false;
    CloseEditorWhenShown(&seenLinked);
    kvedit::ResourceWorkspacePtr rfw = std::make_shared<EmptyWorkspace>();
    const bool saved = kvedit::CGlobals().EditStringResources(rfw, kvedit::ssLocalEdited);
    if (saved || !seenLinked) {
        std::fprintf(stderr, "linked entry: saved=%d seen=%d\n", saved, seenLinked);
        return 1;
    }

    QLibrary lib(QStringLiteral(KVEDIT_LIBRARY_PATH));
    using EntryFn = int (*)(void *, int);
    auto entry = reinterpret_cast<EntryFn>(lib.resolve("kvedit_EditStringResources"));
    if (!entry) {
        std::fprintf(stderr, "cannot resolve the C entry point: %s\n", qPrintable(lib.errorString()));
        return 1;
    }
    bool seenLoaded = false;
    CloseEditorWhenShown(&seenLoaded);
    EmptyWorkspace workspace;
    if (entry(&workspace, 3) != 0 || !seenLoaded) {
        std::fprintf(stderr, "C entry: seen=%d\n", seenLoaded);
        return 1;
    }
    std::puts("host ok");
    return 0;
}
