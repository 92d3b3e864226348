#pragma once
// Helpers shared by the io tests: test data, scratch files, external tools, a reader for the
// string tables of compiled resource files (.res), and a text form of what the readers return
// for comparing with expected files.

#include "io/ResourceStrings.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QTemporaryDir>
#include <QtEndian>

namespace kvedit::test {

#ifdef KVEDIT_IO_TEST_DATA
inline QString DataFile(const QString &relative)
{
    return QStringLiteral(KVEDIT_IO_TEST_DATA "/") + relative;
}
#endif

// Writes bytes to dir/name (making directories) and returns the path.
inline QString WriteBytes(const QTemporaryDir &dir, const QString &name, const QByteArray &bytes)
{
    const QString path = dir.filePath(name);
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

inline QByteArray ReadBytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

struct ProcessResult {
    int exitCode = -1;
    QString out, err;
};

inline ProcessResult RunTool(const QString &program, const QStringList &arguments)
{
    QProcess p;
    p.start(program, arguments);
    if (!p.waitForFinished(60000))
        return {};
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1, QString::fromUtf8(p.readAllStandardOutput()),
            QString::fromUtf8(p.readAllStandardError())};
}

// The string tables of a compiled resource file: language id -> string id -> text. Strings of
// length 0 are absent, as for the program that loads them.
using ResStrings = QMap<int, QMap<int, QString>>;

inline ResStrings ReadResStringTables(const QByteArray &res)
{
    ResStrings out;
    qsizetype pos = 0;
    auto align = [](qsizetype p) { return (p + 3) & ~qsizetype(3); };
    auto u32 = [&](qsizetype p) { return qFromLittleEndian<quint32>(res.constData() + p); };
    auto u16 = [&](qsizetype p) { return qFromLittleEndian<quint16>(res.constData() + p); };
    // A type or name: 0xFFFF and an ordinal, or a NUL-terminated UTF-16 string (-1 then).
    auto readId = [&](qsizetype &p) {
        if (u16(p) == 0xFFFF) {
            const int value = u16(p + 2);
            p += 4;
            return value;
        }
        while (u16(p) != 0)
            p += 2;
        p += 2;
        return -1;
    };
    while (pos + 32 <= res.size()) {
        const quint32 dataSize = u32(pos);
        const quint32 headerSize = u32(pos + 4);
        qsizetype p = pos + 8;
        const int type = readId(p);
        const int name = readId(p);
        p = align(p);
        const int language = u16(p + 6);
        const qsizetype data = pos + headerSize;
        if (type == 6 && name > 0) {
            qsizetype q = data;
            for (int i = 0; i < 16 && q + 2 <= data + dataSize; ++i) {
                const int length = u16(q);
                q += 2;
                if (length > 0) {
                    out[language][(name - 1) * 16 + i] =
                        QString(reinterpret_cast<const QChar *>(res.constData() + q), length);
                }
                q += 2 * length;
            }
        }
        pos = align(data + dataSize);
    }
    return out;
}

inline QString WindresProgram()
{
    return QStandardPaths::findExecutable(QStringLiteral("x86_64-w64-mingw32-windres"));
}

inline QString CppProgram()
{
    return QStandardPaths::findExecutable(QStringLiteral("cpp"));
}

// Compiles a resource script with the resource compiler; the .res bytes, or empty with the
// compiler's messages in *messages.
inline QByteArray CompileWithWindres(const QString &script, const QStringList &extra, QString *messages)
{
    QTemporaryDir dir;
    const QString res = dir.filePath(QStringLiteral("out.res"));
    QStringList args{QStringLiteral("--preprocessor=") + CppProgram(), QStringLiteral("-O"), QStringLiteral("res")};
    args << extra << QStringLiteral("-i") << script << QStringLiteral("-o") << res;
    const ProcessResult r = RunTool(WindresProgram(), args);
    if (messages)
        *messages = r.err;
    return r.exitCode == 0 ? ReadBytes(res) : QByteArray();
}

// A text in double quotes with the characters a text file cannot show escaped.
inline QString Quoted(const QString &text)
{
    QString out = QStringLiteral("\"");
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool pair = c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (c == u'"' || c == u'\\')
            out += u'\\' + QString(c);
        else if (c == u'\n')
            out += QStringLiteral("\\n");
        else if (c == u'\r')
            out += QStringLiteral("\\r");
        else if (c == u'\t')
            out += QStringLiteral("\\t");
        else if (pair)
            out += c + QString(text.at(++i));
        else if (c.unicode() < 0x20 || c.unicode() == 0x7F || c.isSurrogate() || c.isNonCharacter())
            out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            out += c;
    }
    return out + u'"';
}

