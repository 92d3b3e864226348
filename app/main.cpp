// kvedit: the editor on a workspace file (or the demo workspace), and the command-line tools.

#include "gui/EditorLauncher.h"

#ifdef KVEDIT_HAVE_CLI
#include "cli/CommandLine.h"
#endif

int main(int argc, char **argv)
{
#ifdef KVEDIT_HAVE_CLI
    if (argc > 1 && kvedit::cli::IsCommandLineTool(argv[1]))
        return kvedit::cli::RunCommandLineTool(argc, argv);
#endif
    return kvedit::app::RunEditor(argc, argv);
}
