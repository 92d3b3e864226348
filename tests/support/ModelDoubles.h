#pragma once
// Test doubles for the editor's view of a server: a workspace over real tables whose HasText
// reports no text for chosen ids of one source while Text and Entry still hand one out, as a
// host's server may. Everything else goes to the real tables.

#include "model/StringTables.h"

#include <QSet>

namespace kvedit::test {

class TablesDenyingText final : public StringTableSet {
public:
    TablesDenyingText(StringTableSetPtr real, StringSource source, QSet<StringId> ids)
        : m_real(std::move(real)), m_source(source), m_ids(std::move(ids))
    {
    }

    bool HasText(StringId id, StringSource source) const override
    {
        return !(source == m_source && m_ids.contains(id)) && m_real->HasText(id, source);
    }
    qint16 Revision(StringId id, StringSource source) const override { return m_real->Revision(id, source); }
    bool IdInUse(StringId id, StringSource source) const override { return m_real->IdInUse(id, source); }
    StringEntryPtr Entry(StringId id, StringSource source) const override { return m_real->Entry(id, source); }
    QString Text(StringId id, StringSource source) const override { return m_real->Text(id, source); }
    QString SourceName(StringId id, StringSource source) const override { return m_real->SourceName(id, source); }
    bool Modified() const override { return m_real->Modified(); }
    bool HasStatus(StringId id, StringSource source, int flag) const override
    {
        return m_real->HasStatus(id, source, flag);
    }
    Language SourceLanguage(StringSource source) const override { return m_real->SourceLanguage(source); }
    void DiscardEdits() override { m_real->DiscardEdits(); }
    void Save(TableVersion version, bool saveAs) override { m_real->Save(version, saveAs); }
    void AddEntry(const StringEntryPtr &entry) override { m_real->AddEntry(entry); }
    void StoreEntry(const StringEntryPtr &entry) override { m_real->StoreEntry(entry); }
    void RemoveEntry(StringId id, StringSource source) override { m_real->RemoveEntry(id, source); }
    QStringList SaveTableNames(TableVersion version) const override { return m_real->SaveTableNames(version); }

private:
    StringTableSetPtr m_real;
    StringSource m_source;
    QSet<StringId> m_ids;
};

// The real workspace with its tables seen through TablesDenyingText.
class WorkspaceDenyingText final : public ResourceWorkspace {
    class Server final : public kvedit::TextServer {
    public:
        Server(TextServerPtr real, StringTableSetPtr tables) : m_real(std::move(real)), m_tables(std::move(tables)) {}
        LocalePtr Locale() const override { return m_real->Locale(); }
        StringEntryPtr CreateEntry(const StringTableSetPtr &, StringId id, StringSource source) override
        {
            return m_real->CreateEntry(m_real->StringTableSet(), id, source);
        }
        int MaximumCount() const override { return m_real->MaximumCount(); }
        StringTableSetPtr StringTableSet() const override { return m_tables; }

    private:
        TextServerPtr m_real;
        StringTableSetPtr m_tables;
    };

public:
    WorkspaceDenyingText(ResourceWorkspacePtr real, StringSource source, QSet<StringId> ids)
        : m_real(std::move(real)),
          m_server(std::make_shared<Server>(
              m_real->TextServer(),
              std::make_shared<TablesDenyingText>(m_real->TextServer()->StringTableSet(), source, std::move(ids))))
    {
    }
    TextServerPtr TextServer() const override { return m_server; }
    QString Name() const override { return m_real->Name(); }
    std::optional<QPoint> HostWindowPosition() const override { return m_real->HostWindowPosition(); }

private:
    ResourceWorkspacePtr m_real;
    TextServerPtr m_server;
};

} // namespace kvedit::test
