#pragma once
// The measured operations, for one workspace size at a time.

#include "BenchResults.h"

#include <QString>

#include <functional>

namespace kvedit::bench {

// Operation names as they appear in the table and the JSON (a later run is matched by them).
namespace op {
inline const QString Open = QStringLiteral("open workspace");
inline const QString Refresh = QStringLiteral("RefreshStringList");
inline const QString EditToPaint = QStringLiteral("EditStringResources to first painted list");
inline const QString ProgramToShown = QStringLiteral("kvedit WORKSPACE to shown window");
inline const QString PageAll = QStringLiteral("page through whole list");
inline const QString PageFrame = QStringLiteral("page through: slowest frame");
inline const QString PageFrameP99 = QStringLiteral("page through: frame p99");
inline const QString Find = QStringLiteral("Find (full pass, no match)");
inline const QString FindMissing = QStringLiteral("Find Missing (full pass)");
inline const QString FindOutOfDate = QStringLiteral("Find Out-of-Date (full pass)");
inline const QString FindUnapproved = QStringLiteral("Find Unapproved (full pass)");
inline const QString StoreOne = QStringLiteral("store one edit (UpdateEntry)");
inline const QString CountStates = QStringLiteral("count the states of every string");
inline const QString FilterText = QStringLiteral("filter pass by text");
inline const QString FilterState = QStringLiteral("filter pass by state");
inline const QString SaveOne = QStringLiteral("save one edit");
inline const QString StoreSaveOne = QStringLiteral("store + save one edit");
inline const QString StoreAll = QStringLiteral("store an edit to every string");
inline const QString SaveAll = QStringLiteral("save every string");
inline const QString ImportRc = QStringLiteral("import resource script");
inline const QString ExportRc = QStringLiteral("export resource script");
inline const QString ImportXliff = QStringLiteral("import XLIFF");
inline const QString ExportXliff = QStringLiteral("export XLIFF");
inline const QString MemorySession = QStringLiteral("peak memory: editor session");
inline const QString ExportPo = QStringLiteral("export PO");
inline const QString ImportPo = QStringLiteral("import PO");
inline const QString ExportTs = QStringLiteral("export TS");
inline const QString ImportTs = QStringLiteral("import TS");
inline const QString MemoryExportPo = QStringLiteral("peak memory: export PO");
inline const QString MemoryImportPo = QStringLiteral("peak memory: import PO");
inline const QString MemoryExportTs = QStringLiteral("peak memory: export TS");
inline const QString MemoryImportTs = QStringLiteral("peak memory: import TS");
inline const QString XliffSize = QStringLiteral("XLIFF file size");
inline const QString MemoryXliffImport = QStringLiteral("peak memory: XLIFF import");
inline const QString QualityTable = QStringLiteral("quality checks: whole table");
inline const QString QualityOne = QStringLiteral("quality checks: one string as typed");
inline const QString MemoryIndex = QStringLiteral("translation memory: build the index");
inline const QString MemoryLookup = QStringLiteral("translation memory: one lookup");
inline const QString MemoryPretranslate = QStringLiteral("translation memory: pre-translate a table");
} // namespace op

struct Options {
    QList<int> sizes{1000, 8000, 32767};
    int repeats = 7;         // runs of every cheap operation
    int heavyRepeats = 3;    // runs of paging, editing every string, and the memory probe
    QString program;         // the kvedit executable
    QString labelProgram;    // the control of its start: a window with one label
    QString self;            // this executable, for the memory probe
    QString workDir;         // where the workspaces are written
    QString screenConfig;    // the offscreen platform's screen, passed on to child processes
    // Measurement groups to run (memory, program, open, refresh, editor, page, find, checks,
    // quality, tm, edit-one, edit-all, io); empty for all. For profiling one of them.
    QStringList only;

    bool Wants(const QString &group) const { return only.isEmpty() || only.contains(group); }
};

// Runs every measurement for one size and adds the samples to results. Progress goes to stderr.
void MeasureSize(const Options &options, int strings, Results &results);

// The targets at 32767 strings, attached to the series they apply to.
void AttachTargets(Results &results);

// The child side of the memory figure: one editor session on the workspace (open, show the
// list, page through it, search, edit one string and save, edit every string and save). Returns
// the exit code.
int RunMemoryProbe(const QString &workspacePath);
// The child side of the XLIFF import's memory figure: imports the file into the workspace and
// prints its own peak.

// The child side of a file's peak-memory figure: "export" writes the workspace's Local Edited
// version to the file, "import" reads the file into the workspace. Prints its own peak; returns
// the exit code.
int RunTransferProbe(const QString &direction, const QString &workspacePath, const QString &file);

} // namespace kvedit::bench
