#pragma once
// Whether a text holds a search text, letters compared without case the way QStringMatcher
// compares them (simple case folding).

#include <QString>
#include <QStringMatcher>
#include <QStringView>

#include <vector>

namespace kvedit {

// Find and the list's filter ask this of every text of every string, some 100,000 texts in a
// large workspace. A search text of ASCII characters, what is nearly always typed, is looked for
// eight characters at a time by its first and last characters; any other search text goes to
// QStringMatcher.
class TextFinder {
public:
    explicit TextFinder(const QString &pattern = QString()) { setPattern(pattern); }
    void setPattern(const QString &pattern);
    bool FoundIn(QStringView text) const;

private:
    bool FoundAsAscii(QStringView text) const;
    bool EqualsAt(const char16_t *text) const;

    QStringMatcher m_matcher;
    // The pattern in lower case, with 0x20 beside each letter (its case bit) and 0 beside any
    // other character; empty when the pattern is not all ASCII.
    std::vector<char16_t> m_folded;
    std::vector<char16_t> m_caseBits;
    // The pattern holds 'k' or 's', which KELVIN SIGN and LONG S fold to: the only characters
    // outside ASCII that match one inside it.
    bool m_foldedFromOutside = false;
};

} // namespace kvedit
