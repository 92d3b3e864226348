#include "editor/frmEdit.h"

#include "common/basCheckJapanese.h"
#include "dataview/UCKvDataView.h"
#include "editor/CImageList.h"
#include "services/ErrorContext.h"
#include "services/Services.h"

#include <QAction>
#include <QCloseEvent>
#include <QEventLoop>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QPixmap>
#include <QPointer>
#include <QRegularExpression>
#include <QStatusBar>
#include <QStyleOptionMenuItem>
#include <QTimer>
#include <QToolBar>
#include <QUndoStack>
#include <QWindow>

#include <cmath>

Q_LOGGING_CATEGORY(lcEditor, "kvedit.editor")

// Resources of a static library are registered by name from outside any namespace.
static void InitToolbarPictures()
{
    Q_INIT_RESOURCE(kvedit_toolbar);
}

namespace kvedit {

namespace {

constexpr const char *kFileItemName = "mnuFileItem";
constexpr const char *kEditItemName = "mnuEditItem";
constexpr int kFileItemCount = 6;
constexpr int kEditItemCount = 16;

// A separator item keeps its caption "-", which some styles draw beside the line as a section
// title; the menu draws separators as plain lines.
class PlainSeparatorMenu final : public QMenu {
public:
    PlainSeparatorMenu(const QString &title, QWidget *parent) : QMenu(title, parent) {}

protected:
    void initStyleOption(QStyleOptionMenuItem *option, const QAction *action) const override
    {
        QMenu::initStyleOption(option, action);
        if (action->isSeparator())
            option->text.clear();
    }
};

QString PicturePath(int pictureId)
{
    return QStringLiteral(":/kvedit/toolbar/%1.png").arg(pictureId);
}

} // namespace

frmEdit::frmEdit(QWidget *parent) : QMainWindow(parent)
{
    InitToolbarPictures();
    setObjectName(QStringLiteral("frmEdit"));
    setWindowTitle(QStringLiteral("Form1"));

    m_imlEdit = new CImageList(this);
    m_imlEdit->setObjectName(QStringLiteral("imlEdit"));

    m_qvtdatEdit = new UCKvDataView(this);
    m_qvtdatEdit->setObjectName(QStringLiteral("qvtdatEdit"));
    m_qvtdatEdit->setHeightMin(TwipsToPixelsY(1368));
    m_qvtdatEdit->setWidthMin(TwipsToPixelsX(2424));
    setCentralWidget(m_qvtdatEdit);

    m_tbrEdit = new QToolBar(this);
    m_tbrEdit->setObjectName(QStringLiteral("tbrEdit"));
    m_tbrEdit->setIconSize(QSize(24, 23));
    m_tbrEdit->setMovable(false);
    m_tbrEdit->setFloatable(false);
    m_tbrEdit->setToolButtonStyle(Qt::ToolButtonIconOnly);
    addToolBar(Qt::TopToolBarArea, m_tbrEdit);

    m_sbrEdit = new QStatusBar(this);
    m_sbrEdit->setObjectName(QStringLiteral("sbrEdit"));
    m_sbrText = new QLabel(m_sbrEdit);
    m_sbrText->setObjectName(QStringLiteral("sbrEditText"));
    m_sbrEdit->addWidget(m_sbrText, 1);
    setStatusBar(m_sbrEdit);

    m_mnuFile = new PlainSeparatorMenu(QStringLiteral("&File"), this);
    menuBar()->addMenu(m_mnuFile);
    m_mnuFile->setObjectName(QStringLiteral("mnuFile"));
    m_mnuEdit = new PlainSeparatorMenu(QStringLiteral("&Edit"), this);
    menuBar()->addMenu(m_mnuEdit);
    m_mnuEdit->setObjectName(QStringLiteral("mnuEdit"));

    // The design items: the File menu has one, SetupFileMenu adds the rest; the Edit items keep
    // their shortcuts while SetupEditMenu gives them their captions.
    CreateMenuItem(m_mnuFile, kFileItemName, 0, QStringLiteral("fileitem"));
    const struct {
        const char *caption;
        QKeySequence shortcut;
    } editDesign[kEditItemCount] = {
        {"cut", QKeySequence(Qt::CTRL | Qt::Key_X)},
        {"copy", QKeySequence(Qt::CTRL | Qt::Key_C)},
        {"paste", QKeySequence(Qt::CTRL | Qt::Key_V)},
        {"-", {}},
        {"find", QKeySequence(Qt::CTRL | Qt::Key_F)},
        {"find next", QKeySequence(Qt::Key_F3)},
        {"-", {}},
        {"find missing", QKeySequence(Qt::CTRL | Qt::Key_M)},
        {"find out-of-date", QKeySequence(Qt::CTRL | Qt::Key_O)},
        {"find unapproved", QKeySequence(Qt::CTRL | Qt::Key_U)},
        {"-", {}},
        {"go to", QKeySequence(Qt::CTRL | Qt::Key_G)},
        {"-", {}},
        {"new", QKeySequence(Qt::CTRL | Qt::Key_N)},
        {"-", {}},
        {"properties", QKeySequence(Qt::CTRL | Qt::Key_E)},
    };
    for (int i = 0; i < kEditItemCount; ++i) {
        QAction *item = CreateMenuItem(m_mnuEdit, kEditItemName, i, QString::fromLatin1(editDesign[i].caption));
        item->setShortcut(editDesign[i].shortcut);
    }
    SetupWorkflow();
    SetupMemory();

    connect(&m_DVDS, &CDVDataSource::UpdateTitle, this, &frmEdit::mw_DVDS_UpdateTitle);
    connect(m_qvtdatEdit, &UCKvDataView::DblClick, this, &frmEdit::qvtdatEdit_DblClick);
    connect(m_qvtdatEdit, &UCKvDataView::KeyPress, this, &frmEdit::qvtdatEdit_KeyPress);
    connect(m_qvtdatEdit, &UCKvDataView::FeedbackChanged, this, &frmEdit::qvtdatEdit_FeedbackChanged);

    Form_Load();
}

frmEdit::~frmEdit()
{
    // The list asks its source while it goes; unbind it before the source dies.
    m_qvtdatEdit->setDataSource(nullptr);
    if (m_modalLoop)
        m_modalLoop->quit();
}

void frmEdit::Form_Load()
{
    Reporting("frmEdit", "Form_Load", [&] {
        basCheckJapanese::FormToJapanese(this);
        m_imlEdit->Clear();
    });
}

QAction *frmEdit::CreateMenuItem(QMenu *menu, const char *name, int index, const QString &caption)
{
    auto *item = new QAction(this);
    item->setObjectName(QStringLiteral("%1_%2").arg(QLatin1String(name)).arg(index));
    item->setProperty("menuName", QString::fromLatin1(name));
    item->setProperty("menuIndex", index);
    // Menus show captions only; the pictures belong to the toolbar.
    item->setIconVisibleInMenu(false);
    SetItemCaption(item, caption);
    menu->addAction(item);
    connect(item, &QAction::triggered, this, [this, item] { OnItemTriggered(item); });
    (qstrcmp(name, kFileItemName) == 0 ? m_fileItems : m_editItems).append(item);
    return item;
}

void frmEdit::SetItemCaption(QAction *menuItem, const QString &caption)
{
    menuItem->setText(caption);
    menuItem->setSeparator(caption == QLatin1String("-"));
    menuItem->setToolTip(CleanAccessMarkers(caption));
}

QAction *frmEdit::FileItem(int index) const
{
    return m_fileItems.value(index);
}

QAction *frmEdit::EditItem(int index) const
{
    return m_editItems.value(index);
}

QString frmEdit::StatusText() const
{
    return m_sbrText->text();
}

// ---------------------------------------------------------------------------------------------
// The editing run

void frmEdit::Prepare(const ResourceWorkspacePtr &rfw, TableVersion enmTableVersion)
{
    Reporting("frmEdit", "Prepare", [&] {
        const int screenWidth = ScreenWidth();
        const int screenHeight = ScreenHeight();
        QPoint topLeft(qRound(screenWidth * 0.1), qRound(screenHeight * 0.1));
        if (rfw) {
            if (const std::optional<QPoint> host = rfw->HostWindowPosition())
                topLeft = *host + QPoint(WindowOffset(), WindowOffset());
        }
        move(topLeft);
        resize(qRound(screenWidth * 0.8), qRound(screenHeight * 0.8));

        m_DVDS.setWorkspace(rfw);
        m_DVDS.setTableVersion(enmTableVersion);
        m_qvtdatEdit->setDataSource(&m_DVDS);
        SetupFilterChoices();
        m_undoStack->clear();
        // Where the tables live (the demo's file, say), for a look at the status bar.
        m_sbrEdit->setToolTip(rfw ? rfw->Location() : QString());

        SetupMenus();
        BindMemory(rfw);
        UpdateMenuState();
    });
}

bool frmEdit::Edit(const ResourceWorkspacePtr &rfw, TableVersion enmTableVersion)
{
    Reporting("frmEdit", "Edit", [&] {
        Prepare(rfw, enmTableVersion);
        setWindowModality(Qt::ApplicationModal);
        QEventLoop loop;
        m_modalLoop = &loop;
        struct Forget {
            QEventLoop *&loop;
            ~Forget() { loop = nullptr; }
        } forget{m_modalLoop};
        show();
        // Close hides the window, and hideEvent ends the loop.
        if (isVisible())
            loop.exec(QEventLoop::DialogExec);
    });
    return m_saved;
}

// ---------------------------------------------------------------------------------------------
// Menus and toolbar

void frmEdit::SetupMenus()
{
    Reporting("frmEdit", "SetupMenus", [&] {
        m_tbrEdit->clear();
        SetupFileMenu();
        MakeToolbarButton(nullptr, 0, true);
        SetupEditMenu();
    });
}

void frmEdit::SetupFileMenu()
{
    Reporting("frmEdit", "SetupFileMenu", [&] {
        for (int i = m_fileItems.size(); i < kFileItemCount; ++i)
            CreateMenuItem(m_mnuFile, kFileItemName, i, QStringLiteral("fileitem"));

        const StringTableSetPtr tables = Tables();
        const QStringList names = tables ? tables->SaveTableNames(Version()) : QStringList();
        const QString saveAs = QStringLiteral("&Save as ");

        SetItemCaption(FileItem(0), QStringLiteral("&Reset"));
        FileItem(0)->setVisible(true);
        SetItemCaption(FileItem(1), QStringLiteral("-"));
        FileItem(1)->setVisible(true);
        SetItemCaption(FileItem(2), names.isEmpty() ? QStringLiteral("&Save") : saveAs + names.at(0));
        FileItem(2)->setVisible(true);
        SetItemCaption(FileItem(3), names.size() > 1 ? saveAs + names.at(1) : saveAs.trimmed());
        FileItem(3)->setVisible(names.size() > 1);
        SetItemCaption(FileItem(4), QStringLiteral("-"));
        FileItem(4)->setVisible(true);
        SetItemCaption(FileItem(5), QStringLiteral("&Close"));
        FileItem(5)->setVisible(true);

        // Ctrl+S as well, after the item's own shortcut if it has one.
        const QKeySequence save(Qt::CTRL | Qt::Key_S);
        if (!FileItem(2)->shortcuts().contains(save))
            FileItem(2)->setShortcuts(FileItem(2)->shortcuts() << save);

        MakeToolbarButton(FileItem(2), 10, false);
    });
}

void frmEdit::SetupEditMenu()
{
    Reporting("frmEdit", "SetupEditMenu", [&] {
        const bool v3 = Version() == ssEnglishDefault;
        const QString keep;   // an empty caption keeps the design caption
        const struct {
            QString caption;
            bool visible;
            int pictureId;
            int separator;    // 0 no, 1 yes, -1 equal to visible
        } items[kEditItemCount] = {
            {v3 ? QStringLiteral("Cu&t") : QStringLiteral("&Delete"), true, v3 ? 12 : 11, 0},
            {QStringLiteral("&Copy"), v3, 13, 0},
            {QStringLiteral("&Paste"), v3, 14, 0},
            {QStringLiteral("-"), true, 0, 1},
            {QStringLiteral("&Find..."), true, 15, 0},
            {QStringLiteral("Find &Next"), true, 0, 0},
            {keep, !v3, 0, -1},
            {QStringLiteral("Find &Missing Translation"), !v3, 17, 0},
            {QStringLiteral("Find &Out-of-Date Translation"), !v3, 0, 0},
            {QStringLiteral("Find &Unapproved Translation"), !v3, 0, 0},
            {keep, !v3, 0, -1},
            {QStringLiteral("&Go to..."), true, 16, 0},
            {QStringLiteral("-"), v3, 0, -1},
            {QStringLiteral("&New String..."), v3, 18, 0},
            {QStringLiteral("-"), true, 0, 1},
            {QStringLiteral("&Properties..."), true, 19, 0},
        };
        for (int i = 0; i < kEditItemCount; ++i) {
            QAction *item = Require(EditItem(i), "mnuEditItem");
            if (!items[i].caption.isEmpty())
                SetItemCaption(item, items[i].caption);
            item->setVisible(items[i].visible);
            const bool separator = items[i].separator < 0 ? items[i].visible : items[i].separator == 1;
            MakeToolbarButton(item, items[i].pictureId, separator);
        }
    });
}

void frmEdit::MakeToolbarButton(QAction *menuItem, int pictureId, bool isSeparator)
{
    Reporting("frmEdit", "MakeToolbarButton", [&] {
        if (!isSeparator && (!menuItem || pictureId == 0))
            return;
        if (isSeparator) {
            m_tbrEdit->addSeparator();
            return;
        }
        const QString key = MenuKey(menuItem);
        if (!AddListImage(key, pictureId))
            return;
        // The button is the menu item's own action: caption, enabling and visibility are shared.
        menuItem->setProperty("menuKey", key);
        menuItem->setIcon(m_imlEdit->Icon(key));
        menuItem->setToolTip(CleanAccessMarkers(menuItem->text()));
        m_tbrEdit->addAction(menuItem);
    });
}

bool frmEdit::AddListImage(const QString &key, int pictureId)
{
    bool added = false;
    Reporting("frmEdit", "AddListImage", [&] {
        if (m_imlEdit->Contains(key)) {
            added = true;
            return;
        }
        const QPixmap picture(PicturePath(pictureId));
        if (picture.isNull()) {
            qCWarning(lcEditor) << "toolbar picture" << pictureId << "is missing";
            throw KvError(errFileNotFound, QStringLiteral("Toolbar picture %1 could not be loaded").arg(pictureId),
                          QStringLiteral("frmEdit"));
        }
        m_imlEdit->Add(key, picture, pictureId);
        added = true;
    });
    return added;
}

std::optional<double> frmEdit::NumericValue(const QString &text)
{
    static const QRegularExpression number(QStringLiteral("^[+-]?([0-9]+(\\.[0-9]*)?|\\.[0-9]+)$"));
    const QString trimmed = text.trimmed();
    if (!number.match(trimmed).hasMatch())
        return std::nullopt;
    return QLocale::c().toDouble(trimmed);
}

QString frmEdit::MenuKey(const QAction *menuItem)
{
    if (!menuItem)
        return QString();
    const QVariant index = menuItem->property("menuIndex");
    if (!index.isValid())
        return menuItem->objectName();
    return menuItem->property("menuName").toString() + u':' + QString::number(index.toInt());
}

void frmEdit::SetItemEnabled(QAction *menuItem, bool enabled)
{
    Reporting("frmEdit", "SetItemEnabled", [&] {
        // The toolbar button with the same key is this action, so it follows.
        if (menuItem)
            menuItem->setEnabled(enabled);
    });
}

void frmEdit::UpdateMenuState()
{
    Reporting("frmEdit", "UpdateMenuState", [&] {
        const bool edits = HasEdits();
        SetItemEnabled(FileItem(0), edits);
        SetItemEnabled(FileItem(2), edits);
        SetItemEnabled(FileItem(3), edits);
        SetItemEnabled(EditItem(5), !m_findText.isEmpty());
        UpdateProgress();
    });
}

// ---------------------------------------------------------------------------------------------
// Dispatch

void frmEdit::OnItemTriggered(QAction *menuItem)
{
    tbrEdit_ButtonClick(MenuKey(menuItem));
}

void frmEdit::tbrEdit_ButtonClick(const QString &buttonKey)
{
    Reporting("frmEdit", "tbrEdit_ButtonClick", [&] {
        const QString key = buttonKey.trimmed();
        const qsizetype colon = key.indexOf(u':');
        if (key.isEmpty() || colon < 0)
            return;
        const std::optional<double> numeric = NumericValue(key.mid(colon + 1));
        if (!numeric)
            return;
        const double value = *numeric;
        if (std::fabs(value) > 32767.0)
            throw KvError(errOverflow, QStringLiteral("Overflow"), QStringLiteral("frmEdit"));
        const int index = static_cast<int>(std::nearbyint(value));
        const QString name = key.left(colon);
        if (name == QLatin1String(kEditItemName))
            mnuEditItem_Click(index);
        else if (name == QLatin1String(kFileItemName))
            mnuFileItem_Click(index);
    });
}

void frmEdit::mnuFileItem_Click(int index)
{
    Reporting("frmEdit", "mnuFileItem_Click", [&] {
        ProcessFileMenuClick(index);
        UpdateMenuState();
    });
}

void frmEdit::mnuEditItem_Click(int index)
{
    Reporting("frmEdit", "mnuEditItem_Click", [&] {
        ProcessEditMenuClick(index);
        UpdateMenuState();
    });
}

void frmEdit::ProcessFileMenuClick(int index)
{
    Reporting("frmEdit", "ProcessFileMenuClick", [&] {
        switch (index) {
        case 0:
            ProcessFileMenuReset();
            break;
        case 2:
            ProcessFileMenuSave(false);
            break;
        case 3:
            ProcessFileMenuSave(true);
            break;
        case 5: {
            bool closed = false;
            ProcessFileMenuClose(closed);
            break;
        }
        default:
            if (const QAction *item = FileItem(index))
                Services().prompts->Notify(this, QStringLiteral("File menu item '") + CleanAccessMarkers(item->text())
                                                     + QStringLiteral(" not implemented"));
            else
                Services().prompts->Notify(this, QStringLiteral("File menu item %1 not implemented").arg(index));
        }
    });
}

void frmEdit::ProcessEditMenuClick(int index)
{
    Reporting("frmEdit", "ProcessEditMenuClick", [&] {
        switch (index) {
        case 0:
            ProcessEditMenuCopyCut(1);
            break;
        case 1:
            ProcessEditMenuCopyCut(0);
            break;
        case 2:
            ProcessEditMenuPaste();
            break;
        case 4:
            ProcessEditMenuFindText();
            break;
        case 5:
            ProcessEditMenuFindNext();
            break;
        case 7:
            ProcessEditMenuFindMissingTranslation();
            break;
        case 8:
            ProcessEditMenuFindOutOfDateTranslation();
            break;
        case 9:
            ProcessEditMenuFindUnapprovedTranslation();
            break;
        case 11:
            ProcessEditMenuGoTo();
            break;
        case 13:
            ProcessEditMenuNewString();
            break;
        case 15:
            ProcessEditMenuProperties();
            break;
        default:
            if (const QAction *item = EditItem(index))
                Services().prompts->Notify(this, QStringLiteral("Edit menu item '") + CleanAccessMarkers(item->text())
                                                     + QStringLiteral(" not implemented"));
            else
                Services().prompts->Notify(this, QStringLiteral("Edit menu item %1 not implemented").arg(index));
        }
    });
}

// ---------------------------------------------------------------------------------------------
// Form and list events

bool frmEdit::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        Form_Activate();
    if (event->type() == QEvent::Paint && !m_painted) {
        // What the first screen does not need comes after it: the icon's pictures, and the
        // problem count of the whole table in the status bar.
        m_painted = true;
        QTimer::singleShot(0, this, [this] {
            setWindowIcon(ApplicationIcon());
            UpdateProgress();
        });
    }
    return QMainWindow::event(event);
}

