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

QList<ImportedString> TrickyStrings()
{
    return {
        Str(1, QStringLiteral("Say \"hello\" and \"\"")),
        Str(2, QStringLiteral("C:\\Program Files\\x\\n is not a line feed\\")),
        Str(3, QStringLiteral("Line 1\r\nLine 2\nLine 3\rend")),
        Str(4, QStringLiteral("Name:\tValue\t")),
        Str(5, QStringLiteral("Right\u0008aligned")),
        Str(6, QStringLiteral("nul") + QChar(0) + QStringLiteral("123 and bell\u0007 and \u001f\u007f7")),
        Str(7, QStringLiteral("Gr\u00fc\u00dfe \u20ac \u65e5\u672c\u8a9e \u0416 \U0001F600")),
        Str(8, QStringLiteral("%1 of %2 (100%%) && &Save")),
        Str(9, QStringLiteral("/* not a comment */ // nor this ?" "?= #define X")),
        Str(10, QStringLiteral("  leading and trailing blanks  ")),
        Str(11, QStringLiteral("\\\"\\\"")),
    };
}

} // namespace

class TestRcWriter : public QObject {
    Q_OBJECT

private slots:
    void loneSurrogateIsWrittenWide()
    {
        const QString text = QStringLiteral("a") + QChar(0xD800) + QStringLiteral("\u00e9b");
        const QString literal = ResourceStringLiteral(text);
        QCOMPARE(literal, QStringLiteral("L\"a\\xd800\\x00e9b\""));
        QCOMPARE(*DecodeStringLiteral(literal.mid(2, literal.size() - 3), true, 65001), text);
    }

    void scriptLayout()
    {
        const QByteArray script = WriteResourceScript({Str(101, QStringLiteral("&Open"), QStringLiteral("IDS_OPEN")),
                                                       Str(7, QStringLiteral("\u00dcber")),
                                                       Str(1, QStringLiteral("a"), QStringLiteral("END")),
                                                       Str(2, QStringLiteral("b"), QStringLiteral("2FAST")),
                                                       Str(3, QStringLiteral("c"), QStringLiteral("IDS_OPEN")),
                                                       Str(4, QStringLiteral("d"), QStringLiteral("has space"))},
                                                      RcWriteOptions{QStringLiteral("de-DE"), QStringLiteral("Demo: German default")});
        const QString text = QString::fromUtf8(script);
        QVERIFY(text.startsWith(QLatin1String("// Demo: German default\n")));
        QVERIFY(text.contains(QLatin1String("\n#pragma code_page(65001)\n")));
        QVERIFY(text.contains(QLatin1String("\n#define IDS_OPEN 101\n")));
        QVERIFY(text.contains(QStringLiteral("\nSTRINGTABLE\nBEGIN\n    IDS_OPEN \"&Open\"\n    7        \"\u00dcber\"\n")));
        // Raw UTF-8, no byte-order mark.
        QVERIFY(script.contains("\"\xC3\x9C" "ber\""));
        QVERIFY(!script.startsWith("\xEF\xBB\xBF"));

        // Keywords, names that are not identifiers and a name given twice are left out; the ids stay.
        QTemporaryDir dir;
        QStringList symbols;
        for (const ImportedString &s : ReadResourceScript(WriteBytes(dir, QStringLiteral("s.rc"), script)).strings)
            symbols << QStringLiteral("%1=%2").arg(s.id).arg(s.symbol);
        QCOMPARE(symbols, (QStringList{"101=IDS_OPEN", "7=", "1=", "2=", "3=", "4="}));
    }

    void languageStatement_data()
    {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("statement");
        QTest::newRow("German") << "de-DE" << "LANGUAGE 0x07, 0x01";
        QTest::newRow("Swiss German") << "de-CH" << "LANGUAGE 0x07, 0x02";
        QTest::newRow("bare language") << "fr" << "LANGUAGE 0x0c, 0x01";
        QTest::newRow("Brazilian Portuguese") << "pt_BR" << "LANGUAGE 0x16, 0x01";
        QTest::newRow("unknown") << "tlh" << "LANGUAGE 0x00, 0x00";
    }

    void languageStatement()
    {
        QFETCH(QString, tag);
        QFETCH(QString, statement);
        const QByteArray script = WriteResourceScript({Str(1, QStringLiteral("x"))}, RcWriteOptions{tag, {}});
        QVERIFY2(QString::fromUtf8(script).contains(QLatin1Char('\n') + statement), script.constData());
    }

