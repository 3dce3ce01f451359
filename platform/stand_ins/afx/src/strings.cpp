#include <afxcoll.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

LPCSTR orEmpty(LPCSTR text) {
    return text == nullptr ? "" : text;
}

} // namespace

CString::CString() = default;
CString::CString(LPCSTR text) : m_text(orEmpty(text)) {}
CString::CString(const CString& other) = default;
CString::CString(CString&& other) noexcept : m_text(std::move(other.m_text)) {
    other.m_text.clear();
}
CString::~CString() = default;
CString& CString::operator=(const CString& other) = default;

CString& CString::operator=(CString&& other) noexcept {
    if (this != &other) {
        m_text = std::move(other.m_text);
        other.m_text.clear();
    }
    return *this;
}

CString& CString::operator=(LPCSTR text) {
    m_text = orEmpty(text);
    return *this;
}

CString::operator LPCSTR() const noexcept {
    return m_text.c_str();
}
LPCSTR CString::GetString() const noexcept {
    return m_text.c_str();
}
int CString::GetLength() const noexcept {
    return static_cast<int>(m_text.size());
}
bool CString::IsEmpty() const noexcept {
    return m_text.empty();
}
void CString::Empty() noexcept {
    m_text.clear();
}

char CString::GetAt(int index) const {
    if (index < 0 || index > GetLength()) {
        AfxThrowInvalidArgException();
    }
    return m_text.c_str()[index];
}

char CString::operator[](int index) const {
    return GetAt(index);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): variadic as the class library's own
void CString::Format(LPCSTR format, ...) {
    if (format == nullptr) {
        AfxThrowInvalidArgException();
    }
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length < 0) {
        va_end(again);
        AfxThrowInvalidArgException();
    }
    std::string text;
    try {
        text.resize(static_cast<std::size_t>(length));
    } catch (...) {
        va_end(again);
        throw;
    }
    static_cast<void>(std::vsnprintf(text.data(), text.size() + 1, format, again));
    va_end(again);
    m_text.swap(text);
}

CString& CString::operator+=(const CString& other) {
    m_text += other.m_text;
    return *this;
}

CString& CString::operator+=(LPCSTR text) {
    m_text += orEmpty(text);
    return *this;
}

CString& CString::operator+=(char character) {
    m_text += character;
    return *this;
}

int CString::Compare(LPCSTR text) const noexcept {
    return std::strcmp(m_text.c_str(), orEmpty(text));
}

CString operator+(const CString& first, const CString& second) {
    CString sum(first);
    return sum += second;
}

CString operator+(const CString& first, LPCSTR second) {
    CString sum(first);
    return sum += second;
}

CString operator+(LPCSTR first, const CString& second) {
    CString sum(first);
    return sum += second;
}

bool operator==(const CString& first, const CString& second) noexcept {
    return first.Compare(second) == 0;
}

bool operator==(const CString& first, LPCSTR second) noexcept {
    return first.Compare(second) == 0;
}

bool operator<(const CString& first, const CString& second) noexcept {
    return first.Compare(second) < 0;
}

CStringArray::CStringArray() = default;
CStringArray::~CStringArray() = default;

INT_PTR CStringArray::GetSize() const noexcept {
    return static_cast<INT_PTR>(m_strings.size());
}
INT_PTR CStringArray::GetCount() const noexcept {
    return GetSize();
}
INT_PTR CStringArray::GetUpperBound() const noexcept {
    return GetSize() - 1;
}
BOOL CStringArray::IsEmpty() const noexcept {
    return m_strings.empty() ? TRUE : FALSE;
}

void CStringArray::SetSize(INT_PTR newSize, INT_PTR /*growBy*/) {
    if (newSize < 0) {
        AfxThrowInvalidArgException();
    }
    m_strings.resize(static_cast<std::size_t>(newSize));
}

void CStringArray::RemoveAll() {
    m_strings.clear();
}

const CString& CStringArray::GetAt(INT_PTR index) const {
    if (index < 0 || index >= GetSize()) {
        AfxThrowInvalidArgException();
    }
    return m_strings[static_cast<std::size_t>(index)];
}

CString& CStringArray::ElementAt(INT_PTR index) {
    if (index < 0 || index >= GetSize()) {
        AfxThrowInvalidArgException();
    }
    return m_strings[static_cast<std::size_t>(index)];
}

const CString& CStringArray::operator[](INT_PTR index) const {
    return GetAt(index);
}
CString& CStringArray::operator[](INT_PTR index) {
    return ElementAt(index);
}
void CStringArray::SetAt(INT_PTR index, LPCSTR text) {
    ElementAt(index) = text;
}

INT_PTR CStringArray::Add(LPCSTR text) {
    m_strings.emplace_back(text);
    return GetUpperBound();
}

INT_PTR CStringArray::Add(const CString& text) {
    m_strings.push_back(text);
    return GetUpperBound();
}
