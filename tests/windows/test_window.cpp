// Drawing into a real window of the system.
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/x_server.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <windows.h>

namespace {

constexpr int kWidth = 61; // rows need padding
constexpr int kHeight = 40;

cv::Mat shownIn(const test::XWindow& window, const cv::Size& size) {
    return window.pixels()(cv::Rect(cv::Point(0, 0), size)).clone();
}

TEST(Window, ShowsAColourBitmapPixelForPixel) {
    const test::XServer desktop;
    const test::XWindow window(100, 80);
    const cv::Mat image = test::noise(kHeight, kWidth, CV_8UC3);
    const test::Dib dib = test::dibOf(image);
    ASSERT_NE(dib->BitBlt(window.handle(), 0, 0, kWidth, kHeight, 0, 0, SRCCOPY), 0);
    EXPECT_THAT(shownIn(window, image.size()), test::IsIdenticalTo(image));
    EXPECT_EQ(window.pixels().at<cv::Vec3b>(70, 90), test::XWindow::background);
}

TEST(Window, ShowsAGreyBitmapAsGrey) {
    const test::XServer desktop;
    const test::XWindow window(100, 80);
    const cv::Mat grey = test::noise(kHeight, kWidth, CV_8UC1);
    const test::Dib dib = test::dibOf(grey);
    ASSERT_NE(dib->BitBlt(window.handle(), 0, 0, kWidth, kHeight, 0, 0, SRCCOPY), 0);
    cv::Mat expected;
    cv::merge(std::vector<cv::Mat>{grey, grey, grey}, expected);
    EXPECT_THAT(shownIn(window, grey.size()), test::IsIdenticalTo(expected));
}

TEST(Window, ShowsAPaletteThatTheHostChangedAfterwards) {
    const test::XServer desktop;
    const test::XWindow window(20, 20);
    const test::Dib dib = test::makeDib(20, 20, 8, 7);
    dib->m_bmi.bmiColors[7] = {10, 200, 30, 0};
    ASSERT_NE(dib->BitBlt(window.handle(), 0, 0, 20, 20, 0, 0, SRCCOPY), 0);
    EXPECT_EQ(window.pixels().at<cv::Vec3b>(10, 10), cv::Vec3b(10, 200, 30));
}

TEST(Window, TheSourcePointIsTheTopLeftCornerOfThePart) {
    const test::XServer desktop;
    const test::XWindow window(100, 80);
    const cv::Mat image = test::noise(kHeight, kWidth, CV_8UC3);
    const test::Dib dib = test::dibOf(image);
    ASSERT_NE(dib->BitBlt(window.handle(), 5, 6, 20, 10, 30, 25, SRCCOPY), 0);
    EXPECT_THAT(window.pixels()(cv::Rect(5, 6, 20, 10)),
                test::IsIdenticalTo(image(cv::Rect(30, 25, 20, 10)).clone()));
    EXPECT_EQ(window.pixels().at<cv::Vec3b>(6, 4), test::XWindow::background);
}

TEST(Window, DrawingFailsSilentlyWithoutAWindow) {
    const test::XServer desktop;
    test::XWindow window(20, 20);
    const HWND handle = window.handle();
    window.destroy();
    const test::Dib dib = test::makeDib(4, 4, 24);
    EXPECT_EQ(dib->BitBlt(handle, 0, 0, 4, 4, 0, 0, SRCCOPY), 0);
    EXPECT_EQ(dib->BitBlt(nullptr, 0, 0, 4, 4, 0, 0, SRCCOPY), 0);
}

TEST(Window, TheCreationHandleIsADibSection) {
    const test::Dib dib = test::makeDib(kWidth, kHeight, 24);
    DIBSECTION section{};
    ASSERT_EQ(GetObjectA(dib->m_hBitmap, sizeof section, &section),
              static_cast<int>(sizeof section));
    EXPECT_EQ(section.dsBm.bmBits, dib->m_pBits);
    EXPECT_EQ(section.dsBmih.biWidth, kWidth);
    EXPECT_EQ(section.dsBmih.biHeight, kHeight);
    EXPECT_EQ(section.dsBmih.biBitCount, 24);
    EXPECT_EQ(section.dsBm.bmWidthBytes, 184); // 61 * 3 rounded up to a multiple of 4
}

TEST(Window, NoHandleIsLostOverSeventyThousandBitmaps) {
    const test::XServer desktop;
    const test::XWindow window(20, 20);
    // More than the system has handles (65,536): losing one in each round would fail.
    for (int i = 0; i < 70000; ++i) {
        const test::Dib dib = test::makeDib(8, 8, 24);
        ASSERT_NE(dib->BitBlt(window.handle(), 0, 0, 8, 8, 0, 0, SRCCOPY), 0) << "round " << i;
    }
}

} // namespace
