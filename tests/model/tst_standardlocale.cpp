#include "model/StandardLocale.h"

#include <QTest>

using namespace kvedit;

class TestStandardLocale : public QObject {
    Q_OBJECT

private slots:
    void language_data()
    {
        QTest::addColumn<QVariant>("key");   // a server language code, or a language tag
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::newRow("code 89") << QVariant(int(kLanguageJapanese)) << "Japanese" << "ja";
        QTest::newRow("code 2") << QVariant(2) << "German" << "de";
        QTest::newRow("unknown code") << QVariant(88) << "" << "";
        QTest::newRow("negative code") << QVariant(-89) << "" << "";
        QTest::newRow("tag with region") << QVariant("de-DE") << "German" << "de";
        QTest::newRow("upper case, underscore") << QVariant("JA_JP") << "Japanese" << "ja";
        QTest::newRow("script and region") << QVariant("zh-Hant-TW") << "Chinese" << "zh";
        QTest::newRow("known to Qt only") << QVariant("sw") << "Swahili" << "sw";
        QTest::newRow("unknown everywhere") << QVariant("qq") << "qq" << "qq";
        QTest::newRow("empty tag") << QVariant("") << "" << "";
    }
    void language()
    {
        QFETCH(QVariant, key);
        QFETCH(QString, name);
        QFETCH(QString, value);
        const Language language = key.typeId() == QMetaType::Int ? StandardLocale()->Language(key.toInt())
                                                                 : LanguageForTag(key.toString());
        QCOMPARE(language.Name(), name);
        QCOMPARE(language.Value(), value);
    }
};

QTEST_GUILESS_MAIN(TestStandardLocale)
#include "tst_standardlocale.moc"
