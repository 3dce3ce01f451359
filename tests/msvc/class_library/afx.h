// The class library's root header in shape only: what Tarvix uses, declared as the real one
// does. README.md beside this folder says what it is for.
#pragma once

#if !defined(_AFXDLL) || !defined(_DLL)
#error The class library must be used as a shared library: _AFXDLL with /MD or /MDd
#endif
#if defined(_UNICODE)
#error This shape has multi-byte characters only
#endif
#ifdef _WINDOWS_
#error WINDOWS.H already included. MFC apps must not #include <windows.h>
#endif

#include <windows.h>

// rpcndr.h defines this, which windows.h includes there.
#define small char
#ifndef near
#define near
#endif
#ifndef far
#define far
#endif

#define AFX_DECLARATIONS __declspec(dllimport)

class AFX_DECLARATIONS CObject {
public:
    virtual ~CObject();

protected:
    CObject();

private:
    CObject(const CObject&);
    void operator=(const CObject&);
};

class AFX_DECLARATIONS CException : public CObject {
public:
    CException();
    explicit CException(BOOL autoDelete);
    virtual ~CException();
    virtual BOOL GetErrorMessage(LPTSTR text, UINT size, PUINT helpContext = NULL) const;
    void Delete();
};

class AFX_DECLARATIONS CSimpleException : public CException {
public:
    CSimpleException();
    explicit CSimpleException(BOOL autoDelete);
};

class AFX_DECLARATIONS CInvalidArgException : public CSimpleException {
public:
    CInvalidArgException();
    CInvalidArgException(BOOL autoDelete, UINT resourceId);
    virtual ~CInvalidArgException();
};

[[noreturn]] void __stdcall AfxThrowInvalidArgException();

// The string: the names of its templates are part of the decorated names.
namespace ATL {

template <typename BaseType>
class ChTraitsCRT {};

template <typename BaseType, bool isDll = false>
class CSimpleStringT {
public:
    CSimpleStringT();
    CSimpleStringT(const CSimpleStringT&);
    ~CSimpleStringT() noexcept;
    operator const BaseType*() const noexcept;
    const BaseType* GetString() const noexcept;
    BaseType* GetBuffer();
    void ReleaseBuffer(int newLength = -1);
    int GetLength() const noexcept;
    bool IsEmpty() const noexcept;
    void Empty() noexcept;
    BaseType GetAt(int character) const;
    BaseType operator[](int character) const;
};

template <typename BaseType, class StringTraits>
class CStringT : public CSimpleStringT<BaseType, true> {
public:
    CStringT() noexcept;
    CStringT(const CStringT&);
    CStringT(const BaseType* text);
    CStringT& operator=(const CStringT&);
    CStringT& operator=(const BaseType* text);
    CStringT& operator+=(const CStringT&);
    CStringT& operator+=(const BaseType* text);
    CStringT& operator+=(BaseType character);
    void __cdecl Format(const BaseType* format, ...);
    int Compare(const BaseType* text) const;

    friend CStringT operator+(const CStringT&, const CStringT&) { return {}; }
    friend CStringT operator+(const CStringT&, const BaseType*) { return {}; }
    friend CStringT operator+(const BaseType*, const CStringT&) { return {}; }
    friend bool operator==(const CStringT&, const CStringT&) noexcept { return false; }
    friend bool operator==(const CStringT&, const BaseType*) { return false; }
    friend bool operator<(const CStringT&, const CStringT&) noexcept { return false; }
};

} // namespace ATL

template <typename BaseType, class Iterator = ATL::ChTraitsCRT<BaseType>>
class StrTraitMFC_DLL : public Iterator {};

using CString = ATL::CStringT<char, StrTraitMFC_DLL<char>>;
