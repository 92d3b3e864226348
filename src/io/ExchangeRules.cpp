#include "io/ExchangeRules.h"

#include "io/LanguageIds.h"
#include "server/TableSet.h"

#include "model/StandardLocale.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

namespace kvedit::io {

namespace {

// The subtags of a tag that decide whether two tags agree: its primary language and its region
// ("419", "DE"), if it states one.
std::pair<QString, QString> LanguageAndRegion(const QString &tag)
{
    const QStringList parts = QString(tag).replace(u'_', u'-').toLower().split(u'-', Qt::SkipEmptyParts);
    QString region;
    for (qsizetype i = 1; i < parts.size(); ++i) {
        const QString &p = parts.at(i);
        const bool digits = p.size() == 3 && p.at(0).isDigit();
        if ((p.size() == 2 && p.at(0).isLetter()) || digits) {
            region = p;
            break;
        }
        if (p.size() != 4)   // past the script: variants and extensions say no more about the region
            break;
    }
    return {parts.value(0), region};
}

} // namespace

bool SameLanguageTag(const QString &a, const QString &b)
{
    const auto [languageA, regionA] = LanguageAndRegion(a);
    const auto [languageB, regionB] = LanguageAndRegion(b);
    if (LanguageForTag(languageA).Value() != LanguageForTag(languageB).Value())
        return false;
    return regionA.isEmpty() || regionB.isEmpty() || regionA == regionB;
}

QString KeyOf(const ImportedString &s)
{
    return s.symbol.isEmpty() ? QString::number(s.id) : s.symbol;
}

void ApplyKey(ImportedString &s, const QString &key, int idOfSymbol)
{
    static const QRegularExpression number(QStringLiteral("^[0-9]{1,9}$"));
    static const QRegularExpression identifier(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"));
    s.id = 0;
    s.symbol.clear();
    if (number.match(key).hasMatch()) {
        s.id = key.toInt();
    } else if (identifier.match(key).hasMatch()) {
        s.symbol = key;
        s.id = idOfSymbol > 0 ? idOfSymbol : 0;
    }
}

int ResolveKeylessStrings(ResourceStrings &strings, const server::TableSet &set, bool english)
{
    const bool anyKeyless = std::any_of(strings.strings.cbegin(), strings.strings.cend(),
                                        [](const ImportedString &s) { return s.id == 0 && s.symbol.isEmpty(); });
    if (!anyKeyless)
        return 0;
    QHash<QString, QList<StringId>> idsOfText;
    for (int i = 1; i <= set.MaximumCount(); ++i) {
        const StringId id = static_cast<StringId>(i);
        if (set.HasText(id, ssEnglishDefault))
            idsOfText[set.Text(id, ssEnglishDefault)].append(id);
    }
    QSet<StringId> taken;
    QList<ImportedString> out;
    int unmatched = 0;
    for (const ImportedString &s : std::as_const(strings.strings)) {
        if (s.id != 0 || !s.symbol.isEmpty()) {
            out.append(s);
            continue;
        }
        const QList<StringId> ids = idsOfText.value(s.sourceText);
        if (english) {
            ImportedString resolved = s;
            for (const StringId id : ids)
                if (!taken.contains(id)) {
                    resolved.id = id;
                    taken.insert(id);
                    break;
                }
            out.append(resolved);
        } else if (ids.isEmpty()) {
            strings.skipped.append({QStringLiteral("unknown English text"), s.sourceText.left(40), s.file, s.line});
            ++unmatched;
        } else {
            for (const StringId id : ids) {
                ImportedString resolved = s;
                resolved.id = id;
                out.append(resolved);
            }
        }
    }
    strings.strings = out;
    return unmatched;
}

} // namespace kvedit::io
