// What is said of a calibration, held against cameras that are known.
#include "assist/calibration_quality.h"
#include "assist/lens_field.h"
#include "tests/assist/synthetic_views.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>

namespace {

using test::boardPattern;
using test::seenViews;
using test::variedPoses;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::Not;

constexpr double sigma = 0.1; // pixels, of each coordinate

tarvix::ParameterVector truth() {
    const test::KnownCamera camera;
    const auto m = [&](int r, int c) { return camera.matrix.at<double>(r, c); };
    const auto d = [&](int i) { return camera.distortion.at<double>(i); };
    return {m(0, 0), m(1, 1), m(0, 2), m(1, 2), d(0), d(1), d(2), d(3), d(4)};
}

std::vector<std::string> namesOf(const std::vector<tarvix::SeenBoard>& views) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < views.size(); ++i) {
        names.push_back("view" + std::to_string(i));
    }
    return names;
}

std::vector<std::string> doubtsOf(const std::vector<tarvix::SeenBoard>& views) {
    std::vector<std::string> doubts;
    for (const tarvix::Finding& finding :
         tarvix::findingsOf(tarvix::judgeCalibration(views, boardPattern, 1.0F), namesOf(views))) {
        if (!finding.isGood) {
            doubts.push_back(finding.sentence);
        }
    }
    return doubts;
}

TEST(CameraEstimate, RecoversAKnownCameraWithinItsDeviations) {
    const tarvix::CameraEstimate camera =
        tarvix::estimateCamera(seenViews(variedPoses(18), sigma, 1), boardPattern, 1.0F);
    for (int i = 0; i < tarvix::parameterCount; ++i) {
        SCOPED_TRACE(tarvix::parameterNames[i]);
        // Four standard deviations: once in ten thousand, and the noise is seeded.
        EXPECT_NEAR(camera.parameters[i], truth()[i], 4 * std::sqrt(camera.covariance(i, i)));
    }
    EXPECT_NEAR(camera.parameters[0], truth()[0], 1.0);
    EXPECT_NEAR(camera.rms, sigma * std::sqrt(2.0), 0.01);
    EXPECT_EQ(camera.views.size(), 18U);
    EXPECT_EQ(camera.views[0].residuals.size(), 54U);
    EXPECT_GE(camera.views[0].largest, camera.views[0].rms);
}

// The board's centre in the middle of the image, always as far away, tilted every way.
std::vector<test::Pose> centredPoses(double distance) {
    std::vector<test::Pose> poses = variedPoses(12);
    for (test::Pose& pose : poses) {
        cv::Matx33d rotation;
        cv::Rodrigues(pose.rotation, rotation);
        pose.translation = cv::Vec3d(0, 0, distance) - rotation * cv::Vec3d(2.5, 4, 0);
    }
    return poses;
}

// Many estimates from the same poses with other noise scatter as the covariance says.
TEST(CameraEstimate, CovarianceIsTheScatterOfEstimates) {
    constexpr int estimates = 40;
    const auto poses = variedPoses(9);
    const cv::Size grid(4, 3);
    cv::Mat_<double> predicted;
    std::vector<cv::Point2d> projected;
    double deviationOfFx = 0;
    const std::vector<cv::Point3d> ray{{-0.39, -0.29, 1}}; // near the top-left sample
    std::vector<cv::Point2d> all;
    std::vector<double> fx;
    for (std::uint64_t seed = 100; seed < 100 + estimates; ++seed) {
        const tarvix::CameraEstimate camera =
            tarvix::estimateCamera(seenViews(poses, sigma, seed), boardPattern, 1.0F);
        fx.push_back(camera.parameters[0]);
        cv::projectPoints(ray, cv::Vec3d(), cv::Vec3d(), camera.cameraMatrix, camera.distCoeffs,
                          projected);
        all.push_back(projected[0]);
        deviationOfFx += std::sqrt(camera.covariance(0, 0)) / estimates;
        predicted = tarvix::projectionDeviation(camera, grid);
    }
    const auto scatter = [](const std::vector<double>& values) {
        cv::Scalar mean;
        cv::Scalar deviation;
        cv::meanStdDev(values, mean, deviation);
        return deviation[0];
    };
    // The scatter of 40 draws is itself known to 11 %; three times that.
    EXPECT_NEAR(scatter(fx) / deviationOfFx, 1, 0.33);
    std::vector<double> x;
    std::vector<double> y;
    for (const cv::Point2d& point : all) {
        x.push_back(point.x);
        y.push_back(point.y);
    }
    const double widest = std::hypot(scatter(x), scatter(y)); // at least the largest direction's
    EXPECT_LT(predicted(0, 0), widest * 1.4);
    EXPECT_GT(predicted(0, 0), widest / std::sqrt(2.0) / 1.4);
}

