#include "textdiff/TextDiff.h"

#include <algorithm>
#include <vector>

namespace kvedit::textdiff {
namespace {

// Above this many cells the alignment table is not worth it: such texts are told as replaced.
constexpr qsizetype kMaxCells = 4'000'000;

bool IsWordChar(QChar c) { return c.isLetterOrNumber() || c == u'&' || c == u'_' || c.isMark(); }

QList<QStringView> Tokens(QStringView text) {
  QList<QStringView> tokens;
  qsizetype i = 0;
  while (i < text.size()) {
    qsizetype j = i + 1;
    if (IsWordChar(text[i])) {
      while (j < text.size() && IsWordChar(text[j])) ++j;
    } else if (text[i].isSpace() && text[i] != u'\n') {
      while (j < text.size() && text[j].isSpace() && text[j] != u'\n') ++j;
    } else if (text[i].isSurrogate() && j < text.size()) {
      ++j;
    }
    tokens.append(text.mid(i, j - i));
    i = j;
  }
  return tokens;
}

// Longest-common-subsequence alignment of two token (or character) lists: for each position,
// whether it is kept. Returns false when the texts are too long to align.
template <typename Seq>
bool Align(const Seq &a, const Seq &b, std::vector<char> &keptA, std::vector<char> &keptB) {
  const qsizetype n = a.size(), m = b.size();
  keptA.assign(size_t(n), 0);
  keptB.assign(size_t(m), 0);
  // Common ends need no table.
  qsizetype head = 0;
  while (head < n && head < m && a[head] == b[head]) keptA[size_t(head)] = keptB[size_t(head)] = 1, ++head;
  qsizetype tail = 0;
  while (tail < n - head && tail < m - head && a[n - 1 - tail] == b[m - 1 - tail]) {
    keptA[size_t(n - 1 - tail)] = keptB[size_t(m - 1 - tail)] = 1;
    ++tail;
  }
  const qsizetype rn = n - head - tail, rm = m - head - tail;
  if (rn == 0 || rm == 0) return true;
  if ((rn + 1) * (rm + 1) > kMaxCells) return false;
  std::vector<int> len(size_t((rn + 1) * (rm + 1)), 0);
  auto at = [&](qsizetype i, qsizetype j) -> int & { return len[size_t(i * (rm + 1) + j)]; };
  for (qsizetype i = rn - 1; i >= 0; --i)
    for (qsizetype j = rm - 1; j >= 0; --j)
      at(i, j) = a[head + i] == b[head + j] ? at(i + 1, j + 1) + 1 : std::max(at(i + 1, j), at(i, j + 1));
  qsizetype i = 0, j = 0;
  while (i < rn && j < rm) {
    if (a[head + i] == b[head + j]) {
      keptA[size_t(head + i)] = keptB[size_t(head + j)] = 1;
      ++i, ++j;
    } else if (at(i + 1, j) >= at(i, j + 1)) {
      ++i;
    } else {
      ++j;
    }
  }
  return true;
}

void Append(Diff &diff, DiffOp op, QStringView text) {
  if (text.isEmpty()) return;
  if (!diff.isEmpty() && diff.last().op == op)
    diff.last().text += text;
  else
    diff.append({op, text.toString()});
}

// Walks two aligned sequences and emits the pieces: between two kept positions, what a lost
// comes first, then what b gained.
template <typename Seq, typename Visit>
void Walk(const Seq &a, const Seq &b, const std::vector<char> &keptA, const std::vector<char> &keptB,
          Visit visit) {
  qsizetype i = 0, j = 0;
  while (i < a.size() || j < b.size()) {
    qsizetype i2 = i, j2 = j;
    while (i2 < a.size() && !keptA[size_t(i2)]) ++i2;
    while (j2 < b.size() && !keptB[size_t(j2)]) ++j2;
    visit(i, i2, j, j2);
    i = i2, j = j2;
    if (i < a.size() && j < b.size()) {
      visit(i, i + 1, -1, -1);
      ++i, ++j;
    }
  }
}

int CommonChars(QStringView a, QStringView b, std::vector<char> &keptA, std::vector<char> &keptB) {
  if (!Align(a, b, keptA, keptB)) return 0;
  return int(std::count(keptA.begin(), keptA.end(), 1));
}

// One word replaced by another that keeps most of its letters is shown letter by letter.
bool RetouchedWord(Diff &diff, QStringView before, QStringView after) {
  if (!IsWordChar(before.front()) || !IsWordChar(after.front())) return false;
  std::vector<char> keptA, keptB;
  const int common = CommonChars(before, after, keptA, keptB);
  if (2 * common < std::max(before.size(), after.size()) + 1) return false;
  Walk(before, after, keptA, keptB, [&](qsizetype i, qsizetype i2, qsizetype j, qsizetype j2) {
    if (j < 0) {
      Append(diff, DiffOp::Equal, before.mid(i, i2 - i));
      return;
    }
    Append(diff, DiffOp::Removed, before.mid(i, i2 - i));
    Append(diff, DiffOp::Added, after.mid(j, j2 - j));
  });
  return true;
}

QStringView Join(const QList<QStringView> &tokens, qsizetype from, qsizetype to) {
  if (from >= to) return {};
  const QChar *start = tokens[from].data();
  const QChar *end = tokens[to - 1].data() + tokens[to - 1].size();
  return QStringView(start, end - start);
}

bool IsBlank(QStringView token) { return token.front().isSpace() && token.front() != u'\n'; }

}  // namespace

Diff WordDiff(const QString &before, const QString &after) {
  Diff diff;
  const QList<QStringView> a = Tokens(before), b = Tokens(after);
  std::vector<char> keptA, keptB;
  if (!Align(a, b, keptA, keptB)) {
    Append(diff, DiffOp::Removed, before);
    Append(diff, DiffOp::Added, after);
    return diff;
  }
  Walk(a, b, keptA, keptB, [&](qsizetype i, qsizetype i2, qsizetype j, qsizetype j2) {
    if (j < 0) {
      Append(diff, DiffOp::Equal, a[i]);
      return;
    }
    if (i2 - i == 1 && j2 - j == 1 && RetouchedWord(diff, a[i], b[j])) return;
    Append(diff, DiffOp::Removed, Join(a, i, i2));
    Append(diff, DiffOp::Added, Join(b, j, j2));
  });
  return diff;
}

double WordSimilarity(const QString &a, const QString &b) {
  QList<QStringView> wa = Tokens(a), wb = Tokens(b);
  wa.removeIf(IsBlank);
  wb.removeIf(IsBlank);
  if (wa.isEmpty() && wb.isEmpty()) return 1.0;
  std::vector<char> keptA, keptB;
  if (!Align(wa, wb, keptA, keptB)) return a == b ? 1.0 : 0.0;
  const auto common = std::count(keptA.begin(), keptA.end(), 1);
  return 2.0 * double(common) / double(wa.size() + wb.size());
}

QString DiffHtml(const Diff &diff) {
  QString html;
  for (qsizetype i = 0; i < diff.size(); ++i) {
    const DiffPiece &piece = diff[i];
    // A word struck out and the one that replaced it would read as one word run together.
    if (i > 0 && piece.op == DiffOp::Added && diff[i - 1].op == DiffOp::Removed) html += QChar(0x2009);
    QString text = piece.text.toHtmlEscaped();
    text.replace(u'\n', QStringLiteral("<br>"));
    switch (piece.op) {
      case DiffOp::Equal: html += text; break;
      case DiffOp::Removed:
        html += QStringLiteral("<s style=\"color:#c62828\">") + text + QStringLiteral("</s>");
        break;
      case DiffOp::Added:
        html += QStringLiteral("<span style=\"color:#2e7d32;text-decoration:underline\">") + text +
                QStringLiteral("</span>");
        break;
    }
  }
  return html;
}

}  // namespace kvedit::textdiff
