// The string table set of an in-memory workspace: fallback, revisions, edits, entries.

#include "server/Entry.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include "services/ErrorContext.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::server;

Q_DECLARE_METATYPE(std::optional<kvedit::server::Record>)

namespace {

constexpr int kMax = 100;

Record MakeRecord(const QString &text, qint16 revision = 1, int status = sfApproved)
{
    Record r;
    r.text = text;
    r.hasText = true;
    r.revision = revision;
    r.status = status;
    return r;
}

Record NoText(qint16 revision = 0, int status = 0)
{
    Record r;
    r.revision = revision;
    r.status = status;
    r.description = QStringLiteral("placeholder");
    return r;
}

struct Fixture {
    WorkspacePtr ws = Workspace::CreateInMemory({QStringLiteral("Test"), QStringLiteral("de-DE"), kMax});
    std::shared_ptr<TableSet> set = ws->Set();

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
};

template <typename F>
int ErrorNumberOf(F &&f)
{
    try {
        f();
    } catch (const KvError &e) {
        return e.Number();
    }
    return 0;
}

} // namespace

class TestTableSet : public QObject {
    Q_OBJECT

private slots:
    void fallback_data();
    void fallback();
    void defaultSourcesDoNotFallBack();
    void idInUsePerSource_data();
    void idInUsePerSource();
    void englishStringGivesEmptySlotsWithoutRecords();
    void blankEntryForUnusedId_data();
    void blankEntryForUnusedId();
    void missingTranslationIsWrittenLikeTheEnglish();
    void entryOfEditedSourceUsesFallbackValues();
    void serverAndLanguages();
    void englishChangeMakesTranslationsOutOfDate();
    void englishRevisionFollowsTextAgainstSavedState();
    void revisionWrapsToOne();
    void storingEqualEntryIsNoEdit();
    void storingFallbackEntryConfirmsOutOfDateTranslation();
    void emptyTextCountsAsMissing();
    void discardEditsRestoresEverything();
    void saveTableNames_data();
    void saveTableNames();
    void createEditedLeavesOriginalUnchanged();
    void parameterDefinitions();
    void translationEntriesShowButDoNotChangeParameters();
    void addEntryDoesNotOverwrite();
    void removeAndAddMovesString();
    void symbols();
    void outOfRange_data();
    void outOfRange();
    void twoWorkspacesDoNotInterfere();
    void nullEntriesAreReported();
};

void TestTableSet::fallback_data()
{
    QTest::addColumn<int>("edited");
    QTest::addColumn<std::optional<Record>>("own");
    QTest::addColumn<std::optional<Record>>("fallback");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("revision");
    QTest::addColumn<bool>("approved");
    QTest::addColumn<int>("nameFrom");   // source named by SourceName, -1 for none

    for (const int edited : {int(ssLocalEdited), int(ssEnglishEdited)}) {
        const QByteArray s = QByteArray::number(edited);
        QTest::newRow("own text wins, source " + s)
            << edited << std::optional(MakeRecord("own", 5, sfApproved)) << std::optional(MakeRecord("default", 7, 0))
            << "own" << 5 << true << edited;
        QTest::newRow("falls back to default, source " + s)
            << edited << std::optional<Record>() << std::optional(MakeRecord("default", 7, sfApproved))
            << "default" << 7 << true << edited + 1;
        QTest::newRow("own record without text, source " + s)
            << edited << std::optional(NoText(3, 0)) << std::optional(MakeRecord("default", 7, sfApproved))
            << "" << 3 << false << -1;
        QTest::newRow("default without text, source " + s)
            << edited << std::optional<Record>() << std::optional(NoText(2, sfApproved)) << "" << 2 << true << -1;
        QTest::newRow("nothing, source " + s)
            << edited << std::optional<Record>() << std::optional<Record>() << "" << 0 << false << -1;
    }
}

void TestTableSet::fallback()
{
    QFETCH(int, edited);
    QFETCH(std::optional<Record>, own);
    QFETCH(std::optional<Record>, fallback);
    QFETCH(QString, text);
    QFETCH(int, revision);
    QFETCH(bool, approved);
    QFETCH(int, nameFrom);

    Fixture f;
    const auto source = StringSource(edited);
    f.set->PutRecord(7, source, own);
    f.set->PutRecord(7, StringSource(edited + 1), fallback);

    QCOMPARE(f.set->Text(7, source), text);
    QCOMPARE(f.set->HasText(7, source), !text.isEmpty());
    QCOMPARE(f.set->Revision(7, source), revision);
    QCOMPARE(f.set->HasStatus(7, source, sfApproved), approved);
    QCOMPARE(f.set->SourceName(7, source), TableSet::FixedSourceName(nameFrom));
    const StringEntryPtr entry = f.set->Entry(7, source);
    QCOMPARE(entry->Text(), text);
    QCOMPARE(entry->Status(sfApproved), approved);
    QCOMPARE(entry->StringSource(), source);
}

