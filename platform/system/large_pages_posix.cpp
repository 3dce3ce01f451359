#include "platform/system/large_pages.h"

#include <cstdint>

#include <sys/mman.h>

namespace tarvix {

#ifdef MADV_HUGEPAGE // Linux

bool preferLargePages(void* block, std::size_t bytes) noexcept {
    if (block == nullptr || bytes < smallestAdvised) {
        return false;
    }
    // Most systems' size. Where it is another one, the system rounds inwards again.
    constexpr std::size_t pageBytes = std::size_t{2} << 20;
    const std::size_t before =
        (pageBytes - reinterpret_cast<std::uintptr_t>(block) % pageBytes) % pageBytes;
    const std::size_t inside = (bytes - before) / pageBytes * pageBytes;
    return madvise(static_cast<char*>(block) + before, inside, MADV_HUGEPAGE) == 0;
}

#else

bool preferLargePages(void* /*block*/, std::size_t /*bytes*/) noexcept {
    return false;
}

#endif

} // namespace tarvix
