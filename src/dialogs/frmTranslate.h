#pragma once
// The dialog that works on one string resource. An entry of the English default source opens in
// edit mode (id, description, text, properties and parameter definitions are editable); any
// other source opens in translate mode (a new text for a fixed resource, read beside one of the
// other texts of the same id). The entry is never changed: Save hands back a new entry built by
// the entry's CreateEdited, Cancel hands back nothing.
//
// Controls carry their names as objectName. Control arrays are numbered by appending "_" and the
// index: chkProperties_0 (allow shortcut), chkProperties_1 (multiple lines), chkProperties_2
// (allow tab characters), and lblProperties_0 .. lblProperties_2 likewise.
// rtfTranslate, rtfOriginal and txtProperties are QPlainTextEdits; their line breaks stand for
// CR LF in the texts the dialog reads and writes. lvwParameters is a two-column QTreeWidget.
// lblProblems, under the new text, lists what the quality checks find in it as it is typed.
// fraAssist, a column beside the form, holds fraChange and fraSuggestions. fraChange shows an
// out-of-date translation what its English went through since (frmTranslateHistory.cpp):
// lblChangeRevisions, lblChange (the word difference), lblChangeClass and, for a trivial change,
// cmdKeepApproval.

#include "memory/TranslationMemory.h"
#include "model/StringTables.h"
#include "model/Types.h"

#include <QDialog>
#include <QList>
#include <QString>

#include <memory>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTimer;
class QTreeWidget;

namespace kvedit {

namespace checks {
struct StringValues;
}
namespace history {
struct EnglishChange;
}

class frmTranslate : public QDialog {
    Q_OBJECT

public:
    explicit frmTranslate(QWidget *parent = nullptr);

    // Opens the dialog modally for entry, owned by owner (may be null); maximumCount is the
    // highest id the text server allows. Returns the edited entry after Save, null after
    // Cancel or when entry is null.
    StringEntryPtr Edit(QWidget *owner, const StringEntryPtr &entry, int maximumCount = kMaxStringId);

    // Whether the dialog closed by Save && Next: the caller stores the result and opens the next
    // string that needs work.
    bool SaveNextRequested() const { return m_saveNext; }

    // The memory the suggestions come from (null: no suggestions), set before Edit.
    void SetMemory(memory::TranslationMemoryPtr memory) { m_memory = std::move(memory); }

    // Property indexes of the chkProperties and lblProperties arrays.
    enum PropertyIndex { piShortcut = 0, piMultipleLines = 1, piTab = 2 };

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void CreateControls();
    void FinishLayout();
    void Form_Load();
    void Form_Activate();
    void InitializeValues();
    void LoadOriginalsComboBox();
    void ShowOriginalText();
    void cboOriginal_Click();
    void StartFocusTimer();
    void tmrFocus_Timer();
    void SetInitialFocus();
    bool ValidateId();
    void txtId_Change();
    void cmdSave_Click();
    void cmdCancel_Click();
    void cmdSaveNext_Click();
    void cmdCopyOriginal_Click();

    // Text properties.
    bool AllowTab() const;
    void setAllowTab(bool allow);
    bool AllowShortcut() const;
    void setAllowShortcut(bool allow);
    int LineMode() const { return m_lineMode; }
    void setLineMode(int mode);
    bool Valid() const { return m_valid; }
    void setValid(bool valid);
    QString ShortcutCharacter() const;
    void setShortcutCharacter(const QString &character);
    int ShortcutMode() const;
    void chkProperties_Click(int index);
    void HandlePropertyCheckboxClick(int index);
    void chkValidTranslation_Click();
    void ReturnFocusToTranslation();
    void rtfTranslate_GotFocus();
    bool rtfTranslate_KeyPress(QKeyEvent *event);
    void SelectAllOnFocus(QWidget *control);
    void cmdInsert_Click();
    QString InsertSpecial();
    void cmdReport_Click();
    StringEntryPtr CreateResultEntry();
    QString TranslationText() const;
    // Checks the text as Save would store it against the English entry (or, for an English
    // text, alone) and shows the problems under the box, underlining their characters in it.
    void UpdateProblems();

    // What changed in the English (frmTranslateHistory.cpp).
    QGroupBox *CreateChangePanel();
    void ShowEnglishChange();
    void ShowAssist();
    void cmdKeepApproval_Click();

    // Parameters.
    void SetupParameterDisplay();
    void SetupParameterColumns();
    void RefreshParameters();
    void EditParameterDefinitions();
    void cmdEditParameterDefs_Click();

    QPushButton *cmdReport;
    QTimer *tmrFocus;
    QGroupBox *fraTranslate;
    QCheckBox *chkValidTranslation;
    QPlainTextEdit *rtfTranslate;
    QCheckBox *chkProperties[3];
    QPushButton *cmdInsert;
    QComboBox *cboShortcutCharacter;
    QComboBox *cboShortcutMode;
    QLabel *lblShortcutChar;
    QLabel *lblProperties[3];
    QGroupBox *fraSource;
    QComboBox *cboOriginal;
    QPlainTextEdit *rtfOriginal;
    QPlainTextEdit *txtProperties;
    QGroupBox *fraParameters;
    QPushButton *cmdEditParameterDefs;
    QLineEdit *txtCount;
    QTreeWidget *lvwParameters;
    QLabel *lblCount;
    QLineEdit *txtDescription;
    QLineEdit *txtId;
    QPushButton *cmdCancel;
    QPushButton *cmdSave;
    QPushButton *cmdSaveNext;
    QPushButton *cmdCopyOriginal;
    QLabel *lblDescription;
    QLabel *lblId;
    QLabel *lblProblems;
    QWidget *fraAssist = nullptr;
    QGroupBox *fraChange = nullptr;
    QLabel *lblChangeRevisions = nullptr;
    QLabel *lblChange = nullptr;
    QLabel *lblChangeClass = nullptr;
    QPushButton *cmdKeepApproval = nullptr;

    StringEntryPtr m_entry;
    bool m_saved = false;
    bool m_saveNext = false;
    bool m_activated = false;
    QWidget *m_focusTarget = nullptr;
    int m_maximumCount = kMaxStringId;
    int m_lineMode = 0;
    bool m_valid = false;
    bool m_keepCaret = false;
    // The entry's definitions as they were on opening; the parameter dialog edits the entry's
    // working copy in place, so Cancel puts them back.
    QList<ParameterDefinition> m_openingParameters;
    // What the typed text is checked against: the English default's values for a translation;
    // null for an English text, which is checked alone.
    std::shared_ptr<const checks::StringValues> m_english;
    bool m_checkEnglish = false;
    // The English change of an out-of-date translation; null when it is current.
    std::shared_ptr<const history::EnglishChange> m_change;

    // Suggestions from the translation memory (frmTranslateMemory.cpp): lstSuggestions in
    // fraSuggestions, filled a moment after the dialog opens; Ctrl+1..Ctrl+5 insert one.
    QGroupBox *CreateSuggestions();
    void StartSuggestions();
    void ShowSuggestions();
    void InsertSuggestion(int index);
    QGroupBox *fraSuggestions = nullptr;
    QTreeWidget *lstSuggestions = nullptr;
    QTimer *tmrSuggestions = nullptr;
    memory::TranslationMemoryPtr m_memory;
};

} // namespace kvedit