void TestTableSet::defaultSourcesDoNotFallBack()
{
    Fixture f;
    f.set->PutRecord(3, ssLocalEdited, MakeRecord("local edit"));
    f.set->PutRecord(3, ssEnglishEdited, MakeRecord("english edit"));
    QVERIFY(!f.set->HasText(3, ssLocalDefault));
    QVERIFY(!f.set->HasText(3, ssEnglishDefault));
    QCOMPARE(f.set->Text(3, ssLocalDefault), QString());
    QCOMPARE(f.set->SourceName(3, ssEnglishDefault), QString());
    // Local Edited falls back to Local Default only, never to the English sources.
    f.set->PutRecord(4, ssEnglishDefault, MakeRecord("english"));
    QVERIFY(!f.set->HasText(4, ssLocalEdited));
    QCOMPARE(f.set->SourceName(4, ssLocalEdited), QString());
}

void TestTableSet::idInUsePerSource_data()
{
    QTest::addColumn<int>("source");
    for (int s = 0; s < 4; ++s)
        QTest::addRow("record in source %d", s) << s;
}

void TestTableSet::idInUsePerSource()
{
    QFETCH(int, source);
    Fixture f;
    f.set->PutRecord(9, StringSource(source), NoText());
    for (int s = 0; s < 4; ++s) {
        // An English string gives every translation table a slot; nothing else leaks across.
        const bool expected = s == source || (source == ssEnglishDefault && s != ssEnglishDefault);
        QCOMPARE(f.set->IdInUse(9, StringSource(s)), expected);
    }
    QVERIFY(!f.set->IdInUse(10, StringSource(source)));
}

void TestTableSet::englishStringGivesEmptySlotsWithoutRecords()
{
    Fixture f;
    f.Saved(12, ssEnglishDefault, MakeRecord("Close"));
    for (const StringSource s : {ssLocalEdited, ssLocalDefault, ssEnglishEdited}) {
        QVERIFY(f.set->IdInUse(12, s));
        QVERIFY(!f.set->RecordOf(12, s).has_value());
    }
    QVERIFY(!f.set->HasText(12, ssLocalDefault));
    QCOMPARE(f.set->Text(12, ssEnglishEdited), QString("Close"));   // the slot still falls back
    f.set->RemoveEntry(12, ssEnglishDefault);
    QVERIFY(!f.set->IdInUse(12, ssLocalDefault));
}

void TestTableSet::blankEntryForUnusedId_data()
{
    QTest::addColumn<int>("source");
    QTest::addColumn<QString>("targetName");
    QTest::newRow("0") << 0 << "German edited";
    QTest::newRow("1") << 1 << "German default";
    QTest::newRow("2") << 2 << "English edited";
    QTest::newRow("3") << 3 << "English default";
}

void TestTableSet::blankEntryForUnusedId()
{
    QFETCH(int, source);
    QFETCH(QString, targetName);
    Fixture f;
    f.Saved(41, StringSource(source), MakeRecord("neighbour"));

    for (const StringEntryPtr &entry : {f.set->Entry(42, StringSource(source)),
                                        f.ws->TextServer()->CreateEntry(f.set, 42, StringSource(source))}) {
        QVERIFY(entry);
        QCOMPARE(entry->Id(), StringId(42));
        QCOMPARE(int(entry->StringSource()), source);
        QCOMPARE(entry->Text(), QString());
        QCOMPARE(entry->EntryText(), QString());
        QCOMPARE(entry->ShortcutCharacter(), QString());
        QCOMPARE(entry->ShortcutMode(), 0);
        QVERIFY(!entry->Status(sfApproved));
        QVERIFY(!entry->Property(tpAllowShortcut) && !entry->Property(tpMultipleLines) && !entry->TabsAllowed());
        QCOMPARE(entry->TargetName(), targetName);
        QCOMPARE(entry->PendingText(), QString());
        QCOMPARE(entry->TextTable(), StringTableSetPtr(f.set));
        // Only a source entry offers a collection to add definitions to.
        QCOMPARE(entry->ParameterDefinitions() != nullptr, source == ssEnglishDefault);
    }
    QVERIFY(!f.set->IdInUse(42, StringSource(source)));
    QVERIFY(!f.set->Modified());
}

