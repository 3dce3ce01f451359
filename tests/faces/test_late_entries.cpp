// The way into the library of cameras and windows and back: the lookup by name and the entries,
// with a stand-in behind them.
#include "faces/live/live.h"
#include "platform/system/late_library.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

namespace {

int entryOfHasCamera() {
    using Function = int (*)();
    return reinterpret_cast<Function>(
        tarvix::lateFunction(TARVIX_LIVE_LIBRARY, "tarvixHasCamera"))();
}

TEST(LateEntries, TheResultOfTheTrackingComesBack) {
    EXPECT_EQ(tarvix::trackFace(), 7);
}

TEST(LateEntries, ACameraIsOneAndNoneIsZero) {
    {
        const test::ScopedEnvironment camera("TARVIX_STAND_IN_CAMERA", "1");
        EXPECT_TRUE(tarvix::hasCamera());
        EXPECT_EQ(entryOfHasCamera(), 1);
    }
    EXPECT_FALSE(tarvix::hasCamera());
    EXPECT_EQ(entryOfHasCamera(), 0);
}

} // namespace
