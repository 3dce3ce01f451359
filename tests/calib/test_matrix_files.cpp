// Reading and writing one matrix: what is refused and how, and who keeps others out of the folder.
#include "calib/calib_files.h"
#include "calib/calib_writer.h"
#include "platform/system/files.h"
#include "tests/support/faulty_files.h"
#include "tests/support/files.h"

#include <common/file_set.h>
#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <functional>
#include <string>
#include <system_error>

namespace {

using testing::HasSubstr;

cv::Exception thrownBy(const std::function<void()>& body) {
    try {
        body();
    } catch (const cv::Exception& e) {
        return e;
    }
    return {};
}

std::string document(const std::string& rows, const std::string& cols, const std::string& type,
                     const std::string& data) {
    return cv::format("<?xml version=\"1.0\"?>\n<opencv_storage>\n<M type_id=\"opencv-matrix\">\n"
                      "<rows>%s</rows>\n<cols>%s</cols>\n<dt>%s</dt>\n<data>%s</data></M>\n"
                      "</opencv_storage>\n",
                      rows.c_str(), cols.c_str(), type.c_str(), data.c_str());
}

void expectRefused(const std::string& text) {
    const cv::Exception e = thrownBy([&] { tarvix::parseMatrix(text, "my file.xml", "M"); });
    EXPECT_EQ(e.code, cv::Error::StsParseError) << text << e.what();
    EXPECT_THAT(e.what(), HasSubstr("'my file.xml'"));
}

TEST(ParseMatrix, ReadsWhatIsRight) {
    const cv::Mat m = tarvix::parseMatrix(document("2", "3", "d", "1. 2. 3. 4. 5. 6."), "", "M");
    ASSERT_EQ(m.size(), cv::Size(3, 2));
    EXPECT_EQ(m.at<double>(1, 0), 4);
    const cv::Mat one = tarvix::parseMatrix(document("1", "1", "d", "7."), "", "M");
    ASSERT_EQ(one.size(), cv::Size(1, 1));
    EXPECT_EQ(one.at<double>(0), 7);
    EXPECT_TRUE(tarvix::parseMatrix(document("1", "1", "d", "7."), "", "Other").empty());
}

// Each part by itself is wrong. What OpenCV would round or read on is refused, too.
TEST(ParseMatrix, RefusesWhatIsNotAPlainMatrix) {
    const std::string six = "1. 2. 3. 4. 5. 6.";
    for (const std::string size : {"2.1", "text", "", "0", "-2", "3"}) {
        expectRefused(document(size, "3", "d", six));
    }
    for (const std::string size : {"3.1", "text", "", "0", "-3", "2"}) {
        expectRefused(document("2", size, "d", six));
    }
    for (const std::string type : {"", "2", "dd", R"("2d")"}) {
        expectRefused(document("2", "3", type, six));
    }
    for (const std::string data :
         {"", "1.", "1. 2. 3. 4. 5.", "1. 2. 3. 4. 5. 6. 7.", R"(1. 2. "text" 4. 5. 6.)",
          R"(1. 2. 3. 4. 5. "text")", R"("text")"}) {
        expectRefused(document("2", "3", "d", data));
    }
    expectRefused(document("1", "1", "d", R"("text")"));
    expectRefused(document("1", "1", "d", ""));
    expectRefused("<?xml version=\"1.0\"?>\n<opencv_storage>\n<M>12</M>\n</opencv_storage>\n");
    // As many numbers as the sizes say, if the product is counted in 32 bits, or if both are
    // negative.
    expectRefused(document("-2", "-3", "d", six));
    expectRefused(document("65536", "65536", "d", ""));
    expectRefused(document("0", "3", "d", ""));
    expectRefused(document("1048577", "1", "d", six));
    expectRefused(document("1", "1048577", "d", six));
}

TEST(RefuseEmpty, IsAnAssertionOfTheKey) {
    const tarvix::CalibFile file{"some.xml", "SomeKey"};
    tarvix::refuseEmpty(cv::Mat(1, 1, CV_8U), file);
    const cv::Exception e = thrownBy([&] { tarvix::refuseEmpty(cv::Mat(), file); });
    EXPECT_EQ(e.code, cv::Error::StsAssert);
    EXPECT_THAT(e.what(), HasSubstr("!SomeKey.empty()"));
}

// Counts who asks for a folder.
class CountedLocks : public test::FaultyFiles {
public:
    using FaultyFiles::FaultyFiles;
    int shared = 0, exclusive = 0;

    std::unique_ptr<tarvix::FolderLock> lockFolder(const std::filesystem::path& folder,
                                                   tarvix::Access access) override {
        ++(access == tarvix::Access::Exclusive ? exclusive : shared);
        return FaultyFiles::lockFolder(folder, access);
    }
};

TEST(MatrixWriter, KeepsOtherWritersOutOnceForAllItsFiles) {
    const test::TempFolder folder;
    CountedLocks files(tarvix::systemFiles());
    tarvix::MatrixWriter writer(files);
    const std::filesystem::path place = folder.path();
    EXPECT_EQ(files.exclusive, 0);
    writer.add(place / "a.xml", "a.xml", "A", cv::Mat::eye(2, 2, CV_64F));
    EXPECT_EQ(files.exclusive, 1);
    writer.add(place / "b.xml", "b.xml", "B", cv::Mat::eye(2, 2, CV_64F));
    writer.commit();
    EXPECT_EQ(files.exclusive, 1);
    EXPECT_EQ(files.shared, 0);
    EXPECT_FALSE(tarvix::readMatrix(place / "b.xml", "b.xml", "B").empty());
}

TEST(MatrixWriter, APathThatDidNotFitIsTooLong) {
    CountedLocks files(tarvix::systemFiles());
    tarvix::MatrixWriter writer(files);
    const cv::Exception e = thrownBy([&] { writer.add({}, "", "A", cv::Mat::eye(2, 2, CV_64F)); });
    EXPECT_EQ(e.code, cv::Error::StsError);
    EXPECT_THAT(e.what(),
                HasSubstr(tarvix::reasonOf(make_error_code(std::errc::filename_too_long))));
    EXPECT_EQ(files.exclusive, 0) << "the folder of a path that is none";
}

} // namespace
