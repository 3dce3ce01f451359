// Calibrations into folders as POSIX systems have them: shared with others, full, closed, with
// other things in them.
#include "tests/calib/failed_writes.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/files.h"
#include "tests/support/matrix_files.h"
#include "tests/support/other_user.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <sys/stat.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

class StubbornFolders : public test::FailedWrites {
protected:
    StubbornFolders() { chmod(folder.path().c_str(), 0755); }

    // The bytes of both files, one after the other.
    [[nodiscard]] std::string pair() const {
        return test::bytesOf(folder / "cam.xml") + test::bytesOf(folder / "dist.xml");
    }
    void expectCalibrated(int photos) {
        ASSERT_EQ(calibrate(folder.path(), photos), 1);
        EXPECT_THAT(host.messages, IsEmpty());
    }
    void allow(const std::string& name, mode_t mode) const {
        ASSERT_EQ(chmod((folder / name).c_str(), mode), 0);
    }
    [[nodiscard]] struct stat status(const std::string& name) const {
        struct stat result {};
        EXPECT_EQ(stat((folder / name).c_str(), &result), 0);
        return result;
    }
};

TEST_F(StubbornFolders, WhatElseIsThereIsLeftAlone) {
    // The names that editors and earlier versions use for files on their way.
    ASSERT_EQ(mkfifo((folder / "cam.xm~").c_str(), 0600), 0); // opening it would wait for ever
    test::writeBytes(folder / "mine", "mine");
    fs::create_symlink("mine", folder / "dist.xm~");
    test::writeBytes(folder / "cam.xml~", "mine, too");
    expectCalibrated(3);
    expectCalibrated(4);
    EXPECT_EQ(test::bytesOf(folder / "mine"), "mine");
    EXPECT_EQ(test::bytesOf(folder / "cam.xml~"), "mine, too");
    EXPECT_TRUE(S_ISFIFO(status("cam.xm~").st_mode));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(folder / "cam.xml")));
    EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml", "dist.xml", "cam.xm~",
                                                                   "dist.xm~", "cam.xml~", "mine"));
}

TEST_F(StubbornFolders, APipeInAFilesPlaceIsRefusedAtOnce) {
    ASSERT_EQ(mkfifo((folder / "cam.xml").c_str(), 0600), 0);
    EXPECT_EQ(calibrate(), 0);
    expectMessageAbout("cam.xml");
    EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml"));
}

TEST_F(StubbornFolders, FilesKeepTheirModeAndTheirLinks) {
    expectCalibrated(3);
    allow("cam.xml", 0660);
    fs::create_hard_link(folder / "dist.xml", folder / "link.xml");
    const std::string before = pair();
    expectCalibrated(4);
    EXPECT_NE(pair(), before);
    EXPECT_EQ(status("cam.xml").st_mode & 07777U, 0660U);
    EXPECT_EQ(test::bytesOf(folder / "link.xml"), test::bytesOf(folder / "dist.xml"));
}

TEST_F(StubbornFolders, FilesKeepTheirOwner) {
    if (!test::isPrivileged()) {
        GTEST_SKIP() << "needs a privileged user";
    }
    expectCalibrated(3);
    ASSERT_EQ(chown((folder / "dist.xml").c_str(), 4711, 4712), 0);
    expectCalibrated(4);
    EXPECT_EQ(status("dist.xml").st_uid, 4711U);
    EXPECT_EQ(status("dist.xml").st_gid, 4712U);
}

TEST_F(StubbornFolders, FilesOfOthersAreWrittenIfTheyMayBe) {
    if (!test::isPrivileged()) {
        GTEST_SKIP() << "needs a privileged user";
    }
    expectCalibrated(3);
    allow("cam.xml", 0666);
    allow("dist.xml", 0666);
    std::string before = pair();
    // Open to all; with the sticky bit, so that only owners rename; closed to others.
    int photos = 3;
    for (const mode_t mode : {0777U, 01777U, 0755U}) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(chmod(folder.path().c_str(), mode), 0);
        {
            const test::OtherUser user;
            expectCalibrated(photos = photos == 3 ? 4 : 3);
        }
        EXPECT_NE(pair(), before);
        before = pair();
        EXPECT_EQ(status("cam.xml").st_uid, 0U);
        EXPECT_EQ(status("dist.xml").st_mode & 07777U, 0666U);
        EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml", "dist.xml"));
    }
}

