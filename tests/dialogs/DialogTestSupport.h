#pragma once
// What the dialog tests share: a real in-memory workspace to take entries from, a way to work a
// modal dialog while its exec() runs, and case files to compare what a run shows with.

#include "server/Entry.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
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
        // KVEDIT_DIALOG_PICTURES=folder keeps a picture of each dialog as it opens, to look at its layout.
        static int pictures = 0;
        if (const QString folder = qEnvironmentVariable("KVEDIT_DIALOG_PICTURES"); !folder.isEmpty())
            dialog->grab().save(QStringLiteral("%1/%2-%3.png").arg(folder, QString::number(++pictures),
                                                                  dialog->objectName()));
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

// Control characters as their pictures (U+2400 on), so a case file shows tabs and line breaks.
inline QString Visible(QString text)
{
    for (QChar &c : text)
        if (c.unicode() < 32 || c.unicode() == 127)
            c = QChar(0x2400 + (c.unicode() == 127 ? 0x21 : c.unicode()));
    return text;
}

inline QString Invisible(QString text)
{
    for (QChar &c : text)
        if (c.unicode() >= 0x2400 && c.unicode() <= 0x2421)
            c = QChar(c.unicode() == 0x2421 ? 127 : c.unicode() - 0x2400);
    return text;
}

// A case file: "key: value" lines saying what to do ("#" lines say why), a line "---", then the
// lines the run must produce. KVEDIT_UPDATE_EXPECTED=1 writes what a run produced in their place.
class Case {
public:
    explicit Case(const QString &path) : path(path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            qWarning("Cannot read %s", qPrintable(path));
        head = QString::fromUtf8(file.readAll()).split(u'\n');
        expected = head.mid(head.indexOf(QStringLiteral("---")) + 1);
        head = head.mid(0, head.size() - expected.size());
        while (!expected.isEmpty() && expected.last().isEmpty())
            expected.removeLast();
    }
    // Every value given for the key, control pictures as the characters; quotes keep blanks.
    QStringList Values(const QString &key) const
    {
        QStringList values;
        for (const QString &line : head) {
            if (!line.startsWith(key + u':'))
                continue;
            const QString value = line.mid(key.size() + 1).trimmed();
            const bool quoted = value.size() > 1 && value.startsWith(u'"') && value.endsWith(u'"');
            values << Invisible(quoted ? value.mid(1, value.size() - 2) : value);
        }
        return values;
    }
    QString Value(const QString &key) const { return Values(key).value(0); }

    // Fails naming the file and line of the first difference.
    void Compare(const QStringList &actual) const
    {
        if (qEnvironmentVariableIntValue("KVEDIT_UPDATE_EXPECTED")) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Text));
            file.write((head + actual).join(u'\n').toUtf8() + '\n');
            return;
        }
        for (qsizetype i = 0; i < qMax(actual.size(), expected.size()); ++i)
            QVERIFY2(actual.value(i) == expected.value(i),
                     qPrintable(QStringLiteral("%1:%2: expected \"%3\", got \"%4\"").arg(
                         path, QString::number(head.size() + i + 1), expected.value(i), actual.value(i))));
    }

private:
    QString path;
    QStringList head, expected;
};

// One _data row, named after the file, for each case file of the folder.
inline void CaseRows(const QString &folder)
{
    QTest::addColumn<QString>("path");
    const QDir dir(folder);
    for (const QString &name : dir.entryList({QStringLiteral("*.txt")}, QDir::Files))
        QTest::newRow(qPrintable(name)) << dir.filePath(name);
    QVERIFY2(!dir.isEmpty(QDir::Files), qPrintable(folder));
}

} // namespace kvedit::test
