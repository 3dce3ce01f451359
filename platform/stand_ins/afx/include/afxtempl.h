// Stand-in for the class library's header of this name: the array template.
//
// Omitted: insertion and removal in the middle, copying, archives.
#pragma once

#include <afx.h>

#include <algorithm>
#include <cstddef>
#include <memory>

// An array that grows. Every access by index is bounds-checked: an index out of range or a negative
// size throws the invalid-argument exception. New elements are value-initialised (zero for plain
// records).
template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray : public CObject {
public:
    CArray() = default;
    ~CArray() override { Release(); }

    INT_PTR GetSize() const noexcept { return m_nSize; }
    INT_PTR GetCount() const noexcept { return m_nSize; }
    INT_PTR GetUpperBound() const noexcept { return m_nSize - 1; }
    BOOL IsEmpty() const noexcept { return m_nSize == 0 ? TRUE : FALSE; }

    // growBy >= 0 becomes the growth setting, -1 keeps it. Size 0 frees the memory. The first
    // memory is for the larger of newSize and the setting. Beyond the capacity, the array grows by
    // the setting. If that is 0, it grows by an eighth of its size, but at least 4 and at most
    // 1024. It grows to newSize if that is more.
    void SetSize(INT_PTR newSize, INT_PTR growBy = -1) {
        if (newSize < 0) {
            AfxThrowInvalidArgException();
        }
        if (growBy >= 0) {
            m_nGrowBy = growBy;
        }
        if (newSize == 0) {
            Release();
        } else if (m_pData == nullptr) {
            Reallocate(newSize > m_nGrowBy ? newSize : m_nGrowBy);
            Resize(newSize);
        } else if (newSize <= m_nMaxSize) {
            Resize(newSize);
        } else {
            INT_PTR step = m_nGrowBy;
            if (step == 0) {
                step = std::clamp<INT_PTR>(m_nSize / 8, 4, 1024);
            }
            // No sum overflows, however large the growth setting is.
            Reallocate(newSize - m_nMaxSize < step ? GrownBy(step) : newSize);
            Resize(newSize);
        }
    }
    void RemoveAll() { SetSize(0); }

    TYPE& GetAt(INT_PTR index) { return ElementAt(index); }
    const TYPE& GetAt(INT_PTR index) const {
        CheckIndex(index);
        return m_pData[index];
    }
    TYPE& ElementAt(INT_PTR index) {
        CheckIndex(index);
        return m_pData[index];
    }
    TYPE& operator[](INT_PTR index) { return ElementAt(index); }
    const TYPE& operator[](INT_PTR index) const { return GetAt(index); }
    void SetAt(INT_PTR index, ARG_TYPE element) { ElementAt(index) = element; }
    void SetAtGrow(INT_PTR index, ARG_TYPE element) {
        if (index < 0) {
            AfxThrowInvalidArgException();
        }
        if (index >= m_nSize) {
            SetSize(index + 1);
        }
        m_pData[index] = element;
    }

    // Returns the new element's index. element must not be in this array.
    INT_PTR Add(ARG_TYPE element) {
        const INT_PTR index = m_nSize;
        SetAtGrow(index, element);
        return index;
    }

    // The elements one after another; NULL if there is no memory. Valid until the size changes.
    TYPE* GetData() noexcept { return m_pData; }
    const TYPE* GetData() const noexcept { return m_pData; }

protected:
    TYPE* m_pData = nullptr;
    INT_PTR m_nSize = 0;
    INT_PTR m_nMaxSize = 0; // elements that fit into the memory
    INT_PTR m_nGrowBy = 0;

private:
    void CheckIndex(INT_PTR index) const {
        if (index < 0 || index >= m_nSize) {
            AfxThrowInvalidArgException();
        }
    }

    INT_PTR GrownBy(INT_PTR step) const {
        const auto grown = static_cast<INT_PTR>(static_cast<std::size_t>(m_nMaxSize) +
                                                static_cast<std::size_t>(step));
        if (grown < m_nMaxSize) {
            AfxThrowInvalidArgException();
        }
        return grown;
    }

    // Constructs or destroys elements at the end, within the capacity.
    void Resize(INT_PTR newSize) {
        if (newSize > m_nSize) {
            std::uninitialized_value_construct(m_pData + m_nSize, m_pData + newSize);
        } else {
            std::destroy(m_pData + newSize, m_pData + m_nSize);
        }
        m_nSize = newSize;
    }

    void Reallocate(INT_PTR capacity) {
        TYPE* const data = std::allocator<TYPE>().allocate(static_cast<std::size_t>(capacity));
        try {
            std::uninitialized_move(m_pData, m_pData + m_nSize, data);
        } catch (...) {
            std::allocator<TYPE>().deallocate(data, static_cast<std::size_t>(capacity));
            throw;
        }
        const INT_PTR size = m_nSize;
        Release();
        m_pData = data;
        m_nSize = size;
        m_nMaxSize = capacity;
    }

    void Release() noexcept {
        if (m_pData != nullptr) {
            std::destroy(m_pData, m_pData + m_nSize);
            std::allocator<TYPE>().deallocate(m_pData, static_cast<std::size_t>(m_nMaxSize));
        }
        m_pData = nullptr;
        m_nSize = 0;
        m_nMaxSize = 0;
    }
};
