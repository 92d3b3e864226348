#include "dialogs/DialogSupport.h"

#include <QFontMetrics>

#include "services/Services.h"

#include <QAbstractButton>
#include <QFontMetricsF>
#include <QHeaderView>
#include <QLabel>
#include <QPoint>
#include <QTreeWidget>
#include <QWidget>

#include <cmath>

namespace kvedit::dialogs {

namespace {

// The room a caption needs: its text plus the frame and padding of a push button.
QSize CaptionRoom(QWidget *control)
{
    QString caption;
    QSize padding;
    if (auto *button = qobject_cast<QAbstractButton *>(control)) {
        caption = button->text();
        padding = QSize(12, 8);
    } else if (auto *label = qobject_cast<QLabel *>(control)) {
        caption = label->text();
    } else {
        return {};
    }
    // Measured a pixel generously: integer metrics of the same font can differ by one once the
    // widget is on a screen.
    const QFontMetricsF metrics(control->font());
    return QSize(int(std::ceil(metrics.horizontalAdvance(CleanAccessMarkers(caption)))) + 1,
                 int(std::ceil(metrics.height())))
        + padding;
}

} // namespace

double ApplyTwipsLayout(QWidget *form, int clientWidth, int clientHeight, const QList<TwipsRect> &controls)
{
    // The smallest whole percentage at which every caption fits its control, pixels rounded.
    auto fits = [&](double scale) {
        for (const TwipsRect &r : controls) {
            const QSize room = CaptionRoom(r.control);
            if (room.width() > TwipsToPixelsX(r.width * scale) || room.height() > TwipsToPixelsY(r.height * scale))
                return false;
        }
        return true;
    };
    double scale = 1.0;
    for (const TwipsRect &r : controls) {
        const QSize room = CaptionRoom(r.control);
        if (room.isEmpty())
            continue;
        scale = qMax(scale, double(room.width()) / TwipsToPixelsX(r.width));
        scale = qMax(scale, double(room.height()) / TwipsToPixelsY(r.height));
    }
    scale = std::ceil(scale * 100.0) / 100.0;
    while (!fits(scale))
        scale += 0.01;
    for (const TwipsRect &r : controls)
        r.control->setGeometry(TwipsToPixelsX(r.left * scale), TwipsToPixelsY(r.top * scale),
                               TwipsToPixelsX(r.width * scale), TwipsToPixelsY(r.height * scale));
    form->setFixedSize(TwipsToPixelsX(clientWidth * scale), TwipsToPixelsY(clientHeight * scale));
    return scale;
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

void SetupTwoColumns(QTreeWidget *list, const QWidget *form, const QString (&headings)[2], const QString (&keys)[2])
{
    int space = list->width();
    list->clear();
    list->setHeaderLabels({QString(), QString()});
    const QFontMetrics metrics = form->fontMetrics();
    QTreeWidgetItem *header = list->headerItem();
    for (int column = 0; column < 2; ++column) {
        int width;
        if (column == 0) {
            width = metrics.horizontalAdvance(headings[0] + QStringLiteral("WW"));
            space -= width;
        } else {
            width = space - metrics.horizontalAdvance(QStringLiteral("WWW"));
        }
        header->setText(column, headings[column]);
        header->setData(column, kKeyRole, keys[column]);
        list->setColumnWidth(column, width);
    }
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
