// One string's problems asked before the whole table has been checked (the rows a list paints
// first) must be the ones a whole check finds, shortcut clashes with its group included, in
// whatever order the strings are asked for and after an edit.

#include "checks/TableChecker.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QTest>

#include <algorithm>

using namespace kvedit;

class TestCheckAround : public QObject {
    Q_OBJECT

private slots:
    void sameAsTheWholeCheck_data()
    {
        QTest::addColumn<TableVersion>("version");
        QTest::addColumn<bool>("descending");
        QTest::addColumn<bool>("editFirst");
        QTest::newRow("translation, top down") << ssLocalEdited << false << false;
        QTest::newRow("translation, bottom up") << ssLocalEdited << true << false;
        QTest::newRow("English, top down") << ssEnglishDefault << false << false;
        QTest::newRow("translation, after an edit") << ssLocalEdited << false << true;
    }
    void sameAsTheWholeCheck()
    {
        QFETCH(TableVersion, version);
        QFETCH(bool, descending);
        QFETCH(bool, editFirst);
        // The demo workspace has clashes within menu groups and problems of every kind.
        const server::WorkspacePtr ws = server::CreateDemoWorkspace(QString());
        const int maximum = ws->Info().maximumCount;
        checks::TableChecker partial(ws->Tables(), version, maximum);
        QList<StringId> ids;
        for (int id = 1; id <= maximum; ++id)
            if (ws->Tables()->IdInUse(static_cast<StringId>(id), version))
                ids.append(static_cast<StringId>(id));
        QVERIFY(ids.size() > 100);
        if (descending)
            std::reverse(ids.begin(), ids.end());
        if (editFirst) {
            partial.Count(ids.at(1));
            // A File menu item given the shortcut of its neighbour, after its group was checked.
            const StringEntryPtr entry = ws->Tables()->Entry(ids.at(2), version);
            ws->Tables()->StoreEntry(entry->CreateEdited(entry->Id(), ws->Tables()->Text(ids.at(1), version),
                                                         entry->EntryText(), false, false, true, QString(), 0,
                                                         entry->ParameterDefinitions(), true));
            partial.Invalidate(ids.at(2));
        }
        checks::TableChecker whole(ws->Tables(), version, maximum);
        whole.Count();
        int clashes = 0;
        for (const StringId id : ids) {
            const checks::Problems problems = partial.ProblemsOf(id);
            QCOMPARE(problems, whole.ProblemsOf(id));
            clashes += static_cast<int>(std::count_if(problems.cbegin(), problems.cend(), [](const checks::Problem &p) {
                return p.rule == QLatin1String("shortcut-clash");
            }));
        }
        QVERIFY(clashes > 0);
        QCOMPARE(partial.Count(), whole.Count());
    }
};

QTEST_GUILESS_MAIN(TestCheckAround)
#include "tst_checkaround.moc"
