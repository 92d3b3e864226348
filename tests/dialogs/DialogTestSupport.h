#pragma once
// What the dialog tests share: a real in-memory workspace to take entries from, and a way to
// work a modal dialog while its exec() runs.

#include "server/Entry.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>
#include <QTimer>

#include <functional>

namespace kvedit::test {

// What a test states of a stored text; the rest takes the defaults.
struct TextSpec {
    QString text{}, description{}, shortcutCharacter{};
    int properties = 0, shortcutMode = 0, status = 0, revision = 1;
};

class Tables {
public:
    server::WorkspacePtr workspace = server::Workspace::CreateInMemory({QStringLiteral("Dialog tests")});
    std::shared_ptr<server::TableSet> set = std::dynamic_pointer_cast<server::TableSet>(workspace->Tables());

    // A record as stored, with its text present when not empty.
    void Put(StringId id, StringSource source, const TextSpec &v)
    {
        set->PutRecord(id, source, server::Record{v.text, v.description, v.shortcutCharacter, qint16(v.revision),
                                                  quint8(v.properties), quint8(v.shortcutMode), v.status, !v.text.isEmpty()});
    }
    void SetParameters(StringId id, const QStringList &descriptions)
    {
        server::ParameterList list;
        for (int i = 1; i <= descriptions.size(); ++i)
            list.append(ParameterDefinition(i, descriptions.at(i - 1), server::ParameterCollection::PlaceholderOf(i)));
        set->setParameters(id, list);
    }
    StringEntryPtr Entry(StringId id, StringSource source) const { return set->Entry(id, source); }
};

// "1:first", "2:second", ... for comparing definitions with list rows.
inline QStringList Descriptions(const ParameterDefinitionsPtr &parameters)
{
    QStringList out;
    for (const ParameterDefinition &d : parameters ? parameters->Items() : QList<ParameterDefinition>())
        out << QStringLiteral("%1:%2").arg(d.Id()).arg(d.Description());
    return out;
}

// Gives the activation back to a window after a modal child closed, as a window manager does;
// the offscreen platform leaves no window active then.
inline bool Reactivate(QWidget *window)
{
    window->activateWindow();
    return window->isActiveWindow() || QTest::qWaitForWindowActive(window, 2000);
}

// Runs work on the modal dialog of type D once it is up and active (within exec()), then closes
// it if work left it open, so a failed check cannot leave the test waiting.
template <typename D>
void OnModal(std::function<void(D *)> work, int attempts = 0)
{
    QTimer::singleShot(attempts == 0 ? 0 : 5, [work, attempts] {
        auto *dialog = qobject_cast<D *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible()) {
            if (attempts < 1000)
                return OnModal<D>(work, attempts + 1);
            qWarning("No modal %s appeared", D::staticMetaObject.className());
            if (QWidget *other = QApplication::activeModalWidget())
                other->close();
            return;
        }
        if (!Reactivate(dialog))
            qWarning("The modal %s did not become active", D::staticMetaObject.className());
        work(dialog);
        if (dialog->isVisible())
            dialog->close();
    });
}

template <typename T = QWidget>
T *Find(QWidget *form, const char *name)
{
    T *child = form->findChild<T *>(QLatin1String(name));
    if (!child)
        qWarning("No control %s", name);
    return child;
}

inline void Click(QWidget *dialog, const char *name)
{
    auto *button = Find<QAbstractButton>(dialog, name);
    QVERIFY2(button && button->isEnabled(), name);
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(4, button->height() / 2));
}

} // namespace kvedit::test
