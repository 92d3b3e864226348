#pragma once
// Windows language identifiers as resource scripts write them (LANGUAGE LANG_GERMAN,
// SUBLANG_GERMAN_SWISS or LANGUAGE 7, 2) and their BCP 47 tags.

#include <QString>

#include <optional>

namespace kvedit::io {

struct WindowsLanguage {
    int primary = 0;   // LANG_* (low ten bits of a LANGID)
    int sub = 0;       // SUBLANG_* (high six bits)
    bool operator==(const WindowsLanguage &) const = default;
};

// The value of a standard LANG_* or SUBLANG_* name, for scripts that use them without the
// system headers that define them.
std::optional<int> LanguageConstant(const QString &name);

// "de-DE" for LANG_GERMAN/SUBLANG_GERMAN, "de" for a sub-language we do not know or the neutral
// one; empty for LANG_NEUTRAL and for primary languages we do not know.
QString TagOfWindowsLanguage(const WindowsLanguage &language);

// The identifiers for a tag; a bare or unknown-region tag gets SUBLANG_DEFAULT.
std::optional<WindowsLanguage> WindowsLanguageOfTag(const QString &tag);

// The standard names for a comment beside the numbers ("LANG_GERMAN, SUBLANG_GERMAN_SWISS");
// empty when they are not known.
QString WindowsLanguageNames(const WindowsLanguage &language);

// True for an English tag ("en", "en-US", "en_GB").
bool IsEnglishTag(const QString &tag);

} // namespace kvedit::io
