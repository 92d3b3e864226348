#pragma once
// Feeds the resource list from the string-table set being edited.

#include "checks/TableChecker.h"
#include "dataview/IDVDataSource.h"
#include "model/CStringList.h"
#include "model/StringTables.h"
#include "states/StringStates.h"

#include <QObject>

#include <memory>

namespace kvedit {

// What the list shows of the table: every row (the default), or those matching a text (in the id,
// symbol, English text, translation or description; case-insensitive, shortcut markers cleaned)
// and a state.
struct ListFilter {
    QString text;
    StateFilter state = StateFilter::All;
    bool IsActive() const { return !text.isEmpty() || state != StateFilter::All; }
    bool operator==(const ListFilter &) const = default;
};

class CDVDataSource : public QObject, public IDVDataSource {
    Q_OBJECT
public:
    explicit CDVDataSource(QObject *parent = nullptr);
    ~CDVDataSource() override;

    // The workspace whose tables are shown (may be null: an empty list). Setting it empties the
    // list; TableVersion(Let) fills it.
    void setWorkspace(const ResourceWorkspacePtr &workspace);
    ResourceWorkspacePtr Workspace() const;
    StringTableSetPtr Tables() const;
    TextServerPtr Server() const;

    kvedit::TableVersion TableVersion() const;
    void setTableVersion(kvedit::TableVersion version);   // raises UpdateTitle, then RefreshStringList

    // The window title for the current version: the workspace name and the version's heading.
    QString Title() const;

    CStringList &StringList();
    // Lists the ids in use in the version (and, for a translation, in the English default too).
    // A translation without its source string is offered back to the set through AddEntry,
    // which never replaces a record in use; it is not listed in this pass.
    void RefreshStringList();
    // The states of the table version's strings, counted when the version is set; the editor
    // updates them after each change.
    StringStates &States();
    // The quality checks of the table version, made when the version is set with the rules the
    // workspace leaves on; null without tables. The editor invalidates them after each change.
    checks::TableChecker *Checks();
    // After a change to the tables: the checks of these ids (none: of every id, with the
    // workspace's rules read again) are made afresh on the next query.
    void InvalidateChecks(const QList<StringId> &ids = {});
    // After a Save that changed no value: the workspace's rules read again, the checks made
    // afresh only when those changed.
    void RereadCheckRules();
    // A filter applies from the next RefreshStringList: the rows of the fill that match it, in
    // their order.
    ListFilter Filter() const;
    void setFilter(const ListFilter &filter);
    bool Matches(qint32 id) const;
    // Control characters made visible: tab "\t", LF "\n", CR "\r", others removed. The loop
    // bound is the original length, so a closing CR LF renders as "\r" and a raw LF.
    static QString RenderForDisplay(const QString &text);
    // Milliseconds an automated run allows a message box before taking it as unanswered:
    // 5000 on a headless platform (offscreen, minimal, no GUI application), 0 (no limit) otherwise.
    qint32 MessageTestTimeout() const;
    void setLimit(qint32 limit);   // negative ignored, above MaximumCount cut to it; 0 at start
    qint32 Limit() const;

    // IDVDataSource
    void CalculateColumnSizes(QWidget *objContainer, double sngTotalWidth) override;
    int ColumnAlignment(int enmColumn) override;
    QString ColumnHeading(int enmColumn) override;
    double ColumnWidth(int enmColumn) override;
    int CountDataColumns() override;
    int CountSupportColumns();
    int CountTotalColumns() override;
    QString EvaluateColumn(qint32 lngEntry, int enmColumn) override;
    QObject *Feedback() override;
    void setFeedback(QObject *robjNew) override;
    int FirstColumn() override;
    qint32 GetRecordCount() override;
    int IdColumn() override;
    bool IsBufferLoaded() override;
    int LastColumn() override;
    QString NoDataMessage() override;
    qint32 RecordNumberToId(qint32 lngRecordNumber) override;
    QString ReportRecordCount(qint32 lngRecordNumber, qint32 lngRecordCount) override;
    double RowHeight() override;
    QString TypeName() override;
    void UpdateBuffer(bool blnForcedUpdate, qint32 &rlngFirst, qint32 lngRows, int lngSort, bool blnSearch,
                      qint32 &rlngSearch, qint32 &rlngFoundRow) override;

    int RowSign(qint32 lngEntry) override;
    QString RowToolTip(qint32 lngEntry) override;

    double CalculateColumnWidth(int column, QWidget *form);
    double CalculateRowHeight(QWidget *form);

signals:
    void UpdateTitle(int version);

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace kvedit
