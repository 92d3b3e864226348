#include "memory/TranslationMemory.h"

#include "services/ErrorContext.h"
#include "services/Services.h"
#include "states/StringStates.h"
#include "textdiff/TextDiff.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>

#include <sqlite3.h>

#include <algorithm>
#include <cmath>

namespace kvedit::memory {

namespace {

// Bumped when the tables change; an index of another version is a cache and is built afresh.
constexpr int kSchemaVersion = 1;
constexpr int kBusyTimeoutMs = 2000;
// Candidates the full-text search hands on to the word comparison.
constexpr int kFuzzyCandidates = 60;
// Words looked up in the full-text index; the longest say most about a text.
constexpr int kQueryWords = 5;

const char *const kSchema = R"(
CREATE TABLE sources(key INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, language TEXT NOT NULL DEFAULT '',
                     stamp INTEGER NOT NULL DEFAULT 0);
CREATE TABLE units(rowid INTEGER PRIMARY KEY, source INTEGER NOT NULL, id INTEGER NOT NULL, english TEXT NOT NULL,
                   plain TEXT NOT NULL, loose TEXT NOT NULL, translation TEXT NOT NULL, approved INTEGER NOT NULL,
                   UNIQUE(source, id));
CREATE INDEX units_loose ON units(loose);
CREATE VIRTUAL TABLE units_text USING fts5(plain, content='units', content_rowid='rowid', tokenize='trigram');
)";

bool IsMarkerAt(const QString &text, int i)
{
    return text.at(i) == u'&' && i + 1 < text.size() && text.at(i + 1) != u'&';
}

// The position of the shortcut marker ('&' before a character; "&&" is an ampersand); -1 for none.
int MarkerPosition(const QString &text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) != u'&')
            continue;
        if (IsMarkerAt(text, i))
            return i;
        ++i;   // "&&"
    }
    return -1;
}

bool IsPlaceholderAt(const QString &text, int i)
{
    return text.at(i) == u'%' && i + 1 < text.size() && text.at(i + 1) >= u'1' && text.at(i + 1) <= u'9';
}

// The key of the 97 tier: case, markers, punctuation, runs of blanks and placeholder numbers
// left out.
QString Loose(const QString &text)
{
    const QString plain = CleanAccessMarkers(text).toCaseFolded();
    QString out;
    out.reserve(plain.size());
    bool blank = false;
    for (int i = 0; i < plain.size(); ++i) {
        const QChar ch = plain.at(i);
        if (IsPlaceholderAt(plain, i)) {
            out += u'%';
            ++i;
        } else if (ch.isSpace()) {
            blank = !out.isEmpty();
            continue;
        } else if (ch.isPunct()) {
            continue;
        } else {
            if (blank)
                out += u' ';
            out += ch;
        }
        blank = false;
    }
    return out;
}

QStringList Placeholders(const QString &text)
{
    QStringList out;
    for (int i = 0; i < text.size(); ++i)
        if (IsPlaceholderAt(text, i))
            out << text.mid(i++, 2);
    return out;
}

QString EndingPunctuation(const QString &text)
{
    static const QString marks = QStringLiteral(".,:;!?\u2026");
    int start = text.size();
    while (start > 0 && marks.contains(text.at(start - 1)))
        --start;
    return text.mid(start);
}

qint64 FileStamp(const QString &path)
{
    // Saved work may still be in the write-ahead log beside the file.
    const QFileInfo file(path);
    const QFileInfo wal(path + QStringLiteral("-wal"));
    qint64 stamp = file.exists() ? file.lastModified().toMSecsSinceEpoch() ^ (file.size() << 20) : 0;
    if (wal.exists())
        stamp = qMax(stamp, wal.lastModified().toMSecsSinceEpoch()) ^ (wal.size() << 24);
    return stamp;
}

// What the index holds for one string.
struct Unit {
    QString english;
    QString translation;
    bool approved = false;
    bool operator==(const Unit &) const = default;
};

