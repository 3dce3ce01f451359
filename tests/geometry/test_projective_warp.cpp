// tx_Projective and tx_GetProjectiveMask, called as a host calls them, and the canvas rule beneath.
#include "geometry/projective_warp.h"

#include "tests/support/export_test.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/memory.h"
#include "tests/support/observed_bitmaps.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <array>
#include <cmath>
#include <limits>

namespace {

using test::Dib;
using test::IsIdenticalTo;
using Corners = std::array<double, 8>;

Corners box(double left, double top, double right, double bottom) {
    return {left, top, right, top, right, bottom, left, bottom};
}

cv::Size canvasSize(const Corners& to) {
    const Corners from = box(0, 0, 10, 10);
    return tarvix::fitCanvas(tarvix::narrowedCornersFromArray(from.data()),
                             tarvix::narrowedCornersFromArray(to.data()))
        .size;
}

using Projective = test::SilentExportTest;

TEST_F(Projective, SameCornersGiveTheImageAndAFullMask) {
    for (const int type : {CV_8UC1, CV_8UC3}) {
        for (const int width : {3, 4, 37}) {
            const cv::Mat image = test::noise(29, width, type);
            Corners corners = box(0, 0, width, 29);
            const Dib source = test::dibOf(image);
            const Dib warped(tx_Projective(*source, corners.data(), corners.data()));
            ASSERT_NE(warped, nullptr);
            EXPECT_EQ(warped->m_bmi.bmiHeader.biBitCount, type == CV_8UC1 ? 8 : 24);
            EXPECT_THAT(*warped, IsIdenticalTo(image));
            const Dib mask(tx_GetProjectiveMask(*source, corners.data(), corners.data()));
            EXPECT_THAT(*mask, IsIdenticalTo(cv::Mat(29, width, CV_8UC1, cv::Scalar(255))));
        }
    }
}

TEST_F(Projective, ShiftedTargetsGiveTheSameCanvas) {
    const cv::Mat image = test::scene(50, 60);
    const Dib source = test::dibOf(image);
    Corners from{5, 5, 55, 8, 50, 45, 8, 40};
    Corners to{0, 0, 70, 0, 75, 60, 3, 55};
    Corners shifted = to;
    for (std::size_t i = 0; i < 4; ++i) {
        shifted[2 * i] += 100;
        shifted[2 * i + 1] += 50;
    }
    const Dib a(tx_Projective(*source, from.data(), to.data()));
    const Dib b(tx_Projective(*source, from.data(), shifted.data()));
    const cv::Mat ma = test::matOf(*a);
    const cv::Mat mb = test::matOf(*b);
    ASSERT_EQ(ma.size(), mb.size());
    // Float corners differ in their last bits, and with them a rounded pixel here and there.
    EXPECT_LE(cv::norm(ma, mb, cv::NORM_INF), 2.0);
}

TEST_F(Projective, AllNegativeTargetsMakeTheBoxEndAtZero) {
    // On purpose: the maximum starts at the smallest positive float, not at the most negative one.
    EXPECT_EQ(canvasSize(box(-40, -30, -10, -5)), cv::Size(40, 30));
    EXPECT_EQ(canvasSize(box(-40.25, 2, -10, 12)), cv::Size(40, 10));
    EXPECT_EQ(canvasSize(box(2, -30.75, 12, -5)), cv::Size(10, 31));
}

TEST_F(Projective, CanvasRoundsHalfUp) {
    EXPECT_EQ(canvasSize(box(0, 0, 99.4, 99.5)), cv::Size(99, 100));
    EXPECT_EQ(canvasSize(box(7, 7, 106.5, 106.25)), cv::Size(100, 99));
}

TEST_F(Projective, ACornerThatIsNotANumberIsLeftOutOfTheBox) {
    for (std::size_t i = 0; i < 8; ++i) {
        Corners to = box(3, 2, 102, 51); // the other corners are at every side
        to[i] = std::numeric_limits<double>::quiet_NaN();
        EXPECT_EQ(canvasSize(to), cv::Size(99, 49)) << i;
    }
}

TEST_F(Projective, CornersAreNarrowedToFloat) {
    const double below = 99.5 - 1e-9; // rounds to 99.5f
    EXPECT_EQ(canvasSize(box(0, 0, below, below)), cv::Size(100, 100));
}

TEST_F(Projective, EqualsTheDefinition) {
    const cv::Mat image = test::photo("sudoku.png");
    Corners from{73, 88, 492, 72, 521, 525, 35, 518};
    Corners to{10, 20, 410, 25, 400, 430, 15, 425};
    std::vector<cv::Point2f> f, t;
    for (std::size_t i = 0; i < 4; ++i) {
        f.emplace_back(static_cast<float>(from[2 * i]), static_cast<float>(from[2 * i + 1]));
        t.emplace_back(static_cast<float>(to[2 * i]), static_cast<float>(to[2 * i + 1]));
    }
    const cv::Mat shift = (cv::Mat_<double>(3, 3) << 1, 0, -10, 0, 1, -20, 0, 0, 1);
    const cv::Mat m = shift * cv::getPerspectiveTransform(f, t);
    cv::Mat expected;
    cv::warpPerspective(image, expected, m, {400, 410});
    const Dib warped(tx_Projective(*test::dibOf(image), from.data(), to.data()));
    EXPECT_THAT(*warped, IsIdenticalTo(expected));
}

TEST_F(Projective, FillIsBlackAndTheMaskSaysWhere) {
    const Dib source = test::dibOf(cv::Mat(40, 40, CV_8UC3, cv::Scalar(200, 201, 202)));
    Corners from = box(0, 0, 40, 40);
    Corners to{20, 0, 60, 20, 40, 60, 0, 40};
    const Dib warped(tx_Projective(*source, from.data(), to.data()));
    const Dib mask(tx_GetProjectiveMask(*source, from.data(), to.data()));
    const cv::Mat w = test::matOf(*warped);
    const cv::Mat m = test::matOf(*mask);
    ASSERT_EQ(m.type(), CV_8UC1);
    ASSERT_EQ(w.size(), m.size());
    EXPECT_EQ(w.at<cv::Vec3b>(0, 0), cv::Vec3b(0, 0, 0));
    EXPECT_EQ(m.at<unsigned char>(0, 0), 0);
    EXPECT_EQ(w.at<cv::Vec3b>(30, 30), cv::Vec3b(200, 201, 202));
    EXPECT_EQ(m.at<unsigned char>(30, 30), 255);
    // The edge is not thresholded.
    cv::Mat between;
    cv::inRange(m, 1, 254, between);
    EXPECT_GT(cv::countNonZero(between), 10);
}

TEST_F(Projective, MaskNeedsOnlyTheSize) {
    Corners from = box(0, 0, 8, 6);
    Corners to = box(0, 0, 16, 12);
    const Dib reference(tx_GetProjectiveMask(*test::makeDib(8, 6, 24), from.data(), to.data()));
    for (const int bits : {1, 4, 8, 16, 32}) {
        for (const int height : {6, -6}) {
            const Dib mask(
                tx_GetProjectiveMask(*test::makeDib(8, height, bits), from.data(), to.data()));
            ASSERT_NE(mask, nullptr);
            EXPECT_THAT(*mask, IsIdenticalTo(*reference));
        }
    }
}

TEST_F(Projective, UnsupportedBitmapsPassOpenCvsExceptionOut) {
    Corners corners = box(0, 0, 8, 6);
    CDib never;
    EXPECT_THROW(tx_Projective(never, corners.data(), corners.data()), cv::Exception);
    EXPECT_THROW(tx_GetProjectiveMask(never, corners.data(), corners.data()), cv::Exception);
    for (const int bits : {1, 4, 16, 32}) {
        EXPECT_THROW(tx_Projective(*test::makeDib(8, 6, bits), corners.data(), corners.data()),
                     cv::Exception);
    }
}

TEST_F(Projective, RefusedCreateGivesNull) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = test::makeDib(8, 6, 24);
    Corners corners = box(0, 0, 8, 6);
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_Projective(*source, corners.data(), corners.data()), nullptr);
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_GetProjectiveMask(*source, corners.data(), corners.data()), nullptr);
}

