#include "checks/Checks.h"

#include <array>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kvedit::checks {

namespace {

constexpr int kMaxItems = 16;   // format items remembered per text; more are not compared

// A printf-style conversion: the whole specifier and its kind (length modifier and conversion).
struct PrintfItem {
    int pos, len, kindPos, kindLen;
};

// An indexed item ("{0}", "{1:N2}"): its number and the format after ':' or ','.
struct IndexedItem {
    int number, pos, len, formatPos, formatLen;
};

// Everything the rules read of one text, gathered in one pass.
struct Scan {
    quint16 placeholders = 0;                 // bit n: %n occurs (n = 1..9)
    // Read only where a bit or count says they were written.
    std::array<int, 10> placeholderPos;       // first occurrence of %n
    std::array<int, 10> placeholderLen;  
    std::array<int, 10> formatPos;            // %n!fmt!: the fmt of the first occurrence
    std::array<int, 10> formatLen;            // -1: written without one
    std::array<PrintfItem, kMaxItems> printfItems;   // the first printfCount
    int printfCount = 0;
    int percentLiterals = 0;                  // "%%"
    int lonePercent = -1;                     // a '%' that starts nothing
    std::array<IndexedItem, kMaxItems> braces;
    int braceCount = 0;
    int markers = 0;                          // '&' shortcut markers ("&&" is an ampersand)
    int firstMarker = -1, secondMarker = -1;
    int trailingAmpersand = -1;
    int newlines = 0, firstNewline = -1;
    int tabs = 0, firstTab = -1;
    int leading = 0, trailing = 0;            // blanks
    int doubled = -1;                         // two blanks inside a line
    int width = 0;                            // display width without markers; wide characters count 2

    bool PrintfStyle() const { return printfCount > 0 || percentLiterals > 0; }
};

bool IsBlank(char16_t c) { return c == u' ' || c == 0x00A0 || c == 0x3000; }

bool IsWide(char16_t c)
{
    return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3)
           || (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFF60)
           || (c >= 0xFFE0 && c <= 0xFFE6);
}

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// A printf conversion starting after the '%' at p; its end, or -1 when there is none.
// Flags exclude the blank, so "50 % off" stays text.
int ParsePrintf(const char16_t *d, int n, int p, int *kindPos)
{
    while (p < n && (d[p] == u'-' || d[p] == u'+' || d[p] == u'#' || d[p] == u'0'))
        ++p;
    if (p < n && d[p] == u'*')
        ++p;
    else
        while (p < n && IsDigit(d[p]))
            ++p;
    if (p < n && d[p] == u'.') {
        ++p;
        if (p < n && d[p] == u'*')
            ++p;
        else
            while (p < n && IsDigit(d[p]))
                ++p;
    }
    *kindPos = p;
    static constexpr const char16_t *kLengths[] = {u"hh", u"ll", u"I64", u"I32", u"h", u"l", u"L", u"I", u"z", u"j", u"t", u"w"};
    for (const char16_t *length : kLengths) {
        int k = 0;
        while (length[k] && p + k < n && d[p + k] == length[k])
            ++k;
        if (!length[k]) {
            p += k;
            break;
        }
    }
    if (p >= n)
        return -1;
    static constexpr char16_t kConversions[] = u"diouxXeEfFgGaAcCsSpn";
    for (const char16_t c : kConversions)
        if (c && d[p] == c)
            return p + 1;
    return -1;
}

// ASCII by what the scan does with it: 1 a letter, 2 a character with a case of its own below,
// 0 anything else.
constexpr std::array<quint8, 128> kAscii = [] {
    std::array<quint8, 128> a{};
    for (int c = 'a'; c <= 'z'; ++c)
        a[static_cast<size_t>(c)] = a[static_cast<size_t>(c - 'a' + 'A')] = 1;
    for (const char c : {'%', '{', '&', '\n', '\t', ' '})
        a[static_cast<size_t>(c)] = 2;
    return a;
}();

