#include "server/SqliteStore.h"

#include "services/ErrorContext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QUrl>

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace kvedit::server {

namespace {

// Long enough to ride out another process's short write, short enough that a file held
// locked by another program fails the Save promptly instead of hanging the editor.
constexpr int kBusyTimeoutMs = 250;

// A SQLite failure inside this file; turned into a KvError with the file's name at the edge.
struct SqliteFailure {
    int code;
    QString message;
};

[[noreturn]] void Fail(sqlite3 *db, int rc)
{
    QString message = db ? QString::fromUtf8(sqlite3_errmsg(db)) : QString();
    if (message.isEmpty() || (db && sqlite3_errcode(db) != rc))
        message = QString::fromUtf8(sqlite3_errstr(rc));
    throw SqliteFailure{rc, message};
}

void Exec(sqlite3 *db, const char *sql)
{
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK)
        Fail(db, rc);
}

class Statement {
public:
    Statement(sqlite3 *db, const char *sql) : m_db(db)
    {
        const int rc = sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr);
        if (rc != SQLITE_OK)
            Fail(db, rc);
    }
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    void Bind(int index, int value) { Check(sqlite3_bind_int(m_stmt, index, value)); }
    void Bind(int index, const QString &text)
    {
        const QByteArray utf8 = text.toUtf8();
        Check(sqlite3_bind_text(m_stmt, index, utf8.constData(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT));
    }
    void BindNull(int index) { Check(sqlite3_bind_null(m_stmt, index)); }

    // True while a row is available.
    bool Step()
    {
        const int rc = sqlite3_step(m_stmt);
        if (rc == SQLITE_ROW)
            return true;
        if (rc == SQLITE_DONE)
            return false;
        Fail(m_db, rc);
    }
    void Run()
    {
        Step();
        sqlite3_reset(m_stmt);
        sqlite3_clear_bindings(m_stmt);
    }

    int Int(int column) const { return sqlite3_column_int(m_stmt, column); }
    bool IsNull(int column) const { return sqlite3_column_type(m_stmt, column) == SQLITE_NULL; }
    QString Text(int column) const
    {
        const auto *p = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
        const int n = sqlite3_column_bytes(m_stmt, column);
        return n > 0 ? QString::fromUtf8(p, n) : QString();
    }
    // The same text, shared with `same` when equal to it instead of held twice.
    QString Text(int column, const QString &same) const
    {
        const auto *p = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
        const int n = sqlite3_column_bytes(m_stmt, column);
        if (n <= 0)
            return QString();
        if (QAnyStringView::equal(QUtf8StringView(p, n), QStringView(same)))
            return same;
        return QString::fromUtf8(p, n);
    }

private:
    void Check(int rc)
    {
        if (rc != SQLITE_OK)
            Fail(m_db, rc);
    }

    sqlite3 *m_db;
    sqlite3_stmt *m_stmt = nullptr;
};

int PragmaInt(sqlite3 *db, const char *sql)
{
    Statement s(db, sql);
    return s.Step() ? s.Int(0) : 0;
}

sqlite3 *OpenDatabase(const QString &path, int flags)
{
    sqlite3 *db = nullptr;
    const QByteArray name = path.isEmpty() ? QByteArrayLiteral(":memory:") : QFile::encodeName(path);
    // Each connection belongs to one workspace on one thread, so SQLite's own locking per
    // call is dropped: it costs more than the row decoding when a large file is loaded.
    const int rc = sqlite3_open_v2(name.constData(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        SqliteFailure failure{rc, db ? QString::fromUtf8(sqlite3_errmsg(db)) : QString::fromUtf8(sqlite3_errstr(rc))};
        sqlite3_close(db);
        throw failure;
    }
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, kBusyTimeoutMs);
    return db;
}

QString Quoted(const QString &path)
{
    return QLatin1Char('"') + QDir::toNativeSeparators(path) + QLatin1Char('"');
}

const char kSchema[] = R"sql(
CREATE TABLE meta(
    key TEXT PRIMARY KEY NOT NULL,
    value NOT NULL
) WITHOUT ROWID;
CREATE TABLE records(
    source INTEGER NOT NULL CHECK (source BETWEEN 0 AND 3),
    id INTEGER NOT NULL CHECK (id BETWEEN 1 AND 32767),
    text TEXT,
    description TEXT NOT NULL DEFAULT '',
    properties INTEGER NOT NULL DEFAULT 0,
    shortcut_character TEXT NOT NULL DEFAULT '',
    shortcut_mode INTEGER NOT NULL DEFAULT 0,
    revision INTEGER NOT NULL DEFAULT 0,
    status INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (source, id)
) WITHOUT ROWID;
CREATE TABLE parameters(
    id INTEGER NOT NULL,
    position INTEGER NOT NULL,
    number INTEGER NOT NULL,
    description TEXT NOT NULL,
    PRIMARY KEY (id, position)
) WITHOUT ROWID;
CREATE TABLE symbols(
    id INTEGER PRIMARY KEY NOT NULL,
    symbol TEXT NOT NULL
);
)sql";

// The tables schema 2 added, made with a new file and, in an older one, inside its first save's
// transaction, so the file changes version and gains them together or not at all.
const char kTablesSince2[] = R"sql(
CREATE TABLE IF NOT EXISTS exchange_origins(
    id INTEGER PRIMARY KEY NOT NULL,
    original TEXT NOT NULL,
    unit TEXT NOT NULL,
    source_markup TEXT NOT NULL DEFAULT '',
    target_markup TEXT NOT NULL DEFAULT '',
    target_state TEXT NOT NULL DEFAULT '',
    state_qualifier TEXT NOT NULL DEFAULT ''
);
)sql";

