#pragma once
// What the editor requires of the string-table server. The editor side depends on these
// interfaces only; our own server (src/server) implements them on a SQLite workspace file.
//
// Ownership: server objects are shared by std::shared_ptr; a null pointer is "nothing".
// Entries are immutable values: CreateEdited returns a new entry. The one mutable part an entry
// carries is its ParameterDefinitions working copy, which the parameter dialog edits before the
// translate dialog hands it to CreateEdited; the table set keeps its own copy, so an abandoned
// edit never reaches the tables.

#include "model/Types.h"

#include <QList>
#include <QPoint>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace kvedit {

class StringEntry;
class StringTableSet;
class ParameterDefinitions;
class TextServer;
class Locale;

using StringEntryPtr = std::shared_ptr<const StringEntry>;
using StringTableSetPtr = std::shared_ptr<StringTableSet>;
using ParameterDefinitionsPtr = std::shared_ptr<ParameterDefinitions>;
using TextServerPtr = std::shared_ptr<TextServer>;
using LocalePtr = std::shared_ptr<const Locale>;

// A language as the server knows it: its display name ("German") and its value, the ISO 639
// code ("de") that is compared with the system language.
class Language {
public:
    Language() = default;
    Language(QString name, QString value) : m_name(std::move(name)), m_value(std::move(value)) {}
    QString Name() const { return m_name; }
    QString Value() const { return m_value; }
    bool IsValid() const { return !m_value.isEmpty(); }

private:
    QString m_name;
    QString m_value;
};

class Locale {
public:
    virtual ~Locale() = default;
    // The language with the server's language code (kLanguageJapanese = 89); invalid when unknown.
    virtual kvedit::Language Language(int code) const = 0;
};

class ParameterDefinition {
public:
    ParameterDefinition() = default;
    ParameterDefinition(int id, QString description, QString placeholder)
        : m_id(id), m_description(std::move(description)), m_placeholder(std::move(placeholder)) {}
    int Id() const { return m_id; }
    QString Description() const { return m_description; }
    // The text that stands for the parameter inside a string ("%1").
    QString Placeholder() const { return m_placeholder; }
    bool operator==(const ParameterDefinition &) const = default;

private:
    int m_id = 0;
    QString m_description;
    QString m_placeholder;
};

// The ordered collection of a string's parameter definitions.
class ParameterDefinitions {
public:
    virtual ~ParameterDefinitions() = default;
    virtual ParameterDefinition Add(int id, const QString &description) = 0;
    virtual void Clear() = 0;
    virtual QString ColumnKey(int column) const = 0;
    virtual QString ColumnHeading(int column) const = 0;
    virtual int Count() const = 0;
    virtual QString KeyOf(int id) const = 0;
    // In-order enumeration.
    virtual ParameterDefinition Item(int index) const = 0;   // 0-based
    QList<ParameterDefinition> Items() const
    {
        QList<ParameterDefinition> out;
        const int n = Count();
        out.reserve(n);
        for (int i = 0; i < n; ++i)
            out.append(Item(i));
        return out;
    }
};

class StringEntry {
public:
    virtual ~StringEntry() = default;
    virtual QString EntryText() const = 0;            // the description
    virtual QString ShortcutCharacter() const = 0;    // empty for none
    virtual int ShortcutMode() const = 0;             // 0..4
    virtual QString Text() const = 0;
    virtual ParameterDefinitionsPtr ParameterDefinitions() const = 0;   // null when it has none
    virtual QString SourceText(kvedit::StringSource source) const = 0;
    virtual StringId Id() const = 0;
    virtual bool Property(int flag) const = 0;        // TextProperty flags 1, 2, 4
    virtual QString TargetName() const = 0;           // "German edited"
    virtual StringEntryPtr CreateEdited(StringId id, const QString &text, const QString &description,
                                        bool multipleLines, bool allowTab, bool allowShortcut,
                                        const QString &shortcutCharacter, int shortcutMode,
                                        ParameterDefinitionsPtr parameters, bool valid) const = 0;
    virtual bool TabsAllowed() const = 0;
    virtual QString PendingText() const = 0;
    virtual bool Status(int flag) const = 0;          // StatusFlag; 2 = approved
    virtual StringTableSetPtr TextTable() const = 0;
    virtual kvedit::StringSource StringSource() const = 0;
};

// What Entry gives of a string's text and properties, as plain values.
struct EntryValues {
    QString text;
    QString description;
    QString shortcutCharacter;
    int properties = 0;      // TextProperty flags
    int shortcutMode = 0;
    bool operator==(const EntryValues &) const = default;
};

// All texts of all four sources. Failures are thrown as KvError (services/ErrorContext.h).
class StringTableSet {
public:
    virtual ~StringTableSet() = default;
    virtual qint16 Revision(StringId id, kvedit::StringSource source) const = 0;
    virtual bool HasText(StringId id, kvedit::StringSource source) const = 0;
    virtual bool IdInUse(StringId id, kvedit::StringSource source) const = 0;
    virtual StringEntryPtr Entry(StringId id, kvedit::StringSource source) const = 0;
    virtual QString Text(StringId id, kvedit::StringSource source) const = 0;
    virtual QString SourceName(StringId id, kvedit::StringSource source) const = 0;
    virtual bool Modified() const = 0;
    virtual bool HasStatus(StringId id, kvedit::StringSource source, int flag) const = 0;
    virtual kvedit::Language SourceLanguage(kvedit::StringSource source) const = 0;
    virtual void DiscardEdits() = 0;
    virtual void Save(TableVersion version, bool saveAs) = 0;
    virtual void AddEntry(const StringEntryPtr &entry) = 0;

