#include "platform/system/files.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <locale>
#include <random>
#include <sstream>
#include <vector>

#include <windows.h>

namespace tarvix {

namespace fs = std::filesystem;

namespace {

constexpr DWORD diskQuotaExceeded = 1295; // ERROR_DISK_QUOTA_EXCEEDED, not in all headers

std::error_code errorOf(DWORD code) {
    switch (code) {
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case diskQuotaExceeded:
        return make_error_code(std::errc::no_space_on_device);
    case ERROR_FILE_TOO_LARGE:
        return make_error_code(std::errc::file_too_large);
    case ERROR_ACCESS_DENIED:
    case ERROR_PRIVILEGE_NOT_HELD:
        return make_error_code(std::errc::permission_denied);
    case ERROR_WRITE_PROTECT:
        return make_error_code(std::errc::read_only_file_system);
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
        return make_error_code(std::errc::device_or_resource_busy);
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
        return make_error_code(std::errc::no_such_file_or_directory);
    case ERROR_DIRECTORY:
        return make_error_code(std::errc::not_a_directory);
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return make_error_code(std::errc::file_exists);
    case ERROR_FILENAME_EXCED_RANGE:
        return make_error_code(std::errc::filename_too_long);
    default:
        return {static_cast<int>(code), std::system_category()};
    }
}

std::error_code lastError() {
    return errorOf(GetLastError());
}

// The name by which the system takes a path of any length.
std::wstring anyLength(const fs::path& path) {
    std::wstring full(32768, L'\0');
    full.resize(
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    if (full.rfind(LR"(\\?\)", 0) == 0 || full.rfind(LR"(\\.\)", 0) == 0) { // already; a device
        return full;
    }
    if (full.rfind(LR"(\\)", 0) == 0) {
        return LR"(\\?\UNC\)" + full.substr(2);
    }
    return full.empty() ? path.wstring() : LR"(\\?\)" + full;
}

// Owner, group and access control list, as the system writes them. Empty if they cannot be read.
std::vector<unsigned char> securityOf(HANDLE file) {
    constexpr SECURITY_INFORMATION all =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    GetKernelObjectSecurity(file, all, nullptr, 0, &size);
    std::vector<unsigned char> descriptor(size);
    if (size == 0 || GetKernelObjectSecurity(file, all, descriptor.data(), size, &size) == FALSE) {
        return {};
    }
    return descriptor;
}

// Whether the file has more than its bytes.
bool hasStreams(const std::wstring& path) {
    WIN32_FIND_STREAM_DATA data{};
    const HANDLE search = FindFirstStreamW(path.c_str(), FindStreamInfoStandard, &data, 0);
    if (search == INVALID_HANDLE_VALUE) {
        return false; // a file system without streams
    }
    const bool more = FindNextStreamW(search, &data) != FALSE;
    FindClose(search);
    return more;
}

class WindowsFile final : public OpenFile {
public:
    WindowsFile(HANDLE handle, std::wstring path) : m_handle(handle), m_path(std::move(path)) {}
    ~WindowsFile() override { CloseHandle(m_handle); }
    WindowsFile(const WindowsFile&) = delete;
    WindowsFile& operator=(const WindowsFile&) = delete;

    std::error_code read(std::string& bytes) override {
        bytes.clear();
        if (!seek(0)) {
            return lastError();
        }
        std::vector<char> buffer(1 << 16);
        for (;;) {
            DWORD count = 0;
            if (ReadFile(m_handle, buffer.data(), static_cast<DWORD>(buffer.size()), &count,
                         nullptr) == FALSE) {
                return lastError();
            }
            if (count == 0) {
                return {};
            }
            bytes.append(buffer.data(), count);
        }
    }

    std::error_code write(std::string_view bytes, std::size_t& written) override {
        written = 0;
        if (!seek(0)) {
            return lastError();
        }
        while (written < bytes.size()) {
            constexpr std::size_t most = std::size_t{1} << 30;
            DWORD count = 0;
            if (WriteFile(m_handle, bytes.data() + written,
                          static_cast<DWORD>(std::min(bytes.size() - written, most)), &count,
                          nullptr) == FALSE) {
                return lastError();
            }
            if (count == 0) {
                return make_error_code(std::errc::no_space_on_device);
            }
            written += count;
        }
        return {};
    }

    std::error_code reserve(std::size_t size) override {
        LARGE_INTEGER present{};
        if (GetFileSizeEx(m_handle, &present) == FALSE) {
            return lastError();
        }
        if (present.QuadPart >= static_cast<LONGLONG>(size)) {
            return {}; // a smaller allocation would cut it
        }
        FILE_ALLOCATION_INFO room{};
        room.AllocationSize.QuadPart = static_cast<LONGLONG>(size);
        if (SetFileInformationByHandle(m_handle, FileAllocationInfo, &room, sizeof room) != FALSE) {
            return {};
        }
        const std::error_code error = lastError();
        return error == std::errc::no_space_on_device ? error : std::error_code();
    }

    std::error_code resize(std::size_t size) override {
        return seek(size) && SetEndOfFile(m_handle) != FALSE ? std::error_code() : lastError();
    }

    std::error_code sync() override {
        return FlushFileBuffers(m_handle) != FALSE ? std::error_code() : lastError();
    }

    // Nothing is copied: a new file mostly inherits what the original has from their folder. If
    // anything differs, it cannot take its place.
    bool takeAfter(const OpenFile& original) override {
        const auto& from = static_cast<const WindowsFile&>(original);
        // The system sets these by itself.
        constexpr DWORD ignored = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NORMAL;
        BY_HANDLE_FILE_INFORMATION wanted{};
        BY_HANDLE_FILE_INFORMATION present{};
        const std::vector<unsigned char> security = securityOf(from.m_handle);
        return GetFileInformationByHandle(from.m_handle, &wanted) != FALSE &&
               GetFileInformationByHandle(m_handle, &present) != FALSE &&
               wanted.nNumberOfLinks == 1 &&
               (wanted.dwFileAttributes | ignored) == (present.dwFileAttributes | ignored) &&
               (GetFileAttributesW(from.m_path.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT) == 0 &&
               security == securityOf(m_handle) && !hasStreams(from.m_path);
    }

private:
    bool seek(std::size_t position) {
        LARGE_INTEGER to{};
        to.QuadPart = static_cast<LONGLONG>(position);
        return SetFilePointerEx(m_handle, to, nullptr, FILE_BEGIN) != FALSE;
    }

    HANDLE m_handle;
    std::wstring m_path;
};

class WindowsLock final : public FolderLock {
public:
    explicit WindowsLock(HANDLE mutex) : m_mutex(mutex) {}
    ~WindowsLock() override {
        ReleaseMutex(m_mutex);
        CloseHandle(m_mutex);
    }
    WindowsLock(const WindowsLock&) = delete;
    WindowsLock& operator=(const WindowsLock&) = delete;

private:
    HANDLE m_mutex;
};

HANDLE openWith(const std::wstring& path, DWORD access, DWORD disposition) {
    return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

class WindowsFiles final : public FileSystem {
public:
    std::unique_ptr<OpenFile> open(const fs::path& file, std::error_code& error) override {
        std::wstring path = anyLength(file);
        const DWORD attributes = GetFileAttributesW(path.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            error = make_error_code(std::errc::is_a_directory);
            return nullptr;
        }
        HANDLE handle = openWith(path, GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
        if (handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_ACCESS_DENIED) {
            handle = openWith(path, GENERIC_WRITE, OPEN_EXISTING);
        }
        if (handle == INVALID_HANDLE_VALUE) {
            error = lastError();
            return nullptr;
        }
        auto opened = std::make_unique<WindowsFile>(handle, std::move(path));
        if (GetFileType(handle) != FILE_TYPE_DISK) {
            error = make_error_code(std::errc::is_a_directory);
            return nullptr;
        }
        error.clear();
        return opened;
    }

    std::unique_ptr<OpenFile> create(const fs::path& file, std::error_code& error) override {
        std::wstring path = anyLength(file);
        const HANDLE handle = openWith(path, GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
        if (handle == INVALID_HANDLE_VALUE) {
            error = lastError();
            return nullptr;
        }
        error.clear();
        return std::make_unique<WindowsFile>(handle, std::move(path));
    }

    std::error_code rename(const fs::path& from, const fs::path& to) override {
        return MoveFileExW(anyLength(from).c_str(), anyLength(to).c_str(),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE
                   ? std::error_code()
                   : lastError();
    }

    std::error_code remove(const fs::path& file) override {
        return DeleteFileW(anyLength(file).c_str()) != FALSE ? std::error_code() : lastError();
    }

    std::error_code syncFolder(const fs::path& /*folder*/) override {
        return {}; // the system keeps a journal of names, and renaming waits for it
    }

    std::unique_ptr<FolderLock> lockFolder(const fs::path& folder, Access /*access*/) override {
        const HANDLE handle = CreateFileW(
            anyLength(folder.empty() ? fs::path(L".") : folder).c_str(), FILE_READ_ATTRIBUTES,
            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
            FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (handle == INVALID_HANDLE_VALUE) {
            return nullptr;
        }
        BY_HANDLE_FILE_INFORMATION id{};
        const bool known = GetFileInformationByHandle(handle, &id) != FALSE;
        CloseHandle(handle);
        if (!known) {
            return nullptr;
        }
        // A folder cannot be locked, so a mutex of its identity stands for it.
        std::wostringstream name;
        name.imbue(std::locale::classic());
        name << L"Local\\TarvixFolder-" << std::hex << id.dwVolumeSerialNumber << L'-'
             << id.nFileIndexHigh << L'-' << id.nFileIndexLow;
        const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.str().c_str());
        if (mutex == nullptr) {
            return nullptr;
        }
        constexpr DWORD longestWaitMs = 10'000;
        const DWORD result = WaitForSingleObject(mutex, longestWaitMs);
        if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) {
            CloseHandle(mutex);
            return nullptr;
        }
        return std::make_unique<WindowsLock>(mutex);
    }

    std::string uniqueName() override {
        static std::atomic<unsigned> count{0};
        std::random_device random;
        std::ostringstream name;
        name.imbue(std::locale::classic());
        name << std::hex << GetCurrentProcessId() << 'x' << random() << random() << 'x' << ++count;
        return name.str();
    }

    std::string_view lineEnd() override { return "\r\n"; }
};

} // namespace

FileSystem& systemFiles() {
    static WindowsFiles files;
    return files;
}

} // namespace tarvix
