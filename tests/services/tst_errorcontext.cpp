#include "services/ErrorContext.h"

#include "TestServices.h"

#include <QLoggingCategory>
#include <QTest>

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>

using namespace kvedit;

using Body = std::function<void()>;
Q_DECLARE_METATYPE(Body)

namespace {

int g_kvErrorLine = 0;

void ThrowKvError()
{
    g_kvErrorLine = __LINE__ + 1;
    throw KvError(errServer, QStringLiteral("The table refused %1"), QStringLiteral("StringTableSet"));
}

void RequireNullWidget()
{
    QObject *none = nullptr;
    Require(none, "owner")->setObjectName(QStringLiteral("never"));
}

void RequireNullShared()
{
    std::shared_ptr<QObject> none;
    Require(none, "tables")->setObjectName(QStringLiteral("never"));
}

} // namespace

class TestErrorContext : public QObject {
    Q_OBJECT

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup() { m_services.reset(); }

    void entersAndLeavesWithTheSameNames();
    void failureIsReportedOnce_data();
    void failureIsReportedOnce();
    void kvErrorCarriesItsLine();
    void resultStaysAsLastAssigned();
    void requireReturnsWhatItIsGiven();
    void nestedProceduresTraceInOrder();
    void worksWithoutTraceOrReporter();
    void idleTraceIsNotCalled();
    void loggingTraceFollowsItsCategory();

private:
    std::unique_ptr<test::TestServices> m_services;
};

void TestErrorContext::entersAndLeavesWithTheSameNames()
{
    bool ran = false;
    QVERIFY(Reporting("frmEdit", "ProcessEditMenuFindNext", [&] { ran = true; }));
    QVERIFY(ran);
    const auto &calls = m_services->trace->calls;
    QCOMPARE(calls.size(), 2);
    QVERIFY(calls[0].enter);
    QVERIFY(!calls[1].enter);
    for (const test::TraceCall &c : calls) {
        QCOMPARE(c.title, ApplicationTitle());
        QCOMPARE(c.module, QStringLiteral("frmEdit"));
        QCOMPARE(c.procedure, QStringLiteral("ProcessEditMenuFindNext"));
    }
    QVERIFY(m_services->reporter->errors.isEmpty());
}

void TestErrorContext::failureIsReportedOnce_data()
{
    QTest::addColumn<Body>("body");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("source");

    QTest::newRow("KvError") << Body(ThrowKvError) << int(errServer) << "The table refused %1"
                             << "StringTableSet";
    QTest::newRow("std::exception") << Body([] { throw std::runtime_error("disk on fire"); })
                                    << int(errInvalidCall) << "disk on fire" << "kvedit";
    QTest::newRow("unknown exception") << Body([] { throw 42; }) << int(errInvalidCall) << "Unknown error"
                                       << "kvedit";
    QTest::newRow("out of memory") << Body([] { throw std::bad_alloc(); }) << int(errOutOfMemory)
                                   << "Out of memory" << "kvedit";
    QTest::newRow("null raw pointer") << Body(RequireNullWidget) << int(errObjectNotSet)
                                      << "Object variable not set: owner" << "kvedit";
    QTest::newRow("null shared pointer") << Body(RequireNullShared) << int(errObjectNotSet)
                                         << "Object variable not set: tables" << "kvedit";
}

void TestErrorContext::failureIsReportedOnce()
{
    QFETCH(Body, body);
    QFETCH(int, number);
    QFETCH(QString, description);
    QFETCH(QString, source);

    QVERIFY(!Reporting("CDVDataSource", "RefreshStringList", body));

    const auto &errors = m_services->reporter->errors;
    QCOMPARE(errors.size(), 1);
    QCOMPARE(errors[0].number, number);
    QCOMPARE(errors[0].description, description);
    QCOMPARE(errors[0].source, source);
    QCOMPARE(errors[0].text, QString());
    // The exit is reached after the error: the leave call still comes, with the same names.
    QCOMPARE(m_services->trace->Lines(),
             (QStringList{"enter CDVDataSource.RefreshStringList", "leave CDVDataSource.RefreshStringList"}));
}

