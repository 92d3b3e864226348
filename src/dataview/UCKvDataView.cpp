#include "dataview/UCKvDataView.h"

#include "services/Services.h"

#include <QAbstractTableModel>
#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLoggingCategory>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

#include <cmath>
#include <unordered_map>
#include <vector>

Q_LOGGING_CATEGORY(lcDataView, "kvedit.dataview")

namespace kvedit {

namespace {
// Designed minimum extents of the control, in twips.
constexpr double kHeightMinTwips = 1368;
constexpr double kWidthMinTwips = 2424;
// The source's column for the current-row marker.
constexpr int kMarkerColumn = 0;
// The model role that carries a row's sign for the marker column.
constexpr int kSignRole = Qt::UserRole + 1;

// Draws a state sign centred in box; shape tells the states apart, colour only helps.
void PaintSign(QPainter *painter, const QRectF &box, int sign)
{
    const int shape = sign & rsShapeMask;
    if (shape == rsNone && !(sign & (rsLocalEdit | rsError | rsWarning)))
        return;
    const qreal s = qMin(box.width(), box.height());
    const QRectF r(box.center().x() - s / 2, box.center().y() - s / 2, s, s);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QPen pen;
    pen.setWidthF(qMax<qreal>(1.5, s / 6));
    pen.setJoinStyle(Qt::RoundJoin);
    pen.setCapStyle(Qt::RoundCap);
    const auto stroke = [&](const QColor &colour) {
        pen.setColor(colour);
        painter->setPen(pen);
        painter->setBrush(Qt::NoBrush);
    };
    const auto fill = [&](const QColor &colour) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(colour);
    };
    const qreal in = pen.widthF() / 2 + 0.5;
    const QRectF inner = r.adjusted(in, in, -in, -in);
    switch (shape) {
    case rsMissing:
        stroke(QColor(0xc6, 0x28, 0x28));
        painter->drawEllipse(inner);
        break;
    case rsOutOfDate: {
        fill(QColor(0xe6, 0x6a, 0x00));
        const QPointF points[] = {{r.center().x(), r.top()}, {r.right(), r.bottom() - s * 0.08}, {r.left(), r.bottom() - s * 0.08}};
        painter->drawPolygon(points, 3);
        break;
    }
    case rsUnapproved: {
        stroke(QColor(0x15, 0x65, 0xc0));
        const QPointF points[] = {{inner.center().x(), inner.top()}, {inner.right(), inner.center().y()},
                                  {inner.center().x(), inner.bottom()}, {inner.left(), inner.center().y()}};
        painter->drawPolygon(points, 4);
        break;
    }
    case rsApproved: {
        stroke(QColor(0x2e, 0x7d, 0x32));
        const QPointF points[] = {{inner.left(), inner.center().y()}, {inner.left() + inner.width() * 0.38, inner.bottom()},
                                  {inner.right(), inner.top()}};
        painter->drawPolyline(points, 3);
        break;
    }
    case rsPending:
        fill(QColor(0x15, 0x65, 0xc0));
        painter->drawRect(r.adjusted(s * 0.12, s * 0.12, -s * 0.12, -s * 0.12));
        break;
    default:
        break;
    }
    if (sign & rsLocalEdit) {
        // A purple dot with a light ring, so it reads on top of the state's sign.
        const qreal d = s * 0.55;
        const QRectF dot(r.right() - d * 0.6, r.bottom() - d * 0.6, d, d);
        painter->setPen(QPen(QColor(0xff, 0xff, 0xff), 1));
        painter->setBrush(QColor(0x7b, 0x1f, 0xa2));
        painter->drawEllipse(dot);
    }
    if (sign & (rsError | rsWarning)) {
        // Over the state's sign at the upper left, with a light rim so it reads on any of them:
        // an error is a round red badge, a warning an amber triangle; both carry a "!".
        const qreal d = s * 0.8;
        const QRectF badge(r.left() - d * 0.2, r.top() - d * 0.3, d, d);
        painter->setPen(QPen(QColor(0xff, 0xff, 0xff), 1));
        if (sign & rsError) {
            painter->setBrush(QColor(0xd3, 0x2f, 0x2f));
            painter->drawEllipse(badge);
        } else {
            painter->setBrush(QColor(0xfb, 0xc0, 0x2d));
            const QPointF points[] = {{badge.center().x(), badge.top()}, {badge.right(), badge.bottom()},
                                      {badge.left(), badge.bottom()}};
            painter->drawPolygon(points, 3);
        }
        // The "!": a stroke and a dot, drawn, so it needs no font at this size.
        const QColor mark = sign & rsError ? QColor(0xff, 0xff, 0xff) : QColor(0x21, 0x21, 0x21);
        const qreal w = qMax<qreal>(1.0, d / 7);
        painter->setPen(QPen(mark, w, Qt::SolidLine, Qt::RoundCap));
        const qreal x = badge.center().x();
        const qreal top = badge.top() + d * (sign & rsError ? 0.22 : 0.36);
        painter->drawLine(QPointF(x, top), QPointF(x, badge.top() + d * 0.62));
        painter->drawPoint(QPointF(x, badge.top() + d * 0.8));
    }
    painter->restore();
}
} // namespace

