// XLIFF 1.2: what we write validates against the schema and reads back unchanged; files of
// other tools read with their markup flattened and their states mapped.

#include "IoTestSupport.h"

#include "io/Xliff.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::io;
using kvedit::test::DataFile;
using kvedit::test::WriteBytes;

namespace {

ImportedString Unit(int id, const QString &symbol, const QString &source, TranslationState state,
                    const std::optional<QString> &target)
{
    ImportedString u;
    u.id = id;
    u.symbol = symbol;
    u.sourceText = u.text = source;
    u.properties = TextProperties::FromTraits(AnalyseText(source));
    u.state = state;
    u.target = target;
    u.targetProperties = TextProperties::FromTraits(AnalyseText(target.value_or(QString())));
    u.targetApproved = state == TranslationState::Approved;
    return u;
}

XliffDocument SampleDocument()
{
    XliffDocument d;
    d.original = QStringLiteral("Demo Application");
    d.sourceLanguage = QStringLiteral("en-US");
    d.targetLanguage = QStringLiteral("de-DE");
    ImportedString title = Unit(101, QStringLiteral("IDS_APP_TITLE"), QStringLiteral("Sample Editor"),
                                TranslationState::Approved, QStringLiteral("Beispiel-Editor"));
    title.description = QStringLiteral("The main window's title\r\nshown in the task bar");
    ImportedString open = Unit(102, QStringLiteral("IDS_FILE_OPEN"), QStringLiteral("&Open file"),
                               TranslationState::Unapproved, QStringLiteral("Datei \u00f6&ffnen"));
    // Properties that differ from what the texts show: set by hand, they must survive.
    open.properties.shortcutMode = 3;
    open.targetProperties.shortcutCharacter = QStringLiteral("D");
    ImportedString save = Unit(105, QString(), QStringLiteral("Save changes to %1?\nYes or no"),
                               TranslationState::OutOfDate, QStringLiteral("\u00c4nderungen an %1 speichern?"));
    save.parameters = {ParameterDefinition(1, QStringLiteral("document <name> & path"), QStringLiteral("%1"))};
    ImportedString stale = Unit(109, QStringLiteral("IDS_STALE"), QStringLiteral("Changed since"),
                                TranslationState::OutOfDate, QStringLiteral("Seitdem ge\u00e4ndert"));
    stale.targetApproved = true;   // approved before the English text changed
    ImportedString missing = Unit(106, QStringLiteral("IDS_MISSING"), QStringLiteral("Not yet"),
                                  TranslationState::Missing, std::nullopt);
    ImportedString odd = Unit(107, QString(), QStringLiteral("bell\u0007 nul") + QChar(0) + QStringLiteral(" cr\r\n tab\t \U0001F600"),
                              TranslationState::Unapproved, QStringLiteral("\u0008right") + QChar(0xFFFE));
    ImportedString blanks = Unit(108, QString(), QStringLiteral("  two leading, two trailing  "),
                                 TranslationState::Approved, QStringLiteral("\n"));
    d.units = {title, open, save, stale, missing, odd, blanks};
    return d;
}

QString SchemaFile()
{
    // The test environment names the shared directory; run by hand, the build's default does.
    const QString shared = qEnvironmentVariable("KVEDIT_SHARED_DIR", QStringLiteral(KVEDIT_SHARED_DIR_DEFAULT));
    return shared + QStringLiteral("/schemas/xliff-core-1.2-strict.xsd");
}

} // namespace

class TestXliff : public QObject {
    Q_OBJECT

private slots:
    void writtenFilesValidate_data();
    void writtenFilesValidate();
    void writtenFileReadsBack();
    void stateMapping_data();
    void stateMapping();
    void foreignFile();
    void badFiles_data();
    void badFiles();
};

void TestXliff::writtenFilesValidate_data()
{
    QTest::addColumn<bool>("withTargets");
    QTest::newRow("translations") << true;
    QTest::newRow("source texts only") << false;
}

void TestXliff::writtenFilesValidate()
{
    QFETCH(bool, withTargets);
    const QString xmllint = QStandardPaths::findExecutable(QStringLiteral("xmllint"));
    if (xmllint.isEmpty())
        QSKIP("xmllint is not installed");
    QVERIFY2(QFileInfo::exists(SchemaFile()), qPrintable(SchemaFile()));

    XliffDocument d = SampleDocument();
    if (!withTargets)
        d.targetLanguage.clear();
    QTemporaryDir dir;
    const QString file = WriteBytes(dir, QStringLiteral("out.xlf"), WriteXliff(d));
    const test::ProcessResult r = test::RunTool(xmllint, {"--noout", "--nonet", "--schema", SchemaFile(), file});
    QVERIFY2(r.exitCode == 0 && r.err.contains(QLatin1String("validates")),
             qPrintable(r.err + QString::fromUtf8(test::ReadBytes(file))));
}

