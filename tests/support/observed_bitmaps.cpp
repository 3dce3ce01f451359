#include "tests/support/observed_bitmaps.h"

#include <MorvelDibTesting.h>

namespace test {

bool bitmapsAreObserved() {
    return true;
}

long liveBitmaps() {
    return morvel_dib_testing::liveObjects();
}

void failBitmapCreate(long nth) {
    morvel_dib_testing::failCreate(nth);
}

void failBitmapConstruction(long nth) {
    morvel_dib_testing::failConstruction(nth);
}

void changeBitmapCreate(int width, int height, int bitCount) {
    morvel_dib_testing::changeCreate(width, height, bitCount);
}

} // namespace test
