#include "host/batch/worker_count.h"

#include "host/numbers.h"
#include "platform/system/free_memory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace host {

std::size_t workersFor(int wanted, int memory) {
    if (wanted > 0) {
        return static_cast<std::size_t>(wanted);
    }
    constexpr std::uint64_t mebi = std::uint64_t{1} << 20U;
    constexpr std::uint64_t usual = 512;
    const std::uint64_t each = (memory > 0 ? std::uint64_t(memory) : usual) * mebi;
    const std::uint64_t freeBytes = tarvix::freeMemory();
    std::size_t processors = tarvix::processors();
    const char* const given = std::getenv("SLURM_CPUS_PER_TASK");
    if (int number = 0; given != nullptr && readNumber(given, number)) {
        processors = static_cast<std::size_t>(std::max(1, number));
    }
    // Not known is not none. A group that has nothing left gets one worker.
    const std::uint64_t fit = freeBytes == 0 ? processors : freeBytes / each;
    return std::clamp<std::size_t>(fit, 1, processors);
}

} // namespace host