// The unit a string gives: a current translation (approved or not) of a non-empty English text.
std::optional<Unit> UnitOf(const StringTableSet &tables, StringId id)
{
    const StringState state = StringStates::Compute(tables, id, ssLocalEdited);
    if (state.translation != TranslationState::Approved && state.translation != TranslationState::Unapproved)
        return std::nullopt;
    Unit unit{tables.Text(id, ssEnglishDefault), tables.Text(id, ssLocalEdited),
              state.translation == TranslationState::Approved};
    if (unit.english.trimmed().isEmpty() || unit.translation.isEmpty())
        return std::nullopt;
    return unit;
}

} // namespace

int ExactTier(const QString &current, const QString &match)
{
    if (current == match)
        return kExact;
    const QString foldedCurrent = current.toCaseFolded();
    const QString foldedMatch = match.toCaseFolded();
    if (foldedCurrent == foldedMatch)
        return kExactButCase;
    if (CleanAccessMarkers(foldedCurrent) == CleanAccessMarkers(foldedMatch))
        return kExactButMarker;
    return Loose(current) == Loose(match) ? kExactButPunctuation : 0;
}

QString Adapt(const QString &translation, const QString &matchEnglish, const QString &currentEnglish)
{
    QString out = translation;

    const QStringList from = Placeholders(matchEnglish);
    const QStringList to = Placeholders(currentEnglish);
    if (from.size() == to.size() && from != to) {
        QHash<QString, QString> map;
        bool consistent = true;
        for (qsizetype i = 0; i < from.size(); ++i) {
            const auto it = map.constFind(from.at(i));
            consistent = consistent && (it == map.cend() || *it == to.at(i));
            map.insert(from.at(i), to.at(i));
        }
        if (consistent) {
            QString renumbered;
            for (int i = 0; i < out.size(); ++i) {
                if (IsPlaceholderAt(out, i)) {
                    renumbered += map.value(out.mid(i, 2), out.mid(i, 2));
                    ++i;
                } else {
                    renumbered += out.at(i);
                }
            }
            out = renumbered;
        }
    }

    const int wanted = MarkerPosition(currentEnglish);
    const int present = MarkerPosition(out);
    if (wanted < 0 && present >= 0) {
        out.remove(present, 1);
    } else if (wanted >= 0 && present < 0) {
        // Before the same letter as in the English when the translation has it, else its first.
        const QChar key = currentEnglish.at(wanted + 1).toCaseFolded();
        int at = -1;
        for (int i = 0; i < out.size() && at < 0; ++i)
            if (out.at(i).toCaseFolded() == key && out.at(i).isLetterOrNumber())
                at = i;
        for (int i = 0; i < out.size() && at < 0; ++i)
            if (out.at(i).isLetter())
                at = i;
        if (at >= 0)
            out.insert(at, u'&');
    }

    const QString oldEnding = EndingPunctuation(matchEnglish);
    const QString newEnding = EndingPunctuation(currentEnglish);
    if (oldEnding != newEnding && out.endsWith(oldEnding)) {
        out.chop(oldEnding.size());
        out += newEnding;
    }
    return out;
}

// The index's name for the offers an exchange file made for a workspace's strings.
static QString OfferedPath(const QString &workspaceKey)
{
    return workspaceKey + QStringLiteral("#offered");
}

// --- The index -------------------------------------------------------------------------------

struct TranslationMemory::Private {
    QString file;
    sqlite3 *db = nullptr;

    StringTableSetPtr own;
    QString ownPath;
    qint64 ownKey = 0;
    int ownMaximum = 0;
    bool ownIndexed = false;
    int ownNext = 0;   // the next id to index while the workspace is indexed in steps; 0: not begun
    QString language;
    QList<QPair<QString, qint64>> others;   // path, source key
    qint64 offeredKey = 0;                  // the offers kept for the workspace being edited; 0: none
    // Words in each indexed English text by rowid, for choosing fuzzy candidates; loaded on the
    // first fuzzy lookup after the index changed.
    std::vector<quint16> wordCounts;

