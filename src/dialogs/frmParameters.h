#pragma once
// The editor of one string's parameter definitions: an ordered list of numbered parameters, each
// with a description. The dialog works on its own rows and writes the whole list back to the
// entry's definitions only on Ok. A parameter's identity is its position: row i is number i.

#include "model/StringTables.h"

#include <QDialog>
#include <QString>

class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace kvedit {

// Controls (objectName): lblParameters, lvwParameters (two columns: number, description),
// cmdEdit, cmdAdd, cmdInsert, cmdDelete, cmdMoveDown, cmdMoveUp, cmdOk, cmdCancel, cmdReset.
// Every command asks through Services().prompts->Input.
class frmParameters : public QDialog {
    Q_OBJECT

public:
    explicit frmParameters(QWidget *parent = nullptr);

    // Shows the definitions of entry for editing, modally and owned by owner (may be null).
    // True only when Ok was pressed and at least one definition was written back. False
    // without showing anything when entry or its definitions are null.
    bool Edit(QWidget *owner, const StringEntryPtr &entry);

    ParameterDefinitionsPtr Parameters() const { return m_parameters; }
    void setParameters(const ParameterDefinitionsPtr &parameters) { m_parameters = parameters; }
    // Whether the rows changed since they were loaded; Reset is enabled exactly while it is set.
    bool Dirty() const { return m_dirty; }
    void setDirty(bool dirty);
    bool Accepted() const { return m_accepted; }
    void setAccepted(bool accepted) { m_accepted = accepted; }

private:
    void Form_Load();
    void SetupParameterColumns();
    void RefreshParameters();
    void ResetParameters();
    QTreeWidgetItem *AddRow(const QString &description);
    QTreeWidgetItem *InsertRow(const QString &description);
    QTreeWidgetItem *InsertListItem(int index, const QString &description);
    void UpdateRow(QTreeWidgetItem *item, const QString &description);
    void UpdateColumn(int column, QTreeWidgetItem *item, const QString &text);
    QString ColumnValue(int column, QTreeWidgetItem *item) const;
    void UpdateId(QTreeWidgetItem *item);
    void UpdateIds(int first);
    void AddParameter();
    void InsertParameter();
    void EditParameter();
    void DeleteParameter();
    void MoveParameterUp();
    void MoveParameterDown();
    bool SwapOrder(int index);
    void ForceSelection(QTreeWidgetItem *item);
    void UpdateButtons();
    void ResetFocus();
    bool SaveResults();

    // Rows are numbered from 1 as the list shows them; 0 means none.
    QTreeWidgetItem *Row(int index) const;
    int IndexOf(QTreeWidgetItem *item) const;
    QTreeWidgetItem *SelectedItem() const;
    QString AskDescription(const QString &prompt, const QString &title);
    template <typename Command>
    void RunCommand(const char *procedure, Command command);

    QPushButton *cmdReset;
    QPushButton *cmdCancel;
    QPushButton *cmdOk;
    QPushButton *cmdMoveDown;
    QPushButton *cmdMoveUp;
    QPushButton *cmdDelete;
    QPushButton *cmdInsert;
    QPushButton *cmdAdd;
    QPushButton *cmdEdit;
    QLabel *lblParameters;
    QTreeWidget *lvwParameters;

    ParameterDefinitionsPtr m_parameters;
    bool m_dirty = false;
    bool m_accepted = false;
};

} // namespace kvedit
