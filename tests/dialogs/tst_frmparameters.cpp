#include "dialogs/frmParameters.h"

#include "DialogTestSupport.h"
#include "TestServices.h"

#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

QStringList Rows(QTreeWidget *list)
{
    QStringList out;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        out << list->topLevelItem(i)->text(0) + QLatin1Char(':') + list->topLevelItem(i)->text(1);
    return out;
}

int SelectedRow(QTreeWidget *list)
{
    const QList<QTreeWidgetItem *> selected = list->selectedItems();
    return selected.isEmpty() ? 0 : list->indexOfTopLevelItem(selected.first()) + 1;
}

QStringList Numbered(const QStringList &descriptions)
{
    QStringList out;
    for (int i = 0; i < descriptions.size(); ++i)
        out << QStringLiteral("%1:%2").arg(i + 1).arg(descriptions.at(i));
    return out;
}

const char *const kButtons[] = {"cmdInsert", "cmdDelete", "cmdEdit", "cmdMoveDown", "cmdMoveUp", "cmdAdd", "cmdReset"};

QString EnabledButtons(QWidget *dialog)
{
    QStringList on;
    for (const char *name : kButtons)
        if (Find<QPushButton>(dialog, name)->isEnabled())
            on << QString::fromLatin1(name).mid(3);
    return on.join(QLatin1Char(' '));
}

void Select(QTreeWidget *list, int row)
{
    if (row > 0) {
        const QRect rect = list->visualItemRect(list->topLevelItem(row - 1));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    }
}

} // namespace

class TestFrmParameters : public QObject {
    Q_OBJECT

private slots:
    void commands_data();
    void commands();
    void resetRestoresTheLoadedRows();
    void buttonRules_data();
    void buttonRules();
    void cancelWritesNothing();
    void okOnUnchangedListRewritesIt();
    void deletingEverythingClearsAndReturnsFalse();
    void nothingToEdit();
    void captionPlacementAndColumns();
    void layoutInTwips_data();
    void layoutInTwips();
    void tabOrder();
};

