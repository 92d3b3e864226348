// The editor on a large workspace, used the moment its window has painted: Find, the filter, the
// checks, an export and Save must give what they give once everything has settled, so that
// nothing the window leaves for after its first paint is ever seen half done.

#include "SyntheticWorkspace.h"

#include "TestServices.h"

#include "checks/TableChecker.h"
#include "dataview/UCKvDataView.h"
#include "editor/frmEdit.h"
#include "io/WorkspaceTransfer.h"
#include "listsource/CDVDataSource.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QCryptographicHash>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

using namespace kvedit;

namespace {

constexpr int kStrings = 32767;

// Every value of every record and every string's symbol, parameters and origin, hashed, to
// compare two files' contents.
QByteArray Contents(server::TableSet &set)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (int id = 1; id <= set.MaximumCount(); ++id) {
        const auto stringId = static_cast<StringId>(id);
        QString values = set.Symbol(stringId);
        for (const ParameterDefinition &p : set.Parameters(stringId))
            values += QStringLiteral(" %1=%2").arg(p.Id()).arg(p.Description());
        const server::ExchangeOrigin o = set.Origin(stringId);
        values += QStringList{o.original, o.unit, o.sourceMarkup, o.targetMarkup, o.targetState, o.stateQualifier}.join(u'/');
        hash.addData((values + u'|').toUtf8());
    }
    for (int source = ssLocalEdited; source <= ssEnglishDefault; ++source)
        for (int id = 1; id <= set.MaximumCount(); ++id)
            if (const std::optional<server::Record> r = set.RecordOf(static_cast<StringId>(id), static_cast<StringSource>(source)))
                hash.addData(QStringLiteral("%1 %2 %3 %4 %5 %6|").arg(source).arg(id).arg(r->text, r->description)
                                 .arg(r->revision).arg(r->status).toUtf8());
    return hash.result();
}

} // namespace

class TestOpenFirst : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_file;
    int m_copies = 0;

    // The editor on a fresh copy of the workspace: as soon as its window has painted, or once
    // it has settled with the whole table checked.
    std::unique_ptr<frmEdit> Open(server::WorkspacePtr *workspace, bool settled)
    {
        const QString copy = m_dir.filePath(QStringLiteral("copy%1.kvw").arg(++m_copies));
        if (!QFile::copy(m_file, copy))
            return nullptr;
        // Right after the paint, the texts of all but the first strings may still be on their way.
        *workspace = server::Workspace::Open(copy, settled ? server::TextLoading::AtOnce : server::TextLoading::FirstScreenFirst);
        auto form = std::make_unique<frmEdit>();
        form->Prepare(*workspace, ssLocalEdited);
        form->show();
        if (!QTest::qWaitForWindowExposed(form.get()))
            return nullptr;
        form->Form_Activate();
        form->DataView()->repaint();
        if (settled) {
            QTest::qWait(50);
            form->DataSource()->Checks()->Count();
        }
        return form;
    }

    // What one command gives on the editor.
    QString Run(const QString &command, frmEdit &form, server::Workspace &workspace, test::TestServices &services)
    {
        CDVDataSource *source = form.DataSource();
        if (command == QLatin1String("find")) {
            // A text of the last string, so the search passes every row before it.
            const auto last = static_cast<StringId>(source->StringList().Value(source->GetRecordCount()));
            services.prompts->inputAnswers.enqueue(workspace.Tables()->Text(last, ssLocalEdited).left(20));
            form.DataView()->setCurrentRecord(1);
            form.ProcessEditMenuFindText();
            return QString::number(source->RecordNumberToId(form.DataView()->CurrentRecord()));
        }
        if (command == QLatin1String("filter")) {
            form.findChild<QLineEdit *>(QStringLiteral("txtFilter"))->setText(QStringLiteral("ei"));
            QStringList ids;
            for (int row = 1; row <= source->GetRecordCount(); row += 97)
                ids << QString::number(source->StringList().Value(row));
            return QString::number(source->GetRecordCount()) + u':' + ids.join(u',');
        }
        if (command == QLatin1String("checks")) {
            // The first problem after the top, and the totals the status bar shows.
            form.DataView()->setCurrentRecord(1);
            form.ProcessEditMenuFindNextProblem();
            const checks::Totals totals = source->Checks()->Count();
            return QStringLiteral("%1 %2 %3 %4").arg(source->RecordNumberToId(form.DataView()->CurrentRecord())).arg(totals.strings).arg(totals.errors).arg(totals.warnings);
        }
        if (command == QLatin1String("values"))
            return QString::fromLatin1(Contents(*workspace.Set()).toHex());
        if (command == QLatin1String("export")) {
            const QString file = m_dir.filePath(QStringLiteral("export%1.xlf").arg(m_copies));
            io::ExportFile(workspace, file, {});
            QFile f(file);
            return f.open(QIODevice::ReadOnly) ? QString::fromLatin1(QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha1).toHex())
                                               : QString();
        }
        // save: one string edited in the editor and saved, then the file read back.
        const StringTableSetPtr tables = form.DataSource()->Tables();
        const auto id = static_cast<StringId>(source->StringList().Value(source->GetRecordCount() / 2));
        const StringEntryPtr entry = tables->Entry(id, ssLocalEdited);
        form.UpdateEntry(entry, entry->CreateEdited(id, QStringLiteral("Geändert"), entry->EntryText(), false, false,
                                                    entry->Property(tpAllowShortcut), entry->ShortcutCharacter(),
                                                    entry->ShortcutMode(), entry->ParameterDefinitions(), true));
        form.ProcessFileMenuSave(false);
        const server::WorkspacePtr reread = server::Workspace::Open(workspace.FilePath());
        return QString::fromLatin1(Contents(*reread->Set()).toHex()) + (tables->Modified() ? " unsaved" : "");
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_file = m_dir.filePath(QStringLiteral("large.kvw"));
        bench::CreateSyntheticWorkspace(m_file, kStrings, bench::TranslationState::InProgress);
    }

    void rightAfterThePaint_data()
    {
        QTest::addColumn<QString>("command");
        for (const char *command : {"values", "find", "filter", "checks", "export", "save"})
            QTest::newRow(command) << QString::fromLatin1(command);
    }
    void rightAfterThePaint()
    {
        QFETCH(QString, command);
        test::TestServices services;
        QStringList results;   // as soon as the window has painted, then settled
        for (const bool settled : {false, true}) {
            server::WorkspacePtr workspace;
            const std::unique_ptr<frmEdit> form = Open(&workspace, settled);
            QVERIFY(form);
            results << Run(command, *form, *workspace, services);
        }
        QVERIFY(!results.first().isEmpty());
        QCOMPARE(results.first(), results.last());
    }
};

QTEST_MAIN(TestOpenFirst)
#include "tst_openfirst.moc"
