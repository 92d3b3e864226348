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

class TableSet;

// When an opened workspace reads its texts: all before Open returns, or those of the first
// strings only, the rest on a second thread while the caller gets on (an editor showing its
// window). Every query that needs a text not yet read waits for them; nothing sees a half-read
// table.
enum class TextLoading { AtOnce, FirstScreenFirst };

class Workspace : public ResourceWorkspace {
public:
    // Creates a new, empty workspace file; fails when the file exists. Throws KvError.
    static std::shared_ptr<Workspace> Create(const QString &path, const WorkspaceInfo &info);
    // Opens an existing workspace file. A foreign, corrupt or newer file fails with a KvError
    // whose description names the file; nothing is written to it. Throws KvError.
    static std::shared_ptr<Workspace> Open(const QString &path, TextLoading loading = TextLoading::AtOnce);
    // A workspace without a file (tests, scratch work); Save writes to an in-memory database.
    static std::shared_ptr<Workspace> CreateInMemory(const WorkspaceInfo &info);

    ~Workspace() override;

    // ResourceWorkspace
    TextServerPtr TextServer() const override;
    QString Name() const override;
    std::optional<QPoint> HostWindowPosition() const override;
    QString Location() const override { return FilePath(); }

    void setHostWindowPosition(std::optional<QPoint> position);
    QString FilePath() const;                       // empty for an in-memory workspace
    WorkspaceInfo Info() const;
    StringTableSetPtr Tables() const;               // the same set TextServer()->StringTableSet() gives

    // Server-side access beyond the editor's interfaces (importers, exporters, tools): the same
    // set as Tables(), with record-level access (see server/TableSet.h).
    std::shared_ptr<TableSet> Set() const;
    // The symbol of a string id ("IDS_FILE_OPEN"), empty when it has none. setSymbol is an edit
    // like any other: kept in memory until Save.
    QString Symbol(StringId id) const;
    void setSymbol(StringId id, const QString &symbol);

    class Impl;

private:
    explicit Workspace(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> d;
};

using WorkspacePtr = std::shared_ptr<Workspace>;

// Writes the demo workspace (a plausible desktop application, translated into German in every
// state, plus a few Japanese strings) to path and opens it; an empty path makes it in memory. A
// file at path is replaced only when replace is true, else refused; a failure leaves it as it
// was and no half-written demo. Throws KvError.
WorkspacePtr CreateDemoWorkspace(const QString &path, bool replace = true);

// What the editor's searches find in the demo workspace for one table version (0 or 1; other
// versions give zeros). Each count includes the ones before it, as the searches do: a missing
// translation is also out of date, an out-of-date one also unapproved.
struct DemoStringCounts {
    int total = 0;        // strings (ids of the English default)
    int translated = 0;   // HasText in the version
    int missing = 0;      // no text in the version
    int outOfDate = 0;    // missing, or revision below the English default's
    int unapproved = 0;   // out of date, or without the approved flag
};
DemoStringCounts DemoCounts(TableVersion version);

} // namespace kvedit::server
