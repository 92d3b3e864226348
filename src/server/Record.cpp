#include "server/Record.h"

#include <QHash>
#include <QList>

#include <array>
#include <mutex>

namespace kvedit::server {

namespace {

constexpr quint32 kCode = 0x80000000U;
constexpr quint32 kListed = 0x40000000U;

// The characters of the scripts most shortcuts are taken from, one after another, so that a
// shortcut character read as a QString points here instead of taking a heap block of its own.
constexpr size_t kSharedCharacters = 0x2000;
constexpr std::array<char16_t, kSharedCharacters> kCharacters = [] {
    std::array<char16_t, kSharedCharacters> all{};
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<char16_t>(i);
    return all;
}();

// The texts longer than one character, each once; never shrinks, so an index stays valid.
struct LongerTexts {
    std::mutex lock;
    QList<QString> texts;
    QHash<QString, quint32> indexes;
};

LongerTexts &Longer()
{
    static LongerTexts longer;
    return longer;
}

} // namespace

CompactCharacter &CompactCharacter::operator=(const QString &text)
{
    if (text.isEmpty()) {
        m_value = 0;
    } else if (text.size() == 1) {
        m_value = kCode | text.at(0).unicode();
    } else if (text.size() == 2 && text.at(0).isHighSurrogate() && text.at(1).isLowSurrogate()) {
        m_value = kCode | QChar::surrogateToUcs4(text.at(0), text.at(1));
    } else {
        LongerTexts &longer = Longer();
        const std::lock_guard<std::mutex> hold(longer.lock);
        auto it = longer.indexes.constFind(text);
        if (it == longer.indexes.cend()) {
            it = longer.indexes.insert(text, static_cast<quint32>(longer.texts.size()));
            longer.texts.append(text);
        }
        m_value = kListed | *it;
    }
    return *this;
}

CompactCharacter::operator QString() const
{
    if (m_value & kCode) {
        const char32_t code = m_value & ~kCode;
        if (code < kSharedCharacters)
            return QString::fromRawData(reinterpret_cast<const QChar *>(&kCharacters[code]), 1);
        if (code <= 0xFFFF)   // a lone surrogate as well, kept as it came
            return QString(QChar(static_cast<char16_t>(code)));
        return QString::fromUcs4(&code, 1);
    }
    if (m_value & kListed) {
        LongerTexts &longer = Longer();
        const std::lock_guard<std::mutex> hold(longer.lock);
        return longer.texts.at(static_cast<qsizetype>(m_value & ~kListed));
    }
    return QString();
}

} // namespace kvedit::server
