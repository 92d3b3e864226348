#include "services/TextFinder.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kvedit {

void TextFinder::setPattern(const QString &pattern)
{
    m_matcher.setPattern(pattern);
    m_matcher.setCaseSensitivity(Qt::CaseInsensitive);
    m_folded.clear();
    m_caseBits.clear();
    m_foldedFromOutside = false;
    for (const QChar c : pattern) {
        const char16_t u = c.unicode();
        if (u >= 0x80) {
            m_folded.clear();
            m_caseBits.clear();
            return;
        }
        const bool letter = (u | 0x20) >= u'a' && (u | 0x20) <= u'z';
        m_folded.push_back(letter ? char16_t(u | 0x20) : u);
        m_caseBits.push_back(letter ? char16_t(0x20) : char16_t(0));
        m_foldedFromOutside = m_foldedFromOutside || m_folded.back() == u'k' || m_folded.back() == u's';
    }
}

bool TextFinder::FoundIn(QStringView text) const
{
    if (m_folded.empty())
        return m_matcher.indexIn(text) >= 0;
    if (FoundAsAscii(text))
        return true;
    return m_foldedFromOutside && (text.contains(QChar(0x212A)) || text.contains(QChar(0x017F)))
           && m_matcher.indexIn(text) >= 0;
}

bool TextFinder::EqualsAt(const char16_t *text) const
{
    for (size_t k = 0; k < m_folded.size(); ++k) {
        if (char16_t(text[k] | m_caseBits[k]) != m_folded[k])
            return false;
    }
    return true;
}

bool TextFinder::FoundAsAscii(QStringView text) const
{
    const qsizetype n = static_cast<qsizetype>(m_folded.size());
    const qsizetype starts = text.size() - n + 1;   // positions where the pattern could begin
    const char16_t *t = text.utf16();
    qsizetype i = 0;
#if defined(__SSE2__)
    // Eight starting positions at once: those whose first and last characters both match are
    // compared in full.
    const __m128i first = _mm_set1_epi16(static_cast<short>(m_folded.front()));
    const __m128i last = _mm_set1_epi16(static_cast<short>(m_folded.back()));
    const __m128i firstCase = _mm_set1_epi16(static_cast<short>(m_caseBits.front()));
    const __m128i lastCase = _mm_set1_epi16(static_cast<short>(m_caseBits.back()));
    for (; i + 8 <= starts; i += 8) {
        const __m128i heads = _mm_loadu_si128(reinterpret_cast<const __m128i *>(t + i));
        const __m128i tails = _mm_loadu_si128(reinterpret_cast<const __m128i *>(t + i + n - 1));
        const __m128i both = _mm_and_si128(_mm_cmpeq_epi16(_mm_or_si128(heads, firstCase), first),
                                           _mm_cmpeq_epi16(_mm_or_si128(tails, lastCase), last));
        unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(both));
        while (mask != 0) {
            const int bit = __builtin_ctz(mask);   // two mask bits for each 16-bit position
            if (EqualsAt(t + i + bit / 2))
                return true;
            mask &= ~(3u << bit);
        }
    }
#endif
    for (; i < starts; ++i) {
        if (EqualsAt(t + i))
            return true;
    }
    return false;
}

} // namespace kvedit
