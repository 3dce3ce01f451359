// What tx_TrackFace makes of what comes out of the library of cameras and windows: the export is
// compiled here with a tracking that does what a test says.
#include <tarvix/faces.h>

#include "faces/live/live.h"
#include "tests/support/test_host.h"

#include <gmock/gmock.h>

#include <functional>
#include <new>
#include <stdexcept>

namespace {

std::function<int()> tracking;

}

int tarvix::trackFace() {
    return tracking();
}

namespace {

class TrackFaceFailures : public testing::Test {
protected:
    test::TestHost host;
};

TEST_F(TrackFaceFailures, ItsOwnResultIsPassedOn) {
    for (const int result : {0, 1, 7}) {
        tracking = [&] { return result; };
        EXPECT_EQ(tx_TrackFace("ignored"), result);
    }
    EXPECT_THAT(host.messages, testing::IsEmpty());
}

TEST_F(TrackFaceFailures, OpenCvsExceptionIsShownAndGivesZero) {
    tracking = []() -> int { CV_Error(cv::Error::StsError, "no such library"); };
    EXPECT_EQ(tx_TrackFace(nullptr), 0);
    ASSERT_EQ(host.messages.size(), 1U);
    EXPECT_THAT(host.messages[0].text, testing::HasSubstr("no such library"));
}

TEST_F(TrackFaceFailures, AnyOtherGivesOneSilently) {
    tracking = []() -> int { throw std::bad_alloc(); };
    EXPECT_EQ(tx_TrackFace(nullptr), 1);
    tracking = []() -> int { throw 0; };
    EXPECT_EQ(tx_TrackFace(nullptr), 1);
    EXPECT_THAT(host.messages, testing::IsEmpty());
}

} // namespace
