// File commands: Reset, Save, Save as, Close. They act on the table set as a whole and ask it
// afresh whether unsaved edits exist; the window keeps no dirty flag of its own.

#include "editor/frmEdit.h"

#include "dataview/UCKvDataView.h"
#include "services/ErrorContext.h"
#include "services/Services.h"

#include <QApplication>
#include <QUndoStack>

#include <optional>

namespace kvedit {

namespace {

// The hourglass for the long table operations, restored however the operation ends.
class WaitCursor {
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor &) = delete;
    WaitCursor &operator=(const WaitCursor &) = delete;
};

} // namespace

void frmEdit::ProcessFileMenuSave(bool saveAs)
{
    Reporting("frmEdit", "ProcessFileMenuSave", [&] {
        if (!HasEdits())
            return;
        WaitCursor hourglass;
        const qint32 id = CurrentId();
        Require(Tables(), "StringTableSet")->Save(Version(), saveAs);
        MemoryAfterSave();
        if (saveAs) {
            NoteChanged();
        } else {
            // A plain Save changes no value, so the checks stand (unless their rules are now
            // the saved ones); only which strings are local edits is counted again.
            m_DVDS.RereadCheckRules();
            m_DVDS.States().Recount();
        }
        ShowIdAfterRefresh(id);
        m_saved = true;
    });
}

void frmEdit::ProcessFileMenuReset()
{
    Reporting("frmEdit", "ProcessFileMenuReset", [&] {
        if (!HasEdits())
            return;
        if (!Services().prompts->Confirm(this, QStringLiteral("Are you sure you want to abandon all unsaved edits?")))
            return;
        WaitCursor hourglass;
        const qint32 id = CurrentId();
        Require(Tables(), "StringTableSet")->DiscardEdits();
        m_undoStack->clear();
        NoteChanged();
        ShowIdAfterRefresh(id);
    });
}

void frmEdit::ProcessFileMenuClose(bool &closed)
{
    Reporting("frmEdit", "ProcessFileMenuClose", [&] {
        closed = false;
        std::optional<WaitCursor> hourglass;
        if (HasEdits()) {
            if (Services().prompts->Confirm(this,
                                            QStringLiteral("You have not saved your changes yet. Close without saving?"))) {
                hourglass.emplace();
                Tables()->DiscardEdits();
                closed = true;
            }
        } else {
            closed = true;
        }
        if (closed) {
            m_undoStack->clear();
            hide();
        }
    });
}

} // namespace kvedit
