#include "dialogs/DialogSupport.h"

#include "services/Services.h"

#include <QHeaderView>
#include <QPoint>
#include <QTreeWidget>
#include <QWidget>

namespace kvedit::dialogs {

void PlaceTwips(QWidget *control, int left, int top, int width, int height)
{
    control->setGeometry(TwipsToPixelsX(left), TwipsToPixelsY(top), TwipsToPixelsX(width), TwipsToPixelsY(height));
}

void PlaceDialog(QWidget *dialog, QWidget *owner)
{
    if (!owner) {
        dialog->move(qRound(0.1 * ScreenWidth()), qRound(0.1 * ScreenHeight()));
        return;
    }
    const QWidget *window = owner->window();
    const int left = window->x() + WindowOffset();
    const int top = window->y() + WindowOffset();
    dialog->move(left, top);
}

QPoint CascadePosition(const QWidget *form)
{
    const int offset = WindowOffset();
    return form->pos() + QPoint(offset, offset);
}

void SetupReportList(QTreeWidget *list)
{
    list->setColumnCount(2);
    list->setRootIsDecorated(false);
    list->setItemsExpandable(false);
    list->setUniformRowHeights(true);
    list->setAllColumnsShowFocus(true);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Column widths are computed from the list's width; the header must not override them.
    list->header()->setStretchLastSection(false);
    list->header()->setSectionsMovable(false);
}

QString TrimBlanks(const QString &text)
{
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && text.at(first) == u' ')
        ++first;
    while (last > first && text.at(last - 1) == u' ')
        --last;
    return text.mid(first, last - first);
}

} // namespace kvedit::dialogs