TEST_F(Projective, CornersThatAreNoNumbersAreRefusedOrDrawNothing) {
    const Dib source = test::makeDib(8, 6, 24);
    Corners good = box(0, 0, 8, 6);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, inf, -inf, 1e300, -1e300, 1e12}) {
        for (std::size_t i = 0; i < 8; ++i) {
            Corners corners = good;
            corners[i] = bad;
            for (const bool first : {true, false}) {
                Corners& from = first ? corners : good;
                Corners& to = first ? good : corners;
                try {
                    const Dib warped(tx_Projective(*source, from.data(), to.data()));
                } catch (const cv::Exception&) {
                    // A canvas that cannot be made is OpenCV's to refuse.
                }
            }
        }
    }
    Corners allNan;
    allNan.fill(nan);
    EXPECT_THROW(tx_Projective(*source, good.data(), allNan.data()), cv::Exception);
}

TEST_F(Projective, HugeCanvasIsRefused) {
    const Dib source = test::makeDib(8, 6, 24);
    Corners from = box(0, 0, 8, 6);
    Corners to = box(0, 0, 2e9, 2e9);
    EXPECT_THROW(tx_Projective(*source, from.data(), to.data()), cv::Exception);
}

TEST_F(Projective, CollinearCornersDoNotCrash) {
    const Dib source = test::makeDib(8, 6, 24);
    Corners line{0, 0, 1, 1, 2, 2, 3, 3};
    Corners good = box(0, 0, 8, 6);
    try {
        const Dib warped(tx_Projective(*source, line.data(), good.data()));
    } catch (const cv::Exception&) {
    }
    try {
        const Dib warped(tx_Projective(*source, good.data(), line.data()));
    } catch (const cv::Exception&) {
    }
}