void TestTableSet::missingTranslationIsWrittenLikeTheEnglish()
{
    Fixture f;
    Record english = MakeRecord("&First line\nSecond\tline", 3);
    english.description = "Welcome text";
    english.properties = tpAllowShortcut | tpMultipleLines | tpAllowTab;
    english.shortcutCharacter = "F";
    english.shortcutMode = 2;
    f.Saved(15, ssEnglishDefault, english);

    const TextServerPtr server = f.ws->TextServer();
    // English Edited has no entry of its own here: it falls back to the English default.
    for (const StringEntryPtr &e : {f.set->Entry(15, ssLocalEdited), f.set->Entry(15, ssLocalDefault),
                                    server->CreateEntry(f.set, 15, ssLocalEdited),
                                    server->CreateEntry(f.set, 15, ssLocalDefault),
                                    server->CreateEntry(f.set, 15, ssEnglishEdited)}) {
        QCOMPARE(e->EntryText(), QString("Welcome text"));
        QVERIFY(e->Property(tpMultipleLines) && e->TabsAllowed() && e->Property(tpAllowShortcut));
        QCOMPARE(e->ShortcutMode(), 2);
        QCOMPARE(e->ShortcutCharacter(), QString());
        QCOMPARE(e->Text(), QString());
        QVERIFY(!e->Status(sfApproved));
    }
    QCOMPARE(f.set->Entry(15, ssEnglishEdited)->Text(), english.text);
    QCOMPARE(server->CreateEntry(f.set, 15, ssEnglishDefault)->EntryText(), QString());
}

void TestTableSet::entryOfEditedSourceUsesFallbackValues()
{
    Fixture f;
    Record english = MakeRecord("Open", 4);
    f.set->PutRecord(5, ssEnglishDefault, english);
    f.set->PutRecord(5, ssLocalEdited, MakeRecord("Öffnen (lokal)", 4));
    Record local = MakeRecord("&Öffnen", 4);
    local.description = "File menu";
    local.properties = tpAllowShortcut;
    local.shortcutCharacter = "O";
    local.shortcutMode = 1;
    f.set->PutRecord(6, ssLocalDefault, local);

    const StringEntryPtr entry = f.set->Entry(6, ssLocalEdited);
    QCOMPARE(entry->Text(), QString("&Öffnen"));
    QCOMPARE(entry->EntryText(), QString("File menu"));
    QCOMPARE(entry->ShortcutCharacter(), QString("O"));
    QCOMPARE(entry->ShortcutMode(), 1);
    QVERIFY(entry->Property(tpAllowShortcut));
    QCOMPARE(entry->StringSource(), ssLocalEdited);
    QCOMPARE(entry->TargetName(), QString("German edited"));
    // SourceText reads the set live, with its own fallback.
    QCOMPARE(entry->SourceText(ssLocalDefault), QString("&Öffnen"));
    QCOMPARE(entry->SourceText(ssEnglishDefault), QString());
    QCOMPARE(f.set->Entry(5, ssLocalDefault)->SourceText(ssLocalEdited), QString("Öffnen (lokal)"));
    QCOMPARE(f.set->Entry(5, ssLocalDefault)->SourceText(ssEnglishEdited), QString("Open"));
}

void TestTableSet::serverAndLanguages()
{
    const WorkspacePtr ws = Workspace::CreateInMemory({QStringLiteral("Japanisch"), QStringLiteral("ja-JP"), 500});
    const TextServerPtr server = ws->TextServer();
    QCOMPARE(server->MaximumCount(), 500);
    QCOMPARE(server->StringTableSet(), ws->Tables());
    QCOMPARE(server->Locale()->Language(kLanguageJapanese).Name(), QString("Japanese"));
    QCOMPARE(server->Locale()->Language(kLanguageJapanese).Value(), QString("ja"));
    const StringTableSetPtr set = ws->Tables();
    QCOMPARE(set->SourceLanguage(ssLocalEdited).Value(), QString("ja"));
    QCOMPARE(set->SourceLanguage(ssLocalDefault).Name(), QString("Japanese"));
    QCOMPARE(set->SourceLanguage(ssEnglishEdited).Name(), QString("English"));
    QCOMPARE(set->SourceLanguage(ssEnglishDefault).Value(), QString("en"));
    QVERIFY(!set->SourceLanguage(StringSource(4)).IsValid());
    QCOMPARE(set->Entry(1, ssLocalDefault)->TargetName(), QString("Japanese default"));
    QCOMPARE(ws->Name(), QString("Japanisch"));
    QCOMPARE(ws->FilePath(), QString());
    QCOMPARE(ws->HostWindowPosition(), std::nullopt);
    ws->setHostWindowPosition(QPoint(30, 40));
    QCOMPARE(ws->HostWindowPosition(), std::optional(QPoint(30, 40)));
}

