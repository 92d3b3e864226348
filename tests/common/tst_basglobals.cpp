#include "common/basGlobals.h"
#include "server/Workspace.h"

#include "TestServices.h"

#include <QComboBox>
#include <QTest>

#include <climits>

using namespace kvedit;

class TestBasGlobals : public QObject {
    Q_OBJECT
    std::unique_ptr<test::TestServices> m_services;

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup() { m_services.reset(); }

    void namesPerCode_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("fixedName");
        QTest::addColumn<QString>("heading");
        QTest::addColumn<QString>("modeText");
        QTest::newRow("0") << 0 << "Local Edited" << "German edited" << "0: (not set)";
        QTest::newRow("1") << 1 << "Local Default" << "German default" << "1: prefixed by '&'";
        QTest::newRow("2") << 2 << "English Edited" << "English edited" << "2: first instance";
        QTest::newRow("3") << 3 << "English Default" << "English default" << "3: insert at beginning";
        QTest::newRow("4") << 4 << "" << "" << "4: add to end";
        QTest::newRow("-1") << -1 << "" << "" << "-1: invalid code";
    }
    void namesPerCode()
    {
        QFETCH(int, code);
        QFETCH(QString, fixedName);
        QFETCH(QString, heading);
        QFETCH(QString, modeText);
        const auto ws = server::Workspace::CreateInMemory({QStringLiteral("Names"), QStringLiteral("de-DE"), 10});
        QCOMPARE(basGlobals::FixedSourceName(code), fixedName);
        QCOMPARE(basGlobals::SourceHeading(ws->Tables(), code), heading);
        QCOMPARE(basGlobals::ShortcutModeText(code), modeText);
        // Outside the sources the tables are not asked at all.
        if (heading.isEmpty())
            QCOMPARE(basGlobals::SourceHeading(nullptr, code), QString());
        QVERIFY(m_services->trace->calls.isEmpty());
    }

    void headingWithoutTablesFailsInTheCallersContext()
    {
        QString heading = QStringLiteral("unchanged");
        Reporting("CDVDataSource", "ColumnHeading", [&] { heading = basGlobals::SourceHeading(nullptr, 1); });
        QCOMPARE(heading, QStringLiteral("unchanged"));
        QCOMPARE(m_services->reporter->errors.size(), 1);
        QCOMPARE(m_services->reporter->errors[0].number, int(errObjectNotSet));
    }

    void shortcutCharacters()
    {
        // Small letters, punctuation, codes from 128 and full-width letters are never offered.
        QString accepted;
        for (int code = -300; code < 0x10000; ++code)
            if (basGlobals::IsShortcutCharacter(code))
                accepted += QChar(code);
        QCOMPARE(accepted, QStringLiteral("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
        QVERIFY(!basGlobals::IsShortcutCharacter(INT_MIN));
        QVERIFY(!basGlobals::IsShortcutCharacter(INT_MAX));
    }

    void comboBoxLoaders()
    {
        QComboBox characters, modes;
        characters.addItems({QStringLiteral("stale"), QStringLiteral("a")});
        modes.addItem(QStringLiteral("stale"), 99);
        basGlobals::LoadShortcutCharacterComboBox(&characters);
        basGlobals::LoadShortcutCharacterComboBox(&characters);   // loading again replaces, never appends
        basGlobals::LoadShortcutModeComboBox(&modes);

        // "(none)", then the characters IsShortcutCharacter accepts; the modes 0 to 4 by their texts.
        QCOMPARE(characters.count(), 37);
        QCOMPARE(characters.itemText(0) + characters.itemText(1) + characters.itemText(36), QStringLiteral("(none)0Z"));
        QCOMPARE(modes.count(), 5);
        for (int i = 0; i < modes.count(); ++i)
            QCOMPARE(modes.itemText(i) + modes.itemData(i).toString(), basGlobals::ShortcutModeText(i) + QString::number(i));
        // The mode loader traces under the character loader's name.
        QStringList lines;
        for (int i = 0; i < 3; ++i)
            lines << "enter basGlobals.LoadShortcutCharacterComboBox" << "leave basGlobals.LoadShortcutCharacterComboBox";
        QCOMPARE(m_services->trace->Lines(), lines);

        // Without a combo box nothing happens and nothing is reported.
        basGlobals::LoadShortcutCharacterComboBox(nullptr);
        basGlobals::LoadShortcutModeComboBox(nullptr);
        QVERIFY(m_services->reporter->errors.isEmpty());
    }
};

QTEST_MAIN(TestBasGlobals)
#include "tst_basglobals.moc"
