// What the window adds to its specified parts for daily translation work: the filter bar, the
// progress in the status bar, undo and redo of every change to the tables, and the next string
// that needs work for Save && Next.

#include "editor/frmEdit.h"

#include "dataview/UCKvDataView.h"
#include "services/ErrorContext.h"

#include <QAction>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QStatusBar>
#include <QToolBar>
#include <QUndoCommand>
#include <QUndoStack>

#include <algorithm>

namespace kvedit {

namespace {

// One change to the tables: what the touched sources held before and after it. The change itself
// was made by the command that pushed it, so the first redo does nothing.
class EntryChange final : public QUndoCommand {
public:
    EntryChange(frmEdit *form, StringTableSetPtr tables, QList<StringTableSet::Snapshot> before,
                QList<StringTableSet::Snapshot> after, qint32 focusBefore, qint32 focusAfter, const QString &text)
        : QUndoCommand(text), m_form(form), m_tables(std::move(tables)), m_before(std::move(before)),
          m_after(std::move(after)), m_focusBefore(focusBefore), m_focusAfter(focusAfter)
    {
    }

    void undo() override { Put(m_before, m_focusBefore); }
    void redo() override
    {
        if (m_done) {
            m_done = false;
            return;
        }
        Put(m_after, m_focusAfter);
    }

private:
    void Put(const QList<StringTableSet::Snapshot> &snapshots, qint32 focus)
    {
        Reporting("frmEdit", "Undo", [&] {
            for (const StringTableSet::Snapshot &snapshot : snapshots)
                m_tables->Restore(snapshot);
        });
        if (m_form)
            m_form->AfterRestore(focus);
    }

    QPointer<frmEdit> m_form;
    StringTableSetPtr m_tables;
    QList<StringTableSet::Snapshot> m_before;
    QList<StringTableSet::Snapshot> m_after;
    qint32 m_focusBefore;
    qint32 m_focusAfter;
    bool m_done = true;
};

// Esc in the filter's text box clears it and Return keeps it; both go back to the list, where the
// commands' keys work again (the box takes some of them, Ctrl+E among them, for itself).
class FilterKeys final : public QObject {
public:
    FilterKeys(QLineEdit *box, QWidget *list) : QObject(box), m_box(box), m_list(list) {}

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched != m_box || event->type() != QEvent::KeyPress)
            return false;
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Escape)
            m_box->clear();
        else if (key != Qt::Key_Return && key != Qt::Key_Enter)
            return false;
        m_list->setFocus(Qt::ShortcutFocusReason);
        return true;
    }

private:
    QLineEdit *m_box;
    QWidget *m_list;
};

} // namespace

