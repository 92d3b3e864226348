// Carry Over Trivial Changes: every out-of-date translation the list shows whose English changed
// only in punctuation or blanks, its shortcut marker or its text properties is restamped to the
// new English revision, keeping its approval, with its ending punctuation or shortcut marker
// adjusted where the English change says unambiguously how. Each string is its own step on the
// undo stack, and a report lists what was done to which string and what was left to the
// translator.

#include "editor/frmEdit.h"

#include "dataview/UCKvDataView.h"
#include "history/EnglishChanges.h"
#include "services/ErrorContext.h"
#include "services/Services.h"

#include <QAction>
#include <QMenu>

namespace kvedit {

namespace {

// So many lines of the report name their strings; the rest are counted.
constexpr int kReportLines = 25;

} // namespace

void frmEdit::SetupCarryOver()
{
    auto *carryOver = new QAction(QStringLiteral("Carry O&ver Trivial Changes"), this);
    carryOver->setObjectName(QStringLiteral("mnuEditCarryOver"));
    carryOver->setToolTip(QStringLiteral("Bring the out-of-date translations shown up to English changes of "
                                         "punctuation, shortcut marker or properties only"));
    carryOver->setIconVisibleInMenu(false);
    connect(carryOver, &QAction::triggered, this, [this] {
        ProcessEditMenuCarryOver();
        UpdateMenuState();
    });
    // Beside the searches for translations, outside the items and their indexes; the English
    // default has nothing to carry over.
    m_mnuEdit->insertAction(EditItem(10), carryOver);
    connect(m_mnuEdit, &QMenu::aboutToShow, carryOver, [this, carryOver] {
        carryOver->setVisible(Version() != ssEnglishDefault);
    });
}

void frmEdit::ProcessEditMenuCarryOver()
{
    Reporting("frmEdit", "ProcessEditMenuCarryOver", [&] {
        const StringTableSetPtr tables = Require(Tables(), "StringTableSet");
        const TableVersion version = Version();
        if (version == ssEnglishDefault)
            return;
        const CStringList &list = m_DVDS.StringList();
        QStringList done;
        int carried = 0;
        int adjusted = 0;
        history::ClassCounts left;
        qint32 last = 0;
        const qint32 current = CurrentId();
        for (int row = 1; row <= list.Count(); ++row) {
            const auto id = static_cast<StringId>(list.Value(row));
            if (m_DVDS.States().State(id).translation != TranslationState::OutOfDate)
                continue;
            const std::optional<history::EnglishChange> change = history::ChangeSince(*tables, id, version);
            if (!change)
                continue;
            const std::optional<history::CarriedOver> result = history::CarryOver(*change, tables->Values(id, version));
            if (!result) {
                ++left[change->change];
                continue;
            }
            const StringEntryPtr entry = Require(tables->Entry(id, version), "StringEntry");
            const EntryValues &v = result->values;
            const QList<StringTableSet::Snapshot> before{tables->TakeSnapshot(id, version)};
            tables->StoreEntry(entry->CreateEdited(id, v.text, entry->EntryText(), v.properties & tpMultipleLines,
                                                   v.properties & tpAllowTab, v.properties & tpAllowShortcut,
                                                   v.shortcutCharacter, v.shortcutMode, entry->ParameterDefinitions(),
                                                   entry->Status(sfApproved)));
            RecordChange(tables, before, id, id, QStringLiteral("carry-over of %1").arg(id));
            NoteChanged({id});
            ++carried;
            adjusted += result->adjusted ? 1 : 0;
            last = id;
            if (done.size() < kReportLines) {
                const QString symbol = tables->Symbol(id);
                done << QStringLiteral("%1%2 (%3): %4")
                            .arg(id)
                            .arg(symbol.isEmpty() ? QString() : QLatin1Char(' ') + symbol,
                                 history::Describe(change->change), result->note);
            }
        }
        if (carried > 0)
            ShowIdAfterRefresh(ListShows(current) ? current : last);

        QStringList report;
        if (carried == 0)
            report << QStringLiteral("No out-of-date translation shown has a trivial English change to carry over.");
        else
            report << QStringLiteral("Carried over %1 to the new English revision, their approval kept; "
                                     "%2 adjusted. Each can be undone (Ctrl+Z).")
                          .arg(carried == 1 ? QStringLiteral("1 translation") : QStringLiteral("%1 translations").arg(carried))
                          .arg(adjusted)
                   << done;
        if (carried > done.size())
            report << QStringLiteral("... and %1 more.").arg(carried - done.size());
        if (left.text > 0)
            report << QStringLiteral("%1 with changed words left to translate.").arg(left.text);
        if (left.unknown > 0)
            report << QStringLiteral("%1 whose earlier English text was not kept left as they are.").arg(left.unknown);
        Services().prompts->Notify(this, report.join(u'\n'));
    });
}

} // namespace kvedit
