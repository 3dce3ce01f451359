// Files and folders that never replace others, also where there are no hard links and on a full
// disk. Hard links and the room for files are of this program's own making.
#include "workbench/new_files.h"

#include "tests/support/file_size_limit.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <optional>

#include <fcntl.h>
#include <unistd.h>

using workbench::placeNew;
using workbench::TemporaryFolder;

namespace fs = std::filesystem;

namespace {

bool fullAtLink = false; // the disk is full from the moment on that a hard link is wished for
bool hasLinks = true;

constexpr std::size_t room = 1000;
std::optional<test::FileSizeLimit> limit;

class NewFiles : public testing::Test {
protected:
    ~NewFiles() override {
        limit.reset();
        hasLinks = true;
        fullAtLink = false;
    }

    fs::path write(const std::string& name, std::size_t bytes) {
        fs::path file = from / name;
        std::ofstream(file) << std::string(bytes, 'a');
        return file;
    }

    static std::size_t entries(const fs::path& folder) {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
    }

    const TemporaryFolder temporary;
    const fs::path from = temporary.part("from");
    const fs::path out = temporary.part("out");
};

TEST_F(NewFiles, AFileIsCopiedAndReplacesNone) {
    const fs::path file = write("a", 2 * room);
    for (const bool links : {true, false}) {
        hasLinks = links;
        const fs::path to = out / (links ? "linked" : "copied");
        EXPECT_FALSE(placeNew(file, to));
        EXPECT_EQ(fs::file_size(to), 2 * room);
        EXPECT_EQ(placeNew(write("b", 1), to), std::errc::file_exists);
        EXPECT_EQ(fs::file_size(to), 2 * room);
    }
    EXPECT_EQ(entries(out), 2U);
}

TEST_F(NewFiles, AFullDiskLeavesNothing) {
    const fs::path file = write("a", 2 * room);
    limit.emplace(room);
    EXPECT_EQ(placeNew(file, out / "a"), std::errc::file_too_large);
    EXPECT_EQ(entries(out), 0U);
}

TEST_F(NewFiles, ADiskThatGetsFullWhereThereAreNoHardLinksLeavesNothing) {
    const fs::path file = write("a", 2 * room);
    hasLinks = false;
    fullAtLink = true;
    EXPECT_EQ(placeNew(file, out / "a"), std::errc::file_too_large);
    EXPECT_EQ(entries(out), 0U);
}

TEST_F(NewFiles, AFolderIsCopiedOrNothingOfIt) {
    write("small", 1);
    write("large", 2 * room);
    limit.emplace(room);
    EXPECT_EQ(placeNew(from, out / "folder"), std::errc::file_too_large);
    EXPECT_EQ(entries(out), 0U);
    limit.reset();
    EXPECT_FALSE(placeNew(from, out / "folder"));
    EXPECT_EQ(entries(out / "folder"), 2U);
    EXPECT_EQ(placeNew(from, out / "folder"), std::errc::file_exists);
    EXPECT_EQ(entries(out / "folder"), 2U);
}

} // namespace

// Takes the place of the system's own.
extern "C" __attribute__((visibility("default"))) int link(const char* from,
                                                           const char* to) noexcept {
    if (fullAtLink) {
        limit.emplace(room);
    }
    if (!hasLinks) {
        errno = EPERM;
        return -1;
    }
    return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}
