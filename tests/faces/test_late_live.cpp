// What tx_TrackFace does if the library that its first call loads is missing: compiled here with
// the name of one that does not exist.
#include "faces/live/live.h"
#include "platform/system/late_library.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <stdexcept>

namespace {

using testing::HasSubstr;

TEST(LateLive, AMissingLibraryIsOpenCvsExceptionWithTheSystemsReasonEachTime) {
    for (int call = 0; call < 2; ++call) {
        try {
            tarvix::trackFace();
            FAIL() << "it was found";
        } catch (const cv::Exception& e) {
            EXPECT_THAT(e.what(),
                        HasSubstr(TARVIX_LIVE_LIBRARY ": cannot open shared object file"));
        }
    }
    EXPECT_THROW(tarvix::hasCamera(), cv::Exception);
}

TEST(LateLive, AMissingFunctionIsNamed) {
    try {
        tarvix::lateFunction(TARVIX_REAL_LIVE_LIBRARY, "tarvixNothing");
        FAIL() << "it was found";
    } catch (const std::runtime_error& e) {
        EXPECT_THAT(e.what(), HasSubstr("tarvixNothing"));
    }
}

TEST(LateLive, TheLibraryHasBothFunctions) {
    for (const char* name : {"tarvixTrackFace", "tarvixHasCamera"}) {
        EXPECT_NE(tarvix::lateFunction(TARVIX_REAL_LIVE_LIBRARY, name), nullptr);
    }
}

} // namespace
