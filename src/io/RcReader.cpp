#include "io/RcReader.h"

#include "io/CodePages.h"
#include "io/LanguageIds.h"
#include "io/Preprocessor.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <functional>
#include <limits>
#include <vector>

namespace kvedit::io {

namespace {

enum class Tok { Ident, Number, String, Punct, MacroBegin, MacroEnd, Other };

struct Token {
    Tok kind = Tok::Other;
    QString text;             // identifier, number, literal body, punctuator, macro name
    bool wide = false;        // L"..."
    bool objectLike = false;  // MacroBegin: the macro was used by its name alone
    int codePage = kCodePageUtf8;   // literals: the code page their escapes' bytes are in
    int file = 0;
    int line = 0;
};

constexpr int kMaxErrors = 50;
constexpr int kMaxResourceId = 65535;   // what a string table's ids can be at all
constexpr int kOutOfRangeShown = 5;
// Far beyond any id or LANGUAGE expression a script holds, far below what the stack takes.
constexpr int kMaxExpressionDepth = 128;

bool IsIdentStart(QChar c)
{
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_';
}

bool IsIdentPart(QChar c)
{
    return IsIdentStart(c) || (c >= u'0' && c <= u'9');
}

// Turns the preprocessor's output into tokens that know their original file and line, decoding
// each line in the code page in force there.
class Scanner {
public:
    Scanner(const PreprocessedScript &script, int defaultCodePage, QList<Diagnostic> *diagnostics)
        : m_script(script), m_defaultCodePage(defaultCodePage > 0 ? defaultCodePage : kCodePageUtf8),
          m_codePage(m_defaultCodePage), m_diagnostics(diagnostics)
    {
    }

    void Run()
    {
        static const QRegularExpression marker(QStringLiteral("^#line (\\d+) \"(.*)\"$"));
        static const QRegularExpression codePage(
            QStringLiteral("^\\s*#\\s*pragma\\s+code_page\\s*\\(\\s*([0-9]+|[Dd][Ee][Ff][Aa][Uu][Ll][Tt])\\s*\\)"));
        int file = -1;
        int line = 0;
        for (QByteArray raw : m_script.output.split('\n')) {
            if (raw.endsWith('\r'))
                raw.chop(1);
            if (raw.startsWith("#line ")) {
                const auto m = marker.match(QFile::decodeName(raw));
                if (m.hasMatch()) {
                    line = m.captured(1).toInt();
                    const QString reported = m.captured(2);
                    file = reported == m_script.wrapper ? -1 : FileIndex(m_script.OriginalPath(reported));
                    continue;
                }
            }
            int lineNumber = line++;
            if (file < 0)
                continue;
            lineNumber = FirstPhysicalLine(file, lineNumber);
            const QString fileName = files.at(file);
            const bool utf8File = m_script.utf8Files.contains(fileName);
            const QByteArray trimmed = raw.trimmed();
            if (trimmed.startsWith('#')) {
                const auto m = codePage.match(QString::fromLatin1(trimmed));
                if (m.hasMatch())
                    SetCodePage(m.captured(1), fileName, lineNumber, utf8File);
                continue;   // other pragmas mean nothing to the string tables
            }
            if (trimmed.isEmpty())
                continue;
            const int linePage = utf8File ? kCodePageUtf8 : m_codePage;
            std::optional<QString> text = DecodeCodePage(raw, linePage);
            if (!text) {
                Error(fileName, lineNumber,
                      QStringLiteral("the line is not valid text in code page %1 (name the file's code page with "
                                     "#pragma code_page or the code page option)")
                          .arg(linePage));
                text = QString::fromLatin1(raw);
            }
            Lex(*text, file, lineNumber, linePage);
        }
    }

    std::vector<Token> tokens;
    QStringList files;
    int firstDoubleBytePage = 0;   // the first double-byte code page a pragma named

private:
    int FileIndex(const QString &path)
    {
        const auto it = m_fileIndex.constFind(path);
        if (it != m_fileIndex.cend())
            return *it;
        files.append(path);
        m_fileIndex.insert(path, files.size() - 1);
        return files.size() - 1;
    }

    // The preprocessor numbers a line joined by backslash continuations as its last physical
    // line; the user looks for where it starts.
    int FirstPhysicalLine(int file, int line)
    {
        auto it = m_continued.find(file);
        if (it == m_continued.end()) {
            QList<bool> continued;
            const QString path = files.at(file);
            QFile f(path);
            if (f.open(QIODevice::ReadOnly)) {
                QByteArray bytes = f.readAll();
                const ByteOrderMark mark = DetectByteOrderMark(bytes);
                if (mark != ByteOrderMark::None)
                    bytes = ToUtf8WithoutMark(bytes, mark).value_or(QByteArray());
                for (QByteArray l : bytes.split('\n')) {
                    if (l.endsWith('\r'))
                        l.chop(1);
                    continued.append(l.endsWith('\\'));
                }
            }
            it = m_continued.insert(file, continued);
        }
        while (line > 1 && line - 2 < it->size() && it->at(line - 2))
            --line;
        return line;
    }

