#include "model/StandardLocale.h"

#include <QTest>

using namespace kvedit;

class TestStandardLocale : public QObject {
    Q_OBJECT

private slots:
    void languageByCode_data();
    void languageByCode();
    void languageForTag_data();
    void languageForTag();
};

void TestStandardLocale::languageByCode_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::newRow("Japanese") << int(kLanguageJapanese) << "Japanese" << "ja";
    QTest::newRow("English") << 1 << "English" << "en";
    QTest::newRow("German") << 2 << "German" << "de";
    QTest::newRow("unknown code") << 88 << "" << "";
    QTest::newRow("zero") << 0 << "" << "";
    QTest::newRow("negative") << -89 << "" << "";
}

void TestStandardLocale::languageByCode()
{
    QFETCH(int, code);
    QFETCH(QString, name);
    QFETCH(QString, value);
    const Language language = StandardLocale()->Language(code);
    QCOMPARE(language.Name(), name);
    QCOMPARE(language.Value(), value);
    QCOMPARE(language.IsValid(), !value.isEmpty());
}

void TestStandardLocale::languageForTag_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::newRow("region with hyphen") << "de-DE" << "German" << "de";
    QTest::newRow("region with underscore") << "ja_JP" << "Japanese" << "ja";
    QTest::newRow("upper case") << "FR" << "French" << "fr";
    QTest::newRow("script and region") << "zh-Hant-TW" << "Chinese" << "zh";
    QTest::newRow("known to Qt only") << "sw" << "Swahili" << "sw";
    QTest::newRow("unknown everywhere") << "qq" << "qq" << "qq";
    QTest::newRow("empty") << "" << "" << "";
}

void TestStandardLocale::languageForTag()
{
    QFETCH(QString, tag);
    QFETCH(QString, name);
    QFETCH(QString, value);
    const Language language = LanguageForTag(tag);
    QCOMPARE(language.Name(), name);
    QCOMPARE(language.Value(), value);
}

QTEST_GUILESS_MAIN(TestStandardLocale)
#include "tst_standardlocale.moc"
