#include "common/basCheckJapanese.h"

#include "TestServices.h"

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

using namespace kvedit;

namespace {

// A locale whose Japanese language carries the given value (empty: the language is unknown).
class JapaneseAs final : public Locale {
public:
    explicit JapaneseAs(QString value) : m_value(std::move(value)) {}
    kvedit::Language Language(int code) const override
    {
        if (code != kLanguageJapanese || m_value.isEmpty())
            return {};
        return kvedit::Language(QStringLiteral("Japanese"), m_value);
    }

private:
    QString m_value;
};

// A form with the kinds of children the component's forms have, including ones without a font.
struct Form {
    QDialog dialog;
    QLabel *label;
    QLabel *heading;
    QLineEdit *edit;
    QPlainTextEdit *codes;
    QGroupBox *frame;
    QCheckBox *check;
    QTimer *timer;
    QAction *action;

    Form()
    {
        auto *layout = new QVBoxLayout(&dialog);
        label = new QLabel(QStringLiteral("Text:"), &dialog);
        heading = new QLabel(QStringLiteral("Heading"), &dialog);
        QFont bold = heading->font();
        bold.setPointSize(14);
        bold.setWeight(QFont::Bold);
        bold.setItalic(true);
        heading->setFont(bold);
        edit = new QLineEdit(&dialog);
        codes = new QPlainTextEdit(&dialog);
        codes->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        frame = new QGroupBox(QStringLiteral("Properties"), &dialog);
        check = new QCheckBox(QStringLiteral("&Valid Translation"), frame);
        (new QVBoxLayout(frame))->addWidget(check);
        timer = new QTimer(&dialog);
        timer->setObjectName(QStringLiteral("tmrFocus"));
        action = new QAction(QStringLiteral("Copy"), &dialog);
        for (QWidget *w : {static_cast<QWidget *>(label), static_cast<QWidget *>(heading),
                           static_cast<QWidget *>(edit), static_cast<QWidget *>(codes),
                           static_cast<QWidget *>(frame)})
            layout->addWidget(w);
    }

    QList<QWidget *> Widgets() { return QList<QWidget *>{&dialog} + dialog.findChildren<QWidget *>(); }
};

QList<QFont> Fonts(const QList<QWidget *> &widgets)
{
    QList<QFont> out;
    for (const QWidget *w : widgets)
        out << w->font();
    return out;
}

} // namespace

class TestFormToJapanese : public QObject {
    Q_OBJECT

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup() { m_services.reset(); }

    void japaneseFamiliesAreInstalled();
    void adaptsOnlyOnAJapaneseSystem_data();
    void adaptsOnlyOnAJapaneseSystem();
    void keepsSizeWeightStyleAndPitch();
    void adaptedWidgetsShowJapanese();
    void nullFormDoesNothing();
    void missingServicesAreReported_data();
    void missingServicesAreReported();

private:
    std::unique_ptr<test::TestServices> m_services;
};

void TestFormToJapanese::japaneseFamiliesAreInstalled()
{
    if (QFontDatabase::families(QFontDatabase::Japanese).isEmpty())
        QSKIP("no font on this machine covers Japanese");
    const QString proportional = basCheckJapanese::JapaneseFontFamily(false);
    const QString fixed = basCheckJapanese::JapaneseFontFamily(true);
    QVERIFY(QFontDatabase::families(QFontDatabase::Japanese).contains(proportional));
    QVERIFY(QFontDatabase::families(QFontDatabase::Japanese).contains(fixed));
    const QFontMetrics fixedMetrics{QFont(fixed)};
    QCOMPARE(fixedMetrics.horizontalAdvance(u'i'), fixedMetrics.horizontalAdvance(u'W'));
    if (QFontDatabase::families().contains(QStringLiteral("Noto Sans CJK JP")))
        QCOMPARE(proportional, QStringLiteral("Noto Sans CJK JP"));
}

void TestFormToJapanese::adaptsOnlyOnAJapaneseSystem_data()
{
    QTest::addColumn<QString>("system");
    QTest::addColumn<QString>("japanese");
    QTest::addColumn<bool>("adapts");
    QTest::newRow("Japanese system") << "ja" << "ja" << true;
    QTest::newRow("English system") << "en" << "ja" << false;
    QTest::newRow("German system") << "de" << "ja" << false;
    QTest::newRow("no system language") << "" << "ja" << false;
    QTest::newRow("locale without Japanese") << "" << "" << false;
    // The comparison is with the locale's value, not with a fixed "ja".
    QTest::newRow("locale names Japanese differently") << "ja" << "jpn" << false;
    QTest::newRow("same value, other code") << "jpn" << "jpn" << true;
}

