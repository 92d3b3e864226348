#include "services/Services.h"

#include "TestServices.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace kvedit;

namespace {

// Runs handler on the modal widget once it is shown; polls from the event loop, never sleeps.
void WhenModal(std::function<void(QWidget *)> handler, int attempts = 500)
{
    QTimer::singleShot(0, [handler = std::move(handler), attempts]() mutable {
        if (QWidget *modal = QApplication::activeModalWidget()) {
            handler(modal);
            return;
        }
        if (attempts > 0)
            WhenModal(std::move(handler), attempts - 1);
    });
}

} // namespace

class TestServicesSet : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { ResetServices(); }

    void cleanAccessMarkers_data();
    void cleanAccessMarkers();
    void twipsToPixels_data();
    void twipsToPixels();
    void accessorsUseTheInstalledServices();
    void servicesAreReplaceableAndResettable();
    void defaultScreenIsThePrimaryScreen();
    void defaultSystemLanguageIsAnIsoCode();
    void applicationIconIsDrawn();
    void defaultReporterLogsWithoutABoxOffscreen();
    void confirm_data();
    void confirm();
    void notifyHasOnlyOk();
    void input_data();
    void input();

private:
    std::unique_ptr<UserPrompts> m_prompts;
};

void TestServicesSet::cleanAccessMarkers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("clean");
    QTest::newRow("leading marker") << "&File" << "File";
    QTest::newRow("inner marker") << "Save &As..." << "Save As...";
    QTest::newRow("escaped ampersand") << "A && B" << "A & B";
    QTest::newRow("escaped next to marker") << "&&&Tools" << "&Tools";
    QTest::newRow("trailing marker") << "Close&" << "Close";
    QTest::newRow("only a marker") << "&" << "";
    QTest::newRow("two escapes") << "&&&&" << "&&";
    QTest::newRow("no marker") << "Properties" << "Properties";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("non-Latin text") << QStringLiteral("ファイル(&F)") << QStringLiteral("ファイル(F)");
}

void TestServicesSet::cleanAccessMarkers()
{
    QFETCH(QString, text);
    QFETCH(QString, clean);
    QCOMPARE(CleanAccessMarkers(text), clean);
}

void TestServicesSet::twipsToPixels_data()
{
    QTest::addColumn<double>("dpi");
    QTest::addColumn<double>("twips");
    QTest::addColumn<int>("pixels");
    QTest::newRow("one inch at 96 dpi") << 96.0 << 1440.0 << 96;
    QTest::newRow("one inch at 144 dpi") << 144.0 << 1440.0 << 144;
    QTest::newRow("half inch at 96 dpi") << 96.0 << 720.0 << 48;
    QTest::newRow("one pixel at 96 dpi") << 96.0 << 15.0 << 1;
    QTest::newRow("one pixel at 144 dpi") << 144.0 << 10.0 << 1;
    QTest::newRow("rounds to nearest") << 96.0 << 100.0 << 7;
    QTest::newRow("a typical dialog width") << 144.0 << 6000.0 << 600;
    QTest::newRow("zero") << 144.0 << 0.0 << 0;
}

void TestServicesSet::twipsToPixels()
{
    QFETCH(double, dpi);
    QFETCH(double, twips);
    QFETCH(int, pixels);
    test::TestServices s;
    s.screen->dpi = dpi;
    QCOMPARE(TwipsToPixelsX(twips), pixels);
    QCOMPARE(TwipsToPixelsY(twips), pixels);
}

void TestServicesSet::accessorsUseTheInstalledServices()
{
    test::TestServices s;
    s.screen->width = 1234;
    s.screen->height = 567;
    s.screen->offset = 31;
    QCOMPARE(ScreenWidth(), 1234);
    QCOMPARE(ScreenHeight(), 567);
    QCOMPARE(WindowOffset(), 31);
    s.system->language = QStringLiteral("ja");
    QCOMPARE(Services().system->SystemLanguage(), QStringLiteral("ja"));
}

