// How much memory a program may still take.
#pragma once

#include <cstdint>

namespace tarvix {

// Bytes that can be used without others being pushed out; 0 if that is not known.
std::uint64_t freeMemory();

} // namespace tarvix
