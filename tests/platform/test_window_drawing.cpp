// CDib::BitBlt into windows of a real X server; the windows' pixels are read back and compared.
#include "tests/support/environment.h"
#include "tests/support/identical.h"
#include "tests/support/x_server.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <utility>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <MorvelDib.h>

namespace {

using test::IsIdenticalTo;
using test::ScopedEnvironment;
using test::XServer;
using test::XWindow;

const int bitCounts[] = {1, 4, 8, 16, 24, 32};
const int least = std::numeric_limits<int>::min();
const int most = std::numeric_limits<int>::max();

// A bitmap of random pixels with poisoned row padding, and the image that it represents.
struct Sample {
    CDib dib;
    cv::Mat image; // CV_8UC3, top row first

    Sample(int width, int height, int bitCount, unsigned seed = 1)
        : image(std::abs(height), width, CV_8UC3) {
        std::mt19937 random(seed + static_cast<unsigned>(width * 64 + bitCount));
        const auto byte = [&random] { return static_cast<BYTE>(random() & 255U); };
        RGBQUAD palette[256];
        for (RGBQUAD& colour : palette) {
            colour = {byte(), byte(), byte(), byte()};
        }
        if (dib.Create(width, height, bitCount, palette, nullptr) == 0) {
            throw std::runtime_error("not created");
        }
        const int rows = std::abs(height);
        std::memset(dib.m_pBits, 0xA5, dib.m_bmi.bmiHeader.biSizeImage);
        const std::size_t stride = dib.m_bmi.bmiHeader.biSizeImage / static_cast<std::size_t>(rows);
        for (int y = 0; y < rows; ++y) {
            const int stored = height > 0 ? rows - 1 - y : y;
            BYTE* const row = dib.m_pBits + static_cast<std::size_t>(stored) * stride;
            for (int x = 0; x < width; ++x) {
                image.at<cv::Vec3b>(y, x) = store(row, x, bitCount, random(), palette);
            }
        }
    }

private:
    // Writes one random pixel and returns its colour.
    static cv::Vec3b store(BYTE* row, int x, int bitCount, std::uint_fast32_t value,
                           const RGBQUAD* palette) {
        if (bitCount <= 8) {
            const int index = static_cast<int>(value & ((1U << bitCount) - 1));
            for (int bit = 0; bit < bitCount; ++bit) { // the leftmost pixel in the highest bits
                const int place = x * bitCount + bit;
                const int mask = 0x80 >> place % 8;
                const bool isSet = (index >> (bitCount - 1 - bit) & 1) != 0;
                row[place / 8] =
                    static_cast<BYTE>(isSet ? row[place / 8] | mask : row[place / 8] & ~mask);
            }
            return {palette[index].rgbBlue, palette[index].rgbGreen, palette[index].rgbRed};
        }
        if (bitCount == 16) {
            BYTE* const pixel = row + std::ptrdiff_t{x} * 2;
            pixel[0] = static_cast<BYTE>(value);
            pixel[1] = static_cast<BYTE>(value >> 8);
            cv::Vec3b colour;
            for (int i = 0; i < 3; ++i) {
                const auto five = value >> (5 * i) & 31U;
                colour[i] = static_cast<BYTE>(five << 3 | five >> 2);
            }
            return colour;
        }
        for (int i = 0; i < bitCount / 8; ++i) {
            row[std::ptrdiff_t{x} * (bitCount / 8) + i] = static_cast<BYTE>(value >> (8 * i));
        }
        return {static_cast<BYTE>(value), static_cast<BYTE>(value >> 8),
                static_cast<BYTE>(value >> 16)};
    }
};

// The image that the window should show: each source pixel that has a place in the window.
cv::Mat expected(cv::Size window, const cv::Mat& image, int xDest, int yDest, int width, int height,
                 int xSrc, int ySrc) {
    cv::Mat shown(window, CV_8UC3, XWindow::background);
    for (int y = 0; y < window.height; ++y) {
        for (int x = 0; x < window.width; ++x) {
            const std::int64_t column = std::int64_t{x} - xDest, row = std::int64_t{y} - yDest;
            if (column < 0 || column >= width || row < 0 || row >= height) {
                continue;
            }
            const std::int64_t fromX = column + xSrc, fromY = row + ySrc;
            if (fromX >= 0 && fromX < image.cols && fromY >= 0 && fromY < image.rows) {
                shown.at<cv::Vec3b>(y, x) =
                    image.at<cv::Vec3b>(static_cast<int>(fromY), static_cast<int>(fromX));
            }
        }
    }
    return shown;
}

class Drawing : public testing::Test {
protected:
    static void SetUpTestSuite() { s_server = std::make_unique<XServer>(); }
    static void TearDownTestSuite() { s_server.reset(); }