void TestFrmParameters::commands_data()
{
    QTest::addColumn<QStringList>("initial");
    QTest::addColumn<int>("selected");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<int>("selectedAfter");
    QTest::addColumn<bool>("dirty");

    const QStringList abc{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    const QString addPrompt;
    QTest::newRow("add to three") << abc << 0 << "cmdAdd" << "  d  " << "Add parameter 4"
                                  << QStringList{"1:a", "2:b", "3:c", "4:d"} << 4 << true;
    QTest::newRow("add to empty") << QStringList() << 0 << "cmdAdd" << "first" << "Add parameter 1"
                                  << QStringList{"1:first"} << 1 << true;
    QTest::newRow("add cancelled") << abc << 2 << "cmdAdd" << "" << "Add parameter 4" << Numbered(abc) << 2 << false;
    QTest::newRow("add blanks only") << abc << 0 << "cmdAdd" << "   " << "Add parameter 4" << Numbered(abc) << 0
                                     << false;
    QTest::newRow("insert at two") << abc << 2 << "cmdInsert" << "x" << "Insert parameter 2"
                                   << QStringList{"1:a", "2:x", "3:b", "4:c"} << 2 << true;
    QTest::newRow("insert at one") << abc << 1 << "cmdInsert" << " x" << "Insert parameter 1"
                                   << QStringList{"1:x", "2:a", "3:b", "4:c"} << 1 << true;
    QTest::newRow("insert cancelled") << abc << 1 << "cmdInsert" << "" << "Insert parameter 1" << Numbered(abc) << 1
                                      << false;
    QTest::newRow("edit two") << abc << 2 << "cmdEdit" << " B2 " << "Edit parameter 2"
                              << QStringList{"1:a", "2:B2", "3:c"} << 2 << true;
    QTest::newRow("edit cancelled") << abc << 3 << "cmdEdit" << "" << "Edit parameter 3" << Numbered(abc) << 3
                                    << false;
    QTest::newRow("delete middle") << abc << 2 << "cmdDelete" << QString() << QString()
                                   << QStringList{"1:a", "2:c"} << 2 << false;
    QTest::newRow("delete first") << abc << 1 << "cmdDelete" << QString() << QString()
                                  << QStringList{"1:b", "2:c"} << 1 << false;
    QTest::newRow("delete last") << abc << 3 << "cmdDelete" << QString() << QString()
                                 << QStringList{"1:a", "2:b"} << 2 << false;
    QTest::newRow("delete only") << QStringList{"a"} << 1 << "cmdDelete" << QString() << QString() << QStringList()
                                 << 0 << false;
    QTest::newRow("move down two of three") << abc << 2 << "cmdMoveDown" << QString() << QString()
                                            << QStringList{"1:a", "2:c", "3:b"} << 3 << true;
    QTest::newRow("move down first") << abc << 1 << "cmdMoveDown" << QString() << QString()
                                     << QStringList{"1:b", "2:a", "3:c"} << 2 << true;
    QTest::newRow("move down without selection does nothing")
        << abc << 0 << "cmdMoveDown" << QString() << QString() << Numbered(abc) << 0 << false;
    QTest::newRow("move up two") << abc << 2 << "cmdMoveUp" << QString() << QString()
                                 << QStringList{"1:b", "2:a", "3:c"} << 1 << true;
    QTest::newRow("move up last") << abc << 3 << "cmdMoveUp" << QString() << QString()
                                  << QStringList{"1:a", "2:c", "3:b"} << 2 << true;
}

void TestFrmParameters::commands()
{
    QFETCH(QStringList, initial);
    QFETCH(int, selected);
    QFETCH(QString, command);
    QFETCH(QString, answer);
    QFETCH(QString, title);
    QFETCH(QStringList, rows);
    QFETCH(int, selectedAfter);
    QFETCH(bool, dirty);

    TestServices services;
    Tables tables;
    tables.Put(7, ssEnglishDefault, TextSpec{QStringLiteral("x"), QStringLiteral("seven")});
    tables.SetParameters(7, initial);
    const StringEntryPtr entry = tables.Entry(7, ssEnglishDefault);
    if (!answer.isNull())
        services.prompts->inputAnswers.enqueue(answer);

    frmParameters form;
    QStringList rowsSeen;
    int selectedSeen = -1;
    bool dirtySeen = !dirty;
    bool resetEnabled = !dirty;
    OnModal<frmParameters>([&](frmParameters *dialog) {
        auto *list = Find<QTreeWidget>(dialog, "lvwParameters");
        Select(list, selected);
        QCOMPARE(SelectedRow(list), selected);
        auto *button = Find<QPushButton>(dialog, command.toLatin1().constData());
        QVERIFY(button->isEnabled());
        QTest::mouseClick(button, Qt::LeftButton);
        rowsSeen = Rows(list);
        selectedSeen = SelectedRow(list);
        dirtySeen = dialog->Dirty();
        resetEnabled = Find<QPushButton>(dialog, "cmdReset")->isEnabled();
        QCOMPARE(QApplication::focusWidget(), list);
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdOk"), Qt::LeftButton);
    });
    const bool saved = form.Edit(nullptr, entry);

    QCOMPARE(rowsSeen, rows);
    QCOMPARE(selectedSeen, selectedAfter);
    QCOMPARE(dirtySeen, dirty);
    QCOMPARE(resetEnabled, dirty);
    if (title.isEmpty()) {
        QVERIFY(services.prompts->calls.isEmpty());
    } else {
        QCOMPARE(services.prompts->calls.size(), 1);
        const PromptCall &call = services.prompts->calls.first();
        QCOMPARE(call.kind, PromptCall::Input);
        QCOMPARE(call.title, title);
        QCOMPARE(call.text, command == QLatin1String("cmdEdit") ? QStringLiteral("Type a new description for the parameter")
                                                               : QStringLiteral("Type a description for the new parameter"));
        QCOMPARE(call.defaultText, QString());
        QCOMPARE(call.position, form.pos() + QPoint(20, 20));
    }
    // Ok wrote the rows back, numbers and all.
    QCOMPARE(saved, !rows.isEmpty());
    QCOMPARE(Descriptions(entry->ParameterDefinitions()), rows);
    QVERIFY(services.reporter->errors.isEmpty());
}

void TestFrmParameters::resetRestoresTheLoadedRows()
{
    TestServices services;
    Tables tables;
    tables.Put(7, ssEnglishDefault, QStringLiteral("x"));
    tables.SetParameters(7, {QStringLiteral("a"), QStringLiteral("b")});
    services.prompts->inputAnswers << QStringLiteral("c");
    frmParameters form;
    QStringList afterAdd;
    QStringList afterReset;
    bool resetAfterReset = true;
    OnModal<frmParameters>([&](frmParameters *dialog) {
        auto *list = Find<QTreeWidget>(dialog, "lvwParameters");
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdAdd"), Qt::LeftButton);
        afterAdd = Rows(list);
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdReset"), Qt::LeftButton);
        afterReset = Rows(list);
        resetAfterReset = Find<QPushButton>(dialog, "cmdReset")->isEnabled();
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdCancel"), Qt::LeftButton);
    });
    QVERIFY(!form.Edit(nullptr, tables.Entry(7, ssEnglishDefault)));
    QCOMPARE(afterAdd, (QStringList{"1:a", "2:b", "3:c"}));
    QCOMPARE(afterReset, (QStringList{"1:a", "2:b"}));
    QVERIFY(!resetAfterReset);
    QVERIFY(!form.Dirty());
}

void TestFrmParameters::buttonRules_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("selected");
    QTest::addColumn<QString>("enabled");

    QTest::newRow("empty list") << 0 << 0 << "Add";
    // Move Down stays enabled without a selection: 0 < count.
    QTest::newRow("rows, nothing selected") << 3 << 0 << "MoveDown Add";
    QTest::newRow("first of three") << 3 << 1 << "Insert Delete Edit MoveDown Add";
    QTest::newRow("middle of three") << 3 << 2 << "Insert Delete Edit MoveDown MoveUp Add";
    QTest::newRow("last of three") << 3 << 3 << "Insert Delete Edit MoveUp Add";
    QTest::newRow("only row") << 1 << 1 << "Insert Delete Edit Add";
}

