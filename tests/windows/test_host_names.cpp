// The sample host with files whose names have letters of the code page.
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <windows.h>

namespace {

using test::tarvix;

class HostNames : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(CreateDirectoryA(odd.c_str(), nullptr), 0);
        for (const char* name : {"left01.jpg", "left02.jpg", "left03.jpg", "right01.jpg",
                                 "right02.jpg", "right03.jpg"}) {
            ASSERT_NE(CopyFileA(test::photoPath(name).c_str(), inside(name).c_str(), TRUE), 0);
        }
    }
    // The standard library would look for another name.
    void TearDown() override {
        WIN32_FIND_DATAA found{};
        const HANDLE search = FindFirstFileA(inside("*").c_str(), &found);
        do {
            DeleteFileA(inside(found.cFileName).c_str());
        } while (FindNextFileA(search, &found) != 0);
        FindClose(search);
        EXPECT_NE(RemoveDirectoryA(odd.c_str()), 0);
    }
    [[nodiscard]] std::string inside(const std::string& name) const { return odd + '\\' + name; }
    [[nodiscard]] bool exists(const std::string& name) const {
        return GetFileAttributesA(inside(name).c_str()) != INVALID_FILE_ATTRIBUTES;
    }
    static void expectDone(const std::vector<std::string>& command) {
        const test::ProgramResult run = tarvix(command);
        EXPECT_EQ(run.status, 0) << run.err;
    }

    test::TempFolder folder;
    std::string odd = folder.path() + "\\M\xFCller";
};

TEST_F(HostNames, ImagesAreReadAndWritten) {
    expectDone({"canny", inside("left01.jpg"), "-o", inside("edges \xE4.png")});
    EXPECT_TRUE(exists("edges \xE4.png"));
}

TEST_F(HostNames, CalibrationsAreMadeFromFoldersAndUsed) {
    expectDone({"calib", "--board", "9x6", odd, "-o", odd});
    EXPECT_TRUE(exists("cam.xml"));
    expectDone({"undistort", inside("left01.jpg"), "--calib", odd, "-o", inside("straight.png")});
    expectDone({"stereo-calib", "--board", "9x6", "--square", "25", odd, "-o", odd});
    EXPECT_TRUE(exists("Q.xml"));
}

TEST_F(HostNames, ImagesAreRegisteredIntoAFolder) {
    expectDone({"register", inside("left01.jpg"), inside("left01.jpg"), "-o", odd});
    EXPECT_TRUE(exists("registered-01.png"));
}

} // namespace