    static std::unique_ptr<XServer> s_server;
};

std::unique_ptr<XServer> Drawing::s_server;

TEST_F(Drawing, ShowsEveryDepthWidthAndRowOrder) {
    for (const int bitCount : bitCounts) {
        for (int width = 1; width <= 9; ++width) {
            for (const int height : {1, 5, -1, -5}) {
                Sample sample(width, height, bitCount);
                const XWindow window(12, 8);
                const int rows = std::abs(height);
                ASSERT_NE(sample.dib.BitBlt(window.handle(), 0, 0, width, rows, 0, 0, SRCCOPY), 0);
                EXPECT_THAT(window.pixels(),
                            IsIdenticalTo(expected({12, 8}, sample.image, 0, 0, width, rows, 0, 0)))
                    << width << " x " << height << ", " << bitCount << " bits";
            }
        }
    }
}

TEST_F(Drawing, OmitsWhatIsOutsideTheBitmapOrTheWindow) {
    struct Case {
        int xDest = 0, yDest = 0, width = 7, height = 5, xSrc = 0, ySrc = 0;
    };
    const std::vector<Case> cases{
        {.xDest = 3, .yDest = 2},                         // elsewhere in the window
        {.width = 3, .height = 2, .xSrc = 2, .ySrc = 1},  // a part of the bitmap
        {.width = 100, .height = 100},                    // more than the bitmap
        {.xSrc = 4, .ySrc = 3},                           // beyond its right and bottom
        {.xDest = 2, .yDest = 2, .xSrc = -3, .ySrc = -1}, // before its left and top
        {.xDest = -2, .yDest = -3},                       // before the window's
        {.xDest = 7, .yDest = 5},                         // beyond the window's
        {.xDest = 100, .yDest = 100},                     // all outside the window
        {.xSrc = 7, .ySrc = 5},                           // all outside the bitmap
        {.xSrc = -7},
        // extremes
        {.xDest = -1, .yDest = -1, .width = most, .height = most, .xSrc = -2, .ySrc = -2},
        {.xDest = least, .yDest = least, .width = most, .height = most},
        {.xDest = least, .width = most, .xSrc = least},
        {most, most, most, most, most, most},
        {.xDest = 1, .yDest = 1, .width = most, .height = most, .xSrc = least, .ySrc = least}};
    for (const Case& c : cases) {
        for (const int height : {5, -5}) {
            Sample sample(7, height, 24);
            const XWindow window(10, 8);
            EXPECT_NE(sample.dib.BitBlt(window.handle(), c.xDest, c.yDest, c.width, c.height,
                                        c.xSrc, c.ySrc, SRCCOPY),
                      0);
            EXPECT_THAT(window.pixels(),
                        IsIdenticalTo(expected({10, 8}, sample.image, c.xDest, c.yDest, c.width,
                                               c.height, c.xSrc, c.ySrc)))
                << c.xDest << ' ' << c.yDest << ' ' << c.width << ' ' << c.height << ' ' << c.xSrc
                << ' ' << c.ySrc;
        }
    }
}

TEST_F(Drawing, ShowsImagesLargerThanOneRequest) {
    for (const int bitCount : {8, 24}) {
        Sample sample(1600, 1200, bitCount);
        const XWindow window(1600, 1200);
        ASSERT_NE(sample.dib.BitBlt(window.handle(), 0, 0, 1600, 1200, 0, 0, SRCCOPY), 0);
        EXPECT_THAT(window.pixels(), IsIdenticalTo(sample.image));
    }
}

TEST_F(Drawing, ReplacesWhatWasShown) {
    Sample first(9, 6, 24, 1), second(9, -6, 24, 2);
    const XWindow window(9, 6);
    ASSERT_NE(first.dib.BitBlt(window.handle(), 0, 0, 9, 6, 0, 0, SRCCOPY), 0);
    ASSERT_NE(second.dib.BitBlt(window.handle(), 0, 0, 9, 6, 0, 0, SRCCOPY), 0);
    EXPECT_THAT(window.pixels(), IsIdenticalTo(second.image));
}

TEST_F(Drawing, FillsTheWholeClientArea) {
    const XWindow window(37, 23);
    RECT client{};
    ASSERT_TRUE(GetClientRect(window.handle(), &client));
    Sample sample(client.right, client.bottom, 24);
    ASSERT_NE(sample.dib.BitBlt(window.handle(), 0, 0, client.right, client.bottom, 0, 0, SRCCOPY),
              0);
    EXPECT_THAT(window.pixels(), IsIdenticalTo(sample.image));
}

TEST_F(Drawing, ShowsOpaquePixelsWhereWindowsHaveOpacity) {
    Sample sample(9, 6, 32); // its fourth bytes are random
    const XWindow window(9, 6, 32);
    ASSERT_NE(sample.dib.BitBlt(window.handle(), 0, 0, 9, 6, 0, 0, SRCCOPY), 0);
    EXPECT_THAT(window.pixels(), IsIdenticalTo(sample.image));
    const cv::Mat raw = window.rawPixels();
    for (int y = 0; y < raw.rows; ++y) {
        for (int x = 0; x < raw.cols; ++x) {
            ASSERT_EQ(static_cast<std::uint32_t>(raw.at<int>(y, x)) >> 24, 0xffU);
        }
    }
}

TEST_F(Drawing, RefusesOtherRasterOperations) {
    const DWORD sourceInvert = 0x00660046, blackness = 0x00000042;
    Sample sample(4, 4, 24);
    const XWindow window(4, 4);
    for (const DWORD rop : {sourceInvert, blackness, DWORD{0}, DWORD{SRCCOPY} | 1U}) {
        EXPECT_EQ(sample.dib.BitBlt(window.handle(), 0, 0, 4, 4, 0, 0, rop), 0);
    }
    EXPECT_THAT(window.pixels(), IsIdenticalTo(cv::Mat(4, 4, CV_8UC3, XWindow::background)));
}

TEST_F(Drawing, RefusesEmptyExtentsAndEmptyBitmaps) {
    Sample sample(4, 4, 24);
    const XWindow window(4, 4);
    for (const auto& [width, height] :
         {std::pair{0, 4}, {4, 0}, {-4, 4}, {4, -4}, {least, least}}) {
        EXPECT_EQ(sample.dib.BitBlt(window.handle(), 0, 0, width, height, 0, 0, SRCCOPY), 0);
    }
    CDib none;
    EXPECT_EQ(none.BitBlt(window.handle(), 0, 0, 4, 4, 0, 0, SRCCOPY), 0);
    EXPECT_THAT(window.pixels(), IsIdenticalTo(cv::Mat(4, 4, CV_8UC3, XWindow::background)));
}

TEST_F(Drawing, FailsSilentlyForWhatIsNotAWindow) {
    Sample sample(4, 4, 24);
    const auto fails = [&sample](HWND window) {
        testing::internal::CaptureStderr();
        const bool refused = sample.dib.BitBlt(window, 0, 0, 4, 4, 0, 0, SRCCOPY) == 0 &&
                             sample.dib.BitBlt(window, 0, 0, 4, 4, 99, 99, SRCCOPY) == 0;
        return testing::internal::GetCapturedStderr().empty() && refused;
    };
    test::probeHandles([&](HWND handle, bool isWindow, const std::string& what) {
        EXPECT_EQ(fails(handle), !isWindow) << what;
    });
}

TEST_F(Drawing, FailsSilentlyWithoutADisplay) {
    Sample sample(4, 4, 24);
    const XWindow window(4, 4);
    for (const auto& display : test::noDisplays()) {
        const ScopedEnvironment none("DISPLAY", display);
        EXPECT_EQ(sample.dib.BitBlt(window.handle(), 0, 0, 4, 4, 0, 0, SRCCOPY), 0)
            << display.value_or("unset");
    }
}

TEST(DrawingOnOtherScreens, Shows16BitPixelsAsTheNearestColours) {
    const XServer server(16);
    for (const int height : {5, -5}) {
        Sample sample(9, height, 24);
        const XWindow window(9, 5);
        ASSERT_NE(sample.dib.BitBlt(window.handle(), 0, 0, 9, 5, 0, 0, SRCCOPY), 0);
        const cv::Mat raw = window.rawPixels();
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 9; ++x) {
                const cv::Vec3b colour = sample.image.at<cv::Vec3b>(y, x);
                const int blue = cvRound(colour[0] * 31 / 255.0);
                const int green = cvRound(colour[1] * 63 / 255.0);
                const int red = cvRound(colour[2] * 31 / 255.0);
                ASSERT_EQ(raw.at<int>(y, x), red << 11 | green << 5 | blue);
            }
        }
    }
}

TEST(DrawingOnOtherScreens, RefusesPaletteScreens) {
    const XServer server(8);
    Sample sample(4, 4, 24);
    const XWindow window(4, 4);
    EXPECT_EQ(sample.dib.BitBlt(window.handle(), 0, 0, 4, 4, 0, 0, SRCCOPY), 0);
}

} // namespace
