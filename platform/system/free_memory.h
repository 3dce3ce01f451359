// How much memory and how many processors a program may use, and what becomes of memory that it
// frees.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarvix {

// Bytes that can be used without others being pushed out, and within the limits of the process'
// control groups; at least 1, and 0 if that is not known.
std::uint64_t freeMemory();

// Processors that the process may use, by its affinity and its control groups; at least 1.
std::size_t processors();

// From now on, blocks below 32 MiB that the process frees stay with it and are used again. Who
// makes images of one size again and again then does not pay for fresh, cleared pages each time.
// Only where the C library offers it (GNU's, each heap of a thread by itself).
void keepFreedMemory();

// Gives what keepFreedMemory() kept back to the system if it is more than 256 MiB. Takes
// microseconds if it is not. Only where the C library tells how much it is (GNU's from 2.33 on).
void limitFreedMemory();

} // namespace tarvix
