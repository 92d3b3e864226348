#include "entry/CGlobals.h"

#include "entry/EditingRun.h"

#include <QApplication>

namespace kvedit {

bool CGlobals::EditStringResources(ResourceWorkspacePtr &rfw, TableVersion enmTableVersion)
{
    return RunEditingRun("CGlobals", rfw, enmTableVersion);
}

bool CStringTables::EditStringResources(ResourceWorkspacePtr &rfw, TableVersion enmTableVersion)
{
    return RunEditingRun("CStringTables", rfw, enmTableVersion);
}

CStringTables CStringTablesFactory::Create()
{
    return CStringTables();
}

} // namespace kvedit

extern "C" int kvedit_EditStringResources(void *workspace, int tableVersion)
{
    // The host keeps ownership: an aliasing pointer with no control block of its own.
    kvedit::ResourceWorkspacePtr rfw(kvedit::ResourceWorkspacePtr(), static_cast<kvedit::ResourceWorkspace *>(workspace));
    std::unique_ptr<QApplication> ownApp;
    if (!QCoreApplication::instance()) {
        static int argc = 1;
        static char name[] = "kvedit";
        static char *argv[] = {name, nullptr};
        ownApp = std::make_unique<QApplication>(argc, argv);
    }
    return kvedit::CGlobals().EditStringResources(rfw, static_cast<kvedit::TableVersion>(tableVersion)) ? 1 : 0;
}
