#include "dialogs/frmInsert.h"
#include "dialogs/frmParameters.h"
#include "dialogs/frmReport.h"
#include "dialogs/frmTranslate.h"

#include "DialogTestSupport.h"
#include "TestServices.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextBlock>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::test;

namespace {

constexpr StringId kId = 42;

// The text of a plain-text box with its line breaks as the dialog reads them.
QString BoxText(QPlainTextEdit *box)
{
    return box->toPlainText().replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
}

StringEntryPtr Run(const StringEntryPtr &entry, std::function<void(frmTranslate *)> work, QWidget *owner = nullptr,
                   int maximumCount = kMaxStringId)
{
    frmTranslate form;
    OnModal<frmTranslate>(std::move(work));
    return form.Edit(owner, entry, maximumCount);
}

void Click(QWidget *dialog, const char *name)
{
    auto *button = dialog->findChild<QAbstractButton *>(QLatin1String(name));
    QVERIFY2(button, name);
    QVERIFY2(button->isEnabled(), name);
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(4, button->height() / 2));
}

struct EntryValues {
    StringId id;
    QString text, description, shortcutCharacter;
    bool shortcut, lines, tab, valid;
    int mode;
    QStringList parameters;
};

EntryValues ValuesOf(const StringEntryPtr &e)
{
    return {e->Id(), e->Text(), e->EntryText(), e->ShortcutCharacter(), e->Property(tpAllowShortcut),
            e->Property(tpMultipleLines), e->Property(tpAllowTab), e->Status(sfApproved), e->ShortcutMode(),
            Descriptions(e->ParameterDefinitions())};
}

bool operator==(const EntryValues &a, const EntryValues &b)
{
    return a.id == b.id && a.text == b.text && a.description == b.description
           && a.shortcutCharacter == b.shortcutCharacter && a.shortcut == b.shortcut && a.lines == b.lines
           && a.tab == b.tab && a.valid == b.valid && a.mode == b.mode && a.parameters == b.parameters;
}

} // namespace

class TestFrmTranslate : public QObject {
    Q_OBJECT

private slots:
    void modes_data();
    void modes();
    void propertyLabels_data();
    void propertyLabels();
    void originals_data();
    void originals();
    void idValidation_data();
    void idValidation();
    void multipleLinesOffStripsLineBreaks();
    void enterKey_data();
    void enterKey();
    void shortcutCombos();
    void saveBuildsTheResult();
    void trimmedResults_data();
    void trimmedResults();
    void cancelLeavesTheEntryUnchanged();
    void validMarkKeepsTheCaret();
    void insertSpecial_data();
    void insertSpecial();
    void reportShowsTheTranslation();
    void parameterDisplay();
    void placement();
    void nullEntry();
};

void TestFrmTranslate::modes_data()
{
    QTest::addColumn<int>("source");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("frame");

    QTest::newRow("English default: edit") << 3 << "Edit string resource 42" << "&New value";
    QTest::newRow("local edited: translate") << 0 << "Translate string resource 42"
                                             << "&New translation for German edited";
    QTest::newRow("local default: translate") << 1 << "Translate string resource 42"
                                              << "&New translation for German default";
    QTest::newRow("English edited: translate") << 2 << "Translate string resource 42"
                                               << "&New translation for English edited";
}

