// The editing run behind both public classes, end to end: the window shown modally, a string
// translated in its dialog and saved to the file or dropped, trace names, failure handling and
// independence of consecutive runs.

#include "dataview/UCKvDataView.h"
#include "editor/frmEdit.h"
#include "entry/CGlobals.h"
#include "entry/EditingRun.h"
#include "server/Workspace.h"

#include "DialogTestSupport.h"
#include "TestServices.h"

#include <QDialog>
#include <QPlainTextEdit>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

class TestEntry : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { setEditorFormFactory({}); }

    // A translation typed in the list's dialog and marked valid is in the file when it is opened
    // again, approved and up to date, only after a Save; the run returns whether one was made.
    void translateAndSave_data()
    {
        QTest::addColumn<QString>("module");
        QTest::addColumn<bool>("save");
        for (const char *module : {"CGlobals", "CStringTables"})
            for (bool save : {true, false})
                QTest::addRow("%s, %s", module, save ? "saved" : "closed unsaved") << QString(module) << save;
    }
    void translateAndSave()
    {
        QFETCH(QString, module);
        QFETCH(bool, save);
        TestServices services;
        services.prompts->confirmAnswers.enqueue(true);   // "Close without saving?" when unsaved
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("application.kvw"));
        bool modal = false;
        {
            ResourceWorkspacePtr rfw = server::Workspace::Create(path, {QStringLiteral("Entry test")});
            const StringTableSetPtr tables = rfw->TextServer()->StringTableSet();
            for (StringId id = 1; id <= 3; ++id) {
                const StringEntryPtr e = tables->Entry(id, ssEnglishDefault);
                tables->AddEntry(e->CreateEdited(id, QStringLiteral("Text %1").arg(id), {}, false, false, false, {}, 0,
                                                 e->ParameterDefinitions(), false));
            }
            tables->Save(ssEnglishDefault, false);
            OnModal<frmEdit>([&](frmEdit *form) {
                modal = form->windowModality() == Qt::ApplicationModal;
                OnModal<QDialog>([&](QDialog *dialog) {
                    QCOMPARE(dialog->windowTitle(), QStringLiteral("Translate string resource 2"));
                    Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("Ö&ffnen..."));
                    Click(dialog, "chkValidTranslation");
                    Click(dialog, "cmdSave");
                });
                QTableView *view = form->DataView()->TableView();
                const QPoint row2 = view->visualRect(view->model()->index(1, 1)).center();
                QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, row2);
                QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, row2);
                if (save)
                    form->FileItem(2)->trigger();   // Save as Local Edited, before the window is closed
            });
            if (module == QLatin1String("CGlobals"))
                QCOMPARE(CGlobals().EditStringResources(rfw, ssLocalEdited), save);
            else
                QCOMPARE(CStringTablesFactory::Create().EditStringResources(rfw, ssLocalEdited), save);
        }
        QVERIFY(modal);
        const server::WorkspacePtr reopened = server::Workspace::Open(path);
        const StringTableSetPtr tables = reopened->Tables();
        QCOMPARE(tables->Text(2, ssLocalEdited), save ? QStringLiteral("Ö&ffnen...") : QString());
        QCOMPARE(tables->HasStatus(2, ssLocalEdited, sfApproved), save);
        QVERIFY(!save || tables->Revision(2, ssLocalEdited) == tables->Revision(2, ssEnglishDefault));
        QVERIFY(!tables->HasText(3, ssLocalEdited));
        QVERIFY(services.reporter->errors.isEmpty());
        // Each class traces the run under its own name.
        const QStringList lines = services.trace->Lines();
        QCOMPARE(lines.first() + ' ' + lines.last(),
                 QStringLiteral("enter %1.EditStringResources leave %1.EditStringResources").arg(module));
    }

    // Each run has a window of its own, unloaded after it: no Find text carries over, not even
    // past a run whose window cannot be created (reported once, the run still left, False) and a
    // run without a workspace whose window was closed before anything activated it.
    void consecutiveRunsShareNothing()
    {
        TestServices services;
        ResourceWorkspacePtr rfw = server::Workspace::CreateInMemory({QStringLiteral("Entry test")});
        QPointer<frmEdit> first;
        OnModal<frmEdit>([&first](frmEdit *form) {   // closed once done, as every window here
            first = form;
            form->setFindText(QStringLiteral("Text 3"));
        });
        CGlobals().EditStringResources(rfw, ssEnglishDefault);
        QVERIFY(first.isNull());
        setEditorFormFactory([] { return std::unique_ptr<frmEdit>(); });
        QVERIFY(!CGlobals().EditStringResources(rfw, ssLocalEdited));
        QCOMPARE(services.reporter->errors.size(), 1);
        QCOMPARE(services.reporter->errors.first().number, int(errObjectNotSet));
        QCOMPARE(services.reporter->errors.first().text, QString());
        QCOMPARE(services.trace->Lines().last(), QStringLiteral("leave CGlobals.EditStringResources"));
        setEditorFormFactory([] {
            auto form = std::make_unique<frmEdit>();
            QTimer::singleShot(0, form.get(), &QWidget::close);
            return form;
        });
        ResourceWorkspacePtr none;
        QVERIFY(!CGlobals().EditStringResources(none, ssLocalEdited));
        setEditorFormFactory({});
        QString findTextSeen = QStringLiteral("unset");
        OnModal<frmEdit>([&findTextSeen](frmEdit *form) { findTextSeen = form->FindText(); });
        CGlobals().EditStringResources(rfw, ssEnglishDefault);
        QCOMPARE(findTextSeen, QString());
    }
};

QTEST_MAIN(TestEntry)
#include "tst_entry.moc"
