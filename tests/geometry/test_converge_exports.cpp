// tx_Converge, tx_ConvergeScaled and tx_PerspAlign, called as a host calls them.
#include "geometry/converge.h"
#include "geometry/converge_search.h"
#include "geometry/vect.h"
#include "tests/support/export_test.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"
#include "tests/support/stored_rows.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

using test::Dib;
using test::dibOf;
using test::IsIdenticalTo;
using test::matOf;
using Points = std::array<double, 8>;

Points box(double left, double top, double right, double bottom) {
    return {left, top, right, top, right, bottom, left, bottom};
}

const Points tilted = {70, 40, 176, 48, 202, 144, 46, 138}; // in 240 x 180
const cv::Vec3b white(255, 255, 255);

class ConvergeExports : public test::SilentExportTest {
protected:
    Points corners = tilted;
    std::array<double, 12> result{};
};

// OpenCV's own calls.
cv::Mat warped(const cv::Mat& image, const Points& corners, const std::vector<cv::Point2d>& to) {
    const tarvix::Corners marked = tarvix::cornersFromArray(corners.data());
    const std::vector<cv::Point2d> from(marked.begin(), marked.end());
    cv::Mat result;
    cv::warpPerspective(image, result, cv::findHomography(from, to), image.size(), cv::INTER_LINEAR,
                        cv::BORDER_CONSTANT, cv::Scalar::all(255));
    return result;
}

std::vector<unsigned char> storedBytes(const CDib& dib) {
    const BITMAPINFOHEADER& h = dib.m_bmi.bmiHeader;
    return {dib.m_pBits, dib.m_pBits + test::storedBytes(h)};
}

// The correction

// Corners on a line admit no correction. What the homography makes of corners that are not numbers
// depends on the line, and the image on what the processor makes of such a number as a position: on
// x86 it lies outside the image.
TEST_F(ConvergeExports, CornersOnASlantedLineGiveNoNumbersAndAWhiteImage) {
    const cv::Mat scene = test::scene(450, 500);
    const Dib source = dibOf(scene);
    corners = {100, 100, 200, 200, 300, 300, 400, 400};
    const Dib out(tx_Converge(*source, corners.data(), 0.0, 1, 0, 0, 0, result.data()));
    ASSERT_NE(out, nullptr);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_TRUE(std::isnan(result[i])) << i;
    }
    for (std::size_t i = 8; i < 12; ++i) {
        EXPECT_EQ(result[i], 0.0) << i;
    }
    const double none = std::numeric_limits<double>::quiet_NaN();
    const std::vector<cv::Point2d> nowhere(4, {none, none});
    EXPECT_THAT(*out, IsIdenticalTo(warped(scene, corners, nowhere)));
#if defined __x86_64__ || defined _M_X64
    EXPECT_THAT(*out, IsIdenticalTo(cv::Mat(450, 500, CV_8UC3, cv::Scalar::all(255))));
#endif
}

TEST_F(ConvergeExports, CornersOnAnUprightLineAreRefusedByTheHomography) {
    const Dib source = dibOf(test::scene(450, 500));
    corners = {100, 100, 100, 200, 100, 300, 100, 400};
    EXPECT_THROW(tx_Converge(*source, corners.data(), 0.0, 1, 0, 0, 0, nullptr), cv::Exception);
}

TEST_F(ConvergeExports, ConvergeIsSearchCorrectionAndWarp) {
    for (const int type : {CV_8UC1, CV_8UC3}) {
        cv::Mat scene = test::scene(180, 240);
        if (type == CV_8UC1) {
            cv::cvtColor(scene, scene, cv::COLOR_BGR2GRAY);
        }
        const Dib source = dibOf(scene);
        const Dib out(tx_Converge(*source, corners.data(), 0.0, 1.25, 6.0, -4.0, 0, result.data()));
        ASSERT_NE(out, nullptr);

        const tarvix::MarkedQuad quad{{240, 180}, tarvix::cornersFromArray(corners.data())};
        const tarvix::Pose pose = tarvix::findPose(quad, 0.0);
        const tarvix::Corners to = tarvix::correctCorners(quad, pose, {1.25, 6.0, -4.0, false});
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(result[2 * i], to[i].x);
            EXPECT_EQ(result[2 * i + 1], to[i].y);
        }
        EXPECT_EQ(result[8], pose.pitchDeg);
        EXPECT_EQ(result[9], pose.yawDeg);
        EXPECT_EQ(result[10], pose.rollDeg);
        EXPECT_EQ(result[11], pose.focalMm);

        EXPECT_THAT(*out, IsIdenticalTo(warped(scene, corners, {to.begin(), to.end()})));
        EXPECT_EQ(corners, tilted);
        EXPECT_THAT(*source, IsIdenticalTo(scene)); // the input is not modified
    }
}

