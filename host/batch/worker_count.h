// How many worker processes a batch gets.
#pragma once

#include <cstddef>

namespace host {

// As many as are wanted or, if `wanted` is 0, one for each processor that this process may use and
// no more than memory is free for; at least one.
//   memory  MiB that each may take; 0: what an image of some ten megapixels takes
std::size_t workersFor(int wanted, int memory);

} // namespace host
