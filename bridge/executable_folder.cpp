#include "bridge/executable_folder.h"

#include <array>

#include <windows.h>

#include <shlwapi.h> // after windows.h

namespace tarvix {

std::string besideExecutable(const char* fileName) {
    std::array<char, MAX_PATH> path{};
    const DWORD length = GetModuleFileNameA(nullptr, path.data(), MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return {};
    }
    PathRemoveFileSpecA(path.data());
    PathAppendA(path.data(), fileName);
    return path.data();
}

} // namespace tarvix