void frmEdit::SetupWorkflow()
{
    m_undoStack = new QUndoStack(this);
    m_undoStack->setObjectName(QStringLiteral("undoStack"));
    QAction *undo = m_undoStack->createUndoAction(this, QStringLiteral("&Undo"));
    undo->setObjectName(QStringLiteral("mnuEditUndo"));
    undo->setShortcut(QKeySequence::Undo);
    QAction *redo = m_undoStack->createRedoAction(this, QStringLiteral("&Redo"));
    redo->setObjectName(QStringLiteral("mnuEditRedo"));
    redo->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    // At the top of the Edit menu, above the items and their indexes.
    QAction *first = EditItem(0);
    auto *separator = new QAction(this);
    separator->setObjectName(QStringLiteral("mnuEditUndoSeparator"));
    separator->setSeparator(true);
    m_mnuEdit->insertActions(first, {undo, redo, separator});

    // The usual keys, after each action's own.
    EditItem(0)->setShortcuts({EditItem(0)->shortcut(), QKeySequence(Qt::Key_Delete)});

    m_sbrProgress = new QLabel(m_sbrEdit);
    m_sbrProgress->setObjectName(QStringLiteral("sbrEditProgress"));
    m_sbrEdit->addPermanentWidget(m_sbrProgress);

    // The filter sits after the toolbar's buttons, in a bar of its own so the buttons stay as
    // they are.
    m_tbrFilter = new QToolBar(this);
    m_tbrFilter->setObjectName(QStringLiteral("tbrFilter"));
    m_tbrFilter->setMovable(false);
    m_tbrFilter->setFloatable(false);
    addToolBar(Qt::TopToolBarArea, m_tbrFilter);
    m_txtFilter = new QLineEdit(m_tbrFilter);
    m_txtFilter->setObjectName(QStringLiteral("txtFilter"));
    m_txtFilter->setPlaceholderText(QStringLiteral("Filter: id, symbol, text (Ctrl+L)"));
    m_txtFilter->setClearButtonEnabled(true);
    const int filterWidth = fontMetrics().horizontalAdvance(QStringLiteral("Filter: id, symbol, text (Ctrl+L)")) + 40;
    m_txtFilter->setMinimumWidth(filterWidth);
    m_txtFilter->setMaximumWidth(filterWidth * 2);
    m_txtFilter->installEventFilter(new FilterKeys(m_txtFilter, m_qvtdatEdit));
    m_cboFilterState = new QComboBox(m_tbrFilter);
    m_cboFilterState->setObjectName(QStringLiteral("cboFilterState"));
    m_cboFilterState->setToolTip(QStringLiteral("Show the strings in one state"));
    m_cboFilterState->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_tbrFilter->addWidget(m_txtFilter);
    m_tbrFilter->addWidget(m_cboFilterState);
    connect(m_txtFilter, &QLineEdit::textChanged, this, [this] { ApplyFilter(); });
    connect(m_cboFilterState, &QComboBox::currentIndexChanged, this, [this] { ApplyFilter(); });

    // Find Next Problem follows the translation searches, outside the items and their indexes.
    auto *findProblem = new QAction(QStringLiteral("Find Next Pro&blem"), this);
    findProblem->setObjectName(QStringLiteral("mnuEditFindNextProblem"));
    findProblem->setShortcut(QKeySequence(Qt::Key_F8));
    findProblem->setIconVisibleInMenu(false);
    connect(findProblem, &QAction::triggered, this, [this] {
        ProcessEditMenuFindNextProblem();
        UpdateMenuState();
    });
    m_mnuEdit->insertAction(EditItem(10), findProblem);
    SetupCarryOver();

    auto *focusFilter = new QAction(this);
    focusFilter->setObjectName(QStringLiteral("actFocusFilter"));
    focusFilter->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_L));
    connect(focusFilter, &QAction::triggered, this, [this] {
        m_txtFilter->setFocus(Qt::ShortcutFocusReason);
        m_txtFilter->selectAll();
    });
    addAction(focusFilter);
}

void frmEdit::SetupFilterChoices()
{
    const QSignalBlocker blockText(m_txtFilter);
    const QSignalBlocker blockState(m_cboFilterState);
    m_txtFilter->clear();
    m_cboFilterState->clear();
    for (const auto &[filter, caption] : StringStates::FilterChoices(Version()))
        m_cboFilterState->addItem(caption, static_cast<int>(filter));
    m_DVDS.setFilter({});
}

void frmEdit::ApplyFilter()
{
    Reporting("frmEdit", "ApplyFilter", [&] {
        const ListFilter filter{m_txtFilter->text().trimmed(),
                                static_cast<StateFilter>(m_cboFilterState->currentData().toInt())};
        if (filter == m_DVDS.Filter())
            return;
        const qint32 current = CurrentId();
        m_DVDS.setFilter(filter);
        m_DVDS.RefreshStringList();
        m_qvtdatEdit->Refresh();
        if (current > 0 && ListShows(current))
            m_qvtdatEdit->ShowId(current);
        else if (m_DVDS.GetRecordCount() > 0)
            m_qvtdatEdit->setCurrentRecord(1);
        UpdateProgress();
    });
}

void frmEdit::ClearFilter()
{
    {
        const QSignalBlocker blockText(m_txtFilter);
        const QSignalBlocker blockState(m_cboFilterState);
        m_txtFilter->clear();
        m_cboFilterState->setCurrentIndex(0);
    }
    ApplyFilter();
}

