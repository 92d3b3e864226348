#pragma once
// The kvedit command-line tools, run by the same program as the editor:
//   kvedit new WORKSPACE --language de-DE
//   kvedit import WORKSPACE FILE [--as english-default|local-default|local-edited] [-I DIR]
//                                [-D NAME[=VALUE]] [--header FILE] [--codepage N]
//                                [--language-mismatch=accept] [--skip-out-of-range] [--json] [--strict]
//   kvedit export WORKSPACE FILE [--table 0..3]
//   kvedit stats WORKSPACE [--table 0..3] [--json]
//   kvedit check WORKSPACE [--table 0..3] [--json] [--rule ID]... [--no-rule ID]... [--warnings-as-errors]
//                          [--save-rules]
//   kvedit demo WORKSPACE [--force]
//   kvedit pretranslate WORKSPACE [--table 0..1] [--min 50..100] [--memory FILE]...
// Exit codes: 0 success, 1 bad input (the message names file and line) or, for check, a string
// with an error; 2 usage.

#include <QStringList>

class QTextStream;

namespace kvedit::cli {

enum ExitCode : int {
    exitSuccess = 0,
    exitBadInput = 1,
    exitUsage = 2,
};

// True when the program's first argument names one of the tools.
bool IsCommandLineTool(const char *firstArg);

// Runs the tool the arguments name, printing to stdout and stderr; makes a QCoreApplication when
// there is none. Returns the exit code.
int RunCommandLineTool(int argc, char **argv);

// The same with the arguments as a list (the program name first) and the streams given; progress
// is shown on err when interactive.
int RunCommandLine(const QStringList &arguments, QTextStream &out, QTextStream &err, bool interactive = false);

} // namespace kvedit::cli