// Most characters are plain ASCII and need no more than the table look-up.
Scan ScanText(const QString &text)
{
    Scan s;
    const char16_t *d = reinterpret_cast<const char16_t *>(text.constData());
    const int n = static_cast<int>(text.size());
    while (s.leading < n && IsBlank(d[s.leading]))
        ++s.leading;
    while (s.trailing < n - s.leading && IsBlank(d[n - 1 - s.trailing]))
        ++s.trailing;

    int extraWidth = 0;   // the width is the length, plus or minus these
    int i = 0;
    // One character, or one item that starts at it; i moves past it.
    const auto step = [&] {
        const char16_t c = d[i];
        if (c < 0x80) {
            const quint8 kind = kAscii[c];
            if (kind != 2) {
                ++i;
                return;
            }
        } else {
            if (c >= 0xDC00 && c <= 0xDFFF)   // a surrogate pair is one character
                --extraWidth;
            else if (IsWide(c))
                ++extraWidth;
            ++i;
            return;
        }
        switch (c) {
        case u'%': {
            if (i + 1 < n && d[i + 1] == u'%') {
                ++s.percentLiterals;
                --extraWidth;
                i += 2;
                return;
            }
            if (i + 1 < n && d[i + 1] >= u'1' && d[i + 1] <= u'9') {
                const int k = d[i + 1] - u'0';
                int len = 2;
                int formatPos = -1, formatLen = -1;
                if (i + 2 < n && d[i + 2] == u'!') {
                    int j = i + 3;
                    while (j < n && j < i + 16 && d[j] != u'!' && !IsBlank(d[j]))
                        ++j;
                    if (j < n && d[j] == u'!') {
                        formatPos = i + 3;
                        formatLen = j - formatPos;
                        len = j + 1 - i;
                    }
                }
                if (!(s.placeholders & (1u << k))) {   // the first occurrence
                    s.placeholders |= static_cast<quint16>(1u << k);
                    s.placeholderPos[k] = i;
                    s.placeholderLen[k] = len;
                    s.formatPos[k] = formatPos;
                    s.formatLen[k] = formatLen;
                }
                i += len;
                return;
            }
            int kindPos = 0;
            const int end = ParsePrintf(d, n, i + 1, &kindPos);
            if (end < 0) {
                if (s.lonePercent < 0)
                    s.lonePercent = i;
                break;
            }
            if (s.printfCount < kMaxItems)
                s.printfItems[s.printfCount] = {i, end - i, kindPos, end - kindPos};
            ++s.printfCount;
            i = end;
            return;
        }
        case u'{': {
            if (i + 1 < n && d[i + 1] == u'{') {
                --extraWidth;
                i += 2;
                return;
            }
            int j = i + 1;
            while (j < n && IsDigit(d[j]))
                ++j;
            if (j == i + 1 || j >= n)
                break;
            int formatPos = j, formatLen = 0;
            if (d[j] == u':' || d[j] == u',') {
                int k = j + 1;
                while (k < n && d[k] != u'}' && d[k] != u'{')
                    ++k;
                formatLen = k - j;
                j = k;
            }
            if (j >= n || d[j] != u'}')
                break;
            if (s.braceCount < kMaxItems)
                s.braces[s.braceCount] = {QStringView(d + i + 1, d + formatPos).toInt(), i, j + 1 - i, formatPos, formatLen};
            ++s.braceCount;
            i = j + 1;
            return;
        }
        case u'&':
            if (i + 1 >= n) {
                s.trailingAmpersand = i;
            } else if (d[i + 1] == u'&') {
                --extraWidth;
                i += 2;
                return;
            } else {
                if (s.markers == 0)
                    s.firstMarker = i;
                else if (s.markers == 1)
                    s.secondMarker = i;
                ++s.markers;
                --extraWidth;   // the marker itself is not shown
                ++i;
                return;
            }
            break;
        case u'\n':
            if (s.newlines++ == 0)
                s.firstNewline = i;
            break;
        case u'\t':
            if (s.tabs++ == 0)
                s.firstTab = i;
            break;
        case u' ':
            if (s.doubled < 0 && i + 1 < n && d[i + 1] == u' ' && i >= s.leading && i > 0 && d[i - 1] != u'\n') {
                int j = i;
                while (j < n && d[j] == u' ')
                    ++j;
                if (j < n - s.trailing && d[j] != u'\n')
                    s.doubled = i;
            }
            break;
        default:
            break;
        }
        ++i;
    };

    while (i < n) {
#if defined(__SSE2__)
        // Eight plain characters at a time: no special character, nothing beyond ASCII and no
        // doubled blank (the second load is the same text one character on).
        if (i + 9 <= n) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(d + i));
            const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i *>(d + i + 1));
            __m128i m = _mm_or_si128(_mm_cmpeq_epi16(v, _mm_set1_epi16('\t')), _mm_cmpeq_epi16(v, _mm_set1_epi16('\n')));
            m = _mm_or_si128(m, _mm_cmpeq_epi16(v, _mm_set1_epi16('%')));
            m = _mm_or_si128(m, _mm_cmpeq_epi16(v, _mm_set1_epi16('&')));
            m = _mm_or_si128(m, _mm_cmpeq_epi16(v, _mm_set1_epi16('{')));
            m = _mm_or_si128(m, _mm_and_si128(_mm_cmpeq_epi16(v, _mm_set1_epi16(' ')), _mm_cmpeq_epi16(w, _mm_set1_epi16(' '))));
            const __m128i beyond = _mm_andnot_si128(_mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(static_cast<short>(0xFF80))),
                                                                    _mm_setzero_si128()),
                                                    _mm_set1_epi16(-1));
            const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(m, beyond)));
            if (mask == 0) {
                i += 8;
                continue;
            }
            i += std::countr_zero(mask) / 2;   // to the first character that needs a look
            step();
            continue;
        }
