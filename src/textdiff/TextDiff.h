#pragma once

// The difference between two texts as a reader sees it: whole words removed and added, or the
// characters of one word when it was only retouched. Shared by the translate dialog (what the
// English became), the memory's suggestions (how a match's English differs) and its ranking.

#include <QList>
#include <QString>

namespace kvedit::textdiff {

enum class DiffOp { Equal, Removed, Added };

struct DiffPiece {
  DiffOp op = DiffOp::Equal;
  QString text;
  bool operator==(const DiffPiece &) const = default;
};

using Diff = QList<DiffPiece>;

// Word-level difference: words, runs of blanks and single punctuation marks are the tokens. A
// word replaced by one close to it ("colour" -> "color", "&Open" -> "Op&en") is told character
// by character. Neighbouring pieces of the same kind are joined; removals come before additions.
Diff WordDiff(const QString &before, const QString &after);

// 0..1, the share of words (blanks left out) the two texts have in common in the same order;
// 1 for equal texts, including two empty ones.
double WordSimilarity(const QString &a, const QString &b);

// Rich text for a label: removed pieces struck through in red, added ones in green, all escaped,
// line breaks as <br>.
QString DiffHtml(const Diff &diff);

}  // namespace kvedit::textdiff
