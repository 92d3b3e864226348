// The string table set of an in-memory workspace: fallback, revisions, edits, entries.

#include "server/Entry.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include "RecordTestSupport.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::server;
using kvedit::test::ErrorOf;
using kvedit::test::Full;

Q_DECLARE_METATYPE(std::optional<kvedit::server::Record>)

namespace {

constexpr int kMax = 100;

Record NoText(qint16 revision = 0, int status = 0)
{
    Record r;
    r.revision = revision;
    r.status = status;
    r.description = QStringLiteral("placeholder");
    r.properties = tpAllowShortcut | tpMultipleLines;
    r.shortcutCharacter = QStringLiteral("F");
    r.shortcutMode = 2;
    return r;
}

struct Fixture {
    WorkspacePtr ws = Workspace::CreateInMemory({QStringLiteral("Test"), QStringLiteral("de-DE"), kMax});
    std::shared_ptr<TableSet> set = ws->Set();
    TextServerPtr server = ws->TextServer();

    // Puts records as saved state: afterwards nothing counts as edited.
    void Saved(StringId id, StringSource source, const std::optional<Record> &record)
    {
        set->PutRecord(id, source, record);
        set->Save(ssEnglishDefault, false);
    }

    StringEntryPtr Edited(const StringEntryPtr &e, const QString &text, bool valid = true) const
    {
        return e->CreateEdited(e->Id(), text, e->EntryText(), e->Property(tpMultipleLines), e->Property(tpAllowTab),
                               e->Property(tpAllowShortcut), e->ShortcutCharacter(), e->ShortcutMode(),
                               e->ParameterDefinitions(), valid);
    }
    // Stores the entry of id in source with a new text.
    void Store(StringId id, StringSource source, const QString &text) { set->StoreEntry(Edited(set->Entry(id, source), text)); }
};

// Everything an entry carries besides its id, source and parameters.
const Record &Stored(const StringEntryPtr &e) { return static_cast<const Entry &>(*e).StoredRecord(); }

} // namespace

class TestTableSet : public QObject {
    Q_OBJECT

private slots:
    void fallback_data()
    {
        QTest::addColumn<int>("edited");
        QTest::addColumn<std::optional<Record>>("own");
        QTest::addColumn<std::optional<Record>>("fallback");
        QTest::addColumn<QString>("read");   // text|revision|approved|source named by SourceName (-1: none)
        for (const int edited : {int(ssLocalEdited), int(ssEnglishEdited)}) {
            const QByteArray s = QByteArray::number(edited);
            const QString own = QStringLiteral("own|5|%1|") + QString::number(edited);
            const QString fallback = QStringLiteral("default|7|1|%1").arg(edited + 1);
            QTest::newRow("own text wins, source " + s)
                << edited << std::optional(Full("own", 5, sfApproved)) << std::optional(Full("default", 7, 0))
                << own.arg(1);
            QTest::newRow("falls back to default, source " + s)
                << edited << std::optional<Record>() << std::optional(Full("default", 7, sfApproved)) << fallback;
            QTest::newRow("own record without text, source " + s)
                << edited << std::optional(NoText(3, 0)) << std::optional(Full("default", 7, sfApproved)) << "|3|0|-1";
            QTest::newRow("default without text, source " + s)
                << edited << std::optional<Record>() << std::optional(NoText(2, sfApproved)) << "|2|1|-1";
            QTest::newRow("nothing, source " + s) << edited << std::optional<Record>() << std::optional<Record>() << "|0|0|-1";
            // A default source never falls back to its edited source.
            QTest::newRow("own text, no default, source " + s)
                << edited << std::optional(Full("own", 5, 0)) << std::optional<Record>() << own.arg(0);
        }
    }
    void fallback()
    {
        QFETCH(int, edited);
        QFETCH(std::optional<Record>, own);
        QFETCH(std::optional<Record>, fallback);
        QFETCH(QString, read);
        Fixture f;
        const auto source = StringSource(edited);
        f.set->PutRecord(7, source, own);
        f.set->PutRecord(7, StringSource(edited + 1), fallback);
        // Local Edited falls back to Local Default only, never to the English sources.
        if (source == ssLocalEdited)
            f.set->PutRecord(7, ssEnglishDefault, Full("english", 9));

        QStringList expected = read.split(u'|');
        expected.last() = TableSet::FixedSourceName(expected.last().toInt());
        const StringEntryPtr entry = f.set->Entry(7, source);
        for (const QString &text : {f.set->Text(7, source), entry->Text()})
            QCOMPARE(QStringList({text, QString::number(f.set->Revision(7, source)),
                                  QString::number(int(f.set->HasStatus(7, source, sfApproved))), f.set->SourceName(7, source)}),
                     expected);
        QCOMPARE(f.set->HasText(7, source), !expected.first().isEmpty());
        QCOMPARE(entry->Status(sfApproved), expected.at(2) == u'1');
        QCOMPARE(entry->StringSource(), source);
        QCOMPARE(f.set->Text(7, StringSource(edited + 1)), fallback ? fallback->text : QString());
    }

