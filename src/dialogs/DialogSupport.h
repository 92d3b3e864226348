#pragma once
// Small helpers the dialogs share: twips geometry, placement over an owner, list columns.

#include <QList>
#include <QPoint>
#include <QString>

class QTreeWidget;
class QWidget;

namespace kvedit::dialogs {

// A control's designed position and size in twips.
struct TwipsRect {
    QWidget *control;
    int left, top, width, height;
};

// Lays a form out as designed in twips: a client area and its controls. The design was drawn for
// a small 8-point font; when the form's font needs more room for a caption than its control was
// given, the whole design is scaled by one factor, so proportions and alignments stay as drawn
// and no caption is cut off. Returns that factor (1 when every caption fits).
double ApplyTwipsLayout(QWidget *form, int clientWidth, int clientHeight, const QList<TwipsRect> &controls);

// Moves a dialog to its opening position: cascaded below and right of the owner's window, or
// at a tenth of the screen's width and height when there is no owner.
void PlaceDialog(QWidget *dialog, QWidget *owner);

// The position of an input box or a sub-dialog opened from form: its top-left plus the offset.
QPoint CascadePosition(const QWidget *form);

// A two-column report list: single selection of whole rows, no tree decoration, headers shown.
void SetupReportList(QTreeWidget *list);

// Clears a two-column report list and gives it its headers: the first column as wide as its
// heading plus two wide characters, the second the rest of the list's width less three wide
// characters (room for the border and a vertical scroll bar). Widths use the form's font.
void SetupTwoColumns(QTreeWidget *list, const QWidget *form, const QString (&headings)[2], const QString (&keys)[2]);

// Removes leading and trailing blanks (spaces) only; tabs and line breaks are content.
QString TrimBlanks(const QString &text);

// The key of a column header or a row kept in item data.
inline constexpr int kKeyRole = Qt::UserRole + 1;
// The value a row hands back when chosen.
inline constexpr int kTagRole = Qt::UserRole;

} // namespace kvedit::dialogs