TEST_F(ConvergeExports, ACentredRectangleWithKnownFocalOnlyMoves) {
    Points rectangle = box(70, 50, 170, 130);
    const Dib source = dibOf(test::scene(180, 240));
    const Dib out(tx_Converge(*source, rectangle.data(), 36.0, 1.5, 10.0, -5.0, 0, result.data()));
    ASSERT_NE(out, nullptr);
    for (std::size_t i = 8; i < 11; ++i) {
        EXPECT_NEAR(result[i], 0.0, 7.46e-9); // the steps miss 0 by that
    }
    EXPECT_EQ(result[11], 36.0);
    const Points expected = box(120 - 75 + 10, 90 - 60 - 5, 120 + 75 + 10, 90 + 60 - 5);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_NEAR(result[i], expected[i], 1e-6);
    }
}

TEST_F(ConvergeExports, FocalIsTheCallersUnlessItWasZero) {
    const Dib source = dibOf(test::scene(180, 240));
    Dib(tx_Converge(*source, corners.data(), 35.0, 1, 0, 0, 0, result.data()));
    EXPECT_EQ(result[11], 35.0);
    Dib(tx_Converge(*source, corners.data(), 0.0, 1, 0, 0, 0, result.data()));
    EXPECT_NE(result[11], 0.0);
}

TEST_F(ConvergeExports, PitchOnlyChangesOnlyTheFinalCorrection) {
    const Dib source = dibOf(test::scene(180, 240));
    std::array<double, 12> full{};
    const Dib a(tx_Converge(*source, corners.data(), 30.0, 1, 0, 0, 0, full.data()));
    for (const int pitchOnly : {1, -7}) {
        const Dib b(tx_Converge(*source, corners.data(), 30.0, 1, 0, 0, pitchOnly, result.data()));
        for (std::size_t i = 8; i < 12; ++i) {
            EXPECT_EQ(result[i], full[i]);
        }
        EXPECT_NE(result[9], 0.0); // yaw and roll are still reported
        EXPECT_NE(result[10], 0.0);
        EXPECT_NE(result[0], full[0]);
        EXPECT_THAT(*a, testing::Not(IsIdenticalTo(*b)));
    }
}

TEST_F(ConvergeExports, ScaleTwoDoublesAndTheImageKeepsItsSize) {
    const Dib source = dibOf(test::scene(180, 240));
    std::array<double, 12> one{};
    const Dib a(tx_Converge(*source, corners.data(), 30.0, 1, 0, 0, 0, one.data()));
    const Dib b(tx_Converge(*source, corners.data(), 30.0, 2, 0, 0, 0, result.data()));
    const cv::Point2f c = tarvix::PolygonCentroid(tarvix::cornersFromArray(corners.data()));
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(result[2 * i] - c.x, 2 * (one[2 * i] - c.x), 1e-9);
        EXPECT_NEAR(result[2 * i + 1] - c.y, 2 * (one[2 * i + 1] - c.y), 1e-9);
    }
    EXPECT_EQ(matOf(*b).size(), cv::Size(240, 180));
}

TEST_F(ConvergeExports, ANullResultIsAllowed) {
    const Dib source = dibOf(test::scene(180, 240));
    const Dib a(tx_Converge(*source, corners.data(), 30.0, 1, 0, 0, 0, nullptr));
    const Dib b(tx_Converge(*source, corners.data(), 30.0, 1, 0, 0, 0, result.data()));
    EXPECT_THAT(*a, IsIdenticalTo(*b));
}

