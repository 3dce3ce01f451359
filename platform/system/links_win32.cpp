#include "platform/system/links.h"

#include <string>

#include <windows.h>

namespace tarvix {

namespace {

// A file or folder, open for its name only, closed at the end.
class Opened {
public:
    explicit Opened(const std::filesystem::path& path)
        : m_handle(CreateFileW(path.c_str(), 0,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    ~Opened() {
        if (m_handle != INVALID_HANDLE_VALUE) {
            CloseHandle(m_handle);
        }
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    [[nodiscard]] HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};

std::error_code lastError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

} // namespace

std::filesystem::path followedPath(const std::filesystem::path& path, std::error_code& error) {
    error.clear();
    const Opened opened(path);
    std::wstring text(32768, L'\0'); // the longest path
    const DWORD length =
        opened.get() == INVALID_HANDLE_VALUE
            ? 0
            : GetFinalPathNameByHandleW(opened.get(), text.data(), static_cast<DWORD>(text.size()),
                                        FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (length == 0 || length >= text.size()) {
        error = lastError();
        return {};
    }
    text.resize(length);
    // Without the prefix that asks for the rest to be taken as it is.
    if (text.starts_with(L"\\\\?\\UNC\\")) {
        text.replace(0, 8, L"\\\\");
    } else if (text.starts_with(L"\\\\?\\")) {
        text.erase(0, 4);
    }
    return text;
}

bool isLink(const std::filesystem::directory_entry& entry) {
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(entry.path().c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return false;
    }
    FindClose(search);
    // Other marks of this kind are no links: a file that is kept on a server, for example.
    return (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           IsReparseTagNameSurrogate(found.dwReserved0);
}

} // namespace tarvix
