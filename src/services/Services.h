#pragma once
// The general services the component calls: error context, screen metrics, system language,
// user prompts. One replaceable set per process (like the host's own services object), so tests
// and hosts can install their own implementations; nothing here holds string tables.

#include "services/ErrorContext.h"

#include <QIcon>
#include <QImage>
#include <QLoggingCategory>
#include <QPoint>
#include <QString>

#include <memory>

class QWidget;

Q_DECLARE_LOGGING_CATEGORY(lcServices)

namespace kvedit {

// Message and input boxes. The Qt implementation shows real boxes with the default title;
// tests install a scripted implementation that answers from a queue.
class UserPrompts {
public:
    virtual ~UserPrompts() = default;
    // OK/Cancel, no icon, OK the default button. True when the user chose OK.
    virtual bool Confirm(QWidget *owner, const QString &text) = 0;
    // OK only.
    virtual void Notify(QWidget *owner, const QString &text) = 0;
    // Input box at the given global position (top-left). Returns the answer as typed;
    // Cancel gives the empty text. Callers trim.
    virtual QString Input(QWidget *owner, const QString &prompt, const QString &title,
                          const QString &defaultText, const QPoint &position) = 0;
    // An audible refusal (for example Enter in a single-line box).
    virtual void Beep() = 0;
};

// Screen extents and the cascade offset, in device-independent pixels.
class ScreenMetrics {
public:
    virtual ~ScreenMetrics() = default;
    virtual int ScreenWidth() const = 0;
    virtual int ScreenHeight() const = 0;
    virtual int WindowOffset() const = 0;
    // Logical dots per inch used to turn twips (1440 per inch) into pixels.
    virtual double LogicalDpiX() const = 0;
    virtual double LogicalDpiY() const = 0;
};

// The system object: the user's language as an ISO 639 code ("ja", "de", "en").
class SystemInfo {
public:
    virtual ~SystemInfo() = default;
    virtual QString SystemLanguage() const = 0;
};

struct ServiceSet {
    std::shared_ptr<ProcedureTrace> procedureTrace;
    std::shared_ptr<ErrorReporter> errorReporter;
    std::shared_ptr<UserPrompts> prompts;
    std::shared_ptr<ScreenMetrics> screen;
    std::shared_ptr<SystemInfo> system;
};

// The process-wide set, filled with the default implementations on first use.
ServiceSet &Services();
// Puts every default implementation back (tests call this between cases).
void ResetServices();

// Default implementations.
std::shared_ptr<ProcedureTrace> MakeLoggingProcedureTrace();   // debug-level trace, category kvedit.trace
std::shared_ptr<ErrorReporter> MakeDefaultErrorReporter();     // logs; shows a box in an interactive session
std::shared_ptr<UserPrompts> MakeQtUserPrompts();
std::shared_ptr<ScreenMetrics> MakeQtScreenMetrics();
std::shared_ptr<SystemInfo> MakeQtSystemInfo();

// Convenience accessors over Services().
int ScreenWidth();
int ScreenHeight();
int WindowOffset();
int TwipsToPixelsX(double twips);
int TwipsToPixelsY(double twips);

// The application icon every form takes on load: a page of text under a speech bubble, drawn
// once in code at 16 to 256 pixels. Null without a GUI application.
QIcon ApplicationIcon();
// The icon's picture at one size (square, transparent background).
QImage RenderApplicationIcon(int size);

// Removes the access-key markers of a caption or shortcut text: a single '&' disappears,
// "&&" stands for one literal '&'.
QString CleanAccessMarkers(const QString &text);

} // namespace kvedit
