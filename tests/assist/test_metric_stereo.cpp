// A camera pair that is known, and what the estimate makes of it.
#include "assist/metric_stereo.h"
#include "tests/assist/synthetic_views.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

namespace {

using test::boardPattern;

constexpr float square = 25;  // millimetres
constexpr double sigma = 0.1; // pixels

struct KnownPair {
    test::KnownCamera one;
    test::KnownCamera two{.matrix = (cv::Mat_<double>(3, 3) << 605, 0, 312, 0, 601, 245, 0, 0, 1),
                          .distortion = (cv::Mat_<double>(1, 5) << -0.25, 0.07, 0, 0.001, 0)};
    cv::Vec3d rotation{0.01, -0.05, 0.02}; // from camera 1's frame into camera 2's
    cv::Vec3d translation{-80, 1.5, 3};    // millimetres
};

std::vector<tarvix::SeenPair> seenPairs(const KnownPair& known, int count = 14) {
    cv::RNG rng(8);
    std::vector<tarvix::SeenPair> pairs;
    for (const test::Pose& pose : test::variedPoses(count)) {
        test::Pose second;
        cv::composeRT(pose.rotation, pose.translation * square, known.rotation, known.translation,
                      second.rotation, second.translation);
        second.translation /= square;
        pairs.push_back({test::seen(pose, known.one, square, sigma, rng),
                         test::seen(second, known.two, square, sigma, rng)});
    }
    return pairs;
}

tarvix::MetricPair calibrated(const std::vector<tarvix::SeenPair>& pairs,
                              tarvix::Intrinsics intrinsics = tarvix::Intrinsics::Fixed) {
    return tarvix::calibrateMetric(pairs, boardPattern, square, intrinsics);
}

class MetricStereo : public testing::TestWithParam<tarvix::Intrinsics> {};

TEST_P(MetricStereo, RecoversAKnownPair) {
    const KnownPair known;
    const auto pairs = seenPairs(known);
    const tarvix::MetricPair pair = calibrated(pairs, GetParam());
    EXPECT_NEAR(pair.baseline, cv::norm(known.translation), 0.4); // half a percent
    EXPECT_LT(cv::norm(pair.translation - known.translation), 0.8);
    cv::Matx33d rotation;
    cv::Rodrigues(known.rotation, rotation);
    EXPECT_LT(cv::norm(pair.rotation - rotation), 0.004);
    EXPECT_LT(pair.rms, 0.2);
    EXPECT_EQ(pair.pairRms.size(), pairs.size());
    EXPECT_TRUE(pair.isSideBySide);
    EXPECT_FALSE(pair.isSwapped);
    const tarvix::RowErrors rows = tarvix::rowErrorsOf(pairs, pair.rectifying);
    EXPECT_LT(rows.median, 0.15);
    EXPECT_LT(rows.p90, 0.4);
    const auto lengths = tarvix::squareLengths(pairs, boardPattern, pair.rectifying);
    EXPECT_NEAR(tarvix::quantile(lengths, 0.5), square, 0.05);
    EXPECT_GT(tarvix::quantile(lengths, 0.1), square * 0.98);
    EXPECT_LT(tarvix::quantile(lengths, 0.9), square * 1.02);
    // 54 corners have 6 * 8 + 5 * 9 neighbours.
    EXPECT_EQ(lengths.size(), pairs.size() * 93);
}

INSTANTIATE_TEST_SUITE_P(Either, MetricStereo,
                         testing::Values(tarvix::Intrinsics::Fixed, tarvix::Intrinsics::Refined));

// Disparities of tx_Meas3D are distances: depth is positive whichever camera is the right one.
TEST(MetricStereo, CamerasTheOtherWayRoundMeasureTheSame) {
    std::vector<tarvix::SeenPair> pairs = seenPairs({});
    for (tarvix::SeenPair& pair : pairs) {
        std::swap(pair.one, pair.two);
    }
    const tarvix::MetricPair pair = calibrated(pairs);
    EXPECT_TRUE(pair.isSwapped);
    EXPECT_GT(pair.rectifying.reprojection.at<double>(3, 2), 0);
    EXPECT_EQ(pair.rectifying.reprojection.at<double>(3, 3), 0);
    const auto lengths = tarvix::squareLengths(pairs, boardPattern, pair.rectifying);
    EXPECT_NEAR(tarvix::quantile(lengths, 0.5), square, 0.05);
}

TEST(MetricStereo, CamerasAboveEachOtherAreTold) {
    KnownPair above;
    above.translation = {1.5, -80, 3};
    EXPECT_FALSE(calibrated(seenPairs(above)).isSideBySide);
}

TEST(MetricStereo, APairOfTwoMomentsHasTheLargestRowError) {
    std::vector<tarvix::SeenPair> pairs = seenPairs({});
    std::swap(pairs[4].two, pairs[5].two);
    const tarvix::MetricPair pair = calibrated(pairs);
    const tarvix::RowErrors rows = tarvix::rowErrorsOf(pairs, pair.rectifying);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (i != 4 && i != 5) {
            EXPECT_LT(rows.pairMedian[i], std::min(rows.pairMedian[4], rows.pairMedian[5])) << i;
        }
    }
}

TEST(MetricStereo, Quantiles) {
    EXPECT_EQ(tarvix::quantile({}, 0.5), 0);
    EXPECT_EQ(tarvix::quantile({3}, 0.9), 3);
    EXPECT_EQ(tarvix::quantile({1, 2, 4}, 0.5), 2);
    EXPECT_EQ(tarvix::quantile({1, 2, 4}, 0.75), 3);
    EXPECT_EQ(tarvix::quantile({1, 2, 4}, 1), 4);
}

} // namespace