// A flat model that holds nothing of the list but its shape (row count, headings, alignments):
// every cell is asked of the source when the view paints it, so only visible rows cost anything.
class DataViewModel final : public QAbstractTableModel {
public:
    explicit DataViewModel(QObject *parent) : QAbstractTableModel(parent) {}

    // Re-reads the shape from the source; rows only once the control is activated. The model is
    // reset only when the shape changed: cells are read afresh on every paint anyway, and a reset
    // repaints every visible row. Returns whether it was reset.
    bool Reload(IDVDataSource *source, bool loadRows)
    {
        int firstColumn = 0;
        qint32 rows = 0;
        std::vector<QString> headings;
        std::vector<int> alignments;
        QString message;
        if (source) {
            firstColumn = source->FirstColumn();
            const int total = source->CountTotalColumns();
            for (int c = firstColumn; c < total; ++c) {
                headings.push_back(source->ColumnHeading(c));
                alignments.push_back(source->ColumnAlignment(c) == 2 ? int(Qt::AlignRight | Qt::AlignVCenter)
                                                                     : int(Qt::AlignLeft | Qt::AlignVCenter));
            }
            if (loadRows) {
                rows = qMax<qint32>(0, source->GetRecordCount());
                message = source->NoDataMessage();
            }
        }
        if (m_shaped && source == m_source && rows == m_rows && firstColumn == m_firstColumn && headings == m_headings &&
            alignments == m_alignments && message == m_message)
            return false;
        beginResetModel();
        m_source = source;
        m_rows = rows;
        m_firstColumn = firstColumn;
        m_headings = std::move(headings);
        m_alignments = std::move(alignments);
        m_message = std::move(message);
        m_painted.clear();
        m_shaped = true;
        endResetModel();
        return true;
    }

    // What a cell showed: its text and, in the marker column, its sign.
    static size_t Fingerprint(const QString &text, int sign) { return qHashMulti(0, text, sign); }
    size_t Fingerprint(const QModelIndex &index) const
    {
        return Fingerprint(data(index, Qt::DisplayRole).toString(), data(index, kSignRole).toInt());
    }
    void NotePainted(const QModelIndex &index, size_t fingerprint) const
    {
        std::vector<size_t> &row = m_painted[index.row()];
        row.resize(static_cast<size_t>(columnCount()), 0);
        row[static_cast<size_t>(index.column())] = fingerprint;
    }
    // Whether every cell of the row would be painted as it was last painted.
    bool PaintedAsNow(int row) const
    {
        const auto painted = m_painted.find(row);
        if (painted == m_painted.end())
            return false;
        for (int c = 0; c < columnCount(); ++c)
            if (painted->second[static_cast<size_t>(c)] != Fingerprint(index(row, c)))
                return false;
        return true;
    }
    // Only the rows that can still be on screen are remembered.
    void ForgetPaintedOutside(int first, int last) const
    {
        std::erase_if(m_painted, [&](const auto &row) { return row.first < first || row.first > last; });
    }

