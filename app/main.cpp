// kvedit: the editor on a workspace file (or the demo workspace), and the command-line tools.

#include "gui/EditorLauncher.h"

#ifdef KVEDIT_HAVE_CLI
#include "cli/CommandLine.h"
#endif

#include <QFile>

#include <cstdio>

int main(int argc, char **argv)
{
    // Arguments are decoded as UTF-8; a file name that is not valid UTF-8 would come back as
    // another name, so it is refused before anything looks for the file or creates it.
    for (int i = 1; i < argc; ++i) {
        const QByteArray raw(argv[i]);
        if (QFile::encodeName(QFile::decodeName(raw)) != raw) {
            std::fprintf(stderr, "kvedit: the argument \"%s\" is not valid UTF-8; rename the file\n",
                         QFile::decodeName(raw).toUtf8().constData());
            return 1;
        }
    }
#ifdef KVEDIT_HAVE_CLI
    if (argc > 1 && kvedit::cli::IsCommandLineTool(argv[1]))
        return kvedit::cli::RunCommandLineTool(argc, argv);
#endif
    return kvedit::app::RunEditor(argc, argv);
}