TEST_F(ConvergeExports, TheResultIsFilledEvenWhenTheFinalConversionFails) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = dibOf(test::scene(180, 240));
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_Converge(*source, corners.data(), 35.0, 1, 0, 0, 0, result.data()), nullptr);
    EXPECT_EQ(result[11], 35.0);
    EXPECT_NE(result[0], 0.0);
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_ConvergeScaled(*source, corners.data(), corners.data()), nullptr);
}

TEST_F(ConvergeExports, UnsupportedBitmapsAndImpossibleCornersPassOpenCvsExceptionOut) {
    for (const int bits : {1, 4, 16, 32}) {
        const Dib source = test::makeDib(240, 180, bits);
        EXPECT_THROW(tx_Converge(*source, corners.data(), 35.0, 1, 0, 0, 0, result.data()),
                     cv::Exception);
        EXPECT_THROW(tx_ConvergeScaled(*source, corners.data(), corners.data()), cv::Exception);
    }
    CDib empty;
    EXPECT_THROW(tx_Converge(empty, corners.data(), 0.0, 1, 0, 0, 0, nullptr), cv::Exception);
    EXPECT_EQ(result[11], 0.0); // untouched
    Points point{};
    const Dib source = dibOf(test::scene(180, 240));
    EXPECT_THROW(tx_ConvergeScaled(*source, point.data(), corners.data()), cv::Exception);
}

// The scaled correction

TEST_F(ConvergeExports, ScaledWithIdenticalCornersGivesTheImage) {
    for (const int type : {CV_8UC1, CV_8UC3}) {
        const cv::Mat image = test::noise(31, 37, type);
        Points p = {3, 2, 30, 4, 33, 29, 1, 25};
        const Dib out(tx_ConvergeScaled(*dibOf(image), p.data(), p.data()));
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(out->m_bmi.bmiHeader.biBitCount, type == CV_8UC1 ? 8 : 24);
        EXPECT_THAT(*out, IsIdenticalTo(image));
    }
}

TEST_F(ConvergeExports, ScaledByOneHalfShrinksIntoTheTopLeftQuarterOnWhite) {
    const cv::Mat image(60, 80, CV_8UC3, cv::Scalar(10, 20, 30));
    Points from = box(0, 0, 80, 60);
    Points to = box(0, 0, 40, 30);
    const Dib out(tx_ConvergeScaled(*dibOf(image), from.data(), to.data()));
    const cv::Mat m = matOf(*out);
    EXPECT_EQ(m.size(), image.size());
    EXPECT_EQ(m.at<cv::Vec3b>(20, 30), cv::Vec3b(10, 20, 30));
    EXPECT_EQ(m.at<cv::Vec3b>(20, 50), white);
    EXPECT_EQ(m.at<cv::Vec3b>(40, 30), white);
    EXPECT_EQ(m.at<cv::Vec3b>(59, 79), white);
}

TEST_F(ConvergeExports, ScaledAppliesWhatTheSearchFound) {
    const Dib source = dibOf(test::scene(180, 240));
    const Dib searched(tx_Converge(*source, corners.data(), 0.0, 1, 0, 0, 0, result.data()));
    const Dib applied(tx_ConvergeScaled(*source, corners.data(), result.data()));
    EXPECT_THAT(*searched, IsIdenticalTo(*applied));
}

TEST_F(ConvergeExports, WhiteHereBlackInTheFourPointWarpTheCallersColourInTheAlignment) {
    const Dib source = dibOf(cv::Mat(60, 80, CV_8UC3, cv::Scalar(10, 20, 30)));
    Points from = box(0, 0, 80, 60);
    Points to = {10, 0, 40, 5, 30, 30, 0, 25};
    const Dib scaled(tx_ConvergeScaled(*source, from.data(), to.data()));
    const Dib projective(tx_Projective(*source, from.data(), to.data()));
    const Dib aligned(tx_PerspAlign(*source, *source, from.data(), to.data(), 1, 2, 3));
    EXPECT_EQ(matOf(*scaled).at<cv::Vec3b>(0, 0), white);
    EXPECT_EQ(matOf(*projective).at<cv::Vec3b>(0, 0), cv::Vec3b(0, 0, 0));
    EXPECT_EQ(matOf(*aligned).at<cv::Vec3b>(0, 0), cv::Vec3b(1, 2, 3));
}