void TestFormToJapanese::adaptsOnlyOnAJapaneseSystem()
{
    QFETCH(QString, system);
    QFETCH(QString, japanese);
    QFETCH(bool, adapts);
    if (adapts && basCheckJapanese::JapaneseFontFamily().isEmpty())
        QSKIP("no font on this machine covers Japanese");
    m_services->system->language = system;
    Form form;
    const QList<QWidget *> widgets = form.Widgets();
    const QList<QFont> before = Fonts(widgets);

    basCheckJapanese::FormToJapanese(&form.dialog, std::make_shared<JapaneseAs>(japanese));

    for (int i = 0; i < widgets.size(); ++i) {
        const QString name = QString::fromLatin1(widgets[i]->metaObject()->className());
        if (!adapts) {
            QVERIFY2(widgets[i]->font() == before[i], qPrintable(name));
            continue;
        }
        // The text box and its inner parts (viewport, scroll bars) had the monospace font.
        const bool fixed = widgets[i] == form.codes || form.codes->isAncestorOf(widgets[i]);
        const QString expected = basCheckJapanese::JapaneseFontFamily(fixed);
        QVERIFY2(widgets[i]->font().families().value(0) == expected,
                 qPrintable(name + QLatin1String(": ") + widgets[i]->font().families().join(u',')));
        QVERIFY2(widgets[i]->testAttribute(Qt::WA_SetFont), qPrintable(name));
    }
    // Timers and actions are passed over without an error.
    QVERIFY(m_services->reporter->errors.isEmpty());
    QCOMPARE(m_services->trace->Lines(),
             (QStringList{"enter basCheckJapanese.FormToJapanese", "leave basCheckJapanese.FormToJapanese"}));
}

void TestFormToJapanese::keepsSizeWeightStyleAndPitch()
{
    if (basCheckJapanese::JapaneseFontFamily().isEmpty())
        QSKIP("no font on this machine covers Japanese");
    m_services->system->language = QStringLiteral("ja");
    Form form;
    const QFont heading = form.heading->font();
    const QFont label = form.label->font();
    basCheckJapanese::FormToJapanese(&form.dialog);

    QCOMPARE(form.heading->font().pointSize(), 14);
    QCOMPARE(form.heading->font().weight(), QFont::Bold);
    QVERIFY(form.heading->font().italic());
    QCOMPARE(form.heading->font().pointSizeF(), heading.pointSizeF());
    QCOMPARE(form.label->font().pointSizeF(), label.pointSizeF());
    QCOMPARE(form.label->font().weight(), label.weight());
    // The character codes stay in columns; the label stays proportional.
    const QFontMetrics codes(form.codes->font()), text(form.label->font());
    QCOMPARE(codes.horizontalAdvance(u'i'), codes.horizontalAdvance(u'W'));
    QVERIFY(text.horizontalAdvance(u'i') < text.horizontalAdvance(u'W'));
}

void TestFormToJapanese::adaptedWidgetsShowJapanese()
{
    if (basCheckJapanese::JapaneseFontFamily().isEmpty())
        QSKIP("no font on this machine covers Japanese");
    m_services->system->language = QStringLiteral("ja");
    Form form;
    basCheckJapanese::FormToJapanese(&form.dialog);
    const QString text = QStringLiteral("文字列の編集");
    for (QWidget *w : form.Widgets()) {
        const QFontMetrics metrics(w->font());
        for (const QChar c : text)
            QVERIFY2(metrics.inFont(c), w->metaObject()->className());
    }
}

void TestFormToJapanese::nullFormDoesNothing()
{
    m_services->system->language = QStringLiteral("ja");
    basCheckJapanese::FormToJapanese(nullptr);
    basCheckJapanese::FormToJapanese(nullptr, nullptr);
    QVERIFY(m_services->reporter->errors.isEmpty());
}

void TestFormToJapanese::missingServicesAreReported_data()
{
    QTest::addColumn<bool>("withSystem");
    QTest::addColumn<bool>("withLocale");
    QTest::newRow("no system object") << false << true;
    QTest::newRow("no locale") << true << false;
}

void TestFormToJapanese::missingServicesAreReported()
{
    QFETCH(bool, withSystem);
    QFETCH(bool, withLocale);
    m_services->system->language = QStringLiteral("ja");
    if (!withSystem)
        Services().system.reset();
    Form form;
    const QList<QWidget *> widgets = form.Widgets();
    const QList<QFont> before = Fonts(widgets);

    basCheckJapanese::FormToJapanese(&form.dialog, withLocale ? StandardLocale() : LocalePtr());

    QCOMPARE(m_services->reporter->errors.size(), 1);
    QCOMPARE(m_services->reporter->errors[0].number, int(errObjectNotSet));
    QCOMPARE(m_services->trace->Lines(),
             (QStringList{"enter basCheckJapanese.FormToJapanese", "leave basCheckJapanese.FormToJapanese"}));
    QCOMPARE(Fonts(widgets), before);
}

QTEST_MAIN(TestFormToJapanese)
#include "tst_formtojapanese.moc"