#endif
        step();
    }
    s.width = n + extraWidth;
    return s;
}

// How a text ends, full-width forms taken as their own kind.
enum class Ending { None, Period, Ellipsis, Colon, Question, Exclamation };

struct EndingAt {
    Ending kind = Ending::None;
    int pos = -1, len = 0;
};

// The ending of text[0, end) after its trailing blanks.
EndingAt EndingOf(const QString &text, int end)
{
    const char16_t *d = reinterpret_cast<const char16_t *>(text.constData());
    while (end > 0 && IsBlank(d[end - 1]))
        --end;
    if (end == 0)
        return {};
    const char16_t c = d[end - 1];
    const auto run = [&](char16_t ch) {
        int k = end;
        while (k > 0 && d[k - 1] == ch)
            --k;
        return end - k;
    };
    if (c == 0x2026 || c == 0x2025)
        return {Ending::Ellipsis, end - 1, 1};
    if ((c == u'.' || c == 0x30FB) && run(c) >= 3)
        return {Ending::Ellipsis, end - 3, 3};
    switch (c) {
    case u'.': case 0x3002: case 0xFF0E: case 0xFF61: return {Ending::Period, end - 1, 1};
    case u':': case 0xFF1A: return {Ending::Colon, end - 1, 1};
    case u'?': case 0xFF1F: return {Ending::Question, end - 1, 1};
    case u'!': case 0xFF01: return {Ending::Exclamation, end - 1, 1};
    default: return {};
    }
}

// A message put together in one allocation: a table of machine translations can have thousands.
QString Join(std::initializer_list<QStringView> parts)
{
    qsizetype size = 0;
    for (const QStringView part : parts)
        size += part.size();
    QString out;
    out.reserve(size);
    for (const QStringView part : parts)
        out.append(part);
    return out;
}

} // namespace

// What one rule sees: the text it checks (a translation, or an English text alone) and, for a
// translation, the English original.
struct Context {
    const StringValues &checked;
    const Scan &scan;
    const StringValues *english;   // null for an English text alone
    const Scan *englishScan;
    const Rule *rule = nullptr;
    Problems *out = nullptr;

    QString Subject() const { return english ? QStringLiteral("the translation") : QStringLiteral("the text"); }
    QStringView Span(int pos, int len) const { return QStringView(checked.text).mid(pos, len); }
    void Add(QString message, int start = -1, int length = 0) const
    {
        out->append(Problem{RuleId(*rule), rule->severity, std::move(message), start, length});
    }
};

