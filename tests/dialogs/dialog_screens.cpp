// Saves pictures of the dialogs as they open, for looking at their layout:
//   kvedit_dialog_screens [output folder]
// Runs on any platform, offscreen included.

#include "dialogs/frmInsert.h"
#include "dialogs/frmParameters.h"
#include "dialogs/frmReport.h"
#include "dialogs/frmTranslate.h"

#include "DialogTestSupport.h"

#include <QDir>
#include <QTextStream>

using namespace kvedit;
using namespace kvedit::test;

template <typename D, typename Run>
void Save(const QString &file, Run run)
{
    D form;
    OnModal<D>([file](D *dialog) {
        QTest::qWait(100);   // past the focus timer
        QTextStream(stdout) << (dialog->grab().save(file) ? "saved " : "could not save ") << file << '\n';
    });
    run(form);
}

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QDir out(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(KVEDIT_SCREENS_DIR));
    out.mkpath(QStringLiteral("."));
    Tables tables;
    const QString description = QStringLiteral("Error shown when a document cannot be opened");
    const int properties = tpMultipleLines | tpAllowShortcut | tpAllowTab;
    tables.Put(1207, ssEnglishDefault, {"Could not open the file \"%1\".\r\nIt is %2 KB and was last saved by %3.",
                                        description, "O", properties, 1});
    tables.Put(1207, ssLocalEdited, {"Die Datei \"%1\" konnte nicht geöffnet werden.\r\nSie ist %2 KB groß und wurde "
                                     "zuletzt von %3 gespeichert.", description, "O", properties, 1, sfApproved});
    tables.SetParameters(1207, {"File name", "File size in kilobytes", "User name"});
    const StringEntryPtr english = tables.Entry(1207, ssEnglishDefault);
    const StringEntryPtr german = tables.Entry(1207, ssLocalEdited);

    Save<frmTranslate>(out.filePath("translate-edit.png"), [&](frmTranslate &f) { f.Edit(nullptr, english); });
    Save<frmTranslate>(out.filePath("translate-translate.png"), [&](frmTranslate &f) { f.Edit(nullptr, german); });
    // A translation with faults: the problem line under the box and the underlined characters.
    tables.Put(1208, ssEnglishDefault, {"Close all %1 windows?", "Question before closing", "", 0, 0});
    tables.Put(1208, ssLocalEdited, {"Alle  %2 Fenster schließen.", "Question before closing", "", 0, 0});
    Save<frmTranslate>(out.filePath("translate-problems.png"),
                       [&](frmTranslate &f) { f.Edit(nullptr, tables.Entry(1208, ssLocalEdited)); });
    Save<frmParameters>(out.filePath("parameters.png"), [&](frmParameters &f) { f.Edit(nullptr, english); });
    Save<frmInsert>(out.filePath("insert.png"), [&](frmInsert &f) { f.SelectSpecial(english); });
    const QString codes = "Größe:\t%1 KB\r\n" + QString(QChar(0x8A9E));
    Save<frmReport>(out.filePath("report.png"), [&](frmReport &f) { f.Report(codes); });
    return 0;
}
