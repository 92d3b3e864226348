// Workspace files: saving and reopening, the English history a save keeps, atomic saves, earlier
// schemas, and refusing files that are not ours.

#include "io/WorkspaceTransfer.h"
#include "server/SqliteStore.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include "RecordTestSupport.h"

#include <QCryptographicHash>
#include <QtTest>

#include <sqlite3.h>
#include <unistd.h>

using namespace kvedit;
using namespace kvedit::server;
using kvedit::test::ErrorOf;
using kvedit::test::Full;

namespace {

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

// Stores a new text for the id through the editor's interface, as an edit; with a shortcut
// character, as a text that allows a shortcut.
void Edit(const StringTableSetPtr &set, StringId id, StringSource source, const QString &text,
          const QString &shortcut = {})
{
    const StringEntryPtr e = set->Entry(id, source);
    set->StoreEntry(e->CreateEdited(id, text, "", false, false, !shortcut.isEmpty(), shortcut, shortcut.isEmpty() ? 0 : 1,
                                    e->ParameterDefinitions(), true));
}

// A saved workspace file whose English default holds the given texts as ids 1, 2, ...
void SavedFile(const QString &path, const QStringList &texts, int maximumCount = 100)
{
    const WorkspacePtr ws = Workspace::Create(path, {"saved", "de-DE", maximumCount});
    for (int i = 0; i < texts.size(); ++i)
        ws->Set()->PutRecord(StringId(i + 1), ssEnglishDefault, Full(texts[i], 1, 0));
    ws->Set()->Save(ssEnglishDefault, false);
}


// Permissions do not bind the superuser: as root, the block runs as "nobody" (the saved user
// id lets the destructor return).
class AsOrdinaryUser {
public:
    AsOrdinaryUser()
    {
        if (geteuid() == 0)
            m_dropped = setresgid(65534, 65534, 0) == 0 && setresuid(65534, 65534, 0) == 0;
    }
    ~AsOrdinaryUser()
    {
        if (m_dropped && setresuid(0, 0, 0) == 0)
            setresgid(0, 0, 0);
    }
    AsOrdinaryUser(const AsOrdinaryUser &) = delete;
    AsOrdinaryUser &operator=(const AsOrdinaryUser &) = delete;

private:
    bool m_dropped = false;
};

// Every entry of a folder with its digest (none for a folder): what an open must leave as it was.
QStringList FolderState(const QString &folder)
{
    QStringList state;
    for (const QString &name : QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
        state << name + u' ' + QString::fromLatin1(Digest(folder + u'/' + name).toHex());
    return state;
}

// A disk that fails on demand: every file of the default file system is opened by it, and writes
// or the growth of shared memory fail with the code set here while it is non-zero. Behind the
// real file's own data each file keeps the real methods, and a copy with those two replaced.
namespace failing {
int writeCode = 0;
int shmCode = 0;
sqlite3_vfs *real = nullptr;
sqlite3_vfs vfs;

struct Methods {
    const sqlite3_io_methods *real;
    sqlite3_io_methods failing;
};
int Offset() { return (real->szOsFile + 7) & ~7; }
Methods *MethodsOf(sqlite3_file *f) { return reinterpret_cast<Methods *>(reinterpret_cast<char *>(f) + Offset()); }

int Open(sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *outFlags)
{
    const int rc = real->xOpen(real, name, file, flags, outFlags);
    if (!file->pMethods)
        return rc;
    Methods *m = MethodsOf(file);
    m->real = file->pMethods;
    m->failing = *file->pMethods;
    m->failing.xWrite = [](sqlite3_file *x, const void *b, int n, sqlite3_int64 o) {
        return writeCode ? writeCode : MethodsOf(x)->real->xWrite(x, b, n, o);
    };
    m->failing.xShmMap = [](sqlite3_file *x, int p, int sz, int ext, void volatile **mem) {
        return shmCode ? shmCode : MethodsOf(x)->real->xShmMap(x, p, sz, ext, mem);
    };
    file->pMethods = &m->failing;
    return rc;
}

// Installed as the default file system for its lifetime.
struct Disk {
    Disk()
    {
        real = sqlite3_vfs_find(nullptr);
        vfs = *real;
        vfs.zName = "failing";
        vfs.szOsFile = Offset() + static_cast<int>(sizeof(Methods));
        vfs.xOpen = Open;
        sqlite3_vfs_register(&vfs, 1);
    }
    ~Disk()
    {
        writeCode = shmCode = 0;
        sqlite3_vfs_unregister(&vfs);
    }
};
} // namespace failing

} // namespace

class TestWorkspaceFile : public QObject {
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> m_dir;
    QString PathOf(const QString &name) const { return m_dir->filePath(name); }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void createRefusesBadMaximum()
    {
        for (const int maximum : {0, -5, 40000})
            QCOMPARE(ErrorOf([&] { Workspace::CreateInMemory({"x", "de-DE", maximum}); }).Number(), int(errInvalidCall));
    }

