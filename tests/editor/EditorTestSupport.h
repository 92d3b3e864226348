#pragma once
// Shared by the editor window tests: small workspaces built through the model interfaces, a
// table set that counts what the window asks of it, and the editor opened the way a user sees it.

#include "editor/frmEdit.h"
#include "server/Workspace.h"

#include <QStringList>

#include <functional>
#include <memory>

class QWidget;

namespace kvedit::test {

// Stores an English default text (revision stamped by the server).
void PutSource(const StringTableSetPtr &tables, StringId id, const QString &text, bool allowShortcut = false);
// Stores a translation in source; it is up to date with the English text at that moment.
void PutTranslation(const StringTableSetPtr &tables, StringId id, StringSource source, const QString &text,
                    bool valid);

// An in-memory workspace whose English default holds texts as ids 1, 2, ... A text written
// "^text" allows a shortcut. Everything is saved, so the set starts without edits.
server::WorkspacePtr WorkspaceWithStrings(const QStringList &texts, int maximumCount = 100);

// Stands between the window and a real table set: forwards every call, counts Save and
// DiscardEdits, and fails Save on request.
class CountingTables final : public StringTableSet {
public:
    explicit CountingTables(StringTableSetPtr inner) : m_inner(std::move(inner)) {}

    int saves = 0;
    int discards = 0;
    bool failSave = false;
    StringTableSetPtr Inner() const { return m_inner; }

    qint16 Revision(StringId id, StringSource source) const override { return m_inner->Revision(id, source); }
    bool HasText(StringId id, StringSource source) const override { return m_inner->HasText(id, source); }
    bool IdInUse(StringId id, StringSource source) const override { return m_inner->IdInUse(id, source); }
    StringEntryPtr Entry(StringId id, StringSource source) const override { return m_inner->Entry(id, source); }
    QString Text(StringId id, StringSource source) const override { return m_inner->Text(id, source); }
    QString SourceName(StringId id, StringSource source) const override { return m_inner->SourceName(id, source); }
    bool Modified() const override { return m_inner->Modified(); }
    bool HasStatus(StringId id, StringSource source, int flag) const override
    {
        return m_inner->HasStatus(id, source, flag);
    }
    Language SourceLanguage(StringSource source) const override { return m_inner->SourceLanguage(source); }
    void DiscardEdits() override;
    void Save(TableVersion version, bool saveAs) override;
    void AddEntry(const StringEntryPtr &entry) override { m_inner->AddEntry(entry); }
    void StoreEntry(const StringEntryPtr &entry) override { m_inner->StoreEntry(entry); }
    void RemoveEntry(StringId id, StringSource source) override { m_inner->RemoveEntry(id, source); }
    QStringList SaveTableNames(TableVersion version) const override { return m_inner->SaveTableNames(version); }

private:
    StringTableSetPtr m_inner;
};

// A workspace whose server hands out a CountingTables over the real workspace's set.
class CountingWorkspace final : public ResourceWorkspace {
public:
    explicit CountingWorkspace(server::WorkspacePtr inner);
    std::shared_ptr<CountingTables> tables;

    kvedit::TextServerPtr TextServer() const override { return m_server; }
    QString Name() const override { return m_inner->Name(); }
    std::optional<QPoint> HostWindowPosition() const override { return m_inner->HostWindowPosition(); }

private:
    server::WorkspacePtr m_inner;
    kvedit::TextServerPtr m_server;
};

// The editor prepared on a workspace, shown and activated (its list loaded); row 1 is current.
std::unique_ptr<frmEdit> OpenEditor(const ResourceWorkspacePtr &rfw, TableVersion version);

// Runs action once on the modal dialog (a QDialog) that comes up while it lives, for example
// the translate dialog a command opens. Polling stops when the driver goes out of scope, so a
// dialog that never came cannot be answered by a later test.
class ModalDriver {
public:
    explicit ModalDriver(std::function<void(QWidget *)> action);
    ~ModalDriver();
    ModalDriver(const ModalDriver &) = delete;
    ModalDriver &operator=(const ModalDriver &) = delete;
    bool Ran() const;

private:
    struct State;
    static void Poll(const std::shared_ptr<State> &state);
    std::shared_ptr<State> m_state;
};

// A record without text for each id in source: in a translation this lists the id as missing.
void PutBlanks(const server::WorkspacePtr &ws, StringSource source, const QList<StringId> &ids);

// The toolbar as keys in order, "|" for a separator; hidden buttons in brackets: "[mnuEditItem:1]".
QStringList ToolbarLayout(frmEdit &form);

} // namespace kvedit::test
