#include "dialogs/frmReport.h"

#include "DialogTestSupport.h"
#include "TestServices.h"

#include <QFontMetrics>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

class TestFrmReport : public QObject {
    Q_OBJECT

private slots:
    void reportLines_data();
    void reportLines();
    void displayTextFillsTheBox();
    void reportShowsModallyAndTraces();
    void boxFillsTheWindow();
    void boxIsReadOnlyFixedPitch();
};

void TestFrmReport::reportLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("empty") << QString() << QStringList();
    QTest::newRow("one character") << QStringLiteral("A") << QStringList{QStringLiteral("1.\t65\t0x41\tA")};
    QTest::newRow("tab between letters")
        << QStringLiteral("A\tB")
        << QStringList{QStringLiteral("1.\t65\t0x41\tA"), QStringLiteral("2.\t9\t0x9\t^74"),
                       QStringLiteral("3.\t66\t0x42\tB")};
    QTest::newRow("space") << QStringLiteral(" ") << QStringList{QStringLiteral("1.\t32\t0x20\t<SPACE>")};
    QTest::newRow("CR LF") << QStringLiteral("\r\n")
                           << QStringList{QStringLiteral("1.\t13\t0xD\t^78"), QStringLiteral("2.\t10\t0xA\t^75")};
    QTest::newRow("NUL") << QString(QChar(0)) << QStringList{QStringLiteral("1.\t0\t0x0\t^65")};
    QTest::newRow("DEL and bang") << QStringLiteral("\x7f!")
                                  << QStringList{QStringLiteral("1.\t127\t0x7F\t\x7f"), QStringLiteral("2.\t33\t0x21\t!")};
    QTest::newRow("highest positive code") << QString(QChar(0x7FFF))
                                           << QStringList{QStringLiteral("1.\t32767\t0x7FFF\t") + QChar(0x7FFF)};
    QTest::newRow("U+8A9E is negative") << QString(QChar(0x8A9E))
                                        << QStringList{QStringLiteral("1.\t-30050\t0xFFFF8A9E\t^-29985")};
    QTest::newRow("U+FFFF") << QString(QChar(0xFFFF)) << QStringList{QStringLiteral("1.\t-1\t0xFFFFFFFF\t^64")};
}

void TestFrmReport::reportLines()
{
    QFETCH(QString, text);
    QFETCH(QStringList, lines);
    const QString report = CharacterCodeReport(text);
    QCOMPARE(report, lines.join(QStringLiteral("\r\n")));
    QVERIFY(!report.endsWith(QLatin1Char('\n')));
}

void TestFrmReport::displayTextFillsTheBox()
{
    TestServices services;
    frmReport form;
    auto *box = Find<QPlainTextEdit>(&form, "rtfReport");
    QVERIFY(box);
    form.DisplayText(QStringLiteral("A\tB"));
    QCOMPARE(box->toPlainText(), QStringLiteral("1.\t65\t0x41\tA\n2.\t9\t0x9\t^74\n3.\t66\t0x42\tB"));
    QCOMPARE(box->document()->blockCount(), 3);
    // Each call rebuilds the whole report.
    form.DisplayText(QString());
    QCOMPARE(box->toPlainText(), QString());
}

void TestFrmReport::reportShowsModallyAndTraces()
{
    TestServices services;
    frmReport form;
    QString seen;
    bool modal = false;
    OnModal<frmReport>([&](frmReport *dialog) {
        modal = dialog->isModal();
        seen = Find<QPlainTextEdit>(dialog, "rtfReport")->toPlainText();
        dialog->close();
    });
    form.Report(QStringLiteral(" "));
    QVERIFY(modal);
    QCOMPARE(seen, QStringLiteral("1.\t32\t0x20\t<SPACE>"));
    QCOMPARE(form.windowTitle(), QStringLiteral("Character Code Report"));
    QVERIFY(services.trace->Lines().contains(QStringLiteral("enter frmReport.Report")));
    QVERIFY(services.trace->Lines().contains(QStringLiteral("leave frmReport.DisplayText")));
    QVERIFY(services.reporter->errors.isEmpty());
}

void TestFrmReport::boxFillsTheWindow()
{
    TestServices services;
    frmReport form;
    auto *box = Find<QPlainTextEdit>(&form, "rtfReport");
    // The designed client area of 6930 x 4770 twips at 96 dpi.
    QCOMPARE(form.size(), QSize(462, 318));
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    QCOMPARE(box->geometry(), form.rect());
    form.resize(700, 500);
    QCOMPARE(box->geometry(), QRect(0, 0, 700, 500));
    form.showMinimized();
    form.showNormal();
    form.resize(300, 200);
    QCOMPARE(box->geometry(), QRect(0, 0, 300, 200));
}

void TestFrmReport::boxIsReadOnlyFixedPitch()
{
    TestServices services;
    frmReport form;
    auto *box = Find<QPlainTextEdit>(&form, "rtfReport");
    QVERIFY(box->isReadOnly());
    // Fixed pitch by measure: some monospaced families do not declare themselves so.
    const QFontMetrics metrics(box->font());
    QCOMPARE(metrics.horizontalAdvance(QStringLiteral("iiii")), metrics.horizontalAdvance(QStringLiteral("WWWW")));
    QCOMPARE(box->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    form.DisplayText(QString(200, QLatin1Char('x')));
    box->resize(300, 100);
    box->show();
    QVERIFY(box->verticalScrollBar()->maximum() > 0);
}

QTEST_MAIN(TestFrmReport)
#include "tst_frmreport.moc"
