#include "memorysetup/MemorySetup.h"

#include "server/Workspace.h"
#include "services/ErrorContext.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

namespace kvedit::app {

QString SettingsFile()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation)).filePath(QStringLiteral("kvedit.ini"));
}

QStringList ListedMemoryWorkspaces()
{
    return QSettings(SettingsFile(), QSettings::IniFormat).value(QStringLiteral("memory/workspaces")).toStringList();
}

QStringList AddMemoryWorkspaces(memory::TranslationMemory &memory, const QStringList &paths, bool skipBroken)
{
    QStringList skipped;
    for (const QString &path : paths) {
        try {
            if (!QFileInfo(path).isFile())
                throw KvError(errFileNotFound, QStringLiteral("The memory workspace %1 does not exist").arg(path));
            if (memory.IsCurrent(path)) {
                memory.UseIndexed(path);
                continue;
            }
            const server::WorkspacePtr workspace = server::Workspace::Open(path);
            memory.AddWorkspace(path, workspace->Tables(), workspace->Info().maximumCount);
        } catch (const KvError &e) {
            if (!skipBroken)
                throw;
            skipped << e.Description();
        }
    }
    return skipped;
}

void AddUsersMemoryWorkspaces(memory::TranslationMemory &memory, const QStringList &given,
                              const std::function<void(const QString &)> &warn)
{
    for (const QString &warning : AddMemoryWorkspaces(memory, ListedMemoryWorkspaces(), true))
        warn(warning);
    AddMemoryWorkspaces(memory, given, false);
}

} // namespace kvedit::app
