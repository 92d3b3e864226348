// Reading string tables from resource scripts: the preprocessor, the statements around the
// tables, literals and escapes, encodings, symbols, and errors that name file and line.

#include "IoTestSupport.h"

#include "io/Preprocessor.h"
#include "io/RcReader.h"

#include <QtTest>

#include <unistd.h>

using namespace kvedit;
using namespace kvedit::io;
using kvedit::test::DataFile;
using kvedit::test::WriteBytes;

namespace {

// Reader options as a script's first line gives them ("// options: --code-page 932").
RcReadOptions OptionsOf(const QStringList &words, const QString &script)
{
    RcReadOptions options;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString &w = words.at(i);
        if (w == QLatin1String("-I"))
            options.includeDirs << QFileInfo(script).dir().filePath(words.value(++i));
        else if (w == QLatin1String("--code-page"))
            options.codePage = words.value(++i).toInt();
        else if (w == QLatin1String("--maximum-id"))
            options.maximumId = words.value(++i).toInt();
        else if (w == QLatin1String("--skip-out-of-range"))
            options.skipOutOfRange = true;
        else
            qFatal("unknown test option %s", qPrintable(w));
    }
    return options;
}

// What reading the script gives, or its errors, with paths relative to the test data.
QString ReadAsText(const QString &script, const RcReadOptions &options)
{
    const QString base = DataFile(QString()).chopped(1);
    try {
        return test::Dump(ReadResourceScript(script, options), base);
    } catch (const FileError &e) {
        if (e.Number() != errBadResourceFile)
            return QStringLiteral("unexpected error number %1").arg(e.Number());
        QString errors;
        for (const Diagnostic &d : e.Errors())
            errors += d.ToString().replace(base + u'/', QString()) + u'\n';
        return errors;
    }
}

} // namespace