void TestFrmParameters::buttonRules()
{
    QFETCH(int, count);
    QFETCH(int, selected);
    QFETCH(QString, enabled);

    TestServices services;
    Tables tables;
    tables.Put(7, ssEnglishDefault, QStringLiteral("x"));
    QStringList descriptions;
    for (int i = 1; i <= count; ++i)
        descriptions << QStringLiteral("p%1").arg(i);
    tables.SetParameters(7, descriptions);
    frmParameters form;
    QString seen;
    OnModal<frmParameters>([&](frmParameters *dialog) {
        Select(Find<QTreeWidget>(dialog, "lvwParameters"), selected);
        seen = EnabledButtons(dialog);
    });
    form.Edit(nullptr, tables.Entry(7, ssEnglishDefault));
    QCOMPARE(seen, enabled);
}

void TestFrmParameters::cancelWritesNothing()
{
    TestServices services;
    Tables tables;
    tables.Put(7, ssEnglishDefault, QStringLiteral("x"));
    tables.SetParameters(7, {QStringLiteral("a")});
    const StringEntryPtr entry = tables.Entry(7, ssEnglishDefault);
    services.prompts->inputAnswers << QStringLiteral("b");
    frmParameters form;
    OnModal<frmParameters>([&](frmParameters *dialog) {
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdAdd"), Qt::LeftButton);
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdCancel"), Qt::LeftButton);
    });
    QVERIFY(!form.Edit(nullptr, entry));
    QVERIFY(!form.Accepted());
    QCOMPARE(Descriptions(entry->ParameterDefinitions()), QStringList{"1:a"});

    // Closing by the window frame is a cancel too.
    frmParameters closed;
    OnModal<frmParameters>([&](frmParameters *dialog) { dialog->close(); });
    QVERIFY(!closed.Edit(nullptr, entry));
}