namespace {

void CheckPlaceholders(Context &c)
{
    const Scan &e = *c.englishScan;
    const Scan &t = c.scan;
    const QStringView et(c.english->text);
    const QStringView tt(c.checked.text);
    for (int k = 1; k <= 9; ++k) {
        const quint16 bit = static_cast<quint16>(1u << k);
        if ((e.placeholders & bit) && !(t.placeholders & bit))
            c.Add(Join({u"the translation lacks ", et.mid(e.placeholderPos[k], 2)}));
        else if (!(e.placeholders & bit) && (t.placeholders & bit))
            c.Add(Join({u"the translation has ", tt.mid(t.placeholderPos[k], 2), u", which the English text lacks"}), t.placeholderPos[k],
                  t.placeholderLen[k]);
    }
}

void CheckParameters(Context &c)
{
    quint16 defined = 0;
    for (const int number : c.checked.parameters)
        if (number >= 1 && number <= 9)
            defined |= static_cast<quint16>(1u << number);
    const Scan &s = c.scan;
    for (int k = 1; k <= 9; ++k) {
        const quint16 bit = static_cast<quint16>(1u << k);
        if ((s.placeholders & bit) && !(defined & bit))
            c.Add(QStringLiteral("%%1 has no parameter definition").arg(k), s.placeholderPos[k], s.placeholderLen[k]);
        else if (!(s.placeholders & bit) && (defined & bit))
            c.Add(QStringLiteral("parameter %1 is defined, but the text does not use %%1").arg(k));
    }
}

void CheckFormats(Context &c)
{
    const Scan &e = *c.englishScan;
    const Scan &t = c.scan;
    const QStringView et(c.english->text);
    const QStringView tt(c.checked.text);

    // %1!d!: the same format wherever both texts use the placeholder.
    for (int k = 1; k <= 9; ++k) {
        const quint16 bit = static_cast<quint16>(1u << k);
        if (!(e.placeholders & bit) || !(t.placeholders & bit))
            continue;
        const QStringView ef = e.formatLen[k] < 0 ? QStringView() : et.mid(e.formatPos[k], e.formatLen[k]);
        const QStringView tf = t.formatLen[k] < 0 ? QStringView() : tt.mid(t.formatPos[k], t.formatLen[k]);
        if (ef != tf)
            c.Add(QStringLiteral("the translation writes %1 where the English text writes %2")
                      .arg(tt.mid(t.placeholderPos[k], t.placeholderLen[k]), et.mid(e.placeholderPos[k], e.placeholderLen[k])),
                  t.placeholderPos[k], t.placeholderLen[k]);
    }

    // {0}-style: the same items, in any order.
    if (e.braceCount || t.braceCount) {
        const int en = qMin(e.braceCount, kMaxItems), tn = qMin(t.braceCount, kMaxItems);
        std::array<bool, kMaxItems> used{};
        const auto same = [&](const IndexedItem &a, const IndexedItem &b) {
            return a.number == b.number && et.mid(a.formatPos, a.formatLen) == tt.mid(b.formatPos, b.formatLen);
        };
        for (int i = 0; i < en; ++i) {
            int match = -1;
            for (int j = 0; j < tn && match < 0; ++j)
                if (!used[j] && same(e.braces[i], t.braces[j]))
                    match = j;
            if (match >= 0)
                used[match] = true;
            else
                c.Add(QStringLiteral("the translation lacks %1").arg(et.mid(e.braces[i].pos, e.braces[i].len)));
        }
        for (int j = 0; j < tn; ++j)
            if (!used[j])
                c.Add(QStringLiteral("the translation has %1, which the English text lacks").arg(tt.mid(t.braces[j].pos, t.braces[j].len)),
                      t.braces[j].pos, t.braces[j].len);
    }

    // printf-style: the same kinds in the same order, and no lone '%', when the English text is
    // a printf format at all (otherwise a '%' in it is plain text).
    if (!e.PrintfStyle())
        return;
    const auto kind = [](QStringView text, const PrintfItem &item) {
        const QStringView k = text.mid(item.kindPos, item.kindLen);
        return k == u"i" ? QStringView(u"d") : k;   // %i and %d read the same argument
    };
    const int en = qMin(e.printfCount, kMaxItems), tn = qMin(t.printfCount, kMaxItems);
    for (int i = 0; i < qMin(en, tn); ++i) {
        if (kind(et, e.printfItems[i]) != kind(tt, t.printfItems[i]))
            c.Add(QStringLiteral("the translation has %1 where the English text has %2")
                      .arg(tt.mid(t.printfItems[i].pos, t.printfItems[i].len), et.mid(e.printfItems[i].pos, e.printfItems[i].len)),
                  t.printfItems[i].pos, t.printfItems[i].len);
    }
    for (int i = tn; i < en; ++i)
        c.Add(QStringLiteral("the translation lacks %1").arg(et.mid(e.printfItems[i].pos, e.printfItems[i].len)));
    for (int i = en; i < tn; ++i)
        c.Add(QStringLiteral("the translation has %1, which the English text lacks").arg(tt.mid(t.printfItems[i].pos, t.printfItems[i].len)),
              t.printfItems[i].pos, t.printfItems[i].len);
    if (t.lonePercent >= 0)
        c.Add(QStringLiteral("a '%' that starts no format; a printf-style text writes '%%'"), t.lonePercent, 1);
}

bool HasShortcut(const StringValues &v, const Scan &s)
{
    return s.markers > 0 || (v.allowShortcut && v.shortcutMode >= 2 && !v.shortcutCharacter.isEmpty());
}

void CheckShortcut(Context &c)
{
    const StringValues &v = c.checked;
    const Scan &s = c.scan;
    if (s.trailingAmpersand >= 0)
        c.Add(QStringLiteral("a '&' at the end marks nothing; an ampersand is written '&&'"), s.trailingAmpersand, 1);
    bool reported = false;
    if (!v.allowShortcut) {
        if (s.markers > 0) {
            c.Add(QStringLiteral("'&' marks a shortcut, but Allow Shortcut is off"), s.firstMarker, 2);
            reported = true;
        }
    } else if (v.shortcutMode >= 2) {
        if (s.markers > 0) {
            c.Add(QStringLiteral("'&' marks a shortcut, but in shortcut mode %1 the program places it").arg(v.shortcutMode),
                  s.firstMarker, 2);
            reported = true;
        }
        if (v.shortcutMode == 2 && !v.shortcutCharacter.isEmpty()
            && !v.text.contains(v.shortcutCharacter, Qt::CaseInsensitive)) {
            c.Add(QStringLiteral("the shortcut character %1 does not occur in %2").arg(v.shortcutCharacter, c.Subject()));
            reported = true;
        }
    } else if (s.markers == 0) {
        c.Add(QStringLiteral("no '&' marks the shortcut, but Allow Shortcut is on"));
        reported = true;
    } else if (s.markers > 1) {
        c.Add(QStringLiteral("%1 '&' markers; a text has one shortcut, and an ampersand is written '&&'").arg(s.markers),
              s.secondMarker, 2);
        reported = true;
    } else if (!v.shortcutCharacter.isEmpty()
               && QChar(v.text.at(s.firstMarker + 1)).toUpper() != v.shortcutCharacter.at(0).toUpper()) {
        c.Add(QStringLiteral("'&' marks %1, but the shortcut character is %2")
                  .arg(QString(v.text.at(s.firstMarker + 1)), v.shortcutCharacter),
              s.firstMarker, 2);
        reported = true;
    }
    if (!c.english || reported)
        return;
    const bool englishHas = HasShortcut(*c.english, *c.englishScan);
    const bool translationHas = HasShortcut(v, s);
    if (englishHas && !translationHas)
        c.Add(QStringLiteral("the English text has a shortcut, the translation none"));
    else if (!englishHas && translationHas)
        c.Add(QStringLiteral("the translation has a shortcut, the English text none"),
              s.firstMarker, s.firstMarker >= 0 ? 2 : 0);
}

void CheckLineBreaks(Context &c)
{
    if (!c.checked.multipleLines && c.scan.newlines > 0)
        c.Add(QStringLiteral("a line break in a single-line string"), c.scan.firstNewline, 1);
}

void CheckTabs(Context &c)
{
    if (!c.checked.allowTab && c.scan.tabs > 0)
        c.Add(QStringLiteral("a tab, and the string allows no tabs"), c.scan.firstTab, 1);
}

void CheckLineCount(Context &c)
{
    const Scan &e = *c.englishScan;
    const Scan &t = c.scan;
    if (e.newlines == t.newlines || (!c.checked.multipleLines && t.newlines > 0))
        return;   // a break where none may be is the line-breaks rule's
    c.Add(Join({u"the translation has ", QString::number(t.newlines), u" line break(s), the English text ",
               QString::number(e.newlines)}),
          t.firstNewline, t.firstNewline >= 0 ? 1 : 0);
}

void CheckWhitespace(Context &c)
{
    const Scan &s = c.scan;
    const int n = static_cast<int>(c.checked.text.size());
    if (c.english) {
        const Scan &e = *c.englishScan;
        if (s.leading != e.leading)
            c.Add(QStringLiteral("the translation starts with %1 blank(s), the English text with %2").arg(s.leading).arg(e.leading),
                  0, s.leading);
        if (s.trailing != e.trailing && s.leading < n)
            c.Add(QStringLiteral("the translation ends with %1 blank(s), the English text with %2").arg(s.trailing).arg(e.trailing),
                  n - s.trailing, s.trailing);
        if (s.doubled >= 0 && e.doubled < 0)
            c.Add(QStringLiteral("a doubled blank"), s.doubled, 2);
    } else if (s.doubled >= 0) {
        c.Add(QStringLiteral("a doubled blank"), s.doubled, 2);
    }
}

void CompareEndings(Context &c, int englishEnd, int translationEnd, QStringView where)
{
    const QString &et = c.english->text;
    const QString &tt = c.checked.text;
    const EndingAt e = EndingOf(et, englishEnd);
    const EndingAt t = EndingOf(tt, translationEnd);
    if (e.kind == t.kind)
        return;
    const QStringView te = QStringView(tt).mid(t.pos, t.len);
    const QStringView ee = QStringView(et).mid(e.pos, e.len);
    if (e.kind == Ending::None)
        c.Add(Join({u"the translation", where, u" ends with \"", te, u"\", the English text without"}), t.pos, t.len);
    else if (t.kind == Ending::None)
        c.Add(Join({u"the translation", where, u" ends without the English text's \"", ee, u"\""}));
    else
        c.Add(Join({u"the translation", where, u" ends with \"", te, u"\", the English text with \"", ee, u"\""}), t.pos, t.len);
}

void CheckPunctuation(Context &c)
{
    const QString &et = c.english->text;
    const QString &tt = c.checked.text;
    CompareEndings(c, static_cast<int>(et.size()), static_cast<int>(tt.size()), {});
    // A menu caption with its key after a tab ("&Open...\tCtrl+O"): the caption's ending too.
    if (c.englishScan->tabs > 0 && c.scan.tabs > 0 && c.englishScan->newlines == 0 && c.scan.newlines == 0)
        CompareEndings(c, static_cast<int>(et.indexOf(u'\t')), static_cast<int>(tt.indexOf(u'\t')),
                       u" before its tab");
}

// Long enough that a translator would have changed something: three words and ten letters.
// Asked only of the few texts another test has singled out.
bool NonTrivial(const QString &text)
{
    int words = 0, letters = 0;
    bool inWord = false;
    for (const QChar c : text) {
        const bool letter = c.isLetter();
        letters += letter;
        words += letter && !inWord;
        inWord = letter;
        if (words >= 3 && letters >= 10)
            return true;
    }
    return false;
}

void CheckIdentical(Context &c)
{
    if (c.checked.text == c.english->text && NonTrivial(c.english->text))
        c.Add(QStringLiteral("the translation is the English text itself"));
}

void CheckLength(Context &c)
{
    const int e = c.englishScan->width;
    const int t = c.scan.width;
    if ((t <= 3 * e && 3 * t >= e) || !NonTrivial(c.english->text))
        return;
    c.Add(Join({u"the translation is ", QString::number(t), u" characters wide, the English text ", QString::number(e)}));
}

// One table: what runs, in the order problems are reported.
constexpr Rule kRules[] = {
    {"placeholders", Severity::Error, Scope::Translation, "%1 to %9 of the English text, each in the translation", CheckPlaceholders},
    {"parameters", Severity::Error, Scope::English, "every placeholder has a parameter definition, every definition is used", CheckParameters},
    {"formats", Severity::Error, Scope::Translation,
     "printf-style specifiers of the same kinds in the same order; {0}- and %1!d!-style alike", CheckFormats},
    {"shortcut", Severity::Error, Scope::Both, "'&' markers agree with Allow Shortcut, the shortcut character and the English text",
     CheckShortcut},
    {"shortcut-clash", Severity::Warning, Scope::Table, "no two strings of a group share a shortcut character", nullptr},
    {"line-breaks", Severity::Error, Scope::Both, "no line break in a single-line string", CheckLineBreaks},
    {"tabs", Severity::Error, Scope::Both, "no tab where tabs are not allowed", CheckTabs},
    {"line-count", Severity::Warning, Scope::Translation, "as many line breaks as the English text", CheckLineCount},
    {"whitespace", Severity::Warning, Scope::Both, "leading and trailing blanks as in the English text; no doubled blanks",
     CheckWhitespace},
    {"punctuation", Severity::Warning, Scope::Translation, "the ending punctuation of the English text (full-width forms alike)",
     CheckPunctuation},
    {"identical", Severity::Warning, Scope::Translation, "not the English text itself (three words or more)", CheckIdentical},
    {"length", Severity::Warning, Scope::Translation, "a third to three times as wide as the English text (three words or more)",
     CheckLength},
};
static_assert(std::size(kRules) <= 32, "RuleSet keeps one bit per rule");

} // namespace

