#pragma once
// The C preprocessor as resource compilers run it, through libmcpp: #include of local files,
// #define, #if/#ifdef/#else/#endif with definitions from the command line, and #pragma lines
// passed on. Macro annotations in the output let the reader keep the symbol of every id.
//
// mcpp reads files itself and cannot read UTF-16 or skip a byte-order mark, so files that carry
// one are staged as plain UTF-8 copies in a mirror of their directories (the rest of each
// directory is linked, so #include resolves exactly as it would on the originals).

#include "io/IoError.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace kvedit::io {

struct PreprocessOptions {
    QString file;                // the script
    QStringList includeDirs;     // -I, searched after the including file's own directory
    QStringList defines;         // NAME or NAME=VALUE
    QStringList headers;         // read before the script, as if it included them first
    // Multi-byte encoding mcpp must respect inside literals: "sjis", "gb2312", "ksc5601",
    // "big5"; empty for single-byte code pages and UTF-8.
    QByteArray multiByteEncoding;
    // Files outside the script's folder, the include folders and the headers' folders are
    // refused unless this is set.
    bool includeAnywhere = false;
};

struct PreprocessedScript {
    QByteArray output;                 // with #line markers and macro annotations
    QList<Diagnostic> diagnostics;     // the preprocessor's errors and notes, on original files
    QSet<QString> utf8Files;           // files that were UTF-16 or carried a byte-order mark
    QString stageRoot;                 // staged paths start with it
    QString wrapper;                   // the generated top file (carries no content)

    // The path a #line marker names, turned back into the user's file.
    QString OriginalPath(const QString &reported) const;
};

// Runs the preprocessor. Throws FileError when a file cannot be read at all; problems inside the
// script are returned as diagnostics.
PreprocessedScript Preprocess(const PreprocessOptions &options);

// Removes the staging folders (kvedit-rc-PID-*) that processes which no longer run left in
// folder (the temporary folder when empty): a process killed during an import cannot clean up.
// Preprocess calls it once per process. Returns how many were removed.
int RemoveStaleStagingFolders(const QString &folder = {});

// The encoding name mcpp uses for a Windows code page; empty when none is needed.
QByteArray McppEncodingOfCodePage(int codePage);

} // namespace kvedit::io
