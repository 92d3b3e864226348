#include "model/StandardLocale.h"

#include <QHash>
#include <QLocale>

namespace kvedit {

namespace {

struct Row {
    int code;
    const char *name;
    const char *value;
};

// The server's own numbering; only its codes are stable, the order carries no meaning.
constexpr Row kLanguages[] = {
    {1, "English", "en"},    {2, "German", "de"},       {3, "French", "fr"},      {4, "Spanish", "es"},
    {5, "Italian", "it"},    {6, "Dutch", "nl"},        {7, "Portuguese", "pt"},  {8, "Swedish", "sv"},
    {9, "Danish", "da"},     {10, "Norwegian", "no"},   {11, "Finnish", "fi"},    {12, "Polish", "pl"},
    {13, "Czech", "cs"},     {14, "Hungarian", "hu"},   {15, "Russian", "ru"},    {16, "Greek", "el"},
    {17, "Turkish", "tr"},   {18, "Chinese", "zh"},     {19, "Korean", "ko"},     {20, "Arabic", "ar"},
    {21, "Hebrew", "he"},    {89, "Japanese", "ja"},
};

class TableLocale final : public Locale {
public:
    kvedit::Language Language(int code) const override
    {
        for (const Row &r : kLanguages)
            if (r.code == code)
                return kvedit::Language(QString::fromLatin1(r.name), QString::fromLatin1(r.value));
        return {};
    }
};

} // namespace

LocalePtr StandardLocale()
{
    static const LocalePtr locale = std::make_shared<TableLocale>();
    return locale;
}

Language LanguageForTag(const QString &tag)
{
    const QString value = tag.section(u'-', 0, 0).section(u'_', 0, 0).toLower();
    if (value.isEmpty())
        return {};
    for (const Row &r : kLanguages)
        if (value == QLatin1String(r.value))
            return Language(QString::fromLatin1(r.name), value);
    const QLocale locale(value);
    if (locale.language() == QLocale::C)
        return Language(value, value);
    return Language(QLocale::languageToString(locale.language()), value);
}

} // namespace kvedit