void TestXliff::writtenFileReadsBack()
{
    const XliffDocument d = SampleDocument();
    const QByteArray data = WriteXliff(d);
    const ResourceStrings r = ReadXliffData(data, QStringLiteral("memory.xlf"));
    QCOMPARE(r.sourceLanguageTag, d.sourceLanguage);
    QCOMPARE(r.languageTag, d.targetLanguage);
    QCOMPARE(r.strings.size(), d.units.size());
    for (int i = 0; i < d.units.size(); ++i) {
        const ImportedString &w = d.units.at(i);
        const ImportedString &g = r.strings.at(i);
        QCOMPARE(g.id, w.id);
        QCOMPARE(g.symbol, w.symbol);
        QCOMPARE(g.sourceText, w.sourceText);
        QCOMPARE(g.state, w.state);
        QCOMPARE(g.target, w.target);
        QCOMPARE(g.targetApproved, w.targetApproved);
        QCOMPARE(g.properties, w.properties);
        if (w.target)
            QCOMPARE(g.targetProperties, w.targetProperties);
        QVERIFY(g.propertiesGiven && g.parametersGiven && (g.targetPropertiesGiven || !w.target));
        QCOMPARE(g.description.value_or(QString()), w.description.value_or(QString()));
        QCOMPARE(g.parameters, w.parameters);
    }
    // The status is in the target's state and, for approval, in the unit, kept also on a unit
    // that went out of date after it was approved.
    const QString text = QString::fromUtf8(data);
    QVERIFY(text.contains(QLatin1String("<trans-unit id=\"101\" resname=\"IDS_APP_TITLE\" approved=\"yes\"")));
    QVERIFY(text.contains(QLatin1String("<target state=\"signed-off\">Beispiel-Editor</target>")));
    QVERIFY(text.contains(QLatin1String("<trans-unit id=\"109\" resname=\"IDS_STALE\" approved=\"yes\"")));
    QVERIFY(text.contains(QLatin1String("<target state=\"new\"/>")));
}

void TestXliff::stateMapping_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<bool>("hasText");
    QTest::addColumn<bool>("approved");
    QTest::addColumn<int>("expected");

    QTest::newRow("new") << "new" << true << false << int(TranslationState::Missing);
    QTest::newRow("needs-translation") << "needs-translation" << true << true << int(TranslationState::Missing);
    QTest::newRow("no text") << "translated" << false << true << int(TranslationState::Missing);
    QTest::newRow("needs-review-translation") << "needs-review-translation" << true << false << int(TranslationState::OutOfDate);
    QTest::newRow("needs-review-l10n") << "needs-review-l10n" << true << true << int(TranslationState::OutOfDate);
    QTest::newRow("needs-adaptation") << "needs-adaptation" << true << false << int(TranslationState::OutOfDate);
    QTest::newRow("translated") << "translated" << true << false << int(TranslationState::Unapproved);
    QTest::newRow("translated, approved unit") << "translated" << true << true << int(TranslationState::Approved);
    QTest::newRow("signed-off") << "signed-off" << true << false << int(TranslationState::Approved);
    QTest::newRow("final") << "final" << true << false << int(TranslationState::Approved);
    QTest::newRow("no state") << "" << true << false << int(TranslationState::Unapproved);
    QTest::newRow("no state, approved unit") << "" << true << true << int(TranslationState::Approved);
    QTest::newRow("extension state") << "x-checked" << true << false << int(TranslationState::Unapproved);
}

void TestXliff::stateMapping()
{
    QFETCH(QString, state);
    QFETCH(bool, hasText);
    QFETCH(bool, approved);
    QFETCH(int, expected);
    QCOMPARE(int(TranslationStateOf(state, hasText, approved)), expected);

    // The same through a file.
    const QByteArray file = QByteArray("<xliff version=\"1.2\"><file original=\"x\" source-language=\"en\" datatype=\"plaintext\"><body>"
                                       "<trans-unit id=\"1\"")
                            + (approved ? " approved=\"yes\"" : "") + "><source>s</source><target"
                            + (state.isEmpty() ? QByteArray() : " state=\"" + state.toUtf8() + "\"") + ">"
                            + (hasText ? "t" : "") + "</target></trans-unit></body></file></xliff>";
    const ResourceStrings r = ReadXliffData(file, QStringLiteral("f.xlf"));
    QCOMPARE(int(r.strings.first().state), expected);
    QCOMPARE(r.strings.first().target.has_value(), expected != int(TranslationState::Missing));
}

