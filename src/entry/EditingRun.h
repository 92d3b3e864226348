#pragma once
// The editing run behind both public classes: one fresh editor form per call.

#include "model/StringTables.h"

#include <functional>
#include <memory>

namespace kvedit {

class frmEdit;

bool RunEditingRun(const char *module, ResourceWorkspacePtr &rfw, TableVersion version);

// Tests replace how the editor form is made (for example to make creation fail, or to close
// the window as soon as it is shown). An empty function restores the default.
using EditorFormFactory = std::function<std::unique_ptr<frmEdit>()>;
void setEditorFormFactory(EditorFormFactory factory);

} // namespace kvedit
