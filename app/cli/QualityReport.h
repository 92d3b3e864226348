#pragma once
// What the command-line tools say about the quality checks: problem lines, counts, and which
// strings an import brought.

#include "checks/TableChecker.h"
#include "server/TableSet.h"

#include <QJsonObject>

#include <array>
#include <optional>
#include <vector>

namespace kvedit::cli {

// The rules the workspace has not switched off.
checks::RuleSet WorkspaceRules(const StringTableSet &tables);

// "app.kvw:1002 (IDS_MSG_OPEN_FAILED): error [placeholders]: the translation lacks %2"
QString ProblemLine(const QString &workspace, StringId id, const QString &symbol, const checks::Problem &problem);

// One problem as JSON: id, symbol, severity, rule, message and, when known, start and length.
QJsonObject ProblemJson(StringId id, const QString &symbol, const checks::Problem &problem);

// "2 errors and 1 warning"
QString CountsText(const checks::Totals &totals);

// The records of every source an import may write (the English default, the local default and
// the local edited) before it, to tell which strings it added or changed.
class ImportSnapshot {
public:
    explicit ImportSnapshot(const server::TableSet &set);
    QList<StringId> Changed(const server::TableSet &set, StringSource source) const;

private:
    int m_maximum;
    std::array<std::vector<std::optional<server::Record>>, 4> m_records;
};

} // namespace kvedit::cli