    void RowChanged(int row)
    {
        if (row >= 0 && row < m_rows && columnCount() > 0)
            emit dataChanged(index(row, 0), index(row, columnCount() - 1));
    }

    int SourceColumn(int column) const { return m_firstColumn + column; }
    bool IsMarkerColumn(int column) const { return SourceColumn(column) == kMarkerColumn; }
    // Shown in the empty viewport once rows were loaded and there are none.
    QString EmptyMessage() const { return m_rows == 0 ? m_message : QString(); }

    int rowCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : m_rows; }
    int columnCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_headings.size());
    }

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!m_source || !index.isValid())
            return {};
        switch (role) {
        case Qt::DisplayRole:
            return m_source->EvaluateColumn(m_source->RecordNumberToId(index.row() + 1), SourceColumn(index.column()));
        case Qt::TextAlignmentRole:
            return m_alignments[static_cast<size_t>(index.column())];
        case Qt::ToolTipRole:
            return m_source->RowToolTip(m_source->RecordNumberToId(index.row() + 1));
        case kSignRole:
            return IsMarkerColumn(index.column()) ? m_source->RowSign(m_source->RecordNumberToId(index.row() + 1)) : 0;
        default:
            return {};
        }
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
            return {};
        if (role == Qt::DisplayRole)
            return m_headings[static_cast<size_t>(section)];
        if (role == Qt::TextAlignmentRole)
            return int(Qt::AlignLeft | Qt::AlignVCenter);
        return {};
    }

    Qt::ItemFlags flags(const QModelIndex &index) const override
    {
        return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
    }

private:
    IDVDataSource *m_source = nullptr;
    qint32 m_rows = 0;
    int m_firstColumn = 0;
    std::vector<QString> m_headings;
    std::vector<int> m_alignments;
    QString m_message;
    bool m_shaped = false;   // a shape was read (an empty one is a shape too)
    mutable std::unordered_map<int, std::vector<size_t>> m_painted;   // row: each cell's fingerprint
};

namespace {

class DataTableView final : public QTableView {
public:
    explicit DataTableView(QWidget *parent) : QTableView(parent) {}

    // Lays out pending model changes now, so the scroll range fits the rows before we scroll.
    void LayoutNow()
    {
        executeDelayedItemsLayout();
        updateGeometries();
    }