// The alignment

TEST_F(ConvergeExports, AlignRefusesAllButColourImages) {
    const Dib colour = dibOf(test::scene(180, 240));
    for (const int bits : {1, 4, 8, 16, 32}) {
        const Dib image = test::makeDib(240, 180, bits);
        EXPECT_EQ(tx_PerspAlign(*image, *colour, corners.data(), corners.data(), 0, 0, 0), nullptr);
        const Dib out(tx_PerspAlign(*colour, *image, corners.data(), corners.data(), 0, 0, 0));
        ASSERT_NE(out, nullptr); // the reference may be anything
        EXPECT_THAT(*out, IsIdenticalTo(*colour));
    }
    CDib empty;
    EXPECT_EQ(tx_PerspAlign(empty, *colour, corners.data(), corners.data(), 0, 0, 0), nullptr);
    EXPECT_EQ(tx_PerspAlign(*colour, empty, corners.data(), corners.data(), 0, 0, 0), nullptr);
}

TEST_F(ConvergeExports, AlignWithIdenticalPointsCopiesTheImageAtEveryWidth) {
    for (int width = 8; width < 17; ++width) {
        const cv::Mat image = test::noise(13, width, CV_8UC3, 3);
        Points p = {0, 0, 7, 1, 6, 11, 1, 12};
        const Dib out(tx_PerspAlign(*dibOf(image), *test::makeDib(width, -13, 8), p.data(),
                                    p.data(), 9, 9, 9));
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(out->m_bmi.bmiHeader.biBitCount, 24);
        EXPECT_EQ(out->m_bmi.bmiHeader.biHeight, 13);
        EXPECT_THAT(*out, IsIdenticalTo(image)) << width;
    }
}

TEST_F(ConvergeExports, AlignIntoALargerFrameFillsWithTheColourBlueFirst) {
    const cv::Mat image = test::noise(13, 21, CV_8UC3);
    Points p = {0, 0, 20, 1, 18, 11, 1, 12};
    const Dib out(
        tx_PerspAlign(*dibOf(image), *test::makeDib(50, 40, 32), p.data(), p.data(), 255, 0, 0));
    const cv::Mat m = matOf(*out);
    ASSERT_EQ(m.size(), cv::Size(50, 40));
    EXPECT_THAT(m(cv::Rect(0, 0, 21, 13)), IsIdenticalTo(image));
    EXPECT_EQ(m.at<cv::Vec3b>(39, 49), cv::Vec3b(255, 0, 0));
    EXPECT_EQ(m.at<cv::Vec3b>(20, 5), cv::Vec3b(255, 0, 0));
}

TEST_F(ConvergeExports, AlignTouchesNoPaddingAndSamplesNone) {
    for (const int width : {33, 34, 35}) { // 1 to 3 bytes of padding
        cv::Mat image(29, width, CV_8UC3, cv::Scalar(40, 50, 60));
        const Dib bitmap = dibOf(image); // poisoned padding
        const std::vector<unsigned char> before = storedBytes(*bitmap);
        Points from = box(0, 0, width - 1, 28);
        Points to = box(-8, -8, width + 8, 40); // enlarged: reaches past every edge
        const Dib out(tx_PerspAlign(*bitmap, *bitmap, from.data(), to.data(), 40, 50, 60));
        ASSERT_NE(out, nullptr);
        EXPECT_THAT(*out, IsIdenticalTo(image)) << width;
        EXPECT_EQ(storedBytes(*bitmap), before);
        // A new bitmap is all zero; the fill colour must not have spilled into the padding.
        const std::vector<unsigned char> bytes = storedBytes(*out);
        const std::size_t stride = test::rowBytes(width, 24);
        for (std::size_t row = 0; row < 29; ++row) {
            for (std::size_t i = static_cast<std::size_t>(width) * 3; i < stride; ++i) {
                EXPECT_EQ(bytes[row * stride + i], 0);
            }
        }
    }
}

