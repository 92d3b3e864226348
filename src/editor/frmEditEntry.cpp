// Commands on one string entry: Go to, New String, Properties, Copy, Cut or Delete, Paste, and
// writing an edited entry back to the tables.

#include "editor/frmEdit.h"

#include "dataview/UCKvDataView.h"
#include "dialogs/frmTranslate.h"
#include "services/ErrorContext.h"
#include "services/Services.h"

#include <QClipboard>
#include <QGuiApplication>

#include <cmath>
#include <memory>
#include <utility>

namespace kvedit {

void frmEdit::ProcessEditMenuGoTo()
{
    Reporting("frmEdit", "ProcessEditMenuGoTo", [&] {
        for (;;) {
            const QString answer =
                Services()
                    .prompts
                    ->Input(this, QStringLiteral("Please type the resource id as a value between 1 and 32767"),
                            QStringLiteral("Go to"), QString(), InputPosition())
                    .trimmed();
            if (answer.isEmpty())
                return;
            const std::optional<double> value = NumericValue(answer);
            if (value && *value >= 1.0 && *value <= 32767.0) {
                const auto id = static_cast<qint32>(std::nearbyint(*value));
                // An id the filter hides is shown with every row again.
                if (m_DVDS.Filter().IsActive() && !ListShows(id)
                    && m_DVDS.States().State(static_cast<StringId>(id)).listed)
                    ClearFilter();
                m_qvtdatEdit->ShowId(id);
                return;
            }
        }
    });
}

void frmEdit::ProcessEditMenuNewString(const QString &text)
{
    Reporting("frmEdit", "ProcessEditMenuNewString", [&] {
        const StringTableSetPtr tables = Require(Tables(), "StringTableSet");
        const int bound = Require(m_DVDS.Server(), "TextServer")->MaximumCount();
        const TableVersion version = Version();

        StringId newId = 0;
        for (qint32 candidate = qMax<qint32>(CurrentId(), 1); candidate <= bound; ++candidate) {
            if (!tables->IdInUse(static_cast<StringId>(candidate), version)) {
                newId = static_cast<StringId>(candidate);
                break;
            }
        }
        if (newId == 0)
            return;

        // The tables hand out a blank entry for a free id; the pasted text goes into a copy that
        // keeps its other values.
        StringEntryPtr entry = Require(tables->Entry(newId, version), "StringEntry");
        if (!text.isEmpty())
            entry = entry->CreateEdited(newId, text, entry->EntryText(), entry->Property(tpMultipleLines),
                                        entry->Property(tpAllowTab), entry->Property(tpAllowShortcut),
                                        entry->ShortcutCharacter(), entry->ShortcutMode(),
                                        entry->ParameterDefinitions(), entry->Status(sfApproved));
        EditTranslation(entry);
    });
}

void frmEdit::ProcessEditMenuProperties()
{
    Reporting("frmEdit", "ProcessEditMenuProperties", [&] {
        const qint32 id = CurrentId();
        if (id <= 0)
            return;
        const StringTableSetPtr tables = Require(Tables(), "StringTableSet");
        EditTranslation(tables->Entry(static_cast<StringId>(id), Version()));
    });
}

void frmEdit::ProcessEditMenuCopyCut(int cut)
{
    Reporting("frmEdit", "ProcessEditMenuCopyCut", [&] {
        QClipboard *clipboard = QGuiApplication::clipboard();
        clipboard->clear();
        const qint32 id = CurrentId();
        if (id <= 0)
            return;
        const StringTableSetPtr tables = Require(Tables(), "StringTableSet");
        const TableVersion version = Version();
        const StringEntryPtr entry = tables->Entry(static_cast<StringId>(id), version);
        if (entry)
            clipboard->setText(entry->Text());
        if (cut == 1 && entry)
            UpdateEntry(entry, nullptr);
    });
}

void frmEdit::ProcessEditMenuPaste()
{
    Reporting("frmEdit", "ProcessEditMenuPaste", [&] {
        const QString text = QGuiApplication::clipboard()->text().trimmed();
        if (!text.isEmpty())
            ProcessEditMenuNewString(text);
    });
}

void frmEdit::EditTranslation(const StringEntryPtr &entry)
{
    Reporting("frmEdit", "EditTranslation", [&] {
        StringEntryPtr current = entry;
        while (current) {
            StringEntryPtr edited;
            m_saveNext = false;
            EditTranslationShowForm(current, edited);
            if (edited)
                UpdateEntry(current, edited);
            if (!edited || !std::exchange(m_saveNext, false))
                return;
            // Save && Next: on to the next row that needs work, until none is left.
            const qint32 next = NextNeedingWork(current->Id());
            if (next == 0) {
                Services().prompts->Notify(this, QStringLiteral("Done finding unapproved translations"));
                return;
            }
            m_qvtdatEdit->ShowId(next);
            current = Require(Tables(), "StringTableSet")->Entry(static_cast<StringId>(next), Version());
        }
    });
}

void frmEdit::EditTranslationShowForm(const StringEntryPtr &entry, StringEntryPtr &result)
{
    Reporting("frmEdit", "EditTranslationShowForm", [&] {
        result.reset();
        const int maximumCount = Require(m_DVDS.Server(), "TextServer")->MaximumCount();
        const auto form = std::make_unique<frmTranslate>(this);
        form->SetMemory(m_memory);
        result = form->Edit(this, entry, maximumCount);
        m_saveNext = result && form->SaveNextRequested();
    });
}

void frmEdit::UpdateEntry(const StringEntryPtr &oldEntry, const StringEntryPtr &newEntry)
{
    Reporting("frmEdit", "UpdateEntry", [&] {
        const StringTableSetPtr tables = Require(Tables(), "StringTableSet");
        Require(oldEntry, "StringEntry");
        const StringId oldId = oldEntry->Id();
        const StringSource source = oldEntry->StringSource();
        QList<StringTableSet::Snapshot> before{tables->TakeSnapshot(oldId, source)};

        if (!newEntry) {
            // Cut and Delete: the row that takes the removed row's place becomes current, or the
            // new last row when the last one went.
            qint32 row = m_qvtdatEdit->CurrentRecord();
            // A deleted translation's row stays (the English string keeps its slot), now missing.
            tables->RemoveEntry(oldEntry->Id(), oldEntry->StringSource());
            if (before.first().entry)
                RecordChange(tables, before, oldId, oldId,
                             (source == ssEnglishDefault ? QStringLiteral("cut of %1") : QStringLiteral("deletion of %1"))
                                 .arg(oldId));
            NoteChanged({oldId});
            m_DVDS.RefreshStringList();
            m_qvtdatEdit->Refresh();
            row = qMin(row, m_DVDS.GetRecordCount());
            if (row > 0)
                m_qvtdatEdit->setCurrentRecord(row);
            UpdateMenuState();
            return;
        }

        const StringId newId = newEntry->Id();
        if (newEntry->StringSource() == ssEnglishDefault) {
            if (newId != oldEntry->Id() && tables->IdInUse(newId, ssEnglishDefault)) {
                Services().prompts->Notify(this, QStringLiteral("String entry id %1 is already in use!").arg(newId));
                return;
            }
            QString text = !before.first().entry ? QStringLiteral("new string %1").arg(newId)
                           : newId != oldId         ? QStringLiteral("id change %1 to %2").arg(oldId).arg(newId)
                                                    : QStringLiteral("edit of %1").arg(newId);
            if (newId != oldId)
                before << tables->TakeSnapshot(newId, ssEnglishDefault);
            // Removing first lets a changed id move the string.
            tables->RemoveEntry(oldEntry->Id(), ssEnglishDefault);
            tables->AddEntry(newEntry);
            RecordChange(tables, before, oldId, newId, text);
            NoteChanged({oldId, newId});
        } else if (newId == oldEntry->Id()) {
            tables->StoreEntry(newEntry);
            RecordChange(tables, before, oldId, newId, QStringLiteral("translation of %1").arg(newId));
            NoteChanged({newId});
        }
        ShowIdAfterRefresh(newId);
        UpdateMenuState();
    });
}

} // namespace kvedit