    // Type-ahead would walk every row of a list that may hold 32767 of them.
    void keyboardSearch(const QString &) override {}

protected:
    void paintEvent(QPaintEvent *event) override
    {
        const auto *m = static_cast<const DataViewModel *>(model());
        if (m) {
            const int first = rowAt(0);
            const int last = rowAt(viewport()->height() - 1);
            m->ForgetPaintedOutside(first, last < 0 ? m->rowCount() - 1 : last);
        }
        QTableView::paintEvent(event);
        const QString message = m ? m->EmptyMessage() : QString();
        if (message.isEmpty())
            return;
        QPainter painter(viewport());
        painter.setPen(palette().color(QPalette::Active, QPalette::PlaceholderText));
        painter.drawText(viewport()->rect().adjusted(8, 8, -8, -8), Qt::AlignCenter | Qt::TextWordWrap, message);
    }
};

// Draws the cells as usual and, in the marker column, a small arrow on the current row.
class MarkerDelegate final : public QStyledItemDelegate {
public:
    MarkerDelegate(QTableView *view, const DataViewModel *model) : QStyledItemDelegate(view), m_view(view), m_model(model) {}

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const QString text = PaintCell(painter, option, index);
        const bool marker = m_model->IsMarkerColumn(index.column());
        const int sign = marker ? index.data(kSignRole).toInt() : 0;
        m_model->NotePainted(index, DataViewModel::Fingerprint(text, sign));
        if (!marker)
            return;
        const QRect r = option.rect;
        const qreal size = qMin<qreal>(r.height() * 0.5, 9.0);
        // The state's sign takes the right part of the cell, the current row's arrow the left.
        if (sign != rsNone) {
            const qreal signSize = qMin<qreal>(r.height() * 0.6, 11.0);
            const QRectF box(r.right() - signSize - 3, r.top() + (r.height() - signSize) / 2, signSize, signSize);
            PaintSign(painter, box, sign);
        }
        if (index.row() != m_view->currentIndex().row())
            return;
        // Further left beside a problem badge, which reaches out of the sign's box.
        const qreal left = sign & (rsError | rsWarning) ? 0.4 : 0.6;
        const QPointF centre = sign != rsNone ? QPointF(r.left() + size * left + 1, QRectF(r).center().y()) : QRectF(r).center();
        QPainterPath arrow;
        arrow.moveTo(centre.x() - size * 0.35, centre.y() - size / 2);
        arrow.lineTo(centre.x() + size * 0.45, centre.y());
        arrow.lineTo(centre.x() - size * 0.35, centre.y() + size / 2);
        arrow.closeSubpath();
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(option.palette.color(option.state & QStyle::State_Selected ? QPalette::HighlightedText
                                                                                      : QPalette::Text));
        painter->drawPath(arrow);
        painter->restore();
    }

private:
    // The style draws the cell without its text (background, selection, focus), and the text is
    // drawn here on one line, elided to the cell. The style's own text drawing lays the whole
    // text out several times per cell, which for texts of a few hundred characters made paging
    // through a long list stutter; here a text is shaped once to elide it, when it may not fit,
    // and once to draw what shows.
    // Returns the cell's whole text.
    QString PaintCell(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
    {
        QStyleOptionViewItem opt = option;
        initStyleOption(&opt, index);
        const QString text = opt.text;
        opt.text.clear();
        const QWidget *widget = opt.widget;
        QStyle *style = widget ? widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, widget);
        if (text.isEmpty())
            return text;

        const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, widget) + 1;
        const QRect textRect = opt.rect.adjusted(margin, 0, -margin, 0);
        if (textRect.width() <= 0)
            return text;
        const QFontMetrics &fm = opt.fontMetrics;
        QString shown = text;
        if (shown.size() * qMax(1, fm.maxWidth()) > textRect.width()) {
            // No glyph is narrower than the narrowest of a few thin ones, so more characters than
            // fit at that width can never show: the rest is cut before shaping, marked as cut.
            const int cap = textRect.width() / NarrowestAdvance(fm) + 2;
            if (shown.size() > cap) {
                shown.truncate(cap);
                shown += QChar(0x2026);
            }
            shown = fm.elidedText(shown, opt.textElideMode, textRect.width());
        }

        const QPalette::ColorGroup group = !(opt.state & QStyle::State_Enabled) ? QPalette::Disabled
                                           : (opt.state & QStyle::State_Active)   ? QPalette::Normal
                                                                                  : QPalette::Inactive;
        painter->save();
        painter->setFont(opt.font);
        painter->setPen(opt.palette.color(group, opt.state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text));
        const Qt::Alignment alignment = QStyle::visualAlignment(opt.direction, opt.displayAlignment);
        if (opt.direction == Qt::LeftToRight && (alignment & Qt::AlignVCenter)) {
            // One line, centred: drawn at its baseline, without the line breaking of a text box.
            const qreal x = alignment & Qt::AlignRight ? textRect.right() + 1 - QFontMetricsF(opt.font).horizontalAdvance(shown)
                                                       : textRect.left();
            const int y = textRect.top() + (textRect.height() - fm.height()) / 2 + fm.ascent();
            painter->setClipRect(textRect, Qt::IntersectClip);
            painter->drawText(QPointF(x, y), shown);
        } else {
            painter->drawText(textRect, int(alignment) | Qt::TextSingleLine, shown);
        }
        painter->restore();
        return text;
    }

    int NarrowestAdvance(const QFontMetrics &fm) const
    {
        const qint64 font = qint64(fm.fontDpi() * 1000) * 100000 + fm.height() * 100 + fm.maxWidth();
        if (font != m_narrowestFont) {
            int narrowest = fm.horizontalAdvance(QLatin1Char(' '));
            for (const QChar c : QStringLiteral("il.,:;'!|jI1"))
                narrowest = qMin(narrowest, fm.horizontalAdvance(c));
            m_narrowest = qMax(1, narrowest);
            m_narrowestFont = font;
        }
        return m_narrowest;
    }

    QTableView *m_view;
    const DataViewModel *m_model;
    mutable int m_narrowest = 1;
    mutable qint64 m_narrowestFont = -1;
};

} // namespace