    const std::vector<quint16> &WordCounts()
    {
        if (!wordCounts.empty())
            return wordCounts;
        Statement read(*this, "SELECT rowid, length(plain) - length(replace(plain, ' ', '')) + 1 FROM units");
        while (read.Step()) {
            const auto rowid = static_cast<size_t>(read.Int(0));
            if (rowid >= wordCounts.size())
                wordCounts.resize(rowid + 1 + rowid / 4, 0);
            wordCounts[rowid] = static_cast<quint16>(qMin<qint64>(read.Int(1), 0xffff));
        }
        if (wordCounts.empty())
            wordCounts.push_back(0);
        return wordCounts;
    }

    [[noreturn]] void Fail(const QString &what) const
    {
        throw KvError(errStorage, QStringLiteral("The translation memory %1 cannot %2: %3")
                                      .arg(QDir::toNativeSeparators(file), what, QString::fromUtf8(sqlite3_errmsg(db))));
    }

    class Statement {
    public:
        Statement(Private &p, const char *sql) : m_p(p)
        {
            if (sqlite3_prepare_v2(p.db, sql, -1, &m_stmt, nullptr) != SQLITE_OK)
                p.Fail(QStringLiteral("be read"));
        }
        ~Statement() { sqlite3_finalize(m_stmt); }
        Statement(const Statement &) = delete;
        Statement &operator=(const Statement &) = delete;

        Statement &Bind(int index, qint64 value)
        {
            sqlite3_bind_int64(m_stmt, index, value);
            return *this;
        }
        Statement &Bind(int index, const QString &text)
        {
            const QByteArray utf8 = text.toUtf8();
            sqlite3_bind_text(m_stmt, index, utf8.constData(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
            return *this;
        }
        bool Step()
        {
            const int rc = sqlite3_step(m_stmt);
            if (rc == SQLITE_ROW)
                return true;
            if (rc != SQLITE_DONE)
                m_p.Fail(QStringLiteral("be used"));
            return false;
        }
        void Run()
        {
            Step();
            sqlite3_reset(m_stmt);
            sqlite3_clear_bindings(m_stmt);
        }
        void Reset()
        {
            sqlite3_reset(m_stmt);
            sqlite3_clear_bindings(m_stmt);
        }
        qint64 Int(int column) const { return sqlite3_column_int64(m_stmt, column); }
        QString Text(int column) const
        {
            return QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column)),
                                     sqlite3_column_bytes(m_stmt, column));
        }

