#pragma once
// The command-line tools run in the test's own process, as the program runs them, one by one or
// as a transcript compared with an expected one.

#include "cli/CommandLine.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtTest>

#include <functional>

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

// Text with its control characters as escapes (\n, \r, \t, \x07), so that it reads as one line.
inline QString Visible(const QString &text)
{
    QString out;
    for (const QChar c : text) {
        if (c.unicode() >= 0x20)
            out += c;
        else if (c == u'\n' || c == u'\r' || c == u'\t')
            out += c == u'\n' ? QStringLiteral("\\n") : c == u'\r' ? QStringLiteral("\\r") : QStringLiteral("\\t");
        else
            out += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QChar(u'0'));
    }
    return out;
}

// A command of a test's own in a transcript: false when the program is not one.
using TranscriptCommand = std::function<bool(const QString &program, const QStringList &arguments, CliRun &run)>;

// Runs a transcript: "$ kvedit ARGUMENTS" lines, each followed by what the run printed (standard
// error marked "! ", control characters as escapes, a failing exit code as "[exit N]", the usage
// after a message as "(usage)"); "# " lines say why. The runs share a fresh folder, which they
// start in; {data} is the test data folder. Besides kvedit: "cat FILE" prints a file, "ls" the
// folder, "mkdir DIR" and "cp FILE COPY" make one. Returns the transcript with what the runs
// printed now.
inline QString RunTranscript(const QString &script, const QString &data, const TranscriptCommand &command = {})
{
    QTemporaryDir dir;
    const QString previous = QDir::currentPath();
    QDir::setCurrent(dir.path());
    const QString usage = Cli({}).err;
    QString transcript;
    for (const QString &line : script.split(u'\n')) {
        if (line.startsWith(QLatin1String("# ")))
            transcript += line + u'\n';
        if (!line.startsWith(QLatin1String("$ ")))
            continue;
        QStringList arguments = QProcess::splitCommand(QString(line).mid(2).replace(QLatin1String("{data}"), data));
        const QString program = arguments.takeFirst();
        CliRun r{0, {}, {}};
        if (program == QLatin1String("kvedit")) {
            r = Cli(arguments);
        } else if (program == QLatin1String("cat")) {
            QFile f(arguments.value(0));
            r.out = f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QStringLiteral("(no such file)\n");
        } else if (program == QLatin1String("ls")) {
            for (const QString &name : QDir::current().entryList(QDir::AllEntries | QDir::NoDotAndDotDot))
                r.out += name + u'\n';
        } else if (program == QLatin1String("mkdir")) {
            QDir().mkdir(arguments.value(0));
        } else if (program == QLatin1String("cp")) {
            QFile::copy(arguments.value(0), arguments.value(1));
        } else if (!command || !command(program, arguments, r)) {
            qFatal("%s is not a command of the transcripts", qPrintable(program));
        }
        transcript += line + u'\n';
        const auto print = [&](const QString &text, const QString &mark) {
            // The usage after a message is only named; alone, it is printed as it is.
            const QString shown = QString(text).replace(u'\n' + usage, QStringLiteral("\n(usage)\n"));
            QStringList lines = QString(shown).replace(data, QStringLiteral("{data}")).split(u'\n');
            if (lines.last().isEmpty())
                lines.removeLast();
            for (const QString &printed : std::as_const(lines))
                transcript += (printed.isEmpty() ? mark.trimmed() : mark + Visible(printed)) + u'\n';
        };
        print(r.out, QString());
        print(r.err, QStringLiteral("! "));
        if (r.code != 0)
            transcript += QStringLiteral("[exit %1]\n").arg(r.code);
        transcript += u'\n';
    }
    QDir::setCurrent(previous);
    return transcript;
}

// Empty when the file holds the text, else a message naming the file and its first differing
// line. With KVEDIT_UPDATE_EXPECTED=1 the file is written with the text instead.
inline QByteArray DifferenceFromExpected(const QString &path, const QString &actual)
{
    QFile f(path);
    if (qEnvironmentVariableIntValue("KVEDIT_UPDATE_EXPECTED") == 1) {
        if (!f.open(QIODevice::WriteOnly) || f.write(actual.toUtf8()) < 0)
            return "cannot write " + path.toUtf8();
        return {};
    }
    const QString expected = f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    if (expected == actual)
        return {};
    const QStringList e = expected.split(u'\n'), a = actual.split(u'\n');
    qsizetype i = 0;
    while (i < e.size() && i < a.size() && e.at(i) == a.at(i))
        ++i;
    return QStringLiteral("%1:%2: differs (KVEDIT_UPDATE_EXPECTED=1 rewrites it)\nexpected: %3\nactual:   %4")
        .arg(path).arg(i + 1).arg(e.value(i, QStringLiteral("(end)")), a.value(i, QStringLiteral("(end)")))
        .toUtf8();
}

// The transcripts of a folder as rows of a data-driven test, in a column "path".
inline void AddTranscriptRows(const QString &folder)
{
    QTest::addColumn<QString>("path");
    const QDir dir(folder);
    const QStringList names = dir.entryList({QStringLiteral("*.transcript")}, QDir::Files);
    for (const QString &name : names)
        QTest::newRow(qPrintable(name)) << dir.filePath(name);
    if (names.isEmpty())   // fails as unreadable rather than passing with nothing run
        QTest::newRow("no transcripts") << dir.path();
}

// Runs the transcript at path; empty when the runs printed what it says, else where they differ.
inline QByteArray CheckTranscript(const QString &path, const QString &data, const TranscriptCommand &command = {})
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return "cannot read " + path.toUtf8();
    return DifferenceFromExpected(path, RunTranscript(QString::fromUtf8(f.readAll()), data, command));
}

} // namespace kvedit::test
