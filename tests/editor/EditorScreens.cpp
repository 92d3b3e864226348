// Renders the editor on the demo workspace for a look by eye: one PNG per table version, written
// to the folder given (default: "screens" in the working folder). Not a test; run it by hand:
//
//   QT_QPA_PLATFORM=offscreen <build>/tests/editor/kvedit_editor_screens <folder>

#include "dataview/UCKvDataView.h"
#include "editor/frmEdit.h"
#include "server/Workspace.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace kvedit;

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QDir out(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screens"));
    out.mkpath(QStringLiteral("."));
    QTemporaryDir dir;
    const server::WorkspacePtr ws = server::CreateDemoWorkspace(dir.filePath(QStringLiteral("demo.kvw")));
    for (const TableVersion version : {ssLocalEdited, ssLocalDefault, ssEnglishDefault}) {
        frmEdit form;
        form.Prepare(ws, version);
        form.resize(1200, 800);
        form.show();
        form.Form_Activate();   // loads the list where no window becomes active
        form.DataView()->setCurrentRecord(5);
        const QString file = out.filePath(QStringLiteral("editor-version-%1.png").arg(int(version)));
        qInfo("%s %s", form.grab().save(file) ? "saved" : "could not save", qPrintable(file));
        if (version != ssLocalEdited)
            continue;
        // The demo's deliberate problems, alone in the list.
        form.FilterState()->setCurrentIndex(form.FilterState()->findText(QStringLiteral("Has problems")));
        const QString problems = out.filePath(QStringLiteral("editor-problems.png"));
        qInfo("%s %s", form.grab().save(problems) ? "saved" : "could not save", qPrintable(problems));
    }
    return 0;
}
