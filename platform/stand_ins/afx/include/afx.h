// Stand-in for the class library's header of this name if the library itself is missing: the root
// classes, the exceptions and the multi-byte string that Tarvix and its sample host use.
//
// Omitted: run-time class information, archives, diagnostics. A CString given to Format's "%s" must
// be converted (GetString()). A lack of memory throws std::bad_alloc, not CMemoryException.
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

// Thrown as a pointer. Whoever catches one calls Delete().
class TARVIX_AFX_API CException : public CObject {
public:
    // With autoDelete, Delete() frees the object. Without, it does nothing (for a static object).
    explicit CException(BOOL autoDelete = TRUE);
    ~CException() override;

    // Writes a text of at most size - 1 characters, terminated. Returns FALSE if there is none.
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

// A terminated string of bytes. NULL is treated as the empty string.
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

    // Returns the character at index; for the length itself, the terminator. Throws the
    // invalid-argument exception for any other index out of range.
    char GetAt(int index) const;
    char operator[](int index) const;

    // Replaces the text by what printf would print. The arguments may be this string's own text.
    void Format(LPCSTR format, ...) TARVIX_AFX_PRINTF(2, 3);

    CString& operator+=(const CString& other);
    CString& operator+=(LPCSTR text);
    CString& operator+=(char character);

    // Compares byte by byte. Returns a negative number, 0 or a positive one if this string sorts
    // before text, equals it or sorts after it.
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
