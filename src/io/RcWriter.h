#pragma once
// Writes strings as a resource script a resource compiler accepts: UTF-8 with
// #pragma code_page(65001), #defines for the symbols, a LANGUAGE statement, and every text
// escaped so that it compiles back to exactly the same characters.

#include "io/ResourceStrings.h"

namespace kvedit::io {

struct RcWriteOptions {
    QString languageTag;    // the strings' language; LANG_NEUTRAL when unknown
    QString title;          // a comment line at the top ("Demo Application: German")
};

// Uses id, symbol and text of each string, in the order given. Without strings the script has
// no string table (an empty one does not compile) but a one-byte placeholder resource.
QByteArray WriteResourceScript(const QList<ImportedString> &strings, const RcWriteOptions &options);

// A string literal (with its quotes) that compiles to text.
QString ResourceStringLiteral(const QString &text);

// True for a name the script can #define and use as an id.
bool IsUsableSymbol(const QString &symbol);

} // namespace kvedit::io
