#pragma once
// gettext PO catalogs, read and written through libgettextpo so that what we accept and what we
// write is what gettext's own tools accept and write.
//
// One message per string: msgctxt is the string's key (its symbol, else its id), msgid the
// English text, msgstr the translation; a string with a symbol also gets the reference
// "#: SYMBOL:ID" so that its number survives. "#." comments carry the description. A fuzzy
// message is a translation out of date; PO has no approval mark, so an import keeps the mark
// of an unchanged translation.

#include "io/ResourceStrings.h"

namespace kvedit::io {

struct PoDocument {
    QString project;             // the Project-Id-Version
    QString language;            // the translations' language; empty: a template without msgstrs
    QList<ImportedString> units; // id, symbol, sourceText, description, target and state
    QString file;                // where it goes, for messages
};

QByteArray WritePo(const PoDocument &document);

// Reads every message of the catalog. A message with plural forms, a syntax error, a catalog
// without messages or text that is not in its declared charset is an error: FileError with
// every problem, each at its file and line. Obsolete messages are left out with a note.
ResourceStrings ReadPo(const QString &file);

} // namespace kvedit::io
