#include "bridge/host_paths.h"

#include "platform/system/paths.h"

#include <array>

#include <windows.h>

#include <shlwapi.h> // after windows.h

namespace tarvix {

HostPath pathIn(const char* folder, const char* name) {
    std::array<char, MAX_PATH> combined{};
    PathCombineA(combined.data(), folder, name);
    return {combined.data(), pathOf(combined.data())};
}

bool exists(const HostPath& path) {
    return PathFileExistsA(path.name.c_str()) != FALSE;
}

} // namespace tarvix