void TestTableSet::englishChangeMakesTranslationsOutOfDate()
{
    Fixture f;
    const TextServerPtr server = f.ws->TextServer();
    f.set->AddEntry(f.Edited(server->CreateEntry(f.set, 12, ssEnglishDefault), "Print"));
    QCOMPARE(f.set->Revision(12, ssEnglishDefault), qint16(1));

    // A translation takes the English revision when it is stored.
    f.set->StoreEntry(f.Edited(f.set->Entry(12, ssLocalDefault), "Drucken"));
    f.set->StoreEntry(f.Edited(f.set->Entry(12, ssEnglishEdited), "Print out"));
    f.set->Save(ssLocalDefault, false);
    QCOMPARE(f.set->Revision(12, ssLocalDefault), qint16(1));

    f.set->StoreEntry(f.Edited(f.set->Entry(12, ssEnglishDefault), "Print..."));
    QCOMPARE(f.set->Revision(12, ssEnglishDefault), qint16(2));
    for (const StringSource s : {ssLocalEdited, ssLocalDefault, ssEnglishEdited})
        QVERIFY2(f.set->Revision(12, s) < f.set->Revision(12, ssEnglishDefault), qPrintable(QString::number(s)));

    // Saving the translation again, even unchanged, brings it up to date.
    f.set->StoreEntry(f.Edited(f.set->Entry(12, ssLocalDefault), "Drucken"));
    QCOMPARE(f.set->Revision(12, ssLocalDefault), qint16(2));
    QCOMPARE(f.set->Text(12, ssLocalDefault), QString("Drucken"));
    QVERIFY(f.set->Revision(12, ssLocalEdited) == f.set->Revision(12, ssLocalDefault));   // through the fallback
}

void TestTableSet::englishRevisionFollowsTextAgainstSavedState()
{
    Fixture f;
    f.Saved(20, ssEnglishDefault, MakeRecord("Close", 6));
    const StringEntryPtr saved = f.set->Entry(20, ssEnglishDefault);

    f.set->StoreEntry(f.Edited(saved, "Close all"));
    QCOMPARE(f.set->Revision(20, ssEnglishDefault), qint16(7));
    f.set->StoreEntry(f.Edited(f.set->Entry(20, ssEnglishDefault), "Close everything"));
    QCOMPARE(f.set->Revision(20, ssEnglishDefault), qint16(7));   // one raise per save, not per store
    // Back to the saved text: the saved revision, and no edit remains.
    f.set->StoreEntry(f.Edited(f.set->Entry(20, ssEnglishDefault), "Close"));
    QCOMPARE(f.set->Revision(20, ssEnglishDefault), qint16(6));
    QVERIFY(!f.set->Modified());

    // A new description alone does not outdate translations.
    const StringEntryPtr e = f.set->Entry(20, ssEnglishDefault);
    f.set->StoreEntry(e->CreateEdited(20, "Close", "Closes the window", false, false, false, "", 0,
                                      e->ParameterDefinitions(), true));
    QCOMPARE(f.set->Revision(20, ssEnglishDefault), qint16(6));
    QVERIFY(f.set->Modified());
}

void TestTableSet::revisionWrapsToOne()
{
    Fixture f;
    f.Saved(21, ssEnglishDefault, MakeRecord("Old", 32767));
    f.set->StoreEntry(f.Edited(f.set->Entry(21, ssEnglishDefault), "New"));
    QCOMPARE(f.set->Revision(21, ssEnglishDefault), qint16(1));
}