bool frmEdit::ListShows(qint32 id)
{
    CStringList &list = m_DVDS.StringList();
    return list.Count() > 0 && list.Value(list.Index(id) + 1) == id;
}

QString frmEdit::ProgressText() const
{
    return m_sbrProgress ? m_sbrProgress->text() : QString();
}

void frmEdit::UpdateProgress()
{
    if (!m_sbrProgress)
        return;
    const StateCounts &c = m_DVDS.States().Counts();
    QStringList parts;
    if (m_DVDS.Filter().IsActive())
        parts << QStringLiteral("%1 shown").arg(m_DVDS.GetRecordCount());
    if (Version() == ssEnglishDefault) {
        parts << QStringLiteral("%1 strings").arg(c.strings);
        if (c.pendingCorrections > 0)
            parts << QStringLiteral("%1 English corrections pending").arg(c.pendingCorrections);
    } else {
        // Done means approved and current; the rest is listed by what it needs.
        const int percent = c.strings > 0 ? (100 * c.approved) / c.strings : 100;
        parts << QStringLiteral("%1 of %2 translated (%3 %)").arg(c.approved).arg(c.strings).arg(percent)
              << QStringLiteral("%1 missing").arg(c.missing) << QStringLiteral("%1 out of date").arg(c.outOfDate)
              << QStringLiteral("%1 unapproved").arg(c.unapproved);
    }
    // Counting the problems checks every string; the window shows first (see event()).
    checks::TableChecker *checker = m_painted ? m_DVDS.Checks() : nullptr;
    if (checker) {
        const checks::Totals problems = checker->Count();
        if (problems.errors > 0)
            parts << (problems.errors == 1 ? QStringLiteral("1 error") : QStringLiteral("%1 errors").arg(problems.errors));
        if (problems.warnings > 0)
            parts << (problems.warnings == 1 ? QStringLiteral("1 warning")
                                             : QStringLiteral("%1 warnings").arg(problems.warnings));
    }
    if (HasEdits())
        parts << QStringLiteral("Modified");
    m_sbrProgress->setText(parts.join(QStringLiteral(" \u00b7 ")));
}

void frmEdit::NoteChanged(std::initializer_list<StringId> ids)
{
    StringStates &states = m_DVDS.States();
    NoteMemoryChanged(ids);
    m_DVDS.InvalidateChecks(QList<StringId>(ids));
    if (ids.size() == 0) {
        states.Recount();
        return;
    }
    for (const StringId id : ids)
        states.Update(id);
}

qint32 frmEdit::NextNeedingWork(qint32 fromId)
{
    // In the order of the list (ascending ids), after fromId and wrapping; fromId itself last,
    // and not at all, as a search ends on the row it started from.
    const CStringList &list = m_DVDS.StringList();
    const StringStates &states = m_DVDS.States();
    const int count = list.Count();
    int start = 0;
    while (start < count && list.Value(start + 1) <= fromId)
        ++start;
    for (int tested = 0; tested < count; ++tested) {
        const qint32 id = list.Value((start + tested) % count + 1);
        if (id != fromId && states.State(static_cast<StringId>(id)).NeedsWork())
            return id;
    }
    return 0;
}

void frmEdit::AfterRestore(qint32 id)
{
    Reporting("frmEdit", "AfterRestore", [&] {
        NoteChanged();
        ShowIdAfterRefresh(id);
        UpdateMenuState();
    });
}

// Called by UpdateEntry around its change: what the touched sources held before and after it.
void frmEdit::RecordChange(const StringTableSetPtr &tables, const QList<StringTableSet::Snapshot> &before,
                           qint32 focusBefore, qint32 focusAfter, const QString &text)
{
    QList<StringTableSet::Snapshot> after;
    for (const StringTableSet::Snapshot &snapshot : before)
        after << tables->TakeSnapshot(snapshot.id, snapshot.source);
    m_undoStack->push(new EntryChange(this, tables, before, after, focusBefore, focusAfter, text));
}

} // namespace kvedit
