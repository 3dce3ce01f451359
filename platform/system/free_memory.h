// How much memory and how many processors a program may use.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarvix {

// Bytes that can be used without others being pushed out, and within the limits of the process'
// control groups; at least 1, and 0 if that is not known.
std::uint64_t freeMemory();

// Processors that the process may use, by its affinity and its control groups; at least 1.
std::size_t processors();

} // namespace tarvix
