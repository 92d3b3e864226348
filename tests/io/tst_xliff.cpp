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

QByteArray OtherToolsFile(const QByteArray &files)
{
    return "<?xml version=\"1.0\"?>\n<xliff xmlns=\"urn:oasis:names:tc:xliff:document:1.2\" version=\"1.2\">\n" + files
           + "</xliff>\n";
}

QByteArray OtherToolsFileElement(const QByteArray &original, const QByteArray &units)
{
    return "<file original=\"" + original + "\" source-language=\"en\" target-language=\"fr\" datatype=\"plaintext\"><body>\n"
           + units + "</body></file>\n";
}

} // namespace

class TestXliff : public QObject {
    Q_OBJECT

private slots:
    void writtenFilesValidate_data()
    {
        QTest::addColumn<bool>("withTargets");
        QTest::newRow("translations") << true;
        QTest::newRow("source texts only") << false;
    }

    void writtenFilesValidate()
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

    void writtenFileReadsBack()
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
            QCOMPARE(g.description.value_or(QString()), w.description.value_or(QString()));
            QCOMPARE(g.parameters, w.parameters);
        }
        // The status is in the target's state; the approval mark in the unit only where the state
        // cannot say it, on a unit that went out of date after it was approved.
        const QString text = QString::fromUtf8(data);
        QVERIFY(text.contains(QLatin1String("datatype=\"winres\" xml:space=\"preserve\"")));   // once, for every unit
        QVERIFY(text.contains(QLatin1String("<trans-unit id=\"101\" resname=\"IDS_APP_TITLE\"><source>")));
        QVERIFY(text.contains(QLatin1String("<target state=\"signed-off\">Beispiel-Editor</target>")));
        QVERIFY(text.contains(QLatin1String("<trans-unit id=\"109\" resname=\"IDS_STALE\" approved=\"yes\"")));
        QVERIFY(text.contains(QLatin1String("<target state=\"new\"/>")));
        // Properties only where the texts do not show them: the shortcut mode and the parameter's
        // description of the source, the shortcut character of one target.
        QVERIFY(text.contains(QLatin1String("resname=\"IDS_FILE_OPEN\" extradata=\"kvedit;md=3;t.ch=D\">")));
        QVERIFY(text.contains(QLatin1String("<trans-unit id=\"105\" extradata=\"kvedit;p1=document &lt;name&gt; &amp; path\">")));
        QCOMPARE(text.count(QLatin1String("extradata=")), 2);
    }

    void stateMapping_data()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<bool>("hasText");
        QTest::addColumn<bool>("approved");
        QTest::addColumn<QString>("qualifier");
        QTest::addColumn<int>("expected");

        QTest::newRow("new") << "new" << true << false << "" << int(TranslationState::Missing);
        QTest::newRow("needs-translation") << "needs-translation" << true << true << "" << int(TranslationState::Missing);
        QTest::newRow("no text") << "translated" << false << true << "" << int(TranslationState::Missing);
        QTest::newRow("needs-review-translation") << "needs-review-translation" << true << false << "" << int(TranslationState::OutOfDate);
        QTest::newRow("needs-review-l10n") << "needs-review-l10n" << true << true << "" << int(TranslationState::OutOfDate);
        QTest::newRow("translated") << "translated" << true << false << "" << int(TranslationState::Unapproved);
        QTest::newRow("translated, approved unit") << "translated" << true << true << "" << int(TranslationState::Approved);
        QTest::newRow("signed-off") << "signed-off" << true << false << "" << int(TranslationState::Approved);
        QTest::newRow("no state") << "" << true << false << "" << int(TranslationState::Unapproved);
        QTest::newRow("extension state") << "x-checked" << true << false << "" << int(TranslationState::Unapproved);
        QTest::newRow("fuzzy match") << "translated" << true << false << "fuzzy-match" << int(TranslationState::OutOfDate);
        QTest::newRow("rejected") << "final" << true << false << "rejected-inaccurate" << int(TranslationState::OutOfDate);
        QTest::newRow("machine's suggestion") << "final" << true << false << "mt-suggestion" << int(TranslationState::Unapproved);
        QTest::newRow("suggestion approved by hand") << "translated" << true << true << "tm-suggestion" << int(TranslationState::Approved);
        QTest::newRow("exact match") << "final" << true << false << "exact-match" << int(TranslationState::Approved);
    }

    void stateMapping()
    {
        QFETCH(QString, state);
        QFETCH(bool, hasText);
        QFETCH(bool, approved);
        QFETCH(QString, qualifier);
        QFETCH(int, expected);
        const QByteArray file = QByteArray("<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\"><file original=\"x\" source-language=\"en\" datatype=\"plaintext\"><body>"
                                           "<trans-unit id=\"1\"")
                                + (approved ? " approved=\"yes\"" : "") + "><source>s</source><target"
                                + (state.isEmpty() ? QByteArray() : " state=\"" + state.toUtf8() + "\"")
                                + (qualifier.isEmpty() ? QByteArray() : " state-qualifier=\"" + qualifier.toUtf8() + "\"") + ">"
                                + (hasText ? "t" : "") + "</target></trans-unit></body></file></xliff>";
        const ResourceStrings r = ReadXliffData(file, QStringLiteral("f.xlf"));
        QCOMPARE(int(r.strings.first().state), expected);
        QCOMPARE(r.strings.first().target.has_value(), expected != int(TranslationState::Missing));
        // Written back as they came when they still say the same.
        XliffDocument d;
        d.targetLanguage = QStringLiteral("de");
        d.units = r.strings;
        const QByteArray written = WriteXliff(d);
        if (expected != int(TranslationState::Missing) && !state.isEmpty())
            QVERIFY2(written.contains("<target state=\"" + state.toUtf8() + '"'
                                      + (qualifier.isEmpty() ? QByteArray() : " state-qualifier=\"" + qualifier.toUtf8() + '"')),
                     written.constData());
    }

    void badFiles_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("message");

        const QByteArray head = "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n<file original=\"x\" source-language=\"en\" datatype=\"plaintext\">\n<body>\n";
        const QByteArray tail = "</body>\n</file>\n</xliff>\n";
        QTest::newRow("not well-formed") << head + "<trans-unit id=\"1\"><source>a</target></trans-unit>\n" + tail << 4
                                         << "Opening and ending tag mismatch";
        QTest::newRow("not XLIFF") << QByteArray("<?xml version=\"1.0\"?>\n<resources/>\n") << 2
                                   << "this is not an XLIFF file: its root element is <resources>";
        QTest::newRow("not XLIFF, namespaced") << QByteArray("<ts:TS xmlns:ts=\"urn:x\" version=\"1.2\"/>") << 1
                                               << "its root element is <ts:TS> in the namespace \"urn:x\"";
        QTest::newRow("XLIFF 2") << QByteArray("<xliff xmlns=\"urn:oasis:names:tc:xliff:document:2.0\" version=\"2.0\" srcLang=\"en\"/>\n")
                                 << 1 << "XLIFF 2.0 is not supported";
        QTest::newRow("no namespace") << QByteArray("<xliff version=\"1.2\"><file/></xliff>") << 1 << "the <xliff> element has no namespace";
        QTest::newRow("wrong namespace") << QByteArray("\n<xliff xmlns=\"urn:oasis:names:tc:xliff:document:1.3\" version=\"1.2\"/>") << 2
                                         << "is in the namespace \"urn:oasis:names:tc:xliff:document:1.3\", not XLIFF 1.2's";
        const QByteArray ns = "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">";
        QTest::newRow("entity declared") << "<!DOCTYPE xliff [\n<!ENTITY a \"aaaaaaaaaa\">\n<!ENTITY b \"&a;&a;&a;&a;\">\n]>\n" + ns + "</xliff>"
                                         << 4 << "declares the entity \"a\"";
        QTest::newRow("external entity") << "<!DOCTYPE xliff [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>" + ns + "</xliff>"
                                         << 1 << "declares the entity \"e\"";
        QTest::newRow("entity of an outside DTD")
            << "<!DOCTYPE xliff SYSTEM \"http://localhost/xliff.dtd\">\n" + ns + "\n<file><body><trans-unit id=\"1\"><source>&e;</source>"
                   "</trans-unit></body></file></xliff>" << 3 << "the entity &e; is not defined in the file";
        QTest::newRow("unit without source") << head + "<trans-unit id=\"1\">\n<target>a</target>\n</trans-unit>\n" + tail << 6
                                             << "has no <source>";
        QTest::newRow("unit without id or name") << head + "<trans-unit id=\"\"><source>a</source></trans-unit>\n" + tail << 4
                                                 << "neither an id nor a resname";
        QTest::newRow("empty file") << QByteArray() << 1 << "";
    }

    void badFiles()
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

    void earlierFilesStillRead()
    {
        const ImportedString s = ReadXliff(DataFile(QStringLiteral("xliff/earlier.xlf"))).strings.first();
        QCOMPARE(s.properties, (TextProperties{tpAllowTab | tpAllowShortcut, QString(), 3}));
        QCOMPARE(s.parameters, (QList<ParameterDefinition>{ParameterDefinition(1, QStringLiteral("the file"), QStringLiteral("%1"))}));
        QCOMPARE(s.targetProperties, (TextProperties{0, QStringLiteral("S"), 1}));
    }

    void inlineCodes_data()
    {
        QTest::addColumn<QByteArray>("markup");
        QTest::addColumn<QString>("text");
        QTest::newRow("x with equiv-text") << QByteArray("il y a <x id=\"INTERPOLATION\" equiv-text=\"{{minutes}}\"/> minutes")
                                           << "il y a {{minutes}} minutes";
        QTest::newRow("ph") << QByteArray("Save <ph id=\"1\" ctype=\"x-param\">%1</ph>?") << "Save %1?";
        QTest::newRow("ph with equiv-text") << QByteArray("<ph id=\"1\" equiv-text=\"{name}\">&lt;span&gt;</ph> here") << "{name} here";
        QTest::newRow("ph with sub") << QByteArray("<ph id=\"1\">&lt;a&gt;<sub>Tip</sub></ph>link") << "<a>link";
        QTest::newRow("bx and ex") << QByteArray("<bx id=\"1\" rid=\"r\" equiv-text=\"[\"/>link<ex id=\"2\" rid=\"r\" equiv-text=\"]\"/>")
                                   << "[link]";
        QTest::newRow("bpt and ept") << QByteArray("<bpt id=\"1\">&lt;b&gt;</bpt>bold<ept id=\"1\">&lt;/b&gt;</ept>") << "<b>bold</b>";
        QTest::newRow("nested g") << QByteArray("<g id=\"1\" ctype=\"bold\">a <g id=\"2\">b</g></g> c") << "a b c";
        QTest::newRow("mrk") << QByteArray("<mrk mtype=\"term\">Term</mrk>&#13;\nline") << "Term\r\nline";
    }

    void inlineCodes()
    {
        QFETCH(QByteArray, markup);
        QFETCH(QString, text);
        const QByteArray unit = "<trans-unit id=\"7\" resname=\"greeting\"><source>" + markup
                                + "</source><target state=\"translated\">" + markup + "</target></trans-unit>\n";
        const ResourceStrings r = ReadXliffData(OtherToolsFile(OtherToolsFileElement("app.json", unit)), QStringLiteral("f.xlf"));
        QCOMPARE(r.strings.size(), 1);
        const ImportedString &s = r.strings.first();
        QCOMPARE(s.sourceText, text);
        QCOMPARE(s.target.value_or(QString()), text);
        QCOMPARE(FlattenedMarkup(s.origin.sourceMarkup), text);

        // Written back with the same markup, in a <file> and unit of the other tool's names.
        XliffDocument d;
        d.targetLanguage = QStringLiteral("fr");
        d.units = r.strings;
        const QByteArray written = WriteXliff(d);
        QVERIFY2(written.contains("<file original=\"app.json\"") && written.contains("<trans-unit id=\"7\" resname=\"greeting\""),
                 written.constData());
        QVERIFY2(written.contains("<source>" + markup + "</source>"), written.constData());
        QVERIFY2(written.contains("<target state=\"translated\">" + markup + "</target>"), written.constData());

        // A text changed since: plain text, as the markup no longer says it.
        d.units.first().target = QStringLiteral("autre");
        QVERIFY(WriteXliff(d).contains("<target state=\"translated\">autre</target>"));
    }

    void unitsAreKeyedPerFile()
    {
        const QByteArray file = OtherToolsFile(
            OtherToolsFileElement("a.json", "<trans-unit id=\"71\" resname=\"title\"><source>A</source></trans-unit>\n"
                                            "<trans-unit id=\"72\" resname=\"only.a\"><source>B</source></trans-unit>\n")
            + OtherToolsFileElement("b.json", "<group id=\"g\"><group id=\"h\"><trans-unit id=\"71\" resname=\"title\">"
                                              "<source>C</source></trans-unit></group></group>\n"
                                              "<trans-unit id=\"0\"><source>D</source></trans-unit>\n"));
        QStringList units;
        for (const ImportedString &s : ReadXliffData(file, QStringLiteral("f.xlf")).strings)
            units << QStringList{s.origin.original, s.origin.unit, QString::number(s.id), s.symbol, s.DisplayId(), s.sourceText}.join(u'|');
        // Ids repeat from file to file, so none is a string id; a resname two units share names neither.
        QCOMPARE(units, (QStringList{"a.json|71|0||71|A", "a.json|72|0|only.a|72|B", "b.json|71|0||71|C", "b.json|0|0||0|D"}));
    }

    void deepNesting_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("inlineCode");
        const QByteArray start = "<trans-unit id=\"5\"><source>";
        const QByteArray end = "</source></trans-unit>";
        QTest::newRow("50000 nested <g>")
            << start + QByteArray("<g id=\"1\">").repeated(50000) + "deep" + QByteArray("</g>").repeated(50000) + end
            << true;
        QTest::newRow("a million nested <group>")
            << QByteArray("<group>").repeated(1000000) + start + "deep" + end + QByteArray("</group>").repeated(1000000)
            << false;
    }

    void deepNesting()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, inlineCode);
        const ResourceStrings r = ReadXliffData(OtherToolsFile(OtherToolsFileElement("deep", body)), QStringLiteral("deep.xlf"));
        QCOMPARE(r.strings.size(), 1);
        QCOMPARE(r.strings.first().sourceText, QStringLiteral("deep"));
        QCOMPARE(r.strings.first().origin.sourceMarkup.isEmpty(), !inlineCode);
    }
};

QTEST_GUILESS_MAIN(TestXliff)
#include "tst_xliff.moc"
