#include "platform/system/control_groups.h"
#include "platform/system/free_memory.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <thread>

#ifdef __linux__
#include <sched.h>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace tarvix {

std::uint64_t freeMemory() {
    const std::string name = "MemAvailable:";
    std::ifstream file("/proc/meminfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name)) {
            const std::uint64_t bytes = std::stoull(line.substr(name.size())) * 1024;
            return std::max<std::uint64_t>(1, std::min(bytes, groupLimits("/").memory));
        }
    }
    return 0;
}

std::size_t processors() {
    std::uint64_t there = std::max(1U, std::thread::hardware_concurrency());
#ifdef __linux__
    cpu_set_t ours;
    if (sched_getaffinity(0, sizeof ours, &ours) == 0) {
        there = static_cast<std::uint64_t>(CPU_COUNT(&ours));
    }
#endif
    return std::min(there, groupLimits("/").processors);
}

#ifdef __GLIBC__

namespace {

constexpr int mostKept = 256 << 20;

} // namespace

void keepFreedMemory() {
    constexpr int largestInHeap = 32 << 20; // the most that the library takes
    mallopt(M_TRIM_THRESHOLD, mostKept);
    mallopt(M_MMAP_THRESHOLD, largestInHeap);
}

void limitFreedMemory() {
#if __GLIBC_PREREQ(2, 33)
    // The library itself gives back only what is free at the end of its heap.
    if (mallinfo2().fordblks > mostKept) {
        malloc_trim(0);
    }
#endif
}

#else

void keepFreedMemory() {}

void limitFreedMemory() {}

#endif

} // namespace tarvix
