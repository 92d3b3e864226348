// The general services: the error context's reporting and trace, access markers, twips, the
// machine's defaults, the icon, and the Qt prompts driven as real boxes.

#include "services/Services.h"
#include "services/TextFinder.h"

#include "TestServices.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStringMatcher>
#include <QTest>
#include <QTimer>

#include <functional>
#include <new>
#include <stdexcept>

using namespace kvedit;

using Body = std::function<void()>;
Q_DECLARE_METATYPE(Body)

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

int g_throwLine = 0;

void ThrowKvError()
{
    g_throwLine = __LINE__ + 1;
    throw KvError(errServer, QStringLiteral("The table refused %1"), QStringLiteral("StringTableSet"));
}

void RequireNullRaw()
{
    g_throwLine = __LINE__ + 1;
    Require(static_cast<QObject *>(nullptr), "owner")->setObjectName(QStringLiteral("never"));
}

void RequireNullShared()
{
    g_throwLine = __LINE__ + 1;
    Require(std::shared_ptr<QObject>(), "tables")->setObjectName(QStringLiteral("never"));
}

class IdleTrace final : public ProcedureTrace {
public:
    bool tracing = false;
    int calls = 0;
    bool Tracing() const override { return tracing; }
    void EnterProcedure(const QString &, QLatin1String, QLatin1String) override { ++calls; }
    void LeaveProcedure(const QString &, QLatin1String, QLatin1String) override { ++calls; }
};

} // namespace

class TestServicesSet : public QObject {
    Q_OBJECT
    std::unique_ptr<test::TestServices> m_services;

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup() { m_services.reset(); }

    void failureIsReportedOnce_data()
    {
        QTest::addColumn<Body>("body");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("source");
        QTest::addColumn<bool>("hasLine");
        QTest::newRow("KvError") << Body(ThrowKvError) << int(errServer) << "The table refused %1" << "StringTableSet"
                                 << true;
        QTest::newRow("std::exception") << Body([] { throw std::runtime_error("disk on fire"); })
                                        << int(errInvalidCall) << "disk on fire" << "kvedit" << false;
        QTest::newRow("unknown exception") << Body([] { throw 42; }) << int(errInvalidCall) << "Unknown error"
                                           << "kvedit" << false;
        QTest::newRow("out of memory") << Body([] { throw std::bad_alloc(); }) << int(errOutOfMemory)
                                       << "Out of memory" << "kvedit" << false;
        QTest::newRow("null raw pointer") << Body(RequireNullRaw) << int(errObjectNotSet)
                                          << "Object variable not set: owner" << "kvedit" << true;
        QTest::newRow("null shared pointer") << Body(RequireNullShared) << int(errObjectNotSet)
                                             << "Object variable not set: tables" << "kvedit" << true;
    }
    void failureIsReportedOnce()
    {
        QFETCH(Body, body);
        QFETCH(int, number);
        QFETCH(QString, description);
        QFETCH(QString, source);
        QFETCH(bool, hasLine);
        g_throwLine = 0;
        // Inside an outer procedure: the failure is reported by the inner one and reaches no further.
        const auto inner = [&] { QVERIFY(!Reporting("CDVDataSource", "RefreshStringList", body)); };
        QVERIFY(Reporting("frmTranslate", "Edit", inner));

        QCOMPARE(m_services->reporter->errors.size(), 1);
        const test::ReportedError &e = m_services->reporter->errors[0];
        QCOMPARE(QPair(e.number, e.line), QPair(number, hasLine ? g_throwLine : 0));
        QCOMPARE(QStringList({e.description, e.source, e.text}), QStringList({description, source, ""}));
        // The exit is reached after the error: the leave call still comes, with the same names, in order.
        QCOMPARE(m_services->trace->Lines(),
                 (QStringList{"enter frmTranslate.Edit", "enter CDVDataSource.RefreshStringList",
                              "leave CDVDataSource.RefreshStringList", "leave frmTranslate.Edit"}));
        for (const test::TraceCall &c : m_services->trace->calls)
            QCOMPARE(c.title, ApplicationTitle());
    }

