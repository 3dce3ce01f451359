// The sub-command track, run as a user runs it, with an emulated camera.
#include "tests/support/emulated_camera.h"
#include "tests/support/environment.h"
#include "tests/support/program.h"
#include "tests/support/x_server.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <future>

namespace {

using test::EmulatedCamera;
using test::ProgramResult;
using testing::HasSubstr;

ProgramResult track() {
    // The address checker's run time insists on being a program's first library, unless told not
    // to.
    const char* const options = std::getenv("ASAN_OPTIONS");
    return test::runProgram("/usr/bin/env", {"LD_PRELOAD=" TARVIX_CAMERA_DEVICE,
                                             std::string("ASAN_OPTIONS=verify_asan_link_order=0:") +
                                                 (options == nullptr ? "" : options),
                                             TARVIX_PROGRAM, "track"});
}

const cv::Mat wall(240, 320, CV_8UC3, cv::Scalar(30, 140, 200));

TEST(TrackCommand, EndsWithAKey) {
    const test::XServer display;
    const EmulatedCamera camera({wall}, test::AfterLastFrame::repeat);
    std::future<ProgramResult> run = std::async(std::launch::async, track);
    EXPECT_TRUE(test::closeWindow("TrackFace", test::returnKey, 90));
    const ProgramResult result = run.get();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "");
}

TEST(TrackCommand, WithoutACameraSaysSo) {
    const EmulatedCamera none;
    const ProgramResult result = track();
    EXPECT_EQ(result.status, 1) << result.err;
    EXPECT_EQ(result.err, "tarvix: there is no camera 0, or it cannot be opened\n");
}

TEST(TrackCommand, WithoutADisplaySaysSo) {
    const EmulatedCamera camera({wall}, test::AfterLastFrame::repeat);
    const test::ScopedEnvironment platform("QT_QPA_PLATFORM", std::nullopt);
    const test::ScopedEnvironment session("XDG_SESSION_TYPE", std::nullopt);
    const test::ScopedEnvironment display("DISPLAY", std::nullopt);
    const ProgramResult result = track();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("tarvix: OpenCV"));
    EXPECT_THAT(result.err, HasSubstr("no display"));
}

} // namespace
