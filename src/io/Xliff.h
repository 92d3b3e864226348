#pragma once
// XLIFF 1.2 exchange files. We write one <file> with source and target languages, one
// trans-unit per string (id = the string id, resname = its symbol), the translation's status as
// the target's state, the description as a note, and in the unit's extradata ("kvedit;...")
// only those text properties and parameter descriptions the text does not show for itself.
// Strings another tool's file brought go back into a <file> of that name with that tool's unit
// ids, inline codes and states. Files of earlier versions, with our properties in context
// groups, still read.
//
// Reading accepts what other tools write: several <file>s (unit ids are unique only within
// one), groups at any depth, inline codes kept as markup beside their text equivalent, extra
// elements. It never expands an entity the file does not define itself and refuses files that
// declare entities at all, so nothing outside the file is read and no expansion can grow.

#include "io/ResourceStrings.h"

#include <functional>

class QIODevice;

namespace kvedit::io {

struct XliffDocument {
    QString original;            // the <file original="...">: our workspace's name
    QString sourceLanguage = QStringLiteral("en");
    QString targetLanguage;      // empty: no targets are written
    // Each unit: id, symbol, sourceText, description, properties (of the source), parameters,
    // target, state, targetProperties and, for another tool's units, origin.
    QList<ImportedString> units;
};

QByteArray WriteXliff(const XliffDocument &document);

// Reads every trans-unit of every <file>. A unit's id is its number when that names a string
// (kvedit's files, or another tool's single <file> with ids 1 to 32767), else 0, and its
// symbol the resname. Units of other tools carry their origin. text is the source text.
// Throws FileError (file and line) for a file that is not well-formed XLIFF 1.x.
ResourceStrings ReadXliff(const QString &file);
ResourceStrings ReadXliffData(const QByteArray &data, const QString &fileName);
ResourceStrings ReadXliffDevice(QIODevice *device, const QString &fileName);

// The same as a stream: each unit of a <file> kvedit wrote goes to sink as soon as it is read
// (with the file's position and size) instead of into the result, which keeps the other tools'
// units, the languages and the notes. started is called at the first <file>, its languages set.
ResourceStrings ReadXliffStreaming(const QString &file, const std::function<void(const ResourceStrings &)> &started,
                                   const std::function<void(ImportedString &&, qint64, qint64)> &sink);

// The target language the first <file> states; empty when it states none or the file cannot be
// read as XLIFF (reading it then says why).
QString XliffTargetLanguage(const QString &file);

// The state attribute we write for a status, and the status a state (with the unit's approved
// attribute and the target's state-qualifier) stands for.
QString XliffStateOf(TranslationState state);
TranslationState TranslationStateOf(const QString &state, bool hasText, bool approvedAttribute,
                                    const QString &qualifier = QString());

// The text a piece of inline markup (a <source>'s content as kept in an origin) stands for.
QString FlattenedMarkup(const QString &markup);

} // namespace kvedit::io
