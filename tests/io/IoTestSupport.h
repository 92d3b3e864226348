#pragma once
// Helpers shared by the io tests: test data, scratch files, external tools and a reader for the
// string tables of compiled resource files (.res).

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringEncoder>
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

// Text in UTF-16 with its byte-order mark.
inline QByteArray Utf16(const QString &text, bool bigEndian = false)
{
    QStringEncoder encoder(bigEndian ? QStringEncoder::Utf16BE : QStringEncoder::Utf16LE,
                           QStringEncoder::Flag::WriteBom);
    return encoder(text);
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

} // namespace kvedit::test
