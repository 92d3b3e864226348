// Writing resource scripts: every text compiles back to the same characters, symbols and
// language are written, and the resource compiler accepts the result and builds the same string
// table from it as from the script it was read from.

#include "IoTestSupport.h"

#include "io/RcReader.h"
#include "io/RcWriter.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::io;
using kvedit::test::DataFile;
using kvedit::test::WriteBytes;

namespace {

ImportedString Str(int id, const QString &text, const QString &symbol = {})
{
    ImportedString s;
    s.id = id;
    s.text = text;
    s.symbol = symbol;
    return s;
}

// Every kind of character the writer has to escape, with symbols for some.
QList<ImportedString> TrickyStrings()
{
    return {
        Str(1, QStringLiteral("Say \"hello\" and \"\""), QStringLiteral("IDS_QUOTES")),
        Str(2, QStringLiteral("C:\\Program Files\\x\\n is not a line feed\\")),
        Str(3, QStringLiteral("Line 1\r\nLine 2\nLine 3\rend")),
        Str(4, QStringLiteral("Name:\tValue\t")),
        Str(5, QStringLiteral("Right\u0008aligned")),
        Str(6, QStringLiteral("nul") + QChar(0) + QStringLiteral("123 and bell\u0007 and \u001f\u007f7")),
        Str(7, QStringLiteral("Gr\u00fc\u00dfe \u20ac \u65e5\u672c\u8a9e \u0416 \U0001F600"), QStringLiteral("IDS_WORLD")),
        Str(8, QStringLiteral("%1 of %2 (100%%) && &Save")),
        Str(9, QStringLiteral("/* not a comment */ // nor this ?" "?= #define X")),
        Str(10, QStringLiteral("  leading and trailing blanks  ")),
        Str(11, QStringLiteral("\\\"\\\"")),
        Str(12, QStringLiteral("lone a") + QChar(0xD800) + QStringLiteral("\u00e9b")),
    };
}

// The ids and texts of strings, to compare what is read back with what was written.
QStringList Texts(const QList<ImportedString> &strings)
{
    QStringList out;
    for (const ImportedString &s : strings)
        out << QString::number(s.id) + u' ' + test::Quoted(s.text);
    return out;
}

} // namespace

class TestRcWriter : public QObject {
    Q_OBJECT

private slots:
    // What we write, against the script expected; it reads back the same and the resource
    // compiler builds the same strings from it.
    void written_data()
    {
        QTest::addColumn<QList<ImportedString>>("strings");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("comment");
        QTest::addColumn<QString>("expected");
        // Keywords, names that are not identifiers and a name given twice get no #define.
        const QList<ImportedString> layout{Str(101, QStringLiteral("&Open"), QStringLiteral("IDS_OPEN")),
                                           Str(7, QStringLiteral("\u00dcber")),
                                           Str(1, QStringLiteral("a"), QStringLiteral("END")),
                                           Str(2, QStringLiteral("b"), QStringLiteral("2FAST")),
                                           Str(3, QStringLiteral("c"), QStringLiteral("IDS_OPEN")),
                                           Str(4, QStringLiteral("d"), QStringLiteral("has space"))};
        QTest::newRow("layout") << layout << "de-DE" << "Demo: German default" << "layout.rc";
        QTest::newRow("escapes") << TrickyStrings() << "ja-JP" << "" << "escapes.rc";
        QTest::newRow("no strings") << QList<ImportedString>() << "de-DE" << "" << "empty.rc";
    }

