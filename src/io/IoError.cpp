#include "io/IoError.h"

Q_LOGGING_CATEGORY(lcIo, "kvedit.io", QtWarningMsg)

namespace kvedit::io {

QString Diagnostic::ToString() const
{
    QString where = file;
    if (line > 0)
        where += QLatin1Char(':') + QString::number(line);
    const QString kind = severity == Note ? QStringLiteral("note: ") : QStringLiteral("error: ");
    return where.isEmpty() ? kind + message : where + QStringLiteral(": ") + kind + message;
}

FileError::FileError(QList<Diagnostic> diagnostics)
    : KvError(errBadResourceFile, Describe(diagnostics), QStringLiteral("kvedit.io")),
      m_diagnostics(std::move(diagnostics))
{
}

FileError::FileError(const QString &file, int line, const QString &message)
    : FileError(QList<Diagnostic>{Diagnostic{Diagnostic::Error, file, line, message}})
{
}

QList<Diagnostic> FileError::Errors() const
{
    QList<Diagnostic> out;
    for (const Diagnostic &d : m_diagnostics)
        if (d.severity == Diagnostic::Error)
            out.append(d);
    return out;
}

QString FileError::Describe(const QList<Diagnostic> &diagnostics)
{
    QStringList lines;
    for (const Diagnostic &d : diagnostics)
        if (d.severity == Diagnostic::Error)
            lines << d.ToString();
    if (lines.isEmpty())
        lines << QStringLiteral("error: the file cannot be read");
    return lines.join(QLatin1Char('\n'));
}

} // namespace kvedit::io
