// Stand-in for the class library's header of this name, where the library itself is missing: the
// root classes, the exceptions and the multi-byte string that Tarvix and its sample host use.
//
// Left out: run-time class information, archives, diagnostics; a CString given to Format's "%s"
// must be converted (GetString()); memory that runs out throws std::bad_alloc, no CMemoryException.
#pragma once

#include <windows.h>

#include <string>

#if defined(_WIN32)
#if defined(TarvixAfx_EXPORTS)
#define TARVIX_AFX_API __declspec(dllexport)
#else
#define TARVIX_AFX_API __declspec(dllimport)
#endif
#else
#define TARVIX_AFX_API __attribute__((visibility("default")))
#endif

#if defined(__MINGW32__)
#define TARVIX_AFX_PRINTF(text, first) __attribute__((format(__MINGW_PRINTF_FORMAT, text, first)))
#elif defined(__GNUC__)
#define TARVIX_AFX_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define TARVIX_AFX_PRINTF(text, first)
#endif

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251) // private standard members: library and users share one run time
#endif

class TARVIX_AFX_API CObject {
public:
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;
    virtual ~CObject();

protected:
    CObject() = default;
};

// Thrown as a pointer; who catches one calls Delete().
class TARVIX_AFX_API CException : public CObject {
public:
    // With autoDelete, Delete() frees the object; without, it lives on (a static object).
    explicit CException(BOOL autoDelete = TRUE);
    ~CException() override;

    // Writes a text of at most size - 1 characters, terminated. FALSE when there is none.
    virtual BOOL GetErrorMessage(LPSTR text, UINT size, PUINT helpContext = nullptr) const;
    void Delete();

private:
    BOOL m_bAutoDelete;
};

// An argument out of its range, such as an array index.
class TARVIX_AFX_API CInvalidArgException : public CException {
public:
    explicit CInvalidArgException(BOOL autoDelete = TRUE);
    ~CInvalidArgException() override;

    BOOL GetErrorMessage(LPSTR text, UINT size, PUINT helpContext = nullptr) const override;
};

// Throws a CInvalidArgException*, the address of a static object.
[[noreturn]] TARVIX_AFX_API void AfxThrowInvalidArgException();

// A string of bytes, terminated; NULL is taken as the empty string.
class TARVIX_AFX_API CString {
public:
    CString();
    CString(LPCSTR text);
    CString(const CString& other);
    CString(CString&& other) noexcept;
    ~CString();
    CString& operator=(const CString& other);
    CString& operator=(CString&& other) noexcept;
    CString& operator=(LPCSTR text);

    operator LPCSTR() const noexcept;
    LPCSTR GetString() const noexcept;
    int GetLength() const noexcept;
    bool IsEmpty() const noexcept;
    void Empty() noexcept;

    // The character at index; the length itself gives the terminator, anything else out of range
    // throws the invalid-argument exception.
    char GetAt(int index) const;
    char operator[](int index) const;

    // Replaces the text by what printf would print; the arguments may be this string's own text.
    void Format(LPCSTR format, ...) TARVIX_AFX_PRINTF(2, 3);

    CString& operator+=(const CString& other);
    CString& operator+=(LPCSTR text);
    CString& operator+=(char character);

    // Byte by byte: negative, 0 or positive, as this string sorts before, equals or sorts after
    // text.
    int Compare(LPCSTR text) const noexcept;

private:
    std::string m_text;
};

TARVIX_AFX_API CString operator+(const CString& first, const CString& second);
TARVIX_AFX_API CString operator+(const CString& first, LPCSTR second);
TARVIX_AFX_API CString operator+(LPCSTR first, const CString& second);
TARVIX_AFX_API bool operator==(const CString& first, const CString& second) noexcept;
TARVIX_AFX_API bool operator==(const CString& first, LPCSTR second) noexcept;
TARVIX_AFX_API bool operator<(const CString& first, const CString& second) noexcept;

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