void TestXliff::foreignFile()
{
    const ResourceStrings r = ReadXliff(DataFile(QStringLiteral("xliff/foreign.xlf")));
    QCOMPARE(r.sourceLanguageTag, QStringLiteral("en-US"));
    QCOMPARE(r.languageTag, QStringLiteral("de-DE"));
    const char *const states[] = {"missing", "out of date", "unapproved", "approved"};
    QStringList units;
    for (const ImportedString &s : r.strings) {
        units << s.symbol + u' ' + QString::number(s.id) + u' ' + QLatin1String(states[int(s.state)]) + QStringLiteral(": ")
                     + s.sourceText + QStringLiteral(" -> ") + s.target.value_or(QStringLiteral("-"));
        // Without our properties the texts tell them.
        QVERIFY(!s.propertiesGiven && !s.targetPropertiesGiven && !s.parametersGiven);
        QCOMPARE(s.properties, TextProperties::FromTraits(AnalyseText(s.sourceText)));
        if (s.target)
            QCOMPARE(s.targetProperties.properties, AnalyseText(*s.target).Properties());
    }
    QCOMPARE(units, (QStringList{
                        "IDS_APP_TITLE 101 unapproved: Sample Editor -> Beispiel-Editor",   // in a group, a note
                        QStringLiteral("IDS_FILE_OPEN 102 approved: &Open file -> Datei &\u00f6ffnen"),   // no state
                        // <ph> flattened, the other tool's extras ignored
                        QStringLiteral("IDS_SAVE_CHANGES 105 out of date: Save changes to %1? -> \u00c4nderungen an %1 speichern?"),
                        // <g> flattened, an id that is a name
                        "IDS_COPY_PROGRESS 0 approved: Copied %2 of %3 files to %1 -> %2 von %3 Dateien nach %1 kopiert",
                        "IDS_BUILD_KIND 0 missing: Standard <b>build</b> -> -",   // native codes kept, state new
                        // character reference, <mrk>
                        " 108 approved: First line\r\nSecond line -> Erste Zeile\r\nZweite Zeile",
                        " 109 unapproved: Name:\tValue -> Name:\tWert",   // an extension state
                        "IDS_NOT_HERE 4242 unapproved: Not in the workspace -> Nicht im Arbeitsbereich",
                        " 113 missing: Untranslated -> -"}));
}

void TestXliff::badFiles_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("message");

    const QByteArray head = "<xliff version=\"1.2\">\n<file original=\"x\" source-language=\"en\" datatype=\"plaintext\">\n<body>\n";
    const QByteArray tail = "</body>\n</file>\n</xliff>\n";
    QTest::newRow("not well-formed") << head + "<trans-unit id=\"1\"><source>a</target></trans-unit>\n" + tail << 4
                                     << "Opening and ending tag mismatch";
    QTest::newRow("not XLIFF") << QByteArray("<?xml version=\"1.0\"?>\n<resources/>\n") << 2 << "not an XLIFF file";
    QTest::newRow("XLIFF 2") << QByteArray("<xliff version=\"2.0\" srcLang=\"en\"/>\n") << 1 << "XLIFF 2.0 is not supported";
    QTest::newRow("unit without source") << head + "<trans-unit id=\"1\">\n<target>a</target>\n</trans-unit>\n" + tail << 6
                                         << "has no <source>";
    QTest::newRow("unit without id or name") << head + "<trans-unit id=\"\"><source>a</source></trans-unit>\n" + tail << 4
                                             << "neither a numeric id nor a resname";
    QTest::newRow("empty file") << QByteArray() << 1 << "";
}

void TestXliff::badFiles()
{
    QFETCH(QByteArray, data);
    QFETCH(int, line);
    QFETCH(QString, message);
    try {
        ReadXliffData(data, QStringLiteral("bad.xlf"));
        QFAIL("the file must be rejected");
    } catch (const FileError &e) {
        QCOMPARE(e.Errors().size(), 1);
        QCOMPARE(e.Errors().first().file, QStringLiteral("bad.xlf"));
        QCOMPARE(e.Errors().first().line, line);
        QVERIFY2(e.Errors().first().message.contains(message), qPrintable(e.Errors().first().message));
    }
}

QTEST_GUILESS_MAIN(TestXliff)
#include "tst_xliff.moc"
