// The editor window itself: menus and toolbar per table version, enabling, button-key dispatch,
// placement, caption and status bar, the modal run and closing.

#include "EditorTestSupport.h"

#include "dataview/UCKvDataView.h"
#include "editor/CImageList.h"
#include "editor/frmEdit.h"

#include "TestServices.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

QStringList Captions(const QList<QAction *> &items)
{
    QStringList out;
    for (const QAction *item : items)
        out << item->text();
    return out;
}

QString VisibleMask(frmEdit &form, int count, QAction *(frmEdit::*item)(int) const)
{
    QString mask;
    for (int i = 0; i < count; ++i)
        mask += (form.*item)(i)->isVisible() ? u'1' : u'0';
    return mask;
}

QList<QAction *> Items(frmEdit &form, int count, QAction *(frmEdit::*item)(int) const)
{
    QList<QAction *> out;
    for (int i = 0; i < count; ++i)
        out << (form.*item)(i);
    return out;
}

server::WorkspacePtr ThreeStrings()
{
    return WorkspaceWithStrings({QStringLiteral("One"), QStringLiteral("Two"), QStringLiteral("Three")});
}

QString ScanKindsOf(const ScriptedPrompts &prompts)
{
    QStringList kinds;
    for (const PromptCall &call : prompts.calls) {
        switch (call.kind) {
        case PromptCall::Confirm: kinds << QStringLiteral("confirm:") + call.text; break;
        case PromptCall::Notify: kinds << QStringLiteral("notify:") + call.text; break;
        case PromptCall::Input: kinds << QStringLiteral("input:") + call.title; break;
        case PromptCall::Beep: kinds << QStringLiteral("beep"); break;
        }
    }
    return kinds.join(u';');
}

} // namespace

class TestFrmEditWindow : public QObject {
    Q_OBJECT

private slots:
    void menusPerTableVersion_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QStringList>("fileCaptions");
        QTest::addColumn<QString>("fileVisible");
        QTest::addColumn<QString>("firstEditCaption");
        QTest::addColumn<QString>("editVisible");

