#pragma once
// Our string-table server: a workspace of four string sources kept in a SQLite file (.kvw).
// Edits live in memory until Save, which writes them in one transaction.

#include "model/StringTables.h"

#include <QLoggingCategory>
#include <QString>

#include <memory>
#include <optional>

Q_DECLARE_LOGGING_CATEGORY(lcServer)

namespace kvedit::server {

struct WorkspaceInfo {
    QString name;                                   // shown in titles
    QString targetLanguage = QStringLiteral("de-DE");  // BCP 47 tag of the local language
    int maximumCount = kMaxStringId;                // highest string id, at most 32767
};

class Workspace : public ResourceWorkspace {
public:
    // Creates a new, empty workspace file; fails when the file exists. Throws KvError.
    static std::shared_ptr<Workspace> Create(const QString &path, const WorkspaceInfo &info);
    // Opens an existing workspace file. A foreign, corrupt or newer file fails with a KvError
    // whose description names the file; nothing is written to it. Throws KvError.
    static std::shared_ptr<Workspace> Open(const QString &path);
    // A workspace without a file (tests, scratch work); Save writes to an in-memory database.
    static std::shared_ptr<Workspace> CreateInMemory(const WorkspaceInfo &info);

    ~Workspace() override;

    // ResourceWorkspace
    TextServerPtr TextServer() const override;
    QString Name() const override;
    std::optional<QPoint> HostWindowPosition() const override;

    void setHostWindowPosition(std::optional<QPoint> position);
    QString FilePath() const;                       // empty for an in-memory workspace
    WorkspaceInfo Info() const;
    StringTableSetPtr Tables() const;               // the same set TextServer()->StringTableSet() gives

    class Impl;

private:
    explicit Workspace(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> d;
};

using WorkspacePtr = std::shared_ptr<Workspace>;

// Writes the demo workspace (a plausible desktop application, translated into German in every
// state, plus a few Japanese strings) to path, replacing any file there.
WorkspacePtr CreateDemoWorkspace(const QString &path);

} // namespace kvedit::server