void TestFrmTranslate::modes()
{
    QFETCH(int, source);
    QFETCH(QString, caption);
    QFETCH(QString, frame);
    const bool editMode = source == 3;

    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, TextSpec{QStringLiteral("Open file"), QStringLiteral("File menu")});
    tables.Put(kId, StringSource(source), TextSpec{QStringLiteral("Datei öffnen"), QStringLiteral("File menu")});
    tables.SetParameters(kId, {QStringLiteral("name")});

    Run(tables.Entry(kId, StringSource(source)), [&](frmTranslate *dialog) {
        QCOMPARE(dialog->windowTitle(), caption);
        QCOMPARE(Find<QGroupBox>(dialog, "fraTranslate")->title(), frame);
        QCOMPARE(Find<QLineEdit>(dialog, "txtId")->text(), QStringLiteral("42"));
        QCOMPARE(Find<QLineEdit>(dialog, "txtDescription")->text(), QStringLiteral("File menu"));
        QCOMPARE(Find<QLineEdit>(dialog, "txtId")->isReadOnly(), !editMode);
        QCOMPARE(Find<QLineEdit>(dialog, "txtDescription")->isReadOnly(), !editMode);
        QCOMPARE(Find<QPushButton>(dialog, "cmdEditParameterDefs")->isHidden(), !editMode);
        for (int i = 0; i < 3; ++i) {
            const QByteArray index = QByteArray::number(i);
            QCOMPARE(Find<QCheckBox>(dialog, "chkProperties_" + index)->isHidden(), !editMode);
            QCOMPARE(Find<QLabel>(dialog, "lblProperties_" + index)->isHidden(), editMode);
        }
        // The focus timer puts the focus on the mode's first control, its text selected.
        QVERIFY(dialog->findChild<QTimer *>(QStringLiteral("tmrFocus")));
        if (editMode) {
            auto *id = Find<QLineEdit>(dialog, "txtId");
            QTRY_COMPARE(QApplication::focusWidget(), id);
            QCOMPARE(id->selectedText(), QStringLiteral("42"));
        } else {
            auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
            QTRY_COMPARE(QApplication::focusWidget(), box);
            QCOMPARE(box->textCursor().selectedText(), QStringLiteral("Datei öffnen"));
        }
    });
    QVERIFY(services.reporter->errors.isEmpty());
    QVERIFY(services.trace->Lines().contains(QStringLiteral("enter frmTranslate.Edit")));
}

void TestFrmTranslate::propertyLabels_data()
{
    QTest::addColumn<int>("properties");
    QTest::addColumn<QString>("shortcutCharacter");
    QTest::addColumn<QStringList>("captions");
    QTest::addColumn<QStringList>("summary");

    QTest::newRow("nothing allowed") << 0 << ""
                                     << QStringList{"Shortcuts disabled", "Multiline disabled", "Prohibit Tab Characters"}
                                     << QStringList{"Single line"};
    QTest::newRow("everything allowed")
        << int(tpAllowShortcut | tpMultipleLines | tpAllowTab) << "O"
        << QStringList{"Shortcuts enabled", "Multiline enabled", "Allow Tab Characters"}
        << QStringList{"Multiple lines", "Allow tab character", "Allow shortcut key", "Shortcut = O"};
    QTest::newRow("single line ignores tabs")
        << int(tpAllowTab | tpAllowShortcut) << ""
        << QStringList{"Shortcuts enabled", "Multiline disabled", "Allow Tab Characters"}
        << QStringList{"Single line", "Allow shortcut key"};
    QTest::newRow("multiple lines only") << int(tpMultipleLines) << ""
                                         << QStringList{"Shortcuts disabled", "Multiline enabled", "Prohibit Tab Characters"}
                                         << QStringList{"Multiple lines"};
}

void TestFrmTranslate::propertyLabels()
{
    QFETCH(int, properties);
    QFETCH(QString, shortcutCharacter);
    QFETCH(QStringList, captions);
    QFETCH(QStringList, summary);

    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, QStringLiteral("Open"));
    tables.Put(kId, ssLocalEdited,
               TextSpec{QStringLiteral("Öffnen"), {}, quint8(properties), shortcutCharacter, 2});
    Run(tables.Entry(kId, ssLocalEdited), [&](frmTranslate *dialog) {
        for (int i = 0; i < 3; ++i) {
            const QByteArray index = QByteArray::number(i);
            auto *check = Find<QCheckBox>(dialog, "chkProperties_" + index);
            auto *label = Find<QLabel>(dialog, "lblProperties_" + index);
            QCOMPARE(label->text(), captions.at(i));
            // The label sits where the hidden check box is, centred on it vertically.
            QCOMPARE(label->parentWidget(), check->parentWidget());
            QCOMPARE(label->x(), check->x());
            QCOMPARE(label->y(), check->y() + check->height() / 2 - label->height() / 2);
            QVERIFY(label->isVisible());
        }
        QCOMPARE(BoxText(Find<QPlainTextEdit>(dialog, "txtProperties")), summary.join(QStringLiteral("\r\n")));
        QCOMPARE(Find<QComboBox>(dialog, "cboShortcutCharacter")->currentText(),
                 shortcutCharacter.isEmpty() ? QStringLiteral("(none)") : shortcutCharacter);
        QCOMPARE(Find<QComboBox>(dialog, "cboShortcutMode")->currentData().toInt(), 2);
    });
}

