// The editor on whole workspaces, as a translator uses it: translate a string in the list, save,
// close, and find the work in the workspace file; change an English text and find its
// translations reported as out of date.

#include "EditorTestSupport.h"

#include "dataview/UCKvDataView.h"
#include "editor/frmEdit.h"

#include "TestServices.h"

#include <QAbstractItemModel>
#include <QAction>
#include <QCheckBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

const QStringList kEnglish = {QStringLiteral("&File"), QStringLiteral("&Open..."), QStringLiteral("&Save"),
                              QStringLiteral("&Print..."), QStringLiteral("E&xit")};

void DoubleClickRow(frmEdit &form, int row)
{
    QTableView *view = form.DataView()->TableView();
    const QPoint centre = view->visualRect(view->model()->index(row - 1, 1)).center();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, centre);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, centre);
}

QPushButton *Button(QWidget *dialog, const char *name)
{
    return dialog->findChild<QPushButton *>(QString::fromLatin1(name));
}

} // namespace

class TestFrmEditWorkspace : public QObject {
    Q_OBJECT

private slots:
    void translationIsStoredApprovedAndUpToDate()
    {
        TestServices services;
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString path = dir.filePath(QStringLiteral("application.kvw"));
        {
            server::WorkspacePtr ws = server::Workspace::Create(path, {QStringLiteral("Application"),
                                                                      QStringLiteral("de-DE"), 100});
            for (int i = 0; i < kEnglish.size(); ++i)
                PutSource(ws->Tables(), static_cast<StringId>(i + 1), kEnglish.at(i), true);
            PutBlanks(ws, ssLocalEdited, {1, 2, 3, 4, 5});
            ws->Tables()->Save(ssLocalEdited, false);

            frmEdit form;
            QString dialogTitle;
            bool translated = false;
            bool saveEnabled = false;
            QTimer::singleShot(0, &form, [&] {
                // However this goes, the window is hidden at the end, so Edit returns.
                struct HideAtEnd {
                    frmEdit &form;
                    ~HideAtEnd() { form.hide(); }
                } hideAtEnd{form};
                if (!QTest::qWaitForWindowActive(&form))
                    return;
                ModalDriver driver([&](QWidget *dialog) {
                    dialogTitle = dialog->windowTitle();
                    dialog->findChild<QPlainTextEdit *>(QStringLiteral("rtfTranslate"))
                        ->setPlainText(QStringLiteral("Ö&ffnen..."));
                    QCheckBox *valid = dialog->findChild<QCheckBox *>(QStringLiteral("chkValidTranslation"));
                    QVERIFY(!valid->isChecked());
                    valid->click();
                    Button(dialog, "cmdSave")->click();
                });
                DoubleClickRow(form, 2);
                translated = driver.Ran();
                saveEnabled = form.FileItem(2)->isEnabled();
                form.FileItem(2)->trigger();   // Save as Local Edited
                form.FileItem(5)->trigger();   // Close
            });
            QVERIFY(form.Edit(ws, ssLocalEdited));
            QVERIFY(translated);
            QVERIFY(saveEnabled);
            QCOMPARE(dialogTitle, QStringLiteral("Translate string resource 2"));
            QVERIFY(!form.isVisible());
        }

        server::WorkspacePtr reopened = server::Workspace::Open(path);
        const StringTableSetPtr tables = reopened->Tables();
        QVERIFY(!tables->Modified());
        QCOMPARE(tables->Text(2, ssLocalEdited), QStringLiteral("Ö&ffnen..."));
        QVERIFY(tables->HasStatus(2, ssLocalEdited, sfApproved));
        QCOMPARE(tables->Revision(2, ssLocalEdited), tables->Revision(2, ssEnglishDefault));
        QCOMPARE(tables->Text(2, ssEnglishDefault), QStringLiteral("&Open..."));

        // The editor on the reopened file: the translated row is no longer missing, and Find
        // matches it without its shortcut marker.
        auto form = OpenEditor(reopened, ssLocalEdited);
        form->EditItem(7)->trigger();
        QCOMPARE(form->DataView()->CurrentRecord(), 3);
        services.prompts->inputAnswers << QStringLiteral("öffnen");
        form->EditItem(4)->trigger();
        QCOMPARE(form->DataView()->CurrentRecord(), 2);
        QVERIFY(services.prompts->Notices().isEmpty());
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void changedEnglishTextMakesItsTranslationOutOfDate()
    {
        TestServices services;
        server::WorkspacePtr ws = WorkspaceWithStrings(kEnglish);
        const QStringList german = {QStringLiteral("&Datei"), QStringLiteral("Ö&ffnen..."),
                                    QStringLiteral("&Speichern"), QStringLiteral("&Drucken..."),
                                    QStringLiteral("&Beenden")};
        for (int i = 0; i < german.size(); ++i)
            PutTranslation(ws->Tables(), static_cast<StringId>(i + 1), ssLocalEdited, german.at(i), true);
        ws->Tables()->Save(ssLocalEdited, false);

        {
            auto english = OpenEditor(ws, ssEnglishDefault);
            english->DataView()->setCurrentRecord(4);
            QString dialogTitle;
            ModalDriver driver([&](QWidget *dialog) {
                dialogTitle = dialog->windowTitle();
                dialog->findChild<QPlainTextEdit *>(QStringLiteral("rtfTranslate"))
                    ->setPlainText(QStringLiteral("&Print Preview..."));
                Button(dialog, "cmdSave")->click();
            });
            english->EditItem(15)->trigger();
            QVERIFY(driver.Ran());
            QCOMPARE(dialogTitle, QStringLiteral("Edit string resource 4"));
            english->FileItem(2)->trigger();
            QVERIFY(english->Saved());
            english->FileItem(5)->trigger();
        }

        auto local = OpenEditor(ws, ssLocalEdited);
        local->EditItem(8)->trigger();   // Find Out-of-Date Translation
        QCOMPARE(local->DataView()->CurrentRecord(), 4);
        QVERIFY(services.prompts->Notices().isEmpty());
        local->EditItem(8)->trigger();   // the only one: back on itself
        QCOMPARE(local->DataView()->CurrentRecord(), 4);
        QCOMPARE(services.prompts->Notices(), QStringList{"Done finding out of date translations"});
        // Still present and approved, so not missing; out of date, so unapproved.
        local->DataView()->setCurrentRecord(1);
        local->EditItem(7)->trigger();
        QCOMPARE(local->DataView()->CurrentRecord(), 1);
        local->EditItem(9)->trigger();
        QCOMPARE(local->DataView()->CurrentRecord(), 4);
        QVERIFY(services.reporter->errors.isEmpty());
    }
};

QTEST_MAIN(TestFrmEditWorkspace)
#include "tst_frmedit_workspace.moc"
