#pragma once
// Every form calls FormToJapanese while it loads: on a Japanese system the form and all its
// widgets switch to a font family that covers Japanese, so Japanese texts show correctly.

#include "model/StandardLocale.h"
#include "model/StringTables.h"

#include <QString>

class QWidget;

namespace kvedit::basCheckJapanese {

// When the system language equals the value of the locale's Japanese language (code 89), gives
// the form and every widget below it, in creation order, a Japanese font family, keeping each
// widget's size, weight and style (fixed-pitch fonts get a fixed-pitch Japanese family).
// Non-widget children (timers, actions) are passed over. Nothing happens for a null form, on
// another system language, or when no Japanese font is installed. Reports under
// basCheckJapanese.FormToJapanese (a missing system object or locale, for instance).
void FormToJapanese(QWidget *form, const LocalePtr &locale = StandardLocale());

// The installed family used for proportional (fixed = false) or fixed-pitch texts on a Japanese
// system; empty when no installed font covers Japanese.
QString JapaneseFontFamily(bool fixedPitch = false);

} // namespace kvedit::basCheckJapanese
