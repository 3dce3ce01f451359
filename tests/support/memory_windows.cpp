#include "tests/support/memory.h"

#include <windows.h>

#include <psapi.h> // after windows.h

namespace test {

std::size_t peakMemory() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PeakWorkingSetSize;
}

} // namespace test
