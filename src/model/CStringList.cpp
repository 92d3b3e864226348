#include "model/CStringList.h"

#include "services/ErrorContext.h"

#include <limits>

namespace kvedit {

namespace {
constexpr int kGrowth = 128;
constexpr const char *kModule = "CStringList";
}

CStringList::CStringList(int maximumCount) : m_maximumCount(qMax(0, maximumCount)) {}

void CStringList::setCount(int count)
{
    const int newCount = count < 0 ? 0 : qMin(count, m_maximumCount);
    if (Capacity() < newCount) {
        // Next multiple of the growth step strictly above the count: 128 gives 256. The store
        // grows before the count changes, so a failed reallocation leaves the list as it stood.
        const qint64 capacity = qint64(newCount) - newCount % kGrowth + kGrowth;
        if (capacity > std::numeric_limits<int>::max())
            throw KvError(errOverflow, QStringLiteral("Overflow"), QLatin1String(kModule));
        m_store.resize(static_cast<size_t>(capacity));
    }
    m_count = newCount;
}

void CStringList::Add(qint32 value)
{
    Reporting(kModule, "Add", [&] {
        if (m_count == std::numeric_limits<int>::max())
            throw KvError(errOverflow, QStringLiteral("Overflow"), QLatin1String(kModule));
        setCount(m_count + 1);
        // At the maximum the count stays put and the last position is overwritten. The value
        // goes straight into the store: the position is known to be inside the list.
        if (m_count > 0)
            m_store[static_cast<size_t>(m_count - 1)] = value;
    });
}

void CStringList::Clear()
{
    Reporting(kModule, "Clear", [&] {
        if (Capacity() <= 0)
            return;
        m_count = 0;
        std::vector<qint32>().swap(m_store);
    });
}

int CStringList::Index(qint32 value) const
{
    int result = 0;
    Reporting(kModule, "Index", [&] {
        int low = 0;
        int high = m_count - 1;
        while (low <= high) {
            // Halves go to the even neighbour: 0.5 -> 0, 1.5 -> 2, 2.5 -> 2. Integer arithmetic,
            // so the floating-point rounding mode cannot change the search.
            const int sum = low + high;
            const int half = sum / 2;
            const int mid = (sum % 2 != 0 && half % 2 != 0) ? half + 1 : half;
            result = mid;
            const qint32 element = m_store[static_cast<size_t>(mid)];
            if (element == value)
                break;
            if (element > value)
                high = mid - 1;
            else
                low = mid + 1;
        }
    });
    return result;
}

void CStringList::Trim()
{
    Reporting(kModule, "Trim", [&] {
        // An empty list simply gives its store back; an empty store is a valid state here.
        m_store.resize(static_cast<size_t>(m_count));
        m_store.shrink_to_fit();
    });
}

qint32 CStringList::Value(int position) const
{
    qint32 result = 0;
    Reporting(kModule, "Value(Get)", [&] {
        if (position >= 1 && position <= m_count)
            result = m_store[static_cast<size_t>(position - 1)];
    });
    return result;
}

void CStringList::setValue(int position, qint32 value)
{
    Reporting(kModule, "Value(Let)", [&] {
        if (position >= 1 && position <= m_count)
            m_store[static_cast<size_t>(position - 1)] = value;
    });
}

} // namespace kvedit
