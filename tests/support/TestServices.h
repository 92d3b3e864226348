#pragma once
// Test doubles for the general services: a trace and a reporter that record every call, and
// prompts answered from a script instead of real boxes. Install them with TestServices; the
// destructor puts the default services back.

#include "services/Services.h"

#include <QList>
#include <QPoint>
#include <QQueue>
#include <QString>
#include <QStringList>

#include <memory>

namespace kvedit::test {

struct TraceCall {
    bool enter;
    QString title, module, procedure;
};

class RecordingTrace final : public ProcedureTrace {
public:
    void EnterProcedure(const QString &title, QLatin1String module, QLatin1String procedure) override
    {
        calls.append({true, title, module, procedure});
    }
    void LeaveProcedure(const QString &title, QLatin1String module, QLatin1String procedure) override
    {
        calls.append({false, title, module, procedure});
    }
    // "enter Module.Procedure" / "leave Module.Procedure" for easy comparison.
    QStringList Lines() const;
    QList<TraceCall> calls;
};

struct ReportedError {
    int number;
    QString description, source;
    int line;
    QString text;
};

class RecordingReporter final : public ErrorReporter {
public:
    void ReportError(int number, const QString &description, const QString &source, int line,
                     const QString &text) override
    {
        errors.append({number, description, source, line, text});
    }
    QList<ReportedError> errors;
};

// What a prompt asked, in order.
struct PromptCall {
    enum Kind { Confirm, Notify, Input, Beep } kind;
    QString text;        // message or input prompt
    QString title;       // input boxes only
    QString defaultText; // input boxes only
    QPoint position;     // input boxes only
};

class ScriptedPrompts final : public UserPrompts {
public:
    bool Confirm(QWidget *owner, const QString &text) override;
    void Notify(QWidget *owner, const QString &text) override;
    QString Input(QWidget *owner, const QString &prompt, const QString &title, const QString &defaultText,
                  const QPoint &position) override;
    void Beep() override;

    // Answers consumed in order; an unanswered Confirm gives Cancel (false), an unanswered
    // Input gives the empty text (Cancel).
    QQueue<bool> confirmAnswers;
    QQueue<QString> inputAnswers;
    QList<PromptCall> calls;
    QStringList Notices() const;
};

class FixedScreen final : public ScreenMetrics {
public:
    int width = 1600, height = 1000, offset = 20;
    double dpi = 96.0;
    int ScreenWidth() const override { return width; }
    int ScreenHeight() const override { return height; }
    int WindowOffset() const override { return offset; }
    double LogicalDpiX() const override { return dpi; }
    double LogicalDpiY() const override { return dpi; }
};

class FixedSystem final : public SystemInfo {
public:
    QString language = QStringLiteral("en");
    QString SystemLanguage() const override { return language; }
};

// Installs recording/scripted services for the lifetime of the object.
class TestServices {
public:
    TestServices();
    ~TestServices();
    std::shared_ptr<RecordingTrace> trace = std::make_shared<RecordingTrace>();
    std::shared_ptr<RecordingReporter> reporter = std::make_shared<RecordingReporter>();
    std::shared_ptr<ScriptedPrompts> prompts = std::make_shared<ScriptedPrompts>();
    std::shared_ptr<FixedScreen> screen = std::make_shared<FixedScreen>();
    std::shared_ptr<FixedSystem> system = std::make_shared<FixedSystem>();
};

} // namespace kvedit::test
