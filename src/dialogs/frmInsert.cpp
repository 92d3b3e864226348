#include "dialogs/frmInsert.h"

#include "common/basCheckJapanese.h"
#include "dialogs/DialogSupport.h"
#include "services/Services.h"

#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>

namespace kvedit {

using namespace dialogs;

namespace {

// The special characters by code; every code without a display text is not offered.
constexpr int kHighestSpecialCode = 169;

QString SpecialDisplayText(int code)
{
    switch (code) {
    case 9:
        return QStringLiteral("<TAB>");
    case 169:
        return QString(QChar(0x00A9));
    default:
        return QString();
    }
}

QString SpecialDescription(int code)
{
    switch (code) {
    case 9:
        return QStringLiteral("Horizontal Tab");
    case 169:
        return QStringLiteral("Copyright Sign");
    default:
        return QString();
    }
}

} // namespace

frmInsert::frmInsert(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmInsert"));
    setWindowTitle(QStringLiteral("Insert Special"));

    lblPrompt = new QLabel(QStringLiteral("Please select a special character or parameter to insert"), this);
    lblPrompt->setObjectName(QStringLiteral("lblPrompt"));
    lvwSpecial = new QTreeWidget(this);
    lvwSpecial->setObjectName(QStringLiteral("lvwSpecial"));
    SetupReportList(lvwSpecial);
    cmdOkay = new QPushButton(QStringLiteral("OK"), this);
    cmdOkay->setObjectName(QStringLiteral("cmdOkay"));
    cmdOkay->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("&Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));

    setTabOrder(lvwSpecial, cmdOkay);
    setTabOrder(cmdOkay, cmdCancel);

    connect(cmdOkay, &QPushButton::clicked, this, &frmInsert::cmdOkay_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmInsert::cmdCancel_Click);
    connect(lvwSpecial, &QTreeWidget::itemSelectionChanged, this, &frmInsert::lvwSpecial_ItemClick);

    Form_Load();

    ApplyTwipsLayout(this, 6255, 3360,
                     {{cmdCancel, 5160, 600, 972, 372},
                      {cmdOkay, 5160, 120, 972, 372},
                      {lvwSpecial, 120, 360, 4932, 2892},
                      {lblPrompt, 120, 120, 3936, 192}});
}

void frmInsert::Form_Load()
{
    Reporting("frmInsert", "Form_Load", [&] {
        basCheckJapanese::FormToJapanese(this);
        setWindowIcon(ApplicationIcon());
    });
}

bool frmInsert::SelectSpecial(const StringEntryPtr &entry)
{
    bool result = false;
    Reporting("frmInsert", "SelectSpecial", [&] {
        if (!entry)
            return;
        InitializeControls(entry);
        UpdateButtons();
        exec();
        result = Accepted();
    });
    return result;
}

QString frmInsert::Selection() const
{
    QString result;
    Reporting("frmInsert", "Selection(Get)", [&] {
        const QList<QTreeWidgetItem *> selected = lvwSpecial->selectedItems();
        if (!selected.isEmpty())
            result = selected.first()->data(0, kTagRole).toString();
    });
    return result;
}

void frmInsert::InitializeControls(const StringEntryPtr &entry)
{
    Reporting("frmInsert", "InitializeControls", [&] {
        lvwSpecial->clear();
        SetupColumns(entry);
        RefreshParameters(entry);
        for (int code = 0; code <= kHighestSpecialCode; ++code) {
            const QString display = SpecialDisplayText(code);
            if (display.isEmpty() || (code == 9 && !entry->TabsAllowed()))
                continue;
            auto *item = new QTreeWidgetItem(lvwSpecial);
            item->setData(0, kTagRole, QString(QChar(code)));
            item->setText(0, display);
            item->setText(1, SpecialDescription(code));
        }
    });
}

void frmInsert::SetupColumns(const StringEntryPtr &entry)
{
    Reporting("frmInsert", "SetupColumns", [&] {
        const ParameterDefinitionsPtr definitions = Require(entry->ParameterDefinitions(), "ParameterDefinitions");
        SetupTwoColumns(lvwSpecial, this, {QStringLiteral("Special"), QStringLiteral("Description")},
                        {definitions->ColumnKey(0), definitions->ColumnKey(1)});
    });
}

void frmInsert::RefreshParameters(const StringEntryPtr &entry)
{
    Reporting("frmInsert", "RefreshParameters", [&] {
        const ParameterDefinitionsPtr definitions = Require(entry->ParameterDefinitions(), "ParameterDefinitions");
        for (const ParameterDefinition &definition : definitions->Items()) {
            auto *item = new QTreeWidgetItem(lvwSpecial);
            item->setData(0, kKeyRole, definitions->KeyOf(definition.Id()));
            item->setData(0, kTagRole, definition.Placeholder());
            item->setText(0, definition.Placeholder());
            item->setText(1, definition.Description());
        }
    });
}

void frmInsert::UpdateButtons()
{
    Reporting("frmInsert", "UpdateButtons", [&] { cmdOkay->setEnabled(!lvwSpecial->selectedItems().isEmpty()); });
}

void frmInsert::cmdOkay_Click()
{
    Reporting("frmInsert", "cmdOkay_Click", [&] {
        setAccepted(true);
        accept();
    });
}

void frmInsert::cmdCancel_Click()
{
    Reporting("frmInsert", "cmdCancel_Click", [&] { reject(); });
}

void frmInsert::lvwSpecial_ItemClick()
{
    Reporting("frmInsert", "lvwSpecial_ItemClick", [&] { UpdateButtons(); });
}

} // namespace kvedit
