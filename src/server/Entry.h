#pragma once
// The entry objects the editor works with: immutable snapshots of one record of one source,
// carrying their own working copy of the string's parameter definitions (empty when it has none,
// never nothing, translations included).

#include "server/Record.h"

#include <memory>

namespace kvedit::server {

class TableSet;

class ParameterCollection final : public ParameterDefinitions {
public:
    ParameterCollection() = default;
    explicit ParameterCollection(const ParameterList &items);

    ParameterDefinition Add(int id, const QString &description) override;
    void Clear() override { m_items.clear(); }
    QString ColumnKey(int column) const override;
    QString ColumnHeading(int column) const override;
    int Count() const override { return static_cast<int>(m_items.size()); }
    QString KeyOf(int id) const override;
    ParameterDefinition Item(int index) const override;

    const ParameterList &List() const { return m_items; }
    static QString PlaceholderOf(int id);

private:
    ParameterList m_items;
};

class Entry final : public StringEntry {
public:
    Entry(std::shared_ptr<TableSet> set, StringId id, kvedit::StringSource source, Record record,
          ParameterDefinitionsPtr parameters, QString symbol);

    QString EntryText() const override { return m_record.description; }
    QString ShortcutCharacter() const override { return m_record.shortcutCharacter; }
    int ShortcutMode() const override { return m_record.shortcutMode; }
    QString Text() const override { return m_record.hasText ? m_record.text : QString(); }
    ParameterDefinitionsPtr ParameterDefinitions() const override { return m_parameters; }
    QString SourceText(kvedit::StringSource source) const override;
    StringId Id() const override { return m_id; }
    bool Property(int flag) const override { return (m_record.properties & flag) != 0; }
    QString TargetName() const override;
    StringEntryPtr CreateEdited(StringId id, const QString &text, const QString &description,
                                bool multipleLines, bool allowTab, bool allowShortcut,
                                const QString &shortcutCharacter, int shortcutMode,
                                ParameterDefinitionsPtr parameters, bool valid) const override;
    bool TabsAllowed() const override { return Property(tpAllowTab); }
    QString PendingText() const override { return {}; }
    bool Status(int flag) const override { return (m_record.status & flag) != 0; }
    StringTableSetPtr TextTable() const override;
    kvedit::StringSource StringSource() const override { return m_source; }

    // The values this entry would store.
    const Record &StoredRecord() const { return m_record; }
    QString Symbol() const { return m_symbol; }

private:
    std::shared_ptr<TableSet> m_set;
    StringId m_id;
    kvedit::StringSource m_source;
    Record m_record;
    ParameterDefinitionsPtr m_parameters;
    QString m_symbol;
};

} // namespace kvedit::server
