// Calibration files that Windows does not allow to be written or reached.
#include "tests/calib/failed_writes.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <algorithm>

#include <windows.h>

namespace {

using test::FailedWrites;
using testing::UnorderedElementsAre;

// The name by which the system takes a path of any length.
std::wstring asItIs(const std::string& path) {
    return LR"(\\?\)" + std::wstring(path.begin(), path.end());
}

// Another program has the file open and shares it no further than this.
class OpenElsewhere {
public:
    OpenElsewhere(const std::string& path, DWORD sharedFor)
        : m_handle(CreateFileA(path.c_str(), GENERIC_READ, sharedFor, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr)) {
        EXPECT_NE(m_handle, INVALID_HANDLE_VALUE);
    }
    ~OpenElsewhere() { CloseHandle(m_handle); }
    OpenElsewhere(const OpenElsewhere&) = delete;
    OpenElsewhere& operator=(const OpenElsewhere&) = delete;

private:
    HANDLE m_handle;
};

class CalibrationWrites : public FailedWrites {
protected:
    // The bytes of both files; nothing is beside them.
    std::string pair() {
        EXPECT_THAT(test::namesIn(folder.path()), UnorderedElementsAre("cam.xml", "dist.xml"));
        return test::bytesOf(folder / "cam.xml") + test::bytesOf(folder / "dist.xml");
    }
};

TEST_F(CalibrationWrites, AFileThatAnotherProgramLocksStaysAndSoDoesTheOther) {
    ASSERT_EQ(calibrate(), 1);
    const std::string before = pair();
    for (const char* name : {"cam.xml", "dist.xml"}) {
        {
            const OpenElsewhere reader(folder / name, FILE_SHARE_READ);
            EXPECT_EQ(calibrate(folder.path(), 4), 0);
        }
        expectMessageAbout(std::string(name) + "' in write mode: in use by another program");
        EXPECT_EQ(pair(), before);
    }
}

// Such a file cannot be renamed. The other one of the pair is replaced as usual.
TEST_F(CalibrationWrites, AFileThatAnotherProgramLetsOthersWriteIsWrittenInPlace) {
    for (const char* name : {"cam.xml", "dist.xml"}) {
        ASSERT_EQ(calibrate(), 1);
        const std::string before = pair();
        {
            const OpenElsewhere reader(folder / name, FILE_SHARE_READ | FILE_SHARE_WRITE);
            EXPECT_EQ(calibrate(folder.path(), 4), 1);
        }
        EXPECT_TRUE(host.messages.empty());
        const std::string inPlace = pair();
        EXPECT_NE(inPlace, before);
        ASSERT_EQ(calibrate(folder.path(), 4), 1);
        EXPECT_EQ(pair(), inPlace) << "what a calibration writes with nobody else there";
    }
}

TEST_F(CalibrationWrites, AFolderNamedWithLettersOfTheCodePage) {
    const std::string odd = folder.path() + "\\M\xFCller";
    ASSERT_NE(CreateDirectoryA(odd.c_str(), nullptr), 0);
    ASSERT_EQ(calibrate(odd), 1);
    EXPECT_TRUE(host.messages.empty());
    ASSERT_EQ(calibrate(odd, 4), 1); // replaces
    EXPECT_NE(GetFileAttributesA((odd + "\\cam.xml").c_str()), INVALID_FILE_ATTRIBUTES);
    const test::Dib image = test::makeDib(64, 48, 24);
    EXPECT_NE(test::Dib(tx_UseCalib(*image, odd.c_str(), nullptr, nullptr)), nullptr);
    EXPECT_NE(DeleteFileA((odd + "\\cam.xml").c_str()), 0);
    EXPECT_NE(DeleteFileA((odd + "\\dist.xml").c_str()), 0);
    EXPECT_NE(RemoveDirectoryA(odd.c_str()), 0); // nothing else is left in it
}

TEST_F(CalibrationWrites, TheLongestPathThatThePlatformTakes) {
    std::string deep = folder.path() + '\\';
    std::replace(deep.begin(), deep.end(), '/', '\\');
    // The folder's name is as long as possible: "dist.xml" and the terminator just fit.
    deep += std::string(MAX_PATH - 1 - std::string("\\dist.xml").size() - deep.size(), 'd');
    ASSERT_NE(CreateDirectoryW(asItIs(deep).c_str(), nullptr), 0);
    EXPECT_EQ(calibrate(deep), 1);
    EXPECT_TRUE(host.messages.empty());
    for (const char* file : {"\\cam.xml", "\\dist.xml"}) {
        EXPECT_NE(DeleteFileW(asItIs(deep + file).c_str()), 0);
    }
    EXPECT_NE(RemoveDirectoryW(asItIs(deep).c_str()), 0);
}

TEST_F(CalibrationWrites, APathLongerThanThe260CharactersOfThePlatformIsRefusedCleanly) {
    const std::string part(100, 'd');
    std::string deep = folder.path();
    std::replace(deep.begin(), deep.end(), '/', '\\');
    for (int i = 0; i < 3; ++i) {
        deep += '\\' + part;
        ASSERT_NE(CreateDirectoryW(asItIs(deep).c_str(), nullptr), 0);
    }
    EXPECT_EQ(calibrate(deep), 0);
    ASSERT_EQ(host.messages.size(), 1U);
    EXPECT_THAT(host.messages[0].text, testing::HasSubstr("OpenCV("));
    host.messages.clear();
    EXPECT_EQ(tx_UseCalib(*test::makeDib(64, 48, 24), deep.c_str(), nullptr, nullptr), nullptr);
    EXPECT_EQ(tx_UseStereoCalib(*test::makeDib(64, 48, 24), deep.c_str(), 1), nullptr);
    tx_Meas3D measurement;
    EXPECT_EQ(measurement.Init(deep.c_str()), 1); // as without a file
    FPoint2D left{2, 1};
    FPoint2D right{1, 1};
    FPoint3D point{};
    EXPECT_EQ(measurement.CalcXYZ(left, right, point), 0);
    EXPECT_TRUE(host.messages.empty());
    for (int i = 0; i < 3; ++i) {
        // Empty, or it could not be removed.
        EXPECT_NE(RemoveDirectoryW(asItIs(deep).c_str()), 0);
        deep.erase(deep.size() - part.size() - 1);
    }
}

} // namespace