    void idleTraceIsNotCalled()
    {
        // No trace and no reporter at all: the body still runs and the failure goes nowhere.
        Services().procedureTrace.reset();
        Services().errorReporter.reset();
        QVERIFY(!Reporting("M", "P", [] { throw KvError(errServer, QStringLiteral("nobody listens")); }));
        Services().errorReporter = m_services->reporter;
        QVERIFY(m_services->reporter->errors.isEmpty());

        const auto trace = std::make_shared<IdleTrace>();
        Services().procedureTrace = trace;
        QVERIFY(!Reporting("M", "P", [] { throw KvError(errServer, QStringLiteral("still reported")); }));
        QCOMPARE(trace->calls, 0);
        QCOMPARE(m_services->reporter->errors.size(), 1);
        trace->tracing = true;
        QVERIFY(Reporting("M", "P", [] {}));
        QCOMPARE(trace->calls, 2);

        // The logging trace records only while its category is on.
        const std::shared_ptr<ProcedureTrace> logging = MakeLoggingProcedureTrace();
        QLoggingCategory::setFilterRules(QStringLiteral("kvedit.trace.debug=false"));
        QVERIFY(!logging->Tracing());
        QLoggingCategory::setFilterRules(QStringLiteral("kvedit.trace.debug=true"));
        QVERIFY(logging->Tracing());
        QLoggingCategory::setFilterRules(QString());
    }

