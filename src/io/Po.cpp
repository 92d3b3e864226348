#include "io/Po.h"

#include "io/ExchangeRules.h"

#include "model/StandardLocale.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QStringDecoder>
#include <QTemporaryFile>

#include <gettext-po.h>

#include <csetjmp>
#include <cstdlib>

namespace kvedit::io {

namespace {

// The library keeps its error handler in globals for the length of a call.
QMutex g_libraryLock;

constexpr int kMaximumErrors = 20;

struct Problems {
    QString file;
    QList<Diagnostic> diagnostics;
    int errors = 0;
    bool keepWarnings = true;
    std::jmp_buf fatal;
};

thread_local Problems *t_problems = nullptr;

void Record(int severity, const char *filename, size_t line, const char *text)
{
    Problems &p = *t_problems;
    const bool error = severity != PO_SEVERITY_WARNING;
    if (!error && !p.keepWarnings)
        return;
    // The closing "found N fatal errors" only counts what was reported already.
    if (severity == PO_SEVERITY_FATAL_ERROR && p.errors > 0)
        return;
    if (error && ++p.errors > kMaximumErrors)
        return;
    int at = filename && line != static_cast<size_t>(-1) ? static_cast<int>(line) : 0;
    const QString message = QString::fromUtf8(text).trimmed();
    // The library has counted the line break that ended the string by then.
    if (message == QLatin1String("end-of-line within string") && at > 1)
        --at;
    p.diagnostics.append({error ? Diagnostic::Error : Diagnostic::Note, p.file, at, message});
}

// A fatal error must not return to the library: back to where the call began, with nothing of
// ours to unwind on the way.
void OnProblem(int severity, po_message_t, const char *filename, size_t line, size_t, int, const char *text)
{
    Record(severity, filename, line, text);
    if (severity == PO_SEVERITY_FATAL_ERROR)
        std::longjmp(t_problems->fatal, 1);
}

void OnProblemPair(int severity, po_message_t, const char *filename1, size_t line1, size_t, int, const char *text1,
                   po_message_t, const char *filename2, size_t line2, size_t, int, const char *text2)
{
    Record(severity, filename1, line1, text1);
    Record(PO_SEVERITY_WARNING, filename2, line2, text2);
    if (severity == PO_SEVERITY_FATAL_ERROR)
        std::longjmp(t_problems->fatal, 1);
}

const po_xerror_handler kHandler{OnProblem, OnProblemPair};

po_file_t ReadCatalog(const char *path, Problems *problems)
{
    t_problems = problems;
    if (setjmp(problems->fatal) != 0)
        return nullptr;
    return po_file_read(path, &kHandler);
}

bool WriteCatalog(po_file_t catalog, const char *path, Problems *problems)
{
    t_problems = problems;
    if (setjmp(problems->fatal) != 0)
        return false;
    po_file_write(catalog, path, &kHandler);
    return true;
}

[[noreturn]] void Fail(Problems &p)
{
    if (p.errors > kMaximumErrors)
        p.diagnostics.append({Diagnostic::Error, p.file, 0, QStringLiteral("and %1 more errors").arg(p.errors - kMaximumErrors)});
    throw FileError(p.diagnostics);
}

// A header field's value, empty when the header has none.
QByteArray HeaderField(const char *header, const char *field)
{
    if (!header)
        return {};
    char *value = po_header_field(header, field);
    const QByteArray out(value ? value : "");
    std::free(value);
    return out.trimmed();
}

// The library does not say where a message is; each message has exactly one msgid keyword,
// at the start of a line (after "#~ " when obsolete), in file order. Throws for a file with NUL
// bytes, which is no text at all.
QList<int> MessageLines(QFile &f, const QString &file)
{
    QList<int> lines;
    int line = 0;
    while (!f.atEnd()) {
        const QByteArray bytes = f.readLine();
        ++line;
        if (bytes.contains('\0'))
            throw FileError(file, line, QStringLiteral("the file is not a PO catalog: it holds NUL bytes"));
        QByteArrayView text(bytes);
        if (text.startsWith("#~"))
            text = text.sliced(2).trimmed();
        if (text.startsWith("msgid") && (text.size() == 5 || text.at(5) == ' ' || text.at(5) == '\t' || text.at(5) == '"'))
            lines.append(line);
    }
    return lines;
}

class Decoder {
public:
    explicit Decoder(const QByteArray &charset) : m_decoder(charset.isEmpty() ? "UTF-8" : charset.constData()) {}
    bool IsValid() const { return m_decoder.isValid(); }

