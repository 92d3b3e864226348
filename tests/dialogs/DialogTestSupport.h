#pragma once
// What the dialog tests share: a real in-memory workspace to take entries from, and a way to
// work a modal dialog while its exec() runs.

#include "server/Entry.h"
#include "services/Services.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFont>
#include <QFontMetrics>
#include <QLabel>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

namespace kvedit::test {

struct TextSpec {
    QString text;
    QString description;
    quint8 properties = 0;
    QString shortcutCharacter;
    quint8 shortcutMode = 0;
    qint32 status = 0;
};

class Tables {
public:
    explicit Tables(int maximumCount = kMaxStringId)
    {
        server::WorkspaceInfo info;
        info.name = QStringLiteral("Dialog tests");
        info.maximumCount = maximumCount;
        workspace = server::Workspace::CreateInMemory(info);
        set = std::dynamic_pointer_cast<server::TableSet>(workspace->Tables());
    }

    void Put(StringId id, StringSource source, const TextSpec &values)
    {
        server::Record record;
        record.text = values.text;
        record.hasText = !values.text.isEmpty();
        record.description = values.description;
        record.properties = values.properties;
        record.shortcutCharacter = values.shortcutCharacter;
        record.shortcutMode = values.shortcutMode;
        record.status = values.status;
        record.revision = 1;
        set->PutRecord(id, source, record);
    }
    void Put(StringId id, StringSource source, const QString &text) { Put(id, source, TextSpec{text, {}}); }

    void SetParameters(StringId id, const QStringList &descriptions)
    {
        server::ParameterList list;
        for (int i = 0; i < descriptions.size(); ++i)
            list.append(ParameterDefinition(i + 1, descriptions.at(i), server::ParameterCollection::PlaceholderOf(i + 1)));
        set->setParameters(id, list);
    }

    StringEntryPtr Entry(StringId id, StringSource source) const { return set->Entry(id, source); }
    int MaximumCount() const { return workspace->TextServer()->MaximumCount(); }

    server::WorkspacePtr workspace;
    std::shared_ptr<server::TableSet> set;
};

inline QStringList Descriptions(const ParameterDefinitionsPtr &parameters)
{
    QStringList out;
    if (parameters)
        for (const ParameterDefinition &d : parameters->Items())
            out << QStringLiteral("%1:%2").arg(d.Id()).arg(d.Description());
    return out;
}

// Runs work on the modal dialog of type D as soon as it is up (within exec()), then closes it if
// work left it open, so a failed check cannot leave the test waiting.
// Gives the activation back to a window after a modal child closed, as a window manager does;
// the offscreen platform leaves no window active then.
inline bool Reactivate(QWidget *window)
{
    if (window->isActiveWindow())
        return true;
    window->activateWindow();
    return QTest::qWaitForWindowActive(window, 2000);
}

template <typename D>
void OnModal(std::function<void(D *)> work, int attempts = 0)
{
    QTimer::singleShot(attempts == 0 ? 0 : 5, [work, attempts] {
        auto *dialog = qobject_cast<D *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible()) {
            if (attempts > 1000) {
                qWarning("No modal %s appeared", D::staticMetaObject.className());
                if (QWidget *other = QApplication::activeModalWidget())
                    other->close();
                return;
            }
            OnModal<D>(work, attempts + 1);
            return;
        }
        // Focus handling is part of what is tested: work on an active window.
        if (!Reactivate(dialog))
            qWarning("The modal %s did not become active", D::staticMetaObject.className());
        work(dialog);
        if (dialog->isVisible())
            dialog->close();
    });
}

// A control's designed position and size in twips.
struct DesignedRect {
    const char *name;
    QRect twips;
};

// Checks a form laid out in twips at 96 dpi: every control at its designed place scaled by one
// factor for the whole form (exactly 1 when exact is set), and no caption cut off.
inline void CheckTwipsLayout(QWidget *form, QSize clientTwips, const QList<DesignedRect> &design, bool exact)
{
    const double scale = form->width() / (clientTwips.width() / 15.0);
    if (exact)
        QCOMPARE(form->size(), clientTwips / 15);
    QVERIFY(scale >= 1.0);
    QVERIFY(qAbs(form->height() - clientTwips.height() * scale / 15.0) <= 1.0);
    for (const DesignedRect &d : design) {
        auto *control = form->findChild<QWidget *>(QLatin1String(d.name));
        QVERIFY2(control, d.name);
        const QRect expected(qRound(d.twips.x() * scale / 15.0), qRound(d.twips.y() * scale / 15.0),
                             qRound(d.twips.width() * scale / 15.0), qRound(d.twips.height() * scale / 15.0));
        const QRect actual = control->geometry();
        if (exact) {
            QCOMPARE(actual, expected);
        } else {
            const QRect gap(actual.topLeft() - expected.topLeft(), actual.size() - expected.size());
            QVERIFY2(qAbs(gap.x()) <= 1 && qAbs(gap.y()) <= 1 && qAbs(gap.width()) <= 1 && qAbs(gap.height()) <= 1,
                     d.name);
        }
        QString caption;
        int padding = 0;
        if (auto *button = qobject_cast<QAbstractButton *>(control)) {
            caption = button->text();
            padding = 12;
        } else if (auto *label = qobject_cast<QLabel *>(control)) {
            caption = label->text();
        }
        if (caption.isEmpty())
            continue;
        const QFontMetrics metrics(control->font());
        QVERIFY2(metrics.horizontalAdvance(CleanAccessMarkers(caption)) + padding <= actual.width(),
                 d.name);
        QVERIFY2(metrics.height() <= actual.height(), d.name);
    }
}

// Sets the application font for the lifetime of the object.
class ApplicationFont {
public:
    explicit ApplicationFont(int pixelSize) : m_saved(QApplication::font())
    {
        if (pixelSize > 0) {
            QFont font = m_saved;
            font.setPixelSize(pixelSize);
            QApplication::setFont(font);
        }
    }
    ~ApplicationFont() { QApplication::setFont(m_saved); }

private:
    QFont m_saved;
};

template <typename T>
T *Find(QWidget *form, const char *name)
{
    T *child = form->findChild<T *>(QLatin1String(name));
    if (!child)
        qWarning("No control %s", name);
    return child;
}

} // namespace kvedit::test
