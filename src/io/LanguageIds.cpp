#include "io/LanguageIds.h"

#include <QHash>

namespace kvedit::io {

namespace {

struct Primary {
    const char *name;
    int value;
    const char *tag;
};

// The primary languages of the system headers, with the tag each stands for.
constexpr Primary kPrimaries[] = {
    {"LANG_NEUTRAL", 0x00, ""},        {"LANG_ARABIC", 0x01, "ar"},      {"LANG_BULGARIAN", 0x02, "bg"},
    {"LANG_CATALAN", 0x03, "ca"},      {"LANG_CHINESE", 0x04, "zh"},     {"LANG_CZECH", 0x05, "cs"},
    {"LANG_DANISH", 0x06, "da"},       {"LANG_GERMAN", 0x07, "de"},      {"LANG_GREEK", 0x08, "el"},
    {"LANG_ENGLISH", 0x09, "en"},      {"LANG_SPANISH", 0x0a, "es"},     {"LANG_FINNISH", 0x0b, "fi"},
    {"LANG_FRENCH", 0x0c, "fr"},       {"LANG_HEBREW", 0x0d, "he"},      {"LANG_HUNGARIAN", 0x0e, "hu"},
    {"LANG_ICELANDIC", 0x0f, "is"},    {"LANG_ITALIAN", 0x10, "it"},     {"LANG_JAPANESE", 0x11, "ja"},
    {"LANG_KOREAN", 0x12, "ko"},       {"LANG_DUTCH", 0x13, "nl"},       {"LANG_NORWEGIAN", 0x14, "nb"},
    {"LANG_POLISH", 0x15, "pl"},       {"LANG_PORTUGUESE", 0x16, "pt"},  {"LANG_ROMANSH", 0x17, "rm"},
    {"LANG_ROMANIAN", 0x18, "ro"},     {"LANG_RUSSIAN", 0x19, "ru"},     {"LANG_CROATIAN", 0x1a, "hr"},
    {"LANG_SLOVAK", 0x1b, "sk"},       {"LANG_ALBANIAN", 0x1c, "sq"},    {"LANG_SWEDISH", 0x1d, "sv"},
    {"LANG_THAI", 0x1e, "th"},         {"LANG_TURKISH", 0x1f, "tr"},     {"LANG_URDU", 0x20, "ur"},
    {"LANG_INDONESIAN", 0x21, "id"},   {"LANG_UKRAINIAN", 0x22, "uk"},   {"LANG_BELARUSIAN", 0x23, "be"},
    {"LANG_SLOVENIAN", 0x24, "sl"},    {"LANG_ESTONIAN", 0x25, "et"},    {"LANG_LATVIAN", 0x26, "lv"},
    {"LANG_LITHUANIAN", 0x27, "lt"},   {"LANG_TAJIK", 0x28, "tg"},       {"LANG_FARSI", 0x29, "fa"},
    {"LANG_PERSIAN", 0x29, "fa"},      {"LANG_VIETNAMESE", 0x2a, "vi"},  {"LANG_ARMENIAN", 0x2b, "hy"},
    {"LANG_AZERI", 0x2c, "az"},        {"LANG_BASQUE", 0x2d, "eu"},      {"LANG_MACEDONIAN", 0x2f, "mk"},
    {"LANG_AFRIKAANS", 0x36, "af"},    {"LANG_GEORGIAN", 0x37, "ka"},    {"LANG_FAEROESE", 0x38, "fo"},
    {"LANG_HINDI", 0x39, "hi"},        {"LANG_MALTESE", 0x3a, "mt"},     {"LANG_IRISH", 0x3c, "ga"},
    {"LANG_MALAY", 0x3e, "ms"},        {"LANG_KAZAK", 0x3f, "kk"},       {"LANG_SWAHILI", 0x41, "sw"},
    {"LANG_UZBEK", 0x43, "uz"},        {"LANG_TATAR", 0x44, "tt"},       {"LANG_BENGALI", 0x45, "bn"},
    {"LANG_PUNJABI", 0x46, "pa"},      {"LANG_GUJARATI", 0x47, "gu"},    {"LANG_TAMIL", 0x49, "ta"},
    {"LANG_TELUGU", 0x4a, "te"},       {"LANG_KANNADA", 0x4b, "kn"},     {"LANG_MALAYALAM", 0x4c, "ml"},
    {"LANG_MARATHI", 0x4e, "mr"},      {"LANG_MONGOLIAN", 0x50, "mn"},   {"LANG_WELSH", 0x52, "cy"},
    {"LANG_KHMER", 0x53, "km"},        {"LANG_LAO", 0x54, "lo"},         {"LANG_GALICIAN", 0x56, "gl"},
    {"LANG_SINHALESE", 0x5b, "si"},    {"LANG_NEPALI", 0x61, "ne"},      {"LANG_FILIPINO", 0x64, "fil"},
    {"LANG_INVARIANT", 0x7f, ""},
};

struct Sub {
    const char *name;   // nullptr: a tag row without a name of its own
    int primary;        // -1: the name serves every language
    int value;
    const char *tag;
};

// Sub-languages: the region each stands for under its primary language. Rows with a tag are
// also the reverse map, so the first row of a language is its default region.
constexpr Sub kSubs[] = {
    {"SUBLANG_NEUTRAL", -1, 0x00, nullptr},
    {"SUBLANG_DEFAULT", -1, 0x01, nullptr},
    {"SUBLANG_SYS_DEFAULT", -1, 0x02, nullptr},
    {"SUBLANG_CUSTOM_DEFAULT", -1, 0x03, nullptr},
    {"SUBLANG_CUSTOM_UNSPECIFIED", -1, 0x04, nullptr},
    {"SUBLANG_UI_CUSTOM_DEFAULT", -1, 0x05, nullptr},
    {"SUBLANG_ARABIC_SAUDI_ARABIA", 0x01, 0x01, "ar-SA"},
    {"SUBLANG_ARABIC_IRAQ", 0x01, 0x02, "ar-IQ"},
    {"SUBLANG_ARABIC_EGYPT", 0x01, 0x03, "ar-EG"},
    {"SUBLANG_ARABIC_UAE", 0x01, 0x0e, "ar-AE"},
    {"SUBLANG_BULGARIAN_BULGARIA", 0x02, 0x01, "bg-BG"},
    {"SUBLANG_CATALAN_CATALAN", 0x03, 0x01, "ca-ES"},
    {"SUBLANG_CHINESE_TRADITIONAL", 0x04, 0x01, "zh-TW"},
    {"SUBLANG_CHINESE_SIMPLIFIED", 0x04, 0x02, "zh-CN"},
    {"SUBLANG_CHINESE_HONGKONG", 0x04, 0x03, "zh-HK"},
    {"SUBLANG_CHINESE_SINGAPORE", 0x04, 0x04, "zh-SG"},
    {"SUBLANG_CHINESE_MACAU", 0x04, 0x05, "zh-MO"},
    {"SUBLANG_CZECH_CZECH_REPUBLIC", 0x05, 0x01, "cs-CZ"},
    {"SUBLANG_DANISH_DENMARK", 0x06, 0x01, "da-DK"},
    {"SUBLANG_GERMAN", 0x07, 0x01, "de-DE"},
    {"SUBLANG_GERMAN_SWISS", 0x07, 0x02, "de-CH"},
    {"SUBLANG_GERMAN_AUSTRIAN", 0x07, 0x03, "de-AT"},
    {"SUBLANG_GERMAN_LUXEMBOURG", 0x07, 0x04, "de-LU"},
    {"SUBLANG_GERMAN_LIECHTENSTEIN", 0x07, 0x05, "de-LI"},
    {"SUBLANG_GREEK_GREECE", 0x08, 0x01, "el-GR"},
    {"SUBLANG_ENGLISH_US", 0x09, 0x01, "en-US"},
    {"SUBLANG_ENGLISH_UK", 0x09, 0x02, "en-GB"},
    {"SUBLANG_ENGLISH_AUS", 0x09, 0x03, "en-AU"},
    {"SUBLANG_ENGLISH_CAN", 0x09, 0x04, "en-CA"},
    {"SUBLANG_ENGLISH_NZ", 0x09, 0x05, "en-NZ"},
    {"SUBLANG_ENGLISH_EIRE", 0x09, 0x06, "en-IE"},
    {"SUBLANG_ENGLISH_IRELAND", 0x09, 0x06, "en-IE"},
    {"SUBLANG_ENGLISH_SOUTH_AFRICA", 0x09, 0x07, "en-ZA"},
    {"SUBLANG_ENGLISH_JAMAICA", 0x09, 0x08, "en-JM"},
    {"SUBLANG_ENGLISH_CARIBBEAN", 0x09, 0x09, "en-029"},
    {"SUBLANG_ENGLISH_BELIZE", 0x09, 0x0a, "en-BZ"},
    {"SUBLANG_ENGLISH_TRINIDAD", 0x09, 0x0b, "en-TT"},
    {"SUBLANG_ENGLISH_ZIMBABWE", 0x09, 0x0c, "en-ZW"},
    {"SUBLANG_ENGLISH_PHILIPPINES", 0x09, 0x0d, "en-PH"},
    {"SUBLANG_ENGLISH_INDIA", 0x09, 0x10, "en-IN"},
    {"SUBLANG_ENGLISH_MALAYSIA", 0x09, 0x11, "en-MY"},
    {"SUBLANG_ENGLISH_SINGAPORE", 0x09, 0x12, "en-SG"},
    {"SUBLANG_SPANISH_MODERN", 0x0a, 0x03, "es-ES"},
    {"SUBLANG_SPANISH", 0x0a, 0x01, "es-ES"},
    {"SUBLANG_SPANISH_MEXICAN", 0x0a, 0x02, "es-MX"},
    {"SUBLANG_SPANISH_ARGENTINA", 0x0a, 0x0b, "es-AR"},
    {"SUBLANG_SPANISH_COLOMBIA", 0x0a, 0x09, "es-CO"},
    {"SUBLANG_SPANISH_US", 0x0a, 0x15, "es-US"},
    {"SUBLANG_FINNISH_FINLAND", 0x0b, 0x01, "fi-FI"},
    {"SUBLANG_FRENCH", 0x0c, 0x01, "fr-FR"},
    {"SUBLANG_FRENCH_BELGIAN", 0x0c, 0x02, "fr-BE"},
    {"SUBLANG_FRENCH_CANADIAN", 0x0c, 0x03, "fr-CA"},
    {"SUBLANG_FRENCH_SWISS", 0x0c, 0x04, "fr-CH"},
    {"SUBLANG_FRENCH_LUXEMBOURG", 0x0c, 0x05, "fr-LU"},
    {"SUBLANG_FRENCH_MONACO", 0x0c, 0x06, "fr-MC"},
    {"SUBLANG_HEBREW_ISRAEL", 0x0d, 0x01, "he-IL"},
    {"SUBLANG_HUNGARIAN_HUNGARY", 0x0e, 0x01, "hu-HU"},
    {"SUBLANG_ICELANDIC_ICELAND", 0x0f, 0x01, "is-IS"},
    {"SUBLANG_ITALIAN", 0x10, 0x01, "it-IT"},
    {"SUBLANG_ITALIAN_SWISS", 0x10, 0x02, "it-CH"},
    {"SUBLANG_JAPANESE_JAPAN", 0x11, 0x01, "ja-JP"},
    {"SUBLANG_KOREAN", 0x12, 0x01, "ko-KR"},
    {"SUBLANG_DUTCH", 0x13, 0x01, "nl-NL"},
    {"SUBLANG_DUTCH_BELGIAN", 0x13, 0x02, "nl-BE"},
    {"SUBLANG_NORWEGIAN_BOKMAL", 0x14, 0x01, "nb-NO"},
    {"SUBLANG_NORWEGIAN_NYNORSK", 0x14, 0x02, "nn-NO"},
    {"SUBLANG_POLISH_POLAND", 0x15, 0x01, "pl-PL"},
    {"SUBLANG_PORTUGUESE_BRAZILIAN", 0x16, 0x01, "pt-BR"},
    {"SUBLANG_PORTUGUESE", 0x16, 0x02, "pt-PT"},
    {"SUBLANG_ROMANSH_SWITZERLAND", 0x17, 0x01, "rm-CH"},
    {"SUBLANG_ROMANIAN_ROMANIA", 0x18, 0x01, "ro-RO"},
    {"SUBLANG_RUSSIAN_RUSSIA", 0x19, 0x01, "ru-RU"},
    {"SUBLANG_CROATIAN_CROATIA", 0x1a, 0x01, "hr-HR"},
    {"SUBLANG_SERBIAN_LATIN", 0x1a, 0x02, "sr-Latn-CS"},
    {"SUBLANG_SERBIAN_CYRILLIC", 0x1a, 0x03, "sr-Cyrl-CS"},
    {"SUBLANG_CROATIAN_BOSNIA_HERZEGOVINA_LATIN", 0x1a, 0x04, "hr-BA"},
    {"SUBLANG_BOSNIAN_BOSNIA_HERZEGOVINA_LATIN", 0x1a, 0x05, "bs-Latn-BA"},
    {"SUBLANG_SLOVAK_SLOVAKIA", 0x1b, 0x01, "sk-SK"},
    {"SUBLANG_ALBANIAN_ALBANIA", 0x1c, 0x01, "sq-AL"},
    {"SUBLANG_SWEDISH", 0x1d, 0x01, "sv-SE"},
    {"SUBLANG_SWEDISH_FINLAND", 0x1d, 0x02, "sv-FI"},
    {"SUBLANG_THAI_THAILAND", 0x1e, 0x01, "th-TH"},
    {"SUBLANG_TURKISH_TURKEY", 0x1f, 0x01, "tr-TR"},
    {"SUBLANG_URDU_PAKISTAN", 0x20, 0x01, "ur-PK"},
    {"SUBLANG_INDONESIAN_INDONESIA", 0x21, 0x01, "id-ID"},
    {"SUBLANG_UKRAINIAN_UKRAINE", 0x22, 0x01, "uk-UA"},
    {"SUBLANG_BELARUSIAN_BELARUS", 0x23, 0x01, "be-BY"},
    {"SUBLANG_SLOVENIAN_SLOVENIA", 0x24, 0x01, "sl-SI"},
    {"SUBLANG_ESTONIAN_ESTONIA", 0x25, 0x01, "et-EE"},
    {"SUBLANG_LATVIAN_LATVIA", 0x26, 0x01, "lv-LV"},
    {"SUBLANG_LITHUANIAN", 0x27, 0x01, "lt-LT"},
    {"SUBLANG_PERSIAN_IRAN", 0x29, 0x01, "fa-IR"},
    {"SUBLANG_VIETNAMESE_VIETNAM", 0x2a, 0x01, "vi-VN"},
    {"SUBLANG_ARMENIAN_ARMENIA", 0x2b, 0x01, "hy-AM"},
    {"SUBLANG_AZERI_LATIN", 0x2c, 0x01, "az-Latn-AZ"},
    {"SUBLANG_AZERI_CYRILLIC", 0x2c, 0x02, "az-Cyrl-AZ"},
    {"SUBLANG_BASQUE_BASQUE", 0x2d, 0x01, "eu-ES"},
    {"SUBLANG_MACEDONIAN_MACEDONIA", 0x2f, 0x01, "mk-MK"},
    {"SUBLANG_AFRIKAANS_SOUTH_AFRICA", 0x36, 0x01, "af-ZA"},
    {"SUBLANG_GEORGIAN_GEORGIA", 0x37, 0x01, "ka-GE"},
    {"SUBLANG_FAEROESE_FAROE_ISLANDS", 0x38, 0x01, "fo-FO"},
    {"SUBLANG_HINDI_INDIA", 0x39, 0x01, "hi-IN"},
    {"SUBLANG_MALTESE_MALTA", 0x3a, 0x01, "mt-MT"},
    {"SUBLANG_IRISH_IRELAND", 0x3c, 0x02, "ga-IE"},
    {"SUBLANG_MALAY_MALAYSIA", 0x3e, 0x01, "ms-MY"},
    {"SUBLANG_KAZAK_KAZAKHSTAN", 0x3f, 0x01, "kk-KZ"},
    {"SUBLANG_SWAHILI_KENYA", 0x41, 0x01, "sw-KE"},
    {"SUBLANG_UZBEK_LATIN", 0x43, 0x01, "uz-Latn-UZ"},
    {"SUBLANG_TATAR_RUSSIA", 0x44, 0x01, "tt-RU"},
    {"SUBLANG_BENGALI_INDIA", 0x45, 0x01, "bn-IN"},
    {"SUBLANG_PUNJABI_INDIA", 0x46, 0x01, "pa-IN"},
    {"SUBLANG_GUJARATI_INDIA", 0x47, 0x01, "gu-IN"},
    {"SUBLANG_TAMIL_INDIA", 0x49, 0x01, "ta-IN"},
    {"SUBLANG_TELUGU_INDIA", 0x4a, 0x01, "te-IN"},
    {"SUBLANG_KANNADA_INDIA", 0x4b, 0x01, "kn-IN"},
    {"SUBLANG_MALAYALAM_INDIA", 0x4c, 0x01, "ml-IN"},
    {"SUBLANG_MARATHI_INDIA", 0x4e, 0x01, "mr-IN"},
    {"SUBLANG_MONGOLIAN_CYRILLIC_MONGOLIA", 0x50, 0x01, "mn-MN"},
    {"SUBLANG_WELSH_UNITED_KINGDOM", 0x52, 0x01, "cy-GB"},
    {"SUBLANG_KHMER_CAMBODIA", 0x53, 0x01, "km-KH"},
    {"SUBLANG_LAO_LAO", 0x54, 0x01, "lo-LA"},
    {"SUBLANG_GALICIAN_GALICIAN", 0x56, 0x01, "gl-ES"},
    {"SUBLANG_SINHALESE_SRI_LANKA", 0x5b, 0x01, "si-LK"},
    {"SUBLANG_NEPALI_NEPAL", 0x61, 0x01, "ne-NP"},
    {"SUBLANG_FILIPINO_PHILIPPINES", 0x64, 0x01, "fil-PH"},
};

const QHash<QString, int> &ConstantTable()
{
    static const QHash<QString, int> table = [] {
        QHash<QString, int> t;
        for (const Primary &p : kPrimaries)
            t.insert(QString::fromLatin1(p.name), p.value);
        for (const Sub &s : kSubs)
            if (s.name)
                t.insert(QString::fromLatin1(s.name), s.value);
        return t;
    }();
    return table;
}

const Primary *PrimaryOf(int value)
{
    for (const Primary &p : kPrimaries)
        if (p.value == value)
            return &p;
    return nullptr;
}

QString NormalisedTag(const QString &tag)
{
    QString t = tag.trimmed();
    t.replace(QLatin1Char('_'), QLatin1Char('-'));
    return t.toLower();
}

} // namespace

std::optional<int> LanguageConstant(const QString &name)
{
    const auto &table = ConstantTable();
    const auto it = table.constFind(name);
    if (it == table.cend())
        return std::nullopt;
    return *it;
}

QString TagOfWindowsLanguage(const WindowsLanguage &language)
{
    const Primary *primary = PrimaryOf(language.primary);
    if (!primary)
        return {};
    for (const Sub &s : kSubs)
        if (s.primary == language.primary && s.value == language.sub && s.tag)
            return QString::fromLatin1(s.tag);
    return QString::fromLatin1(primary->tag);
}

std::optional<WindowsLanguage> WindowsLanguageOfTag(const QString &tag)
{
    const QString wanted = NormalisedTag(tag);
    if (wanted.isEmpty())
        return std::nullopt;
    for (const Sub &s : kSubs)
        if (s.tag && s.primary >= 0 && NormalisedTag(QString::fromLatin1(s.tag)) == wanted)
            return WindowsLanguage{s.primary, s.value};
    const QString language = wanted.section(QLatin1Char('-'), 0, 0);
    for (const Primary &p : kPrimaries)
        if (*p.tag && language == QLatin1String(p.tag))
            return WindowsLanguage{p.value, 1};
    if (language == QLatin1String("no") || language == QLatin1String("nn"))
        return WindowsLanguage{0x14, language == QLatin1String("nn") ? 2 : 1};
    return std::nullopt;
}

QString WindowsLanguageNames(const WindowsLanguage &language)
{
    const Primary *primary = PrimaryOf(language.primary);
    if (!primary)
        return {};
    QString sub;
    for (const Sub &s : kSubs)
        if (s.primary == language.primary && s.value == language.sub && s.name) {
            sub = QString::fromLatin1(s.name);
            break;
        }
    if (sub.isEmpty())
        for (const Sub &s : kSubs)
            if (s.primary < 0 && s.value == language.sub) {
                sub = QString::fromLatin1(s.name);
                break;
            }
    if (sub.isEmpty())
        return {};
    return QString::fromLatin1(primary->name) + QStringLiteral(", ") + sub;
}

bool IsEnglishTag(const QString &tag)
{
    return NormalisedTag(tag).section(QLatin1Char('-'), 0, 0) == QLatin1String("en");
}

} // namespace kvedit::io
