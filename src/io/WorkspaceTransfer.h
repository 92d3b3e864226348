#pragma once
// Moving strings between files and a workspace: import a resource script or XLIFF file into one
// source (all or nothing: a file with errors, or a failure half-way, leaves the workspace as it
// was), export one source, and count what a translation still needs.

#include "io/RcReader.h"
#include "server/Workspace.h"

#include <functional>
#include <optional>

namespace kvedit::io {

enum class FileFormat { ResourceScript, Xliff, Po, Ts };

// By extension: .rc (also .rc2, .dlg), .xlf/.xliff, .po/.pot and .ts; nullopt for anything else.
std::optional<FileFormat> FormatOfFile(const QString &path);

enum class ImportAs {
    Automatic,       // a resource script by its LANGUAGE (English or none: the English default,
                     // else the local default); an XLIFF file's translations into the local
                     // default, or its source texts when it has neither target language nor targets
    EnglishDefault,  // the strings themselves (from XLIFF: the <source> texts)
    LocalDefault,    // translations
};

// Called now and then with the strings done so far and the total.
using Progress = std::function<void(int done, int total)>;

struct ImportOptions {
    ImportAs as = ImportAs::Automatic;
    RcReadOptions rc;            // resource scripts: -I, -D, headers, code page
    bool acceptLanguageMismatch = false;   // PO and TS: import a file whose languages do not fit
    Progress progress;
};

struct ImportSummary {
    kvedit::StringSource source = ssEnglishDefault;
    QString languageTag;         // as the file states it
    int added = 0;               // records the source did not have
    int changed = 0;
    int unchanged = 0;
    int skipped = 0;             // ids the workspace does not know, units without a translation
    QList<Diagnostic> notes;
};

// Reads file and stores its strings in the workspace, then saves. The workspace must have no
// unsaved edits. Throws FileError for a file with errors, KvError when the workspace refuses.
ImportSummary ImportFile(server::Workspace &workspace, const QString &file, const ImportOptions &options = {});

// The same for strings already read.
ImportSummary ImportStrings(server::Workspace &workspace, const ResourceStrings &strings, FileFormat format,
                            ImportAs as, const Progress &progress = {});

struct ExportOptions {
    TableVersion table = ssLocalEdited;   // the source to write (XLIFF: the targets)
    Progress progress;
};

struct ExportSummary {
    int strings = 0;
    QString languageTag;
};

ExportSummary ExportFile(server::Workspace &workspace, const QString &file, const ExportOptions &options = {});


} // namespace kvedit::io
