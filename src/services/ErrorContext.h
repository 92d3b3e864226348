#pragma once
// The error context every reporting procedure runs in: announce entry and exit to the procedure
// trace, turn any failure into one ReportError call, and hand the caller its default result.

#include <QString>

#include <exception>
#include <memory>
#include <source_location>
#include <stdexcept>

namespace kvedit {

// Error numbers used across the component (the classic run-time numbering, so logs stay familiar).
enum ErrorNumber : int {
    errInvalidCall = 5,
    errOverflow = 6,
    errOutOfMemory = 7,
    errSubscriptOutOfRange = 9,
    errTypeMismatch = 13,
    errFileNotFound = 53,
    errFileAccess = 75,
    errObjectNotSet = 91,
    errServer = 1000,      // the string-table server refused or failed an operation
    errStorage = 1001,     // the workspace file could not be read or written
};

// A failure carrying what ReportError needs: number, description, source and line.
class KvError : public std::runtime_error {
public:
    KvError(int number, const QString &description, const QString &source = QStringLiteral("kvedit"),
            std::source_location where = std::source_location::current());

    int Number() const { return m_number; }
    QString Description() const { return m_description; }
    QString Source() const { return m_source; }
    int Line() const { return m_line; }

private:
    int m_number;
    QString m_description;
    QString m_source;
    int m_line;
};

// Throws errObjectNotSet when p is null: where the original would have raised
// "object variable not set", we detect the null object and report it instead of crashing.
template <typename P>
const P &Require(const P &p, const char *what,
                 std::source_location where = std::source_location::current())
{
    if (!p)
        throw KvError(errObjectNotSet,
                      QStringLiteral("Object variable not set: %1").arg(QString::fromUtf8(what)),
                      QStringLiteral("kvedit"), where);
    return p;
}

// Raw pointers (widgets, combo boxes) come back by value, so a temporary argument never leaves a
// dangling reference behind.
template <typename T>
T *Require(T *p, const char *what, std::source_location where = std::source_location::current())
{
    if (!p)
        throw KvError(errObjectNotSet,
                      QStringLiteral("Object variable not set: %1").arg(QString::fromUtf8(what)),
                      QStringLiteral("kvedit"), where);
    return p;
}

class ProcedureTrace {
public:
    virtual ~ProcedureTrace() = default;
    // False while the trace would record nothing: procedure scopes then skip the calls and the
    // application title they pass, which matters in per-row loops over 32767 strings.
    virtual bool Tracing() const { return true; }
    // Module and procedure names are ASCII literals; views keep the hot paths free of allocation.
    virtual void EnterProcedure(const QString &title, QLatin1String module, QLatin1String procedure) = 0;
    virtual void LeaveProcedure(const QString &title, QLatin1String module, QLatin1String procedure) = 0;
};

class ErrorReporter {
public:
    virtual ~ErrorReporter() = default;
    virtual void ReportError(int number, const QString &description, const QString &source, int line,
                             const QString &text) = 0;
};

// The application title passed to the trace and used as the default title of message boxes: the
// Qt application's display name (which falls back to its name), "kvedit" without an application.
QString ApplicationTitle();

// RAII scope: EnterProcedure on construction, LeaveProcedure on destruction, with the same names.
class ProcedureScope {
public:
    ProcedureScope(const char *module, const char *procedure);
    ~ProcedureScope();
    ProcedureScope(const ProcedureScope &) = delete;
    ProcedureScope &operator=(const ProcedureScope &) = delete;

    // Reports the exception currently being handled through the ErrorReporter.
    void ReportCurrentException() const;

    const char *Module() const { return m_module; }
    const char *Procedure() const { return m_procedure; }

private:
    const char *m_module;
    const char *m_procedure;
};

// Runs body inside the error context of module/procedure. Any exception is reported once
// (ReportError(number, description, source, line, "")) and swallowed; LeaveProcedure always runs.
// Returns true when body finished without an error. Results are written by the body into
// variables of the caller, so a failure leaves them "as last assigned".
template <typename F>
bool Reporting(const char *module, const char *procedure, F &&body)
{
    ProcedureScope scope(module, procedure);
    try {
        body();
        return true;
    } catch (...) {
        scope.ReportCurrentException();
        return false;
    }
}

} // namespace kvedit
