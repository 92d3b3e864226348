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

// The language the script states, then one line per string: "id:symbol@line text" (symbol and
// line only when asked for and present).
QStringList Listing(const ResourceStrings &r, bool withLines = false)
{
    QStringList out;
    if (!r.languageTag.isEmpty())
        out << QStringLiteral("language ") + r.languageTag;
    for (const ImportedString &s : r.strings) {
        QString key = QString::number(s.id);
        if (!s.symbol.isEmpty())
            key += u':' + s.symbol;
        if (withLines)
            key += u'@' + QString::number(s.line);
        out << key + u' ' + s.text;
    }
    return out;
}

// Reads a script made of the given bytes; the failure, when there is one, in *error.
ResourceStrings ReadBytesAsScript(const QByteArray &bytes, const RcReadOptions &options = {},
                                  std::optional<FileError> *error = nullptr, QString *path = nullptr)
{
    QTemporaryDir dir;
    const QString file = WriteBytes(dir, QStringLiteral("script.rc"), bytes);
    if (path)
        *path = file;
    try {
        return ReadResourceScript(file, options);
    } catch (const FileError &e) {
        if (!error)
            throw;
        error->emplace(e);
        return {};
    }
}

QByteArray Table(const QByteArray &entries, const QByteArray &before = {})
{
    return before + "STRINGTABLE\nBEGIN\n" + entries + "\nEND\n";
}

} // namespace

class TestRcReader : public QObject {
    Q_OBJECT

private slots:
    void sampleScript()
    {
        RcReadOptions options;
        options.includeDirs << DataFile(QStringLiteral("app/include"));
        const ResourceStrings r = ReadResourceScript(DataFile(QStringLiteral("app/app.rc")), options);
        // Menus, dialogs, accelerators and file resources bring nothing; the tables come in file order.
        QCOMPARE(Listing(r, true),
                 (QStringList{
                     "language en-US",
                     "101:IDS_APP_TITLE@41 Sample Editor",   // symbol through #include, comma, macro literal joined
                     "102:IDS_FILE_OPEN@42 &Open file",
                     "103:IDS_QUOTED@43 Say \"hello\"",       // hex define, doubled quotes
                     // expression define, wide hex escapes, joined literals
                     QStringLiteral("104:IDS_GREETING@44 Gr\u00fc\u00dfe from Example Ltd."),
                     "105:IDS_SAVE_CHANGES@49 Save changes to %1?",   // braces
                     "106:IDS_COPY_PROGRESS@50 Copied %2 of %3 files (100%%) to %1",
                     "107:IDS_BUILD_KIND@54 Standard build",          // #else branch
                     "108:IDS_TWO_LINES@56 First line\r\nSecond line",  // line continuation
                     "109:IDS_COLUMNS@58 Name:\tValue",                 // trailing comma
                     // code page escapes, \a, \0
                     QStringLiteral("112:IDS_ABOUT_APP@59 Caf\u00e9 \u00e9 \"x\" \\ \u0008|") + QChar(0) + u'|',
                     "110@60 Numeric id", "111@61 Hex id"}));
        QCOMPARE(r.strings.first().file, DataFile(QStringLiteral("app/app.rc")));

        // Missing system headers are notes; a missing local header is an error.
        QStringList notes;
        for (const Diagnostic &d : r.notes)
            notes << QStringLiteral("%1:%2 %3").arg(QFileInfo(d.file).fileName()).arg(d.line).arg(d.message);
        QCOMPARE(notes, (QStringList{"app.rc:4 system header \"windows.h\" is not present; passed over",
                                     "app.rc:5 system header \"afxres.h\" is not present; passed over"}));
    }

    void scripts_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QStringList>("listing");