    // The header values come back as saved (every field of the records: the server's scenarios),
    // and a save writes only what changed: another program's change behind our back is not undone.
    void headerAndChangesOnly()
    {
        const QString path = PathOf("round.kvw");
        const WorkspacePtr ws = Workspace::Create(path, {"Round trip", "ja-JP", 32767});
        QCOMPARE(ws->FilePath(), path);
        ws->Set()->PutRecord(1, ssEnglishDefault, Full("first", 1, 0));
        ws->Set()->PutRecord(32767, ssEnglishDefault, Full("last", 1, 0));
        ws->Set()->Save(ssEnglishDefault, false);
        ExecOn(path, "UPDATE records SET text = 'changed outside' WHERE id = 1");
        ws->Set()->RemoveEntry(32767, ssEnglishDefault);
        ws->Set()->Save(ssEnglishDefault, false);

        const WorkspacePtr reopened = Workspace::Open(path);
        QCOMPARE(QStringLiteral("%1|%2|").arg(reopened->Name()).arg(reopened->TextServer()->MaximumCount())
                     + reopened->Set()->SourceLanguage(ssLocalDefault).Name(), QString("Round trip|32767|Japanese"));
        QCOMPARE(reopened->TextServer()->StringTableSet(), reopened->Tables());
        QCOMPARE(test::Dump(*reopened->Set()),
                 QString(R"(1 English Default: "changed outside" rev 1 status 0 props 0 mode 0 key "" desc "")" "\n"));
    }

    void openOrCreateRefuses_data()
    {
        test::AddCaseRows(QFINDTESTDATA("data/refusals.txt"), {"kind", "error", "reason"});
    }
    void openOrCreateRefuses()
    {
        QFETCH(QString, kind);
        QFETCH(QString, error);
        QFETCH(QString, reason);
        const bool create = kind.startsWith("create ");
        if (create)
            kind = kind.mid(7);
        QString path = PathOf("file.kvw");
        const auto write = [&](const QByteArray &bytes) {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(bytes);
        };
        if (kind == "folder") {
            QVERIFY(QDir(m_dir->path()).mkdir("file.kvw"));
        } else if (kind == "text") {
            write("[workspace]\nname=not really\n");
        } else if (kind == "foreign") {
            ExecOn(path, "CREATE TABLE contacts(name TEXT, phone TEXT); INSERT INTO contacts VALUES ('A', '1');");
        } else if (kind == "empty") {
            write(QByteArray());
        } else if (kind == "truncated") {
            SavedFile(path, QStringList(3000, "A string with some text to fill the pages"), 32767);
            QFile f(path);
            QVERIFY(f.resize(f.size() / 2));
        } else if (kind == "newer" || kind == "noschema") {
            SavedFile(path, {"one"});
            ExecOn(path, kind == "newer" ? "PRAGMA user_version = 99" : "PRAGMA user_version = 0");
        } else if (kind == "badrecord") {
            SavedFile(path, {}, 10);
            ExecOn(path, "INSERT INTO records(source, id, text) VALUES (3, 11, 'beyond the maximum')");
        } else if (kind == "nofolder") {
            path = PathOf("no/such/folder/file.kvw");
        } else if (kind != "missing") {   // SQL that changes a saved workspace
            SavedFile(path, {"one"});
            ExecOn(path, qPrintable(kind));
        }
        const QStringList before = FolderState(m_dir->path());

        const KvError e = ErrorOf([&] {
            create ? void(Workspace::Create(path, {"x", "de-DE", 100})) : void(Workspace::Open(path));
        });
        const QHash<QString, int> numbers{
            {"not found", errFileNotFound}, {"access", errFileAccess}, {"storage", errStorage}};
        QCOMPARE(e.Number(), numbers.value(error));
        QVERIFY2(e.Description().contains(QDir::toNativeSeparators(path)), qPrintable(e.Description()));
        QVERIFY2(e.Description().contains(reason, Qt::CaseInsensitive), qPrintable(e.Description()));
        QCOMPARE(FolderState(m_dir->path()), before);   // nothing written in the file or beside it
    }

