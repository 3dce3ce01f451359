// Stand-in for the class library's header of this name: the array of strings.
//
// Omitted: the other collections; insertion and removal in the middle; a chosen growth.
#pragma once

#include <afx.h>

#include <vector>

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251) // private standard members: library and users share one run time
#endif

// Every access is bounds-checked: an index out of range or a negative size throws the
// invalid-argument exception.
class TARVIX_AFX_API CStringArray : public CObject {
public:
    CStringArray();
    ~CStringArray() override;

    INT_PTR GetSize() const noexcept;
    INT_PTR GetCount() const noexcept;
    INT_PTR GetUpperBound() const noexcept; // -1 if empty
    BOOL IsEmpty() const noexcept;

    // New elements are empty strings.
    void SetSize(INT_PTR newSize, INT_PTR growBy = -1);
    void RemoveAll();

    const CString& GetAt(INT_PTR index) const;
    CString& ElementAt(INT_PTR index);
    const CString& operator[](INT_PTR index) const;
    CString& operator[](INT_PTR index);
    void SetAt(INT_PTR index, LPCSTR text);

    // Returns the new element's index.
    INT_PTR Add(LPCSTR text);
    INT_PTR Add(const CString& text);

private:
    std::vector<CString> m_strings;
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
