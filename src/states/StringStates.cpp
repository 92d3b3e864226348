#include "states/StringStates.h"

#include <QCoreApplication>

namespace kvedit {

StringState StringStates::Compute(const StringTableSet &tables, StringId id, TableVersion version)
{
    StringState state;
    if (!tables.IdInUse(id, ssEnglishDefault))
        return state;
    state.listed = true;
    if (version == ssEnglishDefault) {
        state.pendingCorrection = tables.TextOrigin(id, ssEnglishEdited) == ssEnglishEdited
                                  && tables.HasText(id, ssEnglishEdited);
        return state;
    }
    // The rules of the editor's searches: no text is missing, a revision below the English one
    // is out of date, and only a current text can be approved.
    if (!tables.HasText(id, version))
        state.translation = TranslationState::Missing;
    else if (tables.Revision(id, version) < tables.Revision(id, ssEnglishDefault))
        state.translation = TranslationState::OutOfDate;
    else if (!tables.HasStatus(id, version, sfApproved))
        state.translation = TranslationState::Unapproved;
    else
        state.translation = TranslationState::Approved;
    state.localEdit = (version == ssLocalEdited || version == ssEnglishEdited)
                      && state.translation != TranslationState::Missing && tables.TextOrigin(id, version) == version;
    return state;
}

void StringStates::Attach(const StringTableSetPtr &tables, TableVersion version, int maximumCount)
{
    m_tables = tables;
    m_version = version;
    m_states.assign(static_cast<size_t>(qBound(0, maximumCount, kMaxStringId)) + 1, StringState{});
    Recount();
}

void StringStates::Recount()
{
    m_counts = {};
    const size_t n = m_states.size();
    for (size_t i = 1; i < n; ++i) {
        m_states[i] = m_tables ? Compute(*m_tables, static_cast<StringId>(i), m_version) : StringState{};
        Add(m_states[i], 1);
    }
}

void StringStates::Update(StringId id)
{
    if (id <= 0 || static_cast<size_t>(id) >= m_states.size() || !m_tables)
        return;
    StringState &slot = m_states[static_cast<size_t>(id)];
    Add(slot, -1);
    slot = Compute(*m_tables, id, m_version);
    Add(slot, 1);
}

StringState StringStates::State(StringId id) const
{
    return id > 0 && static_cast<size_t>(id) < m_states.size() ? m_states[static_cast<size_t>(id)] : StringState{};
}

void StringStates::Add(const StringState &state, int sign)
{
    if (!state.listed)
        return;
    m_counts.strings += sign;
    switch (state.translation) {
    case TranslationState::Missing: m_counts.missing += sign; break;
    case TranslationState::OutOfDate: m_counts.outOfDate += sign; break;
    case TranslationState::Unapproved: m_counts.unapproved += sign; break;
    case TranslationState::Approved: m_counts.approved += sign; break;
    case TranslationState::None: break;
    }
    m_counts.localEdits += state.localEdit ? sign : 0;
    m_counts.pendingCorrections += state.pendingCorrection ? sign : 0;
}

bool StringStates::Matches(StringId id, StateFilter filter) const
{
    const StringState s = State(id);
    switch (filter) {
    case StateFilter::All: return true;
    case StateFilter::NeedsWork: return s.NeedsWork();
    case StateFilter::Missing: return s.translation == TranslationState::Missing;
    case StateFilter::OutOfDate: return s.translation == TranslationState::OutOfDate;
    case StateFilter::Unapproved: return s.translation == TranslationState::Unapproved;
    case StateFilter::Approved: return s.translation == TranslationState::Approved;
    case StateFilter::LocallyEdited: return s.localEdit;
    case StateFilter::PendingCorrection: return s.pendingCorrection;
    case StateFilter::HasProblems: return s.listed;
    }
    return false;
}

QString StringStates::Describe(const StringState &state)
{
    QString words;
    switch (state.translation) {
    case TranslationState::Missing: words = QStringLiteral("Missing: not translated yet"); break;
    case TranslationState::OutOfDate: words = QStringLiteral("Out of date: the English text changed since"); break;
    case TranslationState::Unapproved: words = QStringLiteral("Unapproved: translated, not yet approved"); break;
    case TranslationState::Approved: words = QStringLiteral("Approved"); break;
    case TranslationState::None:
        words = state.pendingCorrection ? QStringLiteral("An English correction is pending in English Edited")
                                        : QString();
        break;
    }
    if (state.localEdit)
        words += QStringLiteral(" (locally edited)");
    return words;
}

QList<QPair<StateFilter, QString>> StringStates::FilterChoices(TableVersion version)
{
    if (version == ssEnglishDefault)
        return {{StateFilter::All, QStringLiteral("All")},
                {StateFilter::PendingCorrection, QStringLiteral("Correction pending")},
                {StateFilter::HasProblems, QStringLiteral("Has problems")}};
    QList<QPair<StateFilter, QString>> choices{{StateFilter::All, QStringLiteral("All")},
                                               {StateFilter::NeedsWork, QStringLiteral("Needs work")},
                                               {StateFilter::Missing, QStringLiteral("Missing")},
                                               {StateFilter::OutOfDate, QStringLiteral("Out of date")},
                                               {StateFilter::Unapproved, QStringLiteral("Unapproved")},
                                               {StateFilter::Approved, QStringLiteral("Approved")}};
    if (version != ssLocalDefault)
        choices.append({StateFilter::LocallyEdited, QStringLiteral("Locally edited")});
    choices.append({StateFilter::HasProblems, QStringLiteral("Has problems")});
    return choices;
}

} // namespace kvedit
