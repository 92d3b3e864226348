#pragma once
// What each string of a table version needs: missing, out of date, unapproved or approved, and
// whether its text is a local edit; in the English default, whether a correction waits in
// English Edited. The list's signs, the progress line, the filter, save-and-next and the command
// line's statistics all read their states here, so every view agrees on them.

#include "model/StringTables.h"

#include <QString>

#include <vector>

namespace kvedit {

enum class TranslationState : quint8 {
    None = 0,      // not a string of the table, or the English default (nothing to translate)
    Missing,       // no text
    OutOfDate,     // a text older than the English one
    Unapproved,    // current, not marked approved
    Approved,
};

struct StringState {
    TranslationState translation = TranslationState::None;
    bool localEdit = false;            // the text comes from the edited source itself
    bool pendingCorrection = false;    // English default only: English Edited holds a correction
    bool listed = false;               // a string of the table at all

    bool NeedsWork() const
    {
        return translation == TranslationState::Missing || translation == TranslationState::OutOfDate
               || translation == TranslationState::Unapproved;
    }
    bool operator==(const StringState &) const = default;
};

// Disjoint counts: every string is in exactly one of missing, out of date, unapproved, approved.
struct StateCounts {
    int strings = 0;
    int missing = 0;
    int outOfDate = 0;
    int unapproved = 0;
    int approved = 0;
    int localEdits = 0;
    int pendingCorrections = 0;

    int NeedsWork() const { return missing + outOfDate + unapproved; }
    bool operator==(const StateCounts &) const = default;
};

// The state choices of the list's filter. HasProblems is decided by the quality checks, which
// the states do not know: here it lets every string of the table through.
enum class StateFilter { All, NeedsWork, Missing, OutOfDate, Unapproved, Approved, LocallyEdited, PendingCorrection, HasProblems };

class StringStates {
public:
    // Binds to a table version and counts it (a null table set gives an empty count).
    void Attach(const StringTableSetPtr &tables, TableVersion version, int maximumCount);
    // Counts the whole table again in one pass (after Save, Reset, undo).
    void Recount();
    // Counts one id again (after a store or a removal).
    void Update(StringId id);

    StringState State(StringId id) const;
    const StateCounts &Counts() const { return m_counts; }
    TableVersion Version() const { return m_version; }
    bool Matches(StringId id, StateFilter filter) const;

    // The state as the tables give it now, without the cache.
    static StringState Compute(const StringTableSet &tables, StringId id, TableVersion version);
    // The state in words, for tooltips ("Out of date: the English text changed since").
    static QString Describe(const StringState &state);
    // The filter choices offered in a table version, with their captions.
    static QList<QPair<StateFilter, QString>> FilterChoices(TableVersion version);

private:
    void Add(const StringState &state, int sign);

    StringTableSetPtr m_tables;
    TableVersion m_version = ssLocalEdited;
    std::vector<StringState> m_states;   // by id; index 0 unused
    StateCounts m_counts;
};

} // namespace kvedit
