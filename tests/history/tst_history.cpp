// Grading English changes and carrying translations over the trivial ones, on pairs as a desktop
// application's strings change; and kvedit stats counting them per class on the demo.

#include "CliRun.h"
#include "RecordTestSupport.h"
#include "history/EnglishChanges.h"
#include "server/Workspace.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::history;

class TestEnglishChanges : public QObject {
    Q_OBJECT

private slots:
    // An English change graded, and a translation of the text before carried over it.
    void change_data()
    {
        test::AddCaseRows(QFINDTESTDATA("data/changes.txt"),
                          {"before", "after", "afterProperties", "change", "translation", "carried", "key"});
    }
    void change()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, afterProperties);
        QFETCH(QString, change);
        QFETCH(QString, translation);
        QFETCH(QString, carried);
        QFETCH(QString, key);
        EnglishChange english;
        english.before = EntryValues{before, {}, {}, 0, 0};
        english.after = {after, {}, {}, afterProperties == u'M' ? tpMultipleLines : 0, 0};
        english.change = Classify(*english.before, english.after);
        QCOMPARE(Key(english.change), change);
        if (translation.isEmpty())
            return;
        const qsizetype marker = translation.indexOf(u'&');
        const EntryValues own{translation, {}, marker >= 0 ? QString(translation.at(marker + 1).toUpper()) : QString(),
                              marker >= 0 ? tpAllowShortcut : 0, 0};
        const std::optional<CarriedOver> result = CarryOver(english, own);
        const QString got = result ? result->values.text + u'|' + result->values.shortcutCharacter : QString("-|");
        QCOMPARE(got, carried + u'|' + key);
        if (result)
            QCOMPARE(result->adjusted, result->values.text != translation);
    }

    // The demo's history has two changes of words, two of punctuation and one each of marker and
    // property among the German default's out-of-date strings; the rest it does not know.
    void statsPerClass()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("demo.kvw");
        server::CreateDemoWorkspace(path);
        const test::CliRun r = test::Cli({"stats", path, "--table", "1", "--json"});
        QVERIFY2(r.code == 0, r.Describe());
        const server::DemoStringCounts demo = server::DemoCounts(ssLocalDefault);
        QCOMPARE(QJsonDocument::fromJson(r.out.toUtf8()).object().value("outOfDateByChange").toObject(),
                 (QJsonObject{{"text", 2}, {"punctuation", 2}, {"shortcut", 1}, {"properties", 1}, {"none", 0},
                              {"unknown", demo.outOfDate - demo.missing - 6}}));
    }
};

QTEST_GUILESS_MAIN(TestEnglishChanges)
#include "tst_history.moc"
