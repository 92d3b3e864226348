#include "common/basGlobals.h"

#include "TestServices.h"

#include <QComboBox>
#include <QTest>

#include <climits>

using namespace kvedit;

namespace {

// Only the source languages matter here; every other operation refuses.
class LanguageTables final : public StringTableSet {
public:
    mutable QList<int> asked;
    qint16 Revision(StringId, StringSource) const override { return Refuse<qint16>(); }
    bool HasText(StringId, StringSource) const override { return Refuse<bool>(); }
    bool IdInUse(StringId, StringSource) const override { return Refuse<bool>(); }
    StringEntryPtr Entry(StringId, StringSource) const override { return Refuse<StringEntryPtr>(); }
    QString Text(StringId, StringSource) const override { return Refuse<QString>(); }
    QString SourceName(StringId, StringSource) const override { return Refuse<QString>(); }
    bool Modified() const override { return Refuse<bool>(); }
    bool HasStatus(StringId, StringSource, int) const override { return Refuse<bool>(); }
    kvedit::Language SourceLanguage(StringSource source) const override
    {
        asked << int(source);
        if (source == ssLocalEdited || source == ssLocalDefault)
            return kvedit::Language(QStringLiteral("German"), QStringLiteral("de"));
        return kvedit::Language(QStringLiteral("English"), QStringLiteral("en"));
    }
    void DiscardEdits() override { Refuse<void>(); }
    void Save(TableVersion, bool) override { Refuse<void>(); }
    void AddEntry(const StringEntryPtr &) override { Refuse<void>(); }
    void StoreEntry(const StringEntryPtr &) override { Refuse<void>(); }
    void RemoveEntry(StringId, StringSource) override { Refuse<void>(); }
    QStringList SaveTableNames(TableVersion) const override { return Refuse<QStringList>(); }

private:
    template <typename T>
    static T Refuse()
    {
        throw KvError(errServer, QStringLiteral("not used by the headings"));
    }
};

QStringList Items(const QComboBox &combo)
{
    QStringList out;
    for (int i = 0; i < combo.count(); ++i)
        out << combo.itemText(i);
    return out;
}

} // namespace

class TestBasGlobals : public QObject {
    Q_OBJECT

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup() { m_services.reset(); }

    void fixedSourceName_data();
    void fixedSourceName();
    void sourceHeading_data();
    void sourceHeading();
    void sourceHeadingNeedsTables();
    void shortcutCharacters();
    void shortcutCharacterRows_data();
    void shortcutCharacterRows();
    void shortcutModeText_data();
    void shortcutModeText();
    void characterComboBox();
    void modeComboBox();
    void loadersWithoutComboBoxDoNothing();

private:
    std::unique_ptr<test::TestServices> m_services;
};

void TestBasGlobals::fixedSourceName_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("name");
    QTest::newRow("0") << 0 << "Local Edited";
    QTest::newRow("1") << 1 << "Local Default";
    QTest::newRow("2") << 2 << "English Edited";
    QTest::newRow("3") << 3 << "English Default";
    QTest::newRow("4") << 4 << "";
    QTest::newRow("-1") << -1 << "";
    QTest::newRow("large") << INT_MAX << "";
}

void TestBasGlobals::fixedSourceName()
{
    QFETCH(int, code);
    QFETCH(QString, name);
    QCOMPARE(basGlobals::FixedSourceName(code), name);
}

void TestBasGlobals::sourceHeading_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("heading");
    QTest::addColumn<bool>("asksTables");
    QTest::newRow("local edited") << 0 << "German edited" << true;
    QTest::newRow("local default") << 1 << "German default" << true;
    QTest::newRow("english edited") << 2 << "English edited" << true;
    QTest::newRow("english default") << 3 << "English default" << true;
    QTest::newRow("4") << 4 << "" << false;
    QTest::newRow("-1") << -1 << "" << false;
}

void TestBasGlobals::sourceHeading()
{
    QFETCH(int, code);
    QFETCH(QString, heading);
    QFETCH(bool, asksTables);
    const auto tables = std::make_shared<LanguageTables>();
    QCOMPARE(basGlobals::SourceHeading(tables, code), heading);
    QCOMPARE(tables->asked, asksTables ? QList<int>{code} : QList<int>());
    QVERIFY(m_services->trace->calls.isEmpty());
}

void TestBasGlobals::sourceHeadingNeedsTables()
{
    QCOMPARE(basGlobals::SourceHeading(nullptr, 4), QString());
    // Without tables the failure goes to the caller's error context, which reports it.
    QString heading = QStringLiteral("unchanged");
    Reporting("CDVDataSource", "ColumnHeading", [&] { heading = basGlobals::SourceHeading(nullptr, 1); });
    QCOMPARE(heading, QStringLiteral("unchanged"));
    QCOMPARE(m_services->reporter->errors.size(), 1);
    QCOMPARE(m_services->reporter->errors[0].number, int(errObjectNotSet));
}