void TestFrmTranslate::originals_data()
{
    QTest::addColumn<int>("source");
    QTest::addColumn<QList<int>>("withText");
    QTest::addColumn<QStringList>("offered");
    QTest::addColumn<QString>("shown");

    QTest::newRow("local edited offers the three others")
        << 0 << QList<int>{0, 1, 2, 3} << QStringList{"Local Default", "English Edited", "English Default"} << "text 3";
    QTest::newRow("local edited, only the local default has text")
        << 0 << QList<int>{0, 1} << QStringList{"Local Default"} << "text 1";
    QTest::newRow("local default") << 1 << QList<int>{1, 2, 3} << QStringList{"English Edited", "English Default"}
                                   << "text 3";
    QTest::newRow("English edited") << 2 << QList<int>{2, 3} << QStringList{"English Default"} << "text 3";
    QTest::newRow("English default offers only itself")
        << 3 << QList<int>{0, 1, 2, 3} << QStringList{"English Default"} << "text 3";
    QTest::newRow("no original anywhere") << 0 << QList<int>{0} << QStringList() << "";
}

void TestFrmTranslate::originals()
{
    QFETCH(int, source);
    QFETCH(QList<int>, withText);
    QFETCH(QStringList, offered);
    QFETCH(QString, shown);

    TestServices services;
    Tables tables;
    for (int s : withText)
        tables.Put(kId, StringSource(s), QStringLiteral("text %1").arg(s));
    Run(tables.Entry(kId, StringSource(source)), [&](frmTranslate *dialog) {
        auto *originals = Find<QComboBox>(dialog, "cboOriginal");
        auto *original = Find<QPlainTextEdit>(dialog, "rtfOriginal");
        QStringList items;
        for (int i = 0; i < originals->count(); ++i)
            items << originals->itemText(i);
        QCOMPARE(items, offered);
        // The highest source with a text is preselected and shown.
        QCOMPARE(originals->currentIndex(), offered.size() - 1);
        QCOMPARE(original->toPlainText(), shown);
        QVERIFY(original->isReadOnly());
        if (offered.size() > 1) {
            originals->setCurrentIndex(0);
            QCOMPARE(original->toPlainText(), QStringLiteral("text %1").arg(originals->itemData(0).toInt()));
        }
    });
}

void TestFrmTranslate::idValidation_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("maximumCount");
    QTest::addColumn<bool>("valid");

    QTest::newRow("zero") << "0" << 500 << false;
    QTest::newRow("fraction") << "1.5" << 500 << false;
    QTest::newRow("letters") << "abc" << 500 << false;
    QTest::newRow("empty") << "" << 500 << false;
    QTest::newRow("negative") << "-3" << 500 << false;
    QTest::newRow("above the maximum") << "501" << 500 << false;
    QTest::newRow("beyond 16 bits") << "40000" << 50000 << false;
    QTest::newRow("one") << "1" << 500 << true;
    QTest::newRow("the maximum") << "500" << 500 << true;
    QTest::newRow("whole number written as decimal") << "7.0" << 500 << true;
}

