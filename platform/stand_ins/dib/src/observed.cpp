#include <MorvelDibTesting.h>

#include "observed.h"

#include <atomic>
#include <mutex>
#include <new>
#include <optional>

namespace {

std::atomic<long> objects{0};
std::atomic<long> bitmaps{0};
std::atomic<long> createToFail{0};
std::atomic<long> constructionToFail{0};

struct Format {
    int width, height, bitCount;
};
std::mutex formatMutex;
std::optional<Format> otherFormat; // of the next create

// Counts down to 0 once. Returns true at the call that reaches it.
bool isDue(std::atomic<long>& countdown) {
    long left = countdown;
    while (left > 0) {
        if (countdown.compare_exchange_weak(left, left - 1)) {
            return left == 1;
        }
    }
    return false;
}

} // namespace

namespace morvel_dib {

void constructed() {
    if (isDue(constructionToFail)) {
        throw std::bad_alloc();
    }
    ++objects;
}
void destroyed() {
    --objects;
}
void pixelsMade() {
    ++bitmaps;
}
void pixelsFreed() {
    --bitmaps;
}
bool createFails() {
    return isDue(createToFail);
}
void changeFormat(int& width, int& height, int& bitCount) {
    const std::scoped_lock lock(formatMutex);
    if (otherFormat) {
        width = otherFormat->width;
        height = otherFormat->height;
        bitCount = otherFormat->bitCount;
        otherFormat.reset();
    }
}

} // namespace morvel_dib

namespace morvel_dib_testing {

long liveObjects() {
    return objects;
}
long liveBitmaps() {
    return bitmaps;
}
void failCreate(long nth) {
    createToFail = nth;
}
void failConstruction(long nth) {
    constructionToFail = nth;
}
void changeCreate(int width, int height, int bitCount) {
    const std::scoped_lock lock(formatMutex);
    otherFormat = {width, height, bitCount};
}

} // namespace morvel_dib_testing
