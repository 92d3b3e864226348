// The editing run behind both public classes: trace names, the saved flag, failure handling and
// independence of consecutive runs.

#include "editor/frmEdit.h"
#include "entry/CGlobals.h"
#include "entry/EditingRun.h"
#include "server/Workspace.h"

#include "TestServices.h"

#include <QAction>
#include <QApplication>
#include <QTimer>
#include <QtTest>

using namespace kvedit;

namespace {

// Runs action on the editor window once it is visible (polling the top-level widgets: the run is
// modal, so the test regains control only through the event loop).
void WhenEditorShown(std::function<void(frmEdit *)> action)
{
    QTimer::singleShot(10, [action] {
        for (QWidget *w : QApplication::topLevelWidgets()) {
            if (auto *form = qobject_cast<frmEdit *>(w); form && form->isVisible()) {
                action(form);
                return;
            }
        }
        WhenEditorShown(action);
    });
}

server::WorkspacePtr SmallWorkspace()
{
    auto ws = server::Workspace::CreateInMemory({QStringLiteral("Entry test"), QStringLiteral("de-DE"), 100});
    StringTableSetPtr tables = ws->Tables();
    for (StringId id : {StringId(1), StringId(2), StringId(3)}) {
        StringEntryPtr blank = tables->Entry(id, ssEnglishDefault);
        tables->AddEntry(blank->CreateEdited(id, QStringLiteral("Text %1").arg(id), QString(), false, false, false,
                                             QString(), 0, blank->ParameterDefinitions(), false));
    }
    tables->Save(ssEnglishDefault, false);
    return ws;
}

bool RunThrough(const QString &which, ResourceWorkspacePtr &rfw, TableVersion version)
{
    if (which == QLatin1String("CGlobals"))
        return CGlobals().EditStringResources(rfw, version);
    return CStringTablesFactory::Create().EditStringResources(rfw, version);
}

} // namespace

class TestEntry : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { setEditorFormFactory({}); }

    void returnsTrueOnlyAfterASave_data()
    {
        QTest::addColumn<QString>("module");
        QTest::addColumn<bool>("save");
        QTest::newRow("CGlobals, saved") << QStringLiteral("CGlobals") << true;
        QTest::newRow("CGlobals, closed unsaved") << QStringLiteral("CGlobals") << false;
        QTest::newRow("CStringTables, saved") << QStringLiteral("CStringTables") << true;
        QTest::newRow("CStringTables, closed unsaved") << QStringLiteral("CStringTables") << false;
    }
    void returnsTrueOnlyAfterASave()
    {
        QFETCH(QString, module);
        QFETCH(bool, save);
        test::TestServices services;
        services.prompts->confirmAnswers.enqueue(true);   // "Close without saving?" when unsaved
        server::WorkspacePtr ws = SmallWorkspace();
        ResourceWorkspacePtr rfw = ws;
        WhenEditorShown([ws, save](frmEdit *form) {
            StringTableSetPtr tables = ws->Tables();
            StringEntryPtr e = tables->Entry(2, ssLocalEdited);
            tables->StoreEntry(e->CreateEdited(2, QStringLiteral("Text 2 (de)"), QString(), false, false, false,
                                               QString(), 0, e->ParameterDefinitions(), true));
            // The store bypassed the window's commands, so bring the menus up to date first.
            form->UpdateMenuState();
            if (save)
                form->findChild<QAction *>(QStringLiteral("mnuFileItem_2"))->trigger();
            form->close();
        });
        QCOMPARE(RunThrough(module, rfw, ssLocalEdited), save);
        QCOMPARE(ws->Tables()->HasText(2, ssLocalEdited), save);
        QVERIFY(services.reporter->errors.isEmpty());
        // Each class traces the run under its own name.
        const QStringList lines = services.trace->Lines();
        QCOMPARE(lines.first() + ' ' + lines.last(),
                 QStringLiteral("enter %1.EditStringResources leave %1.EditStringResources").arg(module));
    }

    void formThatCannotBeCreatedIsReportedOnce()
    {
        test::TestServices services;
        setEditorFormFactory([] { return std::unique_ptr<frmEdit>(); });
        ResourceWorkspacePtr rfw;
        QCOMPARE(CGlobals().EditStringResources(rfw, ssLocalEdited), false);
        QCOMPARE(services.reporter->errors.size(), 1);
        QCOMPARE(services.reporter->errors.first().number, int(errObjectNotSet));
        QCOMPARE(services.reporter->errors.first().text, QString());
        QCOMPARE(services.trace->Lines().last(), QStringLiteral("leave CGlobals.EditStringResources"));
    }

    void consecutiveRunsShareNothing()
    {
        test::TestServices services;
        server::WorkspacePtr ws = SmallWorkspace();
        ResourceWorkspacePtr rfw = ws;
        QPointer<frmEdit> first;
        WhenEditorShown([&first](frmEdit *form) {
            first = form;
            form->setFindText(QStringLiteral("Text 3"));
            form->close();
        });
        CGlobals().EditStringResources(rfw, ssEnglishDefault);
        QVERIFY(first.isNull());   // the form was unloaded after the run
        ResourceWorkspacePtr none;   // and a run without a workspace between them
        WhenEditorShown([](frmEdit *form) { form->close(); });
        QVERIFY(!CGlobals().EditStringResources(none, ssLocalEdited));

        QString findTextSeen = QStringLiteral("unset");
        WhenEditorShown([&findTextSeen](frmEdit *form) {
            findTextSeen = form->FindText();
            form->close();
        });
        CGlobals().EditStringResources(rfw, ssEnglishDefault);
        QCOMPARE(findTextSeen, QString());
    }
};

QTEST_MAIN(TestEntry)
#include "tst_entry.moc"