void TestFrmTranslate::idValidation()
{
    QFETCH(QString, id);
    QFETCH(int, maximumCount);
    QFETCH(bool, valid);

    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, QStringLiteral("Open"));
    Run(
        tables.Entry(kId, ssEnglishDefault),
        [&](frmTranslate *dialog) {
            auto *txtId = Find<QLineEdit>(dialog, "txtId");
            auto *save = Find<QPushButton>(dialog, "cmdSave");
            const QColor window = QApplication::palette(txtId).color(QPalette::Base);
            QCOMPARE(txtId->palette().color(QPalette::Base), window);
            QVERIFY(save->isEnabled());
            txtId->selectAll();
            QTest::keyClicks(txtId, id);
            if (id.isEmpty())
                QTest::keyClick(txtId, Qt::Key_Delete);
            QCOMPARE(txtId->text(), id);
            QCOMPARE(save->isEnabled(), valid);
            QCOMPARE(txtId->palette().color(QPalette::Base), valid ? window : QColor(255, 0, 0));
            // Back to a good id: the colour and Save come back.
            txtId->setText(QStringLiteral("42"));
            QCOMPARE(txtId->palette().color(QPalette::Base), window);
            QVERIFY(save->isEnabled());
        },
        nullptr, maximumCount);
    QVERIFY(services.reporter->errors.isEmpty());
}

void TestFrmTranslate::multipleLinesOffStripsLineBreaks()
{
    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, TextSpec{QStringLiteral("a\r\nb"), {}, quint8(tpMultipleLines)});
    const StringEntryPtr result = Run(tables.Entry(kId, ssEnglishDefault), [&](frmTranslate *dialog) {
        auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
        QCOMPARE(BoxText(box), QStringLiteral("a\r\nb"));
        auto *lines = Find<QCheckBox>(dialog, "chkProperties_1");
        QVERIFY(lines->isChecked());
        Click(dialog, "chkProperties_1");
        QVERIFY(!lines->isChecked());
        QCOMPARE(BoxText(box), QStringLiteral("ab"));
        QCOMPARE(Find<QLabel>(dialog, "lblProperties_1")->text(), QStringLiteral("Multiline disabled"));
        // Switching back does not bring the break back.
        Click(dialog, "chkProperties_1");
        QCOMPARE(BoxText(box), QStringLiteral("ab"));
        Click(dialog, "chkProperties_1");
        Click(dialog, "cmdSave");
    });
    QVERIFY(result);
    QCOMPARE(result->Text(), QStringLiteral("ab"));
    QVERIFY(!result->Property(tpMultipleLines));
}

void TestFrmTranslate::enterKey_data()
{
    QTest::addColumn<bool>("multipleLines");
    QTest::addColumn<bool>("lineFeed");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("beeps");

    QTest::newRow("single line: Enter beeps") << false << false << "ab" << 1;
    QTest::newRow("single line: line feed beeps") << false << true << "ab" << 1;
    QTest::newRow("multiple lines: Enter breaks the line") << true << false << "a\r\nb" << 0;
}

void TestFrmTranslate::enterKey()
{
    QFETCH(bool, multipleLines);
    QFETCH(bool, lineFeed);
    QFETCH(QString, text);
    QFETCH(int, beeps);

    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, QStringLiteral("ab"));
    tables.Put(kId, ssLocalEdited, TextSpec{QStringLiteral("ab"), {}, quint8(multipleLines ? tpMultipleLines : 0)});
    bool stillOpen = false;
    const StringEntryPtr result = Run(tables.Entry(kId, ssLocalEdited), [&](frmTranslate *dialog) {
        auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
        QTRY_COMPARE(QApplication::focusWidget(), box);
        QTextCursor cursor = box->textCursor();
        cursor.setPosition(1);
        box->setTextCursor(cursor);
        if (lineFeed) {
            QKeyEvent press(QEvent::KeyPress, Qt::Key_J, Qt::ControlModifier, QStringLiteral("\n"));
            QApplication::sendEvent(box, &press);
        } else
            QTest::keyClick(box, Qt::Key_Return);
        QCOMPARE(BoxText(box), text);
        stillOpen = dialog->isVisible();
        Click(dialog, "cmdSave");
    });
    QVERIFY(stillOpen);   // Enter in the box never closes the dialog
    int beepsSeen = 0;
    for (const PromptCall &call : services.prompts->calls)
        beepsSeen += call.kind == PromptCall::Beep;
    QCOMPARE(beepsSeen, beeps);
    QVERIFY(result);
    QCOMPARE(result->Text(), text);
}

