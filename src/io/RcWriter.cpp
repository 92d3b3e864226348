#include "io/RcWriter.h"

#include "io/LanguageIds.h"

#include <QRegularExpression>
#include <QSet>

namespace kvedit::io {

namespace {

bool HasLoneSurrogate(const QString &text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i;
        else if (c.isSurrogate())
            return true;
    }
    return false;
}

} // namespace

QString ResourceStringLiteral(const QString &text)
{
    // UTF-8 cannot carry a lone surrogate: such a text is written wide, with every character
    // beyond ASCII as a four-digit escape.
    const bool wide = HasLoneSurrogate(text);
    QString out = wide ? QStringLiteral("L\"") : QStringLiteral("\"");
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        switch (u) {
        case u'"': out += QLatin1String("\"\""); continue;
        case u'\\': out += QLatin1String("\\\\"); continue;
        case u'\n': out += QLatin1String("\\n"); continue;
        case u'\r': out += QLatin1String("\\r"); continue;
        case u'\t': out += QLatin1String("\\t"); continue;
        case 0x08: out += QLatin1String("\\a"); continue;
        default: break;
        }
        if (u < 0x20 || u == 0x7F) {
            // Always three octal digits, so a digit after it cannot join the escape.
            out += QStringLiteral("\\%1").arg(int(u), 3, 8, QLatin1Char('0'));
        } else if (wide && u > 0x7F) {
            out += QStringLiteral("\\x%1").arg(int(u), 4, 16, QLatin1Char('0'));
        } else {
            out += c;
        }
    }
    out += QLatin1Char('"');
    return out;
}

bool IsUsableSymbol(const QString &symbol)
{
    static const QRegularExpression identifier(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"));
    static const QSet<QString> reserved = {
        QStringLiteral("BEGIN"),       QStringLiteral("END"),      QStringLiteral("STRINGTABLE"),
        QStringLiteral("LANGUAGE"),    QStringLiteral("VERSION"),  QStringLiteral("CHARACTERISTICS"),
        QStringLiteral("NOT"),         QStringLiteral("PRELOAD"),  QStringLiteral("LOADONCALL"),
        QStringLiteral("FIXED"),       QStringLiteral("MOVEABLE"), QStringLiteral("DISCARDABLE"),
        QStringLiteral("PURE"),        QStringLiteral("IMPURE"),   QStringLiteral("SHARED"),
        QStringLiteral("NONSHARED"),   QStringLiteral("L"),        QStringLiteral("RC_INVOKED"),
        QStringLiteral("_WIN32"),
    };
    return identifier.match(symbol).hasMatch() && !reserved.contains(symbol.toUpper())
           && !symbol.startsWith(QLatin1String("__"));
}

QByteArray WriteResourceScript(const QList<ImportedString> &strings, const RcWriteOptions &options)
{
    QString out;
    out += QStringLiteral("// %1\n").arg(options.title.isEmpty() ? QStringLiteral("String table")
                                                                  : QString(options.title).replace(u'\n', u' '));
    out += QStringLiteral("// Written by kvedit as UTF-8.\n");
    out += QStringLiteral("#pragma code_page(65001)\n\n");

    // Symbols become #defines here, so the script compiles on its own and reads back with them.
    QSet<QString> defined;
    QHash<int, QString> symbols;
    for (const ImportedString &s : strings) {
        if (s.symbol.isEmpty() || !IsUsableSymbol(s.symbol) || defined.contains(s.symbol))
            continue;
        defined.insert(s.symbol);
        symbols.insert(s.id, s.symbol);
        out += QStringLiteral("#define %1 %2\n").arg(s.symbol).arg(s.id);
    }
    if (!defined.isEmpty())
        out += QLatin1Char('\n');

    const std::optional<WindowsLanguage> language = WindowsLanguageOfTag(options.languageTag);
    const WindowsLanguage lang = language.value_or(WindowsLanguage{0, 0});
    const QString names = WindowsLanguageNames(lang);
    out += QStringLiteral("LANGUAGE 0x%1, 0x%2")
               .arg(lang.primary, 2, 16, QLatin1Char('0'))
               .arg(lang.sub, 2, 16, QLatin1Char('0'));
    if (!names.isEmpty())
        out += QStringLiteral("   // %1").arg(names);
    if (!options.languageTag.isEmpty())
        out += QStringLiteral(" (%1)").arg(options.languageTag);
    out += QStringLiteral("\n\n");
    if (strings.isEmpty()) {
        // A resource compiler refuses an empty string table, and a script without any resource
        // ("no resources"): a one-byte placeholder keeps the script compiling.
        out += QStringLiteral("// The table holds no strings: there is no string table, only a placeholder.\n"
                              "KVEDIT_NO_STRINGS RCDATA { \"\\0\" }\n");
        return out.toUtf8();
    }
    out += QStringLiteral("STRINGTABLE\nBEGIN\n");
    int width = 0;
    for (const ImportedString &s : strings)
        width = qMax(width, static_cast<int>(symbols.value(s.id, QString::number(s.id)).size()));
    for (const ImportedString &s : strings) {
        const QString key = symbols.value(s.id, QString::number(s.id));
        out += QStringLiteral("    %1 %2\n").arg(key, -width).arg(ResourceStringLiteral(s.text));
    }
    out += QStringLiteral("END\n");
    return out.toUtf8();
}

} // namespace kvedit::io
