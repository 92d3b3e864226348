#pragma once
// The ascending list of string ids shown in the resource list: position n is row n.

#include <QtGlobal>

#include <vector>

namespace kvedit {

// Add, Clear, Index, Trim and Value report failures through the error context under
// "CStringList"; Count does not.
class CStringList {
public:
    // maximumCount is the server's MaximumCount: the list never holds more positions.
    explicit CStringList(int maximumCount = 32767);

    void Add(qint32 value);
    void Clear();
    int Count() const { return m_count; }
    // Internal resize: negative counts give 0, counts above the maximum are cut to it, and the
    // store grows to the next multiple of 128 above the count but never shrinks here. Does not
    // report; a failed reallocation throws and leaves the list as it stood.
    void setCount(int count);
    int Capacity() const { return static_cast<int>(m_store.size()); }
    int MaximumCount() const { return m_maximumCount; }
    // Zero-based index of value, or the last midpoint examined when it is absent.
    int Index(qint32 value) const;
    void Trim();
    qint32 Value(int position) const;              // 1-based; 0 outside the list
    void setValue(int position, qint32 value);     // ignored outside the list

private:
    std::vector<qint32> m_store;   // size() is the capacity
    int m_count = 0;
    int m_maximumCount;
};

} // namespace kvedit
