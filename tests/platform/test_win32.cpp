// The Win32 calls' stand-in.
#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/x_server.h"

#include <array>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <unistd.h>

#include <shlwapi.h>
#include <windows.h>

namespace {

using test::ScopedEnvironment;
using test::windowHandle;
using test::XServer;
using test::XWindow;
using testing::EndsWith;

using PathBuffer = std::array<char, MAX_PATH>;

PathBuffer buffer(const std::string& text) {
    PathBuffer path;
    path.fill('#'); // so that a missing terminator is seen
    std::memcpy(path.data(), text.c_str(), text.size() + 1);
    return path;
}

std::string withoutFileSpec(const std::string& text, BOOL expected) {
    PathBuffer path = buffer(text);
    EXPECT_EQ(PathRemoveFileSpecA(path.data()), expected) << text;
    return path.data();
}

TEST(Types, HaveTheWidthsOfTheRealOnes) {
    static_assert(sizeof(BYTE) == 1 && sizeof(WORD) == 2 && sizeof(DWORD) == 4 &&
                  sizeof(LONG) == 4);
    static_assert(std::is_signed_v<LONG> && std::is_unsigned_v<DWORD>);
    static_assert(sizeof(RECT) == 16 && sizeof(POINT) == 8 && sizeof(RGBQUAD) == 4);
    static_assert(sizeof(BITMAPINFOHEADER) == 40 && sizeof(LARGE_INTEGER) == 8);
    static_assert(sizeof(HWND) == sizeof(void*) && sizeof(HBITMAP) == sizeof(void*));
    EXPECT_EQ(SRCCOPY, 0x00CC0020U);
    EXPECT_EQ(MAX_PATH, 260);
    EXPECT_EQ(MB_OK, 0);
    EXPECT_EQ(IDOK, 1);
}

TEST(GetModuleFileName, IsTheRunningExecutable) {
    PathBuffer path = buffer("");
    const DWORD length = GetModuleFileNameA(nullptr, path.data(), MAX_PATH);
    EXPECT_EQ(length, std::strlen(path.data()));
    EXPECT_THAT(path.data(), EndsWith("/test_win32"));
    EXPECT_EQ(path[0], '/');
    EXPECT_EQ(std::filesystem::canonical(path.data()), std::filesystem::path(path.data()));
}

TEST(GetModuleFileName, CutsThePathAndReturnsTheSizeIfTheBufferIsTooSmall) {
    PathBuffer whole = buffer("");
    const DWORD length = GetModuleFileNameA(nullptr, whole.data(), MAX_PATH);
    for (const DWORD size : {DWORD{1}, DWORD{2}, DWORD{8}, length}) {
        PathBuffer path = buffer("");
        path.fill('#');
        EXPECT_EQ(GetModuleFileNameA(nullptr, path.data(), size), size);
        EXPECT_EQ(std::string(path.data()), std::string(whole.data()).substr(0, size - 1));
        EXPECT_EQ(path.at(size), '#') << "written past the buffer";
    }
    PathBuffer path = buffer("");
    EXPECT_EQ(GetModuleFileNameA(nullptr, path.data(), length + 1), length);
    EXPECT_STREQ(path.data(), whole.data());
}

TEST(GetModuleFileName, RefusesOtherModulesAndNoBuffer) {
    PathBuffer path = buffer("kept");
    EXPECT_EQ(GetModuleFileNameA(reinterpret_cast<HMODULE>(&path), path.data(), MAX_PATH), 0U);
    EXPECT_EQ(GetModuleFileNameA(nullptr, path.data(), 0), 0U);
    EXPECT_EQ(GetModuleFileNameA(nullptr, nullptr, 10), 0U);
    EXPECT_STREQ(path.data(), "kept");
}

TEST(PathRemoveFileSpec, CutsOffTheLastPart) {
    EXPECT_EQ(withoutFileSpec("/opt/host/tarvix", TRUE), "/opt/host");
    EXPECT_EQ(withoutFileSpec("host/tarvix", TRUE), "host");
    EXPECT_EQ(withoutFileSpec("/opt/host/", TRUE), "/opt/host");
    EXPECT_EQ(withoutFileSpec("/tarvix", TRUE), "/");
    EXPECT_EQ(withoutFileSpec("tarvix", TRUE), "");
    EXPECT_EQ(withoutFileSpec("/", FALSE), "/");
    EXPECT_EQ(withoutFileSpec("", FALSE), "");
    EXPECT_FALSE(PathRemoveFileSpecA(nullptr));
}

TEST(PathAppend, JoinsWithOneSeparator) {
    PathBuffer path = buffer("/opt/host");
    EXPECT_TRUE(PathAppendA(path.data(), "a.xml"));
    EXPECT_STREQ(path.data(), "/opt/host/a.xml");
    path = buffer("/opt/host/");
    EXPECT_TRUE(PathAppendA(path.data(), "a.xml"));
    EXPECT_STREQ(path.data(), "/opt/host/a.xml");
    path = buffer("");
    EXPECT_TRUE(PathAppendA(path.data(), "a.xml"));
    EXPECT_STREQ(path.data(), "a.xml");
    path = buffer("/opt");
    EXPECT_TRUE(PathAppendA(path.data(), "/a.xml"));
    EXPECT_STREQ(path.data(), "/a.xml");
    EXPECT_FALSE(PathAppendA(nullptr, "a"));
    EXPECT_FALSE(PathAppendA(path.data(), nullptr));
}

TEST(PathAppend, FailsWithAnEmptyPathIfTheResultIsTooLong) {
    const std::string folder(MAX_PATH - 1 - 3, 'd');
    PathBuffer path = buffer(folder);
    EXPECT_TRUE(PathAppendA(path.data(), "ab"));
    EXPECT_EQ(std::strlen(path.data()), std::size_t{MAX_PATH - 1});
    path = buffer(folder);
    EXPECT_FALSE(PathAppendA(path.data(), "abc"));
    EXPECT_STREQ(path.data(), "");
}

TEST(PathCombine, JoinsFolderAndFile) {
    struct Case {
        LPCSTR folder, file, expected;
    };
    for (const Case& one : {Case{"calib", "cam.xml", "calib/cam.xml"},
                            {"calib/", "cam.xml", "calib/cam.xml"},
                            {"/", "cam.xml", "/cam.xml"},
                            {"calib", "/tmp/cam.xml", "/tmp/cam.xml"},
                            {"", "cam.xml", "cam.xml"},
                            {nullptr, "cam.xml", "cam.xml"},
                            {"calib", "", "calib"},
                            {"calib", nullptr, "calib"},
                            {"caf\xe9", "\xff.xml", "caf\xe9/\xff.xml"}}) {
        PathBuffer path = buffer("old");
        EXPECT_EQ(PathCombineA(path.data(), one.folder, one.file), path.data());
        EXPECT_STREQ(path.data(), one.expected);
    }
    PathBuffer path = buffer("old");
    EXPECT_EQ(PathCombineA(path.data(), nullptr, nullptr), nullptr);
    EXPECT_STREQ(path.data(), "");
    EXPECT_EQ(PathCombineA(nullptr, "a", "b"), nullptr);
}

TEST(PathCombine, FailsWithAnEmptyResultIfItIsTooLong) {
    const std::string folder(300, 'd');
    PathBuffer path = buffer("old");
    EXPECT_EQ(PathCombineA(path.data(), folder.c_str(), "cam.xml"), nullptr);
    EXPECT_STREQ(path.data(), "");
    path = buffer("old");
    EXPECT_EQ(PathCombineA(path.data(), folder.substr(0, MAX_PATH - 1 - 2).c_str(), "c"),
              path.data());
    EXPECT_EQ(std::strlen(path.data()), std::size_t{MAX_PATH - 1});
    EXPECT_EQ(PathCombineA(path.data(), folder.substr(0, MAX_PATH - 1 - 1).c_str(), "c"), nullptr);
    EXPECT_STREQ(path.data(), "");
}

TEST(PathCombine, WorksInPlace) {
    PathBuffer path = buffer("calib");
    EXPECT_EQ(PathCombineA(path.data(), path.data(), "cam.xml"), path.data());
    EXPECT_STREQ(path.data(), "calib/cam.xml");
}

TEST(PathFileExists, IsTrueForFilesAndFolders) {
    const std::string gone = [] {
        const test::TempFolder folder;
        const std::string file = folder / "there.txt";
        EXPECT_FALSE(PathFileExistsA(file.c_str()));
        test::writeBytes(file, "x");
        EXPECT_TRUE(PathFileExistsA(file.c_str()));
        EXPECT_TRUE(PathFileExistsA(folder.path().c_str()));
        EXPECT_FALSE(PathFileExistsA((file + "/below").c_str()));
        return folder.path();
    }();
    EXPECT_FALSE(PathFileExistsA(gone.c_str()));
    EXPECT_FALSE(PathFileExistsA(""));
    EXPECT_FALSE(PathFileExistsA(nullptr));
    EXPECT_FALSE(PathFileExistsA(std::string(100'000, 'n').c_str()));
}

TEST(IsRectEmpty, IsTrueWithoutArea) {
    const auto isEmpty = [](LONG left, LONG top, LONG right, LONG bottom) {
        const RECT rect{left, top, right, bottom};
        return IsRectEmpty(&rect);
    };
    EXPECT_FALSE(isEmpty(0, 0, 1, 1));
    EXPECT_FALSE(isEmpty(-5, -5, -4, -4));
    EXPECT_TRUE(isEmpty(0, 0, 0, 0));
    EXPECT_TRUE(isEmpty(0, 0, 0, 5));
    EXPECT_TRUE(isEmpty(0, 0, 5, 0));
    EXPECT_TRUE(isEmpty(5, 0, 4, 9));
    EXPECT_TRUE(isEmpty(0, 5, 9, 4));
    EXPECT_FALSE(isEmpty(INT_MIN, INT_MIN, INT_MAX, INT_MAX));
    EXPECT_TRUE(IsRectEmpty(nullptr));
}

TEST(QueryPerformance, CountsUpAtItsFrequency) {
    LARGE_INTEGER frequency{};
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    EXPECT_GE(frequency.QuadPart, 1'000'000); // microseconds at least
    LARGE_INTEGER before{}, after{};
    ASSERT_TRUE(QueryPerformanceCounter(&before));
    do {
        ASSERT_TRUE(QueryPerformanceCounter(&after));
        ASSERT_GE(after.QuadPart, before.QuadPart);
    } while (after.QuadPart == before.QuadPart);
    EXPECT_FALSE(QueryPerformanceFrequency(nullptr));
    EXPECT_FALSE(QueryPerformanceCounter(nullptr));
}

class ClientRect : public testing::Test {
protected:
    // Whether the call failed and did not change the rectangle.
    static bool isRefused(HWND window) {
        RECT rect{1, 2, 3, 4};
        return GetClientRect(window, &rect) == FALSE && rect.left == 1 && rect.top == 2 &&
               rect.right == 3 && rect.bottom == 4;
    }
};

TEST_F(ClientRect, IsTheWindowsInnerSize) {
    const XServer server;
    for (const auto& [width, height] : {std::pair{640, 480}, {1, 1}, {1600, 1200}, {2000, 3}}) {
        const XWindow window(width, height);
        RECT rect{9, 9, 9, 9};
        ASSERT_TRUE(GetClientRect(window.handle(), &rect));
        EXPECT_EQ(rect.left, 0);
        EXPECT_EQ(rect.top, 0);
        EXPECT_EQ(rect.right, width);
        EXPECT_EQ(rect.bottom, height);
    }
}

TEST_F(ClientRect, FailsSilentlyForWhatIsNotAWindow) {
    const XServer server;
    const XWindow window(10, 10);
    EXPECT_FALSE(GetClientRect(window.handle(), nullptr));
    test::probeHandles([](HWND handle, bool isWindow, const std::string& what) {
        EXPECT_EQ(isRefused(handle), !isWindow) << what;
    });
}

TEST_F(ClientRect, FailsSilentlyWithoutADisplay) {
    for (const auto& display : test::noDisplays()) {
        const ScopedEnvironment none("DISPLAY", display);
        EXPECT_TRUE(isRefused(windowHandle(0x200001))) << display.value_or("unset");
    }
}

} // namespace
