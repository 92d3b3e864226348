#include "common/basCheckJapanese.h"

#include "common/basGlobals.h"
#include "services/Services.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetrics>
#include <QWidget>

namespace kvedit::basCheckJapanese {

namespace {

// Families designed for Japanese user interfaces come first; any other family that covers the
// Japanese writing system is the fallback, in the font database's order.
const char *const kProportional[] = {
    "Noto Sans CJK JP", "Noto Sans JP", "Source Han Sans JP", "IPAexGothic", "IPAGothic", "TakaoGothic",
    "VL Gothic", "Yu Gothic UI", "Meiryo UI", "MS UI Gothic", "Hiragino Sans",
};
const char *const kFixedPitch[] = {
    "Noto Sans Mono CJK JP", "Source Han Mono", "IPAGothic", "TakaoGothic", "VL Gothic", "MS Gothic", "Osaka-Mono",
};

template <size_t N>
QString PickFamily(const QStringList &available, const char *const (&preferred)[N])
{
    for (const char *family : preferred)
        if (available.contains(QLatin1String(family), Qt::CaseInsensitive))
            return QString::fromLatin1(family);
    return QString();
}

// Monospace by what counts for columns of text: a narrow and a wide letter advance alike.
// fontconfig's spacing flag, which QFontInfo::fixedPitch reports, is missing for some
// monospace families.
bool IsFixedPitch(const QFont &font)
{
    if (font.fixedPitch() || QFontInfo(font).fixedPitch())
        return true;
    const QFontMetrics metrics(font);
    return metrics.horizontalAdvance(QLatin1Char('i')) == metrics.horizontalAdvance(QLatin1Char('W'));
}

void ApplyFamily(QWidget *widget, const QString &proportional, const QString &fixedPitch)
{
    QFont font = widget->font();
    const QString &family = IsFixedPitch(font) && !fixedPitch.isEmpty() ? fixedPitch : proportional;
    // Set on every widget, even one that already inherits the family, so that a font set on the
    // form later cannot take it back from its children.
    font.setFamilies({family});
    widget->setFont(font);
}

} // namespace

QString JapaneseFontFamily(bool fixedPitch)
{
    const QStringList available = QFontDatabase::families(QFontDatabase::Japanese);
    if (available.isEmpty())
        return QString();
    QString family = fixedPitch ? PickFamily(available, kFixedPitch) : PickFamily(available, kProportional);
    if (!family.isEmpty())
        return family;
    for (const QString &candidate : available)
        if (IsFixedPitch(QFont(candidate)) == fixedPitch)
            return candidate;
    return fixedPitch ? QString() : available.first();
}

void FormToJapanese(QWidget *form, const LocalePtr &locale)
{
    Reporting("basCheckJapanese", "FormToJapanese", [&] {
        if (!form)
            return;
        const QString systemLanguage = Require(Services().system, "system object")->SystemLanguage();
        const QString japanese = Require(locale, "locale")->Language(kLanguageJapanese).Value();
        if (japanese.isEmpty() || systemLanguage.compare(japanese, Qt::CaseInsensitive) != 0)
            return;

        const QString proportional = JapaneseFontFamily(false);
        if (proportional.isEmpty()) {
            qCWarning(lcCommon) << "No installed font covers Japanese; the form keeps its fonts";
            return;
        }
        const QString fixedPitch = JapaneseFontFamily(true);

        ApplyFamily(form, proportional, fixedPitch);
        // Depth first in creation order, the order the form's controls were made in.
        const QList<QObject *> children = form->findChildren<QObject *>();
        for (QObject *child : children) {
            // A child without a font (a timer, an action, a layout) is simply passed over, and a
            // widget that refuses is left as it is: one control must not stop the others.
            QWidget *widget = qobject_cast<QWidget *>(child);
            if (!widget)
                continue;
            try {
                ApplyFamily(widget, proportional, fixedPitch);
            } catch (...) {
            }
        }
    });
}

} // namespace kvedit::basCheckJapanese
