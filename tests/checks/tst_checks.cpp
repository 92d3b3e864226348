// The quality checks: each rule on real-looking strings, including the ones that must not warn,
// and the messages that name what differs; a whole table with its cache and shortcut groups,
// also when asked one string at a time before the whole check. (Switching rules off is an edit
// of the workspace: the server's scenarios.)

#include "checks/TableChecker.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include "RecordTestSupport.h"

#include <QtTest>

#include <algorithm>
#include <ranges>

using namespace kvedit;
using namespace kvedit::checks;

namespace {

// Values of a text. flags: empty derives the properties from the text as an importer does
// ('&' marker: shortcut, line break: multiple lines, tab: tabs); otherwise any of S (allow
// shortcut), M (multiple lines), T (tabs), then ":X" for the shortcut character and "/N" for
// the shortcut mode, "#N,M" for the parameter definitions; "-" for none of them.
StringValues Values(const QString &text, const QString &flags = {})
{
    StringValues v;
    v.text = text;
    const bool derived = flags.isEmpty();
    v.allowShortcut = derived ? QString(text).remove(QLatin1String("&&")).contains(u'&') : flags.contains(u'S');
    v.multipleLines = derived ? text.contains(u'\n') : flags.contains(u'M');
    v.allowTab = derived ? text.contains(u'\t') : flags.contains(u'T');
    v.shortcutMode = v.allowShortcut ? 1 : 0;
    const qsizetype colon = flags.indexOf(u':');
    if (colon >= 0)
        v.shortcutCharacter = flags.mid(colon + 1, 1);
    const qsizetype slash = flags.indexOf(u'/');
    if (slash >= 0)
        v.shortcutMode = flags.mid(slash + 1).toInt();
    const qsizetype hash = flags.indexOf(u'#');
    if (hash >= 0)
        for (const QString &number : flags.mid(hash + 1).split(u','))
            v.parameters << number.toInt();
    return v;
}

// "placeholders shortcut@5": each problem's rule, with "@start" where it has a range.
QString Found(const Problems &problems)
{
    QStringList out;
    for (const Problem &p : problems)
        out << (p.start >= 0 ? QStringLiteral("%1@%2").arg(p.rule).arg(p.start) : p.rule);
    return out.join(u' ');
}

QString Messages(const Problems &problems)
{
    QStringList out;
    for (const Problem &p : problems)
        out << Describe(p);
    return out.join(u'\n');
}

server::Record Rec(const QString &text, const QString &description)
{
    server::Record r = test::Full(text, 1, sfApproved, description);
    if (Values(text).allowShortcut) {
        r.properties = tpAllowShortcut;
        r.shortcutMode = 1;
    }
    return r;
}

} // namespace

class TestChecks : public QObject {
    Q_OBJECT

private slots:
    void translation_data()
    {
        test::AddCaseRows(QFINDTESTDATA("data/translations.txt"), {"english", "translation", "flags", "expected"});
    }

    void translation()
    {
        QFETCH(QString, english);
        QFETCH(QString, translation);
        QFETCH(QString, flags);
        QFETCH(QString, expected);
        const StringValues checked = Values(translation, flags);
        const Problems problems = english == u'-' ? CheckEnglish(checked) : Check(Values(english), checked);
        if (expected.contains(QLatin1String("]: ")))
            QCOMPARE(Messages(problems), expected);
        else
            QCOMPARE(Found(problems), expected);
    }

    void ruleSetFromIds()
    {
        QStringList unknown;
        const RuleSet rules = RuleSet::AllBut({QStringLiteral("length"), QStringLiteral("from-the-future"), QStringLiteral("tabs")}, &unknown);
        QCOMPARE(unknown, QStringList{QStringLiteral("from-the-future")});
        QCOMPARE(rules.DisabledIds(), (QStringList{QStringLiteral("tabs"), QStringLiteral("length")}));
        QCOMPARE(RuleSet::AllBut(rules.DisabledIds()), rules);
        QCOMPARE(rules.Ids().size() + 2, static_cast<qsizetype>(Rules().size()));
    }