    // Beyond the classic interface, what the editor needs:
    // stores an edited entry in place of the one with the same id and source;
    virtual void StoreEntry(const StringEntryPtr &entry) = 0;
    // removes the record of an id from one source (the id is then not in use there);
    virtual void RemoveEntry(StringId id, kvedit::StringSource source) = 0;
    // the names of the tables that Save (first) and Save as (second) write for a version;
    // empty when the version writes only to itself.
    virtual QStringList SaveTableNames(TableVersion version) const = 0;

    // Later additions. Each has a default, so a host's existing server keeps compiling; where a
    // default knows nothing the editor shows less (no symbol, no local-edit sign) or works slower.

    // The id's symbol ("IDS_FILE_OPEN"); empty when it has none.
    virtual QString Symbol(StringId id) const
    {
        Q_UNUSED(id)
        return {};
    }
    // An id's description in a source, without building an entry.
    virtual QString Description(StringId id, kvedit::StringSource source) const
    {
        const StringEntryPtr entry = Entry(id, source);
        return entry ? entry->EntryText() : QString();
    }
    // The source whose record supplies what a source shows for an id: the source itself, or for
    // an edited source without a record of its own its default; -1 when none does or unknown.
    virtual int TextOrigin(StringId id, kvedit::StringSource source) const
    {
        Q_UNUSED(id)
        Q_UNUSED(source)
        return -1;
    }
    // What one source holds for an id, taken before a change so that Restore can put it back
    // (undo). The default keeps the entry and restores it through StoreEntry/RemoveEntry; a
    // server that can put a record back exactly keeps its own copy in exact.
    struct Snapshot {
        StringId id = 0;
        kvedit::StringSource source = ssLocalEdited;
        StringEntryPtr entry;                 // null: the source held no record for the id
        std::shared_ptr<const void> exact;
    };
    virtual Snapshot TakeSnapshot(StringId id, kvedit::StringSource source) const
    {
        const int origin = TextOrigin(id, source);
        const bool own = origin >= 0 ? origin == source : IdInUse(id, source);
        return {id, source, own ? Entry(id, source) : nullptr, nullptr};
    }
    virtual void Restore(const Snapshot &snapshot)
    {
        if (snapshot.entry)
            StoreEntry(snapshot.entry);
        else
            RemoveEntry(snapshot.id, snapshot.source);
    }
    // The quality-check rules switched off for this workspace, by rule id; kept with the
    // workspace and written by Save like an edit. Hosts without a place for them keep none.
    virtual QStringList DisabledCheckRules() const { return {}; }
    virtual void SetDisabledCheckRules(const QStringList & /*ruleIds*/) {}
    // The values of Entry(id, source) without making the entry, for passes over every string.
    virtual EntryValues Values(StringId id, kvedit::StringSource source) const
    {
        const StringEntryPtr entry = Entry(id, source);
        if (!entry)
            return {};
        return {entry->Text(), entry->EntryText(), entry->ShortcutCharacter(),
                (entry->Property(tpAllowShortcut) ? tpAllowShortcut : 0) | (entry->Property(tpMultipleLines) ? tpMultipleLines : 0)
                    | (entry->Property(tpAllowTab) ? tpAllowTab : 0),
                entry->ShortcutMode()};
    }
    // The English default's text and text properties of an id as they stood at a revision: the
    // current ones at the current revision, earlier ones where the server keeps what a Save
    // replaced. nullopt when it cannot tell, which is all a server without a history answers.
    virtual std::optional<EntryValues> EnglishAt(StringId id, qint16 revision) const
    {
        Q_UNUSED(id)
        Q_UNUSED(revision)
        return std::nullopt;
    }
    // Which answer TestText hands to its test: Text's, Description's or Symbol's (which takes
    // no source).
    enum class TextField { Text, Description, Symbol };
    using TextTest = std::function<bool(QStringView)>;
    // The test's verdict on what Text, Description or Symbol answers for an id. A pass over every
    // string (the list's filter) asks this instead, so that a server holding the values can lend
    // them rather than copy each; the view given lives only for the call.
    virtual bool TestText(StringId id, kvedit::StringSource source, TextField field, const TextTest &test) const
    {
        switch (field) {
        case TextField::Text: return test(Text(id, source));
        case TextField::Description: return test(Description(id, source));
        case TextField::Symbol: return test(Symbol(id));
        }
        return false;
    }
};

class TextServer {
public:
    virtual ~TextServer() = default;
    virtual LocalePtr Locale() const = 0;
    virtual StringEntryPtr CreateEntry(const StringTableSetPtr &set, StringId id, kvedit::StringSource source) = 0;
    virtual int MaximumCount() const = 0;
    virtual StringTableSetPtr StringTableSet() const = 0;
};

// The host's open workspace of string tables.
class ResourceWorkspace {
public:
    virtual ~ResourceWorkspace() = default;
    virtual TextServerPtr TextServer() const = 0;
    // A short name for titles ("Demo Application").
    virtual QString Name() const = 0;
    // Top-left of the host window this workspace belongs to; the editor cascades over it.
    virtual std::optional<QPoint> HostWindowPosition() const = 0;
    // Where the workspace is kept (a file's path), for the user's information; empty when it
    // has no such place. Hosts need not give one.
    virtual QString Location() const { return {}; }
};

using ResourceWorkspacePtr = std::shared_ptr<ResourceWorkspace>;

} // namespace kvedit