// The rule's id as a QString made once, so that a problem costs no copy of it.
QString RuleId(const Rule &rule)
{
    static const QStringList ids = [] {
        QStringList list;
        for (const Rule &r : kRules)
            list.append(QString::fromLatin1(r.id));
        return list;
    }();
    const auto index = &rule - kRules;
    return index >= 0 && index < static_cast<qsizetype>(std::size(kRules)) ? ids.at(index) : QString::fromLatin1(rule.id);
}

namespace {

Problems Run(const StringValues &checked, const StringValues *english, const RuleSet &rules)
{
    Problems out;
    if (checked.text.isEmpty() || (english && english->text.isEmpty()))
        return out;
    const Scan scan = ScanText(checked.text);
    Scan englishScan;
    if (english)
        englishScan = ScanText(english->text);
    Context c{checked, scan, english, english ? &englishScan : nullptr};
    c.out = &out;
    for (int i = 0; i < static_cast<int>(std::size(kRules)); ++i) {
        const Rule &rule = kRules[i];
        if (!rule.check || !rules.Contains(i))
            continue;
        const bool applies = rule.scope == Scope::Both || (english ? rule.scope == Scope::Translation : rule.scope == Scope::English);
        if (!applies)
            continue;
        c.rule = &rule;
        rule.check(c);
    }
    return out;
}

} // namespace