TEST_F(StubbornFolders, AFileThatIsAMountPointIsWritten) {
    expectCalibrated(3);
    const std::string before = pair();
    test::writeBytes(folder / "elsewhere", "old");
    const test::OwnMounts mounts;
    if (!mounts || !test::OwnMounts::bind(folder / "elsewhere", folder / "dist.xml")) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    expectCalibrated(4);
    EXPECT_FALSE(test::stored(folder / "elsewhere", "DistCoeffs").empty());
    EXPECT_NE(pair(), before);
}

TEST_F(StubbornFolders, AFullDiskIsSaidToBeFull) {
    const test::OwnMounts mounts;
    if (!mounts || !test::OwnMounts::mountMemory(folder.path(), 64)) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    expectCalibrated(3);
    const std::string before = pair();
    {
        std::ofstream rest(folder / "rest", std::ios::binary);
        while (rest.put('x').flush()) {
        }
    }
    EXPECT_EQ(calibrate(folder.path(), 4), 0);
    ASSERT_EQ(host.messages.size(), 1U);
    EXPECT_THAT(host.messages[0].text, HasSubstr("Can't write file: '" + (folder / "cam.xml") +
                                                 "': no space left in function"));
    host.messages.clear();
    EXPECT_EQ(pair(), before);
    fs::remove(folder / "rest");
    expectCalibrated(4);
    EXPECT_NE(pair(), before);
}

TEST_F(StubbornFolders, AFolderThatTakesNoFilesKeepsTheEarlierOnesWhenSpaceRunsOut) {
    if (!test::isPrivileged()) {
        GTEST_SKIP() << "needs a privileged user";
    }
    expectCalibrated(3);
    allow("cam.xml", 0666);
    allow("dist.xml", 0666);
    const std::string before = pair();
    const test::OtherUser user;
    {
        const test::FileSizeLimit limit(100);
        EXPECT_EQ(calibrate(folder.path(), 4), 0);
    }
    expectMessageAbout("cam.xml");
    EXPECT_EQ(pair(), before);
    expectCalibrated(4);
    EXPECT_NE(pair(), before);
}

TEST_F(StubbornFolders, TheReasonIsInTheMessage) {
    EXPECT_EQ(calibrate(folder / "nowhere"), 0);
    expectMessageAbout("nowhere/cam.xml' in write mode: no such folder in function");
    fs::create_directory(folder / "dist.xml");
    EXPECT_EQ(calibrate(), 0);
    expectMessageAbout("dist.xml' in write mode: not a regular file in function");
    if (test::isPrivileged()) {
        const test::OtherUser user;
        EXPECT_EQ(calibrate(), 0);
        expectMessageAbout("cam.xml' in write mode: permission denied in function");
    }
}

// Calibrations that end at the same time: all succeed, and the pair is that of one of them.
TEST_F(StubbornFolders, CalibrationsAtTheSameTimeAreNotMixed) {
    std::array<std::string, 2> pairs;
    for (int i = 0; i < 2; ++i) {
        expectCalibrated(3 + i);
        pairs[static_cast<std::size_t>(i)] = pair();
    }
    ASSERT_NE(pairs[0], pairs[1]);
    for (int round = 0; round < 5; ++round) {
        std::array<int, 4> results{};
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < results.size(); ++i) {
            threads.emplace_back([&, i] {
                CStringArray photos;
                test::fill(photos, test::leftPhotos(3 + static_cast<int>(i % 2)));
                results[i] = tx_Calib(photos, folder.path().c_str(), 9, 6, nullptr);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_THAT(results, testing::Each(1));
        EXPECT_THAT(pair(), testing::AnyOf(pairs[0], pairs[1]));
        EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml", "dist.xml"));
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

} // namespace
