#pragma once
// Qt's TS translation files, read and written with Qt's XML stream reader and writer.
//
// One <context> named after the workspace; one <message> per string: <comment> (the
// disambiguation) is the string's key (its symbol, else its id), <source> the English text,
// <translation> the translation; a string with a symbol also gets <location filename="SYMBOL"
// line="ID"/> so that its number survives. <extracomment> carries the description. An
// unfinished translation with text is out of date, a finished one current; TS has no approval
// mark, so an import keeps the mark of an unchanged translation. Characters XML cannot hold
// travel as <byte value="xN"/>, as the format provides.

#include "io/ResourceStrings.h"

namespace kvedit::io {

struct TsDocument {
    QString context;             // the <context> name
    QString language;            // the translations' language; empty: no translations
    QList<ImportedString> units; // id, symbol, sourceText, description, target and state
};

QByteArray WriteTs(const TsDocument &document);

// Reads every message of every context. A message with plural forms (numerus="yes"), a file
// that is not well-formed or not a TS file is an error: FileError at its file and line.
// Obsolete and vanished messages are left out with a note.
ResourceStrings ReadTs(const QString &file);
ResourceStrings ReadTsData(const QByteArray &data, const QString &fileName);

} // namespace kvedit::io
