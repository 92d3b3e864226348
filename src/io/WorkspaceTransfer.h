#pragma once
// Moving strings between files and a workspace: import a resource script or XLIFF file into one
// source (all or nothing: a file with errors, a file in another language than the source it
// would fill, or a failure half-way, leaves the workspace as it was), export one source, and
// count what a translation still needs.
//
// A further format plugs in by adding a FileFormat, its extensions to the list in
// FormatOfFile and its reader and writer to ImportFile and ExportFile. Its reader states the
// file's languages in ResourceStrings (languageTag, sourceLanguageTag), which the language rule
// checks for every format alike, and lists what it leaves out itself in ResourceStrings::skipped;
// the importer adds what the workspace cannot take to ImportSummary::notImported.

#include "io/RcReader.h"
#include "server/Workspace.h"

#include <functional>
#include <optional>

namespace kvedit::io {

enum class FileFormat { ResourceScript, Xliff, Po, Ts };

// By extension: .rc (also .rc2, .dlg) and .xlf/.xliff; nullopt for anything else.
std::optional<FileFormat> FormatOfFile(const QString &path);

// Exchange files carry both sides of a translation (sourceText, target and state per string, the
// source and target languages); every format but the resource script is one.
bool IsExchangeFormat(FileFormat format);

enum class ImportAs {
    Automatic,       // a resource script by its LANGUAGE (English or none: the English default,
                     // else the local default); an XLIFF file's translations into the local
                     // default, or its source texts when it has neither target language nor targets
    EnglishDefault,  // the strings themselves (from XLIFF: the <source> texts)
    LocalDefault,    // translations
    LocalEdited,     // translations, as edits over the local default
};

// Called now and then with the strings done so far and the total.
using Progress = std::function<void(int done, int total)>;

struct ImportOptions {
    ImportAs as = ImportAs::Automatic;
    // A file whose stated language is not the one of the source it fills is refused, unless
    // the source was chosen (as) or this says so.
    bool acceptLanguageMismatch = false;
    RcReadOptions rc;            // resource scripts: -I, -D, headers, code page, ids out of range
    Progress progress;
};

struct NotImported {
    QString reason;
    QStringList ids;             // every one, as the file writes them, in file order
};

struct ImportSummary {
    kvedit::StringSource source = ssEnglishDefault;
    QString languageTag;         // as the file states it
    int added = 0;               // records the source did not have
    int changed = 0;
    int unchanged = 0;
    int skipped = 0;             // strings not imported: the sum of notImported's ids
    QList<NotImported> notImported;   // by reason, in the order first met
    QList<Diagnostic> notes;
    // The <alt-trans> suggestions of an XLIFF file's units, by the string they were offered for;
    // not stored in the workspace (the translation memory keeps them).
    struct Alternative {
        kvedit::StringId id = 0;
        QString english;
        QString target;
        QString origin;
        int quality = -1;
    };
    QList<Alternative> alternatives;

    void AddNotImported(const QString &reason, const QString &id);
};

// Reads file and stores its strings in the workspace, then saves. The workspace must have no
// unsaved edits. Throws FileError for a file with errors, KvError when the workspace refuses.
ImportSummary ImportFile(server::Workspace &workspace, const QString &file, const ImportOptions &options = {});

// The same for strings already read.
ImportSummary ImportStrings(server::Workspace &workspace, const ResourceStrings &strings, FileFormat format,
                            ImportAs as, const Progress &progress = {});
ImportSummary ImportStrings(server::Workspace &workspace, const ResourceStrings &strings, FileFormat format,
                            const ImportOptions &options);

struct ExportOptions {
    TableVersion table = ssLocalEdited;   // the source to write (XLIFF: the targets)
    Progress progress;
};

struct ExportSummary {
    int strings = 0;
    QString languageTag;
    QList<Diagnostic> notes;
};

ExportSummary ExportFile(server::Workspace &workspace, const QString &file, const ExportOptions &options = {});


} // namespace kvedit::io
