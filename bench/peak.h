// How much memory work needs: the peak of what is resident while it runs, above what was resident
// before. Only where the system tells and lets its count start again (Linux).
#pragma once

#include <fstream>
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
        std::ofstream("/proc/self/clear_refs") << '5'; // the peak becomes what is resident now
        m_before = kilobytes("VmHWM:");
    }

    // 0 where the system does not tell.
    [[nodiscard]] double megabytes() const {
        return (kilobytes("VmHWM:") - m_before) * 1024 / 1e6;
    }

private:
    static double kilobytes(const std::string& name) {
        std::ifstream status("/proc/self/status");
        for (std::string word; status >> word;) {
            if (word == name) {
                double value = 0;
                status >> value;
                return value;
            }
        }
        return 0;
    }

    double m_before;
};

} // namespace bench
