// What changed in the English, as the user meets it: the translate dialog shows an out-of-date
// translation the difference and offers Keep Approval for a trivial change; the editor's Carry
// Over Trivial Changes restamps such translations, reports them, and each is undone on its own.

#include "DialogTestSupport.h"
#include "TestServices.h"

#include "dialogs/frmTranslate.h"
#include "editor/frmEdit.h"

#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QUndoStack>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

struct Change {
    QString before, after, german;
};

// English texts at revision 1 with approved German translations of them, then the English
// changed to its later text and saved at revision 2 (an unchanged one stays current).
server::WorkspacePtr Changed(const QList<Change> &changes)
{
    auto ws = server::Workspace::CreateInMemory({QStringLiteral("History test"), QStringLiteral("de-DE"), 100});
    const auto set = ws->Set();
    const auto record = [](const QString &text, qint16 revision, int status) {
        server::Record r;
        r.text = text;
        r.hasText = true;
        r.revision = revision;
        r.status = status;
        if (const qsizetype marker = text.indexOf(u'&'); marker >= 0) {
            r.properties = tpAllowShortcut;
            r.shortcutCharacter = text.at(marker + 1).toUpper();
            r.shortcutMode = 1;
        }
        return r;
    };
    for (int i = 0; i < changes.size(); ++i) {
        set->PutRecord(StringId(i + 1), ssEnglishDefault, record(changes[i].before, 1, 0));
        set->PutRecord(StringId(i + 1), ssLocalDefault, record(changes[i].german, 1, sfApproved));
    }
    set->Save(ssEnglishDefault, false);
    for (int i = 0; i < changes.size(); ++i)
        if (changes[i].after != changes[i].before)
            set->PutRecord(StringId(i + 1), ssEnglishDefault, record(changes[i].after, 2, 0));
    set->Save(ssEnglishDefault, false);
    return ws;
}

} // namespace

class TestEnglishChangesGui : public QObject {
    Q_OBJECT

    std::unique_ptr<TestServices> m_services;

private slots:
    void init() { m_services = std::make_unique<TestServices>(); }
    void cleanup() { m_services.reset(); }

    void dialogShowsTheDifference_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QStringList>("shown");   // empty: no panel at all
        QTest::addColumn<bool>("keep");
        QTest::newRow("word replaced") << "Could not open %1" << "Could not read %1"
                                       << QStringList{"<s", "open", "read", "words changed"} << false;
        QTest::newRow("ellipsis added") << "Open" << "Open..." << QStringList{"...", "punctuation"} << true;
        QTest::newRow("current") << "Close" << "Close" << QStringList{} << false;
    }
    void dialogShowsTheDifference()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QStringList, shown);
        QFETCH(bool, keep);
        const auto ws = Changed({{before, after, "Übersetzung"}});
        frmTranslate form;
        OnModal<frmTranslate>([&](frmTranslate *dialog) {
            const auto *panel = Find<QGroupBox>(dialog, "fraChange");
            QCOMPARE(panel->isVisible(), !shown.isEmpty());
            if (shown.isEmpty())
                return;
            QVERIFY(Find<QLabel>(dialog, "lblChangeRevisions")->text().contains("revision 1"));
            QVERIFY(Find<QLabel>(dialog, "lblChangeRevisions")->text().contains("revision 2"));
            const QString all = Find<QLabel>(dialog, "lblChange")->text() + Find<QLabel>(dialog, "lblChangeClass")->text();
            for (const QString &part : shown)
                QVERIFY2(all.contains(part), qPrintable(part + " not in " + all));
            QCOMPARE(Find<QPushButton>(dialog, "cmdKeepApproval")->isVisible(), keep);
        });
        QVERIFY(!form.Edit(nullptr, ws->Tables()->Entry(1, ssLocalDefault)));
    }

    // Keep Approval saves the translation carried over: its ending adjusted, still approved.
    void keepApproval()
    {
        const auto ws = Changed({{"&Open", "&Open...", "Ö&ffnen"}});
        frmTranslate form;
        OnModal<frmTranslate>([](frmTranslate *dialog) { Click(dialog, "cmdKeepApproval"); });
        const StringEntryPtr result = form.Edit(nullptr, ws->Tables()->Entry(1, ssLocalDefault));
        QVERIFY(result);
        QCOMPARE(result->Text(), QString("Ö&ffnen..."));
        QVERIFY(result->Status(sfApproved));
        ws->Tables()->StoreEntry(result);
        QCOMPARE(ws->Tables()->Revision(1, ssLocalDefault), qint16(2));
    }

    // Carry Over restamps the trivial changes, leaves the changed words, reports both, and each
    // carried string comes back on its own with Undo.
    void carryOverAndUndo()
    {
        const auto ws = Changed({{"Save changes.", "Save changes?", "Änderungen speichern."},
                                 {"Could not open %1", "Could not read %1", "%1 konnte nicht geöffnet werden"},
                                 {"&Cancel", "Cancel", "&Abbrechen"}});
        const StringTableSetPtr tables = ws->Tables();
        frmEdit form;
        form.Prepare(ws, ssLocalDefault);
        form.show();
        QVERIFY(QTest::qWaitForWindowActive(&form, 2000));
        auto *carryOver = form.findChild<QAction *>("mnuEditCarryOver");
        QVERIFY(carryOver);
        QVERIFY(form.findChild<QMenu *>("mnuEdit")->actions().contains(carryOver));
        carryOver->trigger();

        QCOMPARE(tables->Text(1, ssLocalDefault), QString("Änderungen speichern?"));
        QCOMPARE(tables->Text(3, ssLocalDefault), QString("Abbrechen"));
        QCOMPARE(tables->Revision(2, ssLocalDefault), qint16(1));
        for (const StringId id : {1, 3}) {
            QCOMPARE(tables->Revision(id, ssLocalDefault), qint16(2));
            QVERIFY(tables->HasStatus(id, ssLocalDefault, sfApproved));
        }
        const QStringList notices = m_services->prompts->Notices();
        QCOMPARE(notices.size(), 1);
        for (const char *part : {"Carried over 2", "1 (punctuation", "3 (shortcut", "1 with changed words"})
            QVERIFY2(notices.first().contains(part), qPrintable(notices.first()));

        QUndoStack *undo = form.UndoStack();
        QCOMPARE(undo->count(), 2);
        undo->undo();
        QCOMPARE(tables->Text(3, ssLocalDefault), QString("&Abbrechen"));
        QCOMPARE(tables->Revision(3, ssLocalDefault), qint16(1));
        QCOMPARE(tables->Revision(1, ssLocalDefault), qint16(2));
        undo->undo();
        QCOMPARE(tables->Text(1, ssLocalDefault), QString("Änderungen speichern."));
        QVERIFY(!tables->Modified());
        form.close();
    }
};

QTEST_MAIN(TestEnglishChangesGui)
#include "tst_englishchanges_gui.moc"