void TestFrmParameters::okOnUnchangedListRewritesIt()
{
    TestServices services;
    Tables tables;
    tables.Put(7, ssEnglishDefault, QStringLiteral("x"));
    tables.SetParameters(7, {QStringLiteral("a"), QStringLiteral("b")});
    const StringEntryPtr entry = tables.Entry(7, ssEnglishDefault);
    frmParameters form;
    OnModal<frmParameters>(
        [&](frmParameters *dialog) { QTest::mouseClick(Find<QPushButton>(dialog, "cmdOk"), Qt::LeftButton); });
    QVERIFY(form.Edit(nullptr, entry));
    QVERIFY(form.Accepted());
    QCOMPARE(Descriptions(entry->ParameterDefinitions()), (QStringList{"1:a", "2:b"}));
    QCOMPARE(entry->ParameterDefinitions()->Item(1).Placeholder(), QStringLiteral("%2"));
}

void TestFrmParameters::deletingEverythingClearsAndReturnsFalse()
{
    TestServices services;
    Tables tables;
    tables.Put(7, ssEnglishDefault, QStringLiteral("x"));
    tables.SetParameters(7, {QStringLiteral("a"), QStringLiteral("b")});
    const StringEntryPtr entry = tables.Entry(7, ssEnglishDefault);
    frmParameters form;
    OnModal<frmParameters>([&](frmParameters *dialog) {
        auto *list = Find<QTreeWidget>(dialog, "lvwParameters");
        Select(list, 1);
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdDelete"), Qt::LeftButton);
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdDelete"), Qt::LeftButton);
        QCOMPARE(list->topLevelItemCount(), 0);
        // Deleting alone does not make the list dirty.
        QVERIFY(!Find<QPushButton>(dialog, "cmdReset")->isEnabled());
        QTest::mouseClick(Find<QPushButton>(dialog, "cmdOk"), Qt::LeftButton);
    });
    QVERIFY(!form.Edit(nullptr, entry));
    QCOMPARE(entry->ParameterDefinitions()->Count(), 0);
}

void TestFrmParameters::nothingToEdit()
{
    TestServices services;
    Tables tables;
    tables.Put(7, ssEnglishDefault, QStringLiteral("x"));
    tables.Put(7, ssLocalEdited, QStringLiteral("y"));
    frmParameters form;
    QVERIFY(!form.Edit(nullptr, nullptr));
    // A translation of a string without definitions has no collection at all.
    const StringEntryPtr translation = tables.Entry(7, ssLocalEdited);
    QVERIFY(!translation->ParameterDefinitions());
    QVERIFY(!form.Edit(nullptr, translation));
    QVERIFY(!form.isVisible());
    QVERIFY(services.reporter->errors.isEmpty());
}

void TestFrmParameters::captionPlacementAndColumns()
{
    TestServices services;
    Tables tables;
    tables.Put(12, ssEnglishDefault, TextSpec{QStringLiteral("x"), QStringLiteral("File open failed")});
    tables.SetParameters(12, {QStringLiteral("a")});
    QWidget owner;
    owner.move(300, 200);

    for (QWidget *ownerWidget : {static_cast<QWidget *>(nullptr), &owner}) {
        frmParameters form;
        QString caption;
        QPoint position;
        QStringList headings;
        QStringList keys;
        int widths = 0;
        int listWidth = 0;
        OnModal<frmParameters>([&](frmParameters *dialog) {
            caption = dialog->windowTitle();
            position = dialog->pos();
            auto *list = Find<QTreeWidget>(dialog, "lvwParameters");
            for (int c = 0; c < 2; ++c) {
                headings << list->headerItem()->text(c);
                keys << list->headerItem()->data(c, Qt::UserRole + 1).toString();
                widths += list->columnWidth(c);
            }
            listWidth = list->width();
            QCOMPARE(list->columnWidth(0), dialog->fontMetrics().horizontalAdvance(QStringLiteral("NumberWW")));
        });
        form.Edit(ownerWidget, tables.Entry(12, ssEnglishDefault));
        QCOMPARE(caption, QStringLiteral("Edit Parameters for String Id 12: File open failed"));
        QCOMPARE(position, ownerWidget ? QPoint(320, 220) : QPoint(160, 100));
        QCOMPARE(headings, (QStringList{QStringLiteral("Number"), QStringLiteral("Description")}));
        QCOMPARE(keys, (QStringList{QStringLiteral("id"), QStringLiteral("description")}));
        QCOMPARE(widths, listWidth - form.fontMetrics().horizontalAdvance(QStringLiteral("WWW")));
        QCOMPARE(form.parentWidget(), ownerWidget);
    }
    QVERIFY(services.trace->Lines().contains(QStringLiteral("enter frmParameters.Edit")));
}