void TestTableSet::storingEqualEntryIsNoEdit()
{
    Fixture f;
    f.Saved(30, ssEnglishDefault, MakeRecord("Cut\tCtrl+X", 2));
    f.Saved(30, ssLocalDefault, MakeRecord("Ausschneiden\tStrg+X", 2));
    QVERIFY(!f.set->Modified());

    for (const StringSource s : {ssLocalEdited, ssLocalDefault, ssEnglishDefault}) {
        const StringEntryPtr e = f.set->Entry(30, s);
        f.set->StoreEntry(e);
        f.set->StoreEntry(f.Edited(e, e->Text()));
        QVERIFY2(!f.set->Modified(), qPrintable(QString::number(s)));
    }
    // An up-to-date default stored through the edited source does not create a local record.
    QVERIFY(!f.set->RecordOf(30, ssLocalEdited).has_value());

    f.set->StoreEntry(f.Edited(f.set->Entry(30, ssLocalDefault), "Ausschneiden"));
    QVERIFY(f.set->Modified());
    f.set->StoreEntry(f.Edited(f.set->Entry(30, ssLocalDefault), "Ausschneiden\tStrg+X"));
    QVERIFY(!f.set->Modified());
    f.set->RemoveEntry(31, ssLocalDefault);   // nothing there
    QVERIFY(!f.set->Modified());
}

void TestTableSet::storingFallbackEntryConfirmsOutOfDateTranslation()
{
    Fixture f;
    f.Saved(32, ssEnglishDefault, MakeRecord("Paste", 3));
    f.Saved(32, ssLocalDefault, MakeRecord("Einfügen", 2));
    f.set->StoreEntry(f.Edited(f.set->Entry(32, ssLocalEdited), "Einfügen"));
    QVERIFY(f.set->Modified());
    QVERIFY(f.set->IdInUse(32, ssLocalEdited));
    QCOMPARE(f.set->Revision(32, ssLocalEdited), qint16(3));
    QCOMPARE(f.set->Revision(32, ssLocalDefault), qint16(2));
    QCOMPARE(f.set->SourceName(32, ssLocalEdited), QString("Local Edited"));
}

void TestTableSet::emptyTextCountsAsMissing()
{
    Fixture f;
    f.Saved(33, ssEnglishDefault, MakeRecord("Delete"));
    f.set->StoreEntry(f.Edited(f.set->Entry(33, ssLocalDefault), ""));
    QVERIFY(f.set->IdInUse(33, ssLocalDefault));
    QVERIFY(!f.set->HasText(33, ssLocalDefault));
    QCOMPARE(f.set->SourceName(33, ssLocalDefault), QString());
}

void TestTableSet::discardEditsRestoresEverything()
{
    Fixture f;
    f.Saved(40, ssEnglishDefault, MakeRecord("Find", 1));
    f.Saved(40, ssLocalDefault, MakeRecord("Suchen", 1));
    f.set->setParameters(40, {ParameterDefinition(1, "text", "%1")});
    f.set->setSymbol(40, "IDS_FIND");
    f.set->Save(ssEnglishDefault, false);

    const TextServerPtr server = f.ws->TextServer();
    f.set->StoreEntry(f.Edited(f.set->Entry(40, ssEnglishDefault), "Find..."));
    f.set->StoreEntry(f.Edited(f.set->Entry(40, ssLocalEdited), "Suchen..."));
    f.set->RemoveEntry(40, ssLocalDefault);
    f.set->AddEntry(f.Edited(server->CreateEntry(f.set, 41, ssEnglishDefault), "Replace"));
    f.set->setParameters(40, {});
    f.set->setSymbol(40, "IDS_SEARCH");
    QVERIFY(f.set->Modified());

    f.set->DiscardEdits();
    QVERIFY(!f.set->Modified());
    QCOMPARE(f.set->Text(40, ssEnglishDefault), QString("Find"));
    QCOMPARE(f.set->Revision(40, ssEnglishDefault), qint16(1));
    QVERIFY(!f.set->RecordOf(40, ssLocalEdited).has_value());
    QCOMPARE(f.set->Text(40, ssLocalDefault), QString("Suchen"));
    QVERIFY(!f.set->IdInUse(41, ssEnglishDefault));
    QCOMPARE(f.set->Parameters(40), ParameterList({ParameterDefinition(1, "text", "%1")}));
    QCOMPARE(f.set->Symbol(40), QString("IDS_FIND"));
}

void TestTableSet::saveTableNames_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("0") << 0 << QStringList{"Local Edited", "Local Default"};
    QTest::newRow("1") << 1 << QStringList{};
    QTest::newRow("2") << 2 << QStringList{"English Edited", "English Default"};
    QTest::newRow("3") << 3 << QStringList{};
    QTest::newRow("4") << 4 << QStringList{};
    QTest::newRow("-1") << -1 << QStringList{};
}