void frmEdit::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    // Without a window manager nothing activates a new window, and the list loads only then.
    if (!m_qvtdatEdit->Activated()) {
        QPointer<frmEdit> self(this);
        QTimer::singleShot(0, this, [self] {
            if (self && self->isVisible() && !self->isActiveWindow())
                self->activateWindow();
        });
    }
}

void frmEdit::hideEvent(QHideEvent *event)
{
    QMainWindow::hideEvent(event);
    if (m_modalLoop && !isVisible())
        m_modalLoop->quit();
}

void frmEdit::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    Form_Resize();
}

void frmEdit::closeEvent(QCloseEvent *event)
{
    bool cancel = false;
    Form_QueryUnload(cancel);
    if (cancel)
        event->ignore();
    else
        event->accept();
}

QMenu *frmEdit::createPopupMenu()
{
    // The toolbar is part of the window, not something the user switches off.
    return nullptr;
}

void frmEdit::Form_Activate()
{
    Reporting("frmEdit", "Form_Activate", [&] {
        if (!m_qvtdatEdit->Activated())
            m_qvtdatEdit->setActivated(true);
    });
}

void frmEdit::Form_Resize()
{
    Reporting("frmEdit", "Form_Resize", [&] {
        if (isMinimized())
            return;
        if (isMaximized())
            return;
        // Qt sizes the client area; the menu bar, outside the client area on other platforms,
        // stands in for the frame's share of the height.
        const int minHeight = 3 * m_tbrEdit->sizeHint().height() + 2 * m_sbrEdit->sizeHint().height()
                              + menuBar()->sizeHint().height();
        const int minWidth = ScreenWidth() / 2;
        if (minimumWidth() != minWidth || minimumHeight() != minHeight)
            setMinimumSize(minWidth, minHeight);
        if (width() < minWidth || height() < minHeight)
            resize(qMax(width(), minWidth), qMax(height(), minHeight));
    });
}

