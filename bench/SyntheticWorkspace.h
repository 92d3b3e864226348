#pragma once
// Synthetic workspaces for the benchmarks: N strings spread over the whole id range, English
// with a German translation in the states a real project is in part-way through a release, and
// the texts a desktop application has (captions with shortcut markers, status prompts,
// messages with placeholders, multi-line help texts, tabbed lists). The same size and state
// always give the same contents.

#include <QString>

namespace kvedit::bench {

enum class TranslationState {
    // Part-way through a release: most strings translated and approved, some missing, some out
    // of date, some unapproved, a few local edits and pending English corrections.
    InProgress,
    // Ready for release: every string translated, current and approved (the three translation
    // checks pass every row without a match).
    Finished,
};

struct WorkspaceCounts {
    int strings = 0;          // English default records
    int records = 0;          // records in all four sources
    int missing = 0;          // in table version 0, as Find Missing counts them
    int outOfDate = 0;        // including the missing ones
    int unapproved = 0;       // including the out-of-date ones
    int localEdits = 0;       // records of source 0
    int englishEdits = 0;     // records of source 2
    int multiLine = 0;
    int withParameters = 0;
    double averageLength = 0; // characters of the English texts
    int longest = 0;
};

// Writes a new workspace file (replacing any file at path). Throws KvError on failure.
WorkspaceCounts CreateSyntheticWorkspace(const QString &path, int strings, TranslationState state);

// Ids of the strings, ascending: spread evenly over 1..32767, so every size exercises the
// whole id range as a real table with gaps between its groups does.
int SyntheticId(int index, int strings);

// A text that occurs in no synthetic string: Find with it passes every row.
QString UnmatchedSearchText();

} // namespace kvedit::bench