void TestTableSet::saveTableNames()
{
    QFETCH(int, version);
    QFETCH(QStringList, names);
    Fixture f;
    QCOMPARE(f.set->SaveTableNames(TableVersion(version)), names);
}

void TestTableSet::createEditedLeavesOriginalUnchanged()
{
    Fixture f;
    Record r = MakeRecord("Save &As...", 5, sfApproved | 4);
    r.description = "File menu";
    r.properties = tpAllowShortcut;
    r.shortcutCharacter = "A";
    r.shortcutMode = 1;
    f.Saved(50, ssLocalDefault, r);
    const StringEntryPtr original = f.set->Entry(50, ssLocalDefault);
    const ParameterDefinitionsPtr given = std::make_shared<ParameterCollection>();
    given->Add(1, "file name");

    const StringEntryPtr edited = original->CreateEdited(51, "Speichern\tunter\nneu", "other", true, true, false, "",
                                                         3, given, false);
    QCOMPARE(original->Id(), StringId(50));
    QCOMPARE(original->Text(), QString("Save &As..."));
    QCOMPARE(original->EntryText(), QString("File menu"));
    QVERIFY(original->Property(tpAllowShortcut) && !original->Property(tpMultipleLines) && !original->TabsAllowed());
    QCOMPARE(original->ShortcutCharacter(), QString("A"));
    QVERIFY(original->Status(sfApproved));
    QCOMPARE(original->ParameterDefinitions(), nullptr);

    QCOMPARE(edited->Id(), StringId(51));
    QCOMPARE(edited->StringSource(), ssLocalDefault);
    QCOMPARE(edited->Text(), QString("Speichern\tunter\nneu"));
    QCOMPARE(edited->EntryText(), QString("other"));
    QVERIFY(!edited->Property(tpAllowShortcut) && edited->Property(tpMultipleLines) && edited->TabsAllowed());
    QCOMPARE(edited->ShortcutCharacter(), QString());
    QCOMPARE(edited->ShortcutMode(), 3);
    QVERIFY(!edited->Status(sfApproved));
    QVERIFY(edited->Status(4));   // other status bits stay
    QCOMPARE(static_cast<const Entry &>(*edited).StoredRecord().revision, qint16(5));
    // The collection was copied, not shared.
    QVERIFY(edited->ParameterDefinitions() != given);
    given->Add(2, "later");
    QCOMPARE(edited->ParameterDefinitions()->Count(), 1);
    QVERIFY(!f.set->Modified());
}

void TestTableSet::parameterDefinitions()
{
    Fixture f;
    f.Saved(60, ssEnglishDefault, MakeRecord("Copy %1 to %2"));
    const StringEntryPtr entry = f.set->Entry(60, ssEnglishDefault);
    const ParameterDefinitionsPtr p = entry->ParameterDefinitions();
    QVERIFY(p);
    QCOMPARE(entry->ParameterDefinitions(), p);   // one working copy per entry
    QCOMPARE(p->ColumnKey(0), QString("id"));
    QCOMPARE(p->ColumnKey(1), QString("description"));
    QCOMPARE(p->ColumnHeading(0), QString("Number"));
    QCOMPARE(p->ColumnHeading(1), QString("Description"));
    QCOMPARE(p->ColumnHeading(2), QString());
    QCOMPARE(p->KeyOf(12), QString("p12"));
    const ParameterDefinition first = p->Add(1, "source file");
    QCOMPARE(first, ParameterDefinition(1, "source file", "%1"));
    p->Add(2, "target folder");
    QCOMPARE(ErrorNumberOf([&] { p->Item(2); }), int(errSubscriptOutOfRange));

    // The working copy reaches the set only when the entry is stored.
    QVERIFY(f.set->Parameters(60).isEmpty());
    QVERIFY(!f.set->Modified());
    QCOMPARE(f.set->Entry(60, ssEnglishDefault)->ParameterDefinitions()->Count(), 0);
    f.set->StoreEntry(f.Edited(entry, entry->Text()));
    QVERIFY(f.set->Modified());
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
}

