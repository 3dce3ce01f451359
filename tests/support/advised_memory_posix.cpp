#include "tests/support/advised_memory.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace test {

// Linux describes each mapping by a line with its addresses and lines of properties. The last one
// has its flags in letters: "VmFlags: rd wr mr mw me ac hg".
std::optional<std::size_t> advisedBytes(const void* block, std::size_t bytes) {
    if (!std::filesystem::exists("/sys/kernel/mm/transparent_hugepage/enabled")) {
        return {};
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t end = begin + bytes;
    std::optional<std::size_t> advised;
    std::uintptr_t from = 0;
    std::uintptr_t to = 0;
    std::ifstream mappings("/proc/self/smaps");
    for (std::string line; std::getline(mappings, line);) {
        if (line.starts_with("VmFlags:")) {
            const bool isAdvised = (line + ' ').find(" hg ") != std::string::npos;
            const bool overlaps = from < end && begin < to;
            advised = advised.value_or(0) +
                      (isAdvised && overlaps ? std::min(to, end) - std::max(from, begin) : 0);
            continue;
        }
        std::istringstream words(line);
        std::uintptr_t first = 0;
        std::uintptr_t second = 0;
        char dash = 0;
        if (words >> std::hex >> first >> dash >> second && dash == '-') {
            from = first;
            to = second;
        }
    }
    return advised;
}

} // namespace test
