// The editor's side of the translation memory: the editing run's workspace is indexed in it, the
// index follows every Save for the strings that changed, and Pre-translate fills the missing
// translations of the rows shown from it as one undoable change.

#include "editor/frmEdit.h"

#include "dataview/UCKvDataView.h"
#include "services/ErrorContext.h"
#include "services/Services.h"

#include <QAction>
#include <QApplication>
#include <QFileInfo>
#include <QMenu>
#include <QTimer>
#include <QUndoStack>

namespace kvedit {

namespace {
constexpr int kMemoryWarmDelayMs = 300;
// Strings indexed at a time: a few tens of milliseconds, so the window keeps answering.
constexpr int kMemoryWarmStep = 1024;
} // namespace

void frmEdit::SetupMemory()
{
    m_actPretranslate = new QAction(QStringLiteral("Pre-&translate from Memory..."), this);
    m_actPretranslate->setObjectName(QStringLiteral("mnuEditPretranslate"));
    m_actPretranslate->setToolTip(
        QStringLiteral("Fill the missing translations of the rows shown from the translation memory, unapproved"));
    m_actPretranslate->setIconVisibleInMenu(false);
    m_actPretranslate->setVisible(false);
    connect(m_actPretranslate, &QAction::triggered, this, [this] {
        ProcessEditMenuPretranslate();
        UpdateMenuState();
    });
    // With the translation searches, outside the items and their indexes.
    m_mnuEdit->insertAction(EditItem(10), m_actPretranslate);
}

void frmEdit::SetMemory(memory::TranslationMemoryPtr memory)
{
    m_memory = std::move(memory);
    m_actPretranslate->setVisible(m_memory != nullptr);
}

void frmEdit::BindMemory(const ResourceWorkspacePtr &rfw)
{
    m_memoryChanged.clear();
    m_memoryAllChanged = false;
    const bool local = Version() == ssLocalEdited || Version() == ssLocalDefault;
    m_actPretranslate->setEnabled(m_memory && local);
    if (!m_memory || !rfw)
        return;
    const QString location = rfw->Location();
    const QString key = location.isEmpty() ? QStringLiteral("workspace:") + rfw->Name()
                                           : QFileInfo(location).absoluteFilePath();
    const TextServerPtr server = rfw->TextServer();
    m_memory->SetWorkspace(Tables(), key, server ? server->MaximumCount() : kMaxStringId);
    // A large workspace takes a second to index the first time: done once the window is up, in
    // steps between its events, rather than when the first translate dialog opens.
    QTimer::singleShot(kMemoryWarmDelayMs, this, [this, memory = m_memory] { WarmMemory(memory); });
}

void frmEdit::WarmMemory(const memory::TranslationMemoryPtr &memory)
{
    if (!memory || memory != m_memory)
        return;
    try {
        if (!memory->WarmStep(kMemoryWarmStep))
            QTimer::singleShot(0, this, [this, memory] { WarmMemory(memory); });
    } catch (const KvError &e) {
        qCWarning(lcEditor) << "The translation memory cannot be used:" << e.Description();
    }
}

void frmEdit::NoteMemoryChanged(std::initializer_list<StringId> ids)
{
    if (ids.size() == 0)
        m_memoryAllChanged = true;
    for (const StringId id : ids)
        m_memoryChanged.insert(id);
}

void frmEdit::MemoryAfterSave()
{
    if (!m_memory || (!m_memoryAllChanged && m_memoryChanged.isEmpty()))
        return;
    try {
        // A change undone or reset is not known by id: every string is compared then.
        m_memory->Refresh(m_memoryAllChanged ? QList<StringId>() : QList<StringId>(m_memoryChanged.begin(), m_memoryChanged.end()));
        m_memoryChanged.clear();
        m_memoryAllChanged = false;
    } catch (const KvError &e) {
        // The save itself succeeded; the index catches up on the next one.
        qCWarning(lcEditor) << "The translation memory was not brought up to date:" << e.Description();
    }
}

void frmEdit::ProcessEditMenuPretranslate()
{
    Reporting("frmEdit", "ProcessEditMenuPretranslate", [&] {
        if (!m_memory || (Version() != ssLocalEdited && Version() != ssLocalDefault))
            return;
        const QString answer =
            Services()
                .prompts
                ->Input(this,
                        QStringLiteral("Fill the missing translations of the rows shown with translation memory matches "
                                       "of at least this percentage (50 to 100; they stay unapproved):"),
                        QStringLiteral("Pre-translate"), QStringLiteral("100"), InputPosition())
                .trimmed();
        if (answer.isEmpty())
            return;
        bool ok = false;
        const int minimum = answer.toInt(&ok);
        if (!ok || minimum < 50 || minimum > 100) {
            Services().prompts->Notify(this, QStringLiteral("\"%1\" is not a percentage from 50 to 100").arg(answer));
            return;
        }
        const StringTableSetPtr tables = Require(Tables(), "StringTableSet");
        const CStringList &list = m_DVDS.StringList();
        QList<StringId> missing;
        for (int position = 1; position <= list.Count(); ++position) {
            const auto id = static_cast<StringId>(list.Value(position));
            if (m_DVDS.States().State(id).translation == TranslationState::Missing)
                missing << id;
        }
        QList<StringTableSet::Snapshot> before;
        for (const StringId id : std::as_const(missing))
            before << tables->TakeSnapshot(id, Version());

        QApplication::setOverrideCursor(Qt::WaitCursor);
        QList<memory::Filled> filled;
        try {
            filled = memory::Pretranslate(*m_memory, tables, Version(), missing, minimum, kMaxStringId);
        } catch (...) {
            // Whatever was filled before the failure goes back: all or nothing.
            for (const StringTableSet::Snapshot &snapshot : std::as_const(before))
                tables->Restore(snapshot);
            QApplication::restoreOverrideCursor();
            throw;
        }
        QApplication::restoreOverrideCursor();

        const qint32 current = CurrentId();
        if (!filled.isEmpty()) {
            QSet<StringId> ids;
            for (const memory::Filled &f : std::as_const(filled))
                ids.insert(f.id);
            before.removeIf([&](const StringTableSet::Snapshot &s) { return !ids.contains(s.id); });
            RecordChange(tables, before, current, current, QStringLiteral("pre-translation of %1 strings").arg(filled.size()));
            m_DVDS.InvalidateChecks(QList<StringId>(ids.begin(), ids.end()));
            for (const StringId id : std::as_const(ids)) {
                m_DVDS.States().Update(id);
                m_memoryChanged.insert(id);
            }
            ShowIdAfterRefresh(current);
        }
        Services().prompts->Notify(
            this, QStringLiteral("Pre-translated %1 of the %2 missing translations shown (matches of at least %3 %); "
                                 "they are unapproved, and Undo takes them back.")
                      .arg(filled.size())
                      .arg(missing.size())
                      .arg(minimum));
    });
}

} // namespace kvedit