    void writeProtectedPlaces_data()
    {
        test::AddCaseRows(QFINDTESTDATA("data/protected.txt"), {"protection", "beside", "refusal"});
    }
    void writeProtectedPlaces()
    {
        QFETCH(QString, protection);
        QFETCH(QString, beside);
        QFETCH(QString, refusal);
        const bool withLog = beside.contains("-wal");
        QVERIFY(QFile::setPermissions(m_dir->path(), QFileDevice::Permissions(0x7777)));
        const QString source = PathOf("source.kvw");
        const QString place = PathOf("place");
        const QString path = place + "/file.kvw";
        QVERIFY(QDir().mkpath(place));
        SavedFile(source, {"as first saved"});
        {
            // A copy taken while the last save is only in the log, as after a crash.
            const WorkspacePtr ws = Workspace::Open(source);
            Edit(ws->Tables(), 1, ssEnglishDefault, "last saved");
            ws->Tables()->Save(ssEnglishDefault, false);
            QVERIFY(QFile::copy(source, path));
            for (const QString &suffix : beside.split(u' ', Qt::SkipEmptyParts))
                QVERIFY(QFile::copy(source + suffix, path + suffix));
        }
        const auto readOnly = QFileDevice::ReadOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther;
        for (const QString &name : QDir(place).entryList(QDir::Files))
            QVERIFY(QFile::setPermissions(place + u'/' + name, readOnly));
        const auto folderExe = QFileDevice::ExeOwner | QFileDevice::ExeGroup | QFileDevice::ExeOther;
        if (protection != "file")
            QVERIFY(QFile::setPermissions(place, protection == "folder" ? readOnly | folderExe : QFileDevice::Permissions()));
        const QStringList before = FolderState(place);
        {
            const AsOrdinaryUser user;
            const KvError error = ErrorOf([&] {
                const WorkspacePtr ws = Workspace::Open(path);
                QCOMPARE(ws->Tables()->Text(1, ssEnglishDefault), QString(withLog ? "last saved" : "as first saved"));
            });
            QVERIFY2(refusal.isEmpty() ? error.Number() == 0
                                       : error.Description().contains(refusal) && error.Description().contains(path),
                     qPrintable(error.Description()));
        }
        QCOMPARE(FolderState(place), before);   // no -wal or -shm made or changed

        // Writable again, it saves: nothing left behind stands in the way.
        QVERIFY(QFile::setPermissions(place, QFileDevice::Permissions(0x7777)));
        for (const QString &name : QDir(place).entryList(QDir::Files))
            QVERIFY(QFile::setPermissions(place + u'/' + name, QFileDevice::Permissions(0x6666)));
        if (!refusal.isEmpty())
            return;
        const AsOrdinaryUser user;
        const WorkspacePtr ws = Workspace::Open(path);
        Edit(ws->Tables(), 1, ssEnglishDefault, "saved again");
        ws->Tables()->Save(ssEnglishDefault, false);
        QCOMPARE(Workspace::Open(path)->Tables()->Text(1, ssEnglishDefault), QString("saved again"));
    }

