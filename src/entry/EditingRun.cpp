#include "entry/EditingRun.h"

#include "editor/frmEdit.h"
#include "services/ErrorContext.h"

namespace kvedit {

namespace {
EditorFormFactory &Factory()
{
    static EditorFormFactory factory;
    return factory;
}
} // namespace

void setEditorFormFactory(EditorFormFactory factory)
{
    Factory() = std::move(factory);
}

bool RunEditingRun(const char *module, ResourceWorkspacePtr &rfw, TableVersion version)
{
    bool result = false;
    ProcedureScope scope(module, "EditStringResources");
    std::unique_ptr<frmEdit> form;
    try {
        form = Factory() ? Factory()() : std::make_unique<frmEdit>();
        Require(form, "frmEdit");
        result = form->Edit(rfw, version);
    } catch (...) {
        scope.ReportCurrentException();
    }
    // Unloaded after a report too, and before the run announces that it leaves.
    form.reset();
    return result;
}

} // namespace kvedit