    void idInUseAndBlankEntries()
    {
        const QStringList targetNames{"German edited", "German default", "English edited", "English default"};
        for (int source = 0; source < 4; ++source) {
            Fixture f;
            f.Saved(9, StringSource(source), NoText());
            for (int s = 0; s < 4; ++s) {
                // An English string gives every translation table a slot; nothing else leaks across.
                const bool expected = s == source || (source == ssEnglishDefault && s != ssEnglishDefault);
                QCOMPARE(f.set->IdInUse(9, StringSource(s)), expected);
            }
            QVERIFY(!f.set->RecordOf(9, StringSource(source == 0 ? 1 : 0)).has_value());   // a slot is no record
            // A translation without a record is written like the English string: its description,
            // text properties and shortcut mode, but no text and no shortcut character.
            if (source == ssEnglishDefault) {
                Record written = NoText();
                written.shortcutCharacter.clear();
                for (int s = 0; s < 4; ++s)
                    QCOMPARE(Stored(f.server->CreateEntry(f.set, 9, StringSource(s))), s == source ? Record() : written);
                QCOMPARE(Stored(f.set->Entry(9, ssLocalDefault)), written);
            }
            // An unused id, next to a used one, gets a blank entry, from the set and from the server.
            for (const StringEntryPtr &entry : {f.set->Entry(10, StringSource(source)),
                                                f.server->CreateEntry(f.set, 10, StringSource(source))}) {
                // Every entry has a collection, empty when the string has no definitions.
                QCOMPARE(QStringLiteral("%1 %2 %3 ").arg(entry->Id()).arg(int(entry->StringSource()))
                             .arg(entry->ParameterDefinitions()->Count()) + entry->TargetName(),
                         QStringLiteral("10 %1 0 ").arg(source) + targetNames.at(source));
                QCOMPARE(Stored(entry), Record());
                QCOMPARE(entry->TextTable(), StringTableSetPtr(f.set));
            }
            QVERIFY(!f.set->IdInUse(10, StringSource(source)));
            QVERIFY(!f.set->Modified());
            f.set->RemoveEntry(9, StringSource(source));
            for (int s = 0; s < 4; ++s)
                QVERIFY(!f.set->IdInUse(9, StringSource(s)));
        }
    }

