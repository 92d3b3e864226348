// Grading English changes and carrying translations over the trivial ones, on pairs as a desktop
// application's strings change; and kvedit stats counting them per class on the demo.

#include "CliRun.h"
#include "history/EnglishChanges.h"
#include "server/Workspace.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::history;

Q_DECLARE_METATYPE(kvedit::history::ChangeClass)

class TestEnglishChanges : public QObject {
    Q_OBJECT

private slots:
    void classify_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<int>("propertiesAfter");
        QTest::addColumn<ChangeClass>("expected");
        QTest::newRow("word replaced") << "Could not open %1" << "Could not read %1" << 0 << ChangeClass::Text;
        QTest::newRow("case of a word") << "Open file" << "Open File" << 0 << ChangeClass::Text;
        QTest::newRow("placeholder renumbered") << "Page %1" << "Page %2" << 0 << ChangeClass::Text;
        QTest::newRow("comma added") << "Close the document and discard changes"
                                     << "Close the document, and discard changes" << 0 << ChangeClass::Punctuation;
        QTest::newRow("doubled blank removed") << "Save  as" << "Save as" << 0 << ChangeClass::Punctuation;
        QTest::newRow("marker moved") << "&Print" << "P&rint" << 0 << ChangeClass::Shortcut;
        QTest::newRow("ampersand kept, marker moved") << "&Find && Replace" << "Find && &Replace" << 0
                                                      << ChangeClass::Shortcut;
        QTest::newRow("property switched") << "Line one" << "Line one" << int(tpMultipleLines) << ChangeClass::Properties;
    }
    void classify()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(int, propertiesAfter);
        QFETCH(ChangeClass, expected);
        QCOMPARE(Classify({before, {}, {}, 0, 0}, {after, {}, {}, propertiesAfter, 0}), expected);
    }

    void carryOver_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("translation");
        QTest::addColumn<QString>("expected");   // text|its shortcut character; "-": not carried over
        QTest::newRow("ellipsis added") << "&Open" << "&Open..." << "Ö&ffnen" << "Ö&ffnen...|F";
        QTest::newRow("full stop to question mark") << "Save changes." << "Save changes?" << "Änderungen speichern."
                                                    << "Änderungen speichern?|";
        QTest::newRow("comma inside: restamped only") << "Close it and discard changes" << "Close it, and discard changes"
                                                      << "Schließen und verwerfen" << "Schließen und verwerfen|";
        QTest::newRow("translation ends otherwise") << "Loading..." << "Loading…" << "Wird geladen" << "Wird geladen|";
        QTest::newRow("marker removed") << "&Cancel" << "Cancel" << "&Abbrechen" << "Abbrechen|";
        QTest::newRow("marker added on a letter found once") << "Help" << "&Help" << "Hilfe" << "&Hilfe|H";
        QTest::newRow("marker moved, translation chose its own") << "&Print" << "P&rint" << "&Drucken" << "&Drucken|D";
        QTest::newRow("marker moved with the translation") << "&Save As" << "Save &As" << "&Speichern als"
                                                           << "Speichern &als|A";
        QTest::newRow("letter twice: left alone") << "&Tab" << "T&ab" << "&Tabulator" << "&Tabulator|T";
        QTest::newRow("translation is the English text") << "&Format" << "F&ormat" << "&Format" << "F&ormat|O";
        QTest::newRow("words changed") << "Could not open %1" << "Could not read %1" << "%1 nicht geöffnet" << "-";
    }
    void carryOver()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, translation);
        QFETCH(QString, expected);
        EnglishChange change;
        change.before = EntryValues{before, {}, {}, 0, 0};
        change.after = {after, {}, {}, 0, 0};
        change.change = Classify(*change.before, change.after);
        const qsizetype marker = translation.indexOf(u'&');
        const EntryValues own{translation, {}, marker >= 0 ? QString(translation.at(marker + 1).toUpper()) : QString(),
                              marker >= 0 ? tpAllowShortcut : 0, 0};
        const std::optional<CarriedOver> carried = CarryOver(change, own);
        QCOMPARE(carried ? carried->values.text + u'|' + carried->values.shortcutCharacter : QString("-"), expected);
        if (carried)
            QCOMPARE(carried->adjusted, carried->values.text != translation);
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