void TestTableSet::translationEntriesShowButDoNotChangeParameters()
{
    Fixture f;
    f.Saved(61, ssEnglishDefault, MakeRecord("%1 of %2"));
    f.Saved(62, ssEnglishDefault, MakeRecord("Ready"));
    f.set->setParameters(61, {ParameterDefinition(1, "page", "%1"), ParameterDefinition(2, "count", "%2")});
    f.set->Save(ssEnglishDefault, false);

    QVERIFY(!f.set->Entry(62, ssLocalDefault)->ParameterDefinitions());
    const StringEntryPtr translation = f.set->Entry(61, ssLocalEdited);
    QVERIFY(translation->ParameterDefinitions());
    QCOMPARE(translation->ParameterDefinitions()->Count(), 2);
    translation->ParameterDefinitions()->Clear();
    f.set->StoreEntry(f.Edited(translation, "%1 von %2"));
    QCOMPARE(f.set->Parameters(61).size(), 2);
}

void TestTableSet::addEntryDoesNotOverwrite()
{
    Fixture f;
    f.Saved(70, ssLocalEdited, MakeRecord("Orphan"));
    f.set->AddEntry(f.ws->TextServer()->CreateEntry(f.set, 70, ssLocalEdited));
    QCOMPARE(f.set->Text(70, ssLocalEdited), QString("Orphan"));
    QVERIFY(!f.set->Modified());
    f.set->AddEntry(f.ws->TextServer()->CreateEntry(f.set, 71, ssLocalEdited));
    QVERIFY(f.set->IdInUse(71, ssLocalEdited));
    QVERIFY(!f.set->HasText(71, ssLocalEdited));
    QVERIFY(f.set->Modified());
}

void TestTableSet::removeAndAddMovesString()
{
    Fixture f;
    f.Saved(80, ssEnglishDefault, MakeRecord("Open %1", 4));
    f.Saved(80, ssLocalDefault, MakeRecord("%1 öffnen", 4));
    f.set->setParameters(80, {ParameterDefinition(1, "file", "%1")});
    f.set->setSymbol(80, "IDS_OPEN_FILE");
    f.set->Save(ssEnglishDefault, false);

    const StringEntryPtr old = f.set->Entry(80, ssEnglishDefault);
    const StringEntryPtr moved = old->CreateEdited(90, old->Text(), old->EntryText(), false, false, false, "", 0,
                                                   old->ParameterDefinitions(), true);
    f.set->RemoveEntry(80, ssEnglishDefault);
    f.set->AddEntry(moved);

    QVERIFY(!f.set->IdInUse(80, ssEnglishDefault));
    QVERIFY(f.set->IdInUse(90, ssEnglishDefault));
    QCOMPARE(f.set->Text(90, ssEnglishDefault), QString("Open %1"));
    QCOMPARE(f.set->Parameters(90), ParameterList({ParameterDefinition(1, "file", "%1")}));
    QVERIFY(f.set->Parameters(80).isEmpty());
    QCOMPARE(f.set->Symbol(90), QString("IDS_OPEN_FILE"));
    QCOMPARE(f.set->Symbol(80), QString());
    QCOMPARE(f.set->Revision(90, ssEnglishDefault), qint16(1));
    // Translations stay with their id.
    QCOMPARE(f.set->Text(80, ssLocalDefault), QString("%1 öffnen"));

    // Removing and re-adding in place is no edit at all.
    f.set->DiscardEdits();
    const StringEntryPtr same = f.set->Entry(80, ssEnglishDefault);
    f.set->RemoveEntry(80, ssEnglishDefault);
    f.set->AddEntry(same);
    QVERIFY(!f.set->Modified());
    QCOMPARE(f.set->Symbol(80), QString("IDS_OPEN_FILE"));
}

void TestTableSet::symbols()
{
    Fixture f;
    QCOMPARE(f.ws->Symbol(5), QString());
    f.ws->setSymbol(5, "IDS_FILE_OPEN");
    QVERIFY(f.set->Modified());
    QCOMPARE(f.ws->Symbol(5), QString("IDS_FILE_OPEN"));
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_OPEN"), StringId(5));
    QCOMPARE(f.set->IdOfSymbol("IDS_NONE"), StringId(0));
    QCOMPARE(f.set->IdOfSymbol(""), StringId(0));
    f.ws->setSymbol(5, "");
    QVERIFY(!f.set->Modified());
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_OPEN"), StringId(0));

    // Once looked up, a symbol follows every change: a rename, a discard, an id sharing it.
    f.ws->setSymbol(5, "IDS_FILE_OPEN");
    f.set->Save(ssEnglishDefault, false);
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_OPEN"), StringId(5));
    f.ws->setSymbol(5, "IDS_FILE_CLOSE");
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_OPEN"), StringId(0));
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_CLOSE"), StringId(5));
    f.set->DiscardEdits();
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_OPEN"), StringId(5));
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_CLOSE"), StringId(0));
    f.ws->setSymbol(9, "IDS_FILE_OPEN");
    f.ws->setSymbol(3, "IDS_FILE_OPEN");
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_OPEN"), StringId(3));
    f.ws->setSymbol(3, "");
    QCOMPARE(f.set->IdOfSymbol("IDS_FILE_OPEN"), StringId(5));
}

