#include "services/ErrorContext.h"

#include "services/Services.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <new>

namespace kvedit {

KvError::KvError(int number, const QString &description, const QString &source, std::source_location where)
    : std::runtime_error(description.toStdString()),
      m_number(number),
      m_description(description),
      m_source(source),
      m_line(static_cast<int>(where.line()))
{
}

QString ApplicationTitle()
{
    if (!QCoreApplication::instance())
        return QStringLiteral("kvedit");
    // Both names are stored strings: handing them out copies no characters, which matters because
    // every procedure scope asks for the title twice.
    const QString display = QGuiApplication::applicationDisplayName();
    return display.isEmpty() ? QStringLiteral("kvedit") : display;
}

ProcedureScope::ProcedureScope(const char *module, const char *procedure)
    : m_module(module), m_procedure(procedure)
{
    // No shared_ptr copy: scopes run in per-row loops and the trace is only borrowed for the call.
    ProcedureTrace *trace = Services().procedureTrace.get();
    if (trace && trace->Tracing())
        trace->EnterProcedure(ApplicationTitle(), QLatin1String(module), QLatin1String(procedure));
}

ProcedureScope::~ProcedureScope()
{
    ProcedureTrace *trace = Services().procedureTrace.get();
    if (trace && trace->Tracing())
        trace->LeaveProcedure(ApplicationTitle(), QLatin1String(m_module), QLatin1String(m_procedure));
}

void ProcedureScope::ReportCurrentException() const
{
    int number = 0;
    QString description;
    QString source = QStringLiteral("kvedit");
    int line = 0;
    try {
        throw;
    } catch (const KvError &e) {
        number = e.Number();
        description = e.Description();
        source = e.Source();
        line = e.Line();
    } catch (const std::bad_alloc &) {
        number = errOutOfMemory;
        description = QStringLiteral("Out of memory");
    } catch (const std::exception &e) {
        number = errInvalidCall;
        description = QString::fromUtf8(e.what());
    } catch (...) {
        number = errInvalidCall;
        description = QStringLiteral("Unknown error");
    }
    // A copy: a reporter that shows a box runs an event loop, in which the services may be replaced.
    if (const auto reporter = Services().errorReporter)
        reporter->ReportError(number, description, source, line, QString());
}

} // namespace kvedit