// What a reader returned, one line per string ("file:line id symbol text") with what else it
// carries below it when that differs from the defaults; then notes and left-out strings. Paths
// are shown relative to base.
inline QString Dump(const io::ResourceStrings &r, const QString &base)
{
    const auto where = [&](const QString &file, int line) {
        QString w = !base.isEmpty() && file.startsWith(base + u'/') ? file.mid(base.size() + 1) : file;
        return line > 0 ? w + u':' + QString::number(line) : w;
    };
    const auto properties = [](const io::TextProperties &p) {
        return QStringLiteral("%1 %2 %3").arg(p.properties).arg(Quoted(p.shortcutCharacter)).arg(p.shortcutMode);
    };
    QStringList out;
    if (!r.sourceLanguageTag.isEmpty())
        out << QStringLiteral("source language ") + r.sourceLanguageTag;
    if (!r.languageTag.isEmpty())
        out << QStringLiteral("language ") + r.languageTag;
    for (const io::ImportedString &s : r.strings) {
        QStringList head{where(s.file, s.line), QString::number(s.id), s.symbol, Quoted(s.text)};
        head.removeAll(QString());
        out << head.join(u' ');
        if (!s.sourceText.isEmpty() && s.sourceText != s.text)
            out << QStringLiteral("  source ") + Quoted(s.sourceText);
        if (s.properties != io::TextProperties())
            out << QStringLiteral("  properties ") + properties(s.properties);
        for (const ParameterDefinition &p : s.parameters)
            out << QStringLiteral("  parameter %1 %2 ").arg(p.Id()).arg(p.Placeholder()) + Quoted(p.Description());
        if (s.description)
            out << QStringLiteral("  description ") + Quoted(*s.description);
        if (s.target || s.state != io::TranslationState::Missing || s.targetApproved) {
            out << QStringLiteral("  target state %1%2 %3")
                       .arg(int(s.state))
                       .arg(s.targetApproved ? QStringLiteral(" approved") : QString())
                       .arg(s.target ? Quoted(*s.target) : QStringLiteral("none"));
        }
        if (s.targetProperties != io::TextProperties())
            out << QStringLiteral("  target properties ") + properties(s.targetProperties);
        const server::ExchangeOrigin &o = s.origin;
        if (o != server::ExchangeOrigin()) {
            out << QStringLiteral("  origin %1 %2 %3 %4")
                       .arg(Quoted(o.original), Quoted(o.unit), Quoted(o.targetState), Quoted(o.stateQualifier));
            out << QStringLiteral("  markup %1 %2").arg(Quoted(o.sourceMarkup), Quoted(o.targetMarkup));
        }
    }
    for (const io::Diagnostic &d : r.notes)
        out << QStringLiteral("note %1 %2").arg(where(d.file, d.line), d.message);
    for (const io::SkippedString &s : r.skipped)
        out << QStringLiteral("skipped %1 %2 (%3)").arg(where(s.file, s.line), s.id, s.reason);
    return out.join(u'\n') + u'\n';
}

// Compares a result with its expected file and says where they first differ; empty when they
// agree. With KVEDIT_UPDATE_EXPECTED=1 the file is written instead: review it before committing.
inline QString DiffersFromExpected(const QString &actual, const QString &expectedFile)
{
    if (qEnvironmentVariableIntValue("KVEDIT_UPDATE_EXPECTED")) {
        QFile f(expectedFile);
        if (!f.open(QIODevice::WriteOnly) || f.write(actual.toUtf8()) < 0)
            return QStringLiteral("cannot write ") + expectedFile;
        return {};
    }
    const QStringList want = QString::fromUtf8(ReadBytes(expectedFile)).split(u'\n');
    const QStringList got = actual.split(u'\n');
    const QString end = QStringLiteral("(end of file)");
    for (qsizetype i = 0; i < qMax(want.size(), got.size()); ++i) {
        if (want.value(i, end) != got.value(i, end)) {
            return QStringLiteral("%1:%2: differs\n  expected: %3\n  actual:   %4")
                .arg(expectedFile, QString::number(i + 1), want.value(i, end), got.value(i, end));
        }
    }
    return {};
}

} // namespace kvedit::test
