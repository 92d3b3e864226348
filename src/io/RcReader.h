#pragma once
// Reads the string tables of a resource script (.rc) into the neutral form: every STRINGTABLE,
// after the preprocessor, with the language its LANGUAGE statements state.

#include "io/ResourceStrings.h"

#include <QStringList>

namespace kvedit::io {

struct RcReadOptions {
    QStringList includeDirs;    // -I
    QStringList defines;        // -D NAME[=VALUE]
    QStringList headers;        // read before the script (a language file's parent headers)
    int codePage = 0;           // for text before any #pragma code_page; 0 is UTF-8
    int maximumId = 32767;      // the highest id the workspace takes
    // Ids above it up to 65535 (the resource compiler's range) are an error summed up in one
    // line; with this they are left out and listed in ResourceStrings::skipped instead.
    bool skipOutOfRange = false;
    // #include reaches only the script's folder, the include folders and the headers' folders
    // unless this is set: a script from elsewhere must not pull in arbitrary files.
    bool includeAnywhere = false;
};

// Throws FileError naming file and line for every problem found (the first 50, then how many
// more), also for a file that is not text or has no string table; returns only complete results.
ResourceStrings ReadResourceScript(const QString &file, const RcReadOptions &options = {});

// A string literal's body (between the quotes) as the resource compiler reads it: "" for a
// quote, the escapes \n \r \t \a \\ \" \0, octal and hex escapes. In a narrow literal an escape
// gives a byte of the code page; in a wide one (L"...") a UTF-16 unit. Unknown escapes stay as
// written. Returns nullopt, with a reason, when escaped bytes are not valid in the code page.
std::optional<QString> DecodeStringLiteral(const QString &body, bool wide, int codePage, QString *problem = nullptr);

} // namespace kvedit::io
