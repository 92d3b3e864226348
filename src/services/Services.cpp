#include "services/Services.h"

#include <QApplication>
#include <QGuiApplication>
#include <QInputDialog>
#include <QLocale>
#include <QMessageBox>
#include <QScreen>
#include <QWidget>

Q_LOGGING_CATEGORY(lcServices, "kvedit.services")
Q_LOGGING_CATEGORY(lcTrace, "kvedit.trace", QtWarningMsg)

namespace kvedit {

namespace {

class LoggingProcedureTrace final : public ProcedureTrace {
public:
    void EnterProcedure(const QString &title, QLatin1String module, QLatin1String procedure) override
    {
        qCDebug(lcTrace).noquote() << title << "enter" << module << procedure;
    }
    void LeaveProcedure(const QString &title, QLatin1String module, QLatin1String procedure) override
    {
        qCDebug(lcTrace).noquote() << title << "leave" << module << procedure;
    }
};

bool IsInteractiveSession()
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance()))
        return false;
    const QString platform = QGuiApplication::platformName();
    return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal");
}

class DefaultErrorReporter final : public ErrorReporter {
public:
    void ReportError(int number, const QString &description, const QString &source, int line,
                     const QString &text) override
    {
        qCWarning(lcServices).noquote() << QStringLiteral("Error %1 (%2, line %3): %4 %5")
                                                .arg(number)
                                                .arg(source)
                                                .arg(line)
                                                .arg(description, text)
                                                .trimmed();
        if (!IsInteractiveSession())
            return;
        QMessageBox box(QMessageBox::Warning, ApplicationTitle(),
                        QStringLiteral("%1\n\nError %2 in %3, line %4.").arg(description).arg(number).arg(source).arg(line),
                        QMessageBox::Ok, QApplication::activeWindow());
        box.exec();
    }
};

class QtUserPrompts final : public UserPrompts {
public:
    bool Confirm(QWidget *owner, const QString &text) override
    {
        QMessageBox box(QMessageBox::NoIcon, ApplicationTitle(), text, QMessageBox::Ok | QMessageBox::Cancel, owner);
        box.setDefaultButton(QMessageBox::Ok);
        return box.exec() == QMessageBox::Ok;
    }
    void Notify(QWidget *owner, const QString &text) override
    {
        QMessageBox box(QMessageBox::NoIcon, ApplicationTitle(), text, QMessageBox::Ok, owner);
        box.exec();
    }
    QString Input(QWidget *owner, const QString &prompt, const QString &title, const QString &defaultText,
                  const QPoint &position) override
    {
        QInputDialog dialog(owner);
        dialog.setWindowTitle(title.isEmpty() ? ApplicationTitle() : title);
        dialog.setLabelText(prompt);
        dialog.setTextValue(defaultText);
        dialog.move(position);
        if (dialog.exec() != QDialog::Accepted)
            return QString();
        return dialog.textValue();
    }
    void Beep() override { QApplication::beep(); }
};

class QtScreenMetrics final : public ScreenMetrics {
public:
    int ScreenWidth() const override
    {
        const QScreen *s = screen();
        return s ? s->availableGeometry().width() : 1024;
    }
    int ScreenHeight() const override
    {
        const QScreen *s = screen();
        return s ? s->availableGeometry().height() : 768;
    }
    // The cascade step between an owner and the window it opens: the height of a title bar,
    // which is what the system itself steps its cascaded windows by.
    int WindowOffset() const override
    {
        return qRound(22.0 * LogicalDpiY() / 96.0);
    }
    double LogicalDpiX() const override
    {
        const QScreen *s = screen();
        return s ? s->logicalDotsPerInchX() : 96.0;
    }
    double LogicalDpiY() const override
    {
        const QScreen *s = screen();
        return s ? s->logicalDotsPerInchY() : 96.0;
    }

private:
    static QScreen *screen()
    {
        return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) ? QGuiApplication::primaryScreen()
                                                                              : nullptr;
    }
};

class QtSystemInfo final : public SystemInfo {
public:
    QString SystemLanguage() const override
    {
        return QLocale::languageToCode(QLocale::system().language());
    }
};

ServiceSet MakeDefaults()
{
    ServiceSet set;
    set.procedureTrace = MakeLoggingProcedureTrace();
    set.errorReporter = MakeDefaultErrorReporter();
    set.prompts = MakeQtUserPrompts();
    set.screen = MakeQtScreenMetrics();
    set.system = MakeQtSystemInfo();
    return set;
}

} // namespace

std::shared_ptr<ProcedureTrace> MakeLoggingProcedureTrace() { return std::make_shared<LoggingProcedureTrace>(); }
std::shared_ptr<ErrorReporter> MakeDefaultErrorReporter() { return std::make_shared<DefaultErrorReporter>(); }
std::shared_ptr<UserPrompts> MakeQtUserPrompts() { return std::make_shared<QtUserPrompts>(); }
std::shared_ptr<ScreenMetrics> MakeQtScreenMetrics() { return std::make_shared<QtScreenMetrics>(); }
std::shared_ptr<SystemInfo> MakeQtSystemInfo() { return std::make_shared<QtSystemInfo>(); }

ServiceSet &Services()
{
    static ServiceSet set = MakeDefaults();
    return set;
}

void ResetServices()
{
    Services() = MakeDefaults();
}

int ScreenWidth() { return Services().screen->ScreenWidth(); }
int ScreenHeight() { return Services().screen->ScreenHeight(); }
int WindowOffset() { return Services().screen->WindowOffset(); }
int TwipsToPixelsX(double twips) { return qRound(twips * Services().screen->LogicalDpiX() / 1440.0); }
int TwipsToPixelsY(double twips) { return qRound(twips * Services().screen->LogicalDpiY() / 1440.0); }

QIcon ApplicationIcon()
{
    static const QIcon icon(QStringLiteral(":/kvedit/appicon.png"));
    return icon;
}

QString CleanAccessMarkers(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == u'&') {
            if (i + 1 < text.size() && text.at(i + 1) == u'&') {
                out += u'&';
                ++i;
            }
            continue;
        }
        out += text.at(i);
    }
    return out;
}

} // namespace kvedit
