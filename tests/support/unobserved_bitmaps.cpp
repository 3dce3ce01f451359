#include "tests/support/observed_bitmaps.h"

#include <stdexcept>

namespace test {

namespace {

[[noreturn]] void refuse() {
    throw std::logic_error("the host's own bitmap library does nothing on demand");
}

} // namespace

bool bitmapsAreObserved() {
    return false;
}

long liveBitmaps() {
    return 0;
}

void failBitmapCreate(long /*nth*/) {
    refuse();
}

void failBitmapConstruction(long /*nth*/) {
    refuse();
}

void changeBitmapCreate(int /*width*/, int /*height*/, int /*bitCount*/) {
    refuse();
}

} // namespace test
