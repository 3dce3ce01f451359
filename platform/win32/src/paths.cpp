#include <shlwapi.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

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

LPSTR PathCombineA(LPSTR destination, LPCSTR directory, LPCSTR file) try {
    if (destination == nullptr) {
        return nullptr;
    }
    std::string path;
    if (isEmpty(file)) {
        path = directory == nullptr ? "" : directory;
    } else if (isEmpty(directory) || *file == '/') {
        path = file;
    } else {
        path = directory;
        if (path.back() != '/') {
            path += '/';
        }
        path += file;
    }
    if ((directory == nullptr && file == nullptr) || path.size() >= MAX_PATH) {
        *destination = '\0';
        return nullptr;
    }
    std::memcpy(destination, path.c_str(), path.size() + 1);
    return destination;
} catch (const std::exception&) {
    *destination = '\0';
    return nullptr;
}

BOOL PathAppendA(LPSTR path, LPCSTR more) {
    if (path == nullptr || more == nullptr) {
        return FALSE;
    }
    return PathCombineA(path, path, more) != nullptr ? TRUE : FALSE;
}

BOOL PathFileExistsA(LPCSTR path) try {
    std::error_code error;
    return path != nullptr && std::filesystem::exists(path, error) ? TRUE : FALSE;
} catch (const std::exception&) {
    return FALSE;
}
