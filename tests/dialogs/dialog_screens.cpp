// Saves pictures of the dialogs as they open, for looking at their layout:
//   kvedit_dialog_screens [output folder]
// Runs on any platform, offscreen included.

#include "dialogs/frmInsert.h"
#include "dialogs/frmParameters.h"
#include "dialogs/frmReport.h"
#include "dialogs/frmTranslate.h"

#include "DialogTestSupport.h"

#include <QApplication>
#include <QDir>
#include <QTextStream>

using namespace kvedit;
using namespace kvedit::test;

namespace {

template <typename D>
void SaveOnOpen(const QString &file)
{
    OnModal<D>([file](D *dialog) {
        QTest::qWait(100);   // past the focus timer
        const bool saved = dialog->grab().save(file);
        QTextStream(stdout) << (saved ? "saved " : "could not save ") << file << '\n';
        dialog->close();
    });
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(KVEDIT_SCREENS_DIR);
    QDir().mkpath(folder);
    const QDir out(folder);

    Tables tables;
    const StringId id = 1207;
    tables.Put(id, ssEnglishDefault,
               TextSpec{QStringLiteral("Could not open the file \"%1\".\r\nIt is %2 KB and was last saved by %3."),
                        QStringLiteral("Error shown when a document cannot be opened"),
                        quint8(tpMultipleLines | tpAllowShortcut), QStringLiteral("O"), 1});
    tables.Put(id, ssLocalDefault,
               TextSpec{QStringLiteral("Die Datei \"%1\" konnte nicht geöffnet werden."), {}, quint8(tpMultipleLines)});
    tables.Put(id, ssLocalEdited,
               TextSpec{QStringLiteral("Die Datei \"%1\" konnte nicht geöffnet werden.\r\nSie ist %2 KB groß und wurde "
                                       "zuletzt von %3 gespeichert."),
                        QStringLiteral("Error shown when a document cannot be opened"),
                        quint8(tpMultipleLines | tpAllowShortcut), QStringLiteral("O"), 1, sfApproved});
    tables.SetParameters(id, {QStringLiteral("File name"), QStringLiteral("File size in kilobytes"),
                              QStringLiteral("User name")});

    {
        frmTranslate form;
        SaveOnOpen<frmTranslate>(out.filePath(QStringLiteral("translate-edit.png")));
        form.Edit(nullptr, tables.Entry(id, ssEnglishDefault));
    }
    {
        frmTranslate form;
        SaveOnOpen<frmTranslate>(out.filePath(QStringLiteral("translate-translate.png")));
        form.Edit(nullptr, tables.Entry(id, ssLocalEdited));
    }
    {
        frmParameters form;
        SaveOnOpen<frmParameters>(out.filePath(QStringLiteral("parameters.png")));
        form.Edit(nullptr, tables.Entry(id, ssEnglishDefault));
    }
    {
        frmInsert form;
        SaveOnOpen<frmInsert>(out.filePath(QStringLiteral("insert.png")));
        tables.Put(id + 1, ssEnglishDefault, TextSpec{QStringLiteral("x"), {}, quint8(tpAllowTab | tpMultipleLines)});
        tables.SetParameters(id + 1, {QStringLiteral("File name"), QStringLiteral("Size")});
        form.SelectSpecial(tables.Entry(id + 1, ssEnglishDefault));
    }
    {
        frmReport form;
        SaveOnOpen<frmReport>(out.filePath(QStringLiteral("report.png")));
        form.Report(QStringLiteral("Größe:\t%1 KB\r\n") + QChar(0x8A9E));
    }
    return 0;
}
