#pragma once
// What the virtual list control asks of its data source. Widths and heights are in pixels of the
// container's font; record numbers are 1-based; EvaluateColumn takes the record's id.

#include <QString>
#include <QtGlobal>

class QObject;
class QWidget;

namespace kvedit {

class IDVDataSource {
public:
    virtual ~IDVDataSource() = default;
    virtual void CalculateColumnSizes(QWidget *objContainer, double sngTotalWidth) = 0;
    virtual int ColumnAlignment(int enmColumn) = 0;      // 0 left, 1 text (left, elided), 2 right
    virtual QString ColumnHeading(int enmColumn) = 0;
    virtual double ColumnWidth(int enmColumn) = 0;
    virtual int CountDataColumns() = 0;
    virtual int CountTotalColumns() = 0;
    virtual QString EvaluateColumn(qint32 lngEntry, int enmColumn) = 0;
    virtual QObject *Feedback() = 0;
    virtual void setFeedback(QObject *robjNew) = 0;
    virtual int FirstColumn() = 0;
    virtual qint32 GetRecordCount() = 0;
    virtual int IdColumn() = 0;
    virtual bool IsBufferLoaded() = 0;
    virtual int LastColumn() = 0;
    virtual QString NoDataMessage() = 0;
    virtual qint32 RecordNumberToId(qint32 lngRecordNumber) = 0;
    virtual QString ReportRecordCount(qint32 lngRecordNumber, qint32 lngRecordCount) = 0;
    virtual double RowHeight() = 0;
    virtual QString TypeName() = 0;
    virtual void UpdateBuffer(bool blnForcedUpdate, qint32 &rlngFirst, qint32 lngRows, int lngSort, bool blnSearch,
                              qint32 &rlngSearch, qint32 &rlngFoundRow) = 0;

    // Beyond the columns, with defaults so that a source without them draws plain rows: the sign
    // the marker column shows for a record's id (a RowSign, 0 for none), and the row's tooltip.
    virtual int RowSign(qint32 lngEntry)
    {
        Q_UNUSED(lngEntry)
        return 0;
    }
    virtual QString RowToolTip(qint32 lngEntry)
    {
        Q_UNUSED(lngEntry)
        return {};
    }
};

// The signs of the marker column: one shape per state, so that they differ without colour; a
// local edit adds a small badge to the state's sign, and a string with problems a warning or an
// error sign over it (the error's when it has both).
enum RowSign : int {
    rsNone = 0,
    rsMissing = 1,        // hollow circle
    rsOutOfDate = 2,      // triangle
    rsUnapproved = 3,     // hollow diamond
    rsApproved = 4,       // check mark
    rsPending = 5,        // filled square: an English correction waits
    rsShapeMask = 0x0f,
    rsLocalEdit = 0x10,   // badge: a dot at the lower right
    rsError = 0x20,       // badge: a filled circle with "!" at the upper left
    rsWarning = 0x40,     // badge: a triangle with "!" at the upper left
};

} // namespace kvedit
