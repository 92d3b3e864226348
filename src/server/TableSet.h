#pragma once
// The four string sources of a workspace with their unsaved edits. Queries read the working
// values (saved values overlaid by edits) straight from per-source slot tables; the saved value
// of every edited item is remembered so DiscardEdits can put it back and Save knows what to write.

#include "server/Record.h"

#include "services/ErrorContext.h"

#include <QHash>

#include <bit>
#include <memory>
#include <optional>
#include <vector>

namespace kvedit::server {

class SqliteStore;

// The records edited since the last Save, with the saved value each replaced: a bit per source
// and id, and a copy only of the saved records that existed. Most edits of a translation add a
// record where the file holds none, so they cost a bit each, not a saved copy.
class EditedRecords {
public:
    void reset(int maximumCount);
    bool empty() const { return m_total == 0; }
    int count() const { return m_total; }
    int count(int source) const { return m_counts[source]; }
    bool contains(int source, StringId id) const
    {
        return (m_bits[source][static_cast<size_t>(id) >> 6] >> (id & 63)) & 1U;
    }
    // The saved record of an edited id; nullptr when the file held none there (or it is not edited).
    const Record *saved(int source, StringId id) const;
    // Marks the id edited, remembering its saved record (nullptr: none); it must not be edited yet.
    void add(int source, StringId id, const Record *saved);
    void remove(int source, StringId id);
    void clear();
    // Calls f(id, saved) for every edited id of a source, in ascending order.
    template <typename F>
    void forEach(int source, F &&f) const
    {
        const std::vector<quint64> &bits = m_bits[source];
        for (size_t word = 0; m_counts[source] > 0 && word < bits.size(); ++word)
            for (quint64 w = bits[word]; w != 0; w &= w - 1) {
                const auto id = static_cast<StringId>(word * 64 + static_cast<size_t>(std::countr_zero(w)));
                f(id, saved(source, id));
            }
    }

private:
    static quint32 KeyOf(int source, StringId id)
    {
        return (static_cast<quint32>(source) << 16) | static_cast<quint16>(id);
    }

    std::vector<quint64> m_bits[4];
    QHash<quint32, Record> m_saved;   // keyed by source << 16 | id
    int m_counts[4] = {};
    int m_total = 0;
};

class TableSet final : public StringTableSet, public std::enable_shared_from_this<TableSet> {
public:
    // contents is taken over as the saved state.
    TableSet(std::shared_ptr<SqliteStore> store, TableContents contents, int maximumCount,
             const QString &targetLanguage);
    ~TableSet() override;

    // StringTableSet
    qint16 Revision(StringId id, kvedit::StringSource source) const override;
    bool HasText(StringId id, kvedit::StringSource source) const override;
    // A source's own records, and in the translation sources (0 to 2) a slot for every English
    // string as well.
    bool IdInUse(StringId id, kvedit::StringSource source) const override;
    StringEntryPtr Entry(StringId id, kvedit::StringSource source) const override;
    QString Text(StringId id, kvedit::StringSource source) const override;
    QString SourceName(StringId id, kvedit::StringSource source) const override;
    bool Modified() const override;
    bool HasStatus(StringId id, kvedit::StringSource source, int flag) const override;
    kvedit::Language SourceLanguage(kvedit::StringSource source) const override;
    void DiscardEdits() override;
    void Save(TableVersion version, bool saveAs) override;
    void AddEntry(const StringEntryPtr &entry) override;
    void StoreEntry(const StringEntryPtr &entry) override;
    void RemoveEntry(StringId id, kvedit::StringSource source) override;
    QStringList SaveTableNames(TableVersion version) const override;
    QString Description(StringId id, kvedit::StringSource source) const override;
    int TextOrigin(StringId id, kvedit::StringSource source) const override;
    Snapshot TakeSnapshot(StringId id, kvedit::StringSource source) const override;
    void Restore(const Snapshot &snapshot) override;
    QStringList DisabledCheckRules() const override;
    void SetDisabledCheckRules(const QStringList &ruleIds) override;   // an edit
    EntryValues Values(StringId id, kvedit::StringSource source) const override;
    std::optional<EntryValues> EnglishAt(StringId id, qint16 revision) const override;
    bool TestText(StringId id, kvedit::StringSource source, TextField field, const TextTest &test) const override;