void TestFrmTranslate::shortcutCombos()
{
    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, TextSpec{QStringLiteral("&Open"), {}, quint8(tpAllowShortcut), QStringLiteral("O"), 1});
    const StringEntryPtr result = Run(tables.Entry(kId, ssEnglishDefault), [&](frmTranslate *dialog) {
        auto *character = Find<QComboBox>(dialog, "cboShortcutCharacter");
        auto *mode = Find<QComboBox>(dialog, "cboShortcutMode");
        QCOMPARE(character->count(), 37);
        QCOMPARE(mode->count(), 5);
        QVERIFY(character->isEnabled() && mode->isEnabled());
        QCOMPARE(character->currentText(), QStringLiteral("O"));
        QCOMPARE(mode->currentText(), QStringLiteral("1: prefixed by '&'"));
        Click(dialog, "chkProperties_0");
        QVERIFY(!character->isEnabled());
        QVERIFY(!mode->isEnabled());
        QCOMPARE(Find<QLabel>(dialog, "lblProperties_0")->text(), QStringLiteral("Shortcuts disabled"));
        Click(dialog, "chkProperties_0");
        QVERIFY(character->isEnabled() && mode->isEnabled());
        QCOMPARE(Find<QLabel>(dialog, "lblProperties_0")->text(), QStringLiteral("Shortcuts enabled"));
        character->setCurrentIndex(character->findText(QStringLiteral("P")));
        mode->setCurrentIndex(3);
        Click(dialog, "cmdSave");
    });
    QVERIFY(result);
    QVERIFY(result->Property(tpAllowShortcut));
    QCOMPARE(result->ShortcutCharacter(), QStringLiteral("P"));
    QCOMPARE(result->ShortcutMode(), 3);
}

void TestFrmTranslate::saveBuildsTheResult()
{
    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault,
               TextSpec{QStringLiteral("Save"), QStringLiteral("Toolbar"), quint8(tpAllowShortcut), QStringLiteral("S"), 2});
    tables.SetParameters(kId, {QStringLiteral("file")});
    const StringEntryPtr entry = tables.Entry(kId, ssEnglishDefault);
    const EntryValues before = ValuesOf(entry);
    const StringEntryPtr result = Run(entry, [&](frmTranslate *dialog) {
        auto *id = Find<QLineEdit>(dialog, "txtId");
        id->setText(QStringLiteral("43"));
        Find<QLineEdit>(dialog, "txtDescription")->setText(QStringLiteral("Toolbar button"));
        Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("Save all"));
        Click(dialog, "chkProperties_1");   // multiple lines on
        Click(dialog, "chkProperties_2");   // tabs on
        Find<QComboBox>(dialog, "cboShortcutCharacter")->setCurrentIndex(0);   // (none)
        Click(dialog, "chkValidTranslation");
        Click(dialog, "cmdSave");
    });
    QVERIFY(result);
    QVERIFY(result != entry);
    QCOMPARE(result->Id(), StringId(43));
    QCOMPARE(result->Text(), QStringLiteral("Save all"));
    QCOMPARE(result->EntryText(), QStringLiteral("Toolbar button"));
    QVERIFY(result->Property(tpMultipleLines));
    QVERIFY(result->Property(tpAllowTab));
    QVERIFY(result->Property(tpAllowShortcut));
    QCOMPARE(result->ShortcutCharacter(), QString());
    QCOMPARE(result->ShortcutMode(), 2);
    QVERIFY(result->Status(sfApproved));
    QCOMPARE(Descriptions(result->ParameterDefinitions()), QStringList{"1:file"});
    QVERIFY(ValuesOf(entry) == before);
    QVERIFY(services.reporter->errors.isEmpty());
}

