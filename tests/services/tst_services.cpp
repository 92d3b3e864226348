#include "services/Services.h"

#include "TestServices.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace kvedit;

namespace {

// Runs handler on the modal widget once it is shown; polls from the event loop, never sleeps.
void WhenModal(std::function<void(QWidget *)> handler, int attempts = 500)
{
    QTimer::singleShot(0, [handler = std::move(handler), attempts]() mutable {
        if (QWidget *modal = QApplication::activeModalWidget())
            handler(modal);
        else if (attempts > 0)
            WhenModal(std::move(handler), attempts - 1);
    });
}

} // namespace

class TestServicesSet : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { ResetServices(); }

    void cleanAccessMarkers_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("clean");
        QTest::newRow("inner marker") << "Save &As..." << "Save As...";
        QTest::newRow("escaped ampersand") << "A && B" << "A & B";
        QTest::newRow("escaped next to marker") << "&&&Tools" << "&Tools";
        QTest::newRow("trailing marker") << "Close&" << "Close";
        QTest::newRow("non-Latin text") << QStringLiteral("ファイル(&F)") << QStringLiteral("ファイル(F)");
        QTest::newRow("markers only") << "&&&" << "&";
    }
    void cleanAccessMarkers()
    {
        QFETCH(QString, text);
        QFETCH(QString, clean);
        QCOMPARE(CleanAccessMarkers(text), clean);
    }

    void twipsToPixels_data()
    {
        QTest::addColumn<double>("dpi");
        QTest::addColumn<double>("twips");
        QTest::addColumn<int>("pixels");
        QTest::newRow("one inch at 96 dpi") << 96.0 << 1440.0 << 96;
        QTest::newRow("one pixel at 144 dpi") << 144.0 << 10.0 << 1;
        QTest::newRow("rounds to nearest") << 96.0 << 100.0 << 7;
    }
    void twipsToPixels()
    {
        QFETCH(double, dpi);
        QFETCH(double, twips);
        QFETCH(int, pixels);
        test::TestServices s;
        s.screen->dpi = dpi;
        QCOMPARE(TwipsToPixelsX(twips), pixels);
        QCOMPARE(TwipsToPixelsY(twips), pixels);
    }

    void defaultsFollowTheMachine()
    {
        // A cascade step that keeps the owner's title bar in view without wandering off the screen.
        QVERIFY(WindowOffset() >= 16 && WindowOffset() <= 64);

        const QString code = Services().system->SystemLanguage();
        QVERIFY2(QRegularExpression(QStringLiteral("^[a-z]{2,3}$")).match(code).hasMatch(), qPrintable(code));
        const QLocale::Language system = QLocale::system().language();
        if (system == QLocale::C)
            QCOMPARE(code, QStringLiteral("en"));
        else
            QCOMPARE(QLocale::codeToLanguage(code), system);
    }

    void applicationIconIsDrawn()
    {
        const QIcon icon = ApplicationIcon();
        for (const int size : {16, 32, 48, 256})
            QVERIFY2(icon.availableSizes().contains(QSize(size, size)), qPrintable(QString::number(size)));
        QCOMPARE(ApplicationIcon().cacheKey(), icon.cacheKey());
        // Transparent around the picture, opaque inside it (page and bubble).
        const QImage image = RenderApplicationIcon(16);
        QCOMPARE(image.size(), QSize(16, 16));
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(image.pixel(5, 5)), 255);
        QCOMPARE(qAlpha(image.pixel(10, 10)), 255);
    }

    void defaultReporterLogsWithoutABoxOffscreen()
    {
        // A box would block here; on the offscreen platform the reporter only logs. The description
        // keeps its own "%1" rather than having later arguments filled into it.
        QTest::ignoreMessage(QtWarningMsg, "Error 13 (StringTableSet, line 42): Parameter %1 has no value");
        MakeDefaultErrorReporter()->ReportError(13, QStringLiteral("Parameter %1 has no value"),
                                                QStringLiteral("StringTableSet"), 42, QString());
    }

    void messageBoxes_data()
    {
        QTest::addColumn<bool>("confirm");
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("answer");
        QTest::newRow("Confirm, OK") << true << "ok" << true;
        QTest::newRow("Confirm, Enter takes the default") << true << "enter" << true;
        QTest::newRow("Confirm, Escape cancels") << true << "escape" << false;
        QTest::newRow("Notify") << false << "enter" << false;
    }
    void messageBoxes()
    {
        QFETCH(bool, confirm);
        QFETCH(QString, action);
        QFETCH(bool, answer);
        QWidget owner;
        owner.show();
        // Read before the box is closed, so that a failed comparison can never leave it open.
        QStringList seen;
        WhenModal([&](QWidget *modal) {
            auto *box = qobject_cast<QMessageBox *>(modal);
            if (box)
                seen << box->windowTitle() << box->text() << QString::number(box->icon())
                     << QString::number(box->standardButtons());
            if (box && box->button(QMessageBox::Cancel))   // OK must be the default of a choice
                seen << QString::number(box->defaultButton() == box->button(QMessageBox::Ok));
            if (box && action == QLatin1String("ok"))
                box->button(QMessageBox::Ok)->click();
            else
                QTest::keyClick(modal, action == QLatin1String("enter") ? Qt::Key_Return : Qt::Key_Escape);
        });
        const auto prompts = MakeQtUserPrompts();
        bool result = false;
        if (confirm)
            result = prompts->Confirm(&owner, QStringLiteral("Discard the changes?"));
        else
            prompts->Notify(nullptr, QStringLiteral("Discard the changes?"));
        const int buttons = confirm ? int(QMessageBox::Ok | QMessageBox::Cancel) : int(QMessageBox::Ok);
        QStringList expected{ApplicationTitle(), "Discard the changes?", QString::number(QMessageBox::NoIcon),
                             QString::number(buttons)};
        QCOMPARE(seen, confirm ? expected << "1" : expected);
        QCOMPARE(result, answer);
    }

    void input_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("accept");
        QTest::addColumn<QString>("expectedTitle");
        QTest::addColumn<QString>("answer");
        QTest::newRow("untrimmed answer") << "Go To" << true << "Go To" << " 12 ";
        QTest::newRow("Cancel") << "Go To" << false << "Go To" << "";
        QTest::newRow("default title") << "" << true << ApplicationTitle() << " 12 ";
    }
    void input()
    {
        QFETCH(QString, title);
        QFETCH(bool, accept);
        QFETCH(QString, expectedTitle);
        QFETCH(QString, answer);
        const QPoint position(140, 90);
        QStringList seen;
        QPoint seenPosition;
        WhenModal([&](QWidget *modal) {
            auto *dialog = qobject_cast<QInputDialog *>(modal);
            if (!dialog) {
                modal->close();
                return;
            }
            seen << dialog->windowTitle() << dialog->labelText() << dialog->textValue();
            seenPosition = dialog->pos();
            dialog->setTextValue(QStringLiteral(" 12 "));
            accept ? dialog->accept() : dialog->reject();
        });
        const QString result = MakeQtUserPrompts()->Input(nullptr, QStringLiteral("String id:"), title,
                                                           QStringLiteral("7"), position);
        QCOMPARE(seen, (QStringList{expectedTitle, "String id:", "7"}));
        QCOMPARE(seenPosition, position);
        QCOMPARE(result, answer);
    }
};

QTEST_MAIN(TestServicesSet)
#include "tst_services.moc"
