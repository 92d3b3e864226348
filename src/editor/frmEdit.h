#pragma once
// The main window of an editing run: the resource list between a toolbar and a status bar, the
// File and Edit menus, and every command they carry.

#include "listsource/CDVDataSource.h"
#include "memory/TranslationMemory.h"
#include "model/StringTables.h"

#include <QLoggingCategory>
#include <QMainWindow>
#include <QPoint>
#include <QSet>
#include <QString>

#include <initializer_list>
#include <optional>

class QAction;
class QComboBox;
class QEventLoop;
class QLineEdit;
class QUndoStack;
class QLabel;
class QMenu;
class QStatusBar;
class QToolBar;

Q_DECLARE_LOGGING_CATEGORY(lcEditor)

namespace kvedit {

class TextFinder;
class CImageList;
class UCKvDataView;

class frmEdit : public QMainWindow {
    Q_OBJECT
public:
    explicit frmEdit(QWidget *parent = nullptr);
    ~frmEdit() override;

    // The editing run: Prepare, then show the window modally until Close hides it. Returns the
    // saved flag.
    bool Edit(const ResourceWorkspacePtr &rfw, TableVersion enmTableVersion);
    // Places the window, binds the data source to the list and builds menus and toolbar, without
    // showing anything (the program's screenshot mode shows it itself).
    void Prepare(const ResourceWorkspacePtr &rfw, TableVersion enmTableVersion);

    bool Saved() const { return m_saved; }
    void setSaved(bool saved) { m_saved = saved; }
    QString FindText() const { return m_findText; }
    void setFindText(const QString &text) { m_findText = text; }

    CDVDataSource *DataSource() { return &m_DVDS; }
    UCKvDataView *DataView() const { return m_qvtdatEdit; }
    CImageList *ImageList() const { return m_imlEdit; }
    QToolBar *ToolBar() const { return m_tbrEdit; }
    // The status bar's text (the list's feedback).
    QString StatusText() const;

    // The permanent part of the status bar: progress of the table version, and "Modified".
    QString ProgressText() const;
    // Undo and redo of every change the editor makes to the tables.
    QUndoStack *UndoStack() const { return m_undoStack; }
    // The filter bar beside the toolbar: a text and a state choice.
    QLineEdit *FilterText() const { return m_txtFilter; }
    QComboBox *FilterState() const { return m_cboFilterState; }
    // Shows the rows matching the filter bar's text and state, keeping the current id when it
    // still matches; ClearFilter shows every row again.
    void ApplyFilter();
    void ClearFilter();

    // Menu items by index; null when the index has no item.
    QAction *FileItem(int index) const;
    QAction *EditItem(int index) const;

    // The value of a whole or decimal number text ("12", " 7.5 ", "-3"); nullopt for anything else.
    static std::optional<double> NumericValue(const QString &text);

    // Menus and toolbar.
    void SetupMenus();
    void SetupFileMenu();
    void SetupEditMenu();
    void MakeToolbarButton(QAction *menuItem, int pictureId, bool isSeparator);
    bool AddListImage(const QString &key, int pictureId);
    static QString MenuKey(const QAction *menuItem);
    void SetItemEnabled(QAction *menuItem, bool enabled);
    void UpdateMenuState();

    // Dispatch. Menu items and toolbar buttons share one action per command; every trigger of
    // an action arrives at tbrEdit_ButtonClick with the action's key.
    void tbrEdit_ButtonClick(const QString &buttonKey);
    void mnuFileItem_Click(int index);
    void mnuEditItem_Click(int index);
    void ProcessFileMenuClick(int index);
    void ProcessEditMenuClick(int index);

    // File commands.
    void ProcessFileMenuReset();
    void ProcessFileMenuSave(bool saveAs);
    void ProcessFileMenuClose(bool &closed);

    // Searches. FindText(fromNext) is the scan (0 for Find, 1 for Find Next); FindText() above
    // reads the text it looks for.
    void ProcessEditMenuFindText();
    void ProcessEditMenuFindNext();
    void FindText(int fromNext);
    void FindTextInEntry(const QString &findText, const StringEntryPtr &entry, bool &found);
    void ProcessEditMenuFindMissingTranslation();
    void ProcessEditMenuFindOutOfDateTranslation();
    void ProcessEditMenuFindUnapprovedTranslation();
    // The next row, after the current one and wrapping, whose string the quality checks fault.
    void ProcessEditMenuFindNextProblem();
    // Carry Over Trivial Changes (frmEditHistory.cpp).
    void ProcessEditMenuCarryOver();

