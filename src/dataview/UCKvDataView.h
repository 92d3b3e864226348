#pragma once
// The virtual list control: a QTableView over a flat model that asks an IDVDataSource for
// everything it shows, and only for the rows that are visible.

#include "dataview/IDVDataSource.h"

#include <QWidget>

class QTableView;

namespace kvedit {

class DataViewModel;

class UCKvDataView : public QWidget {
    Q_OBJECT
public:
    explicit UCKvDataView(QWidget *parent = nullptr);
    ~UCKvDataView() override;

    // The source is not owned; the control hands itself to it as the feedback object.
    void setDataSource(IDVDataSource *source);
    IDVDataSource *DataSource() const;

    // Current record, 1-based; 0 when the list is empty or nothing is current.
    qint32 CurrentRecord() const;
    void setCurrentRecord(qint32 record);
    // The record at the top of the visible window (1-based) and how many rows fit.
    qint32 FirstVisibleRecord() const;
    qint32 VisibleRows() const;

    // Brings the id into view as the current row, asking the source where it stands
    // (UpdateBuffer with search set).
    void ShowId(qint32 id);

    // False until the first activation; setting it true loads and draws the rows.
    bool Activated() const;
    void setActivated(bool activated);

    // Re-reads the record count, headings and widths (after the source's list changed).
    void Refresh();
    // Repaints one record only.
    void RefreshRecord(qint32 record);

    // Minimum extents the control asks of its container, in pixels.
    int HeightMin() const;
    void setHeightMin(int pixels);
    int WidthMin() const;
    void setWidthMin(int pixels);

    QTableView *TableView() const;

signals:
    void DblClick();
    // Key presses the control does not use itself: 13 for Enter, 10 for Ctrl+Enter.
    void KeyPress(int keyAscii);
    // The source's ReportRecordCount for the current row, whenever the current row changes.
    void FeedbackChanged(const QString &text);

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace kvedit
