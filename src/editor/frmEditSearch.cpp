// Searches: Find, Find Next, the three translation checks and Find Next Problem. All walk the list from the current
// row, wrap from the last row to the first and stop at the first row that qualifies.

#include "editor/frmEdit.h"

#include "dataview/UCKvDataView.h"
#include "services/ErrorContext.h"
#include "services/Services.h"

#include "services/TextFinder.h"

#include <algorithm>
#include <optional>

namespace kvedit {

void frmEdit::ProcessEditMenuFindText()
{
    Reporting("frmEdit", "ProcessEditMenuFindText", [&] {
        const QString answer = Services()
                                   .prompts
                                   ->Input(this, QStringLiteral("What do you want to look for?"), QStringLiteral("Find"),
                                           m_findText, InputPosition())
                                   .trimmed();
        // Cancel and an empty answer clear the text, which disables Find Next.
        m_findText = answer;
        UpdateMenuState();
        if (!answer.isEmpty())
            FindText(0);
    });
}

void frmEdit::ProcessEditMenuFindNext()
{
    Reporting("frmEdit", "ProcessEditMenuFindNext", [&] {
        if (!m_findText.isEmpty())
            FindText(1);
    });
}

void frmEdit::FindText(int fromNext)
{
    Reporting("frmEdit", "FindText", [&] {
        RunScan(fromNext ? Scan::NextText : Scan::Text, m_findText.trimmed(), QStringLiteral("Done finding text"));
    });
}

void frmEdit::FindTextInEntry(const QString &findText, const StringEntryPtr &entry, bool &found)
{
    Reporting("frmEdit", "FindTextInEntry", [&] {
        found = false;
        if (!entry)
            return;
        QString text = entry->Text();
        if (entry->Property(tpAllowShortcut))
            text = CleanAccessMarkers(text);
        found = text.contains(findText, Qt::CaseInsensitive);
    });
}

void frmEdit::ProcessEditMenuFindMissingTranslation()
{
    Reporting("frmEdit", "ProcessEditMenuFindMissingTranslation", [&] {
        RunScan(Scan::Missing, QString(), QStringLiteral("Done finding missing translations"));
    });
}

void frmEdit::ProcessEditMenuFindOutOfDateTranslation()
{
    Reporting("frmEdit", "ProcessEditMenuFindOutOfDateTranslation", [&] {
        RunScan(Scan::OutOfDate, QString(), QStringLiteral("Done finding out of date translations"));
    });
}

void frmEdit::ProcessEditMenuFindUnapprovedTranslation()
{
    Reporting("frmEdit", "ProcessEditMenuFindUnapprovedTranslation", [&] {
        RunScan(Scan::Unapproved, QString(), QStringLiteral("Done finding unapproved translations"));
    });
}

void frmEdit::ProcessEditMenuFindNextProblem()
{
    Reporting("frmEdit", "ProcessEditMenuFindNextProblem", [&] {
        RunScan(Scan::Problem, QString(), QStringLiteral("Done finding problems"));
    });
}

// Runs inside the calling command's error context: a failure leaves the current row as it was.
void frmEdit::RunScan(Scan scan, const QString &findText, const QString &doneMessage)
{
    const StringTableSet &tables = *Require(Tables(), "StringTableSet");
    const TableVersion version = Version();
    CStringList &list = m_DVDS.StringList();
    const qint32 count = list.Count();

    // Find and the checks test the current row last. Find Next starts one row further, and from
    // the last row its start lies beyond the list, so the row == start test never ends it: the
    // pass limit does, after every row was tested once.
    qint32 start = m_qvtdatEdit->CurrentRecord();
    if (scan == Scan::NextText) {
        ++start;
        if (start > count)
            ++start;
    }
    // The search text's skip table is built once for the pass. The matcher folds case one UTF-16
    // unit at a time and contains() one character at a time; they differ only on letters outside
    // the Basic Multilingual Plane, which fold only to each other, so for a search text without
    // surrogates both find the same, and a search text with them keeps contains().
    std::optional<TextFinder> matcher;
    if ((scan == Scan::Text || scan == Scan::NextText)
        && std::none_of(findText.cbegin(), findText.cend(), [](QChar c) { return c.isSurrogate(); }))
        matcher.emplace(findText);
    const TextFinder *finder = matcher ? &*matcher : nullptr;

    qint32 row = start;
    qint32 found = 0;
    for (qint32 tested = 0; tested < count; ++tested) {
        ++row;
        if (row > count)
            row = 1;
        if (RowQualifies(tables, scan, static_cast<StringId>(list.Value(row)), version, findText, finder)) {
            found = row;
            break;
        }
        if (row == start)
            break;
    }

    if (found != 0 && found != start)
        m_qvtdatEdit->ShowId(list.Value(found));
    else
        Services().prompts->Notify(this, doneMessage);
}

bool frmEdit::RowQualifies(const StringTableSet &tables, Scan scan, StringId id, TableVersion version,
                           const QString &findText, const TextFinder *finder)
{
    switch (scan) {
    case Scan::Text:
    case Scan::NextText:
        return TextMatches(tables, id, version, findText, finder)
               || TextMatches(tables, id, ssEnglishDefault, findText, finder);
    case Scan::Missing:
        return !tables.HasText(id, version);
    case Scan::OutOfDate:
    case Scan::Unapproved: {
        // The states are read afresh: a host's tables may change behind the editor's back.
        const TranslationState state = StringStates::Compute(tables, id, version).translation;
        return state == TranslationState::Missing || state == TranslationState::OutOfDate
               || (scan == Scan::Unapproved && state == TranslationState::Unapproved);
    }
    case Scan::Problem: {
        // From the checks' cache, which every change the editor makes keeps current.
        checks::TableChecker *checker = m_DVDS.Checks();
        return checker && !checker->ProblemsOf(id).isEmpty();
    }
    }
    return false;
}

bool frmEdit::TextMatches(const StringTableSet &tables, StringId id, StringSource source, const QString &findText,
                          const TextFinder *finder)
{
    // An entry is tested only when HasText reports a text. Asking that costs a second lookup, so
    // it is asked only of a text that matches, which a pass meets rarely: the answer is the same.
    const auto contains = [&](QStringView t) {
        return finder ? finder->FoundIn(t) : t.contains(findText, Qt::CaseInsensitive);
    };
    // Cleaning the shortcut marker changes only a text that has an '&', and whether the entry
    // allows a shortcut matters only when the cleaned text answers differently from the text as
    // it stands; the entry, which knows, is built for those alone. The tables lend the text
    // rather than copy it: a pass reads every one.
    struct {
        bool found = false;
        bool cleanedDiffers = false;
    } outcome;
    tables.TestText(id, source, StringTableSet::TextField::Text, [&outcome, &contains](QStringView text) {
        outcome.found = contains(text);
        outcome.cleanedDiffers = text.contains(u'&') && contains(CleanAccessMarkers(text.toString())) != outcome.found;
        return outcome.found;
    });
    bool found = outcome.found;
    if (outcome.cleanedDiffers)
        FindTextInEntry(findText, tables.Entry(id, source), found);
    return found && tables.HasText(id, source);
}

} // namespace kvedit
