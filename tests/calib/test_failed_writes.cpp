// Calibrations that cannot be written: no space, no folder, something in the way. What was there
// before stays whole.
#include "calib/calib_files.h"
#include "tests/calib/views.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/test_host.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

class FailedWrites : public testing::Test {
protected:
    test::TestHost host;
    test::TempFolder folder;
    CStringArray files;

    int calibrate() { return calibrate(folder.path()); }
    int calibrate(const std::string& where) {
        test::fill(files, test::leftPhotos(3));
        return tx_Calib(files, where.c_str(), 9, 6, nullptr);
    }
    void expectMessageAbout(const std::string& name) {
        ASSERT_EQ(host.messages.size(), 1U);
        EXPECT_THAT(host.messages[0].text, HasSubstr("OpenCV("));
        EXPECT_THAT(host.messages[0].text, HasSubstr(name));
        host.messages.clear();
    }
};

TEST_F(FailedWrites, NoSpaceLeavesTheEarlierFilesWhole) {
    ASSERT_EQ(calibrate(), 1);
    const std::string camera = test::bytesOf(folder / "cam.xml");
    const std::string distortion = test::bytesOf(folder / "dist.xml");
    test::fill(files, test::leftPhotos(4));
    {
        const test::FileSizeLimit limit(100);
        EXPECT_EQ(tx_Calib(files, folder.path().c_str(), 9, 6, nullptr), 0);
    }
    expectMessageAbout("cam.xml");
    EXPECT_EQ(test::bytesOf(folder / "cam.xml"), camera);
    EXPECT_EQ(test::bytesOf(folder / "dist.xml"), distortion);
    EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml", "dist.xml"));
}

TEST_F(FailedWrites, NoSpaceLeavesTheStereoSetWhole) {
    test::fill(files, test::pairPhotos(2));
    ASSERT_EQ(tx_StereoCalib(files, folder.path().c_str(), 9, 6, 1, nullptr), 1);
    const std::string m1 = test::bytesOf(folder / "M1.xml");
    {
        const test::FileSizeLimit limit(100);
        EXPECT_EQ(tx_StereoCalib(files, folder.path().c_str(), 9, 6, 25, nullptr), 0);
    }
    expectMessageAbout("M1.xml");
    EXPECT_EQ(test::bytesOf(folder / "M1.xml"), m1);
    EXPECT_EQ(test::namesIn(folder.path()).size(), 9U);
}

TEST_F(FailedWrites, TheSingleCamerasPairIsReplacedTogether) {
    ASSERT_EQ(calibrate(), 1);
    const std::string camera = test::bytesOf(folder / "cam.xml");
    fs::remove(folder / "dist.xml");
    fs::create_directory(folder / "dist.xml");
    test::fill(files, test::leftPhotos(4));
    EXPECT_EQ(tx_Calib(files, folder.path().c_str(), 9, 6, nullptr), 0);
    expectMessageAbout("dist.xml");
    EXPECT_EQ(test::bytesOf(folder / "cam.xml"), camera);
    EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml", "dist.xml"));
}

TEST_F(FailedWrites, AFolderThatTakesNoFiles) {
    EXPECT_EQ(calibrate("/proc"), 0);
    expectMessageAbout("cam.xml");
    EXPECT_EQ(calibrate(folder / "nowhere"), 0);
    expectMessageAbout("cam.xml");
    test::writeBytes(folder / "file", "");
    EXPECT_EQ(calibrate(folder / "file"), 0); // not a folder
    expectMessageAbout("cam.xml");
}

TEST_F(FailedWrites, ThingsInTheWayAreLeftAlone) {
    fs::create_symlink("/dev/full", folder / "cam.xml");
    EXPECT_EQ(calibrate(), 0);
    expectMessageAbout("cam.xml");
    EXPECT_TRUE(fs::is_symlink(folder / "cam.xml"));
    fs::remove(folder / "cam.xml");
    fs::create_symlink("cam.xml", folder / "cam.xml"); // leads to itself
    EXPECT_EQ(calibrate(), 0);
    expectMessageAbout("cam.xml");
    EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml"));
}

TEST_F(FailedWrites, LinksAreFollowed) {
    test::TempFolder elsewhere;
    test::writeBytes(elsewhere / "mine.xml", "old");
    fs::create_symlink(elsewhere / "mine.xml", folder / "cam.xml");
    fs::create_symlink(elsewhere / "new.xml", folder / "dist.xml"); // leads to nothing yet
    ASSERT_EQ(calibrate(), 1);
    EXPECT_TRUE(fs::is_symlink(folder / "cam.xml"));
    EXPECT_FALSE(test::stored(elsewhere / "mine.xml", "CameraMatrix").empty());
    EXPECT_FALSE(test::stored(elsewhere / "new.xml", "DistCoeffs").empty());
}

TEST_F(FailedWrites, ADanglingLinkReadsAsAMissingFile) {
    ASSERT_EQ(calibrate(), 1);
    fs::remove(folder / "dist.xml");
    fs::create_symlink(folder / "gone.xml", folder / "dist.xml");
    EXPECT_EQ(tx_UseCalib(*test::makeDib(64, 48, 24), folder.path().c_str(), nullptr, nullptr),
              nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(FailedWrites, AFileThatCannotBeReadIsRefusedWithAMessage) {
    ASSERT_EQ(calibrate(), 1);
    // Devices and files whose reading fails, also for a privileged user; none of them may hang.
    for (const char* target : {"/dev/zero", "/dev/full", "/proc/self/mem"}) {
        fs::remove(folder / "dist.xml");
        fs::create_symlink(target, folder / "dist.xml");
        EXPECT_EQ(tx_UseCalib(*test::makeDib(64, 48, 24), folder.path().c_str(), nullptr, nullptr),
                  nullptr);
        expectMessageAbout("dist.xml");
    }
}

} // namespace
