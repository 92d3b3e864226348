#include "common/basCheckJapanese.h"

#include "TestServices.h"

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>

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

class TestFormToJapanese : public QObject {
    Q_OBJECT
    std::unique_ptr<test::TestServices> m_services;

private slots:
    void init() { m_services = std::make_unique<test::TestServices>(); }
    void cleanup() { m_services.reset(); }

    void adaptsOnlyOnAJapaneseSystem_data()
    {
        QTest::addColumn<QString>("system");
        QTest::addColumn<QString>("japanese");
        QTest::addColumn<bool>("adapts");
        QTest::newRow("Japanese system") << "ja" << "ja" << true;
        QTest::newRow("English system") << "en" << "ja" << false;
        QTest::newRow("no system language") << "" << "ja" << false;
        QTest::newRow("locale without Japanese") << "" << "" << false;
        // The comparison is with the locale's value, not with a fixed "ja".
        QTest::newRow("locale names Japanese differently") << "ja" << "jpn" << false;
        QTest::newRow("same value, other code") << "jpn" << "jpn" << true;
    }
    void adaptsOnlyOnAJapaneseSystem()
    {
        QFETCH(QString, system);
        QFETCH(QString, japanese);
        QFETCH(bool, adapts);
        if (adapts && basCheckJapanese::JapaneseFontFamily().isEmpty())
            QSKIP("no font on this machine covers Japanese");
        m_services->system->language = system;
        Form form;
        const QList<QFont> before = form.Fonts();

        basCheckJapanese::FormToJapanese(&form.dialog, std::make_shared<JapaneseAs>(japanese));

        // Timers and actions are passed over without an error.
        QVERIFY(m_services->reporter->errors.isEmpty());
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

    void failures_data()
    {
        QTest::addColumn<bool>("withForm");
        QTest::addColumn<bool>("withSystem");
        QTest::addColumn<bool>("withLocale");
        QTest::newRow("no form does nothing") << false << true << false;
        QTest::newRow("no system object") << true << false << true;
        QTest::newRow("no locale") << true << true << false;
    }
    void failures()
    {
        QFETCH(bool, withForm);
        QFETCH(bool, withSystem);
        QFETCH(bool, withLocale);
        m_services->system->language = QStringLiteral("ja");
        if (!withSystem)
            Services().system.reset();
        Form form;
        const QList<QFont> before = form.Fonts();

        basCheckJapanese::FormToJapanese(withForm ? &form.dialog : nullptr, withLocale ? StandardLocale() : LocalePtr());

        QCOMPARE(m_services->reporter->errors.size(), withForm ? 1 : 0);
        if (withForm)
            QCOMPARE(m_services->reporter->errors[0].number, int(errObjectNotSet));
        QCOMPARE(m_services->trace->Lines(),
                 (QStringList{"enter basCheckJapanese.FormToJapanese", "leave basCheckJapanese.FormToJapanese"}));
        QCOMPARE(form.Fonts(), before);
    }
};

QTEST_MAIN(TestFormToJapanese)
#include "tst_formtojapanese.moc"
