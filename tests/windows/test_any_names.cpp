// The sample host with files whose names have any letters. This program's code page is UTF-8, as
// the host's is.
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <windows.h>

namespace {

using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;
using testing::Not;

class AnyNames : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(GetACP(), static_cast<UINT>(CP_UTF8)) << "Windows 10 from 1903 on, or Wine";
        ASSERT_NE(CreateDirectoryA(odd.c_str(), nullptr), 0);
        for (const char* name : {"left01.jpg", "left02.jpg", "left03.jpg"}) {
            ASSERT_NE(CopyFileA(test::photoPath(name).c_str(), inside(name).c_str(), TRUE), 0);
        }
        ASSERT_NE(CopyFileA(test::photoPath("home.jpg").c_str(), photograph.c_str(), TRUE), 0);
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
    [[nodiscard]] static bool exists(const std::string& path) {
        return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    test::TempFolder folder;
    // "Japan" in Japanese, with an umlaut and an emoji beyond the 16 bits of a wide character.
    std::string odd = folder.path() + "\\\u65E5\u672C M\u00FCller \U0001F4F7";
    std::string photograph = inside("\u5199\u771F.jpg");
};

TEST_F(AnyNames, ImagesAreReadAndWritten) {
    const std::string edges = inside("\u00E9dges \u65E5.png");
    const ProgramResult run = tarvix({"canny", photograph, "-o", edges, "--json"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(exists(edges));
    EXPECT_THAT(run.out, HasSubstr("\u00E9dges \u65E5.png")) << "JSON is UTF-8";
}

TEST_F(AnyNames, CalibrationsAreMadeAndUsed) {
    const ProgramResult made = tarvix({"calib", "--board", "9x6", odd, "-o", odd});
    EXPECT_EQ(made.status, 0) << made.err;
    EXPECT_TRUE(exists(inside("cam.xml")));
    const ProgramResult used =
        tarvix({"undistort", inside("left01.jpg"), "--calib", odd, "-o", inside("\u76F4.png")});
    EXPECT_EQ(used.status, 0) << used.err;
    EXPECT_TRUE(exists(inside("\u76F4.png")));
}

TEST_F(AnyNames, MessagesNameTheFile) {
    const ProgramResult run = tarvix({"load", inside("\u7121.jpg"), "-o", inside("x.png")});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("\u7121.jpg'"));
}

// A system that ignores the manifest: its code page has no such letters.
TEST_F(AnyNames, WithoutUtf8TheHostSaysThatItCannotBeGivenTheName) {
    const test::TempFolder older;
    const std::string program = test::copyProgram(TARVIX_PROGRAM, older.path());
    std::string bytes = test::bytesOf(program);
    const std::string setting = "activeCodePage";
    ASSERT_NE(bytes.find(setting), std::string::npos);
    for (std::size_t at = 0; (at = bytes.find(setting, at)) != std::string::npos;) {
        bytes.replace(at, setting.size(), "passiveCodPage");
    }
    test::writeBytes(program, bytes);
    const ProgramResult run = test::tarvix({"load", photograph, "-o", folder / "x.png"}, program);
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("letters that the system's code page lacks"));
    EXPECT_THAT(run.err, Not(HasSubstr("no such file")));
    // Letters that Windows would replace by similar ones, which name another file.
    const ProgramResult similar =
        test::tarvix({"load", folder / "\u0101.jpg", "-o", folder / "x.png"}, program);
    expectOneLine(similar, 1);
    EXPECT_THAT(similar.err, HasSubstr("letters that the system's code page lacks"));
    // A name that the code page has.
    EXPECT_EQ(
        test::tarvix({"load", test::photoPath("home.jpg"), "-o", folder / "\u00E9.png"}, program)
            .status,
        0);
}

} // namespace
