#pragma once
// XLIFF 1.2 exchange files: one <file> with source and target languages, one trans-unit per
// string (id = the string id, resname = its symbol), the translation's status as the target's
// state, the description as a note, and our text properties in context groups of our own
// (purpose "x-kvedit-source" and "x-kvedit-target") so an import restores them.
//
// Reading accepts what other tools write: groups, extra elements, inline markup (<g>, <ph>, ...)
// flattened to text, missing states.

#include "io/ResourceStrings.h"

namespace kvedit::io {

struct XliffDocument {
    QString original;            // the <file original="...">: our workspace's name
    QString sourceLanguage = QStringLiteral("en");
    QString targetLanguage;      // empty: no targets are written
    // Each unit: id, symbol, sourceText, description, properties (of the source), parameters,
    // target, state and targetProperties.
    QList<ImportedString> units;
};

QByteArray WriteXliff(const XliffDocument &document);

// Reads every trans-unit of every <file>. A unit's id is 0 when its id attribute is not a
// number; its symbol is then the resname (or the id itself). text is the source text.
// Throws FileError (file and line) for a file that is not well-formed XLIFF.
ResourceStrings ReadXliff(const QString &file);
ResourceStrings ReadXliffData(const QByteArray &data, const QString &fileName);

// The state attribute we write for a status, and the status a state (with the unit's approved
// attribute) stands for.
QString XliffStateOf(TranslationState state);
TranslationState TranslationStateOf(const QString &state, bool hasText, bool approvedAttribute);

} // namespace kvedit::io
