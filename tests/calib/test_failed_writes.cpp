// Calibrations that cannot be written: no folder, something in the way. What was there before stays
// whole.
#include "tests/calib/failed_writes.h"
#include "tests/support/files.h"

#include <filesystem>

namespace {

using test::FailedWrites;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

TEST_F(FailedWrites, TheSingleCamerasPairIsReplacedTogether) {
    ASSERT_EQ(calibrate(), 1);
    const std::string camera = test::bytesOf(folder / "cam.xml");
    fs::remove(folder / "dist.xml");
    fs::create_directory(folder / "dist.xml");
    EXPECT_EQ(calibrate(folder.path(), 4), 0);
    expectMessageAbout("dist.xml");
    EXPECT_EQ(test::bytesOf(folder / "cam.xml"), camera);
    EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml", "dist.xml"));
}

TEST_F(FailedWrites, AFolderThatTakesNoFiles) {
    EXPECT_EQ(calibrate(folder / "nowhere"), 0);
    expectMessageAbout("cam.xml");
    test::writeBytes(folder / "file", "");
    EXPECT_EQ(calibrate(folder / "file"), 0); // not a folder
    expectMessageAbout("cam.xml");
}

} // namespace