    void scriptReadsBackTheSame()
    {
        QList<ImportedString> strings = TrickyStrings();
        strings[0].symbol = QStringLiteral("IDS_QUOTES");
        strings[6].symbol = QStringLiteral("IDS_WORLD");
        const QByteArray script = WriteResourceScript(strings, RcWriteOptions{QStringLiteral("ja-JP"), {}});
        // No raw control character is left for the compiler to choke on.
        for (const char c : script)
            QVERIFY2((c >= 0x20 || c < 0 || c == '\n') && c != 0x7F, script.constData());
        QTemporaryDir dir;
        const ResourceStrings r = ReadResourceScript(WriteBytes(dir, QStringLiteral("out.rc"), script));
        QCOMPARE(r.languageTag, QStringLiteral("ja-JP"));
        QCOMPARE(r.strings.size(), strings.size());
        for (int i = 0; i < strings.size(); ++i) {
            QCOMPARE(r.strings.at(i).id, strings.at(i).id);
            QCOMPARE(r.strings.at(i).text, strings.at(i).text);
            QCOMPARE(r.strings.at(i).symbol, strings.at(i).symbol);
        }
    }

    void compilerBuildsTheSameTable_data()
    {
        QTest::addColumn<QByteArray>("script");        // empty: the data file below
        QTest::addColumn<QString>("dataFile");
        QTest::addColumn<QStringList>("includeDirs");
        QTest::addColumn<QStringList>("defines");

        // Every kind of character our own writer has to escape.
        QTest::newRow("written here") << WriteResourceScript(TrickyStrings(), RcWriteOptions{QStringLiteral("de-DE"), {}})
                                      << QString() << QStringList() << QStringList();

        const QString strings = DataFile(QStringLiteral("compile/strings.rc"));
        const QStringList dirs{DataFile(QStringLiteral("app")), DataFile(QStringLiteral("app/include"))};
        QTest::newRow("includes, definitions, code page 1252") << QByteArray() << strings << dirs << QStringList{"WITH_EXTRAS"};
        QTest::newRow("Shift-JIS") << QByteArray() << DataFile(QStringLiteral("compile/shift-jis.rc")) << QStringList()
                                   << QStringList();
    }

    void compilerBuildsTheSameTable()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, dataFile);
        QFETCH(QStringList, includeDirs);
        QFETCH(QStringList, defines);
        if (test::WindresProgram().isEmpty() || test::CppProgram().isEmpty())
            QSKIP("the resource compiler (x86_64-w64-mingw32-windres) is not installed");

        QTemporaryDir dir;
        const QString original = script.isEmpty() ? dataFile : WriteBytes(dir, QStringLiteral("original.rc"), script);
        RcReadOptions options;
        options.includeDirs = includeDirs;
        options.defines = defines;
        const ResourceStrings read = ReadResourceScript(original, options);
        const QString exported = WriteBytes(dir, QStringLiteral("exported.rc"),
                                            WriteResourceScript(read.strings, RcWriteOptions{read.languageTag, {}}));

        QStringList compilerOptions;
        for (const QString &d : includeDirs)
            compilerOptions << QStringLiteral("-I") << d;
        for (const QString &d : defines)
            compilerOptions << QStringLiteral("-D") << d;
        QString messages;
        const QByteArray fromOriginal = test::CompileWithWindres(original, compilerOptions, &messages);
        QVERIFY2(!fromOriginal.isEmpty(), qPrintable(messages));
        const QByteArray fromExported = test::CompileWithWindres(exported, {}, &messages);
        QVERIFY2(!fromExported.isEmpty(), qPrintable(messages));

        QCOMPARE(fromExported, fromOriginal);
        const test::ResStrings a = test::ReadResStringTables(fromOriginal);
        QCOMPARE(a.size(), 1);
        QVERIFY(!a.first().isEmpty());
        // And what we read is what the compiler built.
        for (const ImportedString &s : read.strings)
            QCOMPARE(s.text, a.first().value(s.id));
    }

    void emptyTableCompiles()
    {
        if (test::WindresProgram().isEmpty() || test::CppProgram().isEmpty())
            QSKIP("the resource compiler (x86_64-w64-mingw32-windres) is not installed");
        QTemporaryDir dir;
        const QByteArray script = WriteResourceScript({}, RcWriteOptions{QStringLiteral("de-DE"), {}});
        QString messages;
        const QByteArray res = test::CompileWithWindres(WriteBytes(dir, QStringLiteral("empty.rc"), script), {}, &messages);
        QVERIFY2(!res.isEmpty(), qPrintable(messages + QString::fromUtf8(script)));
        QVERIFY(test::ReadResStringTables(res).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestRcWriter)
#include "tst_rcwriter.moc"
