// The translate dialog's suggestions: what the translation memory holds for the English text
// being translated, best first, each with its match percentage, its English with the differences
// to this string's English marked, and where it comes from. Ctrl+1..Ctrl+5 (or a double click)
// put one into the translation box.

#include "dialogs/frmTranslate.h"

#include "services/ErrorContext.h"
#include "textdiff/TextDiff.h"

#include <QAbstractTextDocumentLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLoggingCategory>
#include <QPainter>
#include <QPlainTextEdit>
#include <QShortcut>
#include <QStyledItemDelegate>
#include <QTextDocument>
#include <QTimer>
#include <QTreeWidget>
#include <QtMath>
#include <QVBoxLayout>

Q_LOGGING_CATEGORY(lcSuggestions, "kvedit.dialogs.memory")

namespace kvedit {

namespace {

enum SuggestionColumn { scKey, scPercent, scTranslation };
constexpr int kInsertRole = Qt::UserRole + 1;
constexpr int kHtmlRole = Qt::UserRole + 2;
constexpr int kMaxSuggestions = 5;
// Long enough for the dialog to be painted and take keys first.
constexpr int kLookupDelayMs = 80;
// Below this the shared words are mostly the small ones ("the", "of"): no help to a translator.
constexpr int kShownFloor = 60;

// Paints a cell's marked-up text, wrapped to the column: the translation over the English of the
// match, whose differences to this string's English are marked, and where it comes from.
class HtmlDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const QString html = index.data(kHtmlRole).toString();
        const auto *view = qobject_cast<const QTreeView *>(option.widget);
        if (html.isEmpty() || !view)
            return QStyledItemDelegate::sizeHint(option, index);
        QTextDocument document;
        Lay(document, option.font, html, view->columnWidth(index.column()) - 2 * kPadding);
        return {view->columnWidth(index.column()), qCeil(document.size().height()) + 2 * kPadding};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const QString html = index.data(kHtmlRole).toString();
        if (html.isEmpty())
            return QStyledItemDelegate::paint(painter, option, index);
        QStyleOptionViewItem plain = option;
        initStyleOption(&plain, index);
        plain.text.clear();
        plain.widget->style()->drawControl(QStyle::CE_ItemViewItem, &plain, painter, plain.widget);
        const QRect text = option.rect.adjusted(kPadding, kPadding, -kPadding, -kPadding);
        QTextDocument document;
        Lay(document, option.font, html, text.width());
        painter->save();
        painter->translate(text.topLeft());
        painter->setClipRect(QRect(0, 0, text.width(), text.height()));
        QAbstractTextDocumentLayout::PaintContext context;
        if (option.state & QStyle::State_Selected)
            context.palette.setColor(QPalette::Text, option.palette.color(QPalette::HighlightedText));
        document.documentLayout()->draw(painter, context);
        painter->restore();
    }

private:
    static constexpr int kPadding = 3;

    static void Lay(QTextDocument &document, const QFont &font, const QString &html, int width)
    {
        document.setDefaultFont(font);
        document.setDocumentMargin(0);
        document.setHtml(html);
        document.setTextWidth(qMax(width, 40));
    }
};

// One line of a text for a list cell.
QString OneLine(const QString &text)
{
    return QString(text).replace(QStringLiteral("\r\n"), QStringLiteral(" \u21b5 ")).replace(u'\t', QStringLiteral("  "));
}

} // namespace

QGroupBox *frmTranslate::CreateSuggestions()
{
    fraSuggestions = new QGroupBox(QStringLiteral("Suggestions from the translation memory (Ctrl+1 to Ctrl+5 insert)"));
    fraSuggestions->setObjectName(QStringLiteral("fraSuggestions"));
    lstSuggestions = new QTreeWidget(fraSuggestions);
    lstSuggestions->setObjectName(QStringLiteral("lstSuggestions"));
    lstSuggestions->setRootIsDecorated(false);
    // Five rows whose texts wrap to the column: each as tall as its text.
    lstSuggestions->setUniformRowHeights(false);
    lstSuggestions->setWordWrap(true);
    lstSuggestions->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    lstSuggestions->setAllColumnsShowFocus(true);
    lstSuggestions->setHeaderLabels({QStringLiteral("Key"), QStringLiteral("Match"),
                                     QStringLiteral("Translation / English of the match / from")});
    lstSuggestions->setItemDelegateForColumn(scTranslation, new HtmlDelegate(lstSuggestions));
    QHeaderView *header = lstSuggestions->header();
    header->setSectionResizeMode(scKey, QHeaderView::ResizeToContents);
    header->setSectionResizeMode(scPercent, QHeaderView::ResizeToContents);
    header->setSectionResizeMode(scTranslation, QHeaderView::Stretch);
    header->setStretchLastSection(true);
    // Wrapped rows change height with their column.
    connect(header, &QHeaderView::sectionResized, lstSuggestions, [this] { lstSuggestions->doItemsLayout(); });
    // All five suggestions of two lines each under the header, in the column beside the form.
    lstSuggestions->setMinimumHeight(fontMetrics().lineSpacing() * 13);
    auto *layout = new QVBoxLayout(fraSuggestions);
    layout->addWidget(lstSuggestions);
    fraSuggestions->hide();

    tmrSuggestions = new QTimer(this);
    tmrSuggestions->setObjectName(QStringLiteral("tmrSuggestions"));
    tmrSuggestions->setSingleShot(true);
    tmrSuggestions->setInterval(kLookupDelayMs);
    connect(tmrSuggestions, &QTimer::timeout, this, &frmTranslate::ShowSuggestions);
    for (int i = 0; i < kMaxSuggestions; ++i) {
        auto *key = new QShortcut(QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + i)), this);
        key->setObjectName(QStringLiteral("keyInsertSuggestion_%1").arg(i));
        connect(key, &QShortcut::activated, this, [this, i] { InsertSuggestion(i); });
    }
    connect(lstSuggestions, &QTreeWidget::itemDoubleClicked, this,
            [this](QTreeWidgetItem *item) { InsertSuggestion(lstSuggestions->indexOfTopLevelItem(item)); });
    return fraSuggestions;
}

