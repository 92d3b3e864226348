#pragma once
// The other workspaces the translation memory draws on, for the editor and the command line
// alike: those listed in the user's settings (memory/workspaces in kvedit.ini beside the memory
// index) and those given with --memory. Each is opened only when its file changed since it was
// last indexed.

#include "memory/TranslationMemory.h"

#include <QStringList>

#include <functional>

namespace kvedit::app {

// The user's settings file.
QString SettingsFile();
// The workspaces listed in the settings.
QStringList ListedMemoryWorkspaces();

// Adds every workspace of paths to memory. A file that is missing or is no workspace throws a
// KvError naming it; with skipBroken it is left out and its message returned instead.
QStringList AddMemoryWorkspaces(memory::TranslationMemory &memory, const QStringList &paths, bool skipBroken);

// The workspaces listed in the settings (one that is gone or wrong left out, its message handed
// to warn) and then the given ones (a wrong one throws), as the editor and pretranslate take them.
void AddUsersMemoryWorkspaces(memory::TranslationMemory &memory, const QStringList &given,
                              const std::function<void(const QString &)> &warn);

} // namespace kvedit::app
