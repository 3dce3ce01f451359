// Which locks the exports take that read a calibration. The system's call is replaced, so that the
// tests see each lock that is asked for, and act when one is refused.
#include "platform/system/files.h"
#include "tests/support/export_test.h"
#include "tests/support/files.h"
#include "tests/support/images.h"
#include "tests/support/matrix_files.h"

#include <gmock/gmock.h>
#include <tarvix/tarvix.h>

#include <cerrno>
#include <functional>
#include <utility>
#include <vector>

#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::vector<int> locks;            // what was asked for: LOCK_SH or LOCK_EX
std::function<void()> whenRefused; // called once

} // namespace

extern "C" __attribute__((visibility("default"))) int flock(int fd, int operation) noexcept {
    locks.push_back(operation & ~LOCK_NB);
    const auto result = syscall(SYS_flock, fd, operation);
    if (result != 0 && errno == EWOULDBLOCK && whenRefused) {
        std::exchange(whenRefused, nullptr)();
        errno = EWOULDBLOCK;
    }
    return static_cast<int>(result);
}

namespace {

using testing::Each;
using testing::IsEmpty;
using testing::Not;

class ReadingLocks : public test::ExportTest {
protected:
    test::TempFolder folder;

    std::unique_ptr<tarvix::FolderLock> lockFor(tarvix::Access access) {
        auto lock = tarvix::systemFiles().lockFolder(folder.path(), access);
        locks.clear();
        return lock;
    }

    test::Dib undistorted() {
        const test::Dib image = test::dibOf(test::scene(48, 64));
        return test::Dib(tx_UseCalib(*image, folder.path().c_str(), nullptr, nullptr));
    }

    void storeCamera() {
        const cv::Mat camera = (cv::Mat_<double>(3, 3) << 60, 0, 31, 0, 61, 23, 0, 0, 1);
        test::store(folder / "cam.xml", "CameraMatrix", camera);
        test::store(folder / "dist.xml", "DistCoeffs", cv::Mat::zeros(1, 5, CV_64F));
    }
};

// A reader that is kept out gives up after ten seconds and reads all the same: its result alone
// says nothing.
TEST_F(ReadingLocks, KeepNobodyOutWhoReads) {
    storeCamera();
    const auto reader = lockFor(tarvix::Access::Shared);
    ASSERT_NE(reader, nullptr);
    EXPECT_NE(undistorted(), nullptr);
    EXPECT_THAT(locks, Not(IsEmpty()));
    EXPECT_THAT(locks, Each(LOCK_SH));
}

TEST_F(ReadingLocks, WaitForWhoWrites) {
    auto writer = lockFor(tarvix::Access::Exclusive);
    ASSERT_NE(writer, nullptr);
    whenRefused = [&] {
        storeCamera();
        writer.reset();
    };
    EXPECT_NE(undistorted(), nullptr);
    EXPECT_EQ(writer, nullptr) << "no lock was asked for";
    EXPECT_THAT(locks, Each(LOCK_SH));
}

} // namespace
