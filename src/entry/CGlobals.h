#pragma once
// The component's public entry. A host that holds an open workspace calls
// EditStringResources; the editor runs modally and the call returns true when at least one
// Save succeeded during the run. Errors never reach the host: they are reported through the
// error context and the call returns false.

#include "entry/Export.h"
#include "model/StringTables.h"

namespace kvedit {

// Usable without creating anything of your own: CGlobals is an ordinary value type.
class KVEDIT_EXPORT CGlobals {
public:
    bool EditStringResources(ResourceWorkspacePtr &rfw, TableVersion enmTableVersion);
};

// The same operation; hosts receive instances of it and do not create their own.
class KVEDIT_EXPORT CStringTables {
public:
    bool EditStringResources(ResourceWorkspacePtr &rfw, TableVersion enmTableVersion);

private:
    friend class CStringTablesFactory;
    CStringTables() = default;
};

// Hands out CStringTables instances (for hosts that pass the object around).
class KVEDIT_EXPORT CStringTablesFactory {
public:
    static CStringTables Create();
};

} // namespace kvedit

extern "C" {
// For hosts that load the component at run time (dlopen/QLibrary). workspace is a
// kvedit::ResourceWorkspace* that stays owned by the host; may be null. Returns 1 when
// something was saved, 0 otherwise. Creates a QApplication for the run when the host has none.
KVEDIT_EXPORT int kvedit_EditStringResources(void *workspace, int tableVersion);
}