QString SeverityName(Severity severity)
{
    return severity == Severity::Error ? QStringLiteral("error") : QStringLiteral("warning");
}

std::span<const Rule> Rules()
{
    return kRules;
}

int RuleIndex(QStringView id)
{
    for (int i = 0; i < static_cast<int>(std::size(kRules)); ++i)
        if (id == QLatin1StringView(kRules[i].id))
            return i;
    return -1;
}

RuleSet RuleSet::All()
{
    return RuleSet(std::size(kRules) == 32 ? ~0u : (1u << std::size(kRules)) - 1);
}

RuleSet RuleSet::AllBut(const QStringList &disabledIds, QStringList *unknown)
{
    RuleSet set = All();
    for (const QString &id : disabledIds)
        if (!set.Set(id, false) && unknown)
            unknown->append(id);
    return set;
}

void RuleSet::Set(int index, bool on)
{
    if (index < 0 || index >= static_cast<int>(std::size(kRules)))
        return;
    if (on)
        m_bits |= 1u << index;
    else
        m_bits &= ~(1u << index);
}

bool RuleSet::Set(QStringView id, bool on)
{
    const int index = RuleIndex(id);
    Set(index, on);
    return index >= 0;
}

QStringList RuleSet::Ids() const
{
    QStringList ids;
    for (int i = 0; i < static_cast<int>(std::size(kRules)); ++i)
        if (Contains(i))
            ids.append(QString::fromLatin1(kRules[i].id));
    return ids;
}

