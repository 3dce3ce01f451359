#include "platform/system/large_pages.h"

namespace tarvix {

// Large pages of Windows are locked in memory, taken by a privilege that accounts do not have, and
// asked for when a block is made, not by advice.
bool preferLargePages(void* /*block*/, std::size_t /*bytes*/) noexcept {
    return false;
}

} // namespace tarvix