    // A translation takes the English revision when stored; a new English text raises it once per
    // save, back to the saved text gives the saved one, a new description alone none, and it wraps
    // to 1, never to 0 or below. Storing a translation again, even unchanged, brings it up to date.
    void revisions()
    {
        Fixture f;
        f.Saved(12, ssEnglishDefault, Full("Print", 6));
        f.Store(12, ssLocalDefault, "Drucken");
        f.Store(12, ssEnglishEdited, "Print out");
        f.set->Save(ssLocalDefault, false);
        QList<qint16> revisions;
        for (const char *text : {"Print all", "Print...", "Print", "Print..."}) {
            f.Store(12, ssEnglishDefault, text);
            revisions << f.set->Revision(12, ssEnglishDefault);
        }
        QCOMPARE(revisions, (QList<qint16>{7, 7, 6, 7}));
        for (const StringSource s : {ssLocalEdited, ssLocalDefault, ssEnglishEdited})
            QVERIFY2(f.set->Revision(12, s) < 7, qPrintable(QString::number(s)));
        f.Store(12, ssLocalDefault, "Drucken");
        QCOMPARE(f.set->Revision(12, ssLocalEdited), qint16(7));   // through the fallback
        f.set->DiscardEdits();
        const StringEntryPtr e = f.set->Entry(12, ssEnglishDefault);
        f.set->StoreEntry(e->CreateEdited(12, "Print", "Prints the page", false, false, false, "", 0, e->ParameterDefinitions(), true));
        QCOMPARE(f.set->Revision(12, ssEnglishDefault), qint16(6));
        QVERIFY(f.set->Modified());
        f.Saved(21, ssEnglishDefault, Full("Old", 32767));
        f.Store(21, ssEnglishDefault, "New");
        QCOMPARE(f.set->Revision(21, ssEnglishDefault), qint16(1));
    }

    // Storing what is there is no edit, and an up-to-date default stored through the edited source
    // makes no local record; an out-of-date one stored there is confirmed locally; an empty text is
    // missing; adding over an existing record keeps it.
    void storing()
    {
        Fixture f;
        f.Saved(30, ssEnglishDefault, Full("Cut\tCtrl+X", 2));
        f.Saved(30, ssLocalDefault, Full("Ausschneiden\tStrg+X", 2));
        for (const StringSource s : {ssLocalEdited, ssLocalDefault, ssEnglishDefault}) {
            const StringEntryPtr e = f.set->Entry(30, s);
            f.set->StoreEntry(e);
            f.set->StoreEntry(f.Edited(e, e->Text()));
            QVERIFY2(!f.set->Modified(), qPrintable(QString::number(s)));
        }
        QVERIFY(!f.set->RecordOf(30, ssLocalEdited).has_value());
        f.set->RemoveEntry(31, ssLocalDefault);   // nothing there
        f.set->AddEntry(f.server->CreateEntry(f.set, 30, ssLocalDefault));
        QCOMPARE(f.set->Text(30, ssLocalDefault), QString("Ausschneiden\tStrg+X"));
        QVERIFY(!f.set->Modified());

        f.Saved(32, ssEnglishDefault, Full("Paste", 3));
        f.Saved(32, ssLocalDefault, Full("Einfügen", 2));
        f.Store(32, ssLocalEdited, "Einfügen");
        QCOMPARE(f.set->Revision(32, ssLocalEdited) * 10 + f.set->Revision(32, ssLocalDefault), 32);
        QCOMPARE(f.set->SourceName(32, ssLocalEdited), QString("Local Edited"));
        f.Store(32, ssLocalDefault, "");
        QVERIFY(f.set->IdInUse(32, ssLocalDefault) && !f.set->HasText(32, ssLocalDefault));
        QCOMPARE(f.set->SourceName(32, ssLocalDefault), QString());
    }

    void discardEditsRestoresEverything()
    {
        Fixture f;
        f.set->PutRecord(40, ssEnglishDefault, Full("Find", 1));
        f.set->PutRecord(40, ssLocalDefault, Full("Suchen", 1));
        f.set->setParameters(40, {ParameterDefinition(1, "text", "%1")});
        f.set->setSymbol(40, "IDS_FIND");
        f.set->Save(ssEnglishDefault, false);
        // Removing a string and adding it again in place is no edit at all.
        const StringEntryPtr same = f.set->Entry(40, ssEnglishDefault);
        f.set->RemoveEntry(40, ssEnglishDefault);
        f.set->AddEntry(same);
        QVERIFY(!f.set->Modified());

        f.Store(40, ssEnglishDefault, "Find...");
        f.Store(40, ssLocalEdited, "Suchen...");
        f.set->RemoveEntry(40, ssLocalDefault);
        f.set->AddEntry(f.Edited(f.server->CreateEntry(f.set, 41, ssEnglishDefault), "Replace"));
        f.set->setParameters(40, {});
        f.set->setSymbol(40, "IDS_SEARCH");
        f.set->setParameters(41, {ParameterDefinition(1, "what", "%1")});
        f.set->setSymbol(41, "IDS_REPLACE");

        f.set->DiscardEdits();
        QVERIFY(!f.set->Modified() && !f.set->RecordOf(40, ssLocalEdited).has_value() && !f.set->IdInUse(41, ssEnglishDefault));
        QCOMPARE(QStringList({f.set->Text(40, ssEnglishDefault), QString::number(f.set->Revision(40, ssEnglishDefault)),
                              f.set->Text(40, ssLocalDefault), f.set->Symbol(40), f.set->Symbol(41)}),
                 QStringList({"Find", "1", "Suchen", "IDS_FIND", ""}));
        QCOMPARE(f.set->Parameters(40), ParameterList({ParameterDefinition(1, "text", "%1")}));
        QVERIFY(f.set->Parameters(41).isEmpty());
    }

