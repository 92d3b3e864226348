#pragma once
// Small helpers the dialogs share: twips geometry, placement over an owner, list columns.

#include <QPoint>
#include <QString>

class QTreeWidget;
class QWidget;

namespace kvedit::dialogs {

// Places a control at a designed position and size given in twips.
void PlaceTwips(QWidget *control, int left, int top, int width, int height);

// Moves a dialog to its opening position: cascaded below and right of the owner's window, or
// at a tenth of the screen's width and height when there is no owner.
void PlaceDialog(QWidget *dialog, QWidget *owner);

// The position of an input box or a sub-dialog opened from form: its top-left plus the offset.
QPoint CascadePosition(const QWidget *form);

// A two-column report list: single selection of whole rows, no tree decoration, headers shown.
void SetupReportList(QTreeWidget *list);

// Removes leading and trailing blanks (spaces) only; tabs and line breaks are content.
QString TrimBlanks(const QString &text);

// The key of a column header or a row kept in item data.
inline constexpr int kKeyRole = Qt::UserRole + 1;
// The value a row hands back when chosen.
inline constexpr int kTagRole = Qt::UserRole;

} // namespace kvedit::dialogs
