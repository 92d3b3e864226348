#include "services/Services.h"

#include <QApplication>
#include <QGuiApplication>
#include <QInputDialog>
#include <QImage>
#include <QLocale>
#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QScreen>
#include <QWidget>

Q_LOGGING_CATEGORY(lcServices, "kvedit.services")
Q_LOGGING_CATEGORY(lcTrace, "kvedit.trace", QtWarningMsg)

namespace kvedit {

namespace {

class LoggingProcedureTrace final : public ProcedureTrace {
public:
    bool Tracing() const override { return lcTrace().isDebugEnabled(); }
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
    // Headless platforms have nobody to click a box away; the log is the report there.
    return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal")
           && platform != QLatin1String("minimalegl");
}

class DefaultErrorReporter final : public ErrorReporter {
public:
    void ReportError(int number, const QString &description, const QString &source, int line,
                     const QString &text) override
    {
        // One multi-argument arg(): descriptions often quote placeholders such as "%1", which a
        // chain of arg() calls would fill in with the later arguments.
        qCWarning(lcServices).noquote()
            << QStringLiteral("Error %1 (%2, line %3): %4 %5")
                   .arg(QString::number(number), source, QString::number(line), description, text)
                   .trimmed();
        if (!IsInteractiveSession())
            return;
        QMessageBox box(QMessageBox::Warning, ApplicationTitle(),
                        QStringLiteral("%1\n\nError %2 in %3, line %4.")
                            .arg(description, QString::number(number), source, QString::number(line)),
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
    // The cascade step between an owner and the window it opens. Window managers cascade new
    // windows by about the height of a title bar, so the owner's caption stays visible and
    // clickable above the new window; 22 pixels at 96 dpi is that height on common desktop
    // themes. The real decoration height is unknown until a window is mapped, so it is scaled
    // with the logical dpi instead of being measured.
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
        const QLocale::Language language = QLocale::system().language();
        // The C/POSIX locale ("C", "C.UTF-8") speaks English; Qt would name it "C".
        if (language == QLocale::C || language == QLocale::AnyLanguage)
            return QStringLiteral("en");
        return QLocale::languageToCode(language, QLocale::ISO639);
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

QImage RenderApplicationIcon(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (size <= 0)
        return image;
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal s = size;
    // Outlines stay at least one pixel wide so the small sizes keep their edges.
    const qreal outline = qMax<qreal>(1.0, s / 32.0);

    // A page of text with a folded corner ...
    const qreal left = 0.12 * s, top = 0.04 * s, right = 0.74 * s, bottom = 0.86 * s, fold = 0.18 * s;
    QPainterPath page;
    page.moveTo(left, top);
    page.lineTo(right - fold, top);
    page.lineTo(right, top + fold);
    page.lineTo(right, bottom);
    page.lineTo(left, bottom);
    page.closeSubpath();
    p.setPen(QPen(QColor(0x5b, 0x63, 0x70), outline, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    p.setBrush(Qt::white);
    p.drawPath(page);
    QPainterPath corner;
    corner.moveTo(right - fold, top);
    corner.lineTo(right - fold, top + fold);
    corner.lineTo(right, top + fold);
    corner.closeSubpath();
    p.setBrush(QColor(0xd5, 0xda, 0xe1));
    p.drawPath(corner);

    p.setPen(QPen(QColor(0x9a, 0xa3, 0xaf), qMax<qreal>(1.0, s / 16.0), Qt::SolidLine, Qt::FlatCap));
    const qreal textLeft = left + 0.08 * s;
    p.drawLine(QPointF(textLeft, 0.18 * s), QPointF(right - fold - 0.04 * s, 0.18 * s));
    for (const qreal y : {0.30, 0.42})
        p.drawLine(QPointF(textLeft, y * s), QPointF(right - 0.08 * s, y * s));
    p.drawLine(QPointF(textLeft, 0.54 * s), QPointF(0.32 * s, 0.54 * s));

    // ... and a speech bubble over it, the translation, with a capital A in it.
    QPainterPath bubble;
    const qreal radius = 0.1 * s;
    bubble.addRoundedRect(QRectF(0.38 * s, 0.42 * s, 0.58 * s, 0.42 * s), radius, radius);
    QPainterPath tail;
    tail.moveTo(0.50 * s, 0.80 * s);
    tail.lineTo(0.44 * s, 0.98 * s);
    tail.lineTo(0.68 * s, 0.82 * s);
    tail.closeSubpath();
    bubble = bubble.united(tail);
    p.setPen(QPen(QColor(0x1d, 0x4e, 0xa8), outline, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
    p.setBrush(QColor(0x2f, 0x6f, 0xde));
    p.drawPath(bubble);

    const qreal cx = 0.67 * s, cy = 0.63 * s, h = 0.26 * s, w = 0.24 * s;
    p.setPen(QPen(Qt::white, qMax<qreal>(1.5, 0.06 * s), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    const QPointF glyph[] = {{cx - w / 2, cy + h / 2}, {cx, cy - h / 2}, {cx + w / 2, cy + h / 2}};
    p.drawPolyline(glyph, 3);
    p.drawLine(QPointF(cx - w * 0.28, cy + h * 0.14), QPointF(cx + w * 0.28, cy + h * 0.14));
    return image;
}

QIcon ApplicationIcon()
{
    // Pixmaps need a GUI application; without one there is nothing to show an icon on.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return QIcon();
    // Drawn once, at the sizes window decorations, task bars and docks ask for.
    static const QIcon icon = [] {
        QIcon result;
        for (const int size : {16, 24, 32, 48, 64, 256})
            result.addPixmap(QPixmap::fromImage(RenderApplicationIcon(size)));
        return result;
    }();
    return icon;
}

QString CleanAccessMarkers(const QString &text)
{
    // Searches clean every caption they pass: a text without markers is handed back shared, and
    // the others are written straight into one buffer.
    if (!text.contains(u'&'))
        return text;
    const qsizetype n = text.size();
    const QChar *in = text.constData();
    QString out(n, Qt::Uninitialized);
    QChar *to = out.data();
    qsizetype written = 0;
    for (qsizetype i = 0; i < n; ++i) {
        if (in[i] == u'&') {
            if (i + 1 < n && in[i + 1] == u'&') {
                to[written++] = u'&';
                ++i;
            }
            continue;
        }
        to[written++] = in[i];
    }
    out.truncate(written);
    return out;
}

} // namespace kvedit