void TestServicesSet::servicesAreReplaceableAndResettable()
{
    {
        test::TestServices s;
        QCOMPARE(Services().prompts.get(), s.prompts.get());
        Services().prompts->Notify(nullptr, QStringLiteral("scripted"));
        QCOMPARE(s.prompts->Notices(), QStringList{QStringLiteral("scripted")});
    }
    // The defaults are back: nothing of the test doubles remains.
    const ServiceSet &set = Services();
    QVERIFY(set.procedureTrace && !dynamic_cast<test::RecordingTrace *>(set.procedureTrace.get()));
    QVERIFY(set.errorReporter && !dynamic_cast<test::RecordingReporter *>(set.errorReporter.get()));
    QVERIFY(set.prompts && !dynamic_cast<test::ScriptedPrompts *>(set.prompts.get()));
    QVERIFY(set.screen && !dynamic_cast<test::FixedScreen *>(set.screen.get()));
    QVERIFY(set.system && !dynamic_cast<test::FixedSystem *>(set.system.get()));

    Services().screen.reset();
    ResetServices();
    QVERIFY(Services().screen);
}

void TestServicesSet::defaultScreenIsThePrimaryScreen()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    QVERIFY(screen);
    QCOMPARE(ScreenWidth(), screen->availableGeometry().width());
    QCOMPARE(ScreenHeight(), screen->availableGeometry().height());
    QCOMPARE(Services().screen->LogicalDpiY(), screen->logicalDotsPerInchY());
    // A cascade step that keeps the owner's title bar in view without wandering off the screen.
    QVERIFY(WindowOffset() >= 16);
    QVERIFY(WindowOffset() <= 64);
}

void TestServicesSet::defaultSystemLanguageIsAnIsoCode()
{
    const QString code = Services().system->SystemLanguage();
    QVERIFY2(QRegularExpression(QStringLiteral("^[a-z]{2,3}$")).match(code).hasMatch(), qPrintable(code));
    const QLocale::Language system = QLocale::system().language();
    if (system == QLocale::C)
        QCOMPARE(code, QStringLiteral("en"));
    else
        QCOMPARE(QLocale::codeToLanguage(code), system);
}

void TestServicesSet::applicationIconIsDrawn()
{
    const QIcon icon = ApplicationIcon();
    QVERIFY(!icon.isNull());
    const QList<QSize> sizes = icon.availableSizes();
    for (const int size : {16, 32, 48, 256})
        QVERIFY2(sizes.contains(QSize(size, size)), qPrintable(QString::number(size)));
    QCOMPARE(ApplicationIcon().cacheKey(), icon.cacheKey());

    for (const int size : {16, 32, 256}) {
        const QImage image = RenderApplicationIcon(size);
        QCOMPARE(image.size(), QSize(size, size));
        // Transparent around the picture, opaque inside it (page and bubble).
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(image.pixel(size / 3, size / 3)), 255);
        QCOMPARE(qAlpha(image.pixel(size * 2 / 3, size * 2 / 3)), 255);
    }
}

void TestServicesSet::defaultReporterLogsWithoutABoxOffscreen()
{
    // A box would block here; on the offscreen platform the reporter only logs. The description
    // keeps its own "%1" rather than having later arguments filled into it.
    QTest::ignoreMessage(QtWarningMsg, "Error 13 (StringTableSet, line 42): Parameter %1 has no value");
    MakeDefaultErrorReporter()->ReportError(13, QStringLiteral("Parameter %1 has no value"),
                                            QStringLiteral("StringTableSet"), 42, QString());
}

void TestServicesSet::confirm_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<bool>("answer");
    QTest::newRow("OK") << "ok" << true;
    QTest::newRow("Cancel") << "cancel" << false;
    QTest::newRow("Enter takes the default") << "enter" << true;
    QTest::newRow("Escape cancels") << "escape" << false;
}

namespace {

// What a message box showed; read before the box is closed so that a failed comparison can never
// leave it open.
struct BoxSeen {
    bool seen = false;
    QString title, text;
    QMessageBox::Icon icon = QMessageBox::Warning;
    QMessageBox::StandardButtons buttons;
    bool okIsDefault = false;
};

BoxSeen Inspect(QWidget *modal)
{
    BoxSeen seen;
    if (auto *box = qobject_cast<QMessageBox *>(modal)) {
        seen.seen = true;
        seen.title = box->windowTitle();
        seen.text = box->text();
        seen.icon = box->icon();
        seen.buttons = box->standardButtons();
        seen.okIsDefault = box->defaultButton() && box->defaultButton() == box->button(QMessageBox::Ok);
    }
    return seen;
}

} // namespace

