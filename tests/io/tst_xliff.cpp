// XLIFF 1.2: what we write validates against the schema and reads back unchanged; files of
// other tools read with their markup flattened and their states mapped, and go back as they came.

#include "IoTestSupport.h"

#include "io/Xliff.h"

#include <QtTest>

using namespace kvedit;
using namespace kvedit::io;
using kvedit::test::DataFile;

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

XliffDocument DocumentOf(const ResourceStrings &r)
{
    XliffDocument d;
    d.sourceLanguage = r.sourceLanguageTag.isEmpty() ? d.sourceLanguage : r.sourceLanguageTag;
    d.targetLanguage = r.languageTag.isEmpty() ? QStringLiteral("de") : r.languageTag;
    d.units = r.strings;
    return d;
}

} // namespace

class TestXliff : public QObject {
    Q_OBJECT

private slots:
    // What we write, against the file expected; it validates against the schema and reads back
    // as it was.
    void written_data()
    {
        QTest::addColumn<bool>("withTargets");
        QTest::addColumn<QString>("expected");
        QTest::newRow("translations") << true << DataFile(QStringLiteral("xliff/written.xlf"));
        QTest::newRow("source texts only") << false << DataFile(QStringLiteral("xliff/written-sources.xlf"));
    }

    void written()
    {
        QFETCH(bool, withTargets);
        QFETCH(QString, expected);
        XliffDocument d = SampleDocument();
        if (!withTargets)
            d.targetLanguage.clear();
        const QByteArray data = WriteXliff(d);
        const QString why = test::DiffersFromExpected(QString::fromUtf8(data), expected);
        QVERIFY2(why.isEmpty(), qPrintable(why));

        if (withTargets) {
            ResourceStrings read = ReadXliffData(data, QStringLiteral("memory.xlf"));
            for (ImportedString &s : read.strings) {
                s.file.clear();
                s.line = 0;
            }
            ResourceStrings sent;
            sent.sourceLanguageTag = d.sourceLanguage;
            sent.languageTag = d.targetLanguage;
            sent.strings = d.units;
            QCOMPARE(test::Dump(read, {}), test::Dump(sent, {}));
        }

        const QString xmllint = QStandardPaths::findExecutable(QStringLiteral("xmllint"));
        if (xmllint.isEmpty())
            QSKIP("xmllint is not installed");
        const test::ProcessResult r =
            test::RunTool(xmllint, {"--noout", "--nonet", "--schema", SchemaFile(), expected});
        QVERIFY2(r.exitCode == 0 && r.err.contains(QLatin1String("validates")), qPrintable(r.err));
    }

    // Every file in data/xliff/read against the result expected beside it (NAME.txt): what it
    // reads as, or its errors, and what we write back from it.
    void files_data()
    {
        QTest::addColumn<QString>("file");
        const QDir dir(DataFile(QStringLiteral("xliff/read")));
        for (const QString &name : dir.entryList({QStringLiteral("*.xlf")}, QDir::Files))
            QTest::newRow(qPrintable(name)) << dir.filePath(name);
    }

    void files()
    {
        QFETCH(QString, file);
        const QString name = QDir(DataFile(QString())).relativeFilePath(file);
        QString result;
        try {
            const ResourceStrings r = ReadXliffData(test::ReadBytes(file), name);
            const QString written = QString::fromUtf8(WriteXliff(DocumentOf(r)));
            result = test::Dump(r, {}) + QStringLiteral("--- written back\n") + written;
        } catch (const FileError &e) {
            result = e.Description() + u'\n';
        }
        const QString why = test::DiffersFromExpected(result, file.chopped(3) + QStringLiteral("txt"));
        QVERIFY2(why.isEmpty(), qPrintable(why));
    }

    void changedTextLosesItsMarkup()
    {
        // The markup no longer says the text: it goes out plain.
        XliffDocument d = DocumentOf(ReadXliff(DataFile(QStringLiteral("xliff/read/inline.xlf"))));
        d.units.first().target = QStringLiteral("autre");
        const QByteArray written = WriteXliff(d);
        QVERIFY2(written.contains("<target state=\"translated\">autre</target>"), written.constData());
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
        const QByteArray file = "<xliff xmlns=\"urn:oasis:names:tc:xliff:document:1.2\" version=\"1.2\">"
                                "<file original=\"deep\" source-language=\"en\" datatype=\"plaintext\"><body>"
                                + body + "</body></file></xliff>";
        const ResourceStrings r = ReadXliffData(file, QStringLiteral("deep.xlf"));
        QCOMPARE(r.strings.size(), 1);
        QCOMPARE(r.strings.first().sourceText, QStringLiteral("deep"));
        QCOMPARE(r.strings.first().origin.sourceMarkup.isEmpty(), !inlineCode);
    }
};

QTEST_GUILESS_MAIN(TestXliff)
#include "tst_xliff.moc"