TEST_F(ConvergeExports, AlignTakesRowsAsStoredBottomUp) {
    const cv::Mat image = test::noise(13, 21, CV_8UC3);
    const Dib topDown = test::makeDib(21, -13, 24);
    const Dib bottomUp = dibOf(image);
    const std::vector<unsigned char> bytes = storedBytes(*bottomUp);
    std::copy(bytes.begin(), bytes.end(), topDown->m_pBits);
    Points p = {0, 0, 20, 1, 18, 11, 1, 12};
    const Dib out(tx_PerspAlign(*topDown, *bottomUp, p.data(), p.data(), 0, 0, 0));
    EXPECT_THAT(*out, IsIdenticalTo(image));
}

TEST_F(ConvergeExports, AlignEqualsTheWarpOfACopy) {
    for (const int width :
         {641, 10922, 11003, 20001}) { // rows of less and more than 32767 bytes, and of one more
        const cv::Mat image = test::noise(90, width, CV_8UC3);
        Points from = {1, 2, width - 5.0, 3, width - 9.0, 85, 4, 80};
        Points to = {12, 9, width * 0.9, 0, width * 0.8, 99, -3, 70};
        std::vector<cv::Point2d> f, t;
        for (std::size_t i = 0; i < 4; ++i) {
            f.emplace_back(from[2 * i], from[2 * i + 1]);
            t.emplace_back(to[2 * i], to[2 * i + 1]);
        }
        cv::Mat expected;
        cv::warpPerspective(image, expected, cv::findHomography(f, t), {width, 100},
                            cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(7, 8, 9));
        const Dib out(tx_PerspAlign(*dibOf(image), *test::makeDib(width, 100, 1), from.data(),
                                    to.data(), 7, 8, 9));
        ASSERT_NE(out, nullptr);
        EXPECT_THAT(*out, IsIdenticalTo(expected)) << width;
    }
}

TEST_F(ConvergeExports, AlignFailuresLeaveNothingBehind) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib image = dibOf(test::scene(180, 240));
    test::failBitmapConstruction(1);
    EXPECT_EQ(tx_PerspAlign(*image, *image, corners.data(), corners.data(), 0, 0, 0), nullptr);
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_PerspAlign(*image, *image, corners.data(), corners.data(), 0, 0, 0), nullptr);
    Points point{};
    EXPECT_THROW(tx_PerspAlign(*image, *image, point.data(), corners.data(), 0, 0, 0),
                 cv::Exception); // the new bitmap is freed: TearDown counts
}

// Sees every allocation of a matrix.
class WatchingAllocator : public cv::MatAllocator {
public:
    WatchingAllocator() { cv::Mat::setDefaultAllocator(this); }
    ~WatchingAllocator() override { cv::Mat::setDefaultAllocator(nullptr); }
    WatchingAllocator(const WatchingAllocator&) = delete;
    WatchingAllocator& operator=(const WatchingAllocator&) = delete;

    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        cv::UMatData* u =
            cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
        if (data == nullptr) {
            std::size_t seen = largest;
            while (u->size > seen && !largest.compare_exchange_weak(seen, u->size)) {
            }
            ++count;
        }
        return u;
    }
    bool allocate(cv::UMatData* u, cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        return cv::Mat::getStdAllocator()->allocate(u, flags, usage);
    }
    void deallocate(cv::UMatData* u) const override { cv::Mat::getStdAllocator()->deallocate(u); }

    mutable std::atomic<std::size_t> largest = 0;
    mutable std::atomic<int> count = 0;
};

TEST_F(ConvergeExports, AlignMakesNoIntermediateImage) {
    const Dib image = test::makeDib(1203, 901, 24);
    const Dib reference = test::makeDib(1001, 803, 24);
    constexpr std::size_t imageBytes = 1000 * 800 * 3;
    Points from = {100, 100, 1000, 130, 1100, 800, 50, 850};
    Points to = box(0, 0, 1000, 800);
    const WatchingAllocator watch;
    const Dib aligned(tx_PerspAlign(*image, *reference, from.data(), to.data(), 0, 0, 0));
    ASSERT_NE(aligned, nullptr);
    EXPECT_GT(watch.count, 0); // the homography's
    EXPECT_LT(watch.largest, imageBytes / 100);
    // The watch does see images: the scaled correction copies the bitmap.
    const Dib scaled(tx_ConvergeScaled(*image, from.data(), to.data()));
    EXPECT_GE(watch.largest, imageBytes);
}

} // namespace