// OpenCV takes each corner for one number when it estimates the noise; it is two.
TEST(CameraEstimate, TheDeviationsAreOpenCvsUpToItsCountOfNumbers) {
    const auto views = seenViews(variedPoses(12), sigma, 2);
    const tarvix::CameraEstimate camera = tarvix::estimateCamera(views, boardPattern, 1.0F);
    std::vector<std::vector<cv::Point2f>> corners;
    for (const tarvix::SeenBoard& view : views) {
        corners.push_back(view.corners);
    }
    cv::Mat matrix;
    cv::Mat distortion;
    cv::Mat deviations;
    cv::calibrateCamera(std::vector(views.size(), tarvix::boardPoints(boardPattern, 1.0F)), corners,
                        camera.imageSize, matrix, distortion, cv::noArray(), cv::noArray(),
                        deviations, cv::noArray(), cv::noArray(), 0,
                        {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 1e-16});
    const double points = 12 * 54;
    const double unknowns = tarvix::parameterCount + 12 * 6;
    const double factor = std::sqrt((2 * points - unknowns) / (points - unknowns));
    for (int i = 0; i < tarvix::parameterCount; ++i) {
        SCOPED_TRACE(tarvix::parameterNames[i]);
        // Versions of OpenCV that count both numbers would make the factor 1.
        const double ratio = deviations.at<double>(i) / camera.deviations[i];
        EXPECT_THAT(
            ratio, testing::AnyOf(testing::DoubleNear(factor, 0.01), testing::DoubleNear(1, 0.01)));
    }
}

TEST(CameraEstimate, UncertaintyGrowsAwayFromTheCorners) {
    const cv::Mat_<double> map = tarvix::projectionDeviation(
        tarvix::estimateCamera(seenViews(centredPoses(22), sigma, 4), boardPattern, 1.0F), {9, 9});
    EXPECT_GT(map(0, 0), 3 * map(4, 4));
    EXPECT_GT(map(8, 8), 3 * map(4, 4));
}

TEST(CrossValidation, ComparesHalvesAndNeedsSixViews) {
    const auto views = seenViews(variedPoses(12), sigma, 5);
    const auto cross = tarvix::crossValidate(views, boardPattern);
    ASSERT_TRUE(cross);
    EXPECT_NEAR(cross->fitRms, sigma * std::sqrt(2.0), 0.02);
    EXPECT_GT(cross->otherRms, cross->fitRms * 0.95);
    EXPECT_LT(cross->otherRms, cross->fitRms * 1.3);
    EXPECT_FALSE(tarvix::crossValidate({views.begin(), views.begin() + 5}, boardPattern));
    EXPECT_TRUE(tarvix::crossValidate({views.begin(), views.begin() + 6}, boardPattern));
}

TEST(Quality, CoverageCountsCellsAndThirds) {
    const cv::Size size(100, 100);
    const tarvix::SeenBoard middle{size, {{49.5F, 49.5F}, {50, 50}, {69.5F, 49.5F}}};
    const tarvix::SeenBoard corner{size, {{99, 99}, {0, 0}}};
    const tarvix::Coverage coverage = tarvix::coverageOf({middle, corner});
    EXPECT_EQ(coverage.cells(0, 0), 1);
    EXPECT_EQ(coverage.cells(9, 9), 1);
    EXPECT_EQ(coverage.cells(5, 5), 2);
    EXPECT_EQ(coverage.emptyCells, 96);
    EXPECT_THAT(coverage.thirds, ElementsAre(3, 0, 2)); // radius 20 of 70.7 is within a third
    EXPECT_NEAR(coverage.farthest, 0.99, 0.011);
}

TEST(Quality, SpreadIsThatOfThePoses) {
    const double tilt = 30 * CV_PI / 180;
    std::vector<test::Pose> poses = {{{tilt, 0, 0}, {-2.5, -4, 14}},
                                     {{0, -tilt / 2, 0}, {-2.5, -4, 18}}};
    const auto views = seenViews(poses, 0, 1);
    const test::KnownCamera camera;
    std::vector<tarvix::ViewEstimate> judged;
    for (const auto& view : views) {
        judged.push_back(
            tarvix::judgeView(view, boardPattern, 1.0F, camera.matrix, camera.distortion));
        EXPECT_LT(judged.back().rms, 1e-3);
    }
    const tarvix::Spread spread = tarvix::spreadOf(judged, boardPattern, 1.0F);
    EXPECT_NEAR(spread.tiltDeg[0], 30, 0.1);
    EXPECT_NEAR(spread.tiltDeg[1], 15, 0.1);
    EXPECT_NEAR(spread.aboutXDeg, 30, 0.1);
    EXPECT_NEAR(spread.aboutYDeg, 15, 0.1);
    // The board's centre is 2.5 rows and 4 columns from its first corner.
    const double y = -4 + 4 * std::cos(tilt);
    EXPECT_NEAR(spread.distance[0], std::hypot(y, 14 + 4 * std::sin(tilt)), 0.02);
}

