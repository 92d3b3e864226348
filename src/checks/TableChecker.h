#pragma once
// The quality checks of a whole table version, kept per id so a list can draw its markers from
// them: the first query checks every string, later ones read the cache, and Invalidate(id)
// has an edited string (and its shortcut group) checked again on the next query.
//
// Shortcut groups: a run of strings, in id order, whose descriptions begin with the same label
// before a ':' ("Menu File: Open", "Menu File: Save As" ...); ids not in use do not break a
// run, a string with another label or none ends it. Within a group no two strings may use the
// same shortcut character.

#include "checks/Checks.h"

#include <QHash>

#include <memory>
#include <vector>

namespace kvedit::checks {

struct Totals {
    int errors = 0;
    int warnings = 0;
    int strings = 0;    // strings with at least one problem
    bool operator==(const Totals &) const = default;
};

class TableChecker {
public:
    // Checks table version `version` of set, ids 1 to maximumCount (the server's MaximumCount).
    // Translations (versions 0 and 1) are checked against the English default; versions 2 and
    // 3 hold English texts, checked alone.
    TableChecker(StringTableSetPtr set, TableVersion version, int maximumCount, const RuleSet &rules = RuleSet::All());

    TableVersion Version() const { return m_version; }
    const RuleSet &Rules() const { return m_rules; }
    void SetRules(const RuleSet &rules);   // everything is checked again on the next query

    // The problems of one id, in rule order; none for an id not in use or without a text.
    Problems ProblemsOf(StringId id);
    QList<StringId> IdsWithProblems();     // ascending
    Totals Count();
    // Totals over some ids only (those an import brought, for example).
    Totals Count(const QList<StringId> &ids);
    // One string's totals, without making a list: cheap enough for every row a list paints.
    Totals Count(StringId id);

    // After an edit of the id in any source: the id and every string of its shortcut group, as
    // it was and as it is now, are checked again on the next query.
    void Invalidate(StringId id);
    void InvalidateAll();

    // The text being typed for an id, checked as it would be stored: the rules of one string
    // and the shortcut clashes with the rest of its group as the cache knows it.
    Problems CheckEdit(StringId id, const StringValues &typed);

private:
    // A slot's problems. Most strings have none, and every id of the table has a slot: an empty
    // list costs a pointer instead of a QList.
    class ProblemList {
    public:
        ProblemList() = default;
        ProblemList(const ProblemList &other) { *this = other; }
        ProblemList(ProblemList &&) = default;
        ProblemList &operator=(const ProblemList &other)
        {
            if (this != &other)
                m_list = other.m_list ? std::make_unique<Problems>(*other.m_list) : nullptr;
            return *this;
        }
        ProblemList &operator=(ProblemList &&) = default;
        ProblemList &operator=(Problems problems)
        {
            m_list = problems.isEmpty() ? nullptr : std::make_unique<Problems>(std::move(problems));
            return *this;
        }
        bool isEmpty() const { return !m_list; }
        void clear() { m_list.reset(); }
        void append(const Problem &problem)
        {
            if (!m_list)
                m_list = std::make_unique<Problems>();
            m_list->append(problem);
        }
        operator const Problems &() const
        {
            static const Problems none;
            return m_list ? *m_list : none;
        }

    private:
        std::unique_ptr<Problems> m_list;
    };

    struct Slot {
        ProblemList local;      // the rules of one string
        ProblemList clash;
        int label = -1;         // index into m_labels; -1 for no group
        int keyPos = -1;
        QChar key;              // the shortcut's character, upper case; null for none
        bool inUse = false;
    };

    void Refresh();
    // Before the first whole check: the id and its shortcut group only, so that the rows a
    // list shows first cost no check of the rest.
    void CheckAround(StringId id);
    void CheckOne(StringId id);
    StringValues ReferenceOf(StringId id) const;   // the English default, for translations
    int LabelIndex(const QString &description);
    // The run of in-use ids around `id` sharing its label: first and last id; false when `id`
    // is in no group.
    bool RunAround(int id, int *first, int *last) const;
    void ComputeClashes(int first, int last);
    void ComputeClashesAround(int id);
    bool ClashRuleOn() const;
    QString ClashMessage(QChar key, const QList<StringId> &others) const;
    bool Valid(StringId id) const { return id >= 1 && id <= m_maximumCount; }

    StringTableSetPtr m_set;
    TableVersion m_version;
    int m_maximumCount;
    RuleSet m_rules;
    std::vector<Slot> m_slots;            // by id
    QStringList m_labels;
    QHash<QStringView, int> m_labelIndex; // views into m_labels
    bool m_checked = false;
    std::vector<StringId> m_pending;
    // Until m_checked: the ids CheckAround checked (1), and whose group's clashes it found (2).
    std::vector<quint8> m_partial;
};

} // namespace kvedit::checks
