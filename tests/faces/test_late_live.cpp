// What tx_TrackFace does if the library that its first call loads is missing: compiled here with
// the name of one that does not exist.
#include "faces/live/live.h"
#include "platform/system/late_library.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <filesystem>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;
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

// As if a library that it names itself were missing: the message is not that the file is missing.
TEST(LateLive, TheReasonIsThatOfTheFileBesideUs) {
    const fs::path noLibrary = "late_live/not_a_library.so"; // a name with / is not searched for
    const fs::path beside = fs::canonical("/proc/self/exe").parent_path() / noLibrary;
    fs::create_directory(beside.parent_path());
    test::writeBytes(beside.string(), std::string(100, 'x'));
    try {
        tarvix::lateFunction(noLibrary.string(), "tarvixNothing");
        ADD_FAILURE() << "it was loaded";
    } catch (const std::runtime_error& e) {
        EXPECT_THAT(e.what(), HasSubstr("invalid ELF header"));
    }
    fs::remove_all(beside.parent_path());
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