void frmEdit::Form_QueryUnload(bool &cancel)
{
    Reporting("frmEdit", "Form_QueryUnload", [&] {
        if (m_closing)
            return;
        bool closed = false;
        cancel = true;
        ProcessFileMenuClose(closed);
        if (closed) {
            m_closing = true;
            cancel = false;
        }
    });
}

void frmEdit::qvtdatEdit_DblClick()
{
    Reporting("frmEdit", "qvtdatEdit_DblClick", [&] {
        ProcessEditMenuProperties();
        UpdateMenuState();
    });
}

void frmEdit::qvtdatEdit_KeyPress(int keyAscii)
{
    Reporting("frmEdit", "qvtdatEdit_KeyPress", [&] {
        if (keyAscii == 13 || keyAscii == 10) {
            ProcessEditMenuProperties();
            UpdateMenuState();
        }
    });
}

void frmEdit::qvtdatEdit_FeedbackChanged(const QString &text)
{
    m_sbrText->setText(text);
}

void frmEdit::mw_DVDS_UpdateTitle(int)
{
    Reporting("frmEdit", "mw_DVDS_UpdateTitle", [&] {
        setWindowTitle(QStringLiteral("Manage String Resources: ") + m_DVDS.Title());
    });
}

// ---------------------------------------------------------------------------------------------
// Shared helpers of the commands

StringTableSetPtr frmEdit::Tables() const
{
    return m_DVDS.Tables();
}

bool frmEdit::HasEdits() const
{
    // An editor opened without a workspace has nothing that could be unsaved.
    const StringTableSetPtr tables = Tables();
    return tables && tables->Modified();
}

TableVersion frmEdit::Version() const
{
    return m_DVDS.TableVersion();
}

qint32 frmEdit::CurrentId()
{
    return m_DVDS.RecordNumberToId(m_qvtdatEdit->CurrentRecord());
}

QPoint frmEdit::InputPosition() const
{
    const int offset = WindowOffset();
    return pos() + QPoint(offset, offset);
}

void frmEdit::ShowIdAfterRefresh(qint32 id)
{
    m_DVDS.RefreshStringList();
    m_qvtdatEdit->Refresh();
    if (id > 0)
        m_qvtdatEdit->ShowId(id);
}

} // namespace kvedit
