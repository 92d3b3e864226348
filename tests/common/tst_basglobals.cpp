// The shared helpers: source names and headings, shortcut characters and modes, the combo box
// loaders; and the adaptation of a form's fonts on a Japanese system.

#include "common/basCheckJapanese.h"
#include "common/basGlobals.h"
#include "server/Workspace.h"

#include "TestServices.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>

#include <climits>

using namespace kvedit;

namespace {

// A locale whose Japanese language carries the given value (empty: the language is unknown).
class JapaneseAs final : public Locale {
public:
    explicit JapaneseAs(QString value) : value(std::move(value)) {}
    kvedit::Language Language(int code) const override
    {
        return code == kLanguageJapanese && !value.isEmpty() ? kvedit::Language("Japanese", value) : kvedit::Language();
    }
    QString value;
};

// A form with the kinds of children the component's forms have, including ones without a font.
struct Form {
    QDialog dialog;
    QLabel *label = new QLabel(QStringLiteral("Text:"), &dialog);
    QLabel *heading = new QLabel(QStringLiteral("Heading"), &dialog);
    QPlainTextEdit *codes = new QPlainTextEdit(&dialog);
    QGroupBox *frame = new QGroupBox(QStringLiteral("Properties"), &dialog);

    Form()
    {
        heading->setFont(QFont(heading->font().family(), 14, QFont::Bold, true));
        codes->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        new QCheckBox(QStringLiteral("&Valid Translation"), frame);
        new QTimer(&dialog);
        new QAction(QStringLiteral("Copy"), &dialog);
    }
    QList<QWidget *> Widgets() { return QList<QWidget *>{&dialog} + dialog.findChildren<QWidget *>(); }
    QList<QFont> Fonts()
    {
        QList<QFont> out;
        for (const QWidget *w : Widgets())
            out << w->font();
        return out;
    }
};

} // namespace

class TestBasGlobals : public QObject {
    Q_OBJECT
    std::unique_ptr<test::TestServices> m_services;

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup() { m_services.reset(); }

