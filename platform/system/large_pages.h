// Advice to the system about the pages of large blocks of memory.
#pragma once

#include <cstddef>

namespace tarvix {

// Smaller blocks are left alone: they have hardly a large page (2 MB) in them.
inline constexpr std::size_t smallestAdvised = std::size_t{4} << 20;

// Asks the system to map the block by large pages, which saves most page faults of its first
// writes. To be called before these; bytes that were written stay. Only pages that are in the block
// as a whole are asked for, so a block that is written from end to end takes no more memory.
//   block  may be null
// Returns true if the system took the advice. It may still have no large pages free. Returns false
// for a small block and on systems that take no such advice.
bool preferLargePages(void* block, std::size_t bytes) noexcept;

} // namespace tarvix
