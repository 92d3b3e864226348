// The demo workspace's contents. (The counts it documents are those kvedit stats finds, which
// tst_cli.cpp checks.)

#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::server;

class TestDemo : public QObject {
    Q_OBJECT

private slots:
    // Written to a file and opened again: every state a translation can be in is there, every
    // string has a symbol, and a few texts and descriptions are Japanese.
    void contents()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("demo.kvw");
        CreateDemoWorkspace(path);
        const std::shared_ptr<TableSet> set = Workspace::Open(path)->Set();
        QVERIFY(!set->Modified());
        // approved, unapproved, out of date, record without text, no record, local over the
        // default, local filling a missing one, Japanese texts, Japanese descriptions
        QList<int> states(9, 0);
        const auto isJapanese = [](const QString &s) {
            return std::any_of(s.begin(), s.end(), [](QChar c) { return c.unicode() >= 0x3040 && c.unicode() <= 0x9FFF; });
        };
        for (int id = 1; id <= set->MaximumCount(); ++id) {
            const auto i = StringId(id);
            const std::optional<Record> english = set->RecordOf(i, ssEnglishDefault);
            if (!english)
                continue;
            QVERIFY2(!set->Symbol(i).isEmpty(), qPrintable(QString::number(id)));
            const std::optional<Record> german = set->RecordOf(i, ssLocalDefault);
            const bool local = set->RecordOf(i, ssLocalEdited).has_value();
            const int state = !german ? 4
                              : !german->hasText                    ? 3
                              : german->revision < english->revision ? 2
                              : german->status & sfApproved         ? 0
                                                                    : 1;
            ++states[state];
            states[5] += local && german && german->hasText;
            states[6] += local && !(german && german->hasText);
            states[7] += isJapanese(english->text);
            states[8] += isJapanese(english->description);
        }
        QVERIFY2(states[0] > 150 && !states.contains(0), qPrintable(QString::number(states.indexOf(0))));
        QVERIFY(states[7] >= 3 && set->RecordCount(ssEnglishEdited) > 0);
    }
};

QTEST_GUILESS_MAIN(TestDemo)
#include "tst_demo.moc"