class UCKvDataView::Private {
public:
    explicit Private(UCKvDataView *owner) : q(owner) {}

    void UpdateColumnSizes();
    void OnCurrentChanged(const QModelIndex &current);
    void ScrollToTop(qint32 record);
    void DetachSource();
    void RepaintChangedRows();

    UCKvDataView *q;
    DataTableView *view = nullptr;
    QWidget *viewport = nullptr;   // the view's, kept so the filter never asks a view being destroyed
    DataViewModel *model = nullptr;
    IDVDataSource *source = nullptr;
    QMetaObject::Connection sourceDestroyed;
    bool activated = false;
    bool sizing = false;
    int lastRow = -1;   // the row FeedbackChanged last reported, -1 for none
    int heightMin = 0;
    int widthMin = 0;
};

void UCKvDataView::Private::UpdateColumnSizes()
{
    if (!source || sizing)
        return;
    // Resizing sections may show or hide a scroll bar, which resizes the viewport again.
    sizing = true;
    source->CalculateColumnSizes(q->window(), view->viewport()->width());
    QHeaderView *header = view->horizontalHeader();
    for (int c = 0; c < model->columnCount(); ++c) {
        const double width = source->ColumnWidth(model->SourceColumn(c));
        header->resizeSection(c, qMax(0, static_cast<int>(std::lround(width))));
    }
    // The source gives the height of the text; a row keeps a margin above and below it, as a
    // cell keeps one beside it (PaintCell), so that rows do not look cramped.
    const int margin = 2 * (view->style()->pixelMetric(QStyle::PM_FocusFrameVMargin, nullptr, view) + 1);
    const int rowHeight = static_cast<int>(std::lround(source->RowHeight())) + margin;
    if (rowHeight > margin && rowHeight != view->verticalHeader()->defaultSectionSize())
        view->verticalHeader()->setDefaultSectionSize(rowHeight);
    sizing = false;
}

void UCKvDataView::Private::OnCurrentChanged(const QModelIndex &current)
{
    const int row = current.isValid() ? current.row() : -1;
    if (row == lastRow)
        return;
    lastRow = row;
    const qint32 count = model->rowCount();
    QString text;
    if (source && row >= 0)
        text = source->ReportRecordCount(row + 1, count);
    emit q->FeedbackChanged(text);
}

void UCKvDataView::Private::ScrollToTop(qint32 record)
{
    if (record < 1 || record > model->rowCount())
        return;
    view->LayoutNow();
    // Scrolling is per item, so the bar's value is the top row (0-based); the bar clamps it where
    // the last rows already fill the window.
    view->verticalScrollBar()->setValue(record - 1);
}

// After an edit the list usually keeps its shape and only a row or two read differently: those
// are repainted, instead of shaping every visible text again.
void UCKvDataView::Private::RepaintChangedRows()
{
    if (model->rowCount() == 0) {
        viewport->update();
        return;
    }
    view->LayoutNow();
    const int first = view->rowAt(0);
    const int last = view->rowAt(viewport->height() - 1);
    if (first < 0) {
        viewport->update();
        return;
    }
    for (int row = first, end = last < 0 ? model->rowCount() - 1 : last; row <= end; ++row)
        if (!model->PaintedAsNow(row))
            viewport->update(0, view->rowViewportPosition(row), viewport->width(), view->rowHeight(row));
}

