#pragma once
// The stored form of one string in one source, and the per-source store of them. These are the
// server's own values, below the entry objects the editor sees; an importer works at this level.

#include "model/StringTables.h"

#include <QHash>
#include <QList>
#include <QString>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <future>
#include <optional>
#include <vector>

namespace kvedit::server {

// A shortcut character in four bytes instead of a string's twenty-four, since every record of
// every source holds one: a single character (a surrogate pair included) is kept as its code;
// anything longer, which only another tool's file brings, is kept once per process in a shared
// list and held as its index there. Reads and writes as the QString it stands for.
class CompactCharacter {
public:
    CompactCharacter() = default;
    CompactCharacter(const QString &text) { *this = text; }
    CompactCharacter &operator=(const QString &text);
    operator QString() const;

    bool isEmpty() const { return m_value == 0; }
    // Equal texts have equal values: the code of one character is unique, and so is the index
    // of a longer text in the shared list.
    bool operator==(const CompactCharacter &other) const { return m_value == other.m_value; }
    friend bool operator==(const CompactCharacter &a, const QString &b) { return QString(a) == b; }

private:
    quint32 m_value = 0;   // 0: none; kCode | a code; kListed | an index in the shared list
};

struct Record {
    QString text;                  // meaningful only when hasText
    QString description;
    CompactCharacter shortcutCharacter;   // empty for none
    qint16 revision = 0;
    quint8 properties = 0;         // TextProperty flags
    quint8 shortcutMode = 0;       // 0..4
    qint32 status = 0;             // StatusFlag bits
    bool hasText = false;

    bool operator==(const Record &) const = default;
};
// The pools hold a record per string and source, so every byte here counts once per string and source.
static_assert(sizeof(Record) <= 64);

using ParameterList = QList<ParameterDefinition>;

// Where a string came from when another tool's exchange file brought it: that file's <file>
// and unit, the inline codes of its source and target as markup, and the target's state as
// that tool wrote it, so an export can give the tool back its own units.
struct ExchangeOrigin {
    QString original;              // the <file original="...">
    QString unit;                  // the unit's id there (its resname when it had none)
    QString sourceMarkup;          // the source's content with its inline codes; empty: plain text
    QString targetMarkup;
    QString targetState;           // state and state-qualifier as read, for writing them back
    QString stateQualifier;

    bool isEmpty() const { return original.isEmpty() && unit.isEmpty() && sourceMarkup.isEmpty() && targetMarkup.isEmpty(); }
    bool operator==(const ExchangeOrigin &) const = default;
};

// One source's records indexed by id. A slot table keeps the per-id queries to one array read;
// records live in a pool so an empty workspace costs little more than the slot table.
class SourceTable {
public:
    void reset(int maximumCount)
    {
        m_slots.assign(static_cast<size_t>(maximumCount) + 1, -1);
        m_pool.clear();
        m_free.clear();
    }
    void reserve(size_t n) { m_pool.reserve(n); }

    const Record *find(int id) const
    {
        const qint32 slot = m_slots[static_cast<size_t>(id)];
        return slot < 0 ? nullptr : &m_pool[static_cast<size_t>(slot)];
    }
    void put(int id, Record record)
    {
        qint32 &slot = m_slots[static_cast<size_t>(id)];
        if (slot >= 0) {
            m_pool[static_cast<size_t>(slot)] = std::move(record);
            return;
        }
        if (!m_free.empty()) {
            slot = m_free.back();
            m_free.pop_back();
            m_pool[static_cast<size_t>(slot)] = std::move(record);
        } else {
            slot = static_cast<qint32>(m_pool.size());
            m_pool.push_back(std::move(record));
        }
    }
    void erase(int id)
    {
        qint32 &slot = m_slots[static_cast<size_t>(id)];
        if (slot < 0)
            return;
        m_pool[static_cast<size_t>(slot)] = Record();
        m_free.push_back(slot);
        slot = -1;
    }
    void set(int id, const std::optional<Record> &record)
    {
        if (record)
            put(id, *record);
        else
            erase(id);
    }
    void set(int id, const Record *record)
    {
        if (record)
            put(id, *record);
        else
            erase(id);
    }
    Record *find(int id)
    {
        const qint32 slot = m_slots[static_cast<size_t>(id)];
        return slot < 0 ? nullptr : &m_pool[static_cast<size_t>(slot)];
    }
    std::optional<Record> get(int id) const
    {
        const Record *r = find(id);
        return r ? std::optional<Record>(*r) : std::nullopt;
    }
    int count() const { return static_cast<int>(m_pool.size() - m_free.size()); }
    int countAbove(int id) const
    {
        return static_cast<int>(std::count_if(m_slots.begin() + std::min<size_t>(m_slots.size(), static_cast<size_t>(id) + 1),
                                              m_slots.end(), [](qint32 slot) { return slot >= 0; }));
    }

private:
    std::vector<qint32> m_slots;
    std::vector<Record> m_pool;
    std::vector<qint32> m_free;
};

// The texts of one record read after the rest of the workspace, with what the first read saw of
// the record, so that a file changed in between is noticed.
struct LaterTexts {
    StringId id = 0;
    quint8 source = 0;
    qint16 revision = 0;
    bool hasText = false;
    QString text;
    QString description;
    QString shortcutCharacter;
};

// Everything a workspace holds besides its header values.
struct TableContents {
    SourceTable sources[4];
    QHash<StringId, ParameterList> parameters;   // only ids that have definitions
    QHash<StringId, QString> symbols;            // only ids that have a symbol
    QHash<StringId, ExchangeOrigin> origins;     // only ids another tool's file brought
    QStringList disabledCheckRules;              // quality-check rule ids switched off
    // Records of ids above textsUpTo have no text, description or shortcut character yet:
    // laterTexts brings them (see SqliteStore::Open).
    StringId textsUpTo = kMaxStringId;
    std::future<std::vector<LaterTexts>> laterTexts;
    size_t laterCount = 0;   // records above textsUpTo when the first read ended

    void reset(int maximumCount)
    {
        textsUpTo = kMaxStringId;
        laterTexts = {};
        laterCount = 0;
        for (SourceTable &t : sources)
            t.reset(maximumCount);
        parameters.clear();
        symbols.clear();
        origins.clear();
        disabledCheckRules.clear();
    }
};

// What one Save writes: only the records and per-string values that were edited. A record
// change refers to the working record instead of copying it, so saving every string of a table
// costs no second copy of the table; the referred records must not change until it is written.
struct ChangeSet {
    struct RecordChange {
        StringSource source;
        StringId id;
        bool replacesSaved = true;      // false: the file holds no record there to keep as history
        const Record *record = nullptr; // nullptr deletes the record
    };
    struct ParameterChange {
        StringId id;
        ParameterList parameters;        // empty removes them
    };
    struct SymbolChange {
        StringId id;
        QString symbol;                  // empty removes it
    };
    std::vector<RecordChange> records;
    // Values that exist only for this save (a promoted English text's new revision); a deque,
    // so the changes' pointers to them stay valid while more are added.
    std::deque<Record> values;
    std::vector<ParameterChange> parameters;
    struct OriginChange {
        StringId id;
        ExchangeOrigin origin;           // empty removes it
    };
    std::vector<SymbolChange> symbols;
    std::vector<OriginChange> origins;
    std::optional<QStringList> disabledCheckRules;   // set when the list changed

    bool empty() const
    {
        return records.empty() && parameters.empty() && symbols.empty() && origins.empty() && !disabledCheckRules;
    }
};

} // namespace kvedit::server