void TestBasGlobals::shortcutCharacters()
{
    QString accepted;
    for (int code = -300; code < 300; ++code)
        if (basGlobals::IsShortcutCharacter(code))
            accepted += QChar(code);
    QCOMPARE(accepted, QStringLiteral("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
}

void TestBasGlobals::shortcutCharacterRows_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("shortcut");
    QTest::newRow("'0'") << int('0') << true;
    QTest::newRow("'9'") << int('9') << true;
    QTest::newRow("'A'") << int('A') << true;
    QTest::newRow("'Z'") << int('Z') << true;
    QTest::newRow("'/' before the digits") << int('/') << false;
    QTest::newRow("':' after the digits") << int(':') << false;
    QTest::newRow("'@' before the capitals") << int('@') << false;
    QTest::newRow("'[' after the capitals") << int('[') << false;
    QTest::newRow("small 'a'") << int('a') << false;
    QTest::newRow("small 'z'") << int('z') << false;
    QTest::newRow("space") << int(' ') << false;
    QTest::newRow("'&'") << int('&') << false;
    QTest::newRow("code 0") << 0 << false;
    QTest::newRow("code 127") << 127 << false;
    QTest::newRow("code 128") << 128 << false;
    QTest::newRow("capital A with grave (192)") << 192 << false;
    QTest::newRow("full-width A") << 0xFF21 << false;
    QTest::newRow("-1") << -1 << false;
    QTest::newRow("most negative") << INT_MIN << false;
    QTest::newRow("largest") << INT_MAX << false;
}

void TestBasGlobals::shortcutCharacterRows()
{
    QFETCH(int, code);
    QFETCH(bool, shortcut);
    QCOMPARE(basGlobals::IsShortcutCharacter(code), shortcut);
}

void TestBasGlobals::shortcutModeText_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0 << "0: (not set)";
    QTest::newRow("1") << 1 << "1: prefixed by '&'";
    QTest::newRow("2") << 2 << "2: first instance";
    QTest::newRow("3") << 3 << "3: insert at beginning";
    QTest::newRow("4") << 4 << "4: add to end";
    QTest::newRow("5") << 5 << "5: invalid code";
    QTest::newRow("7") << 7 << "7: invalid code";
    QTest::newRow("-1") << -1 << "-1: invalid code";
}

void TestBasGlobals::shortcutModeText()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QCOMPARE(basGlobals::ShortcutModeText(code), text);
}

void TestBasGlobals::characterComboBox()
{
    QComboBox combo;
    combo.addItems({QStringLiteral("stale"), QStringLiteral("a")});
    basGlobals::LoadShortcutCharacterComboBox(&combo);
    QStringList expected{QStringLiteral("(none)")};
    for (const QChar c : QStringLiteral("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"))
        expected << QString(c);
    QCOMPARE(Items(combo), expected);
    QCOMPARE(combo.count(), 37);
    QCOMPARE(combo.itemText(0), basGlobals::NoShortcutCharacterText());
    QCOMPARE(combo.findText(QStringLiteral("a")), -1);
    // Loading again replaces, never appends.
    basGlobals::LoadShortcutCharacterComboBox(&combo);
    QCOMPARE(combo.count(), 37);

    QCOMPARE(m_services->trace->Lines(), (QStringList{
                                             "enter basGlobals.LoadShortcutCharacterComboBox",
                                             "leave basGlobals.LoadShortcutCharacterComboBox",
                                             "enter basGlobals.LoadShortcutCharacterComboBox",
                                             "leave basGlobals.LoadShortcutCharacterComboBox",
                                         }));
    QVERIFY(m_services->reporter->errors.isEmpty());
}

void TestBasGlobals::modeComboBox()
{
    QComboBox combo;
    combo.addItem(QStringLiteral("stale"), 99);
    basGlobals::LoadShortcutModeComboBox(&combo);
    QCOMPARE(Items(combo), (QStringList{"0: (not set)", "1: prefixed by '&'", "2: first instance",
                                        "3: insert at beginning", "4: add to end"}));
    for (int i = 0; i < combo.count(); ++i)
        QCOMPARE(combo.itemData(i), QVariant(i));
    QCOMPARE(combo.findData(3), 3);
    // The mode loader traces under the character loader's name.
    QCOMPARE(m_services->trace->Lines(), (QStringList{
                                             "enter basGlobals.LoadShortcutCharacterComboBox",
                                             "leave basGlobals.LoadShortcutCharacterComboBox",
                                         }));
    QVERIFY(m_services->reporter->errors.isEmpty());
}

void TestBasGlobals::loadersWithoutComboBoxDoNothing()
{
    basGlobals::LoadShortcutCharacterComboBox(nullptr);
    basGlobals::LoadShortcutModeComboBox(nullptr);
    QVERIFY(m_services->reporter->errors.isEmpty());
    QVERIFY(m_services->prompts->calls.isEmpty());
}

QTEST_MAIN(TestBasGlobals)
#include "tst_basglobals.moc"