    void tableGroupsAndCache()
    {
        const server::WorkspacePtr ws = server::Workspace::CreateInMemory({QStringLiteral("T"), QStringLiteral("de-DE"), 50});
        const std::shared_ptr<server::TableSet> set = ws->Set();
        // A File menu with a gap in its ids, then the Edit menu; German clashes on A in the File
        // menu and on nothing across the menus.
        const struct {
            StringId id;
            const char *english, *german, *description;
        } rows[] = {
            {10, "&New", "&Neu", "Menu File: New"},
            {11, "Save &As...", "Speichern &unter...", "Menu File: Save As"},
            {12, "Save A&ll", "&Alles speichern", "Menu File: Save All"},
            {14, "Print Pre&view", "Seiten&ansicht", "Menu File: Print Preview"},
            {20, "&Undo", "&Rückgängig", "Menu Edit: Undo"},
            {21, "Select &All", "&Alles auswählen", "Menu Edit: Select All"},
            {22, "&Delete", "&Löschen", "Menu Edit: Delete"},
        };
        for (const auto &r : rows) {
            set->PutRecord(r.id, ssEnglishDefault, Rec(QString::fromUtf8(r.english), QString::fromLatin1(r.description)));
            set->PutRecord(r.id, ssLocalDefault, Rec(QString::fromUtf8(r.german), QString::fromLatin1(r.description)));
        }
        TableChecker checker(set, ssLocalDefault, 50);
        QCOMPARE(checker.IdsWithProblems(), (QList<StringId>{12, 14}));
        QCOMPARE(Found(checker.ProblemsOf(14)), QStringLiteral("shortcut-clash@6"));
        QVERIFY(checker.ProblemsOf(12).first().message.contains(QLatin1String("also used by 14 in the group \"Menu File\"")));
        QCOMPARE(checker.IdsWithProblems(), TableChecker(set, ssLocalDefault, 50).IdsWithProblems());   // the cache agrees

        // The dialog's text as typed: a third A joins the clash, a free key does not.
        StringValues typed = Values(QStringLiteral("Speichern &als..."));
        QVERIFY(Messages(checker.CheckEdit(11, typed)).contains(QLatin1String("also used by 12, 14")));
        typed.text = QStringLiteral("Speichern &unter...");
        QCOMPARE(Found(checker.CheckEdit(11, typed)), QString());

        // Fixing one string clears the other's clash once the fixed one is invalidated, not before.
        set->PutRecord(14, ssLocalDefault, Rec(QStringLiteral("Seitenansi&cht"), QStringLiteral("Menu File: Print Preview")));
        QCOMPARE(checker.IdsWithProblems(), (QList<StringId>{12, 14}));
        checker.Invalidate(14);
        QCOMPARE(checker.IdsWithProblems(), QList<StringId>());

        // Descriptions that move the File menu into the Edit menu's group: 12 now clashes there,
        // and the Edit menu's 21 with it (its run reaches 12 across the ids not in use).
        for (const auto &r : rows | std::views::take(4)) {
            const QString description = QString::fromLatin1(r.description).replace("File", "Edit");
            set->PutRecord(r.id, ssEnglishDefault, Rec(QString::fromUtf8(r.english), description));
            checker.Invalidate(r.id);
        }
        QCOMPARE(checker.IdsWithProblems(), (QList<StringId>{12, 21}));
        QCOMPARE(checker.Count(), (Totals{0, 2, 2}));

        // Removing a string drops its problems and its part in the clash.
        set->PutRecord(21, ssEnglishDefault, std::nullopt);
        set->PutRecord(21, ssLocalDefault, std::nullopt);
        checker.Invalidate(21);
        QCOMPARE(checker.IdsWithProblems(), QList<StringId>());

        // The rule switched off: no clash is reported, and back on, it is again.
        set->PutRecord(22, ssLocalDefault, Rec(QStringLiteral("&Alles löschen"), QStringLiteral("Menu Edit: Delete")));
        checker.Invalidate(22);
        QCOMPARE(checker.IdsWithProblems(), (QList<StringId>{12, 22}));
        checker.SetRules(RuleSet::AllBut({QStringLiteral("shortcut-clash")}));
        QCOMPARE(checker.IdsWithProblems(), QList<StringId>());
    }

    // One string's problems asked before the whole table has been checked (the rows a list
    // paints first) must be the ones a whole check finds, shortcut clashes with its group
    // included, in whatever order the strings are asked for and after an edit.
    void checkedAroundAsTheWholeCheck_data()
    {
        QTest::addColumn<TableVersion>("version");
        QTest::addColumn<bool>("descending");
        QTest::addColumn<bool>("editFirst");
        QTest::newRow("translation, top down") << ssLocalEdited << false << false;
        QTest::newRow("translation, bottom up") << ssLocalEdited << true << false;
        QTest::newRow("English, top down") << ssEnglishDefault << false << false;
        QTest::newRow("translation, after an edit") << ssLocalEdited << false << true;
    }
    void checkedAroundAsTheWholeCheck()
    {
        QFETCH(TableVersion, version);
        QFETCH(bool, descending);
        QFETCH(bool, editFirst);
        // The demo workspace has clashes within menu groups and problems of every kind.
        const server::WorkspacePtr ws = server::CreateDemoWorkspace(QString());
        const StringTableSetPtr tables = ws->Tables();
        const int maximum = ws->Info().maximumCount;
        TableChecker partial(tables, version, maximum);
        QList<StringId> ids;
        for (int id = 1; id <= maximum; ++id)
            if (tables->IdInUse(static_cast<StringId>(id), version))
                ids.append(static_cast<StringId>(id));
        QVERIFY(ids.size() > 100);
        if (descending)
            std::reverse(ids.begin(), ids.end());
        if (editFirst) {
            partial.Count(ids.at(1));
            // A File menu item given the shortcut of its neighbour, after its group was checked.
            const StringEntryPtr entry = tables->Entry(ids.at(2), version);
            const QString neighbours = tables->Text(ids.at(1), version);
            tables->StoreEntry(entry->CreateEdited(entry->Id(), neighbours, entry->EntryText(), false, false, true,
                                                   QString(), 0, entry->ParameterDefinitions(), true));
            partial.Invalidate(ids.at(2));
        }
        TableChecker whole(tables, version, maximum);
        whole.Count();
        int clashes = 0;
        for (const StringId id : ids) {
            const Problems problems = partial.ProblemsOf(id);
            QCOMPARE(problems, whole.ProblemsOf(id));
            clashes += Found(problems).contains(QLatin1String("shortcut-clash"));
        }
        QVERIFY(clashes > 0);
        QCOMPARE(partial.Count(), whole.Count());
    }
};

QTEST_GUILESS_MAIN(TestChecks)
#include "tst_checks.moc"