// A canvas that was filled would count a gigabyte at least. An emulator's own memory counts, too.
void expectNothingFilled(std::size_t peakBefore) {
    if (!test::isInstrumented) {
        EXPECT_LT(test::peakMemory() - peakBefore, std::size_t{256} << 20);
    }
}

// Found before the warp runs: it would fill gigabytes for a bitmap that cannot be made.
TEST_F(Projective, ACanvasThatNoBitmapCanHaveGivesNullAtOnce) {
    const Dib source = test::makeDib(40, 30, 24);
    Corners from = box(0, 0, 40, 30);
    const std::size_t before = test::peakMemory();
    for (Corners to : {box(0, 0, 1e9, 1), box(0, 0, 300e6, 1), box(0, 0, 40'000, 40'000)}) {
        EXPECT_EQ(tx_Projective(*source, from.data(), to.data()), nullptr) << to[2];
    }
    for (Corners to : {box(0, 0, 1e9, 1), box(0, 0, 70'000, 70'000)}) {
        EXPECT_EQ(tx_GetProjectiveMask(*source, from.data(), to.data()), nullptr) << to[2];
    }
    expectNothingFilled(before);
}

TEST_F(Projective, ACornerAtTheEndOfDoubleEndsAtOnce) {
    const Dib source = test::makeDib(40, 30, 24);
    Corners from = box(0, 0, 40, 30);
    Corners to = from;
    to[2] = 1e300;
    const std::size_t before = test::peakMemory();
    const auto none = [](auto call) { // no bitmap, or OpenCV's refusal of so large a matrix
        try {
            return Dib(call()) == nullptr;
        } catch (const cv::Exception&) {
            return true;
        }
    };
    EXPECT_TRUE(none([&] { return tx_Projective(*source, from.data(), to.data()); }));
    EXPECT_TRUE(none([&] { return tx_GetProjectiveMask(*source, from.data(), to.data()); }));
    expectNothingFilled(before);
}

// The refusal of an empty source is OpenCV's, whatever the canvas.
TEST_F(Projective, AnUnsupportedDepthIsRefusedWhateverTheCanvas) {
    const Dib source = test::makeDib(40, 30, 32);
    Corners from = box(0, 0, 40, 30);
    Corners to = box(0, 0, 1e9, 1);
    EXPECT_THROW(tx_Projective(*source, from.data(), to.data()), cv::Exception);
}

} // namespace
