// The largest rectangle of a mask, compared with a search through all rectangles.
#include "assist/common_rectangle.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

namespace tarvix {
namespace {

// Slow and obvious: every rectangle, the topmost and then the leftmost of the largest.
cv::Rect literally(const cv::Mat& mask) {
    cv::Rect best;
    for (int y = 0; y < mask.rows; ++y) {
        for (int x = 0; x < mask.cols; ++x) {
            for (int height = 1; y + height <= mask.rows; ++height) {
                for (int width = 1; x + width <= mask.cols; ++width) {
                    const cv::Rect r(x, y, width, height);
                    if (r.area() > best.area() && cv::countNonZero(mask(r)) == r.area()) {
                        best = r;
                    }
                }
            }
        }
    }
    return best;
}

TEST(CommonRectangle, IsTheLargestOfAnyMask) {
    cv::RNG random(7);
    for (int i = 0; i < 300; ++i) {
        cv::Mat mask(random.uniform(1, 10), random.uniform(1, 10), CV_8UC1);
        random.fill(mask, cv::RNG::UNIFORM, 0, 10);
        mask.setTo(0, mask < random.uniform(0, 9));
        const cv::Rect expected = literally(mask);
        const cv::Rect found = largestRectangle(mask);
        ASSERT_EQ(found.area(), expected.area()) << mask;
        if (expected.area() > 0) {
            ASSERT_EQ(found.tl(), expected.tl()) << mask;
            ASSERT_EQ(cv::countNonZero(mask(found)), found.area()) << mask;
        }
    }
}

TEST(CommonRectangle, OfNothingIsEmpty) {
    EXPECT_TRUE(largestRectangle({}).empty());
    EXPECT_TRUE(largestRectangle(cv::Mat::zeros(5, 4, CV_8UC1)).empty());
    EXPECT_EQ(largestRectangle(cv::Mat::ones(5, 4, CV_8UC1)), cv::Rect(0, 0, 4, 5));
}

TEST(CommonRectangle, OfAWedgeKeepsClearOfItsEdge) {
    cv::Mat mask = cv::Mat::zeros(100, 100, CV_8UC1); // below the diagonal
    for (int y = 0; y < 100; ++y) {
        mask.row(y).colRange(0, y + 1).setTo(255);
    }
    EXPECT_EQ(largestRectangle(mask).area(), 50 * 51);
}

} // namespace
} // namespace tarvix
