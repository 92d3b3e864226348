#include "checks/TableChecker.h"

#include <algorithm>
#include <functional>

namespace kvedit::checks {

namespace {

bool IsEnglishVersion(TableVersion version) { return version == ssEnglishEdited || version == ssEnglishDefault; }

const int kClashRule = RuleIndex(u"shortcut-clash");
const int kParametersRule = RuleIndex(u"parameters");

} // namespace

TableChecker::TableChecker(StringTableSetPtr set, TableVersion version, int maximumCount, const RuleSet &rules)
    : m_set(std::move(set)), m_version(version), m_maximumCount(qBound(0, maximumCount, int(kMaxStringId))), m_rules(rules)
{
}

void TableChecker::SetRules(const RuleSet &rules)
{
    if (rules == m_rules)
        return;
    m_rules = rules;
    InvalidateAll();
}

void TableChecker::InvalidateAll()
{
    m_checked = false;
    m_pending.clear();
    m_partial.clear();
}

void TableChecker::Invalidate(StringId id)
{
    if (m_checked && Valid(id))
        m_pending.push_back(id);
    else
        m_partial.clear();   // an edit may move a string between groups: start the few rows over
}

void TableChecker::CheckAround(StringId id)
{
    if (m_partial.empty()) {
        m_slots.assign(static_cast<size_t>(m_maximumCount) + 1, Slot());
        m_partial.assign(static_cast<size_t>(m_maximumCount) + 1, 0);
    }
    if (m_partial[static_cast<size_t>(id)] == 2)
        return;
    const auto ensure = [this](int i) -> const Slot & {
        if (m_partial[static_cast<size_t>(i)] == 0) {
            CheckOne(static_cast<StringId>(i));
            m_partial[static_cast<size_t>(i)] = 1;
        }
        return m_slots[static_cast<size_t>(i)];
    };
    const Slot &slot = ensure(id);
    if (!slot.inUse || slot.label < 0) {
        m_partial[static_cast<size_t>(id)] = 2;
        return;
    }
    // The same walk as RunAround, checking each neighbour on the way.
    int first = id, last = id;
    for (int i = id - 1; i >= 1; --i) {
        const Slot &s = ensure(i);
        if (!s.inUse)
            continue;
        if (s.label != slot.label)
            break;
        first = i;
    }
    for (int i = id + 1; i <= m_maximumCount; ++i) {
        const Slot &s = ensure(i);
        if (!s.inUse)
            continue;
        if (s.label != slot.label)
            break;
        last = i;
    }
    ComputeClashes(first, last);
    for (int i = first; i <= last; ++i)
        if (m_partial[static_cast<size_t>(i)] == 1 && m_slots[static_cast<size_t>(i)].label == slot.label)
            m_partial[static_cast<size_t>(i)] = 2;
}

bool TableChecker::ClashRuleOn() const
{
    return m_rules.Contains(kClashRule);
}

int TableChecker::LabelIndex(const QString &description)
{
    const QStringView label = GroupLabel(description);
    if (label.isEmpty())
        return -1;
    const auto it = m_labelIndex.constFind(label);
    if (it != m_labelIndex.cend())
        return *it;
    m_labels.append(label.toString());
    const int index = static_cast<int>(m_labels.size() - 1);
    m_labelIndex.insert(QStringView(m_labels.last()), index);
    return index;
}

StringValues TableChecker::ReferenceOf(StringId id) const
{
    return StringValues::Of(m_set->Values(id, ssEnglishDefault));
}

void TableChecker::CheckOne(StringId id)
{
    Slot &slot = m_slots[static_cast<size_t>(id)];
    slot = Slot();
    slot.inUse = m_set->IdInUse(id, m_version);
    if (!slot.inUse)
        return;
    if (IsEnglishVersion(m_version)) {
        // The parameter definitions come only with the entry.
        const bool parameters = m_rules.Contains(kParametersRule);
        const StringValues values = parameters ? StringValues::Of(*m_set->Entry(id, m_version), true)
                                               : StringValues::Of(m_set->Values(id, m_version));
        slot.label = LabelIndex(values.description);
        slot.local = CheckEnglish(values, m_rules);
        slot.key = ShortcutKey(values, &slot.keyPos);
        return;
    }
    const StringValues english = ReferenceOf(id);
    slot.label = LabelIndex(english.description);
    const StringValues translation = StringValues::Of(m_set->Values(id, m_version));
    if (translation.text.isEmpty())
        return;   // missing: nothing to check, and no shortcut to clash
    slot.local = Check(english, translation, m_rules);
    slot.key = ShortcutKey(translation, &slot.keyPos);
}

bool TableChecker::RunAround(int id, int *first, int *last) const
{
    const Slot &slot = m_slots[static_cast<size_t>(id)];
    if (!slot.inUse || slot.label < 0)
        return false;
    *first = *last = id;
    for (int i = id - 1; i >= 1; --i) {
        const Slot &s = m_slots[static_cast<size_t>(i)];
        if (!s.inUse)
            continue;
        if (s.label != slot.label)
            break;
        *first = i;
    }
    for (int i = id + 1; i <= m_maximumCount; ++i) {
        const Slot &s = m_slots[static_cast<size_t>(i)];
        if (!s.inUse)
            continue;
        if (s.label != slot.label)
            break;
        *last = i;
    }
    return true;
}

QString TableChecker::ClashMessage(QChar key, const QList<StringId> &others) const
{
    QStringList ids;
    for (const StringId other : others)
        ids.append(QString::number(other));
    return QStringLiteral("the shortcut %1 is also used by %2 in the group \"%3\"")
        .arg(QString(key), ids.join(QStringLiteral(", ")), m_labels.value(m_slots[static_cast<size_t>(others.first())].label));
}

void TableChecker::ComputeClashes(int first, int last)
{
    // (key, id) of the run's strings with a shortcut; equal keys end up side by side.
    std::vector<std::pair<char16_t, StringId>> keys;
    for (int id = first; id <= last; ++id) {
        Slot &slot = m_slots[static_cast<size_t>(id)];
        slot.clash.clear();
        if (slot.inUse && !slot.key.isNull())
            keys.emplace_back(slot.key.unicode(), static_cast<StringId>(id));
    }
    if (!ClashRuleOn())
        return;
    std::sort(keys.begin(), keys.end());
    const Rule &rule = checks::Rules()[kClashRule];
    for (size_t i = 0; i < keys.size();) {
        size_t j = i;
        while (j < keys.size() && keys[j].first == keys[i].first)
            ++j;
        for (size_t k = i; j - i > 1 && k < j; ++k) {
            QList<StringId> others;
            for (size_t m = i; m < j; ++m)
                if (m != k)
                    others.append(keys[m].second);
            Slot &slot = m_slots[static_cast<size_t>(keys[k].second)];
            slot.clash.append(Problem{RuleId(rule), rule.severity, ClashMessage(slot.key, others), slot.keyPos,
                                      slot.keyPos >= 0 ? 2 : 0});
        }
        i = j;
    }
}

void TableChecker::ComputeClashesAround(int id)
{
    int first = 0, last = 0;
    if (RunAround(id, &first, &last))
        ComputeClashes(first, last);
    else
        m_slots[static_cast<size_t>(id)].clash.clear();
}

void TableChecker::Refresh()
{
    if (!m_checked) {
        m_slots.assign(static_cast<size_t>(m_maximumCount) + 1, Slot());
        for (int id = 1; id <= m_maximumCount; ++id)
            CheckOne(static_cast<StringId>(id));
        for (int id = 1; id <= m_maximumCount;) {
            int first = 0, last = 0;
            if (RunAround(id, &first, &last)) {
                ComputeClashes(first, last);
                id = last + 1;
            } else {
                ++id;
            }
        }
        m_checked = true;
        m_pending.clear();
        m_partial.clear();
        return;
    }
    if (m_pending.empty())
        return;
    std::vector<StringId> pending;
    pending.swap(m_pending);
    for (const StringId id : pending)
        CheckOne(id);
    // The id's group as it is now, and the neighbours' groups it may have left or split.
    for (const StringId id : pending) {
        int before = id - 1;
        while (before >= 1 && !m_slots[static_cast<size_t>(before)].inUse)
            --before;
        int after = id + 1;
        while (after <= m_maximumCount && !m_slots[static_cast<size_t>(after)].inUse)
            ++after;
        ComputeClashesAround(id);
        if (before >= 1)
            ComputeClashesAround(before);
        if (after <= m_maximumCount)
            ComputeClashesAround(after);
    }
}

Problems TableChecker::ProblemsOf(StringId id)
{
    if (!Valid(id))
        return {};
    if (m_checked)
        Refresh();
    else
        CheckAround(id);
    const Slot &slot = m_slots[static_cast<size_t>(id)];
    if (slot.clash.isEmpty())
        return slot.local;
    Problems all = slot.local;
    all.append(slot.clash);
    return all;
}

QList<StringId> TableChecker::IdsWithProblems()
{
    Refresh();
    QList<StringId> ids;
    for (int id = 1; id <= m_maximumCount; ++id) {
        const Slot &slot = m_slots[static_cast<size_t>(id)];
        if (!slot.local.isEmpty() || !slot.clash.isEmpty())
            ids.append(static_cast<StringId>(id));
    }
    return ids;
}

Totals TableChecker::Count(const QList<StringId> &ids)
{
    Totals totals;
    for (const StringId id : ids) {
        const Totals one = Count(id);
        totals.errors += one.errors;
        totals.warnings += one.warnings;
        totals.strings += one.strings;
    }
    return totals;
}

Totals TableChecker::Count(StringId id)
{
    Totals totals;
    if (!Valid(id))
        return totals;
    if (m_checked)
        Refresh();
    else
        CheckAround(id);
    const Slot &slot = m_slots[static_cast<size_t>(id)];
    for (const Problems &list : {std::cref<Problems>(slot.local), std::cref<Problems>(slot.clash)})
        for (const Problem &p : list)
            ++(p.severity == Severity::Error ? totals.errors : totals.warnings);
    if (!slot.local.isEmpty() || !slot.clash.isEmpty())
        ++totals.strings;
    return totals;
}

Totals TableChecker::Count()
{
    return Count(IdsWithProblems());
}

Problems TableChecker::CheckEdit(StringId id, const StringValues &typed)
{
    if (!Valid(id))
        return {};
    Refresh();
    Problems problems = IsEnglishVersion(m_version) ? CheckEnglish(typed, m_rules) : Check(ReferenceOf(id), typed, m_rules);
    int keyPos = -1;
    const QChar key = ShortcutKey(typed, &keyPos);
    if (key.isNull() || !ClashRuleOn())
        return problems;
    // The group as the cache knows it, with this string in it as typed.
    const int label = IsEnglishVersion(m_version) ? LabelIndex(typed.description) : m_slots[static_cast<size_t>(id)].label;
    if (label < 0)
        return problems;
    QList<StringId> others;
    const auto scan = [&](int from, int step) {
        for (int i = from; i >= 1 && i <= m_maximumCount; i += step) {
            const Slot &s = m_slots[static_cast<size_t>(i)];
            if (!s.inUse)
                continue;
            if (s.label != label)
                break;
            if (s.key == key)
                others.append(static_cast<StringId>(i));
        }
    };
    scan(id - 1, -1);
    scan(id + 1, 1);
    if (others.isEmpty())
        return problems;
    std::sort(others.begin(), others.end());
    const Rule &rule = checks::Rules()[kClashRule];
    problems.append(Problem{RuleId(rule), rule.severity, ClashMessage(key, others), keyPos, keyPos >= 0 ? 2 : 0});
    return problems;
}

} // namespace kvedit::checks
