#pragma once
// The picker from which the user chooses one thing to insert into a translation: one of the
// string's parameters (inserted as its placeholder) or a special character that is hard to type
// (tab, copyright sign). It only chooses; the caller inserts the Selection.

#include "model/StringTables.h"

#include <QDialog>
#include <QString>

class QLabel;
class QPushButton;
class QTreeWidget;

namespace kvedit {

// Controls (objectName): lblPrompt, lvwSpecial (two columns "Special", "Description"; each row's
// Qt::UserRole data is its tag, the text Selection returns), cmdOkay, cmdCancel.
class frmInsert : public QDialog {
    Q_OBJECT

public:
    explicit frmInsert(QWidget *parent = nullptr);

    // Fills the list from entry and shows the dialog modally where the caller placed it.
    // False without showing anything when entry is null; otherwise whether OK was pressed.
    bool SelectSpecial(const StringEntryPtr &entry);

    // The tag of the selected row (a placeholder, or the character itself); empty when none.
    QString Selection() const;

    bool Accepted() const { return m_accepted; }
    void setAccepted(bool accepted) { m_accepted = accepted; }

private:
    void Form_Load();
    void InitializeControls(const StringEntryPtr &entry);
    void SetupColumns(const StringEntryPtr &entry);
    void RefreshParameters(const StringEntryPtr &entry);
    void UpdateButtons();
    void cmdOkay_Click();
    void cmdCancel_Click();
    void lvwSpecial_ItemClick();

    QLabel *lblPrompt;
    QTreeWidget *lvwSpecial;
    QPushButton *cmdOkay;
    QPushButton *cmdCancel;
    bool m_accepted = false;
};

} // namespace kvedit
