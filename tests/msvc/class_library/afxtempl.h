// The class library's templates in shape only.
#pragma once

#include <afx.h>

template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray : public CObject {
public:
    CArray();
    virtual ~CArray();
    INT_PTR GetSize() const;
    INT_PTR GetCount() const;
    INT_PTR GetUpperBound() const;
    BOOL IsEmpty() const;
    void SetSize(INT_PTR newSize, INT_PTR growBy = -1);
    void RemoveAll();
    TYPE& GetAt(INT_PTR index);
    const TYPE& GetAt(INT_PTR index) const;
    void SetAt(INT_PTR index, ARG_TYPE element);
    TYPE& ElementAt(INT_PTR index);
    const TYPE* GetData() const;
    TYPE* GetData();
    void SetAtGrow(INT_PTR index, ARG_TYPE element);
    INT_PTR Add(ARG_TYPE element);
    const TYPE& operator[](INT_PTR index) const;
    TYPE& operator[](INT_PTR index);

protected:
    TYPE* m_pData;
    INT_PTR m_nSize;
    INT_PTR m_nMaxSize;
    INT_PTR m_nGrowBy;
};
