// Paths as Windows hosts write them.
#include <tarvix/tarvix.h>

#include "tests/support/files.h"
#include "tests/support/images.h"
#include "tests/support/test_host.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

#include <windows.h>

namespace {

std::string withBackslashes(std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

std::string withForwardSlashes(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

class Paths : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(std::filesystem::create_directory(m_folder / "a folder with spaces"));
        m_image = m_folder / "a folder with spaces/the image.png";
        ASSERT_TRUE(cv::imwrite(m_image, test::noise(5, 7, CV_8UC3)));
    }

    static bool loads(const std::string& path) {
        const std::unique_ptr<CDib> loaded(tx_LoadFile(path.c_str()));
        return loaded != nullptr && loaded->m_bmi.bmiHeader.biWidth == 7;
    }

    test::TempFolder m_folder;
    std::string m_image;
};

TEST_F(Paths, DriveLetterBackslashesAndSpaces) {
    const std::string path = withBackslashes(std::filesystem::absolute(m_image).string());
    ASSERT_EQ(path.at(1), ':');
    ASSERT_EQ(path.find('/'), std::string::npos);
    EXPECT_TRUE(loads(path));
}

TEST_F(Paths, ForwardSlashes) {
    EXPECT_TRUE(loads(withForwardSlashes(std::filesystem::absolute(m_image).string())));
}

TEST_F(Paths, OnTheCurrentDriveAndRelative) {
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.path());
    EXPECT_TRUE(loads("a folder with spaces\\the image.png"));
    EXPECT_TRUE(loads(".\\a folder with spaces/the image.png"));
    // Without the drive letter.
    EXPECT_TRUE(loads(withBackslashes(std::filesystem::absolute(m_image).string()).substr(2)));
    std::filesystem::current_path(previous);
}

TEST_F(Paths, LongerThanThe260CharactersOfThePlatformIsRefusedCleanly) {
    test::TestHost host;
    const std::string path =
        withBackslashes(m_folder.path()) + '\\' + std::string(MAX_PATH, 'd') + "\\the image.png";
    EXPECT_EQ(tx_LoadFile(path.c_str()), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

} // namespace
