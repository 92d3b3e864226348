#include "io/Preprocessor.h"

#include "io/CodePages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <QDateTime>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <mcpp_lib.h>
}

namespace kvedit::io {

namespace {

struct McppResult {
    QByteArray out;
    QByteArray err;
    int signal = 0;   // the run ended by this signal (a crash in the library)
};

bool WriteAll(int fd, const char *data, size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// libmcpp keeps its state in globals and never frees part of what each run allocates, so every
// run happens in a child process: nothing accumulates in a long session, runs cannot disturb
// each other, and a crash of the library on a hostile file is an error instead of the end of
// the program. The child sends its output and messages back through a pipe, each with its size.
McppResult RunMcpp(const QList<QByteArray> &arguments)
{
    std::vector<QByteArray> storage(arguments.begin(), arguments.end());
    std::vector<char *> argv;
    argv.reserve(storage.size() + 1);
    for (QByteArray &a : storage)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    int channel[2];
    if (pipe2(channel, O_CLOEXEC) != 0)
        throw KvError(errFileAccess, QStringLiteral("Cannot run the preprocessor: %1").arg(qt_error_string(errno)));
    const pid_t child = fork();
    if (child < 0) {
        ::close(channel[0]);
        ::close(channel[1]);
        throw KvError(errFileAccess, QStringLiteral("Cannot run the preprocessor: %1").arg(qt_error_string(errno)));
    }
    if (child == 0) {
        ::close(channel[0]);
        mcpp_use_mem_buffers(1);
        mcpp_lib_main(static_cast<int>(storage.size()), argv.data());
        bool ok = true;
        for (const OUTDEST dest : {OUT, ERR}) {
            const char *text = mcpp_get_mem_buffer(dest);
            const quint64 size = text ? std::strlen(text) : 0;
            ok = ok && WriteAll(channel[1], reinterpret_cast<const char *>(&size), sizeof size)
                 && WriteAll(channel[1], text, size);
        }
        _exit(ok ? 0 : 1);   // no exit handlers: they belong to the parent
    }
    ::close(channel[1]);
    QByteArray received;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(channel[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        received.append(buffer, n);
    }
    ::close(channel[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }

    McppResult result;
    if (WIFSIGNALED(status)) {
        result.signal = WTERMSIG(status);
        return result;
    }
    qsizetype at = 0;
    for (QByteArray *part : {&result.out, &result.err}) {
        quint64 size = 0;
        if (at + qsizetype(sizeof size) > received.size())
            break;
        std::memcpy(&size, received.constData() + at, sizeof size);
        at += sizeof size;
        if (size > quint64(received.size() - at))
            break;
        *part = received.mid(at, static_cast<qsizetype>(size));
        at += static_cast<qsizetype>(size);
    }
    return result;
}

QString FromLocalPath(const QByteArray &bytes)
{
    return QFile::decodeName(bytes);
}

// Headers of the platform SDK and of the class libraries, which scripts include without
// needing anything from them for their string tables.
bool IsSystemHeaderName(const QString &name)
{
    static const QSet<QString> known = {
        QStringLiteral("windows.h"),  QStringLiteral("winres.h"),   QStringLiteral("winresrc.h"),
        QStringLiteral("winver.h"),   QStringLiteral("commctrl.h"), QStringLiteral("richedit.h"),
        QStringLiteral("dlgs.h"),     QStringLiteral("winuser.h"),  QStringLiteral("winnt.h"),
        QStringLiteral("winbase.h"),  QStringLiteral("ntverp.h"),   QStringLiteral("verrsrc.h"),
        QStringLiteral("atlres.h"),   QStringLiteral("winuser.rh"), QStringLiteral("prsht.h"),
        QStringLiteral("commdlg.h"),  QStringLiteral("winnls.h"),   QStringLiteral("shellapi.h"),
    };
    const QString base = QFileInfo(name).fileName().toLower();
    return known.contains(base) || base.startsWith(QLatin1String("afx"));
}

QByteArray ReadHead(const QString &path, qint64 size = 4)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.read(size);
}

bool NeedsConversion(const QString &path)
{
    return DetectByteOrderMark(ReadHead(path)) != ByteOrderMark::None;
}

// The mirror of the file system under the stage root.
class Stage {
public:
    explicit Stage(QString root) : m_root(std::move(root)) {}

    QString Root() const { return m_root; }
    QString MirrorOf(const QString &path) const { return m_root + path; }

    // Makes the mirror of dir and of every directory above it real directories that link to
    // everything the originals hold, so relative paths resolve the same in the mirror.
    void EnsureDirectory(const QString &dir)
    {
        const QString clean = QDir::cleanPath(dir);
        QStringList chain;
        for (QString d = clean; !d.isEmpty();) {
            chain.prepend(d);
            if (d == QLatin1String("/"))
                break;
            const QString up = QFileInfo(d).path();
            if (up == d)
                break;
            d = up;
        }
        for (const QString &d : chain) {
            if (m_populated.contains(d))
                continue;
            const QString mirror = d == QLatin1String("/") ? m_root : MirrorOf(d);
            const QFileInfo info(mirror);
            if (info.isSymLink())
                QFile::remove(mirror);
            QDir().mkpath(mirror);
            const QDir original(d);
            const QStringList entries = original.entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                                           | QDir::NoDotAndDotDot);
            for (const QString &name : entries) {
                const QString target = mirror + QLatin1Char('/') + name;
                if (QFileInfo::exists(target) || QFileInfo(target).isSymLink())
                    continue;
                QFile::link(original.filePath(name), target);
            }
            m_populated.insert(d);
        }
    }

    // Puts a real copy of path in the mirror, as UTF-8 without a byte-order mark. Throws
    // FileError when the file cannot be read or does not decode.
    void StageFile(const QString &path, QSet<QString> *utf8Files)
    {
        if (m_staged.contains(path))
            return;
        EnsureDirectory(QFileInfo(path).path());
        QFile in(path);
        if (!in.open(QIODevice::ReadOnly))
            throw FileError(path, 0, QStringLiteral("cannot read the file: %1").arg(in.errorString()));
        QByteArray bytes = in.readAll();
        const ByteOrderMark mark = DetectByteOrderMark(bytes);
        if (mark != ByteOrderMark::None) {
            const std::optional<QByteArray> converted = ToUtf8WithoutMark(bytes, mark);
            if (!converted)
                throw FileError(path, 0, mark == ByteOrderMark::Utf8
                                             ? QStringLiteral("the file is not valid UTF-8")
                                             : QStringLiteral("the file is not valid UTF-16"));
            bytes = *converted;
            utf8Files->insert(path);
        }
        const QString target = MirrorOf(path);
        QFile::remove(target);
        QFile out(target);
        if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size())
            throw FileError(path, 0, QStringLiteral("cannot stage a copy of the file: %1").arg(out.errorString()));
        m_staged.insert(path);
    }

    bool IsStaged(const QString &path) const { return m_staged.contains(path); }

private:
    QString m_root;
    QSet<QString> m_populated;
    QSet<QString> m_staged;
};

struct LineMarker {
    QString file;
    QString parent;
    int includeLine = 0;   // the parent's line that included the file, when the output tells
};

// The files a run read, each with the file that included it.
QList<LineMarker> IncludeTree(const QByteArray &output)
{
    static const QRegularExpression marker(QStringLiteral("^#line (\\d+) \"(.*)\"$"));
    QList<LineMarker> files;
    QStringList stack;
    QList<qsizetype> entries;   // per stack level: its file's entry in files
    QSet<QString> seen;
    for (const QByteArray &raw : output.split('\n')) {
        if (!raw.startsWith("#line "))
            continue;
        const auto m = marker.match(FromLocalPath(raw.endsWith('\r') ? raw.chopped(1) : raw));
        if (!m.hasMatch())
            continue;
        const QString file = m.captured(2);
        const qsizetype at = stack.lastIndexOf(file);
        if (at >= 0) {
            // Back in an including file: the marker names the line after the #include.
            if (at + 1 < stack.size() && entries.at(at + 1) >= 0 && files[entries.at(at + 1)].includeLine == 0)
                files[entries.at(at + 1)].includeLine = m.captured(1).toInt() - 1;
            stack.resize(at + 1);
            entries.resize(at + 1);
        } else {
            qsizetype entry = -1;
            if (!seen.contains(file)) {
                files.append({file, stack.isEmpty() ? QString() : stack.last()});
                seen.insert(file);
                entry = files.size() - 1;
            }
            stack.append(file);
            entries.append(entry);
        }
    }
    return files;
}

QString ReadLineOf(const QString &path, int line)
{
    QFile f(path);
    if (line < 1 || !f.open(QIODevice::ReadOnly))
        return {};
    for (int i = 1; !f.atEnd(); ++i) {
        const QByteArray text = f.readLine();
        if (i == line)
            return QString::fromLatin1(text);
    }
    return {};
}

bool IsInside(const QString &path, const QString &folder)
{
    return folder == QLatin1String("/") || path == folder || path.startsWith(folder + QLatin1Char('/'));
}

// The line of parent that includes a file of this name, 0 when it cannot be told.
int IncludeLineOf(const QString &parent, const QString &included)
{
    static const QRegularExpression directive(QStringLiteral("^\\s*#\\s*include\\b"));
    QFile f(parent);
    if (!f.open(QIODevice::ReadOnly))
        return 0;
    const QString name = QFileInfo(included).fileName();
    for (int line = 1; !f.atEnd(); ++line) {
        const QString text = QFile::decodeName(f.readLine());
        if (directive.match(text).hasMatch() && text.contains(name))
            return line;
    }
    return 0;
}

} // namespace

int RemoveStaleStagingFolders(const QString &folder)
{
    static const QRegularExpression staged(QStringLiteral("^kvedit-rc-(\\d+)-"));
    const QDir temp(folder.isEmpty() ? QDir::tempPath() : folder);
    int removed = 0;
    for (const QFileInfo &entry : temp.entryInfoList({QStringLiteral("kvedit-rc-*")}, QDir::Dirs | QDir::NoSymLinks
                                                                                         | QDir::Hidden)) {
        const auto m = staged.match(entry.fileName());
        bool stale = false;
        if (m.hasMatch()) {
            const qint64 pid = m.captured(1).toLongLong();
            stale = pid > 0 && pid != getpid() && kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
        } else {
            // Named before folders carried their process: no run lasts a day.
            stale = entry.lastModified().secsTo(QDateTime::currentDateTime()) > 24 * 3600;
        }
        if (entry.ownerId() != geteuid())
            stale = false;
        // The folder holds links into the user's folders; removal deletes links, never targets.
        if (stale && QDir(entry.absoluteFilePath()).removeRecursively())
            ++removed;
    }
    if (removed)
        qCInfo(lcIo) << "removed" << removed << "staging folders left by ended processes in" << temp.path();
    return removed;
}

QString PreprocessedScript::OriginalPath(const QString &reported) const
{
    if (!stageRoot.isEmpty() && reported.startsWith(stageRoot + QLatin1Char('/')))
        return reported.mid(stageRoot.size());
    return reported;
}

QByteArray McppEncodingOfCodePage(int codePage)
{
    switch (codePage) {
    case 932: return QByteArrayLiteral("sjis");
    case 936: return QByteArrayLiteral("gb2312");
    case 949: return QByteArrayLiteral("ksc5601");
    case 950: return QByteArrayLiteral("big5");
    default: return {};
    }
}

PreprocessedScript Preprocess(const PreprocessOptions &options)
{
    const QFileInfo mainInfo(options.file);
    if (!mainInfo.isFile())
        throw FileError(options.file, 0, QStringLiteral("the file does not exist"));
    if (!mainInfo.isReadable())
        throw FileError(options.file, 0, QStringLiteral("the file cannot be read"));
    const QString main = mainInfo.absoluteFilePath();
    QStringList headers;
    for (const QString &h : options.headers) {
        const QFileInfo info(h);
        if (!info.isFile())
            throw FileError(h, 0, QStringLiteral("the header does not exist"));
        headers << info.absoluteFilePath();
    }
    QStringList includeDirs;
    for (const QString &d : options.includeDirs)
        includeDirs << QFileInfo(d).absoluteFilePath();

    static std::once_flag cleaned;
    std::call_once(cleaned, [] { RemoveStaleStagingFolders(); });
    // The process id in the name tells a later process whether its owner still runs.
    QTemporaryDir temp(QDir::tempPath() + QStringLiteral("/kvedit-rc-%1-XXXXXX").arg(getpid()));
    if (!temp.isValid())
        throw KvError(errFileAccess, QStringLiteral("Cannot make a temporary directory: %1").arg(temp.errorString()));
    const QString root = QFileInfo(temp.path()).canonicalFilePath();
    Stage stage(root);

    PreprocessedScript result;
    result.stageRoot = root;
    result.wrapper = root + QStringLiteral("/kvedit-script.rc");

    bool mirrored = false;
    auto enterMirror = [&] {
        if (mirrored)
            return;
        mirrored = true;
        stage.StageFile(main, &result.utf8Files);
        for (const QString &h : headers)
            stage.StageFile(h, &result.utf8Files);
        for (const QString &d : includeDirs)
            stage.EnsureDirectory(d);
    };
    if (NeedsConversion(main) || std::any_of(headers.cbegin(), headers.cend(), NeedsConversion))
        enterMirror();

    McppResult run;
    QList<LineMarker> tree;
    for (int round = 0;; ++round) {
        QByteArray wrapper;
        auto pathOf = [&](const QString &p) { return QFile::encodeName(mirrored ? stage.MirrorOf(p) : p); };
        for (const QString &h : headers)
            wrapper += "#include \"" + pathOf(h) + "\"\n";
        wrapper += "#include \"" + pathOf(main) + "\"\n";
        QFile w(result.wrapper);
        if (!w.open(QIODevice::WriteOnly | QIODevice::Truncate) || w.write(wrapper) != wrapper.size())
            throw KvError(errFileAccess, QStringLiteral("Cannot write %1: %2").arg(result.wrapper, w.errorString()));
        w.close();

        QList<QByteArray> args{QByteArrayLiteral("mcpp")};
        args << "-e" << (options.multiByteEncoding.isEmpty() ? QByteArrayLiteral("C") : options.multiByteEncoding);
        // No predefined compiler macros and no system include directories: only what a resource
        // compiler defines, and only the user's directories. C99 rules, so line numbers of long
        // scripts go past 32767.
        args << "-N" << "-I-" << "-j" << "-K" << "-V199901L" << "-DRC_INVOKED=1" << "-D_WIN32=1";
        for (const QString &d : options.defines)
            args << "-D" << d.toUtf8();
        for (const QString &d : includeDirs)
            args << "-I" << QFile::encodeName(mirrored ? stage.MirrorOf(d) : d);
        args << QFile::encodeName(result.wrapper);
        qCDebug(lcIo) << "mcpp" << args;
        run = RunMcpp(args);
        if (run.signal)
            throw FileError(main, 0, QStringLiteral("the preprocessor failed on this file (signal %1)").arg(run.signal));
        tree = IncludeTree(run.out);

        // A file read from its original although it needs converting: stage it and every file
        // on its include path, so the includes on that path reach the converted copy.
        QSet<QString> toStage;
        QStringList needing;
        QHash<QString, QString> parentOf;
        for (const LineMarker &m : tree)
            parentOf.insert(m.file, m.parent);
        for (const LineMarker &m : tree) {
            if (m.file == result.wrapper || m.file.startsWith(root + QLatin1Char('/')))
                continue;
            if (!NeedsConversion(m.file))
                continue;
            needing << result.OriginalPath(m.file);
            for (QString f = m.file; !f.isEmpty() && f != result.wrapper; f = parentOf.value(f))
                toStage.insert(result.OriginalPath(f));
        }
        if (toStage.isEmpty())
            break;
        enterMirror();
        bool progress = false;
        for (const QString &f : toStage) {
            progress = progress || !stage.IsStaged(f);
            stage.StageFile(f, &result.utf8Files);
        }
        // Only a file named by its absolute path escapes the mirror.
        if (!progress || round >= 16)
            throw FileError(needing.first(), 0,
                            QStringLiteral("the preprocessor cannot read this file as it is (UTF-16 or with a "
                                           "byte-order mark) and it is included in a way a converted copy cannot "
                                           "stand in for; save it as UTF-8 without a byte-order mark"));
        qCDebug(lcIo) << "staged" << toStage.size() << "files for the preprocessor, round" << round + 1;
    }

    result.output = run.out;

    // Every file read must lie where the user pointed: the script's folder, the include folders
    // or a header's folder. Anything else (an absolute path, a way out through "..", a link
    // leading elsewhere) is refused by name before any of its text is used or shown.
    QStringList allowed{mainInfo.canonicalPath()};
    for (const QString &d : includeDirs)
        allowed << QFileInfo(d).canonicalFilePath();
    for (const QString &h : headers)
        allowed << QFileInfo(h).canonicalPath();
    allowed.removeAll(QString());
    QSet<QString> refused;            // as the preprocessor names them
    QSet<QString> refusedOriginals;   // as the user's files
    if (!options.includeAnywhere) {
        for (const LineMarker &m : tree) {
            if (m.file == result.wrapper)
                continue;
            const QString original = QDir::cleanPath(result.OriginalPath(m.file));
            const QString real = QFileInfo(original).canonicalFilePath();
            if (std::any_of(allowed.cbegin(), allowed.cend(),
                            [&](const QString &folder) { return IsInside(real, folder); }))
                continue;
            refused.insert(m.file);
            refusedOriginals.insert(original);
            const QString parent = m.parent.isEmpty() || m.parent == result.wrapper
                                       ? main
                                       : result.OriginalPath(m.parent);
            result.diagnostics.append(
                {Diagnostic::Error, parent, m.includeLine > 0 ? m.includeLine : IncludeLineOf(parent, original),
                 QStringLiteral("the included file \"%1\" lies outside the script's folder, the include folders "
                                "and the headers' folders; refused (--allow-include-anywhere permits it)")
                     .arg(QDir::toNativeSeparators(original))});
        }
        if (!refused.isEmpty())
            result.output.clear();   // nothing of a refused file may reach the strings
    }

    // mcpp's messages: "file:line: error: text", "file:line: warning: text".
    static const QRegularExpression message(QStringLiteral("^(.+):(\\d+): (fatal error|error|warning): (.*)$"));
    static const QRegularExpression missingInclude(QStringLiteral("^Can't open include file \"(.*)\"$"));
    for (const QByteArray &raw : run.err.split('\n')) {
        const QString line = FromLocalPath(raw).trimmed();
        const auto m = message.match(line);
        if (!m.hasMatch())
            continue;
        const QString file = result.OriginalPath(m.captured(1));
        if (refused.contains(m.captured(1)) || refusedOriginals.contains(QDir::cleanPath(file)))
            continue;   // its text stays unshown
        const int lineNumber = m.captured(2).toInt();
        const QString kind = m.captured(3);
        const QString text = m.captured(4);
        if (file == result.OriginalPath(result.wrapper) || lineNumber == 0)
            continue;   // our own wrapper, or the environment's locale: nothing of the user's
        if (text.startsWith(QLatin1String("Converted [CR+LF]")))
            continue;   // line ends as scripts are commonly written; nothing to tell
        Diagnostic d{kind == QLatin1String("warning") ? Diagnostic::Note : Diagnostic::Error, file, lineNumber, text};
        const auto missing = missingInclude.match(text);
        if (missing.hasMatch()) {
            const QString name = missing.captured(1);
            const bool angled = ReadLineOf(file, lineNumber).contains(QLatin1Char('<'));
            if (angled || IsSystemHeaderName(name)) {
                d.severity = Diagnostic::Note;
                d.message = QStringLiteral("system header \"%1\" is not present; passed over").arg(name);
            } else {
                d.message = QStringLiteral("cannot find the included file \"%1\"").arg(name);
            }
        }
        result.diagnostics.append(d);
    }
    return result;
}

} // namespace kvedit::io
