#pragma once
// Index-checked arrays in the shape of the framework's CStringArray/CDWordArray. Any access with an
// index outside [0, GetSize()) throws CInvalidArgException, which callers deliberately do not catch.

#include <QString>
#include <QStringList>
#include <QVector>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "tunivox_export.h"

class TUNIVOX_EXPORT CInvalidArgException : public std::out_of_range
{
public:
    explicit CInvalidArgException(const std::string& what) : std::out_of_range(what) {}
    ~CInvalidArgException() override;
};

template <typename T>
class CIndexedArray
{
public:
    int GetSize() const { return static_cast<int>(m_items.size()); }
    int GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_items.isEmpty(); }
    int GetUpperBound() const { return GetSize() - 1; }

    // Sets the size (not the capacity): new entries are default values.
    void SetSize(int size)
    {
        if (size < 0)
            throw CInvalidArgException("CIndexedArray::SetSize: negative size");
        m_items.resize(size);
    }
    void RemoveAll() { m_items.clear(); }

    const T& GetAt(int index) const { Check(index); return m_items[index]; }
    T& ElementAt(int index) { Check(index); return m_items[index]; }
    void SetAt(int index, const T& value) { Check(index); m_items[index] = value; }
    const T& operator[](int index) const { return GetAt(index); }
    T& operator[](int index) { return ElementAt(index); }

    int Add(const T& value) { m_items.append(value); return GetSize() - 1; }
    void InsertAt(int index, const T& value)
    {
        if (index < 0 || index > GetSize())
            throw CInvalidArgException("CIndexedArray::InsertAt: index " + std::to_string(index) + " out of range");
        m_items.insert(index, value);
    }
    void RemoveAt(int index, int count = 1)
    {
        if (count < 0 || index < 0 || index + count > GetSize())
            throw CInvalidArgException("CIndexedArray::RemoveAt: index " + std::to_string(index) + " out of range");
        m_items.remove(index, count);
    }

    const QVector<T>& Items() const { return m_items; }
    QVector<T>& Items() { return m_items; }

private:
    void Check(int index) const
    {
        if (index < 0 || index >= GetSize())
            throw CInvalidArgException("array index " + std::to_string(index) + " out of range (size "
                                       + std::to_string(GetSize()) + ")");
    }

    QVector<T> m_items;
};

using CStringArray = CIndexedArray<QString>;
using CDWordArray = CIndexedArray<std::uint32_t>;