void TestServicesSet::confirm()
{
    QFETCH(QString, action);
    QFETCH(bool, answer);
    QWidget owner;
    owner.show();
    BoxSeen seen;
    WhenModal([&](QWidget *modal) {
        seen = Inspect(modal);
        if (action == QLatin1String("ok") && seen.seen)
            qobject_cast<QMessageBox *>(modal)->button(QMessageBox::Ok)->click();
        else if (action == QLatin1String("cancel") && seen.seen)
            qobject_cast<QMessageBox *>(modal)->button(QMessageBox::Cancel)->click();
        else if (action == QLatin1String("enter"))
            QTest::keyClick(modal, Qt::Key_Return);
        else
            QTest::keyClick(modal, Qt::Key_Escape);
    });
    const bool result = MakeQtUserPrompts()->Confirm(&owner, QStringLiteral("Discard the changes?"));
    QVERIFY(seen.seen);
    QCOMPARE(seen.title, ApplicationTitle());
    QCOMPARE(seen.text, QStringLiteral("Discard the changes?"));
    QCOMPARE(seen.icon, QMessageBox::NoIcon);
    QCOMPARE(seen.buttons, QMessageBox::Ok | QMessageBox::Cancel);
    QVERIFY(seen.okIsDefault);
    QCOMPARE(result, answer);
}

void TestServicesSet::notifyHasOnlyOk()
{
    BoxSeen seen;
    WhenModal([&](QWidget *modal) {
        seen = Inspect(modal);
        QTest::keyClick(modal, Qt::Key_Return);
    });
    MakeQtUserPrompts()->Notify(nullptr, QStringLiteral("Not found."));
    QVERIFY(seen.seen);
    QCOMPARE(seen.title, ApplicationTitle());
    QCOMPARE(seen.text, QStringLiteral("Not found."));
    QCOMPARE(seen.icon, QMessageBox::NoIcon);
    QCOMPARE(seen.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}

void TestServicesSet::input_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("accept");
    QTest::addColumn<QString>("expectedTitle");
    QTest::addColumn<QString>("answer");
    QTest::newRow("typed and OK") << "Go To" << "1234" << true << "Go To" << "1234";
    QTest::newRow("untrimmed answer") << "Go To" << " 12 " << true << "Go To" << " 12 ";
    QTest::newRow("Cancel") << "Go To" << "1234" << false << "Go To" << "";
    QTest::newRow("default title") << "" << "x" << true << ApplicationTitle() << "x";
}

void TestServicesSet::input()
{
    QFETCH(QString, title);
    QFETCH(QString, typed);
    QFETCH(bool, accept);
    QFETCH(QString, expectedTitle);
    QFETCH(QString, answer);
    const QPoint position(140, 90);
    QString seenTitle, seenLabel, seenDefault;
    QPoint seenPosition;
    WhenModal([&](QWidget *modal) {
        auto *dialog = qobject_cast<QInputDialog *>(modal);
        if (!dialog) {
            modal->close();
            return;
        }
        seenTitle = dialog->windowTitle();
        seenLabel = dialog->labelText();
        seenDefault = dialog->textValue();
        seenPosition = dialog->pos();
        dialog->setTextValue(typed);
        if (accept)
            dialog->accept();
        else
            dialog->reject();
    });
    const QString result = MakeQtUserPrompts()->Input(nullptr, QStringLiteral("String id:"), title,
                                                       QStringLiteral("7"), position);
    QCOMPARE(seenTitle, expectedTitle);
    QCOMPARE(seenLabel, QStringLiteral("String id:"));
    QCOMPARE(seenDefault, QStringLiteral("7"));
    QCOMPARE(seenPosition, position);
    QCOMPARE(result, answer);
}

QTEST_MAIN(TestServicesSet)
#include "tst_services.moc"