void UCKvDataView::Private::DetachSource()
{
    QObject::disconnect(sourceDestroyed);
    sourceDestroyed = {};
    source = nullptr;
}

UCKvDataView::UCKvDataView(QWidget *parent) : QWidget(parent), d(std::make_unique<Private>(this))
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    d->view = new DataTableView(this);
    d->view->setObjectName(QStringLiteral("tableView"));
    d->model = new DataViewModel(this);
    d->view->setModel(d->model);
    d->view->setItemDelegate(new MarkerDelegate(d->view, d->model));
    layout->addWidget(d->view);
    setFocusProxy(d->view);

    QTableView *v = d->view;
    v->setSelectionBehavior(QAbstractItemView::SelectRows);
    v->setSelectionMode(QAbstractItemView::SingleSelection);
    v->setEditTriggers(QAbstractItemView::NoEditTriggers);
    v->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    v->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    v->setAlternatingRowColors(true);
    v->setShowGrid(false);
    v->setWordWrap(false);
    v->setTextElideMode(Qt::ElideRight);
    v->setCornerButtonEnabled(false);
    v->setTabKeyNavigation(false);
    v->setSortingEnabled(false);

    // Uniform rows: one default height for every row, never measured from contents.
    QHeaderView *rows = v->verticalHeader();
    rows->hide();
    rows->setMinimumSectionSize(1);
    rows->setSectionResizeMode(QHeaderView::Fixed);

    QHeaderView *columns = v->horizontalHeader();
    columns->setSectionResizeMode(QHeaderView::Interactive);
    columns->setStretchLastSection(false);
    columns->setHighlightSections(false);
    columns->setSectionsClickable(false);
    columns->setMinimumSectionSize(0);
    columns->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    columns->setTextElideMode(Qt::ElideRight);

    connect(v->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex &current) { d->OnCurrentChanged(current); });
    connect(v, &QAbstractItemView::doubleClicked, this, [this] { emit DblClick(); });
    d->viewport = v->viewport();
    v->installEventFilter(this);
    d->viewport->installEventFilter(this);

    d->heightMin = TwipsToPixelsY(kHeightMinTwips);
    d->widthMin = TwipsToPixelsX(kWidthMinTwips);
    setMinimumSize(d->widthMin, d->heightMin);
}

UCKvDataView::~UCKvDataView()
{
    // The view goes first, while the private part it reports to still exists.
    QObject::disconnect(d->sourceDestroyed);
    // The filter goes before the view: its destruction sends events that would otherwise reach
    // eventFilter with a half-destroyed widget.
    d->view->removeEventFilter(this);
    d->viewport->removeEventFilter(this);
    delete d->view;
    d->view = nullptr;
    d->viewport = nullptr;
}

void UCKvDataView::setDataSource(IDVDataSource *source)
{
    d->DetachSource();
    d->source = source;
    if (source) {
        source->setFeedback(this);
        // A source that is a QObject is forgotten when it goes, instead of being asked afterwards.
        if (auto *object = dynamic_cast<QObject *>(source)) {
            d->sourceDestroyed = connect(object, &QObject::destroyed, this, [this] {
                d->DetachSource();
                Refresh();
            });
        }
    }
    Refresh();
}

IDVDataSource *UCKvDataView::DataSource() const { return d->source; }

qint32 UCKvDataView::CurrentRecord() const
{
    const QModelIndex current = d->view->currentIndex();
    return current.isValid() ? current.row() + 1 : 0;
}

