// The class library's collections in shape only.
#pragma once

#include <afx.h>

class AFX_DECLARATIONS CStringArray : public CObject {
public:
    CStringArray();
    virtual ~CStringArray();
    INT_PTR GetSize() const;
    INT_PTR GetCount() const;
    INT_PTR GetUpperBound() const;
    BOOL IsEmpty() const;
    void SetSize(INT_PTR newSize, INT_PTR growBy = -1);
    void RemoveAll();
    const CString& GetAt(INT_PTR index) const;
    CString& ElementAt(INT_PTR index);
    const CString& operator[](INT_PTR index) const;
    CString& operator[](INT_PTR index);
    void SetAt(INT_PTR index, LPCTSTR text);
    void SetAt(INT_PTR index, const CString& text);
    INT_PTR Add(LPCTSTR text);
    INT_PTR Add(const CString& text);
};
