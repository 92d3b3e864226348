#pragma once
// Rules the exchange formats share when their strings meet a workspace: whether the languages a
// file states fit the workspace, how a message's key (a PO context, a TS comment) names a
// string, and how messages without a key find their strings by English text.

#include "io/ResourceStrings.h"

namespace kvedit::server {
class TableSet;
}

namespace kvedit::io {

// True when two language tags ("de", "de-DE", "de_AT") name the same language: the same primary
// language, and the same region when both state one (so "de" fits "de-DE", "pt-PT" does not fit
// "pt-BR").
bool SameLanguageTag(const QString &a, const QString &b);

// A message's key as we write it: the symbol, else the id in decimal.
QString KeyOf(const ImportedString &s);

// Sets id and symbol from a message's key: digits give the id, an identifier the symbol (with
// the id the file pairs with it, when it gives one: idOfSymbol > 0); any other text is a
// disambiguation of the other tool's and names no string.
void ApplyKey(ImportedString &s, const QString &key, int idOfSymbol);

// Messages without a key (id 0, no symbol) take the strings whose English text is their source
// text: every such string for translations, as gettext's catalogs do, the first one not yet
// taken for the English strings (none: a new string). Translations that find no string are left
// out with a note; returns how many.
int ResolveKeylessStrings(ResourceStrings &strings, const server::TableSet &set, bool english);

} // namespace kvedit::io