    void cleanAccessMarkers_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("clean");
        QTest::newRow("inner marker") << "Save &As..." << "Save As...";
        QTest::newRow("escaped ampersand") << "A && B" << "A & B";
        QTest::newRow("escaped next to marker") << "&&&Tools" << "&Tools";
        QTest::newRow("trailing marker") << "Close&" << "Close";
        QTest::newRow("non-Latin text") << QStringLiteral("ファイル(&F)") << QStringLiteral("ファイル(F)");
    }
    void cleanAccessMarkers()
    {
        QFETCH(QString, text);
        QFETCH(QString, clean);
        QCOMPARE(CleanAccessMarkers(text), clean);
    }

    void textFinder_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("found");
        QTest::newRow("letters without case") << "open FILE" << "Could not Open file x" << true;
        QTest::newRow("other characters exactly") << "a-b" << "A_B a=b" << false;
        QTest::newRow("case bit on a non-letter") << "@" << "`" << false;   // '@' | 0x20 is '`'
        QTest::newRow("first of many starts") << "ab" << "ab" << true;
        QTest::newRow("last start after a block") << "xyz" << "0123456789abcdefxyz" << true;
        QTest::newRow("spans a block") << "89ab" << "0123456789abcdef" << true;
        QTest::newRow("first and last match only") << "aXb" << "aYb aZb azzzzzzzzzb" << false;
        QTest::newRow("text shorter") << "abcd" << "abc" << false;
        QTest::newRow("kelvin sign folds to k") << "ok" << QStringLiteral("O\u212A") << true;
        QTest::newRow("long s folds to s") << "sum" << QStringLiteral("\u017Fum") << true;
        QTest::newRow("outside ASCII") << QStringLiteral("stra\u00DFe") << QStringLiteral("STRA\u00DFE") << true;
        QTest::newRow("ASCII pattern, non-ASCII text") << "e" << QStringLiteral("\u00E9\u00C9") << false;
    }
    void textFinder()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, text);
        QFETCH(bool, found);
        QCOMPARE(TextFinder(pattern).FoundIn(text), found);
    }

    // Against QStringMatcher on texts of every length around the eight-character blocks, from a
    // small alphabet so that partial matches are common.
    void textFinderAgreesWithQStringMatcher()
    {
        QRandomGenerator random(7);
        const QString alphabet = QStringLiteral("aAbB&-k\u212A\u00E9");
        const auto pick = [&](int length) {
            QString s;
            for (int i = 0; i < length; ++i)
                s += alphabet.at(random.bounded(alphabet.size()));
            return s;
        };
        for (int round = 0; round < 4000; ++round) {
            const QString pattern = pick(1 + random.bounded(4));
            const QString text = pick(random.bounded(40));
            const bool expected = QStringMatcher(pattern, Qt::CaseInsensitive).indexIn(text) >= 0;
            QVERIFY2(TextFinder(pattern).FoundIn(text) == expected, qPrintable(pattern + QLatin1String(" in ") + text));
        }
    }

    void twipsToPixels()
    {
        // 1440 twips to the inch, rounded to the nearest pixel.
        m_services->screen->dpi = 144;
        const QList<int> pixels{TwipsToPixelsX(1440), TwipsToPixelsY(5), TwipsToPixelsX(100)};
        QCOMPARE(pixels, (QList<int>{144, 1, 10}));
    }

    void defaultsFollowTheMachineAndOnlyLog()
    {
        m_services.reset();   // the machine's own services
        // A cascade step that keeps the owner's title bar in view without wandering off the screen.
        QVERIFY(WindowOffset() >= 16 && WindowOffset() <= 64);

        const QString code = Services().system->SystemLanguage();
        QVERIFY2(QRegularExpression(QStringLiteral("^[a-z]{2,3}$")).match(code).hasMatch(), qPrintable(code));
        const QLocale::Language system = QLocale::system().language();
        if (system == QLocale::C)
            QCOMPARE(code, QStringLiteral("en"));
        else
            QCOMPARE(QLocale::codeToLanguage(code), system);

        // A box would block here; on the offscreen platform the reporter only logs. The description
        // keeps its own "%1" rather than having later arguments filled into it.
        QTest::ignoreMessage(QtWarningMsg, "Error 13 (StringTableSet, line 42): Parameter %1 has no value");
        MakeDefaultErrorReporter()->ReportError(13, QStringLiteral("Parameter %1 has no value"),
                                                QStringLiteral("StringTableSet"), 42, QString());
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
        const QList<int> alphas{qAlpha(image.pixel(0, 0)), qAlpha(image.pixel(5, 5)), qAlpha(image.pixel(10, 10))};
        QCOMPARE(alphas, (QList<int>{0, 255, 255}));
    }

    void prompts_data()
    {
        QTest::addColumn<QString>("prompt");      // Confirm, Notify or Input
        QTest::addColumn<QString>("title");       // the title Input is given
        QTest::addColumn<int>("key");             // the key that closes the box
        QTest::addColumn<QStringList>("seen");    // title, text, icon, buttons (OK the default); or
                                                  // title, prompt, default text
        QTest::addColumn<QString>("answer");      // Confirm: 1 for OK
        const QStringList box{ApplicationTitle(), "Discard the changes?", QString::number(QMessageBox::NoIcon)};
        const int enter = Qt::Key_Return, escape = Qt::Key_Escape;
        const QStringList okCancel{QString::number(QMessageBox::Ok | QMessageBox::Cancel), "1"};
        const QStringList ok{QString::number(QMessageBox::Ok)};
        const auto input = [](const QString &title) { return QStringList{title, "String id:", "7"}; };
        QTest::newRow("Confirm, Enter takes OK") << "Confirm" << "" << enter << box + okCancel << "1";
        QTest::newRow("Confirm, Escape cancels") << "Confirm" << "" << escape << box + okCancel << "0";
        QTest::newRow("Notify") << "Notify" << "" << enter << box + ok << "";
        QTest::newRow("Input, untrimmed answer") << "Input" << "Go To" << enter << input("Go To") << " 12 ";
        QTest::newRow("Input, Cancel") << "Input" << "Go To" << escape << input("Go To") << "";
        QTest::newRow("Input, default title") << "Input" << "" << enter << input(ApplicationTitle()) << " 12 ";
    }
    void prompts()
    {
        QFETCH(QString, prompt);
        QFETCH(QString, title);
        QFETCH(int, key);
        QFETCH(QStringList, seen);
        QFETCH(QString, answer);
        QWidget owner;
        owner.show();
        // Read before the box is closed, so that a failed comparison can never leave it open.
        QStringList shown;
        QPoint position;
        WhenModal([&](QWidget *modal) {
            if (auto *box = qobject_cast<QMessageBox *>(modal)) {
                shown << box->windowTitle() << box->text() << QString::number(box->icon())
                      << QString::number(box->standardButtons());
                if (box->button(QMessageBox::Cancel))
                    shown << QString::number(box->defaultButton() == box->button(QMessageBox::Ok));
            } else if (auto *dialog = qobject_cast<QInputDialog *>(modal)) {
                shown << dialog->windowTitle() << dialog->labelText() << dialog->textValue();
                position = dialog->pos();
                dialog->setTextValue(QStringLiteral(" 12 "));
            }
            QTest::keyClick(modal, Qt::Key(key));
        });
        const auto prompts = MakeQtUserPrompts();
        QString result;
        if (prompt == QLatin1String("Confirm"))
            result = QString::number(prompts->Confirm(&owner, QStringLiteral("Discard the changes?")));
        else if (prompt == QLatin1String("Notify"))
            prompts->Notify(nullptr, QStringLiteral("Discard the changes?"));
        else
            result = prompts->Input(nullptr, QStringLiteral("String id:"), title, "7", {140, 90});
        QCOMPARE(shown, seen);
        QCOMPARE(result, answer);
        if (prompt == QLatin1String("Input"))
            QCOMPARE(position, QPoint(140, 90));
    }
};

QTEST_MAIN(TestServicesSet)
#include "tst_services.moc"
