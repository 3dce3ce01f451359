#include "platform/system/processor_time.h"

#include <windows.h>

#include <cstdint>

namespace tarvix {

namespace {

constexpr double unit = 1e-7; // seconds

double secondsOf(const FILETIME& time) {
    const std::uint64_t units =
        (std::uint64_t{time.dwHighDateTime} << 32U) | std::uint64_t{time.dwLowDateTime};
    return static_cast<double>(units) * unit;
}

} // namespace

double processorSeconds() {
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    return secondsOf(kernel) + secondsOf(user);
}

} // namespace tarvix