    // Entry commands.
    void ProcessEditMenuGoTo();
    void ProcessEditMenuNewString(const QString &text = QString());
    void ProcessEditMenuProperties();
    void ProcessEditMenuCopyCut(int cut);
    void ProcessEditMenuPaste();
    void EditTranslation(const StringEntryPtr &entry);
    void EditTranslationShowForm(const StringEntryPtr &entry, StringEntryPtr &result);
    // A null newEntry removes oldEntry from its source (Cut, Delete).
    void UpdateEntry(const StringEntryPtr &oldEntry, const StringEntryPtr &newEntry);

    // Form and list events.
    void Form_Activate();
    void Form_Resize();
    void qvtdatEdit_DblClick();
    void qvtdatEdit_KeyPress(int keyAscii);
    void qvtdatEdit_FeedbackChanged(const QString &text);
    void mw_DVDS_UpdateTitle(int version);

protected:
    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    QMenu *createPopupMenu() override;

private:
    enum class Scan { Text, NextText, Missing, OutOfDate, Unapproved, Problem };

    void Form_Load();
    void Form_QueryUnload(bool &cancel);
    QAction *CreateMenuItem(QMenu *menu, const char *name, int index, const QString &caption);
    void SetItemCaption(QAction *menuItem, const QString &caption);
    void OnItemTriggered(QAction *menuItem);
    StringTableSetPtr Tables() const;
    bool HasEdits() const;
    TableVersion Version() const;
    qint32 CurrentId();
    QPoint InputPosition() const;
    void ShowIdAfterRefresh(qint32 id);
    bool RowQualifies(const StringTableSet &tables, Scan scan, StringId id, TableVersion version,
                      const QString &findText, const TextFinder *finder);
    bool TextMatches(const StringTableSet &tables, StringId id, StringSource source, const QString &findText,
                     const TextFinder *finder);
    void RunScan(Scan scan, const QString &findText, const QString &doneMessage);

    // Added to the window beside its specified parts.
    void SetupWorkflow();
    void SetupCarryOver();
    void SetupFilterChoices();
    void UpdateProgress();
    // After the tables changed for these ids (none: anything), the states and the list follow.
    void NoteChanged(std::initializer_list<StringId> ids = {});
    // The next listed id after fromId that needs work, wrapping; 0 when no other one does.
    qint32 NextNeedingWork(qint32 fromId);
    bool ListShows(qint32 id);
    void RecordChange(const StringTableSetPtr &tables, const QList<StringTableSet::Snapshot> &before,
                      qint32 focusBefore, qint32 focusAfter, const QString &text);

    // The translation memory (frmEditMemory.cpp): the translate dialog's suggestions and
    // pre-translation draw on it; without one (a host that gives none) neither is offered.
    void SetupMemory();
    void BindMemory(const ResourceWorkspacePtr &rfw);
    void WarmMemory(const memory::TranslationMemoryPtr &memory);
    void NoteMemoryChanged(std::initializer_list<StringId> ids);
    void MemoryAfterSave();
    memory::TranslationMemoryPtr m_memory;
    QAction *m_actPretranslate = nullptr;
    QSet<StringId> m_memoryChanged;   // since the last refresh of the index
    bool m_memoryAllChanged = false;

public:
    // Set before the run; the editing run's workspace is indexed in it.
    void SetMemory(memory::TranslationMemoryPtr memory);
    memory::TranslationMemoryPtr Memory() const { return m_memory; }
    // Fills the missing translations of the rows shown from the memory's matches at or above a
    // percentage the user gives, unapproved, as one undoable change.
    void ProcessEditMenuPretranslate();

    // Called by the undo commands once the tables hold an earlier or later state again.
    void AfterRestore(qint32 id);

private:
    CDVDataSource m_DVDS;
    UCKvDataView *m_qvtdatEdit = nullptr;
    QToolBar *m_tbrEdit = nullptr;
    QStatusBar *m_sbrEdit = nullptr;
    QLabel *m_sbrText = nullptr;
    CImageList *m_imlEdit = nullptr;
    QMenu *m_mnuFile = nullptr;
    QMenu *m_mnuEdit = nullptr;
    QList<QAction *> m_fileItems;
    QList<QAction *> m_editItems;
    QEventLoop *m_modalLoop = nullptr;
    bool m_saved = false;
    bool m_closing = false;
    bool m_painted = false;   // set by the window's first paint
    QString m_findText;
    QUndoStack *m_undoStack = nullptr;
    QLabel *m_sbrProgress = nullptr;
    QToolBar *m_tbrFilter = nullptr;
    QLineEdit *m_txtFilter = nullptr;
    QComboBox *m_cboFilterState = nullptr;
    bool m_saveNext = false;
};

} // namespace kvedit