    // nullopt for bytes that are not text in the charset.
    std::optional<QString> operator()(const char *bytes)
    {
        if (!bytes || !*bytes)
            return QString();
        QString text = m_decoder.decode(QByteArrayView(bytes));
        if (m_decoder.hasError()) {
            m_decoder.resetState();
            return std::nullopt;
        }
        return text;
    }

private:
    QStringDecoder m_decoder;
};

QByteArray Utf8(const QString &text)
{
    return text.toUtf8();
}

QString Today()
{
    return QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd HH:mm+0000"));
}

// gettext refuses a current translation that does not begin and end with a line break where its
// source does.
bool LineBreaksAgree(const QString &source, const QString &translation)
{
    return source.startsWith(u'\n') == translation.startsWith(u'\n') && source.endsWith(u'\n') == translation.endsWith(u'\n');
}

} // namespace

QByteArray WritePo(const PoDocument &document)
{
    QStringList header{QStringLiteral("Project-Id-Version: %1").arg(document.project.isEmpty() ? QStringLiteral("strings") : document.project),
                       QStringLiteral("PO-Revision-Date: %1").arg(Today()),
                       QStringLiteral("Last-Translator: "),
                       QStringLiteral("Language-Team: %1").arg(document.language.isEmpty() ? QString() : LanguageForTag(document.language).Name())};
    if (!document.language.isEmpty())
        header << QStringLiteral("Language: %1").arg(QString(document.language).replace(u'-', u'_'));
    header << QStringLiteral("MIME-Version: 1.0") << QStringLiteral("Content-Type: text/plain; charset=UTF-8")
           << QStringLiteral("Content-Transfer-Encoding: 8bit")
           << QStringLiteral("X-Generator: kvedit %1").arg(QCoreApplication::applicationVersion()).trimmed();

    // The library's strings end at a NUL; a text holding one would be cut short without a word.
    for (const ImportedString &u : document.units)
        if (u.sourceText.contains(QChar(0)) || (u.target && u.target->contains(QChar(0)))
            || (u.description && u.description->contains(QChar(0))))
            throw FileError(document.file, 0,
                            QStringLiteral("the string %1 holds a NUL character, which a PO file cannot").arg(KeyOf(u)));

    QMutexLocker lock(&g_libraryLock);
    po_file_t catalog = po_file_create();
    po_message_iterator_t it = po_message_iterator(catalog, nullptr);
    po_message_t head = po_message_create();
    po_message_set_msgid(head, "");
    po_message_set_msgstr(head, Utf8(header.join(u'\n') + u'\n').constData());
    po_message_insert(it, head);
    const bool withTargets = !document.language.isEmpty();
    for (const ImportedString &u : document.units) {
        po_message_t m = po_message_create();
        po_message_set_msgctxt(m, Utf8(KeyOf(u)).constData());
        po_message_set_msgid(m, Utf8(u.sourceText).constData());
        const bool translated = withTargets && u.target && u.state != TranslationState::Missing && !u.target->isEmpty();
        po_message_set_msgstr(m, translated ? Utf8(*u.target).constData() : "");
        if (translated && (u.state == TranslationState::OutOfDate || !LineBreaksAgree(u.sourceText, *u.target)))
            po_message_set_fuzzy(m, 1);
        if (u.description && !u.description->isEmpty())
            po_message_set_extracted_comments(m, Utf8(*u.description).constData());
        if (!u.symbol.isEmpty())
            po_message_add_filepos(m, Utf8(u.symbol).constData(), static_cast<size_t>(u.id));
        po_message_insert(it, m);
    }
    po_message_iterator_free(it);

    QTemporaryFile out;
    if (!out.open()) {
        po_file_free(catalog);
        throw FileError(QString(), 0, QStringLiteral("cannot create a temporary file: %1").arg(out.errorString()));
    }
    out.close();
    Problems problems;
    problems.file = document.file.isEmpty() ? out.fileName() : document.file;
    problems.keepWarnings = false;   // such as line breaks written as "\r": our strings have them
    const bool written = WriteCatalog(catalog, QFile::encodeName(out.fileName()).constData(), &problems);
    t_problems = nullptr;
    if (written)
        po_file_free(catalog);
    if (problems.errors > 0)
        Fail(problems);
    if (!out.open())
        throw FileError(out.fileName(), 0, QStringLiteral("cannot read the written catalog: %1").arg(out.errorString()));
    return out.readAll();
}

ResourceStrings ReadPo(const QString &path)
{
    const QString file = QFileInfo(path).absoluteFilePath();
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw FileError(path, 0, QStringLiteral("cannot read the file: %1").arg(f.errorString()));
    const QList<int> lines = MessageLines(f, file);
    f.close();

    QMutexLocker lock(&g_libraryLock);
    Problems problems;
    problems.file = file;
    po_file_t catalog = ReadCatalog(QFile::encodeName(path).constData(), &problems);
    t_problems = nullptr;
    if (!catalog && problems.errors == 0)
        throw FileError(file, 0, QStringLiteral("cannot read the file"));
    if (problems.errors > 0) {
        if (catalog)
            po_file_free(catalog);
        Fail(problems);
    }
    struct Free {
        po_file_t catalog;
        ~Free() { po_file_free(catalog); }
    } freeLater{catalog};

    ResourceStrings result;
    result.file = file;
    for (const Diagnostic &d : std::as_const(problems.diagnostics))
        result.notes.append(d);
    const char *header = po_file_domain_header(catalog, nullptr);
    result.languageTag = QString::fromUtf8(HeaderField(header, "Language")).replace(u'_', u'-');
    QByteArray charset = HeaderField(header, "Content-Type");
    const qsizetype at = charset.indexOf("charset=");
    charset = at < 0 ? QByteArray() : charset.mid(at + 8).trimmed();
    if (charset == "CHARSET")   // a template not yet given one
        charset.clear();
    Decoder decode(charset);
    if (!decode.IsValid())
        throw FileError(file, 0, QStringLiteral("the catalog's charset %1 is not known").arg(QString::fromLatin1(charset)));

    QList<Diagnostic> errors;
    int index = 0;
    int messages = 0;
    int obsolete = 0;
    for (const char *const *domain = po_file_domains(catalog); domain && *domain; ++domain) {
        po_message_iterator_t it = po_message_iterator(catalog, *domain);
        while (po_message_t m = po_next_message(it)) {
            const int line = lines.value(index++);
            ++messages;
            const char *context = po_message_msgctxt(m);
            const char *msgid = po_message_msgid(m);
            if (!context && !*msgid) {
                result.languageLine = line;
                continue;   // the header
            }
            if (po_message_is_obsolete(m)) {
                ++obsolete;
                continue;
            }
            const std::optional<QString> key = decode(context);
            const std::optional<QString> source = decode(msgid);
            const std::optional<QString> target = decode(po_message_msgstr(m));
            const std::optional<QString> comments = decode(po_message_extracted_comments(m));
            if (!key || !source || !target || !comments) {
                errors.append({Diagnostic::Error, file, line,
                               QStringLiteral("the message is not text in the catalog's charset %1")
                                   .arg(charset.isEmpty() ? QStringLiteral("UTF-8") : QString::fromLatin1(charset))});
                continue;
            }
            const QString name = context ? *key : *source;
            if (po_message_msgid_plural(m)) {
                errors.append({Diagnostic::Error, file, line,
                               QStringLiteral("the message \"%1\" has plural forms, which a string cannot hold").arg(name)});
                continue;
            }
            ImportedString s;
            s.file = file;
            s.line = line;
            int idOfSymbol = 0;
            for (int i = 0; po_filepos_t pos = po_message_filepos(m, i); ++i)
                if (context && QString::fromUtf8(po_filepos_file(pos)) == *key
                    && po_filepos_start_line(pos) != static_cast<size_t>(-1))
                    idOfSymbol = static_cast<int>(qMin<size_t>(po_filepos_start_line(pos), 1000000000));
            ApplyKey(s, context ? *key : QString(), idOfSymbol);
            s.sourceText = s.text = *source;
            QString description = *comments;
            if (description.endsWith(u'\n'))
                description.chop(1);
            if (!description.isEmpty())
                s.description = description;
            const TextTraits traits = AnalyseText(s.sourceText);
            s.properties = TextProperties::FromTraits(traits);
            for (const int p : traits.parameterIds)
                s.parameters.append(ParameterDefinition(p, QString(), QLatin1Char('%') + QString::number(p)));
            s.approvalKnown = false;
            if (!target->isEmpty()) {
                s.target = *target;
                s.state = po_message_is_fuzzy(m) ? TranslationState::OutOfDate : TranslationState::Unapproved;
                s.targetProperties = TextProperties::FromTraits(AnalyseText(*target));
            }
            result.strings.append(s);
        }
        po_message_iterator_free(it);
    }
    if (!errors.isEmpty())
        throw FileError(errors);
    if (messages == 0)
        throw FileError(file, 0, QStringLiteral("the file holds no PO messages"));
    if (obsolete > 0)
        result.notes.append({Diagnostic::Note, file, 0,
                             QStringLiteral("%1 obsolete messages (#~) are left out").arg(obsolete)});
    return result;
}

} // namespace kvedit::io
