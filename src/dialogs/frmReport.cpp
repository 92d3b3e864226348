#include "dialogs/frmReport.h"

#include "common/basCheckJapanese.h"
#include "services/Services.h"

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QResizeEvent>

namespace kvedit {

QString CharacterCodeReport(const QString &text)
{
    QString report;
    QString separator;
    const QString tab(QLatin1Char('\t'));
    for (qsizetype i = 1; i <= text.size(); ++i) {
        if (i == 2)
            separator = QStringLiteral("\r\n");
        const QChar ch = text.at(i - 1);
        const qint16 k = static_cast<qint16>(ch.unicode());
        QString rendering;
        if (k < 32)   // negative codes land here too, which the report format relies on
            rendering = QLatin1Char('^') + QString::number(65 + k);
        else if (k == 32)
            rendering = QStringLiteral("<SPACE>");
        else
            rendering = ch;
        report += separator + QString::number(i) + QLatin1Char('.') + tab + QString::number(k) + tab
            + QStringLiteral("0x") + QString::number(static_cast<quint32>(static_cast<qint32>(k)), 16).toUpper()
            + tab + rendering;
    }
    return report;
}

frmReport::frmReport(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmReport"));
    setWindowTitle(QStringLiteral("Character Code Report"));
    setSizeGripEnabled(true);

    rtfReport = new QPlainTextEdit(this);
    rtfReport->setObjectName(QStringLiteral("rtfReport"));
    rtfReport->setReadOnly(true);
    rtfReport->setLineWrapMode(QPlainTextEdit::NoWrap);
    rtfReport->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    rtfReport->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    // A tab stop wide enough for the widest field ("0xFFFF8A9E") keeps the columns aligned.
    rtfReport->setTabStopDistance(rtfReport->fontMetrics().horizontalAdvance(QStringLiteral("0xFFFF8A9E  ")));

    resize(TwipsToPixelsX(6930), TwipsToPixelsY(4770));
    Form_Load();
}

void frmReport::Form_Load()
{
    Reporting("frmReport", "Form_Load", [&] {
        basCheckJapanese::FormToJapanese(this);
        setWindowIcon(ApplicationIcon());
    });
}

void frmReport::Report(const QString &text)
{
    Reporting("frmReport", "Report", [&] {
        DisplayText(text);
        exec();
    });
}

void frmReport::DisplayText(const QString &text)
{
    Reporting("frmReport", "DisplayText", [&] { rtfReport->setPlainText(CharacterCodeReport(text)); });
}

void frmReport::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    Form_Resize();
}

void frmReport::Form_Resize()
{
    Reporting("frmReport", "Form_Resize", [&] {
        if (isMinimized() || width() <= 0 || height() <= 0)
            return;
        rtfReport->setGeometry(rect());
    });
}

} // namespace kvedit
