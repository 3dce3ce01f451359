// Calibration files with what only POSIX systems have: links, devices, a limit to the size of files
// that stands for a full disk, any character in a name.
#include "calib/calib_files.h"
#include "tests/calib/failed_writes.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/files.h"
#include "tests/support/images.h"
#include "tests/support/matrix_files.h"

#include <sys/stat.h>

namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

class PosixFiles : public test::FailedWrites {};

TEST_F(PosixFiles, NoSpaceLeavesTheEarlierFilesWhole) {
    ASSERT_EQ(calibrate(), 1);
    const std::string camera = test::bytesOf(folder / "cam.xml");
    const std::string distortion = test::bytesOf(folder / "dist.xml");
    {
        const test::FileSizeLimit limit(100);
        EXPECT_EQ(calibrate(folder.path(), 4), 0);
    }
    expectMessageAbout("cam.xml");
    EXPECT_EQ(test::bytesOf(folder / "cam.xml"), camera);
    EXPECT_EQ(test::bytesOf(folder / "dist.xml"), distortion);
    EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml", "dist.xml"));
}

TEST_F(PosixFiles, NoSpaceLeavesTheStereoSetWhole) {
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

TEST_F(PosixFiles, ThingsInTheWayAreLeftAlone) {
    fs::create_symlink("/dev/full", folder / "cam.xml");
    EXPECT_EQ(calibrate(), 0);
    expectMessageAbout("cam.xml");
    EXPECT_TRUE(fs::is_symlink(folder / "cam.xml"));
    fs::remove(folder / "cam.xml");
    fs::create_symlink("cam.xml", folder / "cam.xml"); // leads to itself
    EXPECT_EQ(calibrate(), 0);
    expectMessageAbout("cam.xml");
    fs::remove(folder / "cam.xml");
    fs::create_symlink("nowhere/", folder / "cam.xml"); // names no file
    EXPECT_EQ(calibrate(), 0);
    expectMessageAbout("cam.xml");
    EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml"));
}

TEST_F(PosixFiles, LinksAreFollowed) {
    test::TempFolder elsewhere;
    test::writeBytes(elsewhere / "mine.xml", "old");
    fs::create_symlink(elsewhere / "mine.xml", folder / "cam.xml");
    fs::create_symlink(elsewhere / "new.xml", folder / "dist.xml"); // leads to nothing yet
    ASSERT_EQ(calibrate(), 1);
    EXPECT_TRUE(fs::is_symlink(folder / "cam.xml"));
    EXPECT_FALSE(test::stored(elsewhere / "mine.xml", "CameraMatrix").empty());
    EXPECT_FALSE(test::stored(elsewhere / "new.xml", "DistCoeffs").empty());
}

TEST_F(PosixFiles, ADanglingLinkReadsAsAMissingFile) {
    ASSERT_EQ(calibrate(), 1);
    fs::remove(folder / "dist.xml");
    fs::create_symlink(folder / "gone.xml", folder / "dist.xml");
    EXPECT_EQ(tx_UseCalib(*test::makeDib(64, 48, 24), folder.path().c_str(), nullptr, nullptr),
              nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(PosixFiles, AFileThatCannotBeReadIsRefusedWithAMessage) {
    ASSERT_EQ(calibrate(), 1);
    // Devices and files whose reading fails, also for a privileged user; none of them may hang.
    const std::string pipe = folder / "pipe"; // nobody writes to it
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const char* target : {"/dev/zero", "/dev/full", "/proc/self/mem", pipe.c_str()}) {
        fs::remove(folder / "dist.xml");
        fs::create_symlink(target, folder / "dist.xml");
        EXPECT_EQ(tx_UseCalib(*test::makeDib(64, 48, 24), folder.path().c_str(), nullptr, nullptr),
                  nullptr);
        expectMessageAbout("dist.xml");
    }
}

TEST_F(PosixFiles, AFolderOfTheSystem) {
    EXPECT_EQ(calibrate("/proc"), 0);
    expectMessageAbout("cam.xml");
}

TEST_F(PosixFiles, AQuestionMarkInThePathIsAName) {
    const std::string odd = folder / "what?base64";
    fs::create_directory(odd);
    ASSERT_EQ(calibrate(odd), 1);
    EXPECT_THAT(test::namesIn(odd), UnorderedElementsAre("cam.xml", "dist.xml"));
    EXPECT_FALSE(tarvix::readMatrix(odd + "/cam.xml", "cam.xml", "CameraMatrix").empty());
}

} // namespace
