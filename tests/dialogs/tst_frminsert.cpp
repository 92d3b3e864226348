#include "dialogs/frmInsert.h"

#include "DialogTestSupport.h"
#include "TestServices.h"

#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

QStringList Rows(QTreeWidget *list)
{
    QStringList out;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        out << list->topLevelItem(i)->text(0) + QLatin1Char('|') + list->topLevelItem(i)->text(1);
    return out;
}

const QString kCopyright = QString(QChar(0x00A9));

} // namespace

class TestFrmInsert : public QObject {
    Q_OBJECT

private slots:
    void rowsInOrder_data();
    void rowsInOrder();
    void choosingReturnsTheTag_data();
    void choosingReturnsTheTag();
    void okayFollowsTheSelection();
    void cancelReturnsFalse();
    void nullEntryShowsNothing();
    void layoutInTwips_data();
    void layoutInTwips();
};

void TestFrmInsert::rowsInOrder_data()
{
    QTest::addColumn<bool>("tabs");
    QTest::addColumn<QStringList>("parameters");
    QTest::addColumn<QStringList>("rows");

    QTest::newRow("nothing but the copyright sign") << false << QStringList()
                                                    << QStringList{kCopyright + QStringLiteral("|Copyright Sign")};
    QTest::newRow("tabs allowed") << true << QStringList()
                                  << QStringList{QStringLiteral("<TAB>|Horizontal Tab"),
                                                 kCopyright + QStringLiteral("|Copyright Sign")};
    QTest::newRow("parameters first, then tab and sign")
        << true << QStringList{QStringLiteral("file name"), QStringLiteral("size")}
        << QStringList{QStringLiteral("%1|file name"), QStringLiteral("%2|size"), QStringLiteral("<TAB>|Horizontal Tab"),
                       kCopyright + QStringLiteral("|Copyright Sign")};
    QTest::newRow("parameters without tab") << false << QStringList{QStringLiteral("count")}
                                            << QStringList{QStringLiteral("%1|count"),
                                                           kCopyright + QStringLiteral("|Copyright Sign")};
}

void TestFrmInsert::rowsInOrder()
{
    QFETCH(bool, tabs);
    QFETCH(QStringList, parameters);
    QFETCH(QStringList, rows);

    TestServices services;
    Tables tables;
    tables.Put(5, ssEnglishDefault, TextSpec{QStringLiteral("x"), {}, quint8(tabs ? tpAllowTab | tpMultipleLines : 0)});
    tables.SetParameters(5, parameters);
    const StringEntryPtr entry = tables.Entry(5, ssEnglishDefault);

    frmInsert form;
    QStringList seen;
    QStringList headings;
    QStringList keys;
    OnModal<frmInsert>([&](frmInsert *dialog) {
        auto *list = Find<QTreeWidget>(dialog, "lvwSpecial");
        seen = Rows(list);
        headings = QStringList{list->headerItem()->text(0), list->headerItem()->text(1)};
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            keys << list->topLevelItem(i)->data(0, Qt::UserRole + 1).toString();
    });
    QVERIFY(!form.SelectSpecial(entry));
    QCOMPARE(seen, rows);
    QCOMPARE(headings, (QStringList{QStringLiteral("Special"), QStringLiteral("Description")}));
    // Parameter rows carry the collection's key; the special characters none.
    for (int i = 0; i < keys.size(); ++i)
        QCOMPARE(keys.at(i), i < parameters.size() ? QStringLiteral("p%1").arg(i + 1) : QString());
    QVERIFY(services.reporter->errors.isEmpty());
}

void TestFrmInsert::choosingReturnsTheTag_data()
{
    QTest::addColumn<QString>("display");
    QTest::addColumn<QString>("selection");

    QTest::newRow("tab") << QStringLiteral("<TAB>") << QStringLiteral("\t");
    QTest::newRow("copyright") << kCopyright << kCopyright;
    QTest::newRow("parameter placeholder") << QStringLiteral("%2") << QStringLiteral("%2");
}