    void written()
    {
        QFETCH(QList<ImportedString>, strings);
        QFETCH(QString, language);
        QFETCH(QString, comment);
        QFETCH(QString, expected);
        const QByteArray script = WriteResourceScript(strings, RcWriteOptions{language, comment});
        // Raw UTF-8 without a byte-order mark, and no raw control character for the compiler to choke on.
        QVERIFY(!script.startsWith("\xEF\xBB\xBF"));
        const QString why =
            test::DiffersFromExpected(QString::fromUtf8(script), DataFile(QStringLiteral("rc/written/") + expected));
        QVERIFY2(why.isEmpty(), qPrintable(why));
        for (const char c : script)
            QVERIFY2((c >= 0x20 || c < 0 || c == '\n') && c != 0x7F, script.constData());

        QTemporaryDir dir;
        const QString file = WriteBytes(dir, QStringLiteral("written.rc"), script);
        if (!strings.isEmpty())
            QCOMPARE(Texts(ReadResourceScript(file).strings), Texts(strings));
        if (test::WindresProgram().isEmpty() || test::CppProgram().isEmpty())
            QSKIP("the resource compiler (x86_64-w64-mingw32-windres) is not installed");
        QString messages;
        const QByteArray res = test::CompileWithWindres(file, {}, &messages);
        QVERIFY2(!res.isEmpty(), qPrintable(messages));
        QMap<int, QString> texts;
        for (const ImportedString &s : strings)
            texts[s.id] = s.text;
        const test::ResStrings tables = test::ReadResStringTables(res);
        QCOMPARE(tables.size(), texts.isEmpty() ? 0 : 1);
        QCOMPARE(tables.value(tables.isEmpty() ? 0 : tables.firstKey()), texts);
    }

    void languageStatements()
    {
        QString statements;
        for (const QString tag : {"de-DE", "de-CH", "fr", "pt_BR", "tlh"}) {
            const QByteArray script = WriteResourceScript({Str(1, QStringLiteral("x"))}, RcWriteOptions{tag, {}});
            const qsizetype at = script.indexOf("\nLANGUAGE ") + 1;
            statements += tag + u' ' + QString::fromUtf8(script.mid(at, script.indexOf('\n', at) - at)) + u'\n';
        }
        const QString why = test::DiffersFromExpected(statements, DataFile(QStringLiteral("rc/written/languages.txt")));
        QVERIFY2(why.isEmpty(), qPrintable(why));
    }

    // Scripts of projects: what we read and write back compiles to the same bytes.
    void compilerBuildsTheSameTable_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QStringList>("includeDirs");
        QTest::addColumn<QStringList>("defines");
        const QStringList dirs{DataFile(QStringLiteral("app")), DataFile(QStringLiteral("app/include"))};
        QTest::newRow("includes, definitions, code page 1252") << DataFile(QStringLiteral("compile/strings.rc")) << dirs
                                                              << QStringList{"WITH_EXTRAS"};
        QTest::newRow("Shift-JIS") << DataFile(QStringLiteral("compile/shift-jis.rc")) << QStringList() << QStringList();
    }

    void compilerBuildsTheSameTable()
    {
        QFETCH(QString, script);
        QFETCH(QStringList, includeDirs);
        QFETCH(QStringList, defines);
        if (test::WindresProgram().isEmpty() || test::CppProgram().isEmpty())
            QSKIP("the resource compiler (x86_64-w64-mingw32-windres) is not installed");

        RcReadOptions options;
        options.includeDirs = includeDirs;
        options.defines = defines;
        const ResourceStrings read = ReadResourceScript(script, options);
        QTemporaryDir dir;
        const QString exported = WriteBytes(dir, QStringLiteral("exported.rc"),
                                            WriteResourceScript(read.strings, RcWriteOptions{read.languageTag, {}}));
        QStringList compilerOptions;
        for (const QString &d : includeDirs)
            compilerOptions << QStringLiteral("-I") << d;
        for (const QString &d : defines)
            compilerOptions << QStringLiteral("-D") << d;
        QString messages;
        const QByteArray fromOriginal = test::CompileWithWindres(script, compilerOptions, &messages);
        QVERIFY2(!fromOriginal.isEmpty(), qPrintable(messages));
        QCOMPARE(test::CompileWithWindres(exported, {}, &messages), fromOriginal);
        // And what we read is what the compiler built.
        const QMap<int, QString> compiled = test::ReadResStringTables(fromOriginal).first();
        for (const ImportedString &s : read.strings)
            QCOMPARE(s.text, compiled.value(s.id));
    }
};

QTEST_GUILESS_MAIN(TestRcWriter)
#include "tst_rcwriter.moc"