        QTest::newRow("LANGUAGE by standard names") << Table("1 \"x\"", "LANGUAGE LANG_GERMAN, SUBLANG_GERMAN\n")
                                                   << QStringList{"language de-DE", "1 x"};
        QTest::newRow("LANGUAGE by numbers") << Table("1 \"x\"", "LANGUAGE 7, 2\n") << QStringList{"language de-CH", "1 x"};
        QTest::newRow("neutral sub-language") << Table("1 \"x\"", "LANGUAGE LANG_FRENCH, SUBLANG_NEUTRAL\n")
                                              << QStringList{"language fr", "1 x"};
        QTest::newRow("language names defined by a header")
            << Table("1 \"x\"", "#define LANG_SWEDISH 0x1d\n#define SUBLANG_SWEDISH 0x01\nLANGUAGE LANG_SWEDISH, SUBLANG_SWEDISH\n")
            << QStringList{"language sv-SE", "1 x"};
        QTest::newRow("LANGUAGE in the table's header") << QByteArray("STRINGTABLE LANGUAGE 9, 2 BEGIN 1 \"x\" END\n")
                                                        << QStringList{"language en-GB", "1 x"};
        QTest::newRow("the table's own LANGUAGE wins")
            << QByteArray("LANGUAGE 7, 1\nSTRINGTABLE\nLANGUAGE LANG_ITALIAN, SUBLANG_ITALIAN\nBEGIN 1 \"x\" END\n")
            << QStringList{"language it-IT", "1 x"};
        QTest::newRow("a dialog's own LANGUAGE does not count")
            << QByteArray("LANGUAGE 7, 1\n1 DIALOG 0, 0, 10, 10\nLANGUAGE 12, 1\nBEGIN\nEND\nSTRINGTABLE BEGIN 1 \"x\" END\n")
            << QStringList{"language de-DE", "1 x"};
        QTest::newRow("memory flags") << QByteArray("STRINGTABLE PRELOAD MOVEABLE DISCARDABLE PURE\nBEGIN\n 1 \"a\"\nEND\n")
                                      << QStringList{"1 a"};
        QTest::newRow("lower-case keywords, braces, optional comma")
            << QByteArray("stringtable\n{\n 1, \"a\"\n 2 \"b\"\n}\n") << QStringList{"1 a", "2 b"};
        QTest::newRow("CHARACTERISTICS and VERSION")
            << QByteArray("STRINGTABLE CHARACTERISTICS 3 VERSION 2 BEGIN 1 \"a\" END\n") << QStringList{"1 a"};
        QTest::newRow("several entries on a line") << QByteArray("STRINGTABLE BEGIN 1 \"a\" 2, \"b\", 3 \"c\" END\n")
                                                  << QStringList{"1 a", "2 b", "3 c"};
        QTest::newRow("comments") << QByteArray("/* a\n comment */\nSTRINGTABLE // here\nBEGIN\n 1 /* id */ \"a\" // text\nEND\n")
                                  << QStringList{"1 a"};
        QTest::newRow("id expressions")
            << QByteArray("#define BASE 100\nSTRINGTABLE BEGIN BASE+1 \"a\" (BASE*2)-1 \"b\" 0x10|1 \"c\" END\n")
            << QStringList{"101 a", "199 b", "17 c"};
        QTest::newRow("adjacent literals and a macro of them")
            << QByteArray("#define PARTS \"b\" L\"c\"\nSTRINGTABLE BEGIN 1 \"a\" PARTS \"d\" END\n") << QStringList{"1 abcd"};
        QTest::newRow("doubled quote is not a join") << QByteArray("STRINGTABLE BEGIN 1 \"a\"\"b\" 2 \"a\" \"b\" END\n")
                                                     << QStringList{"1 a\"b", "2 ab"};
        QTest::newRow("continued literal") << QByteArray("STRINGTABLE BEGIN 1 \"ab\\\ncd\" END\n") << QStringList{"1 abcd"};
        QTest::newRow("every kind of block skipped")
            << QByteArray("1 MENUEX BEGIN POPUP \"&A\", 1 BEGIN MENUITEM \"B\", 2 END END\n"
                          "2 VERSIONINFO FILEVERSION 1,0,0,1\n BEGIN BLOCK \"StringFileInfo\" BEGIN VALUE \"X\", \"Y\" END END\n"
                          "3 RCDATA { 1, 2, \"x\" }\n4 24 \"app.manifest\"\n5 HTML res\\page.htm\n"
                          "6 TOOLBAR 16, 15\nBEGIN BUTTON 1 SEPARATOR END\n7 MYTYPE DISCARDABLE \"data.bin\"\n"
                          "STRINGTABLE BEGIN 1 \"only this\" END\n")
            << QStringList{"1 only this"};
        QTest::newRow("CR LF line ends") << QByteArray("#define A 5\r\nSTRINGTABLE\r\nBEGIN\r\n A \"a\\\r\nb\"\r\nEND\r\n")
                                         << QStringList{"5:A ab"};
        QTest::newRow("empty text") << QByteArray("STRINGTABLE BEGIN 1 \"\" END\n") << QStringList{"1 "};
        QTest::newRow("two tables") << QByteArray("STRINGTABLE BEGIN 2 \"b\" END\nSTRINGTABLE BEGIN 1 \"a\" END\n")
                                    << QStringList{"2 b", "1 a"};
        // Only an id that is a plain defined name keeps it as its symbol.
        QTest::newRow("symbol") << Table("IDS_A \"x\"", "#define IDS_A 10\n") << QStringList{"10:IDS_A x"};
        QTest::newRow("symbol with suffix") << Table("IDS_A \"x\"", "#define IDS_A 10L\n") << QStringList{"10:IDS_A x"};
        QTest::newRow("symbol of a hex define") << Table("IDS_A \"x\"", "#define IDS_A 0x1F\n") << QStringList{"31:IDS_A x"};
        QTest::newRow("alias of another symbol") << Table("IDS_B \"x\"", "#define IDS_A 10\n#define IDS_B IDS_A\n")
                                                 << QStringList{"10:IDS_B x"};
        QTest::newRow("parenthesised value") << Table("IDS_A \"x\"", "#define IDS_A (5 + 5)\n") << QStringList{"10:IDS_A x"};
        QTest::newRow("expression of a symbol has none") << Table("IDS_A + 1 \"x\"", "#define IDS_A 10\n") << QStringList{"11 x"};
        QTest::newRow("function-like macro has none") << Table("MAKE(3) \"x\"", "#define MAKE(n) (100 + n)\n")
                                                      << QStringList{"103 x"};
        QTest::newRow("macro of id and text has none") << Table("ENTRY", "#define ENTRY 7 \"x\"\n") << QStringList{"7 x"};
    }

    void scripts()
    {
        QFETCH(QByteArray, script);
        QFETCH(QStringList, listing);
        QCOMPARE(Listing(ReadBytesAsScript(script)), listing);
    }

    void escapes_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<bool>("wide");
        QTest::addColumn<int>("codePage");
        QTest::addColumn<QString>("text");

        QTest::newRow("\\n \\r \\t") << "a\\nb\\rc\\td" << false << 65001 << "a\nb\rc\td";
        QTest::newRow("octal, three digits at most") << "\\101\\0123" << false << 65001 << "A\n3";
        QTest::newRow("narrow hex, two digits at most") << "\\x414" << false << 65001 << "A4";
        QTest::newRow("wide hex, four digits at most") << "\\x263A1" << true << 65001 << QStringLiteral("\u263A1");
        QTest::newRow("wide octal") << "\\101" << true << 65001 << "A";
        QTest::newRow("escaped bytes in the code page") << "\\xe4\\344" << false << 1252 << QStringLiteral("\u00e4\u00e4");
        QTest::newRow("escaped bytes making UTF-8") << "\\xc3\\xa4" << false << 65001 << QStringLiteral("\u00e4");
        QTest::newRow("escaped bytes making Shift-JIS") << "\\x93\\xfa" << false << 932 << QStringLiteral("\u65e5");
        QTest::newRow("unknown escapes stay") << "\\q\\'\\?" << false << 65001 << "\\q\\'\\?";
        QTest::newRow("\\x without digits stays") << "\\xg" << false << 65001 << "\\xg";
        QTest::newRow("plain text") << QStringLiteral("gr\u00fc\u00df") << false << 1252 << QStringLiteral("gr\u00fc\u00df");
    }

    void escapes()
    {
        QFETCH(QString, body);
        QFETCH(bool, wide);
        QFETCH(int, codePage);
        QFETCH(QString, text);
        QCOMPARE(DecodeStringLiteral(body, wide, codePage).value_or(QStringLiteral("(rejected)")), text);
    }

    void encodings_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("codePageOption");
        QTest::addColumn<QStringList>("texts");

        const QString german = QStringLiteral("\u00c4nderungen \u00fcbernehmen \u20ac");
        const QByteArray utf8 = "STRINGTABLE\nBEGIN\n 1 \"" + german.toUtf8() + "\"\nEND\n";
        const QByteArray cp1252 = "STRINGTABLE\nBEGIN\n 1 \"\xC4nderungen \xFC" "bernehmen \x80\"\nEND\n";
        QTest::newRow("UTF-8") << utf8 << 0 << QStringList{german};
        QTest::newRow("UTF-8 with byte-order mark") << "\xEF\xBB\xBF#define X 1\n" + utf8 << 0 << QStringList{german};
        QTest::newRow("UTF-16 LE with byte-order mark")
            << test::Utf16(QStringLiteral("#define X 1\r\nSTRINGTABLE\r\nBEGIN\r\n X \"%1\"\r\nEND\r\n").arg(german)) << 0
            << QStringList{german};
        QTest::newRow("UTF-16 BE with byte-order mark") << test::Utf16(QString::fromUtf8(utf8), true) << 0 << QStringList{german};
        QTest::newRow("code page 1252 by pragma") << "#pragma code_page(1252)\n" + cp1252 << 0 << QStringList{german};
        QTest::newRow("pragma changes the code page mid-file")
            << QByteArray("#pragma code_page(1251)\nSTRINGTABLE BEGIN 1 \"\xCF\xF0\xE8\xE2\xE5\xF2\" END\n"
                          "#pragma code_page(65001)\nSTRINGTABLE BEGIN 2 \"\xD0\x9F\" END\n"
                          "#pragma code_page(DEFAULT)\nSTRINGTABLE BEGIN 3 \"\xC3\xA9\" END\n")
            << 0 << QStringList{QStringLiteral("\u041f\u0440\u0438\u0432\u0435\u0442"), QStringLiteral("\u041f"), QStringLiteral("\u00e9")};

        const QByteArray japanese = test::ReadBytes(DataFile(QStringLiteral("encodings/shift-jis.rc")));
        const QStringList japaneseTexts{QStringLiteral("\u30d5\u30a1\u30a4\u30eb(&F)"), QStringLiteral("\u8868\u793a"),
                                        QStringLiteral("\u30bd\u30d5\u30c8\u30a6\u30a7\u30a2\n\u8a2d\u5b9a"),
                                        QStringLiteral("\u6a5f\u80fd"), QStringLiteral("\uff5e\u2460")};
        QTest::newRow("Shift-JIS by pragma") << "#pragma code_page(932)\n" + japanese << 0 << japaneseTexts;
        QTest::newRow("Shift-JIS by option") << japanese << 932 << japaneseTexts;
    }

    void encodings()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, codePageOption);
        QFETCH(QStringList, texts);
        RcReadOptions options;
        options.codePage = codePageOption;
        const ResourceStrings r = ReadBytesAsScript(bytes, options);
        QVERIFY(r.notes.isEmpty());   // line ends and encodings are nothing to tell the user about
        QStringList read;
        for (const ImportedString &s : r.strings)
            read << s.text;
        QCOMPARE(read, texts);
    }

    void includedFilesInOtherEncodingsAreStaged()
    {
        // A UTF-8 script includes a UTF-16 file in a subdirectory, which includes a header with a
        // byte-order mark right before its first #define, found beside it and through ".." again.
        QTemporaryDir dir;
        WriteBytes(dir, QStringLiteral("project/sub/ids.h"), QByteArray("\xEF\xBB\xBF#define IDS_FIRST 1\n#define IDS_SECOND 2\n"));
        WriteBytes(dir, QStringLiteral("project/common.h"), QByteArray("#define IDS_THIRD 3\n"));
        const QString included = WriteBytes(
            dir, QStringLiteral("project/sub/strings.rc2"),
            test::Utf16(QStringLiteral("#include \"ids.h\"\r\n#include \"../common.h\"\r\nSTRINGTABLE\r\nBEGIN\r\n"
                                       "    IDS_FIRST \"\u00e9t\u00e9\"\r\n    IDS_SECOND \"\u65e5\u672c\"\r\nEND\r\n")));
        const QString main = WriteBytes(dir, QStringLiteral("project/main.rc"),
                                        QByteArray("#include \"sub/strings.rc2\"\nSTRINGTABLE BEGIN IDS_THIRD \"three\" END\n"));
        const ResourceStrings r = ReadResourceScript(main);
        QCOMPARE(Listing(r, true), (QStringList{QStringLiteral("1:IDS_FIRST@5 \u00e9t\u00e9"),
                                                QStringLiteral("2:IDS_SECOND@6 \u65e5\u672c"), "3:IDS_THIRD@2 three"}));
        // Positions name the user's files, not the staged copies.
        QCOMPARE(r.strings.at(1).file, QFileInfo(included).absoluteFilePath());
        QCOMPARE(r.strings.at(2).file, QFileInfo(main).absoluteFilePath());

        // Such a file named by an absolute path cannot be staged.
        const QString header = WriteBytes(dir, QStringLiteral("ids.h"), test::Utf16(QStringLiteral("#define IDS_A 1\r\n")));
        std::optional<FileError> error;
        ReadBytesAsScript("#include \"" + header.toUtf8() + "\"\nSTRINGTABLE BEGIN IDS_A \"a\" END\n", {}, &error);
        QVERIFY(error);
        QCOMPARE(error->Errors().first().file, header);
        QVERIFY(error->Errors().first().message.contains(QLatin1String("save it as UTF-8")));
    }

    void textTraits_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("traits");   // properties, shortcut character, shortcut mode, parameter ids

        const QString sc = QString::number(tpAllowShortcut) + ' ';
        QTest::newRow("marker") << "&File" << sc + "F 1 ";
        QTest::newRow("the first marker counts") << "&A or &B" << sc + "A 1 ";
        QTest::newRow("doubled ampersand is literal") << "Fish && Chips" << "0  0 ";
        QTest::newRow("literal then marker") << "R&&D &Tools" << sc + "T 1 ";
        QTest::newRow("ampersand before a space") << "Tom & Jerry" << "0  0 ";
        QTest::newRow("marker on a letter no shortcut can be") << QStringLiteral("\u00d6&ffnen &\u00e4") << sc + "F 1 ";
        QTest::newRow("marker on a non-ASCII letter only") << QStringLiteral("&\u00dcber") << sc + " 1 ";
        QTest::newRow("line feed") << "a\nb" << QString::number(tpMultipleLines) + "  0 ";
        QTest::newRow("tab") << "a\tb" << QString::number(tpAllowTab) + "  0 ";
        QTest::newRow("all three") << "&Go\tnow\n" << QString::number(tpAllowShortcut | tpAllowTab | tpMultipleLines) + " G 1 ";
        QTest::newRow("placeholders, sorted, once") << "%3 of %1 (%3)" << "0  0 1,3";
        QTest::newRow("not placeholders") << "100%% %0 %10 %%1 %a" << "0  0 ";
    }

    void textTraits()
    {
        QFETCH(QString, text);
        QFETCH(QString, traits);
        const TextTraits t = AnalyseText(text);
        QStringList ids;
        for (const int id : t.parameterIds)
            ids << QString::number(id);
        QCOMPARE(QStringLiteral("%1 %2 %3 ").arg(t.Properties()).arg(t.shortcutCharacter).arg(t.shortcutMode) + ids.join(u','),
                 traits);
    }

    void errorsNameFileAndLine_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("message");

        QTest::newRow("undefined symbol") << Table("1 \"a\"\nIDS_NOWHERE \"b\"") << 4 << "\"IDS_NOWHERE\" is not defined";
        QTest::newRow("id defined twice") << Table("1 \"a\"\n2 \"b\"\n1 \"c\"") << 5 << "defined twice (first at";
        QTest::newRow("id 0") << Table("0 \"a\"") << 3 << "outside 1 to 32767";
        QTest::newRow("id too large") << Table("32768 \"a\"") << 3 << "1 string id is above 32767";
        QTest::newRow("id beyond any table") << Table("65536 \"a\"") << 3 << "outside 1 to 32767";
        QTest::newRow("no text after the id") << Table("1\n2 \"b\"") << 3 << "a string was expected after the id 1";
        QTest::newRow("stray token after a string") << Table("1 \"a\" +") << 3
                                                    << "the id starting with \"+\" does not end on its line";
        QTest::newRow("symbol named as written") << Table("IDS_A \"a\"\nIDS_A \"b\"", "#define IDS_A 0x160\n") << 5
                                                 << "the string id IDS_A (352) is defined twice";
        QTest::newRow("symbol without text") << Table("IDS_A\n2 \"b\"", "#define IDS_A 0x160\n") << 4
                                             << "a string was expected after the id IDS_A";
        QTest::newRow("no string table") << QByteArray("#define IDS_A 1\nLANGUAGE 7, 1\n") << 0 << "the script defines no string table";
        QTest::newRow("NUL byte") << QByteArray("STRINGTABLE\nBEGIN\n 1 \"a\0b\"\nEND\n", 25) << 3 << "not text: it holds a NUL byte";
        QTest::newRow("compiled resource file") << QByteArray("\0\0\0\0\x20\0\0\0\xff\xff\0\0\xff\xff\0\0\0\0\0\0", 20) << 0
                                                << "compiled resource file (.res)";
        QTest::newRow("no BEGIN") << QByteArray("STRINGTABLE\n1 \"a\"\nEND\n") << 2 << "BEGIN was expected";
        QTest::newRow("table never closed") << QByteArray("\nSTRINGTABLE\nBEGIN\n1 \"a\"\n") << 2 << "not closed by END";
        QTest::newRow("string not closed") << Table("1 \"a\n2 \"b\"") << 3 << "Unterminated string";
        QTest::newRow("#error") << QByteArray("#ifndef NEEDED\n#error NEEDED must be defined\n#endif\n") << 2 << "NEEDED must be defined";
        QTest::newRow("unbalanced #if") << QByteArray("#if 1\n") + Table("1 \"a\"") << 5 << "#if";
        // System headers that are not present are notes (see the sample); a local one is an error.
        QTest::newRow("missing local header") << Table("1 \"x\"", "#include \"missing_local.h\"\n#include <winres.h>\n") << 1
                                              << "missing_local.h";
        QTest::newRow("unknown code page") << QByteArray("#pragma code_page(12345)\n") + Table("1 \"a\"") << 1 << "unknown code page 12345";
        QTest::newRow("not UTF-8 without a code page") << Table("1 \"caf\xE9\"") << 3 << "not valid text in code page 65001";
        QTest::newRow("LANGUAGE without sub-language") << QByteArray("LANGUAGE 7\n") + Table("1 \"a\"") << 2
                                                       << "LANGUAGE needs a language and a sub-language";
        QTest::newRow("unknown language name") << QByteArray("LANGUAGE LANG_KLINGON, 1\n") + Table("1 \"a\"") << 1
                                               << "\"LANG_KLINGON\" is not defined";
        // Ids from crafted scripts: each overflows 64 bits, none may wrap into a valid id or trap.
        const char *overflows[] = {"(-9223372036854775807-1)/-1", "0x7fffffffffffffff+1", "(-9223372036854775807-1)-1",
                                   "4294967296*4294967296", "-(-9223372036854775807-1)"};
        for (const char *id : overflows)
            QTest::newRow(id) << Table(QByteArray(id) + " \"a\"") << 3 << "out of range (it overflows 64-bit arithmetic)";
        QTest::newRow("number beyond 64 bits") << Table("99999999999999999999 \"a\"") << 3 << "is not a number (or too large";
        QTest::newRow("12000 nested parentheses") << Table(QByteArray(12000, '(') + '1' + QByteArray(12000, ')') + " \"a\"")
                                                  << 3 << "the expression nests more than 128 levels deep";
        QTest::newRow("12000 signs") << Table(QByteArray(12000, '-') + "1 \"a\"") << 3 << "nests more than 128 levels";
    }

    void errorsNameFileAndLine()
    {
        QFETCH(QByteArray, script);
        QFETCH(int, line);
        QFETCH(QString, message);
        std::optional<FileError> error;
        QString path;
        const ResourceStrings r = ReadBytesAsScript(script, {}, &error, &path);
        QVERIFY2(error, "the script must be rejected");
        QVERIFY(r.strings.isEmpty());
        const Diagnostic first = error->Errors().first();
        QCOMPARE(first.file, path);
        QCOMPARE(first.line, line);
        QVERIFY2(first.message.contains(message), qPrintable(first.message));
        QVERIFY(error->Description().startsWith(path + (line ? u':' + QString::number(line) : QString()) + QLatin1String(": error: ")));
        QCOMPARE(error->Number(), errBadResourceFile);
    }

    void everyErrorOfAFileIsReported()
    {
        std::optional<FileError> error;
        ReadBytesAsScript(Table("X1 \"a\"\n2 \"b\"\nX3 \"c\"\n0 \"d\""), {}, &error);
        QVERIFY(error);
        QList<int> lines;
        for (const Diagnostic &d : error->Errors())
            lines << d.line;
        QCOMPARE(lines, (QList<int>{3, 5, 6}));

        // A long list ends by saying how much it left out.
        QByteArray entries;
        for (int i = 0; i < 60; ++i)
            entries += "IDS_UNDEFINED_" + QByteArray::number(i) + " \"x\"\n";
        ReadBytesAsScript(Table(entries), {}, &error);
        QCOMPARE(error->Errors().size(), 51);
        QCOMPARE(error->Errors().at(49).message.left(19), QStringLiteral("\"IDS_UNDEFINED_49\" "));
        QCOMPARE(error->Errors().last().message, QStringLiteral("and 10 more errors"));

        // A file in another code page than the one named: one error per line, up to the limit; an
        // unknown code page given from outside is one error about the file.
        ReadBytesAsScript(Table(QByteArray("1 \"caf\xE9\"\n").repeated(300)), {}, &error);
        QCOMPARE(error->Errors().size(), 50);
        RcReadOptions options;
        options.codePage = 99999;
        ReadBytesAsScript(Table(QByteArray("1 \"caf\xE9\"\n").repeated(300)), options, &error);
        QCOMPARE(error->Errors().size(), 1);
        QCOMPARE(error->Errors().first().message, QStringLiteral("unknown code page 99999"));
    }

    void idsAboveTheRange_data()
    {
        QTest::addColumn<int>("maximum");
        QTest::addColumn<QStringList>("imported");
        QTest::addColumn<QStringList>("skipped");
        QTest::newRow("workspace of 32767") << 32767 << QStringList{"5 a", "32767 b"}
                                            << QStringList{"32768", "IDS_HIGH", "40001", "40002", "40003", "65535"};
        QTest::newRow("workspace of 100") << 100 << QStringList{"5 a"}
                                          << QStringList{"32767", "32768", "IDS_HIGH", "40001", "40002", "40003", "65535"};
    }

    void idsAboveTheRange()
    {
        QFETCH(int, maximum);
        QFETCH(QStringList, imported);
        QFETCH(QStringList, skipped);
        const QByteArray script = Table("5 \"a\"\n32767 \"b\"\n32768 \"c\"\nIDS_HIGH \"d\"\n40001 \"e\"\n40002 \"f\"\n"
                                        "40003 \"g\"\n65535 \"h\"",
                                        "#define IDS_HIGH 40000\n");
        RcReadOptions options;
        options.maximumId = maximum;
        std::optional<FileError> error;
        ReadBytesAsScript(script, options, &error);
        // One line for all of them, with their count and the first few.
        QCOMPARE(error->Errors().size(), 1);
        QCOMPARE(error->Errors().first().line, maximum == 100 ? 5 : 6);
        QVERIFY2(error->Errors().first().message.startsWith(QStringLiteral("%1 string ids are above %2, the highest id the workspace "
                                                                           "takes: %3, ...")
                                                                .arg(skipped.size()).arg(maximum).arg(skipped.mid(0, 5).join(", "))),
                 qPrintable(error->Errors().first().message));

        options.skipOutOfRange = true;
        const ResourceStrings r = ReadBytesAsScript(script, options);
        QCOMPARE(Listing(r), imported);
        QStringList left;
        for (const SkippedString &s : r.skipped)
            left << s.id;
        QCOMPARE(left, skipped);
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
        try {
            const ResourceStrings r = ReadResourceScript(script, options);
            QVERIFY2(refused.isEmpty(), "the include must be refused");
            QCOMPARE(Listing(r), QStringList{"1 a secret"});
        } catch (const FileError &e) {
            QVERIFY2(!refused.isEmpty(), qPrintable(e.Description()));
            QCOMPARE(e.Errors().size(), 1);
            const Diagnostic d = e.Errors().first();
            QCOMPARE(d.file, script);
            QCOMPARE(d.line, 4);
            QCOMPARE(d.message, QStringLiteral("the included file \"%1\" lies outside the script's folder, the include "
                                               "folders and the headers' folders; refused (--allow-include-anywhere "
                                               "permits it)").arg(refused.replace("ROOT", root)));
            QVERIFY(!e.Description().contains(QLatin1String("a secret")));
        }
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