void TestFrmInsert::choosingReturnsTheTag()
{
    QFETCH(QString, display);
    QFETCH(QString, selection);

    TestServices services;
    Tables tables;
    tables.Put(9, ssEnglishDefault, TextSpec{QStringLiteral("x"), {}, quint8(tpAllowTab | tpMultipleLines)});
    tables.SetParameters(9, {QStringLiteral("first"), QStringLiteral("second")});

    frmInsert form;
    OnModal<frmInsert>([&](frmInsert *dialog) {
        auto *list = Find<QTreeWidget>(dialog, "lvwSpecial");
        const QList<QTreeWidgetItem *> found = list->findItems(display, Qt::MatchExactly, 0);
        QCOMPARE(found.size(), 1);
        list->setCurrentItem(found.first());
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdOkay"), Qt::LeftButton);
    });
    QVERIFY(form.SelectSpecial(tables.Entry(9, ssEnglishDefault)));
    QVERIFY(form.Accepted());
    QCOMPARE(form.Selection(), selection);
}

void TestFrmInsert::okayFollowsTheSelection()
{
    TestServices services;
    Tables tables;
    tables.Put(3, ssEnglishDefault, QStringLiteral("x"));
    frmInsert form;
    bool enabledBefore = true;
    bool enabledAfterClick = false;
    bool enabledAfterClear = true;
    OnModal<frmInsert>([&](frmInsert *dialog) {
        auto *list = Find<QTreeWidget>(dialog, "lvwSpecial");
        auto *okay = Find<QPushButton>(dialog, "cmdOkay");
        enabledBefore = okay->isEnabled();
        const QRect row = list->visualItemRect(list->topLevelItem(0));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, row.center());
        enabledAfterClick = okay->isEnabled();
        list->clearSelection();
        enabledAfterClear = okay->isEnabled();
        dialog->close();
    });
    QVERIFY(!form.SelectSpecial(tables.Entry(3, ssEnglishDefault)));
    QVERIFY(!enabledBefore);
    QVERIFY(enabledAfterClick);
    QVERIFY(!enabledAfterClear);
    QCOMPARE(form.Selection(), QString());
}

void TestFrmInsert::cancelReturnsFalse()
{
    TestServices services;
    Tables tables;
    tables.Put(3, ssEnglishDefault, QStringLiteral("x"));
    frmInsert form;
    OnModal<frmInsert>([&](frmInsert *dialog) {
        auto *list = Find<QTreeWidget>(dialog, "lvwSpecial");
        list->setCurrentItem(list->topLevelItem(0));
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdCancel"), Qt::LeftButton);
    });
    QVERIFY(!form.SelectSpecial(tables.Entry(3, ssEnglishDefault)));
    QVERIFY(!form.Accepted());
    // The selection is still there; the caller just does not read it.
    QCOMPARE(form.Selection(), kCopyright);
}

void TestFrmInsert::nullEntryShowsNothing()
{
    TestServices services;
    frmInsert form;
    QVERIFY(!form.SelectSpecial(nullptr));
    QVERIFY(!form.isVisible());
    QVERIFY(services.reporter->errors.isEmpty());
}

void TestFrmInsert::layoutInTwips_data()
{
    QTest::addColumn<int>("fontPixels");
    QTest::newRow("font as small as the design's") << 6;
    QTest::newRow("platform font") << 0;
    QTest::newRow("large font") << 20;
}

void TestFrmInsert::layoutInTwips()
{
    QFETCH(int, fontPixels);
    TestServices services;
    ApplicationFont font(fontPixels);
    frmInsert form;
    QCOMPARE(form.windowTitle(), QStringLiteral("Insert Special"));
    CheckTwipsLayout(&form, QSize(6255, 3360),
                     {{"cmdCancel", QRect(5160, 600, 972, 372)},
                      {"cmdOkay", QRect(5160, 120, 972, 372)},
                      {"lvwSpecial", QRect(120, 360, 4932, 2892)},
                      {"lblPrompt", QRect(120, 120, 3936, 192)}},
                     fontPixels == 6);
    QCOMPARE(Find<QLabel>(&form, "lblPrompt")->text(),
             QStringLiteral("Please select a special character or parameter to insert"));
    QCOMPARE(Find<QPushButton>(&form, "cmdOkay")->text(), QStringLiteral("OK"));
    QVERIFY(Find<QPushButton>(&form, "cmdOkay")->isDefault());
}

QTEST_MAIN(TestFrmInsert)
#include "tst_frminsert.moc"