TEST(LensField, DisplacementsAreThoseOfTheLens) {
    const cv::Mat matrix = (cv::Mat_<double>(3, 3) << 100, 0, 49.5, 0, 100, 49.5, 0, 0, 1);
    const cv::Mat barrel = (cv::Mat_<double>(1, 5) << -0.1, 0, 0, 0, 0);
    const auto field = tarvix::lensField(matrix, barrel, {100, 100}, {2, 2});
    ASSERT_EQ(field.size(), 4U);
    EXPECT_EQ(field[1].ideal, cv::Point2d(74.5, 24.5));
    // x = y = 0.25, r^2 = 0.125: the point moves by -0.1 r^2 of its distance from the centre.
    EXPECT_NEAR(field[1].shift.x, -0.0125 * 25, 1e-9);
    EXPECT_NEAR(field[1].shift.y, 0.0125 * 25, 1e-9);
}

TEST(Findings, AGoodSetHasNoDoubt) {
    const auto views = seenViews(variedPoses(18), sigma, 1);
    const auto findings =
        tarvix::findingsOf(tarvix::judgeCalibration(views, boardPattern, 1.0F), namesOf(views));
    EXPECT_THAT(findings,
                ElementsAre(AllOf(Field(&tarvix::Finding::isGood, true),
                                  Field(&tarvix::Finding::sentence, HasSubstr("well founded")))));
}

TEST(Findings, AFifthOfTheImageMayHoldNoCorner) {
    const auto views = seenViews(variedPoses(18), sigma, 1);
    tarvix::CalibrationQuality quality = tarvix::judgeCalibration(views, boardPattern, 1.0F);
    quality.coverage.emptyCells = 19;
    EXPECT_TRUE(tarvix::findingsOf(quality, namesOf(views))[0].isGood);
    quality.coverage.emptyCells = 20;
    EXPECT_THAT(tarvix::findingsOf(quality, namesOf(views))[0].sentence,
                HasSubstr("20 of 100 cells of the image hold no corner"));
}

TEST(Findings, OneImageIsTooFew) {
    EXPECT_THAT(doubtsOf(seenViews(variedPoses(1), sigma, 1)),
                Contains(HasSubstr("one image is too few")));
    EXPECT_THAT(doubtsOf(seenViews(variedPoses(4), sigma, 1)),
                Contains(HasSubstr("4 images are too few")));
}

TEST(Findings, AStrayImageIsNamed) {
    auto views = seenViews(variedPoses(12), sigma, 1);
    views[7] = seenViews({variedPoses(12)[7]}, 1.2, 9)[0];
    const auto doubts = doubtsOf(views);
    EXPECT_THAT(doubts, Contains(HasSubstr("'view7' does not fit the others")));
    EXPECT_THAT(doubts, Each(Not(HasSubstr("'view6'"))));
    const auto quality = tarvix::judgeCalibration(views, boardPattern, 1.0F);
    EXPECT_EQ(quality.worst, 7U);
}

TEST(Findings, BoardsInTheMiddleLeaveTheOuterThirdOpen) {
    const auto doubts = doubtsOf(seenViews(centredPoses(22), sigma, 1));
    EXPECT_THAT(doubts, Contains(HasSubstr("the outer third of the image has no corner")));
    EXPECT_THAT(doubts, Contains(HasSubstr("cells of the image hold no corner")));
    EXPECT_THAT(doubts, Contains(HasSubstr("same distance")));
}

TEST(Findings, BoardsThatFaceTheCameraAreNamed) {
    std::vector<test::Pose> flat = variedPoses(12);
    for (test::Pose& pose : flat) {
        pose.rotation *= 0.05;
    }
    EXPECT_THAT(doubtsOf(seenViews(flat, sigma, 1)),
                Contains(HasSubstr("no image tilts the board")));
    std::vector<test::Pose> oneSided = variedPoses(12);
    for (test::Pose& pose : oneSided) {
        pose.rotation[0] = 0.5;
    }
    EXPECT_THAT(doubtsOf(seenViews(oneSided, sigma, 1)), Contains(HasSubstr("hardly tilted")));
}

} // namespace