    private:
        Private &m_p;
        sqlite3_stmt *m_stmt = nullptr;
    };

    void Exec(const char *sql)
    {
        if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
            Fail(QStringLiteral("be written"));
    }

    // Rolls back unless committed, so a failed refresh leaves the index as it was.
    class Transaction {
    public:
        explicit Transaction(Private &p) : m_p(p) { p.Exec("BEGIN IMMEDIATE"); }
        ~Transaction()
        {
            if (!m_done)
                sqlite3_exec(m_p.db, "ROLLBACK", nullptr, nullptr, nullptr);
        }
        void Commit()
        {
            m_p.Exec("COMMIT");
            m_done = true;
        }

    private:
        Private &m_p;
        bool m_done = false;
    };

    void Open()
    {
        const QString folder = QFileInfo(file).absolutePath();
        if (!QDir().mkpath(folder))
            throw KvError(errFileAccess, QStringLiteral("Cannot create the folder %1 for the translation memory")
                                             .arg(QDir::toNativeSeparators(folder)));
        if (sqlite3_open_v2(QFile::encodeName(file).constData(), &db,
                            SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr)
            != SQLITE_OK)
            Fail(QStringLiteral("be opened"));
        sqlite3_busy_timeout(db, kBusyTimeoutMs);
        Exec("PRAGMA journal_mode = WAL");
        Exec("PRAGMA synchronous = NORMAL");
        Statement version(*this, "PRAGMA user_version");
        version.Step();
        const qint64 found = version.Int(0);
        version.Reset();
        if (found == kSchemaVersion)
            return;
        Transaction t(*this);
        Exec("DROP TABLE IF EXISTS units_text; DROP TABLE IF EXISTS units; DROP TABLE IF EXISTS sources");
        if (sqlite3_exec(db, kSchema, nullptr, nullptr, nullptr) != SQLITE_OK)
            Fail(QStringLiteral("be set up (full-text search with the trigram tokenizer is needed)"));
        Exec(QStringLiteral("PRAGMA user_version = %1").arg(kSchemaVersion).toLatin1().constData());
        t.Commit();
    }

    // The source row of a path (made when missing).
    qint64 SourceKey(const QString &path)
    {
        Statement find(*this, "SELECT key FROM sources WHERE path = ?");
        if (find.Bind(1, path).Step())
            return find.Int(0);
        Statement add(*this, "INSERT INTO sources(path) VALUES(?)");
        add.Bind(1, path).Run();
        return sqlite3_last_insert_rowid(db);
    }

    // Writes what changed among ids (all the tables hold when empty) of one source. One
    // transaction: the caller's.
    void Index(qint64 source, const StringTableSet &tables, const QList<StringId> &ids, int maximumCount)
    {
        wordCounts.clear();
        struct Stored {
            qint64 rowid;
            QString plain;
            Unit unit;
        };
        QHash<int, Stored> stored;
        const bool all = ids.isEmpty();
        {
            Statement read(*this, all ? "SELECT id, rowid, plain, english, translation, approved FROM units WHERE source = ?"
                                      : "SELECT id, rowid, plain, english, translation, approved FROM units "
                                        "WHERE source = ? AND id = ?");
            auto take = [&] {
                while (read.Step())
                    stored.insert(static_cast<int>(read.Int(0)),
                                  {read.Int(1), read.Text(2), {read.Text(3), read.Text(4), read.Int(5) != 0}});
                read.Reset();
            };
            if (all) {
                read.Bind(1, source);
                take();
            } else {
                for (const StringId id : ids) {
                    read.Bind(1, source).Bind(2, id);
                    take();
                }
            }
        }
        Statement removeText(*this, "INSERT INTO units_text(units_text, rowid, plain) VALUES('delete', ?, ?)");
        Statement addText(*this, "INSERT INTO units_text(rowid, plain) VALUES(?, ?)");
        Statement remove(*this, "DELETE FROM units WHERE rowid = ?");
        Statement update(*this, "UPDATE units SET english = ?, plain = ?, loose = ?, translation = ?, approved = ? "
                                "WHERE rowid = ?");
        Statement insert(*this, "INSERT INTO units(source, id, english, plain, loose, translation, approved) "
                                "VALUES(?, ?, ?, ?, ?, ?, ?)");
        QList<StringId> wanted = ids;
        if (all)
            for (int id = 1; id <= qMin(maximumCount, kMaxStringId); ++id)
                wanted << static_cast<StringId>(id);
        for (const StringId id : std::as_const(wanted)) {
            const std::optional<Unit> unit = UnitOf(tables, id);
            const auto it = stored.constFind(id);
            if (it != stored.cend()) {
                if (unit && *unit == it->unit) {
                    stored.remove(id);
                    continue;
                }
                removeText.Bind(1, it->rowid).Bind(2, it->plain).Run();
            }
            if (!unit) {
                if (it != stored.cend())
                    remove.Bind(1, it->rowid).Run();
                stored.remove(id);
                continue;
            }
            const QString plain = CleanAccessMarkers(unit->english);
            qint64 rowid = 0;
            if (it != stored.cend()) {
                rowid = it->rowid;
                update.Bind(1, unit->english).Bind(2, plain).Bind(3, Loose(unit->english)).Bind(4, unit->translation)
                    .Bind(5, unit->approved ? 1 : 0).Bind(6, rowid).Run();
            } else {
                insert.Bind(1, source).Bind(2, id).Bind(3, unit->english).Bind(4, plain).Bind(5, Loose(unit->english))
                    .Bind(6, unit->translation).Bind(7, unit->approved ? 1 : 0).Run();
                rowid = sqlite3_last_insert_rowid(db);
            }
            addText.Bind(1, rowid).Bind(2, plain).Run();
            stored.remove(id);
        }
        // Left over after a full pass: ids the tables no longer have.
        for (const Stored &gone : std::as_const(stored)) {
            removeText.Bind(1, gone.rowid).Bind(2, gone.plain).Run();
            remove.Bind(1, gone.rowid).Run();
        }
    }

    void SetLanguage(qint64 source, const QString &languageValue, qint64 stamp)
    {
        Statement set(*this, "UPDATE sources SET language = ?, stamp = ? WHERE key = ?");
        set.Bind(1, languageValue).Bind(2, stamp).Bind(3, source).Run();
    }

    // Indexes the next count ids of the workspace being edited, in one transaction; true once
    // every id has been. Steps let a large workspace be indexed between the window's events.
    bool IndexOwnStep(int count)
    {
        if (!own || ownIndexed)
            return true;
        const int last = qMin(ownMaximum, int(kMaxStringId));
        Transaction t(*this);
        if (ownNext == 0) {
            ownKey = SourceKey(ownPath);
            SetLanguage(ownKey, language, 0);
            ownNext = 1;
        }
        QList<StringId> ids;
        for (int id = ownNext; id <= last && ids.size() < count; ++id)
            ids << static_cast<StringId>(id);
        if (!ids.isEmpty())
            Index(ownKey, *own, ids, ownMaximum);
        ownNext += static_cast<int>(ids.size());
        if (ownNext > last) {
            // Ids above the workspace's highest, left from a larger one of the same name.
            Statement above(*this, "SELECT rowid, plain FROM units WHERE source = ? AND id > ?");
            Statement removeText(*this, "INSERT INTO units_text(units_text, rowid, plain) VALUES('delete', ?, ?)");
            Statement remove(*this, "DELETE FROM units WHERE rowid = ?");
            above.Bind(1, ownKey).Bind(2, last);
            QList<QPair<qint64, QString>> gone;
            while (above.Step())
                gone.append({above.Int(0), above.Text(1)});
            for (const auto &[rowid, plain] : std::as_const(gone)) {
                removeText.Bind(1, rowid).Bind(2, plain).Run();
                remove.Bind(1, rowid).Run();
            }
            ownIndexed = true;
        }
        t.Commit();
        return ownIndexed;
    }

    void EnsureOwnIndexed()
    {
        while (!IndexOwnStep(kMaxStringId)) {
        }
    }
};

