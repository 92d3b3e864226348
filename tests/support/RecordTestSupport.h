#pragma once
// Helpers of the server, checks, memory and history tests: stored records as the tests write
// them, the error a call throws, case files as test rows, and a table set's whole content as
// text compared with an expected file.

#include "server/TableSet.h"
#include "services/ErrorContext.h"

#include <QFile>
#include <QtTest>

namespace kvedit::test {

// A record with a text.
inline server::Record Full(const QString &text, qint16 revision = 1, int status = sfApproved, const QString &description = {})
{
    server::Record r;
    r.text = text;
    r.hasText = true;
    r.revision = revision;
    r.status = status;
    r.description = description;
    return r;
}

// What the call throws; number 0 when it throws nothing.
template <typename F>
KvError ErrorOf(F &&f)
{
    try {
        f();
    } catch (const KvError &e) {
        return e;
    }
    return KvError(0, QString());
}

// A text with its line breaks, tabs and backslashes escaped, in quotes: one line of a dump.
inline QString Quoted(QString text)
{
    return u'"' + text.replace(u'\\', QLatin1String("\\\\")).replace(u'\n', QLatin1String("\\n"))
                      .replace(u'\t', QLatin1String("\\t")) + u'"';
}

// A stored record in one line: its text ("-" for none), revision, status, text properties,
// shortcut character and mode, and description.
inline QString RecordLine(const server::Record &r)
{
    // Texts are joined on, not put in with arg(), whose next call would fill their own "%1".
    return (r.hasText ? Quoted(r.text) : QStringLiteral("-"))
           + QStringLiteral(" rev %1 status %2 props %3 mode %4 key ").arg(r.revision).arg(r.status).arg(r.properties)
                 .arg(r.shortcutMode)
           + Quoted(r.shortcutCharacter) + QStringLiteral(" desc ") + Quoted(r.description);
}

// Every record of every source, the parameter definitions and the symbol, a line each by id.
inline QString Dump(const server::TableSet &set)
{
    QString out;
    for (int id = 1; id <= set.MaximumCount(); ++id) {
        const auto i = StringId(id);
        const QString prefix = QString::number(id) + u' ';
        for (int s = ssEnglishDefault; s >= ssLocalEdited; --s)
            if (const std::optional<server::Record> r = set.RecordOf(i, StringSource(s)))
                out += prefix + server::TableSet::FixedSourceName(s) + QStringLiteral(": ") + RecordLine(*r) + u'\n';
        for (const ParameterDefinition &p : set.Parameters(i))
            out += prefix + QStringLiteral("parameter %1 ").arg(p.Id()) + p.Placeholder() + u' ' + Quoted(p.Description())
                   + u'\n';
        if (!set.Symbol(i).isEmpty())
            out += prefix + QStringLiteral("symbol ") + set.Symbol(i) + u'\n';
    }
    return out;
}

// The result compared line by line with the expected file, naming the first line that differs.
// With KVEDIT_UPDATE_EXPECTED=1 the file is written instead: review it before committing.
inline void CompareWithExpected(const QString &actual, const QString &file)
{
    QFile f(file);
    if (qEnvironmentVariableIntValue("KVEDIT_UPDATE_EXPECTED")) {
        QVERIFY2(f.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(file));
        f.write(actual.toUtf8());
        return;
    }
    QVERIFY2(f.open(QIODevice::ReadOnly), qPrintable(file));
    const QStringList expected = QString::fromUtf8(f.readAll()).split(u'\n');
    const QStringList lines = actual.split(u'\n');
    for (qsizetype n = 0; n < std::max(expected.size(), lines.size()); ++n) {
        const QString want = expected.value(n, "<end>");
        const QString got = lines.value(n, "<end>");
        if (want != got)
            QFAIL(qPrintable(QStringLiteral("%1:%2: expected\n  %3\nbut got\n  %4")
                                 .arg(file, QString::number(n + 1), want, got)));
    }
}

// A case file as rows of text columns: a case a line, its name then a value per column, split at
// '|'. A value is trimmed unless written in double quotes; "\n" and "\t" in it stand for a line
// break and a tab. Blank lines and lines starting with '#' are comments.
inline void AddCaseRows(const QString &file, const QList<const char *> &columns)
{
    for (const char *column : columns)
        QTest::addColumn<QString>(column);
    QFile f(file);
    QVERIFY2(f.open(QIODevice::ReadOnly), qPrintable(file));
    const QStringList lines = QString::fromUtf8(f.readAll()).split(u'\n');
    for (qsizetype n = 0; n < lines.size(); ++n) {
        if (lines[n].trimmed().isEmpty() || lines[n].startsWith(u'#'))
            continue;
        const QStringList values = lines[n].split(u'|');
        const QString where = file + u':' + QString::number(n + 1);
        QVERIFY2(values.size() == columns.size() + 1,
                 qPrintable(QStringLiteral("%1: %2 values, not %3").arg(where).arg(values.size())
                                .arg(columns.size() + 1)));
        QTestData &row = QTest::addRow("%s (line %d)", qPrintable(values[0].trimmed()), int(n + 1));
        for (const QString &value : values.mid(1)) {
            QString v = value.trimmed();
            if (v.size() >= 2 && v.startsWith(u'"') && v.endsWith(u'"'))
                v = v.mid(1, v.size() - 2);
            row << v.replace(QLatin1String("\\n"), QString(u'\n')).replace(QLatin1String("\\t"), QString(u'\t'));
        }
    }
}

} // namespace kvedit::test