void TestFrmParameters::layoutInTwips_data()
{
    QTest::addColumn<int>("fontPixels");
    QTest::newRow("font as small as the design's") << 8;
    QTest::newRow("platform font") << 0;
    QTest::newRow("large font") << 20;
}

void TestFrmParameters::layoutInTwips()
{
    QFETCH(int, fontPixels);
    TestServices services;
    ApplicationFont font(fontPixels);
    frmParameters form;
    // Buttons are 972 x 372 twips; Move Down above Move Up, Cancel under the right-hand column.
    CheckTwipsLayout(&form, QSize(7095, 2775),
                     {{"cmdReset", QRect(6000, 1560, 972, 372)},
                      {"cmdCancel", QRect(6000, 2280, 972, 372)},
                      {"cmdOk", QRect(4920, 2280, 972, 372)},
                      {"cmdMoveDown", QRect(6000, 360, 972, 372)},
                      {"cmdMoveUp", QRect(6000, 840, 972, 372)},
                      {"cmdDelete", QRect(3720, 2280, 972, 372)},
                      {"cmdInsert", QRect(2400, 2280, 972, 372)},
                      {"cmdAdd", QRect(1320, 2280, 972, 372)},
                      {"cmdEdit", QRect(120, 2280, 972, 372)},
                      {"lblParameters", QRect(120, 120, 840, 192)},
                      {"lvwParameters", QRect(120, 360, 5772, 1812)}},
                     fontPixels == 8);
    const QStringList captions{"&Reset", "&Cancel", "&Ok", "&Move Down", "Move &Up", "&Delete", "&Insert", "&Add", "&Edit"};
    QStringList seen;
    for (const QString &name : {"cmdReset", "cmdCancel", "cmdOk", "cmdMoveDown", "cmdMoveUp", "cmdDelete", "cmdInsert",
                                "cmdAdd", "cmdEdit"})
        seen << form.findChild<QPushButton *>(name)->text();
    QCOMPARE(seen, captions);
    QCOMPARE(Find<QLabel>(&form, "lblParameters")->text(), QStringLiteral("&Parameters"));
}

void TestFrmParameters::tabOrder()
{
    TestServices services;
    frmParameters form;
    QStringList order;
    QWidget *w = form.findChild<QWidget *>(QStringLiteral("lvwParameters"));
    for (int i = 0; i < 10; ++i) {
        order << w->objectName();
        w = w->nextInFocusChain();
        while (w->focusPolicy() == Qt::NoFocus || w->objectName().isEmpty())
            w = w->nextInFocusChain();
    }
    QCOMPARE(order, (QStringList{"lvwParameters", "cmdEdit", "cmdAdd", "cmdInsert", "cmdDelete", "cmdMoveDown",
                                 "cmdMoveUp", "cmdOk", "cmdCancel", "cmdReset"}));
    QVERIFY(Find<QPushButton>(&form, "cmdOk")->isDefault());
    auto *label = Find<QLabel>(&form, "lblParameters");
    QCOMPARE(label->buddy(), form.findChild<QWidget *>(QStringLiteral("lvwParameters")));
}

QTEST_MAIN(TestFrmParameters)
#include "tst_frmparameters.moc"
