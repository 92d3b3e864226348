#include "io/ResourceStrings.h"

#include "model/Types.h"

#include <algorithm>

namespace kvedit::io {

int TextTraits::Properties() const
{
    return (allowShortcut ? tpAllowShortcut : 0) | (multipleLines ? tpMultipleLines : 0)
           | (allowTab ? tpAllowTab : 0);
}

TextProperties TextProperties::FromTraits(const TextTraits &traits)
{
    return TextProperties{traits.Properties(), traits.shortcutCharacter, traits.shortcutMode};
}

QString ImportedString::DisplayId() const
{
    if (!written.isEmpty())
        return written;
    if (id > 0)
        return QString::number(id);
    return symbol;
}

TextTraits AnalyseText(const QString &text)
{
    TextTraits traits;
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text.at(i);
        if (c == u'\n' || c == u'\r') {
            traits.multipleLines = true;
        } else if (c == u'\t') {
            traits.allowTab = true;
        } else if (c == u'&' && i + 1 < n) {
            const QChar next = text.at(i + 1);
            if (next == u'&') {
                ++i;   // a literal ampersand
            } else if (!traits.allowShortcut && next.isLetterOrNumber()) {
                traits.allowShortcut = true;
                traits.shortcutMode = 1;
                const QChar upper = next.toUpper();
                if ((upper >= u'A' && upper <= u'Z') || (upper >= u'0' && upper <= u'9'))
                    traits.shortcutCharacter = QString(upper);
            }
        } else if (c == u'%' && i + 1 < n) {
            const QChar next = text.at(i + 1);
            if (next == u'%') {
                ++i;   // "%%" is a literal percent sign
            } else if (next >= u'1' && next <= u'9' && !(i + 2 < n && text.at(i + 2).isDigit())) {
                const int id = next.digitValue();
                if (!traits.parameterIds.contains(id))
                    traits.parameterIds.append(id);
            }
        }
    }
    std::sort(traits.parameterIds.begin(), traits.parameterIds.end());
    return traits;
}

} // namespace kvedit::io