TranslationMemory::TranslationMemory(const QString &indexFile) : d(std::make_unique<Private>())
{
    d->file = indexFile.isEmpty() ? DefaultIndexFile() : indexFile;
    d->Open();
}

TranslationMemory::~TranslationMemory()
{
    sqlite3_close_v2(d->db);
}

QString TranslationMemory::DefaultIndexFile()
{
    const QString set = qEnvironmentVariable("KVEDIT_MEMORY_INDEX");
    if (!set.isEmpty())
        return set;
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation)).filePath(QStringLiteral("memory.sqlite"));
}

QString TranslationMemory::IndexFile() const
{
    return d->file;
}

void TranslationMemory::SetWorkspace(const StringTableSetPtr &tables, const QString &key, int maximumCount)
{
    d->own = tables;
    d->ownPath = key;
    d->ownMaximum = maximumCount;
    d->ownIndexed = false;
    d->ownNext = 0;
    d->language = tables ? tables->SourceLanguage(ssLocalEdited).Value() : QString();
    Private::Statement offered(*d, "SELECT key FROM sources WHERE path = ?");
    d->offeredKey = offered.Bind(1, OfferedPath(key)).Step() ? offered.Int(0) : 0;
    // The same file added as a memory too would only repeat every suggestion.
    d->others.removeIf([&](const QPair<QString, qint64> &other) { return other.first == key; });
}

void TranslationMemory::Refresh(const QList<StringId> &ids)
{
    if (!d->own)
        return;
    if (!d->ownIndexed) {
        d->EnsureOwnIndexed();
        return;
    }
    Private::Transaction t(*d);
    d->Index(d->ownKey, *d->own, ids, d->ownMaximum);
    t.Commit();
}

void TranslationMemory::Warm()
{
    d->EnsureOwnIndexed();
    d->WordCounts();
}