QStringList RuleSet::DisabledIds() const
{
    QStringList ids;
    for (int i = 0; i < static_cast<int>(std::size(kRules)); ++i)
        if (!Contains(i))
            ids.append(QString::fromLatin1(kRules[i].id));
    return ids;
}

StringValues StringValues::Of(EntryValues values)
{
    StringValues v;
    v.text = std::move(values.text);
    v.allowShortcut = values.properties & tpAllowShortcut;
    v.multipleLines = values.properties & tpMultipleLines;
    v.allowTab = values.properties & tpAllowTab;
    v.shortcutCharacter = std::move(values.shortcutCharacter);
    v.shortcutMode = values.shortcutMode;
    v.description = std::move(values.description);
    return v;
}

StringValues StringValues::Of(const StringEntry &entry, bool withParameters)
{
    StringValues v;
    v.text = entry.Text();
    v.allowShortcut = entry.Property(tpAllowShortcut);
    v.multipleLines = entry.Property(tpMultipleLines);
    v.allowTab = entry.Property(tpAllowTab);
    v.shortcutCharacter = entry.ShortcutCharacter();
    v.shortcutMode = entry.ShortcutMode();
    v.description = entry.EntryText();
    if (withParameters)
        if (const ParameterDefinitionsPtr parameters = entry.ParameterDefinitions())
            for (int i = 0, n = parameters->Count(); i < n; ++i)
                v.parameters.append(parameters->Item(i).Id());
    return v;
}

