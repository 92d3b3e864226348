// XLIFF import into a workspace: any bytes must import or be refused, never crash or hang.

#include "FuzzSupport.h"

#include "io/WorkspaceTransfer.h"
#include "server/TableSet.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = kvedit::fuzz::WriteInput("input.xlf", data, size);
    // A fresh workspace each time, so one input's import cannot change how the next one runs.
    const kvedit::server::WorkspacePtr workspace = kvedit::server::Workspace::CreateInMemory({"fuzz", "de-DE", 100});
    for (int id = 1; id <= 3; ++id) {
        kvedit::server::Record r;
        r.text = QStringLiteral("String %1").arg(id);
        r.hasText = true;
        r.revision = 1;
        workspace->Set()->PutRecord(static_cast<kvedit::StringId>(id), kvedit::ssEnglishDefault, r);
    }
    workspace->Set()->Save(kvedit::ssEnglishDefault, false);
    try {
        kvedit::io::ImportFile(*workspace, path);
    } catch (const kvedit::KvError &) {
        // refused files are expected
    }
    return 0;
}