bool TranslationMemory::WarmStep(int count)
{
    if (!d->IndexOwnStep(count))
        return false;
    d->WordCounts();
    return true;
}

void TranslationMemory::KeepOffered(const QString &workspacePath, const QString &language, const QList<Offered> &offers)
{
    QHash<StringId, Offered> best;
    for (const Offered &o : offers) {
        if (o.id <= 0 || o.english.trimmed().isEmpty() || o.translation.isEmpty())
            continue;
        const auto it = best.constFind(o.id);
        if (it == best.cend() || o.quality > it->quality)
            best.insert(o.id, o);
    }
    if (best.isEmpty())
        return;
    const QString path = OfferedPath(QFileInfo(workspacePath).absoluteFilePath());
    Private::Transaction t(*d);
    const qint64 key = d->SourceKey(path);
    d->SetLanguage(key, language, 0);
    Private::Statement find(*d, "SELECT rowid, plain FROM units WHERE source = ? AND id = ?");
    Private::Statement removeText(*d, "INSERT INTO units_text(units_text, rowid, plain) VALUES('delete', ?, ?)");
    Private::Statement remove(*d, "DELETE FROM units WHERE rowid = ?");
    Private::Statement insert(*d, "INSERT INTO units(source, id, english, plain, loose, translation, approved) "
                                  "VALUES(?, ?, ?, ?, ?, ?, 0)");
    Private::Statement addText(*d, "INSERT INTO units_text(rowid, plain) VALUES(?, ?)");
    for (const Offered &o : std::as_const(best)) {
        if (find.Bind(1, key).Bind(2, o.id).Step()) {
            const qint64 rowid = find.Int(0);
            removeText.Bind(1, rowid).Bind(2, find.Text(1)).Run();
            remove.Bind(1, rowid).Run();
        }
        find.Reset();
        const QString plain = CleanAccessMarkers(o.english);
        insert.Bind(1, key).Bind(2, o.id).Bind(3, o.english).Bind(4, plain).Bind(5, Loose(o.english))
            .Bind(6, o.translation).Run();
        addText.Bind(1, sqlite3_last_insert_rowid(d->db)).Bind(2, plain).Run();
    }
    t.Commit();
    d->wordCounts.clear();
    if (path == OfferedPath(d->ownPath))
        d->offeredKey = key;
}

bool TranslationMemory::IsCurrent(const QString &path) const
{
    Private::Statement find(*d, "SELECT stamp FROM sources WHERE path = ?");
    return find.Bind(1, QFileInfo(path).absoluteFilePath()).Step() && find.Int(0) == FileStamp(path) && find.Int(0) != 0;
}

void TranslationMemory::AddWorkspace(const QString &path, const StringTableSetPtr &tables, int maximumCount)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    Private::Transaction t(*d);
    const qint64 key = d->SourceKey(absolute);
    d->Index(key, *Require(tables, "StringTableSet"), {}, maximumCount);
    d->SetLanguage(key, tables->SourceLanguage(ssLocalEdited).Value(), FileStamp(path));
    t.Commit();
    UseIndexed(absolute);
}

void TranslationMemory::UseIndexed(const QString &path)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (absolute == d->ownPath)
        return;
    for (const auto &other : std::as_const(d->others))
        if (other.first == absolute)
            return;
    d->others.append({absolute, d->SourceKey(absolute)});
}

