#include <afx.h>

#include <algorithm>
#include <cstring>

CObject::~CObject() = default;

CException::CException(BOOL autoDelete) : m_bAutoDelete(autoDelete) {}

CException::~CException() = default;

BOOL CException::GetErrorMessage(LPSTR text, UINT size, PUINT helpContext) const {
    if (helpContext != nullptr) {
        *helpContext = 0;
    }
    if (text != nullptr && size > 0) {
        *text = '\0';
    }
    return FALSE;
}

void CException::Delete() {
    if (m_bAutoDelete) {
        delete this;
    }
}

CInvalidArgException::CInvalidArgException(BOOL autoDelete) : CException(autoDelete) {}

CInvalidArgException::~CInvalidArgException() = default;

BOOL CInvalidArgException::GetErrorMessage(LPSTR text, UINT size, PUINT helpContext) const {
    CException::GetErrorMessage(text, size, helpContext);
    if (text == nullptr || size == 0) {
        return FALSE;
    }
    constexpr char message[] = "Encountered an improper argument.";
    const std::size_t length = std::min<std::size_t>(size - 1, sizeof message - 1);
    std::memcpy(text, message, length);
    text[length] = '\0';
    return TRUE;
}

void AfxThrowInvalidArgException() {
    static CInvalidArgException exception(FALSE);
    throw &exception; // NOLINT: thrown by pointer, as the class library's callers catch it
}