// Schema 3: the English default's texts as they were before a Save raised their revision, with
// their text properties, so that an out-of-date translation can be shown what changed since.
const char kTablesSince3[] = R"sql(
CREATE TABLE IF NOT EXISTS english_history(
    id INTEGER NOT NULL,
    revision INTEGER NOT NULL,
    text TEXT,
    properties INTEGER NOT NULL DEFAULT 0,
    shortcut_character TEXT NOT NULL DEFAULT '',
    shortcut_mode INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (id, revision)
) WITHOUT ROWID;
)sql";

// Every schema object a workspace file may hold: our tables, with their columns in order, and
// the indexes we make. A file holding anything else (a view, a trigger, a table of another
// shape) is not opened: a crafted object named like ours could make opening hang or swallow
// memory. A new table is one more row; since is the schema version that brought it, so an
// older file may lack it until its migration adds it.
struct ExpectedTable {
    const char *name;
    const char *columns;   // comma-separated, in order
    int since;
};
const ExpectedTable kTables[] = {
    {"meta", "key,value", 1},
    {"records", "source,id,text,description,properties,shortcut_character,shortcut_mode,revision,status", 1},
    {"parameters", "id,position,number,description", 1},
    {"symbols", "id,symbol", 1},
    {"exchange_origins", "id,original,unit,source_markup,target_markup,target_state,state_qualifier", 2},
    {"english_history", "id,revision,text,properties,shortcut_character,shortcut_mode", 3},
};
struct ExpectedIndex {
    const char *name;
    const char *table;
};
const std::vector<ExpectedIndex> kIndexes = {};
// Tables SQLite itself keeps (statistics, AUTOINCREMENT counters).
const char *const kInternalTables[] = {"sqlite_stat1", "sqlite_stat4", "sqlite_sequence"};

// Bounds that hold for any workspace we write and stop a crafted one early: no value of ours
// comes near 64 MB, and loading costs a bounded number of steps per page of the file.
constexpr int kMaxValueBytes = 64 * 1024 * 1024;
constexpr qint64 kBaseSteps = 20'000'000;
constexpr qint64 kStepsPerPage = 50'000;
constexpr int kStepsPerCall = 1000;

// Stored text properties as a record holds them: unknown flags and modes out of range dropped.
quint8 PropertiesOf(int stored)
{
    return static_cast<quint8>(stored & (tpAllowShortcut | tpMultipleLines | tpAllowTab));
}

quint8 ShortcutModeOf(int stored)
{
    return static_cast<quint8>(stored >= 0 && stored <= 4 ? stored : 0);
}

} // namespace

