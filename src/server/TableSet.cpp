#include "server/TableSet.h"

#include "server/Entry.h"
#include "server/SqliteStore.h"
#include "server/Workspace.h"

#include "model/StandardLocale.h"
#include "services/ErrorContext.h"

#include <QDir>

#include <algorithm>
#include <utility>

namespace kvedit::server {

namespace {

bool IsEditedSource(int source) { return source == ssLocalEdited || source == ssEnglishEdited; }

bool SameText(const Record &a, const Record &b)
{
    return a.hasText == b.hasText && (!a.hasText || a.text == b.text);
}

// Sets an id's value (an empty value removes it) and remembers what was saved before the first
// change, forgetting it again once the value is back: an edit undone by hand is no edit.
template <typename T>
void SetTracked(QHash<StringId, T> &values, QHash<StringId, T> &saved, StringId id, const T &value)
{
    const T current = values.value(id);
    if (current == value)
        return;
    auto before = saved.find(id);
    if (before == saved.end())
        before = saved.insert(id, current);
    if (value.isEmpty())
        values.remove(id);
    else
        values.insert(id, value);
    if (*before == value)
        saved.erase(before);
}

qint16 NextRevision(qint16 revision)
{
    // Revisions stay positive: after the largest one the count starts again at 1.
    return revision >= kMaxStringId || revision < 1 ? qint16(1) : static_cast<qint16>(revision + 1);
}

// The values of an entry from any implementation; our own entries carry the full record.
Record RecordOfEntry(const StringEntry &entry, QString *symbol)
{
    if (const auto *own = dynamic_cast<const kvedit::server::Entry *>(&entry)) {
        *symbol = own->Symbol();
        return own->StoredRecord();
    }
    Record record;
    record.text = entry.Text();
    record.hasText = !record.text.isEmpty();
    record.description = entry.EntryText();
    record.properties = static_cast<quint8>((entry.Property(tpAllowShortcut) ? tpAllowShortcut : 0)
                                            | (entry.Property(tpMultipleLines) ? tpMultipleLines : 0)
                                            | (entry.Property(tpAllowTab) ? tpAllowTab : 0));
    record.shortcutCharacter = entry.ShortcutCharacter();
    const int mode = entry.ShortcutMode();
    record.shortcutMode = static_cast<quint8>(mode >= 0 && mode <= 4 ? mode : 0);
    record.status = entry.Status(sfApproved) ? sfApproved : 0;
    return record;
}

} // namespace

void EditedRecords::reset(int maximumCount)
{
    for (std::vector<quint64> &bits : m_bits)
        bits.assign((static_cast<size_t>(maximumCount) >> 6) + 1, 0);
    m_saved.clear();
    std::fill(std::begin(m_counts), std::end(m_counts), 0);
    m_total = 0;
}

const Record *EditedRecords::saved(int source, StringId id) const
{
    if (m_saved.isEmpty())
        return nullptr;
    const auto it = m_saved.constFind(KeyOf(source, id));
    return it != m_saved.cend() ? &*it : nullptr;
}

void EditedRecords::add(int source, StringId id, const Record *saved)
{
    m_bits[source][static_cast<size_t>(id) >> 6] |= quint64(1) << (id & 63);
    ++m_counts[source];
    ++m_total;
    if (saved)
        m_saved.insert(KeyOf(source, id), *saved);
}

void EditedRecords::remove(int source, StringId id)
{
    m_bits[source][static_cast<size_t>(id) >> 6] &= ~(quint64(1) << (id & 63));
    --m_counts[source];
    --m_total;
    m_saved.remove(KeyOf(source, id));
}

void EditedRecords::clear()
{
    for (int source = 0; source < 4; ++source)
        if (m_counts[source] > 0)
            std::fill(m_bits[source].begin(), m_bits[source].end(), 0);
    m_saved.clear();
    std::fill(std::begin(m_counts), std::end(m_counts), 0);
    m_total = 0;
}

TableSet::TableSet(std::shared_ptr<SqliteStore> store, TableContents contents, int maximumCount,
                   const QString &targetLanguage)
    : m_store(std::move(store)),
      m_data(std::move(contents)),
      m_maximumCount(maximumCount),
      m_target(LanguageForTag(targetLanguage)),
      m_english(LanguageForTag(QStringLiteral("en")))
{
    m_edits.reset(maximumCount);
}

void TableSet::IndexSymbols() const
{
    m_symbolIds.clear();
    m_symbolIds.reserve(m_data.symbols.size());
    for (auto it = m_data.symbols.cbegin(); it != m_data.symbols.cend(); ++it)
        m_symbolIds.insert(*it, it.key());
    m_symbolIdsValid = true;
}

TableSet::~TableSet() = default;

void TableSet::AllTexts() const
{
    if (m_data.textsUpTo == kMaxStringId)
        return;
    if (m_textsError)
        throw *m_textsError;
    // Taking the texts in completes the loaded state; no query sees anything change.
    auto &data = const_cast<TableContents &>(m_data);
    const auto changed = [this] {
        return KvError(errStorage, QStringLiteral("Workspace file \"%1\" was changed by another program while it was "
                                                  "being read; open it again")
                                       .arg(m_store ? QDir::toNativeSeparators(m_store->Path()) : QString()));
    };
    try {
        std::vector<LaterTexts> texts = data.laterTexts.get();
        if (texts.size() != data.laterCount)
            throw changed();
        for (LaterTexts &t : texts) {
            Record *r = t.source <= ssEnglishDefault ? data.sources[t.source].find(t.id) : nullptr;
            if (!r || r->revision != t.revision || r->hasText != t.hasText)
                throw changed();
            r->text = std::move(t.text);
            r->description = std::move(t.description);
            r->shortcutCharacter = std::move(t.shortcutCharacter);
        }
    } catch (const KvError &e) {
        m_textsError = e;
        throw;
    }
    data.textsUpTo = kMaxStringId;
}

QString TableSet::FixedSourceName(int source)
{
    switch (source) {
    case ssLocalEdited: return QStringLiteral("Local Edited");
    case ssLocalDefault: return QStringLiteral("Local Default");
    case ssEnglishEdited: return QStringLiteral("English Edited");
    case ssEnglishDefault: return QStringLiteral("English Default");
    default: return {};
    }
}

void TableSet::CheckId(StringId id) const
{
    if (id < 1 || id > m_maximumCount)
        throw KvError(errSubscriptOutOfRange,
                      QStringLiteral("String id %1 is outside 1 to %2").arg(id).arg(m_maximumCount));
}

void TableSet::CheckSource(int source) const
{
    if (source < ssLocalEdited || source > ssEnglishDefault)
        throw KvError(errSubscriptOutOfRange, QStringLiteral("String source %1 is outside 0 to 3").arg(source));
}

const Record *TableSet::Resolve(StringId id, kvedit::StringSource source, int *from) const
{
    CheckIdAndSource(id, source);
    if (const Record *own = m_data.sources[source].find(id)) {
        if (from)
            *from = source;
        return own;
    }
    if (IsEditedSource(source)) {
        if (const Record *fallback = m_data.sources[source + 1].find(id)) {
            if (from)
                *from = source + 1;
            return fallback;
        }
    }
    return nullptr;
}

qint16 TableSet::Revision(StringId id, kvedit::StringSource source) const
{
    const Record *r = Resolve(id, source);
    return r ? r->revision : qint16(0);
}

bool TableSet::HasText(StringId id, kvedit::StringSource source) const
{
    const Record *r = Resolve(id, source);
    return r && r->hasText;
}

bool TableSet::IdInUse(StringId id, kvedit::StringSource source) const
{
    CheckIdAndSource(id, source);
    if (m_data.sources[source].find(id) != nullptr)
        return true;
    // Every English string has a slot in each translation table, filled or not: an empty slot is
    // a missing translation, which the editor must list so that it can be found and translated.
    return source != ssEnglishDefault && m_data.sources[ssEnglishDefault].find(id) != nullptr;
}

StringEntryPtr TableSet::Entry(StringId id, kvedit::StringSource source) const
{
    Texts(id);
    const Record *r = Resolve(id, source);
    return r ? MakeEntry(id, source, *r) : BlankEntry(id, source);
}

QString TableSet::Text(StringId id, kvedit::StringSource source) const
{
    Texts(id);
    const Record *r = Resolve(id, source);
    return r && r->hasText ? r->text : QString();
}

QString TableSet::SourceName(StringId id, kvedit::StringSource source) const
{
    int from = -1;
    const Record *r = Resolve(id, source, &from);
    return r && r->hasText ? FixedSourceName(from) : QString();
}

QString TableSet::Description(StringId id, kvedit::StringSource source) const
{
    Texts(id);
    const Record *r = Resolve(id, source);
    if (r)
        return r->description;
    // A translation not yet written shows the English description, as its blank entry does.
    const Record *english = source != ssEnglishDefault ? m_data.sources[ssEnglishDefault].find(id) : nullptr;
    return english ? english->description : QString();
}

bool TableSet::TestText(StringId id, kvedit::StringSource source, TextField field, const TextTest &test) const
{
    // The answers of Text, Description and Symbol, read where they are kept.
    if (field == TextField::Symbol) {
        CheckId(id);
        const auto symbol = m_data.symbols.constFind(id);
        return test(symbol != m_data.symbols.cend() ? QStringView(*symbol) : QStringView());
    }
    Texts(id);
    const Record *r = Resolve(id, source);
    // A pass asks for the ids in order, and each text lies wherever the heap put it: the one a
    // few ids on is fetched while this one is tested.
    constexpr int kAhead = 4;
    if (id <= m_maximumCount - kAhead) {
        const auto next = static_cast<StringId>(id + kAhead);
        const Record *ahead = m_data.sources[source].find(next);
        if (!ahead && IsEditedSource(source))
            ahead = m_data.sources[source + 1].find(next);
        if (ahead)
            __builtin_prefetch(field == TextField::Text ? ahead->text.constData() : ahead->description.constData());
    }
    if (field == TextField::Text)
        return test(r && r->hasText ? QStringView(r->text) : QStringView());
    if (!r && source != ssEnglishDefault)
        r = m_data.sources[ssEnglishDefault].find(id);
    return test(r ? QStringView(r->description) : QStringView());
}

int TableSet::TextOrigin(StringId id, kvedit::StringSource source) const
{
    int from = -1;
    Resolve(id, source, &from);
    return from;
}

namespace {
// Everything undo must put back for one source of an id: the record (or its absence) and, for
// the English default, what belongs to the id with it.
struct ExactSnapshot {
    std::optional<Record> record;
    ParameterList parameters;
    QString symbol;
};
} // namespace

StringTableSet::Snapshot TableSet::TakeSnapshot(StringId id, kvedit::StringSource source) const
{
    Texts(id);
    CheckIdAndSource(id, source);
    auto exact = std::make_shared<ExactSnapshot>();
    exact->record = m_data.sources[source].get(id);
    if (source == ssEnglishDefault) {
        exact->parameters = Parameters(id);
        exact->symbol = Symbol(id);
    }
    const StringEntryPtr entry = exact->record ? MakeEntry(id, source, *exact->record) : nullptr;
    return {id, source, entry, std::move(exact)};
}

void TableSet::Restore(const Snapshot &snapshot)
{
    AllTexts();
    const auto exact = std::static_pointer_cast<const ExactSnapshot>(snapshot.exact);
    if (!exact) {
        StringTableSet::Restore(snapshot);
        return;
    }
    PutRecord(snapshot.id, snapshot.source, exact->record);
    if (snapshot.source == ssEnglishDefault) {
        setParameters(snapshot.id, exact->parameters);
        setSymbol(snapshot.id, exact->symbol);
    }
}

bool TableSet::Modified() const
{
    return !m_edits.empty() || !m_savedParameters.isEmpty() || !m_savedSymbols.isEmpty()
           || !m_savedOrigins.isEmpty() || m_savedDisabledCheckRules.has_value();
}

bool TableSet::HasStatus(StringId id, kvedit::StringSource source, int flag) const
{
    const Record *r = Resolve(id, source);
    return r && (r->status & flag) != 0;
}

kvedit::Language TableSet::SourceLanguage(kvedit::StringSource source) const
{
    switch (source) {
    case ssLocalEdited:
    case ssLocalDefault: return m_target;
    case ssEnglishEdited:
    case ssEnglishDefault: return m_english;
    default: return {};
    }
}

StringEntryPtr TableSet::MakeEntry(StringId id, kvedit::StringSource source, const Record &record) const
{
    // Every entry gets its own working copy of the string's definitions, empty when it has none:
    // a source entry to add to, a translation to show them read-only.
    const auto it = m_data.parameters.constFind(id);
    ParameterDefinitionsPtr parameters =
        std::make_shared<ParameterCollection>(it != m_data.parameters.cend() ? *it : ParameterList());
    auto self = std::const_pointer_cast<TableSet>(shared_from_this());
    return std::make_shared<kvedit::server::Entry>(std::move(self), id, source, record, std::move(parameters),
                                                   m_data.symbols.value(id));
}

namespace {
EntryValues ValuesOf(const Record &r)
{
    return {r.hasText ? r.text : QString(), r.description, r.shortcutCharacter, r.properties, r.shortcutMode};
}
} // namespace

EntryValues TableSet::Values(StringId id, kvedit::StringSource source) const
{
    Texts(id);
    if (const Record *r = Resolve(id, source))
        return ValuesOf(*r);
    return ValuesOf(BlankRecord(id, source));
}

std::optional<EntryValues> TableSet::EnglishAt(StringId id, qint16 revision) const
{
    Texts(id);
    CheckId(id);
    if (const Record *now = m_data.sources[ssEnglishDefault].find(id); now && now->revision == revision)
        return ValuesOf(*now);
    // An unsaved edit that raised the revision replaces the saved record, which the file does not
    // keep as history until the Save.
    if (const Record *saved = m_edits.saved(ssEnglishDefault, id); saved && saved->revision == revision)
        return ValuesOf(*saved);
    if (m_store)
        if (const std::optional<Record> kept = m_store->EnglishHistory(id, revision))
            return ValuesOf(*kept);
    return std::nullopt;
}

StringEntryPtr TableSet::BlankEntry(StringId id, kvedit::StringSource source) const
{
    Texts(id);
    CheckIdAndSource(id, source);
    return MakeEntry(id, source, BlankRecord(id, source));
}

Record TableSet::BlankRecord(StringId id, kvedit::StringSource source) const
{
    Record blank;
    if (source != ssEnglishDefault) {
        // A translation not yet written takes over how the string is to be written: a
        // multi-line English text needs a multi-line translation, and the description explains
        // the string to the translator. Text, status and the shortcut character stay its own.
        if (const Record *english = m_data.sources[ssEnglishDefault].find(id)) {
            blank.description = english->description;
            blank.properties = english->properties;
            blank.shortcutMode = english->shortcutMode;
        }
    }
    return blank;
}

void TableSet::ChangeRecord(kvedit::StringSource source, StringId id, const std::optional<Record> &record)
{
    const auto same = [&record](const Record *r) { return r ? record && *r == *record : !record; };
    SourceTable &table = m_data.sources[source];
    if (same(table.find(id)))
        return;
    if (!m_edits.contains(source, id))
        m_edits.add(source, id, table.find(id));
    table.set(id, record);
    if (same(m_edits.saved(source, id)))
        m_edits.remove(source, id);
}

void TableSet::Store(const StringEntryPtr &entry, bool replace)
{
    AllTexts();
    Require(entry, "entry");
    const StringId id = entry->Id();
    const kvedit::StringSource source = entry->StringSource();
    CheckIdAndSource(id, source);
    if (!replace && m_data.sources[source].find(id)) {
        // Adding never overwrites: the record that is there stays as it is.
        qCDebug(lcServer) << "AddEntry: id" << id << "already in use in source" << source;
        return;
    }

    QString symbol;
    Record record = RecordOfEntry(*entry, &symbol);
    // A text put together while editing has room to grow; every string of a table may be
    // edited, so the stored one keeps only what it holds.
    if (record.text.capacity() > record.text.size())
        record.text.squeeze();

    if (source == ssEnglishDefault) {
        // The revision follows the text against the saved state, so editing a text back to
        // what was saved leaves no edit behind.
        const Record *base = m_edits.contains(source, id) ? m_edits.saved(source, id) : m_data.sources[source].find(id);
        if (base)
            record.revision = SameText(*base, record) ? base->revision : NextRevision(base->revision);
        else
            record.revision = 1;
    } else {
        // Saving a translation confirms it against the current source text.
        const Record *english = m_data.sources[ssEnglishDefault].find(id);
        record.revision = english ? english->revision : qint16(0);
    }

    const Record *effective = Resolve(id, source);
    if (!(effective && *effective == record))
        ChangeRecord(source, id, record);

    if (source == ssEnglishDefault) {
        if (const ParameterDefinitionsPtr parameters = entry->ParameterDefinitions())
            setParameters(id, parameters->Items());
        // A string moved to a new id takes its symbol along.
        if (!symbol.isEmpty() && Symbol(id).isEmpty())
            setSymbol(id, symbol);
    }
}

void TableSet::AddEntry(const StringEntryPtr &entry)
{
    Store(entry, false);
}

void TableSet::StoreEntry(const StringEntryPtr &entry)
{
    Store(entry, true);
}

void TableSet::RemoveEntry(StringId id, kvedit::StringSource source)
{
    AllTexts();
    CheckIdAndSource(id, source);
    if (!m_data.sources[source].find(id))
        return;
    ChangeRecord(source, id, std::nullopt);
    if (source == ssEnglishDefault) {
        // Without its source record the string is gone; what belongs to the id goes with it.
        setParameters(id, {});
        setSymbol(id, {});
        setOrigin(id, {});
    }
}

void TableSet::DiscardEdits()
{
    for (int source = 0; source < 4; ++source)
        m_edits.forEach(source, [&table = m_data.sources[source]](StringId id, const Record *saved) { table.set(id, saved); });
    for (auto it = m_savedParameters.cbegin(); it != m_savedParameters.cend(); ++it) {
        if (it->isEmpty())
            m_data.parameters.remove(it.key());
        else
            m_data.parameters.insert(it.key(), *it);
    }
    for (auto it = m_savedSymbols.cbegin(); it != m_savedSymbols.cend(); ++it) {
        if (it->isEmpty())
            m_data.symbols.remove(it.key());
        else
            m_data.symbols.insert(it.key(), *it);
    }
    if (!m_savedSymbols.isEmpty()) {
        m_symbolIds.clear();
        m_symbolIdsValid = false;
    }
    for (auto it = m_savedOrigins.cbegin(); it != m_savedOrigins.cend(); ++it) {
        if (it->isEmpty())
            m_data.origins.remove(it.key());
        else
            m_data.origins.insert(it.key(), *it);
    }
    if (m_savedDisabledCheckRules)
        m_data.disabledCheckRules = *std::exchange(m_savedDisabledCheckRules, std::nullopt);
    m_edits.clear();
    m_savedParameters.clear();
    m_savedSymbols.clear();
    m_savedOrigins.clear();
}

ChangeSet TableSet::CollectChanges(int promoteFrom, size_t *promoted) const
{
    ChangeSet changes;
    changes.records.reserve(static_cast<size_t>(m_edits.count() + (promoteFrom >= 0 ? m_edits.count(promoteFrom) : 0)));
    for (int source = 0; source < 4; ++source) {
        if (source == promoteFrom)
            continue;
        // A string new since the last save replaces nothing, which saves the history's
        // look-up for every string of an import into a new workspace.
        m_edits.forEach(source, [&](StringId id, const Record *saved) {
            changes.records.push_back({static_cast<StringSource>(source), id, saved != nullptr,
                                       m_data.sources[source].find(id)});
        });
    }
    // After the plain edits, so a promoted value wins over an edit of the default itself.
    *promoted = changes.records.size();
    const auto target = static_cast<StringSource>(promoteFrom + 1);
    if (promoteFrom >= 0)
        m_edits.forEach(promoteFrom, [&](StringId id, const Record *) {
            // The edit becomes the default's value, and the edited source's own record, now
            // superseded, is dropped so the saved text is what shows.
            const Record *value = m_data.sources[promoteFrom].find(id);
            if (value && target == ssEnglishDefault) {
                // A new English default text outdates the translations like any English edit.
                const Record *base = m_edits.contains(target, id) ? m_edits.saved(target, id) : m_data.sources[target].find(id);
                Record &stamped = changes.values.emplace_back(*value);
                stamped.revision = !base ? qint16(1) : SameText(*base, stamped) ? base->revision : NextRevision(base->revision);
                value = &stamped;
            }
            changes.records.push_back({target, id, true, value});
            changes.records.push_back({static_cast<StringSource>(promoteFrom), id, true, nullptr});
        });
    QList<StringId> ids = m_savedParameters.keys();
    std::sort(ids.begin(), ids.end());
    for (const StringId id : ids)
        changes.parameters.push_back({id, m_data.parameters.value(id)});
    ids = m_savedSymbols.keys();
    std::sort(ids.begin(), ids.end());
    for (const StringId id : ids)
        changes.symbols.push_back({id, m_data.symbols.value(id)});
    ids = m_savedOrigins.keys();
    std::sort(ids.begin(), ids.end());
    for (const StringId id : ids)
        changes.origins.push_back({id, m_data.origins.value(id)});
    if (m_savedDisabledCheckRules)
        changes.disabledCheckRules = m_data.disabledCheckRules;
    return changes;
}

void TableSet::Save(TableVersion version, bool saveAs)
{
    if (!Modified())
        return;
    const int promoteFrom = saveAs && IsEditedSource(version) ? static_cast<int>(version) : -1;
    size_t promoted = 0;
    const ChangeSet changes = CollectChanges(promoteFrom, &promoted);
    if (m_store)
        m_store->Write(changes);   // throws before anything in memory changes

    // The file now holds exactly the change set; for plain edits memory already does. A promoted
    // value refers to the edited source's record of its id, which is dropped only after it is
    // copied, or to the change set's own copy; no other change is applied, so pointers into a
    // pool that grows here are not read again.
    for (size_t i = promoted; i < changes.records.size(); ++i)
        m_data.sources[changes.records[i].source].set(changes.records[i].id, changes.records[i].record);
    m_edits.clear();
    m_savedParameters.clear();
    m_savedSymbols.clear();
    m_savedOrigins.clear();
    m_savedDisabledCheckRules.reset();
    qCDebug(lcServer) << "saved" << changes.records.size() << "records," << changes.parameters.size()
                      << "parameter lists," << changes.symbols.size() << "symbols";
}

QStringList TableSet::SaveTableNames(TableVersion version) const
{
    if (!IsEditedSource(version))
        return {};
    return {FixedSourceName(version), FixedSourceName(version + 1)};
}

std::optional<Record> TableSet::RecordOf(StringId id, kvedit::StringSource source) const
{
    Texts(id);
    CheckIdAndSource(id, source);
    return m_data.sources[source].get(id);
}

void TableSet::PutRecord(StringId id, kvedit::StringSource source, const std::optional<Record> &record)
{
    AllTexts();
    CheckIdAndSource(id, source);
    ChangeRecord(source, id, record);
}

ParameterList TableSet::Parameters(StringId id) const
{
    CheckId(id);
    return m_data.parameters.value(id);
}

void TableSet::setParameters(StringId id, const ParameterList &parameters)
{
    CheckId(id);
    SetTracked(m_data.parameters, m_savedParameters, id, parameters);
}

QString TableSet::Symbol(StringId id) const
{
    CheckId(id);
    return m_data.symbols.value(id);
}

void TableSet::setSymbol(StringId id, const QString &symbol)
{
    CheckId(id);
    const QString current = m_data.symbols.value(id);
    if (current == symbol)
        return;
    if (m_symbolIdsValid) {
        if (!current.isEmpty())
            m_symbolIds.remove(current, id);
        if (!symbol.isEmpty())
            m_symbolIds.insert(symbol, id);
    }
    SetTracked(m_data.symbols, m_savedSymbols, id, symbol);
}

ExchangeOrigin TableSet::Origin(StringId id) const
{
    CheckId(id);
    return m_data.origins.value(id);
}

void TableSet::setOrigin(StringId id, const ExchangeOrigin &origin)
{
    CheckId(id);
    SetTracked(m_data.origins, m_savedOrigins, id, origin);
}

StringId TableSet::IdOfSymbol(const QString &symbol) const
{
    if (symbol.isEmpty())
        return 0;
    if (!m_symbolIdsValid)
        IndexSymbols();
    // Symbols are meant to be unique; should two ids share one, the lower id answers.
    StringId lowest = 0;
    for (const StringId id : m_symbolIds.values(symbol))
        if (lowest == 0 || id < lowest)
            lowest = id;
    return lowest;
}

QStringList TableSet::DisabledCheckRules() const
{
    return m_data.disabledCheckRules;
}

void TableSet::SetDisabledCheckRules(const QStringList &ruleIds)
{
    QStringList rules = ruleIds;
    rules.removeDuplicates();
    std::sort(rules.begin(), rules.end());
    if (rules == m_data.disabledCheckRules)
        return;
    if (!m_savedDisabledCheckRules)
        m_savedDisabledCheckRules = m_data.disabledCheckRules;
    m_data.disabledCheckRules = rules;
    if (*m_savedDisabledCheckRules == rules)   // back to what was saved: no edit
        m_savedDisabledCheckRules.reset();
}

int TableSet::RecordCount(kvedit::StringSource source) const
{
    CheckSource(source);
    return m_data.sources[source].count();
}

} // namespace kvedit::server