void TestFrmTranslate::trimmedResults_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("storedText");
    QTest::addColumn<QString>("storedDescription");

    QTest::newRow("blanks around") << "  Hallo Welt  " << "  greeting " << "Hallo Welt" << "greeting";
    QTest::newRow("nothing to trim") << "Hallo" << "d" << "Hallo" << "d";
    // Only blanks are trimmed: tabs and line breaks at the ends are content.
    QTest::newRow("tabs and breaks kept") << " \tName:\t \r\n" << "x" << "\tName:\t \r\n" << "x";
}

void TestFrmTranslate::trimmedResults()
{
    QFETCH(QString, text);
    QFETCH(QString, description);
    QFETCH(QString, storedText);
    QFETCH(QString, storedDescription);

    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, TextSpec{QStringLiteral("x"), {}, quint8(tpMultipleLines | tpAllowTab)});
    const StringEntryPtr result = Run(tables.Entry(kId, ssEnglishDefault), [&](frmTranslate *dialog) {
        Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(text);
        Find<QLineEdit>(dialog, "txtDescription")->setText(description);
        Click(dialog, "cmdSave");
    });
    QVERIFY(result);
    QCOMPARE(result->Text(), storedText);
    QCOMPARE(result->EntryText(), storedDescription);
}

void TestFrmTranslate::cancelLeavesTheEntryUnchanged()
{
    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, TextSpec{QStringLiteral("Open %1"), QStringLiteral("menu"), quint8(tpAllowShortcut)});
    tables.SetParameters(kId, {QStringLiteral("file")});
    const StringEntryPtr entry = tables.Entry(kId, ssEnglishDefault);
    const EntryValues before = ValuesOf(entry);
    services.prompts->inputAnswers << QStringLiteral("folder");
    const StringEntryPtr result = Run(entry, [&](frmTranslate *dialog) {
        Find<QLineEdit>(dialog, "txtId")->setText(QStringLiteral("7"));
        Find<QLineEdit>(dialog, "txtDescription")->setText(QStringLiteral("changed"));
        Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("changed"));
        Click(dialog, "chkProperties_0");
        Click(dialog, "chkValidTranslation");
        OnModal<frmParameters>([](frmParameters *parameters) {
            Click(parameters, "cmdAdd");
            Click(parameters, "cmdOk");
        });
        Click(dialog, "cmdEditParameterDefs");
        QCOMPARE(Find<QTreeWidget>(dialog, "lvwParameters")->topLevelItemCount(), 2);
        Click(dialog, "cmdCancel");
    });
    QVERIFY(!result);
    QVERIFY(ValuesOf(entry) == before);

    // Closing by the window frame is a cancel too.
    QVERIFY(!Run(entry, [](frmTranslate *dialog) { dialog->close(); }));
}

void TestFrmTranslate::validMarkKeepsTheCaret()
{
    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, QStringLiteral("Hello World"));
    tables.Put(kId, ssLocalEdited, QStringLiteral("Hallo Welt"));
    const StringEntryPtr result = Run(tables.Entry(kId, ssLocalEdited), [&](frmTranslate *dialog) {
        auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
        auto *valid = Find<QCheckBox>(dialog, "chkValidTranslation");
        QTRY_COMPARE(QApplication::focusWidget(), box);
        QTextCursor cursor = box->textCursor();
        cursor.setPosition(5);
        box->setTextCursor(cursor);
        QTest::mouseClick(valid, Qt::LeftButton, {}, QPoint(4, valid->height() / 2));
        QVERIFY(valid->isChecked());
        QCOMPARE(QApplication::focusWidget(), box);
        QCOMPARE(box->textCursor().position(), 5);
        QVERIFY(!box->textCursor().hasSelection());
        // The user's own way into the box selects everything.
        valid->setFocus(Qt::TabFocusReason);
        box->setFocus(Qt::TabFocusReason);
        QCOMPARE(box->textCursor().selectedText(), QStringLiteral("Hallo Welt"));
        // Tab leaves the box instead of typing a tab character.
        QTest::keyClick(box, Qt::Key_Tab);
        QVERIFY(QApplication::focusWidget() != box);
        QCOMPARE(box->toPlainText(), QStringLiteral("Hallo Welt"));
        Click(dialog, "cmdSave");
    });
    QVERIFY(result);
    QVERIFY(result->Status(sfApproved));
}