namespace {

// A read-only connection that takes the file as it lies on disk: no locks, no journal or
// write-ahead files created, so probing a foreign file leaves no trace, and a workspace in a
// write-protected folder can still be read.
sqlite3 *OpenUnchangeable(const QString &path, const char *query = "immutable=1")
{
    const QByteArray uri = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toEncoded() + '?' + query;
    sqlite3 *db = nullptr;
    const int rc = sqlite3_open_v2(uri.constData(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        SqliteFailure failure{rc, db ? QString::fromUtf8(sqlite3_errmsg(db)) : QString::fromUtf8(sqlite3_errstr(rc))};
        sqlite3_close(db);
        throw failure;
    }
    sqlite3_extended_result_codes(db, 1);
    return db;
}

struct Connection {
    sqlite3 *db = nullptr;
    ~Connection() { sqlite3_close(db); }
    sqlite3 *release() { return std::exchange(db, nullptr); }
};

[[noreturn]] void Refuse(const QString &shown, const QString &reason)
{
    throw KvError(errStorage, QStringLiteral("Workspace file %1 is damaged or not a kvedit workspace: %2").arg(shown, reason));
}

// Checks the schema objects against the lists above before any query touches a table.
void CheckSchema(sqlite3 *db, const QString &shown, int schema)
{
    QSet<QString> tables;
    Statement objects(db, "SELECT type, name, tbl_name, sql FROM sqlite_schema");
    while (objects.Step()) {
        const QString type = objects.Text(0);
        const QString name = objects.Text(1);
        const QString table = objects.Text(2);
        if (type == QLatin1String("table")) {
            const bool ours = std::any_of(std::begin(kTables), std::end(kTables),
                                          [&](const ExpectedTable &t) { return name == QLatin1String(t.name); });
            const bool internal = std::any_of(std::begin(kInternalTables), std::end(kInternalTables),
                                              [&](const char *t) { return name == QLatin1String(t); });
            if (!ours && !internal)
                Refuse(shown, QStringLiteral("it holds a table \"%1\" that kvedit does not make").arg(name));
            if (ours && !objects.Text(3).trimmed().startsWith(QLatin1String("CREATE TABLE"), Qt::CaseInsensitive))
                Refuse(shown, QStringLiteral("its table \"%1\" is not a plain table").arg(name));
            tables.insert(name);
        } else if (type == QLatin1String("index")) {
            const bool automatic = name.startsWith(QLatin1String("sqlite_autoindex_")) && objects.IsNull(3);
            const bool ours = std::any_of(kIndexes.cbegin(), kIndexes.cend(), [&](const ExpectedIndex &i) {
                return name == QLatin1String(i.name) && table == QLatin1String(i.table);
            });
            if (!(automatic || ours) || !std::any_of(std::begin(kTables), std::end(kTables), [&](const ExpectedTable &t) {
                    return table == QLatin1String(t.name);
                }))
                Refuse(shown, QStringLiteral("it holds an index \"%1\" that kvedit does not make").arg(name));
        } else {
            Refuse(shown, QStringLiteral("it holds a %1 \"%2\", which kvedit never makes").arg(type, name));
        }
    }
    for (const ExpectedTable &t : kTables) {
        const QString name = QString::fromLatin1(t.name);
        if (!tables.contains(name)) {
            if (t.since <= schema)
                Refuse(shown, QStringLiteral("its table \"%1\" is missing").arg(name));
            continue;
        }
        QStringList columns;
        Statement info(db, "SELECT name, hidden FROM pragma_table_xinfo(?)");
        info.Bind(1, name);
        while (info.Step()) {
            if (info.Int(1) != 0)
                Refuse(shown, QStringLiteral("its table \"%1\" has a computed column \"%2\"").arg(name, info.Text(0)));
            columns << info.Text(0);
        }
        if (columns.join(u',') != QLatin1String(t.columns))
            Refuse(shown, QStringLiteral("its table \"%1\" has the columns (%2), not (%3)")
                              .arg(name, columns.join(QLatin1String(", ")),
                                   QString::fromLatin1(t.columns).replace(u',', QLatin1String(", "))));
    }
}

// Runs the loading under a bound of steps in proportion to the file's size; past it SQLite
// stops with SQLITE_INTERRUPT.
class StepBound {
public:
    explicit StepBound(sqlite3 *db) : m_db(db)
    {
        m_left = (kBaseSteps + kStepsPerPage * PragmaInt(db, "PRAGMA page_count")) / kStepsPerCall;
        sqlite3_progress_handler(db, kStepsPerCall, &StepBound::Tick, this);
    }
    ~StepBound() { sqlite3_progress_handler(m_db, 0, nullptr, nullptr); }
    StepBound(const StepBound &) = delete;
    StepBound &operator=(const StepBound &) = delete;

private:
    static int Tick(void *self) { return --static_cast<StepBound *>(self)->m_left < 0 ? 1 : 0; }
    sqlite3 *m_db;
    qint64 m_left = 0;
};

// Pages are read through a memory map while a file is loaded instead of one read call each;
// only then, so that a file cut short by another program later gives an error, not a fault.
class MapWhileReading {
public:
    explicit MapWhileReading(sqlite3 *db) : m_db(db)
    {
        const qint64 bytes = static_cast<qint64>(PragmaInt(db, "PRAGMA page_count")) * PragmaInt(db, "PRAGMA page_size");
        sqlite3_exec(db, QByteArray("PRAGMA mmap_size = " + QByteArray::number(bytes + (1 << 20))).constData(), nullptr,
                     nullptr, nullptr);
    }
    ~MapWhileReading() { sqlite3_exec(m_db, "PRAGMA mmap_size = 0", nullptr, nullptr, nullptr); }
    MapWhileReading(const MapWhileReading &) = delete;
    MapWhileReading &operator=(const MapWhileReading &) = delete;

private:
    sqlite3 *m_db;
};

// A read-only connection of its own, for reading beside the first one while a file is opened:
// bound and mapped as the first one is while it reads.
class ConnectionBeside {
public:
    explicit ConnectionBeside(const QString &path)
    {
        m_connection.db = OpenDatabase(path, SQLITE_OPEN_READONLY);
        sqlite3_limit(m_connection.db, SQLITE_LIMIT_LENGTH, kMaxValueBytes);
        m_bound.emplace(m_connection.db);
        m_map.emplace(m_connection.db);
    }
    sqlite3 *db() const { return m_connection.db; }

private:
    Connection m_connection;   // closed last
    std::optional<StepBound> m_bound;
    std::optional<MapWhileReading> m_map;
};

// With texts later: a file of fewer English strings than this is read at once, a larger one
// with the texts of this many first strings (more than a screen shows, with their neighbours).
constexpr int kStringsReadAtOnce = 4096;
constexpr int kFirstScreenStrings = 512;

enum class RecordRange { All, English, Translations };

// Reads the records of a range into their sources; the texts, descriptions and shortcut
// characters of ids above upTo are left for later. Read whole, the English default comes first
// (the key's order backwards, which costs no sort), so that a translation's description and
// shortcut character, nearly always the English ones, are shared with them instead of held twice.
void ReadRecords(sqlite3 *db, RecordRange range, StringId upTo, const QString &shown, int maximumCount,
                 TableContents &contents)
{
    const QByteArray sql = QByteArray("SELECT source, id, text IS NOT NULL, CASE WHEN id <= ?1 THEN text END, "
                                      "CASE WHEN id <= ?1 THEN description END, properties, "
                                      "CASE WHEN id <= ?1 THEN shortcut_character END, shortcut_mode, revision, "
                                      "status FROM records")
                           + (range == RecordRange::English        ? " WHERE source = 3"
                              : range == RecordRange::Translations ? " WHERE source < 3"
                                                                   : "")
                           + " ORDER BY source DESC, id DESC";
    Statement records(db, sql.constData());
    records.Bind(1, upTo);
    // Reading the translations beside the English strings, their table is not to be looked at.
    const SourceTable *english = range == RecordRange::All ? &contents.sources[ssEnglishDefault] : nullptr;
    while (records.Step()) {
        const int source = records.Int(0);
        const int id = records.Int(1);
        if (source < 0 || source > 3 || id < 1 || id > maximumCount)
            throw KvError(errStorage, QStringLiteral("Workspace file %1 is damaged: a record has source %2 and id %3")
                                          .arg(shown).arg(source).arg(id));
        const Record *same = english && source != ssEnglishDefault ? english->find(id) : nullptr;
        Record r;
        r.hasText = records.Int(2) != 0;
        if (r.hasText)
            r.text = records.Text(3);
        r.description = same ? records.Text(4, same->description) : records.Text(4);
        r.properties = PropertiesOf(records.Int(5));
        r.shortcutCharacter = same ? records.Text(6, same->shortcutCharacter) : records.Text(6);
        r.shortcutMode = ShortcutModeOf(records.Int(7));
        r.revision = static_cast<qint16>(records.Int(8));
        r.status = records.Int(9);
        contents.sources[source].put(id, std::move(r));
    }
}

// After a split read: the translations' descriptions and shortcut characters read so far (those
// up to upTo) shared with the English ones they equal, as a whole read shares them.
void ShareWithEnglish(TableContents &contents, StringId upTo)
{
    const SourceTable &english = contents.sources[ssEnglishDefault];
    for (int source = ssLocalEdited; source < ssEnglishDefault; ++source) {
        for (int id = 1; id <= upTo; ++id) {
            Record *r = contents.sources[source].find(id);
            const Record *same = r ? english.find(id) : nullptr;
            if (!same)
                continue;
            if (r->description == same->description)
                r->description = same->description;
            if (r->shortcutCharacter == same->shortcutCharacter)
                r->shortcutCharacter = same->shortcutCharacter;
        }
    }
}

// The per-string values kept beside the records: parameter definitions, symbols and where
// another tool's file had a string.
struct Extras {
    QHash<StringId, ParameterList> parameters;
    QHash<StringId, QString> symbols;
    QHash<StringId, ExchangeOrigin> origins;
};

Extras ReadExtras(sqlite3 *db, int schema, int maximumCount)
{
    Extras extras;
    Statement parameters(db, "SELECT id, number, description FROM parameters ORDER BY id, position");
    while (parameters.Step()) {
        const int id = parameters.Int(0);
        if (id < 1 || id > maximumCount)
            continue;
        const int number = parameters.Int(1);
        extras.parameters[static_cast<StringId>(id)].append(
            ParameterDefinition(number, parameters.Text(2), QLatin1Char('%') + QString::number(number)));
    }
    // A workspace with symbols has one for nearly every string: room for them all up front
    // rather than the table growing step by step.
    Statement count(db, "SELECT count(*) FROM symbols");
    extras.symbols.reserve(count.Step() ? count.Int(0) : 0);
    Statement symbols(db, "SELECT id, symbol FROM symbols");
    while (symbols.Step()) {
        const int id = symbols.Int(0);
        const QString symbol = symbols.Text(1);
        if (id >= 1 && id <= maximumCount && !symbol.isEmpty())
            extras.symbols.insert(static_cast<StringId>(id), symbol);
    }
    if (schema < 2)
        return extras;
    Statement origins(db, "SELECT id, original, unit, source_markup, target_markup, target_state, state_qualifier "
                          "FROM exchange_origins");
    while (origins.Step()) {
        const int id = origins.Int(0);
        ExchangeOrigin o{origins.Text(1), origins.Text(2), origins.Text(3), origins.Text(4), origins.Text(5),
                         origins.Text(6)};
        if (id >= 1 && id <= maximumCount && !o.isEmpty())
            extras.origins.insert(static_cast<StringId>(id), std::move(o));
    }
    return extras;
}

void Load(sqlite3 *db, const QString &path, int schema, WorkspaceInfo &info, TableContents &contents, bool textsLater)
{
    const QString shown = Quoted(path);
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, kMaxValueBytes);
    CheckSchema(db, shown, schema);
    const StepBound bound(db);
    info.targetLanguage.clear();   // the file must name it; the type's default is no answer
    bool hasMaximum = false;
    QStringList disabledCheckRules;
    {
        Statement meta(db, "SELECT key, value FROM meta");
        while (meta.Step()) {
            const QString key = meta.Text(0);
            if (key == QLatin1String("name"))
                info.name = meta.Text(1);
            else if (key == QLatin1String("target_language"))
                info.targetLanguage = meta.Text(1);
            else if (key == QLatin1String("disabled_check_rules"))
                disabledCheckRules = meta.Text(1).split(QLatin1Char(','), Qt::SkipEmptyParts);
            else if (key == QLatin1String("maximum_count")) {
                info.maximumCount = meta.Int(1);
                hasMaximum = true;
            }
        }
    }
    if (!hasMaximum || info.maximumCount < 1 || info.maximumCount > kMaxStringId)
        throw KvError(errStorage, QStringLiteral("Workspace file %1 is damaged: its maximum count is missing or invalid").arg(shown));
    if (info.targetLanguage.isEmpty())
        throw KvError(errStorage, QStringLiteral("Workspace file %1 is damaged: it names no target language").arg(shown));

    contents.reset(info.maximumCount);
    contents.disabledCheckRules = disabledCheckRules;
    // Room for every id up front: untouched capacity costs address space, not memory, and the
    // pools never move while the file is read.
    for (SourceTable &table : contents.sources)
        table.reserve(static_cast<size_t>(info.maximumCount));
    const MapWhileReading map(db);

    // With texts later, those of ids above the first screen's are left to laterTexts: the query
    // passes over their bytes instead of decoding them. A small file is read at once.
    // The id of the English string at a position, 0 when there are fewer.
    const auto englishIdAt = [db](int position) {
        Statement nth(db, "SELECT id FROM records WHERE source = 3 ORDER BY id LIMIT 1 OFFSET ?");
        nth.Bind(1, position);
        return nth.Step() ? static_cast<StringId>(nth.Int(0)) : StringId(0);
    };
    StringId upTo = kMaxStringId;
    if (textsLater && englishIdAt(kStringsReadAtOnce - 1) != 0)
        upTo = englishIdAt(kFirstScreenStrings - 1);
    // A large file's per-string values are read on a connection of their own while this one
    // reads the records: they are a fifth of the reading, and the rest of the start leaves a
    // core free for them.
    std::future<Extras> extrasBeside;
    if (upTo < kMaxStringId) {
        extrasBeside = std::async(std::launch::async, [path, schema, maximumCount = info.maximumCount] {
            const ConnectionBeside beside(path);
            return ReadExtras(beside.db(), schema, maximumCount);
        });
    }

    // A large file's translations are read on a connection of their own while this one reads
    // the English strings: the window being built leaves a core free while the file is read.
    std::future<void> translations;
    if (upTo < kMaxStringId) {
        translations = std::async(std::launch::async, [&path, &shown, upTo, &info, &contents] {
            const ConnectionBeside beside(path);
            ReadRecords(beside.db(), RecordRange::Translations, upTo, shown, info.maximumCount, contents);
        });
        ReadRecords(db, RecordRange::English, upTo, shown, info.maximumCount, contents);
        translations.get();
        ShareWithEnglish(contents, upTo);
    } else {
        ReadRecords(db, RecordRange::All, upTo, shown, info.maximumCount, contents);
    }
    contents.textsUpTo = upTo;

    Extras extras = extrasBeside.valid() ? extrasBeside.get() : ReadExtras(db, schema, info.maximumCount);
    contents.parameters = std::move(extras.parameters);
    contents.symbols = std::move(extras.symbols);
    contents.origins = std::move(extras.origins);
}

// Whether this process may write the file and make the -wal and -shm files beside it.
bool CanWrite(const QString &path)
{
    const QByteArray file = QFile::encodeName(QFileInfo(path).absoluteFilePath());
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    return faccessat(AT_FDCWD, file.constData(), W_OK, AT_EACCESS) == 0
           && faccessat(AT_FDCWD, folder.constData(), W_OK | X_OK, AT_EACCESS) == 0;
}

// A full or failing disk is said to be one: the file itself may be intact.
QString DiskReason(const SqliteFailure &f)
{
    switch (f.code & 0xFF) {
    case SQLITE_FULL: return QStringLiteral("the disk is full (%1)").arg(f.message);
    case SQLITE_IOERR: return QStringLiteral("input/output error; the disk may be full or failing (%1)").arg(f.message);
    default: return {};
    }
}

int OpenErrorNumber(int code)
{
    const int primary = code & 0xFF;
    if (primary == SQLITE_BUSY || primary == SQLITE_LOCKED || primary == SQLITE_FULL || primary == SQLITE_IOERR
        || primary == SQLITE_CANTOPEN || primary == SQLITE_PERM || primary == SQLITE_READONLY)
        return errFileAccess;
    return errStorage;
}

QString OpenFailure(const QString &shown, const SqliteFailure &f)
{
    const QString disk = DiskReason(f);
    if (!disk.isEmpty())
        return QStringLiteral("Cannot read workspace file %1: %2").arg(shown, disk);
    switch (f.code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return QStringLiteral("Workspace file %1 is locked by another program: %2").arg(shown, f.message);
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_READONLY:
        return QStringLiteral("Cannot open workspace file %1: %2").arg(shown, f.message);
    case SQLITE_INTERRUPT:
        return QStringLiteral("Workspace file %1 is damaged or not a kvedit workspace: reading it does not come to "
                              "an end").arg(shown);
    case SQLITE_TOOBIG:
    case SQLITE_NOMEM:
        return QStringLiteral("Workspace file %1 is damaged or not a kvedit workspace: it holds a value too large to "
                              "be ours").arg(shown);
    default:
        return QStringLiteral("Workspace file %1 is damaged or unreadable: %2").arg(shown, f.message);
    }
}

// The texts of the records above upTo, on a connection of their own (Open's textsLater), in the
// order and with the sharing the first read uses.
std::vector<LaterTexts> ReadLaterTexts(const QString &path, StringId upTo, int maximumCount, size_t count)
{
    const QString shown = Quoted(path);
    try {
        const ConnectionBeside connection(path);
        Statement records(connection.db(), "SELECT source, id, revision, text, description, shortcut_character "
                                           "FROM records WHERE id > ? ORDER BY source DESC, id DESC");
        records.Bind(1, upTo);
        std::vector<LaterTexts> texts;
        texts.reserve(count);
        std::vector<qint32> english(static_cast<size_t>(maximumCount) + 1, -1);   // id: its English in texts
        while (records.Step()) {
            const int source = records.Int(0);
            const int id = records.Int(1);
            if (source < 0 || source > 3 || id <= upTo || id > maximumCount)
                throw KvError(errStorage, QStringLiteral("Workspace file %1 is damaged: a record has source %2 and id %3")
                                              .arg(shown).arg(source).arg(id));
            const qint32 at = source != ssEnglishDefault ? english[static_cast<size_t>(id)] : -1;
            const LaterTexts *same = at >= 0 ? &texts[static_cast<size_t>(at)] : nullptr;
            LaterTexts t;
            t.id = static_cast<StringId>(id);
            t.source = static_cast<quint8>(source);
            t.revision = static_cast<qint16>(records.Int(2));
            t.hasText = !records.IsNull(3);
            if (t.hasText)
                t.text = records.Text(3);
            t.description = same ? records.Text(4, same->description) : records.Text(4);
            t.shortcutCharacter = same ? records.Text(5, same->shortcutCharacter) : records.Text(5);
            if (source == ssEnglishDefault)
                english[static_cast<size_t>(id)] = static_cast<qint32>(texts.size());
            texts.push_back(std::move(t));
        }
        return texts;
    } catch (const SqliteFailure &f) {
        throw KvError(OpenErrorNumber(f.code), OpenFailure(shown, f));
    }
}

// Saves append to a write-ahead log that is synced on commit: one small sync per Save,
// however large the file, and still all-or-nothing.
void UseWriteAheadLog(sqlite3 *db)
{
    if (sqlite3_db_readonly(db, "main") != 0)
        return;
    if (sqlite3_exec(db, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr) != SQLITE_OK)
        qCWarning(lcServer) << "write-ahead log not available:" << sqlite3_errmsg(db);
    sqlite3_exec(db, "PRAGMA synchronous = FULL", nullptr, nullptr, nullptr);
}

} // namespace