    // A new entry from an old one: the old unchanged, other status bits kept, the collection copied.
    void createEditedLeavesOriginalUnchanged()
    {
        Fixture f;
        Record r = Full("Save &As...", 5, sfApproved | 4);
        r.properties = tpAllowShortcut;
        f.Saved(50, ssLocalDefault, r);
        const StringEntryPtr original = f.set->Entry(50, ssLocalDefault);
        const ParameterDefinitionsPtr given = std::make_shared<ParameterCollection>();
        given->Add(1, "file name");
        const StringEntryPtr edited = original->CreateEdited(51, "neu", "other", true, true, false, "", 3, given, false);
        QCOMPARE(Stored(original), r);
        Record expected = Full("neu", 5, 4);
        expected.description = "other";
        expected.properties = tpMultipleLines | tpAllowTab;
        expected.shortcutMode = 3;
        QCOMPARE(Stored(edited), expected);
        QCOMPARE(edited->Id(), StringId(51));
        given->Add(2, "later");
        QCOMPARE(edited->ParameterDefinitions()->Count() + original->ParameterDefinitions()->Count(), 1);
    }

    void parameterDefinitions()
    {
        Fixture f;
        f.Saved(60, ssEnglishDefault, Full("Copy %1 to %2"));
        const StringEntryPtr entry = f.set->Entry(60, ssEnglishDefault);
        const ParameterDefinitionsPtr p = entry->ParameterDefinitions();
        QCOMPARE(entry->ParameterDefinitions(), p);   // one working copy per entry
        QCOMPARE(p->Add(1, "source file"), ParameterDefinition(1, "source file", "%1"));
        p->Add(2, "target folder");
        QCOMPARE(ErrorOf([&] { p->Item(2); }).Number(), int(errSubscriptOutOfRange));

        // The working copy reaches the set only when the entry is stored.
        QVERIFY(f.set->Parameters(60).isEmpty());
        QVERIFY(!f.set->Modified());
        f.set->StoreEntry(f.Edited(entry, entry->Text()));
        const QList<ParameterDefinition> expected{ParameterDefinition(1, "source file", "%1"),
                                                  ParameterDefinition(2, "target folder", "%2")};
        QCOMPARE(f.set->Parameters(60), expected);
        QCOMPARE(f.set->Entry(60, ssEnglishDefault)->ParameterDefinitions()->Items(), expected);
        QCOMPARE(f.set->Revision(60, ssEnglishDefault), qint16(1));   // text unchanged

        // Clearing every definition removes them.
        const StringEntryPtr again = f.set->Entry(60, ssEnglishDefault);
        again->ParameterDefinitions()->Clear();
        f.set->StoreEntry(f.Edited(again, again->Text()));
        QVERIFY(f.set->Parameters(60).isEmpty());
        QVERIFY(!f.set->Modified());

        // A translation's entry shows the English string's definitions but does not change them.
        f.set->PutRecord(61, ssEnglishDefault, Full("%1 of %2"));
        f.set->setParameters(61, {ParameterDefinition(1, "page", "%1"), ParameterDefinition(2, "count", "%2")});
        f.set->Save(ssEnglishDefault, false);
        QCOMPARE(f.set->Entry(60, ssLocalDefault)->ParameterDefinitions()->Count(), 0);
        const StringEntryPtr translation = f.set->Entry(61, ssLocalEdited);
        QCOMPARE(translation->ParameterDefinitions()->Count(), 2);
        translation->ParameterDefinitions()->Clear();
        f.set->StoreEntry(f.Edited(translation, "%1 von %2"));
        QCOMPARE(f.set->Parameters(61).size(), 2);
    }