void TestFrmTranslate::insertSpecial_data()
{
    QTest::addColumn<bool>("choose");
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("text");

    QTest::newRow("copyright sign replaces the selection") << true << QString(QChar(0x00A9))
                                                           << QStringLiteral("Hello ") + QChar(0x00A9) + QStringLiteral("!");
    QTest::newRow("parameter placeholder") << true << "%1" << "Hello %1!";
    QTest::newRow("tab character") << true << "<TAB>" << "Hello \t!";
    QTest::newRow("cancel deletes the selection") << false << "" << "Hello !";
}

void TestFrmTranslate::insertSpecial()
{
    QFETCH(bool, choose);
    QFETCH(QString, row);
    QFETCH(QString, text);

    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, TextSpec{QStringLiteral("Hello World!"), {}, quint8(tpAllowTab | tpMultipleLines)});
    tables.SetParameters(kId, {QStringLiteral("name")});
    QPoint insertPosition;
    QPoint dialogPosition;
    const StringEntryPtr result = Run(tables.Entry(kId, ssEnglishDefault), [&](frmTranslate *dialog) {
        dialogPosition = dialog->pos();
        auto *box = Find<QPlainTextEdit>(dialog, "rtfTranslate");
        QTextCursor cursor = box->textCursor();
        cursor.setPosition(6);
        cursor.setPosition(11, QTextCursor::KeepAnchor);
        box->setTextCursor(cursor);
        OnModal<frmInsert>([&](frmInsert *insert) {
            insertPosition = insert->pos();
            if (!choose) {
                Click(insert, "cmdCancel");
                return;
            }
            auto *list = Find<QTreeWidget>(insert, "lvwSpecial");
            const QList<QTreeWidgetItem *> found = list->findItems(row, Qt::MatchExactly, 0);
            QCOMPARE(found.size(), 1);
            list->setCurrentItem(found.first());
            Click(insert, "cmdOkay");
        });
        Click(dialog, "cmdInsert");
        QCOMPARE(BoxText(box), text);
        QVERIFY(Reactivate(dialog));
        // The focus is back in the box, the caret after what was inserted.
        QTRY_COMPARE(QApplication::focusWidget(), box);
        QCOMPARE(box->textCursor().position(), text.indexOf(QLatin1Char('!')));
        Click(dialog, "cmdSave");
    });
    QVERIFY(result);
    QCOMPARE(result->Text(), text);
    QCOMPARE(insertPosition, dialogPosition + QPoint(20, 20));
    QVERIFY(services.reporter->errors.isEmpty());
}

void TestFrmTranslate::reportShowsTheTranslation()
{
    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, TextSpec{QStringLiteral("x"), {}, quint8(tpMultipleLines)});
    QString report;
    Run(tables.Entry(kId, ssEnglishDefault), [&](frmTranslate *dialog) {
        Find<QPlainTextEdit>(dialog, "rtfTranslate")->setPlainText(QStringLiteral("A\r\nB"));
        OnModal<frmReport>([&](frmReport *form) {
            report = Find<QPlainTextEdit>(form, "rtfReport")->toPlainText();
            form->close();
        });
        Click(dialog, "cmdReport");
        // The report form is gone once it was closed.
        QVERIFY(!dialog->findChild<frmReport *>());
    });
    QCOMPARE(report, QStringLiteral("1.\t65\t0x41\tA\n2.\t13\t0xD\t^78\n3.\t10\t0xA\t^75\n4.\t66\t0x42\tB"));
}

