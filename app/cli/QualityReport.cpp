#include "cli/QualityReport.h"

namespace kvedit::cli {

checks::RuleSet WorkspaceRules(const StringTableSet &tables)
{
    return checks::RuleSet::AllBut(tables.DisabledCheckRules());
}

QString ProblemLine(const QString &workspace, StringId id, const QString &symbol, const checks::Problem &problem)
{
    QString line = workspace + QLatin1Char(':') + QString::number(id);
    if (!symbol.isEmpty())
        line += QStringLiteral(" (") + symbol + QLatin1Char(')');
    return line + QStringLiteral(": ") + checks::Describe(problem);
}

QJsonObject ProblemJson(StringId id, const QString &symbol, const checks::Problem &problem)
{
    QJsonObject o;
    o.insert(QStringLiteral("id"), id);
    if (!symbol.isEmpty())
        o.insert(QStringLiteral("symbol"), symbol);
    o.insert(QStringLiteral("severity"), checks::SeverityName(problem.severity));
    o.insert(QStringLiteral("rule"), problem.rule);
    o.insert(QStringLiteral("message"), problem.message);
    if (problem.start >= 0) {
        o.insert(QStringLiteral("start"), problem.start);
        o.insert(QStringLiteral("length"), problem.length);
    }
    return o;
}

QString CountsText(const checks::Totals &totals)
{
    const auto count = [](int n, const char *one) {
        return QStringLiteral("%1 %2%3").arg(n).arg(QLatin1String(one), n == 1 ? QString() : QStringLiteral("s"));
    };
    return count(totals.errors, "error") + QStringLiteral(" and ") + count(totals.warnings, "warning");
}

ImportSnapshot::ImportSnapshot(const server::TableSet &set) : m_maximum(set.MaximumCount())
{
    for (const StringSource source : {ssLocalEdited, ssLocalDefault, ssEnglishDefault}) {
        auto &records = m_records[static_cast<size_t>(source)];
        records.resize(static_cast<size_t>(m_maximum) + 1);
        for (int id = 1; id <= m_maximum; ++id)
            records[static_cast<size_t>(id)] = set.RecordOf(static_cast<StringId>(id), source);
    }
}

QList<StringId> ImportSnapshot::Changed(const server::TableSet &set, StringSource source) const
{
    QList<StringId> ids;
    const auto &records = m_records[static_cast<size_t>(source)];
    if (records.empty())
        return ids;
    for (int id = 1; id <= m_maximum; ++id)
        if (set.RecordOf(static_cast<StringId>(id), source) != records[static_cast<size_t>(id)])
            ids.append(static_cast<StringId>(id));
    return ids;
}

} // namespace kvedit::cli