Problems Check(const StringValues &english, const StringValues &translation, const RuleSet &rules)
{
    return Run(translation, &english, rules);
}

Problems Check(const StringEntry &english, const StringEntry &translation, const RuleSet &rules)
{
    return Check(StringValues::Of(english, false), StringValues::Of(translation, false), rules);
}

Problems CheckEnglish(const StringValues &english, const RuleSet &rules)
{
    return Run(english, nullptr, rules);
}

Problems CheckEnglish(const StringEntry &english, const RuleSet &rules)
{
    return CheckEnglish(StringValues::Of(english), rules);
}

QChar ShortcutKey(const StringValues &values, int *position)
{
    if (position)
        *position = -1;
    const QString &t = values.text;
    int marker = -1;
    for (int i = t.indexOf(u'&'); i >= 0 && i + 1 < t.size(); i = t.indexOf(u'&', i + 2)) {
        if (t.at(i + 1) == u'&')
            continue;
        if (marker >= 0)
            return {};   // two markers: no one key
        marker = i;
    }
    if (marker >= 0) {
        if (position)
            *position = marker;
        return t.at(marker + 1).toUpper();
    }
    if (values.allowShortcut && values.shortcutMode >= 2 && !values.shortcutCharacter.isEmpty())
        return values.shortcutCharacter.at(0).toUpper();
    return {};
}

QStringView GroupLabel(const QString &description)
{
    const qsizetype colon = description.indexOf(u':');
    return colon <= 0 ? QStringView() : QStringView(description).left(colon).trimmed();
}

QString Describe(const Problem &problem)
{
    return SeverityName(problem.severity) + QStringLiteral(" [") + problem.rule + QStringLiteral("]: ") + problem.message;
}

} // namespace kvedit::checks
