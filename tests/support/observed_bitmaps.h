// What is alive of the bitmap library, and its failures on demand, as far as the library can tell:
// the stand-in's variant for tests can, a host's own library cannot.
#pragma once

#include <gtest/gtest.h>

namespace test {

bool bitmapsAreObserved();

// Bitmap objects constructed and not destroyed. Always 0 if they are not observed.
long liveBitmaps();

// The nth create, or construction, from now on fails, once (1: the next one). 0 cancels that. Throw
// std::logic_error if bitmaps are not observed.
void failBitmapCreate(long nth);
void failBitmapConstruction(long nth);

// The next create makes a bitmap of this size and bit count instead of what it is asked for, once.
// Throws std::logic_error if bitmaps are not observed.
void changeBitmapCreate(int width, int height, int bitCount);

} // namespace test

// At the start of a test that makes bitmaps fail.
#define TARVIX_NEEDS_OBSERVED_BITMAPS()                                                            \
    if (!test::bitmapsAreObserved()) {                                                             \
        GTEST_SKIP() << "the host's own bitmap library does not fail on demand";                   \
    }                                                                                              \
    static_assert(true)
