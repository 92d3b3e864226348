// Workspace files: saving and reopening, atomic saves, and refusing files that are not ours.

#include "server/SqliteStore.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include "services/ErrorContext.h"

#include <QCryptographicHash>
#include <QtTest>

#include <sqlite3.h>
#include <unistd.h>

using namespace kvedit;
using namespace kvedit::server;

namespace {

Record Full(const QString &text, qint16 revision, int status, const QString &description = {})
{
    Record r;
    r.text = text;
    r.hasText = true;
    r.revision = revision;
    r.status = status;
    r.description = description;
    return r;
}

QByteArray Digest(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256);
}

// Runs SQL on a file through a connection of its own, as another program would.
void ExecOn(const QString &path, const char *sql)
{
    sqlite3 *db = nullptr;
    QCOMPARE(sqlite3_open(QFile::encodeName(path).constData(), &db), SQLITE_OK);
    QCOMPARE(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
}

KvError OpenError(const QString &path)
{
    try {
        Workspace::Open(path);
    } catch (const KvError &e) {
        return e;
    }
    return KvError(0, QString());
}

} // namespace

class TestWorkspaceFile : public QObject {
    Q_OBJECT

private slots:
    void init();
    void createWritesHeaderValues();
    void createRefusesExistingFileAndBadValues();
    void saveToOwnSourcesAndReopen();
    void saveAsIntoDefault_data();
    void saveAsIntoDefault();
    void saveWritesOnlyWhatChanged();
    void failedSaveLeavesFileAndEdits();
    void openRefuses_data();
    void openRefuses();
    void openRefusesUnreadableDirectory();
    void inMemoryWorkspaceSaves();
    void twoOpenWorkspacesOfOneFile();

private:
    QString PathOf(const QString &name) const { return m_dir->filePath(name); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestWorkspaceFile::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestWorkspaceFile::createWritesHeaderValues()
{
    const QString path = PathOf("new.kvw");
    const WorkspacePtr created = Workspace::Create(path, {"Sales Tool", "ja-JP", 2000});
    QCOMPARE(created->FilePath(), path);
    QVERIFY(!created->Tables()->Modified());
    const WorkspacePtr opened = Workspace::Open(path);
    QCOMPARE(opened->Name(), QString("Sales Tool"));
    QCOMPARE(opened->Info().targetLanguage, QString("ja-JP"));
    QCOMPARE(opened->TextServer()->MaximumCount(), 2000);
    QCOMPARE(opened->Tables()->SourceLanguage(ssLocalDefault).Name(), QString("Japanese"));
}

void TestWorkspaceFile::createRefusesExistingFileAndBadValues()
{
    const QString path = PathOf("exists.kvw");
    {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("someone's notes");
    }
    const QByteArray before = Digest(path);
    try {
        Workspace::Create(path, {"x", "de-DE", 100});
        QFAIL("created over an existing file");
    } catch (const KvError &e) {
        QVERIFY(e.Description().contains(QDir::toNativeSeparators(path)));
    }
    QCOMPARE(Digest(path), before);

    const QString nowhere = PathOf("missing-folder/new.kvw");
    try {
        Workspace::Create(nowhere, {"x", "de-DE", 100});
        QFAIL("created in a folder that does not exist");
    } catch (const KvError &e) {
        QCOMPARE(e.Number(), int(errStorage));
        QVERIFY(e.Description().contains(QDir::toNativeSeparators(nowhere)));
    }
    for (const int maximum : {0, -5, 40000}) {
        try {
            Workspace::CreateInMemory({"x", "de-DE", maximum});
            QFAIL("accepted an invalid maximum count");
        } catch (const KvError &e) {
            QCOMPARE(e.Number(), int(errInvalidCall));
        }
    }
    QVERIFY(!QFileInfo::exists(PathOf("bad.kvw")));
}

void TestWorkspaceFile::saveToOwnSourcesAndReopen()
{
    const QString path = PathOf("round.kvw");
    const WorkspacePtr ws = Workspace::Create(path, {"Round trip", "de-DE", 32767});
    const std::shared_ptr<TableSet> set = ws->Set();

    Record english = Full("&Print...\tCtrl+P", 3, sfApproved, "File menu");
    english.properties = tpAllowShortcut | tpAllowTab;
    english.shortcutCharacter = "P";
    english.shortcutMode = 1;
    Record german = Full("Zeile 1\nZeile 2", -7, sfApproved | 8, "zwei Zeilen");
    german.properties = tpMultipleLines;
    german.shortcutMode = 4;
    Record empty;   // a record without text
    empty.description = "to do";
    empty.revision = 2;

    set->PutRecord(32767, ssEnglishDefault, english);
    set->PutRecord(32767, ssLocalDefault, german);
    set->PutRecord(32767, ssLocalEdited, empty);
    set->PutRecord(1, ssEnglishEdited, Full("日本語のテキスト", 1, 0));
    set->PutRecord(1, ssEnglishDefault, Full("", 1, 0));   // an empty text is still a text
    const ParameterList parameters{ParameterDefinition(2, "second, first in the list", "%2"),
                                   ParameterDefinition(1, "O'Brien; DROP TABLE records", "%1")};
    set->setParameters(32767, parameters);
    ws->setSymbol(32767, "IDS_FILE_PRINT");
    set->Save(ssLocalEdited, false);
    QVERIFY(!set->Modified());

    const WorkspacePtr reopened = Workspace::Open(path);
    const std::shared_ptr<TableSet> again = reopened->Set();
    QCOMPARE(again->RecordOf(32767, ssEnglishDefault), std::optional(english));
    QCOMPARE(again->RecordOf(32767, ssLocalDefault), std::optional(german));
    QCOMPARE(again->RecordOf(32767, ssLocalEdited), std::optional(empty));
    QCOMPARE(again->RecordOf(1, ssEnglishEdited), std::optional(Full("日本語のテキスト", 1, 0)));
    QVERIFY(again->HasText(1, ssEnglishDefault));
    QCOMPARE(again->Parameters(32767), parameters);
    QCOMPARE(reopened->Symbol(32767), QString("IDS_FILE_PRINT"));
    QCOMPARE(again->RecordCount(ssEnglishDefault), 2);
    QVERIFY(!again->Modified());

    // Deletions reach the file too.
    set->RemoveEntry(32767, ssLocalEdited);
    set->setParameters(32767, {});
    ws->setSymbol(32767, {});
    set->Save(ssLocalEdited, false);
    const std::shared_ptr<TableSet> third = Workspace::Open(path)->Set();
    QVERIFY(!third->RecordOf(32767, ssLocalEdited).has_value());
    QVERIFY(third->Parameters(32767).isEmpty());
    QCOMPARE(third->Symbol(32767), QString());
}

void TestWorkspaceFile::saveAsIntoDefault_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<int>("revision");
    // A translation keeps the English revision it was stored with; a new English default text
    // is a change of the English text and raises its revision.
    QTest::newRow("Local Edited into Local Default") << 0 << 2;
    QTest::newRow("English Edited into English Default") << 2 << 3;
}

void TestWorkspaceFile::saveAsIntoDefault()
{
    QFETCH(int, version);
    QFETCH(int, revision);
    const auto edited = StringSource(version);
    const auto target = StringSource(version + 1);
    const QString path = PathOf("saveas.kvw");
    {
        const WorkspacePtr ws = Workspace::Create(path, {"Save as", "de-DE", 100});
        ws->Set()->PutRecord(10, ssEnglishDefault, Full("Help", 2, sfApproved));
        ws->Set()->PutRecord(10, edited, Full("old edit", 1, 0));
        if (target != ssEnglishDefault)
            ws->Set()->PutRecord(10, target, Full("old default", 1, 0));
        ws->Set()->PutRecord(11, target, Full("untouched", 1, sfApproved));
        ws->Set()->Save(edited, false);
    }
    const WorkspacePtr ws = Workspace::Open(path);
    const StringTableSetPtr set = ws->Tables();
    const StringEntryPtr e = set->Entry(10, edited);
    set->StoreEntry(e->CreateEdited(10, "new text", "", false, false, false, "", 0, e->ParameterDefinitions(), true));
    const StringEntryPtr other = set->Entry(12, ssLocalEdited == edited ? ssEnglishEdited : ssLocalEdited);
    set->StoreEntry(other->CreateEdited(12, "elsewhere", "", false, false, false, "", 0, nullptr, false));
    QCOMPARE(set->SaveTableNames(edited).value(1), TableSet::FixedSourceName(target));

    set->Save(edited, true);
    QVERIFY(!set->Modified());
    for (const StringTableSetPtr &s : {set, Workspace::Open(path)->Tables()}) {
        QCOMPARE(s->Text(10, target), QString("new text"));
        QVERIFY(s->HasStatus(10, target, sfApproved));
        QCOMPARE(s->Revision(10, target), qint16(revision));
        QVERIFY(!std::static_pointer_cast<TableSet>(s)->RecordOf(10, edited).has_value());   // superseded, so the saved text shows
        QCOMPARE(s->Text(10, edited), QString("new text"));
        QCOMPARE(s->SourceName(10, edited), TableSet::FixedSourceName(target));
        QCOMPARE(s->Text(11, target), QString("untouched"));
        QCOMPARE(s->Text(12, other->StringSource()), QString("elsewhere"));   // other sources keep their own
        QVERIFY(std::static_pointer_cast<TableSet>(s)->RecordOf(12, other->StringSource()).has_value());
    }
}

void TestWorkspaceFile::saveWritesOnlyWhatChanged()
{
    const QString path = PathOf("partial.kvw");
    {
        const WorkspacePtr ws = Workspace::Create(path, {"Partial", "de-DE", 100});
        ws->Set()->PutRecord(1, ssEnglishDefault, Full("one", 1, 0));
        ws->Set()->PutRecord(2, ssEnglishDefault, Full("two", 1, 0));
        ws->Set()->Save(ssEnglishDefault, false);
    }
    const WorkspacePtr ws = Workspace::Open(path);
    // Another program changes string 1 behind our back; our save of string 2 must not undo it.
    ExecOn(path, "UPDATE records SET text = 'changed outside' WHERE id = 1");
    const StringEntryPtr e = ws->Tables()->Entry(2, ssEnglishDefault);
    ws->Tables()->StoreEntry(e->CreateEdited(2, "zwei", "", false, false, false, "", 0, e->ParameterDefinitions(), false));
    ws->Tables()->Save(ssEnglishDefault, false);
    const StringTableSetPtr reopened = Workspace::Open(path)->Tables();
    QCOMPARE(reopened->Text(1, ssEnglishDefault), QString("changed outside"));
    QCOMPARE(reopened->Text(2, ssEnglishDefault), QString("zwei"));
}

void TestWorkspaceFile::failedSaveLeavesFileAndEdits()
{
    const QString path = PathOf("locked.kvw");
    const WorkspacePtr ws = Workspace::Create(path, {"Locked", "de-DE", 100});
    ws->Set()->PutRecord(5, ssEnglishDefault, Full("Undo", 1, 0));
    ws->Tables()->Save(ssEnglishDefault, false);
    const QByteArray before = Digest(path);

    const StringEntryPtr e = ws->Tables()->Entry(5, ssEnglishDefault);
    ws->Tables()->StoreEntry(e->CreateEdited(5, "Undo typing", "", false, false, false, "", 0, e->ParameterDefinitions(), false));
    ws->setSymbol(5, "IDS_EDIT_UNDO");

    // Another program holds the file locked for writing.
    sqlite3 *other = nullptr;
    QCOMPARE(sqlite3_open(QFile::encodeName(path).constData(), &other), SQLITE_OK);
    QCOMPARE(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    try {
        ws->Tables()->Save(ssEnglishDefault, false);
        sqlite3_close(other);
        QFAIL("saved into a locked file");
    } catch (const KvError &error) {
        QCOMPARE(error.Number(), int(errStorage));
        QVERIFY2(error.Description().contains(QDir::toNativeSeparators(path)), qPrintable(error.Description()));
        QVERIFY2(error.Description().contains("locked"), qPrintable(error.Description()));
    }
    sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(other);

    QCOMPARE(Digest(path), before);
    QVERIFY(ws->Tables()->Modified());
    QCOMPARE(ws->Tables()->Text(5, ssEnglishDefault), QString("Undo typing"));
    QCOMPARE(Workspace::Open(path)->Tables()->Text(5, ssEnglishDefault), QString("Undo"));

    // Once the lock is gone the same edits save.
    ws->Tables()->Save(ssEnglishDefault, false);
    QVERIFY(!ws->Tables()->Modified());
    const WorkspacePtr reopened = Workspace::Open(path);
    QCOMPARE(reopened->Tables()->Text(5, ssEnglishDefault), QString("Undo typing"));
    QCOMPARE(reopened->Symbol(5), QString("IDS_EDIT_UNDO"));
}

void TestWorkspaceFile::openRefuses_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("reason");   // part of the message besides the file name
    QTest::newRow("missing file") << "missing" << int(errFileNotFound) << "not found";
    QTest::newRow("folder in the way") << "folder" << int(errFileAccess) << "not a file";
    QTest::newRow("text file") << "text" << int(errStorage) << "not a kvedit workspace";
    QTest::newRow("database of another program") << "foreign" << int(errStorage) << "not a kvedit workspace";
    QTest::newRow("empty file") << "empty" << int(errStorage) << "not a kvedit workspace";
    QTest::newRow("garbage bytes") << "garbage" << int(errStorage) << "not a kvedit workspace";
    QTest::newRow("truncated workspace") << "truncated" << int(errStorage) << "";
    QTest::newRow("newer schema") << "newer" << int(errStorage) << "newer version";
    QTest::newRow("no schema version") << "noschema" << int(errStorage) << "damaged";
    QTest::newRow("record out of range") << "badrecord" << int(errStorage) << "damaged";
    QTest::newRow("folder that does not exist") << "nofolder" << int(errFileNotFound) << "not found";
}

void TestWorkspaceFile::openRefuses()
{
    QFETCH(QString, kind);
    QFETCH(int, number);
    QFETCH(QString, reason);

    QString path = PathOf("file.kvw");
    const auto write = [&](const QByteArray &bytes) {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    };
    const auto workspace = [&](int strings) {
        const WorkspacePtr ws = Workspace::Create(path, {"victim", "de-DE", 32767});
        for (int id = 1; id <= strings; ++id)
            ws->Set()->PutRecord(StringId(id), ssEnglishDefault,
                                 Full(QString("String number %1 with some text to fill pages").arg(id), 1, 0));
        ws->Set()->Save(ssEnglishDefault, false);
    };

    if (kind == "folder") {
        QVERIFY(QDir(m_dir->path()).mkdir("file.kvw"));
    } else if (kind == "text") {
        write("[workspace]\nname=not really\n");
    } else if (kind == "foreign") {
        ExecOn(path, "CREATE TABLE contacts(name TEXT, phone TEXT); INSERT INTO contacts VALUES ('A', '1');");
    } else if (kind == "empty") {
        write(QByteArray());
    } else if (kind == "garbage") {
        QByteArray bytes(8192, '\0');
        for (int i = 0; i < bytes.size(); ++i)
            bytes[i] = char((i * 7919 + 13) % 251);
        write(bytes);
    } else if (kind == "truncated") {
        workspace(3000);
        QFile f(path);
        QVERIFY(f.resize(f.size() / 2));
    } else if (kind == "newer") {
        workspace(1);
        ExecOn(path, "PRAGMA user_version = 2");
    } else if (kind == "noschema") {
        workspace(1);
        ExecOn(path, "PRAGMA user_version = 0");
    } else if (kind == "badrecord") {
        Workspace::Create(path, {"small", "de-DE", 10});
        ExecOn(path, "INSERT INTO records(source, id, text) VALUES (3, 11, 'beyond the maximum')");
    } else if (kind == "nofolder") {
        path = PathOf("no/such/folder/file.kvw");
    }
    const QByteArray before = Digest(path);
    const QStringList filesBefore = QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);