void frmTranslate::StartSuggestions()
{
    lstSuggestions->clear();
    tmrSuggestions->stop();
    // Only a translation has suggestions; an English text is what the memory is searched by.
    const bool wanted = m_memory && m_entry && !m_checkEnglish;
    fraSuggestions->setVisible(wanted);
    if (wanted)
        tmrSuggestions->start();
}

void frmTranslate::ShowSuggestions()
{
    if (!m_memory || !m_entry)
        return;
    const StringTableSetPtr tables = m_entry->TextTable();
    const QString english = tables ? tables->Text(m_entry->Id(), ssEnglishDefault) : QString();
    QList<memory::Suggestion> found;
    try {
        found = m_memory->Lookup(english, m_entry->Id(), kShownFloor, kMaxSuggestions);
    } catch (const KvError &e) {
        // The dialog works without suggestions; the reason is there for a look.
        qCWarning(lcSuggestions) << e.Description();
        lstSuggestions->setToolTip(e.Description());
        return;
    }
    lstSuggestions->clear();
    for (int i = 0; i < found.size(); ++i) {
        const memory::Suggestion &s = found.at(i);
        auto *item = new QTreeWidgetItem(lstSuggestions);
        item->setText(scKey, QStringLiteral("Ctrl+%1").arg(i + 1));
        item->setText(scPercent, QStringLiteral("%1 %").arg(s.percent));
        item->setTextAlignment(scPercent, Qt::AlignRight | Qt::AlignVCenter);
        item->setText(scTranslation, OneLine(s.insertText));
        item->setData(scTranslation, kInsertRole, s.insertText);
        const QString marked = s.english == english
                                   ? OneLine(s.english).toHtmlEscaped()
                                   : textdiff::DiffHtml(textdiff::WordDiff(OneLine(s.english), OneLine(english)));
        item->setData(scTranslation, kHtmlRole,
                      OneLine(s.insertText).toHtmlEscaped()
                          + (s.approved ? QString() : QStringLiteral(" <i>(unapproved)</i>"))
                          + QStringLiteral("<br><span style=\"color:#555\">") + marked + QStringLiteral("</span>")
                          + QStringLiteral("<br><small style=\"color:#777\">%1, %2</small>").arg(s.origin.toHtmlEscaped()).arg(s.id));
        QString tip = QStringLiteral("Stored: %1\nEnglish: %2").arg(s.translation, s.english);
        if (s.adapted)
            tip += QStringLiteral("\nPlaceholders, shortcut marker and ending adapted to this string's English");
        for (int column = 0; column < lstSuggestions->columnCount(); ++column)
            item->setToolTip(column, tip);
    }
    if (found.isEmpty()) {
        auto *none = new QTreeWidgetItem(lstSuggestions);
        none->setText(scTranslation, QStringLiteral("No similar English text has a translation yet"));
        none->setFlags(Qt::NoItemFlags);
    }
}

void frmTranslate::InsertSuggestion(int index)
{
    Reporting("frmTranslate", "InsertSuggestion", [&] {
        if (tmrSuggestions->isActive()) {   // keys faster than the pause: look up now
            tmrSuggestions->stop();
            ShowSuggestions();
        }
        const QTreeWidgetItem *item = !fraSuggestions->isHidden() ? lstSuggestions->topLevelItem(index) : nullptr;
        if (!item || !(item->flags() & Qt::ItemIsEnabled))
            return;
        // As Copy Original does: the selection, or all of the text, replaced through the cursor
        // so the box's own undo takes it back.
        QTextCursor cursor = rtfTranslate->textCursor();
        if (!cursor.hasSelection())
            cursor.select(QTextCursor::Document);
        cursor.insertText(item->data(scTranslation, kInsertRole).toString().replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
        rtfTranslate->setTextCursor(cursor);
        m_keepCaret = true;
        rtfTranslate->setFocus();
    });
}

} // namespace kvedit
