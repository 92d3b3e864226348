#pragma once
// The command-line tools run in the test's own process, as the program runs them.

#include "cli/CommandLine.h"

#include <QString>
#include <QStringList>
#include <QTextStream>

namespace kvedit::test {

struct CliRun {
    int code = -1;
    QString out, err;
    QByteArray Describe() const { return QStringLiteral("exit %1\nstdout:\n%2\nstderr:\n%3").arg(code).arg(out, err).toUtf8(); }
};

inline CliRun Cli(const QStringList &arguments, bool interactive = false)
{
    CliRun r;
    QTextStream out(&r.out), err(&r.err);
    r.code = cli::RunCommandLine(QStringList{QStringLiteral("kvedit")} + arguments, out, err, interactive);
    out.flush();
    err.flush();
    return r;
}

} // namespace kvedit::test
