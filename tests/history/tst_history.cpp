// Grading English changes and carrying translations over the trivial ones, on pairs as a desktop
// application's strings change; and the counts per class over a saved workspace.

#include "cli/CommandLine.h"
#include "history/EnglishChanges.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::history;

Q_DECLARE_METATYPE(kvedit::history::ChangeClass)

namespace {

EntryValues Values(const QString &text, int properties = 0)
{
    return {text, {}, {}, properties, 0};
}

} // namespace

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
        QTest::newRow("ellipsis added") << "&Open" << "&Open..." << 0 << ChangeClass::Punctuation;
        QTest::newRow("doubled blank removed") << "Save  as" << "Save as" << 0 << ChangeClass::Punctuation;
        QTest::newRow("marker moved") << "&Print" << "P&rint" << 0 << ChangeClass::Shortcut;
        QTest::newRow("marker added") << "Help" << "&Help" << 0 << ChangeClass::Shortcut;
        QTest::newRow("ampersand kept, marker moved") << "&Find && Replace" << "Find && &Replace" << 0
                                                      << ChangeClass::Shortcut;
        QTest::newRow("property switched") << "Line one" << "Line one" << int(tpMultipleLines)
                                           << ChangeClass::Properties;
        QTest::newRow("nothing but the revision") << "Open" << "Open" << 0 << ChangeClass::None;
    }
    void classify()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(int, propertiesAfter);
        QFETCH(ChangeClass, expected);
        QCOMPARE(Classify(Values(before), Values(after, propertiesAfter)), expected);
    }

    void carryOver_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("translation");
        QTest::addColumn<QString>("expected");   // "-": not carried over at all
        QTest::addColumn<QString>("key");        // the translation's shortcut character afterwards
        QTest::newRow("ellipsis added") << "&Open" << "&Open..." << "Ö&ffnen" << "Ö&ffnen..." << "F";
        QTest::newRow("full stop to question mark") << "Save changes." << "Save changes?" << "Änderungen speichern."
                                                    << "Änderungen speichern?" << "";
        QTest::newRow("comma inside: restamped only") << "Close the document and discard changes"
                                                      << "Close the document, and discard changes"
                                                      << "Dokument schließen und Änderungen verwerfen"
                                                      << "Dokument schließen und Änderungen verwerfen" << "";
        QTest::newRow("translation ends otherwise") << "Loading..." << "Loading…" << "Wird geladen"
                                                    << "Wird geladen" << "";
        QTest::newRow("marker removed") << "&Cancel" << "Cancel" << "&Abbrechen" << "Abbrechen" << "";
        QTest::newRow("marker added on a letter found once") << "Help" << "&Help" << "Hilfe" << "&Hilfe" << "H";
        QTest::newRow("marker added, letter not there") << "Print" << "&Print" << "Drucken" << "Drucken" << "";
        QTest::newRow("marker moved, translation chose its own") << "&Print" << "P&rint" << "&Drucken"
                                                                 << "&Drucken" << "D";
        QTest::newRow("marker moved with the translation") << "&Save As" << "Save &As" << "&Speichern als"
                                                           << "Speichern &als" << "A";
        QTest::newRow("letter twice: left alone") << "&Tab" << "T&ab" << "&Tabulator" << "&Tabulator" << "T";
        QTest::newRow("translation is the English text") << "&Format" << "F&ormat" << "&Format" << "F&ormat" << "O";
        QTest::newRow("words changed") << "Could not open %1" << "Could not read %1"
                                       << "%1 konnte nicht geöffnet werden" << "-" << "";
    }
    void carryOver()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, translation);
        QFETCH(QString, expected);
        QFETCH(QString, key);
        EnglishChange change;
        change.before = Values(before);
        change.after = Values(after);
        change.change = Classify(*change.before, change.after);
        EntryValues own = Values(translation, translation.contains(u'&') ? tpAllowShortcut : 0);
        if (const qsizetype marker = translation.indexOf(u'&'); marker >= 0)
            own.shortcutCharacter = translation.at(marker + 1).toUpper();
        const std::optional<CarriedOver> carried = CarryOver(change, own);
        QCOMPARE(carried.has_value(), expected != "-");
        if (!carried)
            return;
        QCOMPARE(carried->values.text, expected);
        QCOMPARE(carried->values.shortcutCharacter, key);
        QCOMPARE(carried->adjusted, expected != translation);
    }

    // A property the translation took from the English follows it; one of its own stays.
    void carryOverProperties()
    {
        EnglishChange change;
        change.before = Values("Line one", 0);
        change.after = Values("Line one", tpMultipleLines);
        change.change = ChangeClass::Properties;
        QCOMPARE(CarryOver(change, Values("Zeile eins", 0))->values.properties, int(tpMultipleLines));
        QCOMPARE(CarryOver(change, Values("Zeile eins", tpAllowTab))->values.properties, int(tpAllowTab));
    }

    // Over a saved workspace: each out-of-date translation counted by its English change; one
    // whose earlier English the file never saw is not known; current ones do not count.
    void countsPerClass()
    {
        using namespace kvedit::server;
        const WorkspacePtr ws = Workspace::CreateInMemory({"c", "de-DE", 20});
        const auto set = ws->Set();
        const QStringList english = {"Could not open %1", "&Open", "&Print", "Line one", "Close", "Quit"};
        for (int i = 0; i < english.size(); ++i) {
            Record en;
            en.text = english[i];
            en.hasText = true;
            en.revision = 1;
            set->PutRecord(StringId(i + 1), ssEnglishDefault, en);
            Record de = en;
            de.text = "Übersetzung " + QString::number(i);
            de.status = sfApproved;
            set->PutRecord(StringId(i + 1), ssLocalDefault, de);
        }
        set->Save(ssEnglishDefault, false);
        const auto change = [&](StringId id, const QString &text, int properties) {
            Record en = *set->RecordOf(id, ssEnglishDefault);
            en.text = text;
            en.properties = quint8(properties);
            en.revision = 2;
            set->PutRecord(id, ssEnglishDefault, en);
        };
        change(1, "Could not read %1", 0);
        change(2, "&Open...", 0);
        change(3, "P&rint", 0);
        change(4, "Line one", tpMultipleLines);
        set->Save(ssEnglishDefault, false);
        Record unknown = *set->RecordOf(5, ssLocalDefault);
        unknown.revision = 0;   // made before any revision the history knows
        set->PutRecord(5, ssLocalDefault, unknown);

        ClassCounts expected;
        expected.text = expected.punctuation = expected.shortcut = expected.properties = expected.unknown = 1;
        const ClassCounts counts = CountChanges(*set, ssLocalDefault, 20);
        QVERIFY2(counts == expected, qPrintable(QString("%1 %2 %3 %4 %5 %6").arg(counts.text).arg(counts.punctuation)
                     .arg(counts.shortcut).arg(counts.properties).arg(counts.none).arg(counts.unknown)));
        QVERIFY(!ChangeSince(*set, 6, ssLocalDefault));
        QCOMPARE(ChangeSince(*set, 2, ssLocalDefault)->before->text, QString("&Open"));
    }

    // kvedit stats on the demo, whose history has two of words, two of punctuation and one each
    // of marker and property among the German default's out-of-date strings.
    void statsPerClass()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("demo.kvw");
        server::CreateDemoWorkspace(path);
        QString text, errors;
        QTextStream out(&text), err(&errors);
        QCOMPARE(cli::RunCommandLine({"kvedit", "stats", path, "--table", "1", "--json"}, out, err), 0);
        out.flush();
        const QJsonObject byChange = QJsonDocument::fromJson(text.toUtf8()).object().value("outOfDateByChange").toObject();
        QCOMPARE(byChange.value("text").toInt(), 2);
        QCOMPARE(byChange.value("punctuation").toInt(), 2);
        QCOMPARE(byChange.value("shortcut").toInt(), 1);
        QCOMPARE(byChange.value("properties").toInt(), 1);
        int sum = 0;
        for (const QJsonValue v : byChange)
            sum += v.toInt();
        QCOMPARE(sum, server::DemoCounts(ssLocalDefault).outOfDate - server::DemoCounts(ssLocalDefault).missing);
    }
};

QTEST_GUILESS_MAIN(TestEnglishChanges)
#include "tst_history.moc"
