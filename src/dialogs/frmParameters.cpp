#include "dialogs/frmParameters.h"

#include "common/basCheckJapanese.h"
#include "dialogs/DialogSupport.h"
#include "services/Services.h"

#include <QLabel>
#include <QItemSelectionModel>
#include <QPushButton>
#include <QTreeWidget>

namespace kvedit {

using namespace dialogs;

namespace {

QPushButton *MakeButton(QWidget *form, const char *name, const QString &caption)
{
    auto *button = new QPushButton(caption, form);
    button->setObjectName(QLatin1String(name));
    return button;
}

} // namespace

frmParameters::frmParameters(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmParameters"));

    cmdReset = MakeButton(this, "cmdReset", QStringLiteral("&Reset"));
    cmdCancel = MakeButton(this, "cmdCancel", QStringLiteral("&Cancel"));
    cmdOk = MakeButton(this, "cmdOk", QStringLiteral("&Ok"));
    cmdMoveDown = MakeButton(this, "cmdMoveDown", QStringLiteral("&Move Down"));
    cmdMoveUp = MakeButton(this, "cmdMoveUp", QStringLiteral("Move &Up"));
    cmdDelete = MakeButton(this, "cmdDelete", QStringLiteral("&Delete"));
    cmdInsert = MakeButton(this, "cmdInsert", QStringLiteral("&Insert"));
    cmdAdd = MakeButton(this, "cmdAdd", QStringLiteral("&Add"));
    cmdEdit = MakeButton(this, "cmdEdit", QStringLiteral("&Edit"));
    lblParameters = new QLabel(QStringLiteral("&Parameters"), this);
    lblParameters->setObjectName(QStringLiteral("lblParameters"));
    lvwParameters = new QTreeWidget(this);
    lvwParameters->setObjectName(QStringLiteral("lvwParameters"));
    SetupReportList(lvwParameters);
    lblParameters->setBuddy(lvwParameters);

    cmdOk->setDefault(true);

    QWidget *tabOrder[] = {lvwParameters, cmdEdit, cmdAdd, cmdInsert, cmdDelete,
                           cmdMoveDown, cmdMoveUp, cmdOk, cmdCancel, cmdReset};
    for (size_t i = 1; i < std::size(tabOrder); ++i)
        setTabOrder(tabOrder[i - 1], tabOrder[i]);

    connect(cmdAdd, &QPushButton::clicked, this, [this] { RunCommand("cmdAdd_Click", [this] { AddParameter(); }); });
    connect(cmdInsert, &QPushButton::clicked, this,
            [this] { RunCommand("cmdInsert_Click", [this] { InsertParameter(); }); });
    connect(cmdEdit, &QPushButton::clicked, this, [this] { RunCommand("cmdEdit_Click", [this] { EditParameter(); }); });
    connect(cmdDelete, &QPushButton::clicked, this,
            [this] { RunCommand("cmdDelete_Click", [this] { DeleteParameter(); }); });
    connect(cmdMoveUp, &QPushButton::clicked, this,
            [this] { RunCommand("cmdMoveUp_Click", [this] { MoveParameterUp(); }); });
    connect(cmdMoveDown, &QPushButton::clicked, this,
            [this] { RunCommand("cmdMoveDown_Click", [this] { MoveParameterDown(); }); });
    connect(cmdReset, &QPushButton::clicked, this,
            [this] { RunCommand("cmdReset_Click", [this] { ResetParameters(); }); });
    connect(cmdOk, &QPushButton::clicked, this, [this] {
        Reporting("frmParameters", "cmdOk_Click", [&] {
            setAccepted(true);
            accept();
        });
    });
    connect(cmdCancel, &QPushButton::clicked, this,
            [this] { Reporting("frmParameters", "cmdCancel_Click", [&] { reject(); }); });
    connect(lvwParameters, &QTreeWidget::itemSelectionChanged, this,
            [this] { Reporting("frmParameters", "lvwParameters_ItemClick", [&] { UpdateButtons(); }); });

    setDirty(false);
    Form_Load();

    // Buttons are 972 x 372 twips; Move Down stands above Move Up, as designed.
    ApplyTwipsLayout(this, 7095, 2775,
                     {{cmdReset, 6000, 1560, 972, 372},
                      {cmdCancel, 6000, 2280, 972, 372},
                      {cmdOk, 4920, 2280, 972, 372},
                      {cmdMoveDown, 6000, 360, 972, 372},
                      {cmdMoveUp, 6000, 840, 972, 372},
                      {cmdDelete, 3720, 2280, 972, 372},
                      {cmdInsert, 2400, 2280, 972, 372},
                      {cmdAdd, 1320, 2280, 972, 372},
                      {cmdEdit, 120, 2280, 972, 372},
                      {lblParameters, 120, 120, 840, 192},
                      {lvwParameters, 120, 360, 5772, 1812}});
}

template <typename Command>
void frmParameters::RunCommand(const char *procedure, Command command)
{
    Reporting("frmParameters", procedure, [&] {
        command();
        UpdateButtons();
        ResetFocus();
    });
}

void frmParameters::Form_Load()
{
    Reporting("frmParameters", "Form_Load", [&] {
        basCheckJapanese::FormToJapanese(this);
        setWindowIcon(ApplicationIcon());
    });
}

void frmParameters::setDirty(bool dirty)
{
    m_dirty = dirty;
    cmdReset->setEnabled(dirty);
}

bool frmParameters::Edit(QWidget *owner, const StringEntryPtr &entry)
{
    bool result = false;
    Reporting("frmParameters", "Edit", [&] {
        if (!entry || !entry->ParameterDefinitions())
            return;
        if (owner && parentWidget() != owner)
            setParent(owner, windowFlags());
        setWindowTitle(QStringLiteral("Edit Parameters for String Id %1: %2").arg(entry->Id()).arg(entry->EntryText()));
        PlaceDialog(this, owner);
        setParameters(entry->ParameterDefinitions());
        SetupParameterColumns();
        RefreshParameters();
        UpdateButtons();
        exec();
        if (Accepted())
            result = SaveResults();
    });
    return result;
}

void frmParameters::SetupParameterColumns()
{
    Reporting("frmParameters", "SetupParameterColumns", [&] {
        const ParameterDefinitionsPtr parameters = Require(Parameters(), "Parameters");
        SetupTwoColumns(lvwParameters, this, {parameters->ColumnHeading(0), parameters->ColumnHeading(1)},
                        {parameters->ColumnKey(0), parameters->ColumnKey(1)});
    });
}

void frmParameters::RefreshParameters()
{
    Reporting("frmParameters", "RefreshParameters", [&] {
        lvwParameters->clear();
        const ParameterDefinitionsPtr parameters = Require(Parameters(), "Parameters");
        for (const ParameterDefinition &definition : parameters->Items())
            AddRow(definition.Description());
        setDirty(false);
    });
}

void frmParameters::ResetParameters()
{
    Reporting("frmParameters", "ResetParameters", [&] {
        RefreshParameters();
        setDirty(false);
    });
}

QTreeWidgetItem *frmParameters::AddRow(const QString &description)
{
    QTreeWidgetItem *result = nullptr;
    Reporting("frmParameters", "AddRow", [&] {
        auto *item = new QTreeWidgetItem(lvwParameters);
        UpdateRow(item, description);
        setDirty(true);
        result = item;
    });
    return result;
}

QTreeWidgetItem *frmParameters::InsertRow(const QString &description)
{
    QTreeWidgetItem *result = nullptr;
    Reporting("frmParameters", "InsertRow", [&] {
        result = InsertListItem(IndexOf(Require(SelectedItem(), "SelectedItem")), description);
    });
    return result;
}

QTreeWidgetItem *frmParameters::InsertListItem(int index, const QString &description)
{
    QTreeWidgetItem *result = nullptr;
    Reporting("frmParameters", "InsertListItem", [&] {
        if (index < 1 || index > lvwParameters->topLevelItemCount() + 1)
            throw KvError(errSubscriptOutOfRange, QStringLiteral("Index out of bounds"));
        auto *item = new QTreeWidgetItem;
        lvwParameters->insertTopLevelItem(index - 1, item);
        UpdateRow(item, description);
        setDirty(true);
        UpdateIds(IndexOf(item) + 1);
        result = item;
    });
    return result;
}

void frmParameters::UpdateRow(QTreeWidgetItem *item, const QString &description)
{
    Reporting("frmParameters", "UpdateRow", [&] {
        for (int column = 0; column < 2; ++column) {
            switch (column) {
            case 0:
                UpdateId(item);
                break;
            case 1:
                UpdateColumn(column, item, description);
                break;
            default:
                UpdateColumn(column, item, QStringLiteral("???"));
                break;
            }
        }
    });
}

void frmParameters::UpdateColumn(int column, QTreeWidgetItem *item, const QString &text)
{
    Reporting("frmParameters", "UpdateColumn", [&] {
        if (item && column >= 0 && column < 2)
            item->setText(column, text);
    });
}

QString frmParameters::ColumnValue(int column, QTreeWidgetItem *item) const
{
    QString result;
    Reporting("frmParameters", "ColumnValue", [&] {
        if (item && column >= 0 && column < 2)
            result = item->text(column);
    });
    return result;
}

void frmParameters::UpdateId(QTreeWidgetItem *item)
{
    Reporting("frmParameters", "UpdateId", [&] {
        if (item)
            UpdateColumn(0, item, QString::number(IndexOf(item)));
    });
}

void frmParameters::UpdateIds(int first)
{
    Reporting("frmParameters", "UpdateIds", [&] {
        for (int index = first; index <= lvwParameters->topLevelItemCount(); ++index)
            UpdateId(Row(index));
    });
}

QString frmParameters::AskDescription(const QString &prompt, const QString &title)
{
    return Services().prompts->Input(this, prompt, title, QString(), CascadePosition(this)).trimmed();
}

void frmParameters::AddParameter()
{
    Reporting("frmParameters", "AddParameter", [&] {
        const int count = lvwParameters->topLevelItemCount();
        const QString answer = AskDescription(QStringLiteral("Type a description for the new parameter"),
                                              QStringLiteral("Add parameter %1").arg(count + 1));
        if (answer.isEmpty())
            return;
        ForceSelection(AddRow(answer));
    });
}

void frmParameters::InsertParameter()
{
    Reporting("frmParameters", "InsertParameter", [&] {
        QTreeWidgetItem *selected = Require(SelectedItem(), "SelectedItem");
        const QString answer = AskDescription(QStringLiteral("Type a description for the new parameter"),
                                              QStringLiteral("Insert parameter %1").arg(IndexOf(selected)));
        if (answer.isEmpty())
            return;
        ForceSelection(InsertRow(answer));
    });
}

void frmParameters::EditParameter()
{
    Reporting("frmParameters", "EditParameter", [&] {
        QTreeWidgetItem *selected = SelectedItem();
        if (!selected)
            return;
        const QString answer = AskDescription(QStringLiteral("Type a new description for the parameter"),
                                              QStringLiteral("Edit parameter %1").arg(IndexOf(selected)));
        if (answer.isEmpty())
            return;
        UpdateColumn(1, selected, answer);
        setDirty(true);
    });
}

void frmParameters::DeleteParameter()
{
    Reporting("frmParameters", "DeleteParameter", [&] {
        QTreeWidgetItem *selected = SelectedItem();
        if (!selected)
            return;
        const int index = IndexOf(selected);
        // Qt's list would hand the selection to a neighbour by itself; the row to select next
        // is this command's decision, so the list lets go of it first.
        lvwParameters->selectionModel()->clear();
        delete lvwParameters->takeTopLevelItem(index - 1);
        // Renumbering and re-selection only when the list let go of the selection; otherwise
        // the rows after the deleted one keep their numbers (and are saved with them).
        if (SelectedItem())
            return;
        const int count = lvwParameters->topLevelItemCount();
        if (index <= count) {
            UpdateIds(index);
            ForceSelection(Row(index));
        } else if (count >= 1) {
            ForceSelection(Row(index - 1));
        }
    });
}

void frmParameters::MoveParameterUp()
{
    Reporting("frmParameters", "MoveParameterUp", [&] {
        QTreeWidgetItem *selected = SelectedItem();
        if (!selected)
            return;
        const int index = IndexOf(selected);
        if (SwapOrder(index - 1))
            ForceSelection(Row(index - 1));
    });
}

void frmParameters::MoveParameterDown()
{
    Reporting("frmParameters", "MoveParameterDown", [&] {
        QTreeWidgetItem *selected = SelectedItem();
        if (!selected)
            return;
        const int index = IndexOf(selected);
        if (SwapOrder(index))
            ForceSelection(Row(index + 1));
    });
}

bool frmParameters::SwapOrder(int index)
{
    bool result = false;
    Reporting("frmParameters", "SwapOrder", [&] {
        const int count = lvwParameters->topLevelItemCount();
        if (index > count - 1 || index < 1)
            return;
        const QString description = ColumnValue(1, Row(index + 1));
        delete lvwParameters->takeTopLevelItem(index);   // row index + 1
        QTreeWidgetItem *item = InsertListItem(index, description);
        UpdateIds(index);
        result = item != nullptr;
    });
    return result;
}

void frmParameters::ForceSelection(QTreeWidgetItem *item)
{
    Reporting("frmParameters", "ForceSelection", [&] {
        if (!item)
            return;
        QTreeWidgetItem *selected = SelectedItem();
        if (item == selected)
            return;
        if (selected)
            selected->setSelected(false);
        lvwParameters->setCurrentItem(item);
        item->setSelected(true);
    });
}

void frmParameters::UpdateButtons()
{
    Reporting("frmParameters", "UpdateButtons", [&] {
        const int count = lvwParameters->topLevelItemCount();
        QTreeWidgetItem *selected = SelectedItem();
        const int s = selected ? IndexOf(selected) : 0;
        cmdInsert->setEnabled(selected && count >= 1);
        cmdDelete->setEnabled(selected != nullptr);
        cmdEdit->setEnabled(selected != nullptr);
        // With nothing selected s is 0, so Move Down stays enabled on a non-empty list and
        // then does nothing when pressed.
        cmdMoveDown->setEnabled(s < count);
        cmdMoveUp->setEnabled(s > 1);
    });
}

void frmParameters::ResetFocus()
{
    Reporting("frmParameters", "ResetFocus", [&] { lvwParameters->setFocus(); });
}

bool frmParameters::SaveResults()
{
    bool result = false;
    Reporting("frmParameters", "SaveResults", [&] {
        const ParameterDefinitionsPtr parameters = Parameters();
        if (!parameters)
            return;
        parameters->Clear();
        for (int index = 1; index <= lvwParameters->topLevelItemCount(); ++index) {
            QTreeWidgetItem *item = Row(index);
            parameters->Add(ColumnValue(0, item).toInt(), ColumnValue(1, item));
            result = true;
        }
    });
    return result;
}

QTreeWidgetItem *frmParameters::Row(int index) const
{
    return lvwParameters->topLevelItem(index - 1);
}

int frmParameters::IndexOf(QTreeWidgetItem *item) const
{
    return lvwParameters->indexOfTopLevelItem(item) + 1;
}

QTreeWidgetItem *frmParameters::SelectedItem() const
{
    const QList<QTreeWidgetItem *> selected = lvwParameters->selectedItems();
    return selected.isEmpty() ? nullptr : selected.first();
}

} // namespace kvedit
