#pragma once
// Failures of reading and writing resource files. Every problem names the file and line it was
// found at; a file with any error is rejected as a whole, so all its problems travel together.

#include "services/ErrorContext.h"

#include <QList>
#include <QLoggingCategory>
#include <QString>

Q_DECLARE_LOGGING_CATEGORY(lcIo)

namespace kvedit::io {

// The error number of a resource file that cannot be read as it stands (bad input, not a fault).
constexpr int errBadResourceFile = 1100;

struct Diagnostic {
    enum Severity { Note, Error };
    Severity severity = Error;
    QString file;     // as the user named it (absolute when we resolved it ourselves)
    int line = 0;     // 1-based; 0 when the problem concerns the whole file
    QString message;

    // "file:line: message" (or "file: message" without a line), the form compilers use.
    QString ToString() const;
};

// Thrown when a file cannot be imported; holds every error found (at least one) and the notes.
class FileError : public KvError {
public:
    explicit FileError(QList<Diagnostic> diagnostics);
    FileError(const QString &file, int line, const QString &message);

    const QList<Diagnostic> &Diagnostics() const { return m_diagnostics; }
    QList<Diagnostic> Errors() const;

private:
    static QString Describe(const QList<Diagnostic> &diagnostics);
    QList<Diagnostic> m_diagnostics;
};

} // namespace kvedit::io