    // Past the error limit the rest are dropped: a file in the wrong code page would otherwise
    // give one error per line.
    void Error(const QString &file, int line, const QString &message)
    {
        if (++m_errors <= kMaxErrors)
            m_diagnostics->append({Diagnostic::Error, file, line, message});
    }

    void SetCodePage(const QString &value, const QString &file, int line, bool utf8File)
    {
        int page = 0;
        if (value.compare(QLatin1String("DEFAULT"), Qt::CaseInsensitive) == 0) {
            page = m_defaultCodePage;
        } else {
            page = value.toInt();
            if (CodecNameOfCodePage(page).isEmpty()) {
                Error(file, line, QStringLiteral("unknown code page %1").arg(value));
                return;
            }
        }
        if (!utf8File && IsDoubleByteCodePage(page) && !firstDoubleBytePage)
            firstDoubleBytePage = page;
        m_codePage = page;
    }

    void Lex(const QString &text, int file, int line, int codePage)
    {
        const qsizetype n = text.size();
        qsizetype i = 0;
        auto push = [&](Tok kind, QString value) {
            Token t;
            t.kind = kind;
            t.text = std::move(value);
            t.file = file;
            t.line = line;
            t.codePage = codePage;
            tokens.push_back(std::move(t));
        };
        while (i < n) {
            const QChar c = text.at(i);
            const QChar next = i + 1 < n ? text.at(i + 1) : QChar();
            if (c.isSpace() || c == QChar(0xFEFF)) {
                ++i;
            } else if (c == u'/' && next == u'*') {
                const qsizetype end = text.indexOf(QLatin1String("*/"), i + 2);
                const QString body = text.mid(i + 2, end < 0 ? -1 : end - i - 2);
                i = end < 0 ? n : end + 2;
                if (body.startsWith(u'<')) {
                    // "<NAME" for a nested expansion, "<NAME l:c-l:c" for one in the source text;
                    // the span is as long as the name exactly when no arguments followed it.
                    static const QRegularExpression annotation(
                        QStringLiteral("^<([A-Za-z_][A-Za-z0-9_]*)(?: (\\d+):(\\d+)-(\\d+):(\\d+))?"));
                    const auto m = annotation.match(body);
                    if (m.hasMatch()) {
                        push(Tok::MacroBegin, m.captured(1));
                        tokens.back().objectLike = m.hasCaptured(2) && m.captured(2) == m.captured(4)
                                                   && m.captured(5).toInt() - m.captured(3).toInt()
                                                          == m.captured(1).size();
                    }
                } else if (body == QLatin1String(">")) {
                    push(Tok::MacroEnd, {});
                }
            } else if (c == u'/' && next == u'/') {
                break;
            } else if (c == u'"' || (c == u'L' && next == u'"')) {
                const bool wide = c == u'L';
                const qsizetype start = i + (wide ? 2 : 1);
                qsizetype j = start;
                bool closed = false;
                while (j < n) {
                    const QChar d = text.at(j);
                    if (d == u'\\') {
                        j += 2;
                    } else if (d == u'"') {
                        if (j + 1 < n && text.at(j + 1) == u'"') {
                            j += 2;   // a doubled quote stands for one
                        } else {
                            closed = true;
                            break;
                        }
                    } else {
                        ++j;
                    }
                }
                if (!closed) {
                    Error(files.at(file), line, QStringLiteral("the string is not closed on its line"));
                    i = n;
                    continue;
                }
                push(Tok::String, text.mid(start, j - start));
                tokens.back().wide = wide;
                i = j + 1;
            } else if (IsIdentStart(c)) {
                qsizetype j = i + 1;
                while (j < n && IsIdentPart(text.at(j)))
                    ++j;
                push(Tok::Ident, text.mid(i, j - i));
                i = j;
            } else if (c.isDigit()) {
                qsizetype j = i + 1;
                while (j < n && IsIdentPart(text.at(j)))
                    ++j;
                push(Tok::Number, text.mid(i, j - i));
                i = j;
            } else if (c == u'\'') {
                qsizetype j = i + 1;
                while (j < n && text.at(j) != u'\'')
                    j += text.at(j) == u'\\' ? 2 : 1;
                push(Tok::Other, text.mid(i, j + 1 - i));
                i = j + 1;
            } else {
                push(Tok::Punct, QString(c));
                ++i;
            }
        }
    }