    // Beyond the editor's interface: record-level access for importers and tools.
    int MaximumCount() const { return m_maximumCount; }
    // The record a source holds itself (no fallback); nullopt when the id is not in use there.
    std::optional<Record> RecordOf(StringId id, kvedit::StringSource source) const;
    // Puts a record exactly as given (no revision stamping) or removes it; an edit.
    void PutRecord(StringId id, kvedit::StringSource source, const std::optional<Record> &record);
    // The id's parameter definitions, shared by its sources; empty when it has none.
    ParameterList Parameters(StringId id) const;
    void setParameters(StringId id, const ParameterList &parameters);   // an edit
    // The id's symbol ("IDS_FILE_OPEN"), empty when it has none.
    QString Symbol(StringId id) const override;
    void setSymbol(StringId id, const QString &symbol);                 // an edit
    // Where another tool's exchange file had the string; empty when none did.
    ExchangeOrigin Origin(StringId id) const;
    void setOrigin(StringId id, const ExchangeOrigin &origin);          // an edit
    // Every id with an origin, to find a unit's string by its file and unit id.
    const QHash<StringId, ExchangeOrigin> &Origins() const { return m_data.origins; }
    // The id that carries a symbol, 0 when none does.
    StringId IdOfSymbol(const QString &symbol) const;
    // How many records a source holds itself.
    int RecordCount(kvedit::StringSource source) const;
    // The entry of an id a source has no record for (nor its default): no text, revision 0, not
    // approved; a translation takes the description, text properties and shortcut mode of the
    // English default so it is written the same way.
    StringEntryPtr BlankEntry(StringId id, kvedit::StringSource source) const;

    // The fixed name of a source ("Local Edited"); empty outside 0..3.
    static QString FixedSourceName(int source);

private:
    // The record the queries of a source use: its own, or for an edited source without one
    // its default's. Sets *from to the source that supplied it.
    const Record *Resolve(StringId id, kvedit::StringSource source, int *from = nullptr) const;
    // Waits for the texts read after the rest when the id's are among them (Texts), or for all
    // of them (AllTexts: before any edit, whose saved copy must be whole).
    void Texts(StringId id) const
    {
        if (id > m_data.textsUpTo)
            AllTexts();
    }
    void AllTexts() const;
    void CheckId(StringId id) const;
    void CheckSource(int source) const;
    void CheckIdAndSource(StringId id, int source) const { CheckId(id); CheckSource(source); }
    StringEntryPtr MakeEntry(StringId id, kvedit::StringSource source, const Record &record) const;
    Record BlankRecord(StringId id, kvedit::StringSource source) const;
    void ChangeRecord(kvedit::StringSource source, StringId id, const std::optional<Record> &record);
    void Store(const StringEntryPtr &entry, bool replace);
    void IndexSymbols() const;
    // The changes to write; those from *promoted on are the promotion of an edited source.
    ChangeSet CollectChanges(int promoteFrom, size_t *promoted) const;

    std::shared_ptr<SqliteStore> m_store;
    TableContents m_data;              // working values
    int m_maximumCount;
    kvedit::Language m_target;
    kvedit::Language m_english;

    // Saved values of everything edited since the last Save.
    EditedRecords m_edits;
    QHash<StringId, ParameterList> m_savedParameters;
    QHash<StringId, QString> m_savedSymbols;
    QHash<StringId, ExchangeOrigin> m_savedOrigins;
    std::optional<QStringList> m_savedDisabledCheckRules;
    // The ids of each symbol, made on the first look-up, so that importers looking up one symbol
    // per string stay linear.
    mutable QMultiHash<QString, StringId> m_symbolIds;
    mutable bool m_symbolIdsValid = false;
    // Why the texts read after the rest could not be taken in; every later wait fails with it.
    mutable std::optional<KvError> m_textsError;
};

} // namespace kvedit::server
