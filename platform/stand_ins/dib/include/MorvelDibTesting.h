// For the tests of hosts and modules: what is alive, and failures on demand. Process-wide, callable
// from any thread. Only the variant of the library in Tarvix's own build folder has them; neither
// this header nor that variant is installed.
#pragma once

#include <MorvelDib.h>

namespace morvel_dib_testing {

MORVEL_DIB_API long liveObjects(); // CDib objects constructed and not destroyed
MORVEL_DIB_API long liveBitmaps(); // those of them that hold pixels

// The nth create of either kind from now on returns 0 (1: the next one), once. 0 cancels that.
MORVEL_DIB_API void failCreate(long nth);

// The nth construction of a CDib from now on throws std::bad_alloc, once, as a failed allocation
// would. 0 cancels that.
MORVEL_DIB_API void failConstruction(long nth);

// The next create of either kind makes a bitmap of this size and bit count instead of what it is
// asked for, once, as a host's own class may.
MORVEL_DIB_API void changeCreate(int width, int height, int bitCount);

} // namespace morvel_dib_testing
