#include "services/ErrorContext.h"

#include "TestServices.h"

#include <QLoggingCategory>
#include <QTest>

#include <functional>
#include <new>
#include <stdexcept>

using namespace kvedit;

using Body = std::function<void()>;
Q_DECLARE_METATYPE(Body)

namespace {

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

class TestErrorContext : public QObject {
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
        QVERIFY(!Reporting("CDVDataSource", "RefreshStringList", body));

        const auto &errors = m_services->reporter->errors;
        QCOMPARE(errors.size(), 1);
        QCOMPARE(errors[0].number, number);
        QCOMPARE(errors[0].description, description);
        QCOMPARE(errors[0].source, source);
        QCOMPARE(errors[0].line, hasLine ? g_throwLine : 0);
        QCOMPARE(errors[0].text, QString());
        // The exit is reached after the error: the leave call still comes, with the same names.
        QCOMPARE(m_services->trace->Lines(),
                 (QStringList{"enter CDVDataSource.RefreshStringList", "leave CDVDataSource.RefreshStringList"}));
    }

    void nestedProceduresTraceInOrder()
    {
        int after = 0;
        QVERIFY(Reporting("frmTranslate", "Edit", [&] {
            Reporting("basGlobals", "LoadShortcutCharacterComboBox", [] {});
            Reporting("frmParameters", "Edit", [] { throw KvError(errServer, QStringLiteral("inner")); });
            after = 1;   // the inner failure does not reach the outer procedure
        }));
        QCOMPARE(after, 1);
        QCOMPARE(m_services->trace->Lines(), (QStringList{
                                                 "enter frmTranslate.Edit",
                                                 "enter basGlobals.LoadShortcutCharacterComboBox",
                                                 "leave basGlobals.LoadShortcutCharacterComboBox",
                                                 "enter frmParameters.Edit",
                                                 "leave frmParameters.Edit",
                                                 "leave frmTranslate.Edit",
                                             }));
        for (const test::TraceCall &c : m_services->trace->calls)
            QCOMPARE(c.title, ApplicationTitle());
        QCOMPARE(m_services->reporter->errors.size(), 1);
        QCOMPARE(m_services->reporter->errors[0].description, QStringLiteral("inner"));
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
};

QTEST_GUILESS_MAIN(TestErrorContext)
#include "tst_errorcontext.moc"
