#include <limits>

#include <gmock/gmock.h>

#include "assist/coverage.h"

namespace tarvix {
namespace {

using testing::ElementsAre;

std::vector<int> listed(const cv::Mat& counts) {
    return {counts.begin<int>(), counts.end<int>()};
}

TEST(Coverage, CountsThePointsOfEachCell) {
    const cv::Mat counts =
        pointsInCells({{0, 0}, {4, 1}, {5, 1}, {9, 9}, {9.4F, 0}}, {10, 10}, {2, 2});
    EXPECT_THAT(listed(counts), ElementsAre(2, 2, 0, 1));
}

TEST(Coverage, APixelReachesHalfAPixelToEachSide) {
    EXPECT_THAT(listed(pointsInCells({{-0.4F, 0}, {9.4F, 0}}, {10, 1}, {2, 1})), ElementsAre(1, 1));
    EXPECT_THAT(listed(pointsInCells({{-0.6F, 0}, {9.6F, 0}}, {10, 1}, {2, 1})), ElementsAre(0, 0));
}

TEST(Coverage, PointsThatAreNotFiniteCountNowhere) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_THAT(listed(pointsInCells({{nan, 0}, {0, infinity}, {-infinity, 0}}, {10, 10}, {1, 1})),
                ElementsAre(0));
}

TEST(Coverage, IsEmptyWithoutAnImageOrAGrid) {
    EXPECT_TRUE(pointsInCells({{0, 0}}, {0, 10}, {2, 2}).empty());
    EXPECT_TRUE(pointsInCells({{0, 0}}, {10, 10}, {2, 0}).empty());
}

} // namespace
} // namespace tarvix