QList<Suggestion> TranslationMemory::Lookup(const QString &english, StringId excludeId, int minPercent, int max)
{
    d->EnsureOwnIndexed();
    if (english.trimmed().isEmpty())
        return {};
    QHash<qint64, QString> origins;
    if (d->own)
        origins.insert(d->ownKey, QStringLiteral("this workspace"));
    if (d->own && d->offeredKey)
        origins.insert(d->offeredKey, QStringLiteral("offered in an XLIFF file"));
    for (const auto &other : std::as_const(d->others))
        origins.insert(other.second, QFileInfo(other.first).fileName());
    if (origins.isEmpty())
        return {};

    // The sources in use, of the language being translated to, as one bound list.
    QByteArray sourceList;
    for (qsizetype i = 0; i < origins.size(); ++i)
        sourceList += i ? ",?" : "?";
    const QByteArray where = " AND u.source IN (" + sourceList + ") AND (s.language = ? OR ? = '' OR u.source = ?)";
    auto bindSources = [&](Private::Statement &statement, int first) {
        int index = first;
        for (auto it = origins.cbegin(); it != origins.cend(); ++it)
            statement.Bind(index++, it.key());
        statement.Bind(index, d->language);
        statement.Bind(index + 1, d->language);
        statement.Bind(index + 2, d->ownKey);
    };

    const QString plainQuery = CleanAccessMarkers(english).toCaseFolded();
    QList<Suggestion> found;
    QSet<QPair<qint64, int>> seen;
    auto take = [&](Private::Statement &statement, bool exact) {
        while (statement.Step()) {
            const qint64 source = statement.Int(0);
            const int id = static_cast<int>(statement.Int(1));
            if ((source == d->ownKey && d->own && id == excludeId) || seen.contains({source, id}))
                continue;
            Suggestion s;
            s.english = statement.Text(2);
            s.translation = statement.Text(3);
            s.approved = statement.Int(4) != 0;
            s.percent = exact ? ExactTier(english, s.english) : 0;
            if (s.percent == 0)
                s.percent = qMin<int>(kBestFuzzy, qRound(100 * textdiff::WordSimilarity(
                                                                    plainQuery, CleanAccessMarkers(s.english).toCaseFolded())));
            if (s.percent < minPercent)
                continue;
            seen.insert({source, id});
            s.origin = origins.value(source);
            s.id = static_cast<StringId>(id);
            found << s;
        }
    };

    {
        const QByteArray sql = "SELECT u.source, u.id, u.english, u.translation, u.approved FROM units u INDEXED BY units_loose "
                               "JOIN sources s ON s.key = u.source WHERE u.loose = ?" + where;
        Private::Statement exact(*d, sql.constData());
        exact.Bind(1, Loose(english));
        bindSources(exact, 2);
        take(exact, true);
    }

    if (minPercent <= kBestFuzzy) {
        // Candidates are the texts holding most of the query's longer words, a rare word counting
        // more than a common one; the best of them are compared word by word. Scoring here rather
        // than by the full-text rank keeps a lookup fast when common words match most rows.
        static const QRegularExpression word(QStringLiteral("[\\w']{3,}"), QRegularExpression::UseUnicodePropertiesOption);
        QStringList words;
        for (auto it = word.globalMatch(CleanAccessMarkers(english)); it.hasNext();) {
            const QString w = it.next().captured().toCaseFolded();
            if (!words.contains(w))
                words << w;
        }
        std::stable_sort(words.begin(), words.end(), [](const QString &a, const QString &b) { return a.size() > b.size(); });
        words = words.mid(0, kQueryWords);
        // Per text: the weight of the query's words it holds (rare ones weigh more) and how many.
        std::vector<float> weights;     // by rowid
        std::vector<quint8> shared;
        std::vector<qint64> touched;
        if (!words.isEmpty()) {
            Private::Statement size(*d, "SELECT max(rowid) FROM units");
            size.Step();
            const auto rows = static_cast<size_t>(qMax<qint64>(1, size.Int(0)));
            weights.assign(rows + 1, 0);
            shared.assign(rows + 1, 0);
            Private::Statement posting(*d, "SELECT rowid FROM units_text WHERE units_text MATCH ?");
            std::vector<qint64> matched;
            for (const QString &w : std::as_const(words)) {
                matched.clear();
                posting.Bind(1, u'"' + QString(w).replace(u'"', QStringLiteral("\"\"")) + u'"');
                while (posting.Step())
                    matched.push_back(posting.Int(0));
                posting.Reset();
                const auto weight = static_cast<float>(std::log(1.0 + double(rows) / double(qMax<size_t>(1, matched.size()))));
                for (const qint64 rowid : matched) {
                    const auto r = static_cast<size_t>(rowid);
                    if (r > rows)
                        continue;
                    if (shared[r] == 0)
                        touched.push_back(rowid);
                    weights[r] += weight;
                    shared[r] = static_cast<quint8>(qMin(255, shared[r] + 1));
                }
            }
        }
        // Ranked as the word similarity will be, roughly: shared words against both lengths.
        const std::vector<quint16> &counts = d->WordCounts();
        const int queryWords = static_cast<int>(CleanAccessMarkers(english).simplified().count(u' ')) + 1;
        struct Candidate {
            double estimate, weight;
            qint64 rowid;
        };
        QList<Candidate> ranked;
        ranked.reserve(static_cast<qsizetype>(touched.size()));
        for (const qint64 rowid : touched) {
            const auto r = static_cast<size_t>(rowid);
            const int words = r < counts.size() ? counts[r] : queryWords;
            ranked.append({2.0 * shared[r] / (queryWords + qMax(1, words)), weights[r], rowid});
        }
        const qsizetype keep = qMin<qsizetype>(ranked.size(), kFuzzyCandidates);
        std::partial_sort(ranked.begin(), ranked.begin() + keep, ranked.end(), [](const Candidate &a, const Candidate &b) {
            if (a.estimate != b.estimate)
                return a.estimate > b.estimate;
            return a.weight > b.weight || (a.weight == b.weight && a.rowid < b.rowid);
        });
        const QByteArray sql = "SELECT u.source, u.id, u.english, u.translation, u.approved FROM units u "
                               "JOIN sources s ON s.key = u.source WHERE u.rowid = ?" + where;
        Private::Statement candidate(*d, sql.constData());
        for (qsizetype i = 0; i < keep; ++i) {
            candidate.Bind(1, ranked.at(i).rowid);
            bindSources(candidate, 2);
            take(candidate, false);
            candidate.Reset();
        }
    }

    // Best first; among equals an approved translation, then the lower id.
    std::stable_sort(found.begin(), found.end(), [](const Suggestion &a, const Suggestion &b) {
        if (a.percent != b.percent)
            return a.percent > b.percent;
        if (a.approved != b.approved)
            return a.approved;
        return a.id < b.id;
    });
    QList<Suggestion> out;
    QSet<QString> translations;
    for (Suggestion &s : found) {
        if (out.size() >= max)
            break;
        if (translations.contains(s.translation))
            continue;
        translations.insert(s.translation);
        s.insertText = s.percent >= kExactButPunctuation && s.approved ? Adapt(s.translation, s.english, english)
                                                                       : s.translation;
        s.adapted = s.insertText != s.translation;
        out << s;
    }
    return out;
}