        const QString v3Edit = QStringLiteral("1111110000011111");
        const QString otherEdit = QStringLiteral("1001111111110011");
        QTest::newRow("local edited") << 0
                                      << QStringList{"&Reset", "-", "&Save as Local Edited", "&Save as Local Default", "-",
                                                     "&Close"}
                                      << QStringLiteral("111111") << QStringLiteral("&Delete") << otherEdit;
        QTest::newRow("local default") << 1 << QStringList{"&Reset", "-", "&Save", "&Save as", "-", "&Close"}
                                       << QStringLiteral("111011") << QStringLiteral("&Delete") << otherEdit;
        QTest::newRow("english edited") << 2
                                        << QStringList{"&Reset", "-", "&Save as English Edited",
                                                       "&Save as English Default", "-", "&Close"}
                                        << QStringLiteral("111111") << QStringLiteral("&Delete") << otherEdit;
        QTest::newRow("english default") << 3 << QStringList{"&Reset", "-", "&Save", "&Save as", "-", "&Close"}
                                         << QStringLiteral("111011") << QStringLiteral("Cu&t") << v3Edit;
    }
    void menusPerTableVersion()
    {
        QFETCH(int, version);
        QFETCH(QStringList, fileCaptions);
        QFETCH(QString, fileVisible);
        QFETCH(QString, firstEditCaption);
        QFETCH(QString, editVisible);
        TestServices services;
        server::WorkspacePtr ws = ThreeStrings();
        frmEdit form;
        form.Prepare(ws, static_cast<TableVersion>(version));

        QCOMPARE(form.findChild<QMenu *>(QStringLiteral("mnuFile"))->title(), QStringLiteral("&File"));
        QCOMPARE(form.findChild<QMenu *>(QStringLiteral("mnuEdit"))->title(), QStringLiteral("&Edit"));
        QCOMPARE(Captions(Items(form, 6, &frmEdit::FileItem)), fileCaptions);
        QCOMPARE(VisibleMask(form, 6, &frmEdit::FileItem), fileVisible);
        QCOMPARE(Captions(Items(form, 16, &frmEdit::EditItem)),
                 (QStringList{firstEditCaption, "&Copy", "&Paste", "-", "&Find...", "Find &Next", "-",
                              "Find &Missing Translation", "Find &Out-of-Date Translation",
                              "Find &Unapproved Translation", "-", "&Go to...", "-", "&New String...", "-",
                              "&Properties..."}));
        QCOMPARE(VisibleMask(form, 16, &frmEdit::EditItem), editVisible);

        // Items are found by name, and the separators are separators.
        for (int i : {1, 4})
            QVERIFY(form.findChild<QAction *>(QStringLiteral("mnuFileItem_%1").arg(i))->isSeparator());
        for (int i : {3, 6, 10, 12, 14})
            QVERIFY(form.findChild<QAction *>(QStringLiteral("mnuEditItem_%1").arg(i))->isSeparator());
        QCOMPARE(form.findChild<QAction *>(QStringLiteral("mnuEditItem_15")), form.EditItem(15));
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void editShortcuts()
    {
        TestServices services;
        frmEdit form;
        form.Prepare(ThreeStrings(), ssEnglishDefault);
        const QList<QKeySequence> expected = {
            QKeySequence(QStringLiteral("Ctrl+X")), QKeySequence(QStringLiteral("Ctrl+C")),
            QKeySequence(QStringLiteral("Ctrl+V")), QKeySequence(),
            QKeySequence(QStringLiteral("Ctrl+F")), QKeySequence(QStringLiteral("F3")),
            QKeySequence(),                         QKeySequence(QStringLiteral("Ctrl+M")),
            QKeySequence(QStringLiteral("Ctrl+O")), QKeySequence(QStringLiteral("Ctrl+U")),
            QKeySequence(),                         QKeySequence(QStringLiteral("Ctrl+G")),
            QKeySequence(),                         QKeySequence(QStringLiteral("Ctrl+N")),
            QKeySequence(),                         QKeySequence(QStringLiteral("Ctrl+E")),
        };
        for (int i = 0; i < 16; ++i)
            QCOMPARE(form.EditItem(i)->shortcut(), expected.at(i));
    }

    void toolbarPerTableVersion_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QStringList>("layout");
        QTest::addColumn<QList<int>>("pictures");   // per button of the layout, in order
        QTest::addColumn<QStringList>("toolTips");

        QTest::newRow("local edited")
            << 0
            << QStringList{"mnuFileItem:2", "|", "mnuEditItem:0", "[mnuEditItem:1]", "[mnuEditItem:2]", "|",
                           "mnuEditItem:4", "|", "mnuEditItem:7", "|", "mnuEditItem:11", "[mnuEditItem:13]", "|",
                           "mnuEditItem:15"}
            << QList<int>{10, 11, 13, 14, 15, 17, 16, 18, 19}
            << QStringList{"Save as Local Edited", "Delete", "Copy", "Paste", "Find...", "Find Missing Translation",
                           "Go to...", "New String...", "Properties..."};
        QTest::newRow("english default")
            << 3
            << QStringList{"mnuFileItem:2", "|", "mnuEditItem:0", "mnuEditItem:1", "mnuEditItem:2", "|",
                           "mnuEditItem:4", "[mnuEditItem:7]", "mnuEditItem:11", "|", "mnuEditItem:13", "|",
                           "mnuEditItem:15"}
            << QList<int>{10, 12, 13, 14, 15, 17, 16, 18, 19}
            << QStringList{"Save", "Cut", "Copy", "Paste", "Find...", "Find Missing Translation", "Go to...",
                           "New String...", "Properties..."};
    }
    void toolbarPerTableVersion()
    {
        QFETCH(int, version);
        QFETCH(QStringList, layout);
        QFETCH(QList<int>, pictures);
        QFETCH(QStringList, toolTips);
        TestServices services;
        auto editor = OpenEditor(ThreeStrings(), static_cast<TableVersion>(version));
        frmEdit &form = *editor;

        QToolBar *toolbar = form.findChild<QToolBar *>(QStringLiteral("tbrEdit"));
        QVERIFY(toolbar);
        QCOMPARE(toolbar->iconSize(), QSize(24, 23));
        QVERIFY(!toolbar->isMovable());
        QCOMPARE(ToolbarLayout(form), layout);

        CImageList *images = form.findChild<CImageList *>(QStringLiteral("imlEdit"));
        QVERIFY(images);
        QList<int> pictureIds;
        QStringList tips;
        for (QAction *button : toolbar->actions()) {
            if (button->isSeparator())
                continue;
            const QString key = frmEdit::MenuKey(button);
            QCOMPARE(button->property("menuKey").toString(), key);
            pictureIds << images->PictureId(key);
            tips << button->toolTip();
            // The button shows the very picture that resource holds.
            const QImage expected(QStringLiteral(":/kvedit/toolbar/%1.png").arg(images->PictureId(key)));
            QCOMPARE(expected.size(), QSize(24, 23));
            QCOMPARE(images->Picture(key).toImage().convertToFormat(QImage::Format_ARGB32),
                     expected.convertToFormat(QImage::Format_ARGB32));
            QVERIFY(!button->icon().isNull());
        }
        QCOMPARE(pictureIds, pictures);
        QCOMPARE(tips, toolTips);
        QCOMPARE(images->Count(), pictures.size());
    }

    void menuKeys()
    {
        TestServices services;
        frmEdit form;
        QCOMPARE(frmEdit::MenuKey(nullptr), QString());
        QCOMPARE(frmEdit::MenuKey(form.EditItem(4)), QStringLiteral("mnuEditItem:4"));
        QCOMPARE(frmEdit::MenuKey(form.FileItem(0)), QStringLiteral("mnuFileItem:0"));
        QAction loose;
        loose.setObjectName(QStringLiteral("mnuHelp"));
        QCOMPARE(frmEdit::MenuKey(&loose), QStringLiteral("mnuHelp"));
    }

    void missingPictureLeavesButtonOut()
    {
        TestServices services;
        frmEdit form;
        form.Prepare(ThreeStrings(), ssEnglishDefault);
        const int buttons = form.ToolBar()->actions().size();

        QCOMPARE(form.AddListImage(QStringLiteral("mnuEditItem:5"), 99), false);
        QCOMPARE(services.reporter->errors.size(), 1);
        QCOMPARE(services.reporter->errors.first().number, int(errFileNotFound));
        QVERIFY(!form.ImageList()->Contains(QStringLiteral("mnuEditItem:5")));

        form.MakeToolbarButton(form.EditItem(5), 99, false);
        QCOMPARE(form.ToolBar()->actions().size(), buttons);
        // A key already held is not loaded again.
        QCOMPARE(form.AddListImage(QStringLiteral("mnuEditItem:4"), 99), true);
        QCOMPARE(services.reporter->errors.size(), 2);
    }

    void enablingFollowsEditsAndFindText()
    {
        TestServices services;
        server::WorkspacePtr ws = ThreeStrings();
        PutTranslation(ws->Tables(), 1, ssLocalEdited, QStringLiteral("Eins"), true);
        ws->Tables()->Save(ssLocalEdited, false);
        auto form = OpenEditor(ws, ssLocalEdited);
        QToolBar *toolbar = form->ToolBar();

        const auto enabledState = [&] {
            return QString::fromLatin1("%1%2%3 %4 %5")
                .arg(form->FileItem(0)->isEnabled())
                .arg(form->FileItem(2)->isEnabled())
                .arg(form->FileItem(3)->isEnabled())
                .arg(form->EditItem(5)->isEnabled())
                .arg(toolbar->widgetForAction(form->FileItem(2))->isEnabled());
        };
        QCOMPARE(enabledState(), QStringLiteral("000 0 0"));

        // Delete the translation of row 1: the tables now hold an edit.
        QCOMPARE(form->DataView()->CurrentRecord(), 1);
        form->EditItem(0)->trigger();
        QVERIFY(ws->Tables()->Modified());
        QCOMPARE(enabledState(), QStringLiteral("111 0 1"));

        services.prompts->inputAnswers << QStringLiteral("Two");
        form->EditItem(4)->trigger();
        QCOMPARE(enabledState(), QStringLiteral("111 1 1"));

        form->FileItem(2)->trigger();   // Save
        QCOMPARE(enabledState(), QStringLiteral("000 1 0"));

        services.prompts->inputAnswers << QStringLiteral("   ");
        form->EditItem(4)->trigger();
        QCOMPARE(form->FindText(), QString());
        QCOMPARE(enabledState(), QStringLiteral("000 0 0"));
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void buttonKeyDispatch_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("prompts");

        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("blanks") << QStringLiteral("   ") << QString();
        QTest::newRow("no colon") << QStringLiteral("mnuEditItem4") << QString();
        QTest::newRow("name alone") << QStringLiteral("mnuEditItem") << QString();
        QTest::newRow("non-numeric index") << QStringLiteral("mnuEditItem:four") << QString();
        QTest::newRow("empty index") << QStringLiteral("mnuEditItem:") << QString();
        QTest::newRow("unknown menu") << QStringLiteral("mnuToolsItem:4") << QString();
        QTest::newRow("name differs in case") << QStringLiteral("MNUEDITITEM:4") << QString();
        QTest::newRow("index with exponent") << QStringLiteral("mnuEditItem:4e0") << QString();
        QTest::newRow("edit find") << QStringLiteral("mnuEditItem:4") << QStringLiteral("input:Find");
        QTest::newRow("decimal index") << QStringLiteral("mnuEditItem:4.0") << QStringLiteral("input:Find");
        QTest::newRow("surrounding blanks") << QStringLiteral("  mnuEditItem:11 ") << QStringLiteral("input:Go to");
        QTest::newRow("file separator")
            << QStringLiteral("mnuFileItem:1") << QStringLiteral("notify:File menu item '- not implemented");
    }
    void buttonKeyDispatch()
    {
        QFETCH(QString, key);
        QFETCH(QString, prompts);
        TestServices services;
        auto form = OpenEditor(ThreeStrings(), ssEnglishDefault);
        form->tbrEdit_ButtonClick(key);
        QCOMPARE(ScanKindsOf(*services.prompts), prompts);
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void toolbarClickRunsTheCommand()
    {
        TestServices services;
        auto form = OpenEditor(ThreeStrings(), ssEnglishDefault);
        QWidget *goTo = form->ToolBar()->widgetForAction(form->EditItem(11));
        QVERIFY(goTo);
        QTest::mouseClick(goTo, Qt::LeftButton);
        QCOMPARE(ScanKindsOf(*services.prompts), QStringLiteral("input:Go to"));
        const QStringList trace = services.trace->Lines();
        QVERIFY(trace.contains(QStringLiteral("enter frmEdit.tbrEdit_ButtonClick")));
        QVERIFY(trace.contains(QStringLiteral("enter frmEdit.mnuEditItem_Click")));
        QVERIFY(trace.contains(QStringLiteral("enter frmEdit.ProcessEditMenuGoTo")));
    }

    void notImplementedMessages_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("message");
        for (int i : {1, 4})
            QTest::addRow("file %d", i) << QStringLiteral("mnuFileItem:%1").arg(i)
                                        << QStringLiteral("File menu item '- not implemented");
        for (int i : {3, 6, 10, 12, 14})
            QTest::addRow("edit %d", i) << QStringLiteral("mnuEditItem:%1").arg(i)
                                        << QStringLiteral("Edit menu item '- not implemented");
        QTest::newRow("file without item") << QStringLiteral("mnuFileItem:9")
                                           << QStringLiteral("File menu item 9 not implemented");
        QTest::newRow("edit without item") << QStringLiteral("mnuEditItem:-1")
                                           << QStringLiteral("Edit menu item -1 not implemented");
    }
    void notImplementedMessages()
    {
        QFETCH(QString, key);
        QFETCH(QString, message);
        TestServices services;
        auto form = OpenEditor(ThreeStrings(), ssLocalEdited);
        form->tbrEdit_ButtonClick(key);
        QCOMPARE(services.prompts->Notices(), QStringList{message});
    }

    void placement_data()
    {
        QTest::addColumn<bool>("withWorkspace");
        QTest::addColumn<bool>("withHost");
        QTest::addColumn<QPoint>("topLeft");
        QTest::newRow("no workspace: centred") << false << false << QPoint(160, 100);
        QTest::newRow("workspace without host window") << true << false << QPoint(160, 100);
        QTest::newRow("cascaded over the host") << true << true << QPoint(320, 220);
    }
    void placement()
    {
        QFETCH(bool, withWorkspace);
        QFETCH(bool, withHost);
        QFETCH(QPoint, topLeft);
        TestServices services;   // screen 1600 x 1000, offset 20
        server::WorkspacePtr ws;
        if (withWorkspace) {
            ws = ThreeStrings();
            if (withHost)
                ws->setHostWindowPosition(QPoint(300, 200));
        }
        frmEdit form;
        form.Prepare(ws, ssLocalEdited);
        QCOMPARE(form.pos(), topLeft);
        QCOMPARE(form.size(), QSize(1280, 800));
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void minimumSize()
    {
        TestServices services;
        auto form = OpenEditor(ThreeStrings(), ssLocalEdited);
        form->resize(200, 50);
        const int minHeight = 3 * form->ToolBar()->sizeHint().height() + 2 * form->statusBar()->sizeHint().height()
                              + form->menuBar()->sizeHint().height();
        QCOMPARE(form->width(), 800);   // half the screen width
        QCOMPARE(form->height(), minHeight);
        // The list fills what the bars leave.
        QCOMPARE(form->centralWidget(), form->DataView());
        QVERIFY(form->DataView()->geometry().top() >= form->ToolBar()->geometry().bottom());
    }

    void captionStatusBarAndFirstActivation()
    {
        TestServices services;
        server::WorkspacePtr ws = ThreeStrings();
        frmEdit form;
        form.Prepare(ws, ssEnglishDefault);
        QCOMPARE(form.windowTitle(), QStringLiteral("Manage String Resources: ") + form.DataSource()->Title());
        QVERIFY(form.DataSource()->Title().contains(QStringLiteral("Editor test")));
        QVERIFY(!form.DataView()->Activated());

        form.show();
        QVERIFY(QTest::qWaitForWindowActive(&form));
        QVERIFY(form.DataView()->Activated());
        QCOMPARE(form.findChild<QStatusBar *>(QStringLiteral("sbrEdit")), form.statusBar());
        QCOMPARE(form.StatusText(), QStringLiteral("Id: 1 (Position 1 of 3)"));
        form.DataView()->setCurrentRecord(3);
        QCOMPARE(form.StatusText(), QStringLiteral("Id: 3 (Position 3 of 3)"));
    }

    void editRunsModallyUntilClosed_data()
    {
        QTest::addColumn<bool>("save");
        QTest::newRow("saved") << true;
        QTest::newRow("closed without edits") << false;
    }
    void editRunsModallyUntilClosed()
    {
        QFETCH(bool, save);
        TestServices services;
        server::WorkspacePtr ws = ThreeStrings();
        frmEdit form;
        bool sawModal = false;
        QTimer::singleShot(0, &form, [&] {
            sawModal = form.isVisible() && form.windowModality() == Qt::ApplicationModal;
            if (save) {
                // An edit made behind the window's back shows once the menus are brought up to date.
                PutTranslation(ws->Tables(), 2, ssLocalEdited, QStringLiteral("Zwei"), false);
                form.UpdateMenuState();
                form.FileItem(2)->trigger();
            }
            form.FileItem(5)->trigger();   // Close
        });
        QCOMPARE(form.Edit(ws, ssLocalEdited), save);
        QVERIFY(sawModal);
        QVERIFY(!form.isVisible());
        QCOMPARE(form.Saved(), save);
        QVERIFY(services.prompts->calls.isEmpty());
        QVERIFY(services.reporter->errors.isEmpty());
    }

    void closeBoxAsksOnce()
    {
        TestServices services;
        server::WorkspacePtr ws = ThreeStrings();
        auto form = OpenEditor(ws, ssLocalEdited);
        PutTranslation(ws->Tables(), 2, ssLocalEdited, QStringLiteral("Zwei"), false);
        const QString question = QStringLiteral("You have not saved your changes yet. Close without saving?");

        services.prompts->confirmAnswers << false;
        QVERIFY(!form->close());
        QVERIFY(form->isVisible());
        QVERIFY(ws->Tables()->Modified());

        services.prompts->confirmAnswers << true;
        QVERIFY(form->close());
        QVERIFY(!form->isVisible());
        QVERIFY(!ws->Tables()->Modified());
        QVERIFY(!ws->Tables()->HasText(2, ssLocalEdited));

        // Agreed once: closing again passes without a question.
        form->show();
        PutTranslation(ws->Tables(), 3, ssLocalEdited, QStringLiteral("Drei"), false);
        QVERIFY(form->close());
        QCOMPARE(services.prompts->calls.size(), 2);
        for (const PromptCall &call : services.prompts->calls) {
            QCOMPARE(call.kind, PromptCall::Confirm);
            QCOMPARE(call.text, question);
        }
    }

    void proceduresReportUnderTheirNames()
    {
        TestServices services;
        frmEdit form;
        form.Prepare(ThreeStrings(), ssLocalEdited);
        const QStringList trace = services.trace->Lines();
        for (const char *procedure : {"Form_Load", "Prepare", "SetupMenus", "SetupFileMenu", "SetupEditMenu",
                                      "MakeToolbarButton", "AddListImage", "UpdateMenuState", "SetItemEnabled",
                                      "mw_DVDS_UpdateTitle"})
            QVERIFY2(trace.contains(QStringLiteral("enter frmEdit.%1").arg(QLatin1String(procedure))), procedure);
        QCOMPARE(trace.count(QStringLiteral("enter frmEdit.Prepare")), trace.count(QStringLiteral("leave frmEdit.Prepare")));
    }
};

QTEST_MAIN(TestFrmEditWindow)
#include "tst_frmedit_window.moc"