    // An open or a save that fails, on a failing disk or a file another program holds locked: the
    // cause named with the file, the file as it was and the edits kept, which save once it is gone.
    void failuresLeaveFileAndEdits_data()
    {
        test::AddCaseRows(QFINDTESTDATA("data/failures.txt"), {"when", "failure", "reason"});
    }
    void failuresLeaveFileAndEdits()
    {
        QFETCH(QString, when);
        QFETCH(QString, failure);
        QFETCH(QString, reason);
        const bool atOpen = when == "open";
        const int shmCode = failure == "no room for the -shm" ? SQLITE_IOERR_SHMSIZE : 0;
        // -1: another program holds the file locked.
        const int writeCode = QHash<QString, int>{{"disk full", SQLITE_FULL}, {"failing write", SQLITE_IOERR_WRITE},
                                                  {"locked by another program", -1}}.value(failure);
        const QString path = PathOf("disk.kvw");
        SavedFile(path, {"intact"});
        const QByteArray before = Digest(path);
        const failing::Disk disk;
        const WorkspacePtr ws = atOpen ? nullptr : Workspace::Open(path);
        if (ws) {
            Edit(ws->Tables(), 1, ssEnglishDefault, "changed");
            ws->setSymbol(1, "IDS_CHANGED");
        }
        sqlite3 *other = nullptr;
        if (writeCode < 0) {
            QCOMPARE(sqlite3_open(QFile::encodeName(path).constData(), &other), SQLITE_OK);
            QCOMPARE(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
        }
        failing::shmCode = shmCode;
        failing::writeCode = qMax(0, writeCode);
        const KvError error = ErrorOf([&] { ws ? ws->Tables()->Save(ssEnglishDefault, false) : void(Workspace::Open(path)); });
        failing::shmCode = failing::writeCode = 0;
        sqlite3_close(other);
        QVERIFY2(error.Description().contains(reason) && error.Description().contains(path), qPrintable(error.Description()));
        QVERIFY(!error.Description().contains("damaged"));
        QCOMPARE(Digest(path), before);
        if (ws) {
            QVERIFY(ws->Tables()->Modified());
            ws->Tables()->Save(ssEnglishDefault, false);
        }
        const WorkspacePtr reopened = Workspace::Open(path);
        QCOMPARE(reopened->Tables()->Text(1, ssEnglishDefault) + reopened->Symbol(1), QString(ws ? "changedIDS_CHANGED" : "intact"));
    }

    // A file of an earlier schema (the first had no origins' table, the second no English
    // history) opens unchanged and gains what it lacks with its first save, losing nothing.
    void earlierSchemaIsMigratedOnSave_data()
    {
        QTest::addColumn<QString>("sql");   // turns the second schema's file into the one tested
        QTest::newRow("schema 1") << "DROP TABLE exchange_origins; PRAGMA user_version = 1";
        QTest::newRow("schema 2") << "";
    }
    void earlierSchemaIsMigratedOnSave()
    {
        QFETCH(QString, sql);
        const QString path = PathOf("old.kvw");
        QVERIFY(QFile::copy(QFINDTESTDATA("data/schema2.kvw"), path));
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
        if (!sql.isEmpty())
            ExecOn(path, qPrintable(sql));
        const QByteArray before = Digest(path);
        const ExchangeOrigin origin{"app.json", "71", "a <x id=\"1\"/>", {}, "final", "exact-match"};
        {
            const WorkspacePtr ws = Workspace::Open(path);
            QCOMPARE(Digest(path), before);
            ws->Set()->setOrigin(2, origin);
            ws->Set()->DiscardEdits();
            QVERIFY(ws->Set()->Origins().isEmpty());
            ws->Set()->setOrigin(2, origin);
            Edit(ws->Tables(), 1, ssEnglishDefault, "&Open…");
            ws->Set()->Save(ssEnglishDefault, false);
        }
        const WorkspacePtr ws = Workspace::Open(path);
        const std::shared_ptr<TableSet> set = ws->Set();
        QCOMPARE(set->Origin(2), origin);
        QCOMPARE(set->EnglishAt(1, 1)->text, QString("&Open..."));
        test::CompareWithExpected(test::Dump(*set), QFINDTESTDATA("data/schema2-saved.txt"));
        set->RemoveEntry(2, ssEnglishDefault);   // what belongs to a string goes with it
        set->Save(ssEnglishDefault, false);
        QVERIFY(Workspace::Open(path)->Set()->Origins().isEmpty());
    }

    // What an import replaces in the English default is kept with its revision and text properties,
    // as what a Save replaces (see the server's scenarios).
    void importKeepsTheReplacedText()
    {
        const QString path = PathOf("import.kvw");
        {
            const WorkspacePtr ws = Workspace::Create(path, {"h", "de-DE", 100});
            Edit(ws->Tables(), 1, ssEnglishDefault, "&Open", "O");
            Edit(ws->Tables(), 2, ssEnglishDefault, "Close");
            ws->Tables()->Save(ssEnglishDefault, false);
        }
        QFile rc(PathOf("en.rc"));
        QVERIFY(rc.open(QIODevice::WriteOnly));
        rc.write("STRINGTABLE\nBEGIN\n  1 \"Open file\"\n  2 \"Close\"\nEND\n");
        rc.close();
        QCOMPARE(io::ImportFile(*Workspace::Open(path), rc.fileName()).changed, 1);
        const StringTableSetPtr set = Workspace::Open(path)->Tables();
        QCOMPARE(set->Revision(1, ssEnglishDefault), qint16(2));
        QCOMPARE(set->EnglishAt(1, 1), std::optional(EntryValues{"&Open", "", "O", tpAllowShortcut, 1}));
        QCOMPARE(set->EnglishAt(1, 2)->text + u'|' + set->EnglishAt(2, 1)->text, QString("Open file|Close"));
        QVERIFY(!set->EnglishAt(2, 2));
    }
};

QTEST_GUILESS_MAIN(TestWorkspaceFile)
#include "tst_workspacefile.moc"
