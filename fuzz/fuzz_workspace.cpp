// Opening a workspace file: any bytes must open or be refused, never crash, hang or balloon.

#include "FuzzSupport.h"

#include "server/TableSet.h"
#include "server/Workspace.h"
#include "services/ErrorContext.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = kvedit::fuzz::WriteInput("input.kvw", data, size);
    QFile::remove(path + QStringLiteral("-wal"));
    QFile::remove(path + QStringLiteral("-shm"));
    try {
        const kvedit::server::WorkspacePtr workspace = kvedit::server::Workspace::Open(path);
        // What the editor asks first of an opened workspace.
        const auto set = workspace->Set();
        for (int id = 1; id <= set->MaximumCount(); ++id)
            set->Text(static_cast<kvedit::StringId>(id), kvedit::ssLocalEdited);
    } catch (const kvedit::KvError &) {
        // refused files are expected
    }
    return 0;
}
