// The host's paths, lists and rectangles as operations take them.
#include "bridge/executable_folder.h"
#include "bridge/file_list.h"
#include "bridge/host_paths.h"
#include "bridge/rect_array.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

using namespace tarvix;

TEST(RectOf, RightAndBottomAreOnePixelBeyond) {
    const auto sides = [](const cv::Rect& rectangle) {
        const RECT rect = rectOf(rectangle);
        return std::array<long, 4>{rect.left, rect.top, rect.right, rect.bottom};
    };
    EXPECT_THAT(sides({10, 20, 30, 40}), testing::ElementsAre(10, 20, 40, 60));
    EXPECT_THAT(sides({0, 0, 1, 1}), testing::ElementsAre(0, 0, 1, 1));
    for (int k = 2; k < 9; ++k) { // no side is left as it was
        EXPECT_THAT(sides({k, 3 * k, 5 * k, 7 * k}), testing::ElementsAre(k, 3 * k, 6 * k, 10 * k));
    }
}

TEST(BesideExecutable, FindsTheCascadesThatTheBuildPutsThere) {
    for (const char* name : {"haarcascade_frontalface_alt.xml", "lbpcascade_frontalface.xml"}) {
        EXPECT_TRUE(std::filesystem::is_regular_file(besideExecutable(name))) << name;
    }
}

TEST(BesideExecutable, NamesAFileEvenIfItIsMissing) {
    const std::filesystem::path path = besideExecutable("no such file.xml");
    EXPECT_EQ(path.filename(), "no such file.xml");
    EXPECT_TRUE(std::filesystem::is_directory(path.parent_path()));
}

TEST(FilesOf, ViewsTheHostsListInItsOrder) {
    CStringArray files;
    files.Add("b.jpg");
    files.Add("a.jpg");
    const FileList list = filesOf(files);
    ASSERT_EQ(list.size, 2);
    EXPECT_EQ(list.at(0), "b.jpg");
    EXPECT_EQ(list.at(1), "a.jpg");
}

TEST(FilesOf, APositionOutOfRangeThrowsTheClassLibrarysException) {
    CStringArray files;
    files.Add("a.jpg");
    const FileList list = filesOf(files);
    for (const int position : {-1, 1, 1000}) {
        EXPECT_THROW(list.at(position), CInvalidArgException*) << position;
    }
}

TEST(ViewList, APositionOutOfRangeThrowsTheStandardException) {
    const std::vector<std::string> files{"a.jpg"};
    EXPECT_EQ(viewList(files).at(0), "a.jpg");
    EXPECT_THROW(viewList(files).at(1), std::out_of_range);
    EXPECT_THROW(viewList(files).at(-1), std::out_of_range);
}

TEST(PathIn, JoinsFolderAndName) {
    const HostPath path = pathIn("some folder", "cam.xml");
    EXPECT_EQ(path.path, std::filesystem::path("some folder") / "cam.xml");
    EXPECT_FALSE(exists(path));
}

TEST(PathIn, IsEmptyIfThePathDoesNotFitTheBuffer) {
    const HostPath path = pathIn(std::string(400, 'x').c_str(), "cam.xml");
    EXPECT_EQ(path.name, "");
    EXPECT_TRUE(path.path.empty());
    EXPECT_FALSE(exists(path));
}

} // namespace