void TestTableSet::outOfRange_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<int>("source");
    QTest::newRow("id 0") << 0 << 3;
    QTest::newRow("negative id") << -1 << 0;
    QTest::newRow("most negative id") << -32768 << 1;
    QTest::newRow("above maximum") << kMax + 1 << 3;
    QTest::newRow("source 4") << 1 << 4;
    QTest::newRow("source -1") << 1 << -1;
}

void TestTableSet::outOfRange()
{
    QFETCH(int, id);
    QFETCH(int, source);
    Fixture f;
    const auto i = StringId(id);
    const auto s = StringSource(source);
    const int expected = errSubscriptOutOfRange;
    QCOMPARE(ErrorNumberOf([&] { f.set->Text(i, s); }), expected);
    QCOMPARE(ErrorNumberOf([&] { f.set->HasText(i, s); }), expected);
    QCOMPARE(ErrorNumberOf([&] { f.set->Revision(i, s); }), expected);
    QCOMPARE(ErrorNumberOf([&] { f.set->HasStatus(i, s, sfApproved); }), expected);
    QCOMPARE(ErrorNumberOf([&] { f.set->IdInUse(i, s); }), expected);
    QCOMPARE(ErrorNumberOf([&] { f.set->SourceName(i, s); }), expected);
    QCOMPARE(ErrorNumberOf([&] { f.set->Entry(i, s); }), expected);
    QCOMPARE(ErrorNumberOf([&] { f.set->RemoveEntry(i, s); }), expected);
    QCOMPARE(ErrorNumberOf([&] { f.ws->TextServer()->CreateEntry(f.set, i, s); }), expected);
    const StringEntryPtr valid = f.set->Entry(1, source >= 0 && source <= 3 ? s : ssEnglishDefault);
    const StringEntryPtr bad = valid->CreateEdited(i, "x", "", false, false, false, "", 0, nullptr, true);
    if (source >= 0 && source <= 3) {
        QCOMPARE(ErrorNumberOf([&] { f.set->StoreEntry(bad); }), expected);
        QCOMPARE(ErrorNumberOf([&] { f.set->AddEntry(bad); }), expected);
    }
    QVERIFY(!f.set->Modified());
}

void TestTableSet::twoWorkspacesDoNotInterfere()
{
    Fixture a;
    Fixture b;
    a.set->AddEntry(a.Edited(a.ws->TextServer()->CreateEntry(a.set, 3, ssEnglishDefault), "First"));
    QVERIFY(a.set->IdInUse(3, ssEnglishDefault));
    QVERIFY(!b.set->IdInUse(3, ssEnglishDefault));
    QVERIFY(!b.set->Modified());
    QCOMPARE(a.set->Entry(3, ssEnglishDefault)->TextTable(), StringTableSetPtr(a.set));
    // An entry belongs to the set it was made for, whichever server made it.
    QCOMPARE(a.ws->TextServer()->CreateEntry(b.set, 3, ssLocalDefault)->TextTable(), StringTableSetPtr(b.set));
    a.set->Save(ssEnglishDefault, false);
    QVERIFY(!b.set->IdInUse(3, ssEnglishDefault));
}

void TestTableSet::nullEntriesAreReported()
{
    Fixture f;
    QCOMPARE(ErrorNumberOf([&] { f.set->StoreEntry(nullptr); }), int(errObjectNotSet));
    QCOMPARE(ErrorNumberOf([&] { f.set->AddEntry(nullptr); }), int(errObjectNotSet));
    QCOMPARE(ErrorNumberOf([&] { f.ws->TextServer()->CreateEntry(nullptr, 1, ssLocalDefault); }), int(errObjectNotSet));
}

QTEST_GUILESS_MAIN(TestTableSet)
#include "tst_tableset.moc"
