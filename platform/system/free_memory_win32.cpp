#include "platform/system/free_memory.h"

#include <windows.h>

namespace tarvix {

std::uint64_t freeMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return GlobalMemoryStatusEx(&status) != 0 ? status.ullAvailPhys : 0;
}

} // namespace tarvix