QList<Filled> Pretranslate(TranslationMemory &memory, const StringTableSetPtr &tables, TableVersion version,
                           const QList<StringId> &ids, int minPercent, int maximumCount)
{
    Require(tables, "StringTableSet");
    if (version != ssLocalEdited && version != ssLocalDefault)
        throw KvError(errInvalidCall, QStringLiteral("Only the local tables (0 and 1) hold translations to fill"));
    QList<StringId> wanted = ids;
    if (wanted.isEmpty())
        for (int id = 1; id <= qMin(maximumCount, kMaxStringId); ++id)
            wanted << static_cast<StringId>(id);
    QList<Filled> filled;
    for (const StringId id : std::as_const(wanted)) {
        if (StringStates::Compute(*tables, id, version).translation != TranslationState::Missing)
            continue;
        const QList<Suggestion> best = memory.Lookup(tables->Text(id, ssEnglishDefault), id, minPercent, 1);
        if (best.isEmpty())
            continue;
        const StringEntryPtr entry = Require(tables->Entry(id, version), "StringEntry");
        const QString text = best.first().insertText;
        tables->StoreEntry(entry->CreateEdited(id, text, entry->EntryText(), entry->Property(tpMultipleLines),
                                               entry->Property(tpAllowTab), entry->Property(tpAllowShortcut),
                                               entry->ShortcutCharacter(), entry->ShortcutMode(),
                                               entry->ParameterDefinitions(), false));
        filled << Filled{id, best.first().percent, text, best.first().origin};
    }
    return filled;
}

} // namespace kvedit::memory
