#pragma once
// The character code report: one line per 16-bit character unit of a text with its position,
// its code in decimal and hexadecimal and a visible rendering, so that invisible or look-alike
// characters in a translation can be told apart. The window only displays.

#include <QDialog>
#include <QString>

class QPlainTextEdit;

namespace kvedit {

// The report text: lines separated by CR LF, fields by a tab, no trailing line break.
// Codes are the character units read as signed 16-bit numbers; anything below 32 (negative
// codes included) is rendered as "^" and the decimal value of 65 + code.
QString CharacterCodeReport(const QString &text);

class frmReport : public QDialog {
    Q_OBJECT

public:
    // Caption "Character Code Report"; the one control is the read-only text box "rtfReport".
    explicit frmReport(QWidget *parent = nullptr);

    // Builds the report for text and shows the window modally; returns once it is closed.
    void Report(const QString &text);
    // Builds the report for text and makes it the whole content of rtfReport.
    void DisplayText(const QString &text);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void Form_Load();
    void Form_Resize();

    QPlainTextEdit *rtfReport;
};

} // namespace kvedit
