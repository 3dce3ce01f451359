#include "platform/system/free_memory.h"

#include <fstream>
#include <string>

namespace tarvix {

std::uint64_t freeMemory() {
    const std::string name = "MemAvailable:";
    std::ifstream file("/proc/meminfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name)) {
            return std::stoull(line.substr(name.size())) * 1024;
        }
    }
    return 0;
}

} // namespace tarvix