    void symbols()
    {
        Fixture f;
        // The ids of IDS_FILE_OPEN and IDS_FILE_CLOSE, 0 for none.
        const auto ids = [&] { return QPoint(f.set->IdOfSymbol("IDS_FILE_OPEN"), f.set->IdOfSymbol("IDS_FILE_CLOSE")); };
        f.ws->setSymbol(5, "IDS_FILE_OPEN");
        QVERIFY(f.set->Modified());
        QCOMPARE(ids(), QPoint(5, 0));
        QCOMPARE(f.set->IdOfSymbol("") + f.set->IdOfSymbol("IDS_NONE"), 0);
        f.ws->setSymbol(5, "");
        QVERIFY(!f.set->Modified());
        QCOMPARE(ids(), QPoint(0, 0));

        // Once looked up, a symbol follows every change: a rename, a discard, an id sharing it.
        f.ws->setSymbol(5, "IDS_FILE_OPEN");
        f.set->Save(ssEnglishDefault, false);
        QCOMPARE(ids(), QPoint(5, 0));
        f.ws->setSymbol(5, "IDS_FILE_CLOSE");
        QCOMPARE(ids(), QPoint(0, 5));
        f.set->DiscardEdits();
        QCOMPARE(ids(), QPoint(5, 0));
        f.ws->setSymbol(9, "IDS_FILE_OPEN");
        f.ws->setSymbol(3, "IDS_FILE_OPEN");
        QCOMPARE(ids(), QPoint(3, 0));
        f.ws->setSymbol(3, "");
        QCOMPARE(ids(), QPoint(5, 0));
    }

    void outOfRange_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<int>("source");
        QTest::newRow("id 0") << 0 << 3;
        QTest::newRow("most negative id") << -32768 << 1;
        QTest::newRow("above maximum") << kMax + 1 << 3;
        QTest::newRow("source 4") << 1 << 4;
        QTest::newRow("source -1") << 1 << -1;
    }
    void outOfRange()
    {
        QFETCH(int, id);
        QFETCH(int, source);
        Fixture f;
        const auto i = StringId(id);
        const auto s = StringSource(source);
        const bool validSource = source >= 0 && source <= 3;
        const StringEntryPtr bad = f.set->Entry(1, validSource ? s : ssEnglishDefault)
                                       ->CreateEdited(i, "x", "", false, false, false, "", 0, nullptr, true);
        const QList<std::function<void()>> calls{
            [&] { f.set->Text(i, s); }, [&] { f.set->HasText(i, s); }, [&] { f.set->Revision(i, s); },
            [&] { f.set->HasStatus(i, s, sfApproved); }, [&] { f.set->IdInUse(i, s); },
            [&] { f.set->SourceName(i, s); }, [&] { f.set->Entry(i, s); }, [&] { f.set->RemoveEntry(i, s); },
            [&] { f.server->CreateEntry(f.set, i, s); }, [&] { f.set->StoreEntry(bad); },
            [&] { f.set->AddEntry(bad); }};
        for (int n = 0; n < calls.size() - (validSource ? 0 : 2); ++n)
            QVERIFY2(ErrorOf(calls[n]).Number() == errSubscriptOutOfRange, qPrintable(QString::number(n)));
        QVERIFY(!f.set->Modified());
    }

    void nullEntriesAreReported()
    {
        Fixture f;
        for (const std::function<void()> &call : QList<std::function<void()>>{[&] { f.set->StoreEntry(nullptr); },
                                                                              [&] { f.set->AddEntry(nullptr); },
                                                                              [&] { f.server->CreateEntry(nullptr, 1, ssLocalDefault); }})
            QCOMPARE(ErrorOf(call).Number(), int(errObjectNotSet));
    }
};

QTEST_GUILESS_MAIN(TestTableSet)
#include "tst_tableset.moc"
