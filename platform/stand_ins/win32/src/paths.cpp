#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include <unistd.h>

namespace {

bool isEmpty(LPCSTR text) {
    return text == nullptr || *text == '\0';
}

} // namespace

DWORD GetModuleFileNameA(HMODULE module, LPSTR fileName, DWORD size) try {
    if (module != nullptr || fileName == nullptr || size == 0) {
        return 0;
    }
    std::error_code error;
    const std::string path = std::filesystem::read_symlink("/proc/self/exe", error).string();
    if (error) {
        return 0;
    }
    if (path.size() >= size) {
        std::memcpy(fileName, path.data(), size - 1);
        fileName[size - 1] = '\0';
        return size;
    }
    std::memcpy(fileName, path.c_str(), path.size() + 1);
    return static_cast<DWORD>(path.size());
} catch (const std::exception&) {
    return 0;
}

BOOL PathRemoveFileSpecA(LPSTR path) {
    if (isEmpty(path)) {
        return FALSE;
    }
    char* const lastSeparator = std::strrchr(path, '/');
    char* cut = lastSeparator == nullptr ? path : lastSeparator;
    if (cut == lastSeparator && cut == path) {
        ++cut; // the root keeps its separator
    }
    if (*cut == '\0') {
        return FALSE;
    }
    *cut = '\0';
    return TRUE;
}

LPSTR PathCombineA(LPSTR destination, LPCSTR directory, LPCSTR file) {
    if (destination == nullptr) {
        return nullptr;
    }
    const std::string_view name = isEmpty(file) ? "" : file;
    const std::string_view folder = isEmpty(directory) || name.starts_with('/') ? "" : directory;
    const bool isSeparated = folder.empty() || name.empty() || folder.back() == '/';
    const std::size_t length = folder.size() + (isSeparated ? 0 : 1) + name.size();
    if ((directory == nullptr && file == nullptr) || length >= MAX_PATH) {
        *destination = '\0';
        return nullptr;
    }
    std::array<char, MAX_PATH> path{}; // the destination may be the directory
    char* end = std::copy(folder.begin(), folder.end(), path.data());
    if (!isSeparated) {
        *end++ = '/';
    }
    std::copy(name.begin(), name.end(), end);
    std::memcpy(destination, path.data(), length + 1);
    return destination;
}

BOOL PathAppendA(LPSTR path, LPCSTR more) {
    if (path == nullptr || more == nullptr) {
        return FALSE;
    }
    return PathCombineA(path, path, more) != nullptr ? TRUE : FALSE;
}

BOOL PathFileExistsA(LPCSTR path) {
    return path != nullptr && access(path, F_OK) == 0 ? TRUE : FALSE;
}