void TestFrmTranslate::parameterDisplay()
{
    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, QStringLiteral("%1 of %2 in %3"));
    tables.SetParameters(kId, {QStringLiteral("item"), QStringLiteral("count"), QStringLiteral("folder")});
    services.prompts->inputAnswers << QStringLiteral("drive");
    const StringEntryPtr result = Run(tables.Entry(kId, ssEnglishDefault), [&](frmTranslate *dialog) {
        auto *count = Find<QLineEdit>(dialog, "txtCount");
        auto *list = Find<QTreeWidget>(dialog, "lvwParameters");
        QCOMPARE(count->text(), QStringLiteral("3"));
        QStringList rows;
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            rows << list->topLevelItem(i)->text(0) + QLatin1Char(':') + list->topLevelItem(i)->text(1);
        QCOMPARE(rows, (QStringList{"1:item", "2:count", "3:folder"}));
        QCOMPARE(list->headerItem()->text(0), QStringLiteral("Number"));
        QCOMPARE(list->headerItem()->text(1), QStringLiteral("Description"));
        QCOMPARE(list->topLevelItem(2)->data(0, Qt::UserRole + 1).toString(), QStringLiteral("p3"));
        const QFontMetrics metrics = dialog->fontMetrics();
        QCOMPARE(list->columnWidth(0), metrics.horizontalAdvance(QStringLiteral("WWNumber")));
        QCOMPARE(list->columnWidth(0) + list->columnWidth(1),
                 list->width() - metrics.horizontalAdvance(QStringLiteral("WWW")));

        OnModal<frmParameters>([&](frmParameters *parameters) {
            QCOMPARE(parameters->pos(), dialog->pos() + QPoint(20, 20));
            Click(parameters, "cmdAdd");
            Click(parameters, "cmdOk");
        });
        Click(dialog, "cmdEditParameterDefs");
        QCOMPARE(list->topLevelItemCount(), 4);
        QCOMPARE(list->topLevelItem(3)->text(1), QStringLiteral("drive"));
        // The count keeps the number it showed on opening.
        QCOMPARE(count->text(), QStringLiteral("3"));
        Click(dialog, "cmdSave");
    });
    QVERIFY(result);
    QCOMPARE(Descriptions(result->ParameterDefinitions()), (QStringList{"1:item", "2:count", "3:folder", "4:drive"}));
}

void TestFrmTranslate::placement()
{
    TestServices services;
    Tables tables;
    tables.Put(kId, ssEnglishDefault, QStringLiteral("x"));
    QWidget owner;
    owner.move(300, 200);
    QPoint unowned;
    QPoint owned;
    QWidget *parent = &owner;
    Run(tables.Entry(kId, ssEnglishDefault), [&](frmTranslate *dialog) { unowned = dialog->pos(); });
    Run(tables.Entry(kId, ssEnglishDefault), [&](frmTranslate *dialog) {
        owned = dialog->pos();
        parent = dialog->parentWidget();
        QVERIFY(dialog->isModal());
        QCOMPARE(dialog->windowIcon().cacheKey(), ApplicationIcon().cacheKey());
    }, &owner);
    QCOMPARE(unowned, QPoint(160, 100));
    QCOMPARE(owned, QPoint(320, 220));
    QCOMPARE(parent, &owner);
}

void TestFrmTranslate::nullEntry()
{
    TestServices services;
    frmTranslate form;
    QVERIFY(!form.Edit(nullptr, nullptr));
    QVERIFY(!form.isVisible());
    QVERIFY(services.reporter->errors.isEmpty());
}

QTEST_MAIN(TestFrmTranslate)
#include "tst_frmtranslate.moc"
