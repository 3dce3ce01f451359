#include "platform/system/free_memory.h"

#include <algorithm>
#include <thread>

#include <windows.h>

namespace tarvix {

std::uint64_t freeMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return GlobalMemoryStatusEx(&status) != 0 ? status.ullAvailPhys : 0;
}

std::size_t processors() {
    return std::max(1U, std::thread::hardware_concurrency());
}

void keepFreedMemory() {} // its heap has no such setting

void limitFreedMemory() {}

} // namespace tarvix