SqliteStore::SqliteStore(QString path, sqlite3 *db) : m_path(std::move(path)), m_db(db) {}

SqliteStore::~SqliteStore()
{
    sqlite3_close(m_db);
}

QString SqliteStore::DisplayName() const
{
    return m_path.isEmpty() ? QStringLiteral("(in-memory workspace)") : Quoted(m_path);
}

std::unique_ptr<SqliteStore> SqliteStore::Create(const QString &path, const WorkspaceInfo &info)
{
    const QString shown = path.isEmpty() ? QStringLiteral("(in-memory workspace)") : Quoted(path);
    if (info.maximumCount < 1 || info.maximumCount > kMaxStringId)
        throw KvError(errInvalidCall, QStringLiteral("Cannot create workspace %1: the maximum count %2 is outside 1 to %3")
                                          .arg(shown).arg(info.maximumCount).arg(kMaxStringId));
    if (info.targetLanguage.trimmed().isEmpty())
        throw KvError(errInvalidCall, QStringLiteral("Cannot create workspace %1: no target language").arg(shown));
    if (!path.isEmpty() && QFileInfo::exists(path))
        throw KvError(errFileAccess, QStringLiteral("Cannot create workspace %1: the file already exists").arg(shown));

    sqlite3 *db = nullptr;
    try {
        db = OpenDatabase(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        Exec(db, "BEGIN IMMEDIATE");
        Exec(db, kSchema);
        Exec(db, kTablesSince2);
        Exec(db, kTablesSince3);
        Exec(db, QByteArray("PRAGMA application_id = " + QByteArray::number(kApplicationId)).constData());
        Exec(db, QByteArray("PRAGMA user_version = " + QByteArray::number(kSchemaVersion)).constData());
        Statement meta(db, "INSERT INTO meta(key, value) VALUES (?, ?)");
        const auto put = [&](const char *key, const QString &value) {
            meta.Bind(1, QString::fromLatin1(key));
            meta.Bind(2, value);
            meta.Run();
        };
        put("name", info.name);
        put("source_language", QStringLiteral("en"));
        put("target_language", info.targetLanguage.trimmed());
        meta.Bind(1, QStringLiteral("maximum_count"));
        meta.Bind(2, info.maximumCount);
        meta.Run();
        Exec(db, "COMMIT");
        if (!path.isEmpty())
            UseWriteAheadLog(db);
    } catch (const SqliteFailure &f) {
        if (db) {
            sqlite3_close(db);
            if (!path.isEmpty())
                QFile::remove(path);   // only a file this call made: existing ones were refused above
        }
        throw KvError(errStorage, QStringLiteral("Cannot create workspace %1: %2").arg(shown, f.message));
    }
    auto store = std::unique_ptr<SqliteStore>(new SqliteStore(path, db));
    store->m_info = info;
    store->m_info.targetLanguage = info.targetLanguage.trimmed();
    return store;
}

std::unique_ptr<SqliteStore> SqliteStore::Open(const QString &path, TableContents &contents, bool textsLater)
{
    const QString shown = Quoted(path);
    const QFileInfo fileInfo(path);
    if (path.isEmpty() || !fileInfo.exists()) {
        // A folder on the way that the user may not enter hides the file as well: say so rather
        // than send them looking for a file that is there.
        std::error_code error;
        static_cast<void>(std::filesystem::status(std::filesystem::path(QFile::encodeName(path).toStdString()), error));
        if (!path.isEmpty() && error == std::errc::permission_denied)
            throw KvError(errFileAccess, QStringLiteral("Workspace file %1 cannot be reached: permission denied").arg(shown));
        throw KvError(errFileNotFound, QStringLiteral("Workspace file %1 was not found").arg(shown));
    }
    if (!fileInfo.isFile())
        throw KvError(errFileAccess, QStringLiteral("Workspace file %1 is not a file").arg(shown));

    // Prove the file is ours before any connection that could write to it touches it.
    int schema = 0;
    {
        Connection probe;
        try {
            probe.db = OpenUnchangeable(path);
        } catch (const SqliteFailure &f) {
            throw KvError(errFileAccess, QStringLiteral("Cannot open workspace file %1: %2").arg(shown, f.message));
        }
        int applicationId = 0;
        try {
            applicationId = PragmaInt(probe.db, "PRAGMA application_id");
            schema = PragmaInt(probe.db, "PRAGMA user_version");
        } catch (const SqliteFailure &f) {
            if ((f.code & 0xFF) == SQLITE_NOTADB)
                throw KvError(errStorage, QStringLiteral("%1 is not a kvedit workspace file (%2)").arg(shown, f.message));
            throw KvError(errStorage, QStringLiteral("Cannot read workspace file %1: %2").arg(shown, f.message));
        }
        if (applicationId != kApplicationId)
            throw KvError(errStorage, QStringLiteral("%1 is not a kvedit workspace file").arg(shown));
        if (schema > kSchemaVersion)
            throw KvError(errStorage, QStringLiteral("Workspace file %1 was written by a newer version of kvedit "
                                                     "(schema %2; this version reads up to schema %3)")
                                          .arg(shown).arg(schema).arg(kSchemaVersion));
        if (schema < 1)
            throw KvError(errStorage, QStringLiteral("Workspace file %1 is damaged: it has no schema version").arg(shown));
    }

    WorkspaceInfo info;
    Connection connection;
    try {
        if (CanWrite(path)) {
            connection.db = OpenDatabase(path, SQLITE_OPEN_READWRITE);
        } else {
            // The second connection would have to be opened the same careful way; a
            // write-protected file is read at once.
            textsLater = false;
            // A write-protected file or folder is read where it lies, creating and changing
            // nothing beside it: a -shm made now would outlive the protection and block every
            // later save. Saved changes still in the write-ahead log can only be read through
            // an existing -shm; without one the file is refused rather than shown stale.
            const QFileInfo wal(path + QStringLiteral("-wal"));
            if (wal.exists() && wal.size() > 0) {
                try {
                    connection.db = OpenUnchangeable(path, "mode=ro&readonly_shm=1");
                    PragmaInt(connection.db, "PRAGMA schema_version");
                } catch (const SqliteFailure &f) {
                    if ((f.code & 0xFF) != SQLITE_CANTOPEN)
                        throw;
                    throw KvError(errFileAccess,
                                  QStringLiteral("Workspace file %1 cannot be read as last saved: its latest saves are "
                                                 "in %2, which cannot be read without %3 in a write-protected place; "
                                                 "open it once where it can be written")
                                      .arg(shown, Quoted(path + QStringLiteral("-wal")),
                                           Quoted(path + QStringLiteral("-shm"))));
                }
            } else {
                connection.db = OpenUnchangeable(path);
            }
            qCInfo(lcServer) << "opening" << path << "read-only";
        }
        Load(connection.db, path, schema, info, contents, textsLater);
    } catch (const SqliteFailure &f) {
        throw KvError(OpenErrorNumber(f.code), OpenFailure(shown, f));
    }
    UseWriteAheadLog(connection.db);
    if (contents.textsUpTo < kMaxStringId) {
        contents.laterCount = 0;
        for (const SourceTable &table : contents.sources)
            contents.laterCount += static_cast<size_t>(table.countAbove(contents.textsUpTo));
        contents.laterTexts = std::async(std::launch::async, ReadLaterTexts, path, contents.textsUpTo, info.maximumCount,
                                         contents.laterCount);
    }

    auto store = std::unique_ptr<SqliteStore>(new SqliteStore(path, connection.release()));
    store->m_info = info;
    store->m_schema = schema;
    return store;
}

void SqliteStore::Write(const ChangeSet &changes)
{
    if (changes.empty())
        return;
    try {
        try {
            // The rows are written in key order, so the pages they touch follow one another: a
            // small cache does, and saving every string of a large table holds no more.
            Exec(m_db, "PRAGMA cache_size = -256");
            Exec(m_db, "BEGIN IMMEDIATE");
            if (m_schema < 2)
                Exec(m_db, kTablesSince2);
            if (m_schema < 3)
                Exec(m_db, kTablesSince3);
            if (m_schema < kSchemaVersion)
                Exec(m_db, QByteArray("PRAGMA user_version = " + QByteArray::number(kSchemaVersion)).constData());
            // Before an English default record is replaced by one of another revision, the stored
            // one is kept: taken from the file itself, it is exactly what the translations saved
            // against that revision were made from, whatever the edits in memory went through.
            Statement keepEnglish(m_db, "INSERT OR REPLACE INTO english_history(id, revision, text, properties, "
                                        "shortcut_character, shortcut_mode) "
                                        "SELECT id, revision, text, properties, shortcut_character, shortcut_mode "
                                        "FROM records WHERE source = 3 AND id = ? AND revision <> ?");
            Statement putRecord(m_db, "INSERT OR REPLACE INTO records(source, id, text, description, properties, "
                                      "shortcut_character, shortcut_mode, revision, status) "
                                      "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)");
            Statement deleteRecord(m_db, "DELETE FROM records WHERE source = ? AND id = ?");
            for (const ChangeSet::RecordChange &c : changes.records) {
                if (c.record) {
                    const Record &r = *c.record;
                    if (c.source == ssEnglishDefault && c.replacesSaved) {
                        keepEnglish.Bind(1, static_cast<int>(c.id));
                        keepEnglish.Bind(2, static_cast<int>(r.revision));
                        keepEnglish.Run();
                    }
                    putRecord.Bind(1, static_cast<int>(c.source));
                    putRecord.Bind(2, static_cast<int>(c.id));
                    if (r.hasText)
                        putRecord.Bind(3, r.text.isNull() ? QStringLiteral("") : r.text);
                    else
                        putRecord.BindNull(3);
                    putRecord.Bind(4, r.description);
                    putRecord.Bind(5, static_cast<int>(r.properties));
                    putRecord.Bind(6, r.shortcutCharacter);
                    putRecord.Bind(7, static_cast<int>(r.shortcutMode));
                    putRecord.Bind(8, static_cast<int>(r.revision));
                    putRecord.Bind(9, r.status);
                    putRecord.Run();
                } else {
                    deleteRecord.Bind(1, static_cast<int>(c.source));
                    deleteRecord.Bind(2, static_cast<int>(c.id));
                    deleteRecord.Run();
                }
            }
            if (!changes.parameters.empty()) {
                Statement clear(m_db, "DELETE FROM parameters WHERE id = ?");
                Statement add(m_db, "INSERT INTO parameters(id, position, number, description) VALUES (?, ?, ?, ?)");
                for (const ChangeSet::ParameterChange &c : changes.parameters) {
                    clear.Bind(1, static_cast<int>(c.id));
                    clear.Run();
                    for (int i = 0; i < c.parameters.size(); ++i) {
                        add.Bind(1, static_cast<int>(c.id));
                        add.Bind(2, i);
                        add.Bind(3, c.parameters.at(i).Id());
                        add.Bind(4, c.parameters.at(i).Description());
                        add.Run();
                    }
                }
            }
            if (!changes.symbols.empty()) {
                Statement put(m_db, "INSERT OR REPLACE INTO symbols(id, symbol) VALUES (?, ?)");
                Statement remove(m_db, "DELETE FROM symbols WHERE id = ?");
                for (const ChangeSet::SymbolChange &c : changes.symbols) {
                    if (c.symbol.isEmpty()) {
                        remove.Bind(1, static_cast<int>(c.id));
                        remove.Run();
                    } else {
                        put.Bind(1, static_cast<int>(c.id));
                        put.Bind(2, c.symbol);
                        put.Run();
                    }
                }
            }
            if (!changes.origins.empty()) {
                Statement put(m_db, "INSERT OR REPLACE INTO exchange_origins(id, original, unit, source_markup, "
                                    "target_markup, target_state, state_qualifier) VALUES (?, ?, ?, ?, ?, ?, ?)");
                Statement remove(m_db, "DELETE FROM exchange_origins WHERE id = ?");
                for (const ChangeSet::OriginChange &c : changes.origins) {
                    if (c.origin.isEmpty()) {
                        remove.Bind(1, static_cast<int>(c.id));
                        remove.Run();
                        continue;
                    }
                    const ExchangeOrigin &o = c.origin;
                    put.Bind(1, static_cast<int>(c.id));
                    const QString values[] = {o.original, o.unit, o.sourceMarkup, o.targetMarkup, o.targetState,
                                              o.stateQualifier};
                    for (int i = 0; i < 6; ++i)
                        put.Bind(i + 2, values[i].isNull() ? QStringLiteral("") : values[i]);
                    put.Run();
                }
            }
            if (changes.disabledCheckRules) {
                // One meta value, so files of older versions, which ignore unknown keys, still open.
                Statement put(m_db, "INSERT OR REPLACE INTO meta(key, value) VALUES ('disabled_check_rules', ?)");
                put.Bind(1, changes.disabledCheckRules->join(QLatin1Char(',')));
                put.Run();
            }
            Exec(m_db, "COMMIT");
            m_schema = kSchemaVersion;
        } catch (const SqliteFailure &) {
            if (!sqlite3_get_autocommit(m_db))
                sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
            throw;
        }
    } catch (const SqliteFailure &f) {
        const QString disk = DiskReason(f);
        throw KvError(errStorage, QStringLiteral("Cannot save workspace %1: %2").arg(DisplayName(), disk.isEmpty() ? f.message : disk));
    }
}

std::optional<Record> SqliteStore::EnglishHistory(StringId id, qint16 revision) const
{
    if (m_schema < 3)
        return std::nullopt;   // not migrated yet: no save has kept anything
    try {
        Statement find(m_db, "SELECT text, properties, shortcut_character, shortcut_mode FROM english_history "
                             "WHERE id = ? AND revision = ?");
        find.Bind(1, static_cast<int>(id));
        find.Bind(2, static_cast<int>(revision));
        if (!find.Step())
            return std::nullopt;
        Record r;
        r.hasText = !find.IsNull(0);
        r.text = find.Text(0);
        r.properties = PropertiesOf(find.Int(1));
        r.shortcutCharacter = find.Text(2);
        r.shortcutMode = ShortcutModeOf(find.Int(3));
        r.revision = revision;
        return r;
    } catch (const SqliteFailure &f) {
        throw KvError(errStorage, QStringLiteral("Cannot read the English history of string %1 in workspace %2: %3")
                                      .arg(id).arg(DisplayName(), f.message));
    }
}

} // namespace kvedit::server
