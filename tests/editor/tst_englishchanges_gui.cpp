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
    const auto record = [](const QString &text, qint16 revision, int status) {
        const qsizetype marker = text.indexOf(u'&');
        return server::Record{text, {}, marker >= 0 ? QString(text.at(marker + 1).toUpper()) : QString(), revision,
                              quint8(marker >= 0 ? tpAllowShortcut : 0), quint8(marker >= 0 ? 1 : 0), status, true};
    };
    for (int round = 1; round <= 2; ++round) {
        for (int i = 0; i < changes.size(); ++i) {
            const Change &c = changes[i];
            if (round == 1)
                ws->Set()->PutRecord(StringId(i + 1), ssLocalDefault, record(c.german, 1, sfApproved));
            if (round == 1 || c.after != c.before)
                ws->Set()->PutRecord(StringId(i + 1), ssEnglishDefault, record(round == 1 ? c.before : c.after, round, 0));
        }
        ws->Tables()->Save(ssEnglishDefault, false);
    }
    return ws;
}

} // namespace

class TestEnglishChangesGui : public QObject {
    Q_OBJECT

    std::unique_ptr<TestServices> m_services;

private slots:
    void init() { m_services = std::make_unique<TestServices>(); }
    void cleanup() { m_services.reset(); }

    // The panel, its difference and grade; Keep Approval, where offered, saves the translation
    // carried over (its ending adjusted) and approved; Cancel otherwise.
    void dialogShowsTheDifference_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QStringList>("shown");   // empty: no panel at all
        QTest::addColumn<QString>("kept");        // the text Keep Approval saves; empty: not offered
        QTest::newRow("word replaced") << "Could not open %1" << "Could not read %1"
                                       << QStringList{"<s", "open", "read", "words changed"} << "";
        QTest::newRow("ellipsis added") << "Open" << "Open..." << QStringList{"...", "punctuation"} << "Öffnen...";
        QTest::newRow("current") << "Close" << "Close" << QStringList{} << "";
    }
    void dialogShowsTheDifference()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QStringList, shown);
        QFETCH(QString, kept);
        const auto ws = Changed({{before, after, "Öffnen"}});
        frmTranslate form;
        OnModal<frmTranslate>([&](frmTranslate *dialog) {
            QCOMPARE(Find<QGroupBox>(dialog, "fraChange")->isVisible(), !shown.isEmpty());
            QCOMPARE(Find<QPushButton>(dialog, "cmdKeepApproval")->isVisible(), !kept.isEmpty());
            if (shown.isEmpty())
                return;
            shown << "revision 1" << "revision 2";
            const QString all = Find<QLabel>(dialog, "lblChange")->text() + Find<QLabel>(dialog, "lblChangeClass")->text()
                                + Find<QLabel>(dialog, "lblChangeRevisions")->text();
            for (const QString &part : shown)
                QVERIFY2(all.contains(part), qPrintable(part + " not in " + all));
            if (!kept.isEmpty())
                Click(dialog, "cmdKeepApproval");
        });
        const StringEntryPtr result = form.Edit(nullptr, ws->Tables()->Entry(1, ssLocalDefault));
        QCOMPARE(result ? result->Text() : QString(), kept);
        QVERIFY(!result || result->Status(sfApproved));
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