    const KvError error = OpenError(path);
    QCOMPARE(error.Number(), number);
    QVERIFY2(error.Description().contains(QDir::toNativeSeparators(path)), qPrintable(error.Description()));
    QVERIFY2(error.Description().contains(reason, Qt::CaseInsensitive), qPrintable(error.Description()));
    QCOMPARE(Digest(path), before);   // nothing written
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), filesBefore);   // nor left beside it
}

void TestWorkspaceFile::openRefusesUnreadableDirectory()
{
    if (geteuid() == 0)
        QSKIP("permissions do not restrict the superuser");
    const QString folder = PathOf("closed");
    QVERIFY(QDir(m_dir->path()).mkdir("closed"));
    const QString path = folder + "/file.kvw";
    Workspace::Create(path, {"closed", "de-DE", 10});
    QVERIFY(QFile::setPermissions(folder, QFileDevice::Permissions()));
    const KvError error = OpenError(path);
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QVERIFY(error.Number() != 0);
    QVERIFY(error.Description().contains(QDir::toNativeSeparators(path)));
}

void TestWorkspaceFile::inMemoryWorkspaceSaves()
{
    const WorkspacePtr ws = Workspace::CreateInMemory({"scratch", "de-DE", 100});
    ws->Set()->PutRecord(1, ssEnglishDefault, Full("Scratch", 1, 0));
    QVERIFY(ws->Tables()->Modified());
    ws->Tables()->Save(ssEnglishDefault, false);
    QVERIFY(!ws->Tables()->Modified());
    ws->Tables()->DiscardEdits();
    QCOMPARE(ws->Tables()->Text(1, ssEnglishDefault), QString("Scratch"));
}

void TestWorkspaceFile::twoOpenWorkspacesOfOneFile()
{
    const QString path = PathOf("shared.kvw");
    Workspace::Create(path, {"shared", "de-DE", 100});
    const WorkspacePtr first = Workspace::Open(path);
    const WorkspacePtr second = Workspace::Open(path);
    first->Set()->PutRecord(1, ssEnglishDefault, Full("from first", 1, 0));
    second->Set()->PutRecord(2, ssEnglishDefault, Full("from second", 1, 0));
    QVERIFY(!second->Tables()->IdInUse(1, ssEnglishDefault));
    first->Tables()->Save(ssEnglishDefault, false);
    second->Tables()->Save(ssEnglishDefault, false);
    const StringTableSetPtr both = Workspace::Open(path)->Tables();
    QCOMPARE(both->Text(1, ssEnglishDefault), QString("from first"));
    QCOMPARE(both->Text(2, ssEnglishDefault), QString("from second"));
}

QTEST_GUILESS_MAIN(TestWorkspaceFile)
#include "tst_workspacefile.moc"
