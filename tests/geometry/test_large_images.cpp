// Warps of images so large that their memory is asked for in large pages: the same bytes as
// OpenCV's own calls give, and made where the operation was told.
#include "geometry/corners.h"
#include "geometry/homography_warp.h"
#include "geometry/projective_warp.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/export_test.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <array>

namespace {

using test::Dib;
using test::IsIdenticalTo;
using Points = std::array<double, 8>;

// 4.2 million pixels: large with 8 bits, too. Odd, so that rows are padded.
const cv::Size size(2101, 2003);

class LargeImages : public test::SilentExportTest {
protected:
    cv::Mat image = test::noise(size.height, size.width, CV_8UC3);
    Points from{20, 30, 2080, 10, 2050, 1960, 50, 1980};
    Points to{0, 0, 2101, 0, 2101, 2003, 0, 2003};
};

std::vector<cv::Point2d> pointsOf(const double* xy) {
    const tarvix::Corners corners = tarvix::cornersFromArray(xy);
    return {corners.begin(), corners.end()};
}

cv::Mat onWhite(const cv::Mat& image, const double* from, const double* to) {
    cv::Mat warped;
    cv::warpPerspective(image, warped, cv::findHomography(pointsOf(from), pointsOf(to)),
                        image.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar::all(255));
    return warped;
}

cv::Mat onBlack(const cv::Mat& image, const double* from, const double* to) {
    const tarvix::CornersF f = tarvix::narrowedCornersFromArray(from);
    const tarvix::CornersF t = tarvix::narrowedCornersFromArray(to);
    cv::Mat warped;
    cv::warpPerspective(image, warped, cv::getPerspectiveTransform(f.data(), t.data()), size);
    return warped;
}

TEST_F(LargeImages, ProjectiveAndItsMask) {
    const Dib source = test::dibOf(image);
    const Dib warped(tx_Projective(*source, from.data(), to.data()));
    ASSERT_NE(warped, nullptr);
    EXPECT_THAT(*warped, IsIdenticalTo(onBlack(image, from.data(), to.data())));
    const Dib mask(tx_GetProjectiveMask(*source, from.data(), to.data()));
    ASSERT_NE(mask, nullptr);
    const cv::Mat white(size, CV_8UC1, cv::Scalar(255));
    EXPECT_THAT(*mask, IsIdenticalTo(onBlack(white, from.data(), to.data())));
}

TEST_F(LargeImages, Convergence) {
    const Dib source = test::dibOf(image);
    std::array<double, 12> found{};
    const Dib corrected(tx_Converge(*source, from.data(), 28, 1, 0, 0, 0, found.data()));
    ASSERT_NE(corrected, nullptr);
    EXPECT_THAT(*corrected, IsIdenticalTo(onWhite(image, from.data(), found.data())));
    const Dib scaled(tx_ConvergeScaled(*source, from.data(), to.data()));
    ASSERT_NE(scaled, nullptr);
    EXPECT_THAT(*scaled, IsIdenticalTo(onWhite(image, from.data(), to.data())));
}

// Each export copies the image in, and makes its result in the bitmap. The mask needs a white image
// instead, which is no bitmap: the host never sees it.
TEST_F(LargeImages, HaveNoSecondCopy) {
    const Dib source = test::dibOf(image);
    const test::CountingDefault usual;
    const test::CountingAllocator& counting = usual.counting;
    const Dib warped(tx_Projective(*source, from.data(), to.data()));
    EXPECT_EQ(counting.madeLarge, 1);
    const Dib mask(tx_GetProjectiveMask(*source, from.data(), to.data()));
    EXPECT_EQ(counting.madeLarge, 2);
    const Dib scaled(tx_ConvergeScaled(*source, from.data(), to.data()));
    EXPECT_EQ(counting.madeLarge, 3);
    const Dib corrected(tx_Converge(*source, from.data(), 28, 1, 0, 0, 0, nullptr));
    EXPECT_EQ(counting.madeLarge, 4);
    EXPECT_EQ(counting.alive, 0);
}

// The bitmap is for the mask, not for the white image: if the first one cannot be made, there is a
// second attempt, which gets a copy.
TEST_F(LargeImages, AMaskWithoutItsBitmapIsCopiedIntoAnother) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = test::dibOf(test::noise(20, 20, CV_8UC3));
    Points corners{0, 0, 20, 0, 20, 20, 0, 20};
    test::failBitmapCreate(1);
    const Dib mask(tx_GetProjectiveMask(*source, corners.data(), to.data()));
    test::failBitmapCreate(0);
    ASSERT_NE(mask, nullptr);
    const cv::Mat white(20, 20, CV_8UC1, cv::Scalar(255));
    EXPECT_THAT(*mask, IsIdenticalTo(onBlack(white, corners.data(), to.data())));
}

TEST(WarpMemory, IsWhereTheOperationWasTold) {
    const cv::Mat image = test::noise(40, 50, CV_8UC3);
    const Points corners{3, 4, 45, 2, 47, 36, 1, 33}, target{0, 0, 50, 0, 50, 40, 0, 40};
    const tarvix::ProjectiveCanvas canvas =
        tarvix::fitCanvas(tarvix::narrowedCornersFromArray(corners.data()),
                          tarvix::narrowedCornersFromArray(target.data()));
    test::CountingAllocator memory;
    {
        const cv::Mat warped = tarvix::warpOntoCanvas(image, canvas, &memory);
        EXPECT_EQ(memory.alive, 1);
        EXPECT_THAT(warped, IsIdenticalTo(tarvix::warpOntoCanvas(image, canvas)));
        const cv::Mat mask = tarvix::coverageOnCanvas(image.size(), canvas, &memory, &memory);
        EXPECT_EQ(memory.made, 3);
        EXPECT_EQ(memory.alive, 2);
        EXPECT_THAT(mask, IsIdenticalTo(tarvix::coverageOnCanvas(image.size(), canvas)));
        cv::Mat white = image.clone();
        tarvix::warpOnWhite(white, tarvix::cornersFromArray(corners.data()),
                            tarvix::cornersFromArray(target.data()), &memory);
        EXPECT_EQ(memory.alive, 3);
        EXPECT_THAT(white, IsIdenticalTo(onWhite(image, corners.data(), target.data())));
    }
    EXPECT_EQ(memory.alive, 0);
}

} // namespace