void TestErrorContext::kvErrorCarriesItsLine()
{
    Reporting("M", "P", [] { ThrowKvError(); });
    QCOMPARE(m_services->reporter->errors.size(), 1);
    QCOMPARE(m_services->reporter->errors[0].line, g_kvErrorLine);

    const int requireLine = __LINE__ + 1;
    Reporting("M", "P", [] { Require(static_cast<QObject *>(nullptr), "x"); });
    QCOMPARE(m_services->reporter->errors.size(), 2);
    QCOMPARE(m_services->reporter->errors[1].line, requireLine);
}

void TestErrorContext::resultStaysAsLastAssigned()
{
    int assigned = 0;
    Reporting("M", "P", [&] {
        assigned = 7;
        throw KvError(errInvalidCall, QStringLiteral("late"));
    });
    QCOMPARE(assigned, 7);

    QString untouched;
    Reporting("M", "P", [&] {
        throw KvError(errInvalidCall, QStringLiteral("early"));
        untouched = QStringLiteral("never");
    });
    QCOMPARE(untouched, QString());
}

void TestErrorContext::requireReturnsWhatItIsGiven()
{
    QObject object;
    QCOMPARE(Require(&object, "object"), &object);
    const auto shared = std::make_shared<int>(3);
    QCOMPARE(&Require(shared, "shared"), &shared);
    QCOMPARE(*Require(shared, "shared"), 3);
}

void TestErrorContext::nestedProceduresTraceInOrder()
{
    int after = 0;
    Reporting("frmTranslate", "Edit", [&] {
        Reporting("basGlobals", "LoadShortcutCharacterComboBox", [] {});
        Reporting("frmParameters", "Edit", [] { throw KvError(errServer, QStringLiteral("inner")); });
        after = 1;   // the inner failure does not reach the outer procedure
    });
    QCOMPARE(after, 1);
    QCOMPARE(m_services->trace->Lines(), (QStringList{
                                             "enter frmTranslate.Edit",
                                             "enter basGlobals.LoadShortcutCharacterComboBox",
                                             "leave basGlobals.LoadShortcutCharacterComboBox",
                                             "enter frmParameters.Edit",
                                             "leave frmParameters.Edit",
                                             "leave frmTranslate.Edit",
                                         }));
    QCOMPARE(m_services->reporter->errors.size(), 1);
    QCOMPARE(m_services->reporter->errors[0].description, QStringLiteral("inner"));
}

void TestErrorContext::worksWithoutTraceOrReporter()
{
    Services().procedureTrace.reset();
    Services().errorReporter.reset();
    bool ran = false;
    QVERIFY(Reporting("M", "P", [&] { ran = true; }));
    QVERIFY(ran);
    QVERIFY(!Reporting("M", "P", [] { throw KvError(errServer, QStringLiteral("nobody listens")); }));
    QVERIFY(m_services->trace->calls.isEmpty());
    QVERIFY(m_services->reporter->errors.isEmpty());
}

namespace {
class IdleTrace final : public ProcedureTrace {
public:
    bool tracing = false;
    int calls = 0;
    bool Tracing() const override { return tracing; }
    void EnterProcedure(const QString &, QLatin1String, QLatin1String) override { ++calls; }
    void LeaveProcedure(const QString &, QLatin1String, QLatin1String) override { ++calls; }
};
} // namespace

void TestErrorContext::idleTraceIsNotCalled()
{
    const auto trace = std::make_shared<IdleTrace>();
    Services().procedureTrace = trace;
    QVERIFY(!Reporting("M", "P", [] { throw KvError(errServer, QStringLiteral("still reported")); }));
    QCOMPARE(trace->calls, 0);
    QCOMPARE(m_services->reporter->errors.size(), 1);
    trace->tracing = true;
    QVERIFY(Reporting("M", "P", [] {}));
    QCOMPARE(trace->calls, 2);
}

void TestErrorContext::loggingTraceFollowsItsCategory()
{
    const std::shared_ptr<ProcedureTrace> logging = MakeLoggingProcedureTrace();
    QLoggingCategory::setFilterRules(QStringLiteral("kvedit.trace.debug=false"));
    QVERIFY(!logging->Tracing());
    QLoggingCategory::setFilterRules(QStringLiteral("kvedit.trace.debug=true"));
    QVERIFY(logging->Tracing());
    QLoggingCategory::setFilterRules(QString());
}

QTEST_GUILESS_MAIN(TestErrorContext)
#include "tst_errorcontext.moc"