    const PreprocessedScript &m_script;
    int m_defaultCodePage;   // the option's, or UTF-8
    int m_codePage;
    QList<Diagnostic> *m_diagnostics;
    QHash<QString, int> m_fileIndex;
    QHash<int, QList<bool>> m_continued;   // per file: physical line n (index n-1) ends with '\\'
    int m_errors = 0;
};

bool IsKeyword(const Token &t, const char *word)
{
    return t.kind == Tok::Ident && t.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

bool IsBlockOpen(const Token &t)
{
    return IsKeyword(t, "BEGIN") || (t.kind == Tok::Punct && t.text == QLatin1String("{"));
}

bool IsBlockClose(const Token &t)
{
    return IsKeyword(t, "END") || (t.kind == Tok::Punct && t.text == QLatin1String("}"));
}

bool IsMemoryFlag(const Token &t)
{
    static const char *const flags[] = {"PRELOAD", "LOADONCALL", "FIXED", "MOVEABLE", "DISCARDABLE",
                                        "PURE", "IMPURE", "SHARED", "NONSHARED"};
    for (const char *f : flags)
        if (IsKeyword(t, f))
            return true;
    return false;
}

bool IsOptionalStatement(const Token &t)
{
    static const char *const words[] = {"CAPTION", "CHARACTERISTICS", "CLASS", "EXSTYLE", "FONT",
                                        "LANGUAGE", "MENU", "STYLE", "VERSION"};
    for (const char *w : words)
        if (IsKeyword(t, w))
            return true;
    return false;
}

std::optional<qint64> ParseNumber(const QString &text)
{
    QString digits = text;
    while (!digits.isEmpty() && (digits.endsWith(u'L') || digits.endsWith(u'l') || digits.endsWith(u'U')
                                 || digits.endsWith(u'u')))
        digits.chop(1);
    bool ok = false;
    qint64 value = 0;
    if (digits.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        value = digits.mid(2).toLongLong(&ok, 16);
    else if (digits.startsWith(QLatin1String("0o"), Qt::CaseInsensitive))
        value = digits.mid(2).toLongLong(&ok, 8);
    else
        value = digits.toLongLong(&ok, 10);
    if (!ok)
        return std::nullopt;
    return value;
}

struct ParseFailure {
    int index;          // the token at fault
    QString message;
};

class Parser {
public:
    Parser(const std::vector<Token> &tokens, const QStringList &files, const RcReadOptions &options,
           QList<Diagnostic> *diagnostics)
        : m_tokens(tokens), m_files(files), m_options(options), m_diagnostics(diagnostics)
    {
    }

    void Run()
    {
        while (!AtEnd()) {
            SkipAnnotations();
            if (AtEnd())
                break;
            const Token &t = m_tokens[m_pos];
            try {
                if (IsKeyword(t, "LANGUAGE")) {
                    m_language = ParseLanguage();
                } else if (IsKeyword(t, "STRINGTABLE")) {
                    ParseStringTable();
                } else if (IsBlockOpen(t)) {
                    SkipBlock();
                } else {
                    SkipResource();
                }
            } catch (const ParseFailure &f) {
                Fail(f);
                RecoverAfter(f.index);
            }
        }
    }

    QList<ImportedString> strings;
    QList<WindowsLanguage> tableLanguages;   // the language of each string table, when stated
    int tables = 0;                          // STRINGTABLE blocks read
    int moreErrors = 0;                      // errors beyond the ones listed
    QList<ImportedString> outOfRange;        // ids above the maximum the compiler still takes

private:
    bool AtEnd() const { return m_pos >= m_tokens.size(); }

    int ErrorCount() const
    {
        int n = 0;
        for (const Diagnostic &d : *m_diagnostics)
            n += d.severity == Diagnostic::Error;
        return n;
    }

    void SkipAnnotations()
    {
        while (!AtEnd() && (m_tokens[m_pos].kind == Tok::MacroBegin || m_tokens[m_pos].kind == Tok::MacroEnd))
            ++m_pos;
    }

    // The next token that is not an annotation (its index in *index), without moving on: the
    // annotations before it stay for the symbol of an id.
    const Token *Peek(size_t *index = nullptr) const
    {
        size_t i = m_pos;
        while (i < m_tokens.size() && (m_tokens[i].kind == Tok::MacroBegin || m_tokens[i].kind == Tok::MacroEnd))
            ++i;
        if (i >= m_tokens.size())
            return nullptr;
        if (index)
            *index = i;
        return &m_tokens[i];
    }

    // Moves past the token Peek gave.
    void Advance()
    {
        SkipAnnotations();
        ++m_pos;
    }

    const Token &Next(const char *expected)
    {
        const Token *t = Peek();
        if (!t)
            throw ParseFailure{static_cast<int>(m_tokens.size()) - 1,
                               QStringLiteral("the file ends where %1 was expected").arg(QLatin1String(expected))};
        Advance();
        return *t;
    }

    QString Where(int index) const
    {
        if (m_tokens.empty())
            return {};
        const Token &t = m_tokens[static_cast<size_t>(qBound(0, index, static_cast<int>(m_tokens.size()) - 1))];
        return m_files.at(t.file) + QLatin1Char(':') + QString::number(t.line);
    }

    void Fail(const ParseFailure &f)
    {
        if (ErrorCount() >= kMaxErrors) {
            ++moreErrors;
            return;
        }
        Diagnostic d;
        d.severity = Diagnostic::Error;
        d.message = f.message;
        if (!m_tokens.empty()) {
            const Token &t = m_tokens[static_cast<size_t>(qBound(0, f.index, static_cast<int>(m_tokens.size()) - 1))];
            d.file = m_files.at(t.file);
            d.line = t.line;
        }
        m_diagnostics->append(d);
    }

    // Carries on at the first token of a later line than the failure.
    void RecoverAfter(int index)
    {
        if (index < 0 || m_tokens.empty())
            return;
        const Token &bad = m_tokens[static_cast<size_t>(qMin(index, static_cast<int>(m_tokens.size()) - 1))];
        if (m_pos <= static_cast<size_t>(index))
            m_pos = static_cast<size_t>(index);
        while (!AtEnd() && m_tokens[m_pos].file == bad.file && m_tokens[m_pos].line == bad.line)
            Advance();
    }

    // expr := or; or := and ('|' and)*; and := add ('&' add)*; add := mul (('+'|'-') mul)*;
    // mul := unary (('*'|'/') unary)*; unary := ('-'|'+'|'~'|NOT) unary | primary.
    // Values are 64-bit and every step is checked: a crafted id must give an error, never a
    // wrapped value or a trap. Nesting is bounded so no expression can exhaust the stack.
    using NameResolver = std::function<std::optional<qint64>(const QString &)>;

    qint64 ParseExpression(const NameResolver &names) { return ParseBinary(names, 0); }

    // Counts one level of nesting (a parenthesis or a unary operator) for as long as it lives.
    class Nesting {
    public:
        Nesting(Parser &parser, int index) : m_parser(parser)
        {
            if (++m_parser.m_depth > kMaxExpressionDepth) {
                --m_parser.m_depth;
                throw ParseFailure{index, QStringLiteral("the expression nests more than %1 levels deep")
                                              .arg(kMaxExpressionDepth)};
            }
        }
        ~Nesting() { --m_parser.m_depth; }
        Nesting(const Nesting &) = delete;
        Nesting &operator=(const Nesting &) = delete;

    private:
        Parser &m_parser;
    };

    [[noreturn]] static void Overflow(int index)
    {
        throw ParseFailure{index, QStringLiteral("the value of the expression is out of range (it overflows "
                                                 "64-bit arithmetic)")};
    }

    qint64 ParseBinary(const NameResolver &names, int level)
    {
        static const char *const ops[] = {"|", "&", "+-", "*/"};
        if (level == 4)
            return ParseUnary(names);
        qint64 value = ParseBinary(names, level + 1);
        for (;;) {
            size_t at = 0;
            const Token *t = Peek(&at);
            if (!t || t->kind != Tok::Punct || !QLatin1String(ops[level]).contains(t->text))
                return value;
            Advance();
            const qint64 right = ParseBinary(names, level + 1);
            const int index = static_cast<int>(at);
            bool overflow = false;
            switch (t->text.at(0).unicode()) {
            case '|': value |= right; break;
            case '&': value &= right; break;
            case '+': overflow = __builtin_add_overflow(value, right, &value); break;
            case '-': overflow = __builtin_sub_overflow(value, right, &value); break;
            case '*': overflow = __builtin_mul_overflow(value, right, &value); break;
            case '/':
                if (right == 0)
                    throw ParseFailure{index, QStringLiteral("division by zero")};
                overflow = right == -1 && value == std::numeric_limits<qint64>::min();
                if (!overflow)
                    value /= right;
                break;
            }
            if (overflow)
                Overflow(index);
        }
    }

    qint64 ParseUnary(const NameResolver &names)
    {
        size_t at = 0;
        const Token *t = Peek(&at);
        const bool sign = t && t->kind == Tok::Punct && (t->text == u'-' || t->text == u'+' || t->text == u'~');
        if (sign || (t && IsKeyword(*t, "NOT"))) {
            const Nesting nesting(*this, static_cast<int>(at));
            Advance();
            const qint64 v = ParseUnary(names);
            if (t->kind == Tok::Ident || t->text == u'~')
                return ~v;
            if (t->text == u'+')
                return v;
            if (v == std::numeric_limits<qint64>::min())
                Overflow(static_cast<int>(at));
            return -v;
        }
        return ParsePrimary(names);
    }

    qint64 ParsePrimary(const NameResolver &names)
    {
        size_t at = 0;
        const Token *t = Peek(&at);
        if (!t)
            throw ParseFailure{static_cast<int>(m_tokens.size()) - 1, QStringLiteral("the file ends inside a value")};
        const int index = static_cast<int>(at);
        if (t->kind == Tok::Number) {
            Advance();
            const std::optional<qint64> v = ParseNumber(t->text);
            if (!v)
                throw ParseFailure{index, QStringLiteral("\"%1\" is not a number (or too large for one)").arg(t->text)};
            return *v;
        }
        if (t->kind == Tok::Punct && t->text == u'(') {
            const Nesting nesting(*this, index);
            Advance();
            const qint64 v = ParseExpression(names);
            const Token *close = Peek(&at);
            if (!close || close->kind != Tok::Punct || close->text != u')')
                throw ParseFailure{close ? static_cast<int>(at) : index, QStringLiteral("a ')' is missing")};
            Advance();
            return v;
        }
        if (t->kind == Tok::Ident) {
            if (const std::optional<qint64> v = names(t->text)) {
                Advance();
                return *v;
            }
            throw ParseFailure{index,
                               QStringLiteral("\"%1\" is not defined (include the header that defines it, or give "
                                              "it with the header option)")
                                   .arg(t->text)};
        }
        if (t->kind == Tok::String)
            throw ParseFailure{index, QStringLiteral("a string stands where a number was expected")};
        throw ParseFailure{index, QStringLiteral("\"%1\" stands where a number was expected").arg(t->text)};
    }

    WindowsLanguage ParseLanguage()
    {
        Next("LANGUAGE");
        const NameResolver names = [](const QString &name) -> std::optional<qint64> {
            if (const std::optional<int> v = LanguageConstant(name))
                return *v;
            return std::nullopt;
        };
        WindowsLanguage language;
        language.primary = static_cast<int>(ParseExpression(names));
        size_t at = 0;
        const Token *comma = Peek(&at);
        if (!comma || comma->kind != Tok::Punct || comma->text != u',')
            throw ParseFailure{comma ? static_cast<int>(at) : static_cast<int>(m_tokens.size()) - 1,
                               QStringLiteral("LANGUAGE needs a language and a sub-language, separated by a comma")};
        Advance();
        language.sub = static_cast<int>(ParseExpression(names));
        return language;
    }

    void SkipBlock()
    {
        size_t openAt = 0;
        Peek(&openAt);
        int depth = 0;
        while (!AtEnd()) {
            const Token &t = m_tokens[m_pos++];
            if (IsBlockOpen(t))
                ++depth;
            else if (IsBlockClose(t) && --depth == 0)
                return;
        }
        throw ParseFailure{static_cast<int>(openAt), QStringLiteral("this block is never closed by END")};
    }

    // name TYPE [flags] ("file" | file name on the line | [statements] BEGIN ... END)
    void SkipResource()
    {
        const Token &name = Next("a resource");
        if (IsBlockClose(name))
            throw ParseFailure{static_cast<int>(m_pos) - 1, QStringLiteral("END without BEGIN")};
        const Token *type = Peek();
        if (!type)
            return;
        if (IsKeyword(*type, "STRINGTABLE") || IsKeyword(*type, "LANGUAGE"))
            return;
        Advance();
        const int typeLine = type->line;
        const int typeFile = type->file;
        while (const Token *t = Peek()) {
            if (!IsMemoryFlag(*t))
                break;
            Advance();
        }
        const Token *t = Peek();
        if (!t)
            return;
        if (t->kind == Tok::String) {
            Advance();
            return;
        }
        if (IsBlockOpen(*t)) {
            SkipBlock();
            return;
        }
        if (t->file == typeFile && t->line == typeLine && t->kind != Tok::Number && !IsOptionalStatement(*t)) {
            // A file name written without quotes runs to the end of the line.
            while (const Token *u = Peek()) {
                if (u->file != typeFile || u->line != typeLine)
                    break;
                Advance();
            }
            return;
        }
        while (const Token *u = Peek()) {
            if (IsBlockOpen(*u)) {
                SkipBlock();
                return;
            }
            if (IsKeyword(*u, "STRINGTABLE"))
                return;   // a header that never opened its block; the table is read on its own
            Advance();
        }
    }

    void ParseStringTable()
    {
        size_t tableAt = 0;
        Peek(&tableAt);
        Next("STRINGTABLE");
        std::optional<WindowsLanguage> language = m_language;
        for (;;) {
            size_t at = 0;
            const Token *t = Peek(&at);
            if (!t)
                throw ParseFailure{static_cast<int>(tableAt), QStringLiteral("STRINGTABLE has no BEGIN")};
            if (IsMemoryFlag(*t)) {
                Advance();
            } else if (IsKeyword(*t, "LANGUAGE")) {
                language = ParseLanguage();
            } else if (IsKeyword(*t, "CHARACTERISTICS") || IsKeyword(*t, "VERSION")) {
                Advance();
                ParseExpression([](const QString &) { return std::nullopt; });
            } else if (IsBlockOpen(*t)) {
                Advance();
                break;
            } else {
                throw ParseFailure{static_cast<int>(at), QStringLiteral("BEGIN was expected after STRINGTABLE, "
                                                                        "not \"%1\"").arg(t->text)};
            }
        }
        if (language)
            tableLanguages.append(*language);
        ++tables;

        for (;;) {
            size_t at = 0;
            const Token *t = Peek(&at);
            if (!t)
                throw ParseFailure{static_cast<int>(tableAt), QStringLiteral("STRINGTABLE is not closed by END")};
            if (IsBlockClose(*t)) {
                Advance();
                return;
            }
            try {
                ParseEntry();
            } catch (const ParseFailure &f) {
                Fail(f);
                RecoverAfter(f.index);
            }
        }
    }

    // The annotation that opens at index and the index of its end; -1 when none.
    int MatchingEnd(size_t index) const
    {
        int depth = 0;
        for (size_t i = index; i < m_tokens.size(); ++i) {
            if (m_tokens[i].kind == Tok::MacroBegin)
                ++depth;
            else if (m_tokens[i].kind == Tok::MacroEnd && --depth == 0)
                return static_cast<int>(i);
        }
        return -1;
    }

    // An id whose expression runs on into a later line is a stray token after the previous
    // string (its "+", say): reported where it stands, not where the reading stopped.
    qint64 ParseId(size_t idAt)
    {
        try {
            return ParseExpression([](const QString &) { return std::nullopt; });
        } catch (const ParseFailure &f) {
            const Token &first = m_tokens[idAt];
            const Token &bad = m_tokens[static_cast<size_t>(qBound(0, f.index, static_cast<int>(m_tokens.size()) - 1))];
            if (bad.file == first.file && bad.line == first.line)
                throw;
            throw ParseFailure{static_cast<int>(idAt),
                               QStringLiteral("the id starting with \"%1\" does not end on its line").arg(first.text)};
        }
    }

    void ParseEntry()
    {
        // Ends of expansions the previous entry left open do not belong to this one.
        while (!AtEnd() && m_tokens[m_pos].kind == Tok::MacroEnd)
            ++m_pos;
        const size_t start = m_pos;
        size_t idAt = 0;
        Peek(&idAt);
        const Token &first = m_tokens[idAt];

        // The id's symbol: a macro used by its name whose expansion is the whole id.
        QString symbol;
        int symbolEnd = -1;
        if (m_tokens[start].kind == Tok::MacroBegin && m_tokens[start].objectLike) {
            symbol = m_tokens[start].text;
            symbolEnd = MatchingEnd(start);
        }
        const qint64 id = ParseId(idAt);
        if (!symbol.isEmpty()) {
            size_t after = m_pos;
            while (after < m_tokens.size() && m_tokens[after].kind == Tok::MacroEnd
                   && static_cast<int>(after) < symbolEnd)
                ++after;
            if (symbolEnd < 0 || static_cast<int>(after) != symbolEnd)
                symbol.clear();
        }

        size_t at = 0;
        const Token *t = Peek(&at);
        if (t && t->kind == Tok::Punct && t->text == u',') {
            Advance();
            t = Peek(&at);
        }
        // The id as the script wrote it: its symbol, or the number.
        const QString idName = symbol.isEmpty() ? QString::number(id) : symbol;
        if (!t || t->kind != Tok::String) {
            // On a later line the string is missing from the id's line, which is where to look.
            const bool sameLine = t && t->file == first.file && t->line == first.line;
            throw ParseFailure{sameLine ? static_cast<int>(at) : static_cast<int>(idAt),
                               QStringLiteral("a string was expected after the id %1").arg(idName)};
        }
        QString text;
        while ((t = Peek(&at)) && t->kind == Tok::String) {
            QString problem;
            const std::optional<QString> part = DecodeStringLiteral(t->text, t->wide, t->codePage, &problem);
            if (!part)
                throw ParseFailure{static_cast<int>(at), problem};
            text += *part;
            Advance();
        }
        if ((t = Peek()) && t->kind == Tok::Punct && t->text == u',')
            Advance();

        const QString shown = symbol.isEmpty() ? QString::number(id) : QStringLiteral("%1 (%2)").arg(symbol).arg(id);
        if (id < 1 || id > kMaxResourceId)
            throw ParseFailure{static_cast<int>(idAt), QStringLiteral("the string id %1 is outside 1 to %2")
                                                           .arg(shown)
                                                           .arg(m_options.maximumId)};
        const auto seen = m_seen.constFind(static_cast<int>(id));
        if (seen != m_seen.cend())
            throw ParseFailure{static_cast<int>(idAt), QStringLiteral("the string id %1 is defined twice (first at %2)")
                                                           .arg(shown)
                                                           .arg(Where(*seen))};
        m_seen.insert(static_cast<int>(id), static_cast<int>(idAt));

        ImportedString s;
        s.id = static_cast<int>(id);
        s.symbol = symbol;
        s.text = text;
        const TextTraits traits = AnalyseText(text);
        s.properties = TextProperties::FromTraits(traits);
        for (const int p : traits.parameterIds)
            s.parameters.append(ParameterDefinition(p, QString(), QLatin1Char('%') + QString::number(p)));
        s.file = m_files.at(first.file);
        s.line = first.line;
        s.written = idName;
        if (id > m_options.maximumId)
            outOfRange.append(s);   // summed up at the end
        else
            strings.append(s);
    }

    const std::vector<Token> &m_tokens;
    const QStringList &m_files;
    const RcReadOptions &m_options;
    QList<Diagnostic> *m_diagnostics;
    size_t m_pos = 0;
    std::optional<WindowsLanguage> m_language;
    QHash<int, int> m_seen;   // id -> token index
    int m_depth = 0;          // nesting of the expression being read
};

// A script is text: a compiled resource file, or any file with NUL bytes outside UTF-16, is
// refused before the preprocessor sees it.
void CheckIsText(const QString &file)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        return;   // the preprocessor reports it
    const QByteArray bytes = f.readAll();
    static const QByteArray resHeader("\0\0\0\0\x20\0\0\0\xff\xff\0\0\xff\xff\0\0", 16);
    if (bytes.startsWith(resHeader))
        throw FileError(QFileInfo(file).absoluteFilePath(), 0,
                        QStringLiteral("this is a compiled resource file (.res), not a resource script"));
    if (DetectByteOrderMark(bytes) != ByteOrderMark::None && !bytes.startsWith("\xEF\xBB\xBF"))
        return;   // UTF-16 or UTF-32: NULs are part of the text
    const qsizetype nul = bytes.indexOf('\0');
    if (nul >= 0)
        throw FileError(QFileInfo(file).absoluteFilePath(), static_cast<int>(bytes.left(nul).count('\n')) + 1,
                        QStringLiteral("the file is not text: it holds a NUL byte (at byte %1)").arg(nul));
}

} // namespace

std::optional<QString> DecodeStringLiteral(const QString &body, bool wide, int codePage, QString *problem)
{
    QString out;
    out.reserve(body.size());
    QByteArray bytes;   // escaped bytes of a narrow literal, decoded together
    bool ok = true;
    auto flush = [&] {
        if (bytes.isEmpty())
            return;
        const std::optional<QString> decoded = DecodeCodePage(bytes, codePage);
        if (decoded) {
            out += *decoded;
        } else {
            ok = false;
            if (problem)
                *problem = QStringLiteral("escaped bytes are not valid text in code page %1").arg(codePage);
        }
        bytes.clear();
    };
    auto hexValue = [](QChar c) { return QStringLiteral("0123456789abcdef").indexOf(c.toLower()); };
    const qsizetype n = body.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = body.at(i);
        if (c == u'"') {
            flush();
            out += u'"';   // the second of a doubled quote
            ++i;
            continue;
        }
        if (c != u'\\' || i + 1 >= n) {
            flush();
            out += c;
            continue;
        }
        const QChar e = body.at(++i);
        switch (e.unicode()) {
        case 'n': flush(); out += u'\n'; break;
        case 'r': flush(); out += u'\r'; break;
        case 't': flush(); out += u'\t'; break;
        case 'a': flush(); out += QChar(0x08); break;   // the resource compiler's right-align mark
        case '\\': flush(); out += u'\\'; break;
        case '"': flush(); out += u'"'; break;
        case 'x':
        case 'X': {
            const int maxDigits = wide ? 4 : 2;
            int value = 0;
            int digits = 0;
            while (digits < maxDigits && i + 1 < n && hexValue(body.at(i + 1)) >= 0) {
                value = value * 16 + hexValue(body.at(++i));
                ++digits;
            }
            if (digits == 0) {
                flush();
                out += u'\\';
                out += e;
            } else if (wide) {
                out += QChar(static_cast<char16_t>(value));
            } else {
                bytes += static_cast<char>(value);
            }
            break;
        }
        default:
            if (e >= u'0' && e <= u'7') {
                int value = e.digitValue();
                for (int digits = 1; digits < 3 && i + 1 < n && body.at(i + 1) >= u'0' && body.at(i + 1) <= u'7';
                     ++digits)
                    value = value * 8 + body.at(++i).digitValue();
                if (wide) {
                    flush();
                    out += QChar(static_cast<char16_t>(value));
                } else {
                    bytes += static_cast<char>(value & 0xFF);
                }
            } else {
                flush();
                out += u'\\';   // unknown escapes stay as written
                out += e;
            }
            break;
        }
    }
    flush();
    if (!ok)
        return std::nullopt;
    return out;
}

ResourceStrings ReadResourceScript(const QString &file, const RcReadOptions &options)
{
    if (options.codePage != 0 && CodecNameOfCodePage(options.codePage).isEmpty())
        throw FileError(file, 0, QStringLiteral("unknown code page %1").arg(options.codePage));
    PreprocessOptions pre;
    pre.file = file;
    pre.includeAnywhere = options.includeAnywhere;
    pre.includeDirs = options.includeDirs;
    pre.defines = options.defines;
    pre.headers = options.headers;
    pre.multiByteEncoding = McppEncodingOfCodePage(options.codePage);

    CheckIsText(file);
    for (int attempt = 0;; ++attempt) {
        const PreprocessedScript script = Preprocess(pre);
        QList<Diagnostic> diagnostics = script.diagnostics;
        Scanner scanner(script, options.codePage, &diagnostics);
        scanner.Run();
        // A double-byte code page named in the script itself: the preprocessor must know it to
        // keep trail bytes that look like '\\' inside literals; run again telling it.
        const QByteArray wanted = McppEncodingOfCodePage(scanner.firstDoubleBytePage);
        if (attempt == 0 && !wanted.isEmpty() && wanted != pre.multiByteEncoding) {
            pre.multiByteEncoding = wanted;
            continue;
        }

        Parser parser(scanner.tokens, scanner.files, options, &diagnostics);
        if (!std::any_of(diagnostics.cbegin(), diagnostics.cend(),
                         [](const Diagnostic &d) { return d.severity == Diagnostic::Error; }))
            parser.Run();

        ResourceStrings result;
        result.file = QFileInfo(file).absoluteFilePath();
        result.strings = parser.strings;
        if (!parser.tableLanguages.isEmpty()) {
            const WindowsLanguage language = parser.tableLanguages.first();
            result.languageTag = TagOfWindowsLanguage(language);
            for (const WindowsLanguage &other : parser.tableLanguages)
                if (!(other == language)) {
                    diagnostics.append({Diagnostic::Note, result.file, 0,
                                        QStringLiteral("the string tables are in more than one language; the first "
                                                       "one's (%1) is taken as the file's")
                                            .arg(result.languageTag)});
                    break;
                }
        }
        const bool failed = std::any_of(diagnostics.cbegin(), diagnostics.cend(),
                                        [](const Diagnostic &d) { return d.severity == Diagnostic::Error; });
        if (!failed && parser.tables == 0)
            diagnostics.append({Diagnostic::Error, result.file, 0, QStringLiteral("the script defines no string table")});
        if (!parser.outOfRange.isEmpty()) {
            QStringList ids;
            for (const ImportedString &s : std::as_const(parser.outOfRange)) {
                if (ids.size() < kOutOfRangeShown)
                    ids << s.written;
                result.skipped.append({reason::kOutOfRange, s.written, s.file, s.line});
            }
            if (parser.outOfRange.size() > kOutOfRangeShown)
                ids << QStringLiteral("...");
            const ImportedString &first = parser.outOfRange.first();
            if (!options.skipOutOfRange)
                diagnostics.append({Diagnostic::Error, first.file, first.line,
                                    QStringLiteral("%1 above %2, the highest id the workspace takes: %3 "
                                                   "(--skip-out-of-range imports the others)")
                                        .arg(parser.outOfRange.size() == 1
                                                 ? QStringLiteral("1 string id is")
                                                 : QStringLiteral("%1 string ids are").arg(parser.outOfRange.size()))
                                        .arg(options.maximumId)
                                        .arg(ids.join(QLatin1String(", ")))});
        }
        if (parser.moreErrors > 0)
            diagnostics.append({Diagnostic::Error, result.file, 0, QStringLiteral("and %1 more errors").arg(parser.moreErrors)});
        for (const Diagnostic &d : diagnostics)
            if (d.severity == Diagnostic::Error)
                throw FileError(diagnostics);
        result.notes = diagnostics;
        qCDebug(lcIo) << "read" << result.strings.size() << "strings from" << file;
        return result;
    }
}

} // namespace kvedit::io
