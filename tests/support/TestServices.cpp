#include "TestServices.h"

namespace kvedit::test {

QStringList RecordingTrace::Lines() const
{
    QStringList out;
    for (const TraceCall &c : calls)
        out << QStringLiteral("%1 %2.%3").arg(c.enter ? QStringLiteral("enter") : QStringLiteral("leave"), c.module,
                                             c.procedure);
    return out;
}

bool ScriptedPrompts::Confirm(QWidget *, const QString &text)
{
    calls.append({PromptCall::Confirm, text, {}, {}, {}});
    return confirmAnswers.isEmpty() ? false : confirmAnswers.dequeue();
}

void ScriptedPrompts::Notify(QWidget *, const QString &text)
{
    calls.append({PromptCall::Notify, text, {}, {}, {}});
}

QString ScriptedPrompts::Input(QWidget *, const QString &prompt, const QString &title, const QString &defaultText,
                               const QPoint &position)
{
    calls.append({PromptCall::Input, prompt, title, defaultText, position});
    return inputAnswers.isEmpty() ? QString() : inputAnswers.dequeue();
}

void ScriptedPrompts::Beep()
{
    calls.append({PromptCall::Beep, {}, {}, {}, {}});
}

QStringList ScriptedPrompts::Notices() const
{
    QStringList out;
    for (const PromptCall &c : calls)
        if (c.kind == PromptCall::Notify)
            out << c.text;
    return out;
}

TestServices::TestServices()
{
    ServiceSet &s = Services();
    s.procedureTrace = trace;
    s.errorReporter = reporter;
    s.prompts = prompts;
    s.screen = screen;
    s.system = system;
}

TestServices::~TestServices()
{
    ResetServices();
}

} // namespace kvedit::test
