#pragma once

#include <QtGlobal>

namespace kvedit {

// A string source, also called table version. A plain enumeration with a fixed underlying type,
// so any int (for example a table version of 4) is representable and can be passed around.
enum StringSource : int {
    ssLocalEdited = 0,
    ssLocalDefault = 1,
    ssEnglishEdited = 2,
    ssEnglishDefault = 3,
};
using TableVersion = StringSource;

// String ids are 16-bit signed, 1 to the server's MaximumCount (at most 32767).
using StringId = qint16;
constexpr int kMaxStringId = 32767;

// Text property flags of an entry.
enum TextProperty : int {
    tpAllowShortcut = 1,
    tpMultipleLines = 2,
    tpAllowTab = 4,
};

// Status flags of an entry; 2 marks an approved (valid) translation.
enum StatusFlag : int {
    sfApproved = 2,
};

// The server's language code that stands for Japanese.
constexpr int kLanguageJapanese = 89;

} // namespace kvedit