class TestRcReader : public QObject {
    Q_OBJECT

private slots:
    // Every script in data/rc against the result expected beside it (NAME.txt).
    void scripts_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("expected");
        const QDir dir(DataFile(QStringLiteral("rc")));
        for (const QString &name : dir.entryList({QStringLiteral("*.rc")}, QDir::Files)) {
            const QString firstLine = QString::fromLatin1(test::ReadBytes(dir.filePath(name)).split('\n').first());
            const QString prefix = QStringLiteral("// options: ");
            const QString options = firstLine.startsWith(prefix) ? firstLine.mid(prefix.size()) : QString();
            const QString expected = dir.filePath(QFileInfo(name).completeBaseName() + QStringLiteral(".txt"));
            QTest::newRow(qPrintable(name))
                << dir.filePath(name) << options.split(u' ', Qt::SkipEmptyParts) << expected;
        }
        // The sample application: menus, dialogs and other blocks bring nothing; missing system
        // headers are notes.
        QTest::newRow("app/app.rc") << DataFile(QStringLiteral("app/app.rc")) << QStringList{"-I", "include"}
                                    << DataFile(QStringLiteral("rc/app.txt"));
    }

    void scripts()
    {
        QFETCH(QString, script);
        QFETCH(QStringList, options);
        QFETCH(QString, expected);
        const QString why = test::DiffersFromExpected(ReadAsText(script, OptionsOf(options, script)), expected);
        QVERIFY2(why.isEmpty(), qPrintable(why));
    }

    void includedFileOfAnotherEncodingByAbsolutePath()
    {
        // Such a file cannot be staged beside the script.
        QTemporaryDir dir;
        QStringEncoder utf16(QStringEncoder::Utf16LE, QStringEncoder::Flag::WriteBom);
        const QString header = WriteBytes(dir, QStringLiteral("ids.h"), utf16(u"#define IDS_A 1\r\n"));
        const QByteArray include = "#include \"" + header.toUtf8() + "\"\n";
        const QString script =
            WriteBytes(dir, QStringLiteral("s.rc"), include + "STRINGTABLE BEGIN IDS_A \"a\" END\n");
        QCOMPARE(ReadAsText(script, {}),
                 header + QStringLiteral(": error: the preprocessor cannot read this file as it is (UTF-16 or "
                                         "with a byte-order mark) and it is included in a way a converted copy "
                                         "cannot stand in for; save it as UTF-8 without a byte-order mark\n"));
    }

    void includesStayInTheirFolders_data()
    {
        QTest::addColumn<QByteArray>("include");    // ROOT stands for the folder above the script's
        QTest::addColumn<bool>("includeRoot");      // ROOT given as an include folder
        QTest::addColumn<bool>("anywhere");
        QTest::addColumn<QString>("refused");       // the file named in the error; empty: read
        QTest::newRow("subfolder") << QByteArray("\"sub/inner.h\"") << false << false << "";
        QTest::newRow("up and out") << QByteArray("\"../secret.h\"") << false << false << "ROOT/secret.h";
        QTest::newRow("absolute path") << QByteArray("\"ROOT/secret.h\"") << false << false << "ROOT/secret.h";
        QTest::newRow("link leading out") << QByteArray("\"link.h\"") << false << false << "ROOT/secret.h";
        QTest::newRow("include folder") << QByteArray("<secret.h>") << true << false << "";
        QTest::newRow("anywhere allowed") << QByteArray("\"../secret.h\"") << false << true << "";
    }

    void includesStayInTheirFolders()
    {
        QFETCH(QByteArray, include);
        QFETCH(bool, includeRoot);
        QFETCH(bool, anywhere);
        QFETCH(QString, refused);
        QTemporaryDir dir;
        const QString root = QFileInfo(dir.path()).canonicalFilePath();
        WriteBytes(dir, QStringLiteral("secret.h"), "\"a secret\"\n");
        WriteBytes(dir, QStringLiteral("project/sub/inner.h"), "\"a secret\"\n");
        QVERIFY(QFile::link(root + QStringLiteral("/secret.h"), root + QStringLiteral("/project/link.h")));
        const QString script = WriteBytes(dir, QStringLiteral("project/script.rc"),
                                          "STRINGTABLE\nBEGIN\n1\n#include " + include.replace("ROOT", QFile::encodeName(root))
                                              + "\nEND\n");
        RcReadOptions options;
        if (includeRoot)
            options.includeDirs << root;
        options.includeAnywhere = anywhere;
        const QString expected = refused.isEmpty()
            ? QStringLiteral("%1:3 1 \"a secret\"\n").arg(script)
            : QStringLiteral("%1:4: error: the included file \"%2\" lies outside the script's folder, the include "
                             "folders and the headers' folders; refused (--allow-include-anywhere permits it)\n")
                  .arg(script, refused.replace("ROOT", root));
        QCOMPARE(ReadAsText(script, options), expected);
    }

    void staleStagingFoldersAreRemoved()
    {
        QTemporaryDir temp;
        QTemporaryDir outside;
        WriteBytes(outside, QStringLiteral("keep.txt"), "the user's");
        QProcess ended;
        ended.start(QStringLiteral("true"), {});
        const qint64 endedPid = ended.processId();
        QVERIFY(ended.waitForFinished());
        const QDir t(temp.path());
        const QString dead = QStringLiteral("kvedit-rc-%1-aaaaaa").arg(endedPid);
        QStringList kept{QStringLiteral("kvedit-rc-%1-bbbbbb").arg(QCoreApplication::applicationPid()),
                         QStringLiteral("kvedit-rc-%1-dddddd").arg(getppid()), QStringLiteral("kvedit-rc-cccccc")};
        for (const QString &name : kept + QStringList{dead})
            QVERIFY(t.mkpath(name + QStringLiteral("/mirror")));
        // The staging links into the user's folders; removing it must leave their files alone.
        QVERIFY(QFile::link(outside.path(), temp.filePath(dead + QStringLiteral("/mirror/user"))));
        // Another process's folder stays; so does another user's, given away where the test may (as root).
        const bool givenAway = ::chown(QFile::encodeName(temp.filePath(kept.at(1))).constData(), 65534, 65534) == 0;
        qInfo() << "a folder of another user:" << givenAway;

        QCOMPARE(RemoveStaleStagingFolders(temp.path()), 1);
        kept.sort();
        QCOMPARE(t.entryList(QDir::Dirs | QDir::NoDotAndDotDot), kept);
        QVERIFY(QFile::exists(outside.filePath(QStringLiteral("keep.txt"))));
    }
};

QTEST_GUILESS_MAIN(TestRcReader)
#include "tst_rcreader.moc"