void UCKvDataView::setCurrentRecord(qint32 record)
{
    if (record < 1 || record > d->model->rowCount()) {
        d->view->selectionModel()->clearSelection();
        d->view->selectionModel()->clearCurrentIndex();
        return;
    }
    const QModelIndex old = d->view->currentIndex();
    const QModelIndex index = d->model->index(record - 1, old.isValid() ? old.column() : 0);
    d->view->setCurrentIndex(index);
    d->view->LayoutNow();
    d->view->scrollTo(index, QAbstractItemView::EnsureVisible);
}

qint32 UCKvDataView::FirstVisibleRecord() const
{
    if (d->model->rowCount() == 0)
        return 0;
    d->view->LayoutNow();
    const int row = d->view->rowAt(0);
    return row < 0 ? 0 : row + 1;
}

qint32 UCKvDataView::VisibleRows() const
{
    const int rowHeight = qMax(1, d->view->verticalHeader()->defaultSectionSize());
    return qMax(1, d->view->viewport()->height() / rowHeight);
}

void UCKvDataView::ShowId(qint32 id)
{
    if (!d->source || !d->activated)
        return;
    // The list may have been rebuilt since the last look; cells are always read afresh, only a
    // changed count needs the model to be told.
    if (d->source->GetRecordCount() != d->model->rowCount())
        Refresh();
    else
        d->RepaintChangedRows();
    const qint32 rows = d->model->rowCount();
    if (rows == 0)
        return;

    qint32 first = qMax<qint32>(1, FirstVisibleRecord());
    qint32 search = id;
    qint32 found = 0;
    d->source->UpdateBuffer(false, first, VisibleRows(), 0, true, search, found);
    if (found < 1 || found > rows) {
        qCWarning(lcDataView) << "ShowId: the source placed id" << id << "at row" << found << "of" << rows;
        return;
    }
    d->ScrollToTop(first);
    setCurrentRecord(found);
}

bool UCKvDataView::Activated() const { return d->activated; }

void UCKvDataView::setActivated(bool activated)
{
    if (d->activated == activated)
        return;
    d->activated = activated;
    Refresh();
}

void UCKvDataView::Refresh()
{
    const qint32 oldCurrent = CurrentRecord();
    const qint32 oldTop = FirstVisibleRecord();

    const bool reset = d->model->Reload(d->source, d->activated && d->source);
    d->lastRow = -1;
    d->UpdateColumnSizes();
    if (reset)
        d->view->viewport()->update();
    else
        d->RepaintChangedRows();

    const qint32 rows = d->model->rowCount();
    if (rows == 0) {
        emit FeedbackChanged(QString());
        return;
    }
    // Keep the window and the current row where they were, as far as the new list reaches.
    d->ScrollToTop(qBound<qint32>(1, oldTop, rows));
    setCurrentRecord(qBound<qint32>(1, oldCurrent, rows));
    // Without a reset the current row may stay where it was while another string moved into it.
    if (!reset)
        d->OnCurrentChanged(d->view->currentIndex());
}

void UCKvDataView::RefreshRecord(qint32 record)
{
    d->model->RowChanged(record - 1);
}

int UCKvDataView::HeightMin() const { return d->heightMin; }

void UCKvDataView::setHeightMin(int pixels)
{
    d->heightMin = qMax(0, pixels);
    setMinimumSize(d->widthMin, d->heightMin);
}

int UCKvDataView::WidthMin() const { return d->widthMin; }

void UCKvDataView::setWidthMin(int pixels)
{
    d->widthMin = qMax(0, pixels);
    setMinimumSize(d->widthMin, d->heightMin);
}

QTableView *UCKvDataView::TableView() const { return d->view; }

void UCKvDataView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    d->UpdateColumnSizes();
}

bool UCKvDataView::eventFilter(QObject *watched, QEvent *event)
{
    if (!d->view)
        return false;
    if (watched == d->viewport && event->type() == QEvent::Resize) {
        d->UpdateColumnSizes();
    } else if (watched == d->view && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            emit KeyPress(key->modifiers() & Qt::ControlModifier ? 10 : 13);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace kvedit
