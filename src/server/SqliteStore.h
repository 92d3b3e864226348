#pragma once
// The workspace file: a SQLite database recognised by its application id and schema version.
// Reads everything in one pass at open (or, for an editor, the texts of a large file's later
// strings on a second connection); Save writes only the changed rows in one transaction.

#include "server/Record.h"
#include "server/Workspace.h"

#include <QString>

#include <memory>
#include <optional>

struct sqlite3;

namespace kvedit::server {

class SqliteStore {
public:
    // The application id ("KVW1") and the schema this build reads and writes.
    static constexpr int kApplicationId = 0x4B565731;
    // Schema 2 added the exchange_origins table, schema 3 the English history; an older file
    // gains them on its first save.
    static constexpr int kSchemaVersion = 3;

    // A new file (KvError when it exists or cannot be made); an empty path makes an
    // in-memory database.
    static std::unique_ptr<SqliteStore> Create(const QString &path, const WorkspaceInfo &info);
    // Validates the file read-only before anything may write to it, then loads it into contents.
    // With textsLater, a large file that can be written loads the texts of its first strings
    // only; contents.laterTexts reads the others on a second connection and thread.
    static std::unique_ptr<SqliteStore> Open(const QString &path, TableContents &contents, bool textsLater = false);

    ~SqliteStore();
    SqliteStore(const SqliteStore &) = delete;
    SqliteStore &operator=(const SqliteStore &) = delete;

    QString Path() const { return m_path; }
    WorkspaceInfo Info() const { return m_info; }

    // All changes in one transaction; on failure nothing is written and KvError(errStorage)
    // names the file and the database's reason.
    void Write(const ChangeSet &changes);

    // The English default's record of an id as it stood at a revision that a Save replaced
    // (text and text properties only); nullopt when the file keeps none.
    std::optional<Record> EnglishHistory(StringId id, qint16 revision) const;

private:
    SqliteStore(QString path, sqlite3 *db);
    QString DisplayName() const;

    QString m_path;
    sqlite3 *m_db = nullptr;
    WorkspaceInfo m_info;
    int m_schema = kSchemaVersion;   // the file's, until a save migrates it
};

} // namespace kvedit::server
