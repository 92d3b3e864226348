// A record's shortcut character held in four bytes: every text reads back as it was given, and
// two values are equal exactly when their texts are.

#include "server/Record.h"

#include <QtTest>

using kvedit::server::CompactCharacter;

class TestCompactCharacter : public QObject {
    Q_OBJECT

private slots:
    void keepsText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << QString();
        QTest::newRow("letter") << QStringLiteral("S");
        QTest::newRow("NUL") << QString(QChar(0));
        QTest::newRow("Cyrillic") << QStringLiteral("Ж");
        QTest::newRow("CJK") << QStringLiteral("文");
        QTest::newRow("surrogate pair") << QStringLiteral("😀");
        QTest::newRow("lone surrogate") << QString(QChar(0xD83D));
        QTest::newRow("high and letter") << QString(QChar(0xD83D)) + u'a';
        QTest::newRow("word") << QStringLiteral("Ctrl");
        QTest::newRow("longer word") << QStringLiteral("Ctrl+Q");
    }
    void keepsText()
    {
        QFETCH(QString, text);
        const CompactCharacter held(text);
        QCOMPARE(QString(held), text);
        QCOMPARE(held.isEmpty(), text.isEmpty());
        // Made again from a copy of its own: the same value.
        QVERIFY(held == CompactCharacter(QString(text.constData(), text.size())));
        QVERIFY(!(held == CompactCharacter(text + u'!')));
        QVERIFY(!(held == CompactCharacter(u'!' + text)));
    }
};

QTEST_GUILESS_MAIN(TestCompactCharacter)
#include "tst_compactcharacter.moc"
