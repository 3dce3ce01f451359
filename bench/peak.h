// How much memory work needs: the peak of what is resident while it runs, above what was resident
// before. Only where the system tells and lets its count start again (Linux).
#pragma once

#include <fstream>
#include <optional>
#include <string>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace bench {

// Counts from its construction on.
class Peak {
public:
    Peak() {
#if defined(__GLIBC__)
        malloc_trim(0); // what is free already is not counted as resident
#endif
        std::ofstream again("/proc/self/clear_refs");
        if (again << '5' << std::flush) { // the peak becomes what is resident now
            m_before = kilobytes();
        }
    }

    // Nothing where the system does not tell.
    [[nodiscard]] std::optional<double> megabytes() const {
        const std::optional<double> now = kilobytes();
        return m_before && now ? std::optional((*now - *m_before) * 1024 / 1e6) : std::nullopt;
    }

private:
    static std::optional<double> kilobytes() {
        std::ifstream status("/proc/self/status");
        for (std::string word; status >> word;) {
            if (double value = 0; word == "VmHWM:" && status >> value) {
                return value;
            }
        }
        return std::nullopt;
    }

    std::optional<double> m_before;
};

} // namespace bench
