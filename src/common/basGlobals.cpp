#include "common/basGlobals.h"

#include "services/ErrorContext.h"

#include <QComboBox>

#include <array>

Q_LOGGING_CATEGORY(lcCommon, "kvedit.common")

namespace kvedit::basGlobals {

namespace {

constexpr const char *kModule = "basGlobals";
constexpr int kShortcutModes = 5;

using ShortcutTable = std::array<bool, 128>;

// Built on first use and kept: a flag per 7-bit character code.
const ShortcutTable &ShortcutCharacters()
{
    static const ShortcutTable table = [] {
        ShortcutTable t{};
        for (int code = 0; code < int(t.size()); ++code) {
            const char c = char(code);
            t[size_t(code)] = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
        }
        return t;
    }();
    return table;
}

} // namespace

QString FixedSourceName(int code)
{
    switch (code) {
    case ssLocalEdited:
        return QStringLiteral("Local Edited");
    case ssLocalDefault:
        return QStringLiteral("Local Default");
    case ssEnglishEdited:
        return QStringLiteral("English Edited");
    case ssEnglishDefault:
        return QStringLiteral("English Default");
    default:
        return QString();
    }
}

QString SourceHeading(const StringTableSetPtr &tables, int code)
{
    if (code < ssLocalEdited || code > ssEnglishDefault)
        return QString();
    const QString suffix = (code == ssLocalEdited || code == ssEnglishEdited) ? QStringLiteral(" edited")
                                                                               : QStringLiteral(" default");
    return Require(tables, "string tables")->SourceLanguage(StringSource(code)).Name() + suffix;
}

bool IsShortcutCharacter(int code)
{
    const ShortcutTable &table = ShortcutCharacters();
    return code >= 0 && code < int(table.size()) && table[size_t(code)];
}

QString ShortcutModeName(int code)
{
    switch (code) {
    case 0:
        return QStringLiteral("(not set)");
    case 1:
        return QStringLiteral("prefixed by '&'");
    case 2:
        return QStringLiteral("first instance");
    case 3:
        return QStringLiteral("insert at beginning");
    case 4:
        return QStringLiteral("add to end");
    default:
        return QStringLiteral("invalid code");
    }
}

QString ShortcutModeText(int code)
{
    return QString::number(code) + QStringLiteral(": ") + ShortcutModeName(code);
}

QString NoShortcutCharacterText()
{
    return QStringLiteral("(none)");
}

void LoadShortcutCharacterComboBox(QComboBox *combo)
{
    Reporting(kModule, "LoadShortcutCharacterComboBox", [&] {
        if (!combo)
            return;
        combo->clear();
        combo->addItem(NoShortcutCharacterText());
        const ShortcutTable &table = ShortcutCharacters();
        for (int code = 0; code < int(table.size()); ++code)
            if (table[size_t(code)])
                combo->addItem(QString(QChar(code)));
    });
}

void LoadShortcutModeComboBox(QComboBox *combo)
{
    // Shares the character loader's procedure name in the trace; the shared name is kept.
    Reporting(kModule, "LoadShortcutCharacterComboBox", [&] {
        if (!combo)
            return;
        combo->clear();
        for (int code = 0; code < kShortcutModes; ++code)
            combo->addItem(ShortcutModeText(code), code);
    });
}

} // namespace kvedit::basGlobals