    void namesPerCode_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("fixedName");
        QTest::addColumn<QString>("heading");
        QTest::addColumn<QString>("modeText");
        QTest::newRow("0") << 0 << "Local Edited" << "German edited" << "0: (not set)";
        QTest::newRow("1") << 1 << "Local Default" << "German default" << "1: prefixed by '&'";
        QTest::newRow("2") << 2 << "English Edited" << "English edited" << "2: first instance";
        QTest::newRow("3") << 3 << "English Default" << "English default" << "3: insert at beginning";
        QTest::newRow("4") << 4 << "" << "" << "4: add to end";
        QTest::newRow("-1") << -1 << "" << "" << "-1: invalid code";
    }
    void namesPerCode()
    {
        QFETCH(int, code);
        QFETCH(QString, fixedName);
        QFETCH(QString, heading);
        QFETCH(QString, modeText);
        const auto ws = server::Workspace::CreateInMemory({QStringLiteral("Names"), QStringLiteral("de-DE"), 10});
        QCOMPARE(basGlobals::FixedSourceName(code), fixedName);
        QCOMPARE(basGlobals::SourceHeading(ws->Tables(), code), heading);
        QCOMPARE(basGlobals::ShortcutModeText(code), modeText);
        QVERIFY(m_services->trace->calls.isEmpty());
        // Without tables, a source's heading fails in the caller's context; outside the sources
        // the tables are not asked at all.
        QString withoutTables = QStringLiteral("unchanged");
        const auto ask = [&] { withoutTables = basGlobals::SourceHeading(nullptr, code); };
        Reporting("CDVDataSource", "ColumnHeading", ask);
        QCOMPARE(withoutTables, heading.isEmpty() ? QString() : QStringLiteral("unchanged"));
        QCOMPARE(m_services->reporter->errors.size(), heading.isEmpty() ? 0 : 1);
        if (!heading.isEmpty())
            QCOMPARE(m_services->reporter->errors[0].number, int(errObjectNotSet));
    }

    void shortcutCharacters()
    {
        // Small letters, punctuation, codes from 128 and full-width letters are never offered.
        QString accepted;
        for (int code = -300; code < 0x10000; ++code)
            if (basGlobals::IsShortcutCharacter(code))
                accepted += QChar(code);
        QCOMPARE(accepted, QStringLiteral("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
        QVERIFY(!basGlobals::IsShortcutCharacter(INT_MIN));
        QVERIFY(!basGlobals::IsShortcutCharacter(INT_MAX));
    }

    void comboBoxLoaders()
    {
        QComboBox characters, modes;
        characters.addItems({QStringLiteral("stale"), QStringLiteral("a")});
        modes.addItem(QStringLiteral("stale"), 99);
        basGlobals::LoadShortcutCharacterComboBox(&characters);
        basGlobals::LoadShortcutCharacterComboBox(&characters);   // loading again replaces, never appends
        basGlobals::LoadShortcutModeComboBox(&modes);

        // "(none)", then the characters IsShortcutCharacter accepts; the modes 0 to 4 by their texts.
        QCOMPARE(characters.count(), 37);
        QCOMPARE(characters.itemText(0) + characters.itemText(1) + characters.itemText(36), QStringLiteral("(none)0Z"));
        QCOMPARE(modes.count(), 5);
        for (int i = 0; i < modes.count(); ++i)
            QCOMPARE(modes.itemText(i) + modes.itemData(i).toString(), basGlobals::ShortcutModeText(i) + QString::number(i));
        // The mode loader traces under the character loader's name.
        QStringList lines;
        for (int i = 0; i < 3; ++i)
            lines << "enter basGlobals.LoadShortcutCharacterComboBox" << "leave basGlobals.LoadShortcutCharacterComboBox";
        QCOMPARE(m_services->trace->Lines(), lines);

        // Without a combo box nothing happens and nothing is reported.
        basGlobals::LoadShortcutCharacterComboBox(nullptr);
        basGlobals::LoadShortcutModeComboBox(nullptr);
        QVERIFY(m_services->reporter->errors.isEmpty());
    }

    void formToJapanese_data()
    {
        QTest::addColumn<QString>("system");     // "-": no system object
        QTest::addColumn<QString>("japanese");   // the locale's value for Japanese; "-": no locale
        QTest::addColumn<bool>("withForm");
        QTest::addColumn<bool>("adapts");
        QTest::newRow("Japanese system") << "ja" << "ja" << true << true;
        QTest::newRow("English system") << "en" << "ja" << true << false;
        QTest::newRow("no system language") << "" << "ja" << true << false;
        QTest::newRow("locale without Japanese") << "" << "" << true << false;
        // The comparison is with the locale's value, not with a fixed "ja".
        QTest::newRow("locale names Japanese differently") << "ja" << "jpn" << true << false;
        QTest::newRow("same value, other code") << "jpn" << "jpn" << true << true;
        QTest::newRow("no form does nothing") << "ja" << "-" << false << false;
        QTest::newRow("no system object") << "-" << "ja" << true << false;
        QTest::newRow("no locale") << "ja" << "-" << true << false;
    }
    void formToJapanese()
    {
        QFETCH(QString, system);
        QFETCH(QString, japanese);
        QFETCH(bool, withForm);
        QFETCH(bool, adapts);
        if (adapts && basCheckJapanese::JapaneseFontFamily().isEmpty())
            QSKIP("no font on this machine covers Japanese");
        m_services->system->language = system;
        if (system == QLatin1String("-"))
            Services().system.reset();
        const LocalePtr locale =
            japanese == QLatin1String("-") ? LocalePtr() : std::make_shared<const JapaneseAs>(japanese);
        Form form;
        const QList<QFont> before = form.Fonts();

        basCheckJapanese::FormToJapanese(withForm ? &form.dialog : nullptr, locale);

        // Timers and actions are passed over without an error; a missing system object or locale
        // is reported, and the form keeps its fonts.
        const bool missing = withForm && (!locale || !Services().system);
        QCOMPARE(m_services->reporter->errors.size(), missing ? 1 : 0);
        if (missing)
            QCOMPARE(m_services->reporter->errors[0].number, int(errObjectNotSet));
        QCOMPARE(m_services->trace->Lines(),
                 (QStringList{"enter basCheckJapanese.FormToJapanese", "leave basCheckJapanese.FormToJapanese"}));
        if (!adapts) {
            QCOMPARE(form.Fonts(), before);
            return;
        }
        for (QWidget *w : form.Widgets()) {
            // The text box and its inner parts (viewport, scroll bars) had the monospace font.
            const bool fixed = w == form.codes || form.codes->isAncestorOf(w);
            const QString name = QString::fromLatin1(w->metaObject()->className());
            QVERIFY2(w->font().families().value(0) == basCheckJapanese::JapaneseFontFamily(fixed), qPrintable(name));
            QVERIFY2(w->testAttribute(Qt::WA_SetFont), qPrintable(name));
            for (const QChar c : QStringLiteral("文字列の編集"))
                QVERIFY2(QFontMetrics(w->font()).inFont(c), qPrintable(name));
        }
        // Size, weight and style stay; the character codes stay in columns, the label proportional.
        const QFont heading = form.heading->font();
        QVERIFY(heading.pointSize() == 14 && heading.weight() == QFont::Bold && heading.italic());
        const QFontMetrics codes(form.codes->font()), text(form.label->font());
        QCOMPARE(codes.horizontalAdvance(u'i'), codes.horizontalAdvance(u'W'));
        QVERIFY(text.horizontalAdvance(u'i') < text.horizontalAdvance(u'W'));
    }
};

QTEST_MAIN(TestBasGlobals)
#include "tst_basglobals.moc"
