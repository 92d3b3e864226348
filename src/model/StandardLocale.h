#pragma once

#include "model/StringTables.h"

namespace kvedit {

// The server's language table: language codes as the string-table server numbers them
// (kLanguageJapanese = 89), each with a display name and an ISO 639 value. Constant data,
// shared by every workspace.
LocalePtr StandardLocale();

// The language for an ISO 639 code or BCP 47 tag ("de", "de-DE", "ja"); its name comes from the
// table when the language is there, from Qt's language names otherwise.
Language LanguageForTag(const QString &tag);

} // namespace kvedit
