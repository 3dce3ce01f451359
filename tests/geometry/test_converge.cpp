// Projection, error measures and correction on points; and the whole correction on simulated views.
#include "geometry/converge.h"

#include "geometry/converge_search.h"
#include "geometry/vect.h"
#include "tests/geometry/quad_cases.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using namespace tarvix;
using test::photograph;
using test::SimulatedView;

const cv::Size image(1200, 900);
const MarkedQuad tilted{image, {cv::Point2d(350, 200), {880, 240}, {1010, 720}, {230, 690}}};

double rightAngleError(const MarkedQuad& quad, const Pose& p) {
    return RightAngleError(ProjectCorners(quad, rayRotation(p.pitchDeg, p.yawDeg, p.rollDeg),
                                          Lens(quad.image, p.focalMm)));
}

TEST(Lens, TheLongerSideIs36Millimetres) {
    EXPECT_DOUBLE_EQ(Lens({3600, 2400}, 35.0).focalPx, 3500.0);
    EXPECT_DOUBLE_EQ(Lens({2400, 3600}, 35.0).focalPx, 3500.0);
    EXPECT_EQ(Lens({1000, 500}, 35.99).perspective(0, 0), 999.0);
}

TEST(RayRotation, YawPitchThenRollReversed) {
    const cv::Matx33d expected = RotationY(11.0) * RotationX(-7.0) * RotationZ(-3.0);
    EXPECT_LE(cv::norm(rayRotation(-7.0, 11.0, 3.0) - expected, cv::NORM_INF), 1e-15);
}

TEST(ProjectCorners, AnUnturnedCameraSeesTheMarkedCorners) {
    const Corners q = ProjectCorners(tilted, rayRotation(0, 0, 0), Lens(image, 36.0));
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_LE(cv::norm(q[i] - tilted.corners[i]), 1e-9);
    }
}

TEST(ProjectCorners, ScalesByTheWholePartOfTheFocalLength) {
    const Lens lens(image, 36.02); // 1200.67 pixels
    const Corners q = ProjectCorners(tilted, rayRotation(0, 0, 0), lens);
    const cv::Point2d centre(600, 450);
    for (std::size_t i = 0; i < 4; ++i) {
        const cv::Point2d expected =
            centre + (tilted.corners[i] - centre) * (1200.0 / lens.focalPx);
        EXPECT_LE(cv::norm(q[i] - expected), 1e-9);
    }
}

TEST(ProjectCorners, TermsMultipliedByZeroStay) {
    // x overflows when it is scaled; 0 times it then spoils the depth, and with it y.
    MarkedQuad quad = tilted;
    quad.corners[0].x = 1e308;
    const Corners q = ProjectCorners(quad, rayRotation(45, 45, 0), Lens(image, 36.0));
    quad.corners[0] = {1.7e308, 1.7e308};
    const Corners r =
        ProjectCorners(quad, cv::Matx33d(2, 0, 0, 0, 1, 0, 0, 0, 1), Lens(image, 36.0));
    EXPECT_TRUE(std::isnan(r[0].x));
    EXPECT_TRUE(std::isnan(r[0].y));
    EXPECT_TRUE(std::isfinite(r[1].y));
    EXPECT_TRUE(std::isfinite(q[1].x));
}

TEST(RightAngleError, IsZeroForARectangleOfEitherWinding) {
    const Corners turned = {cv::Point2d(0, 0), {3, 4}, {-5, 10}, {-8, 6}};
    EXPECT_NEAR(RightAngleError(turned), 0.0, 1e-12);
    EXPECT_NEAR(RightAngleError({turned[3], turned[2], turned[1], turned[0]}), 0.0, 1e-12);
}

TEST(RightAngleError, SumsTheDeviationsInDegrees) {
    const double h = std::sqrt(3.0);
    const Corners parallelogram = {cv::Point2d(0, 0), {4, 0}, {5, h}, {1, h}}; // 60 degrees
    EXPECT_NEAR(RightAngleError(parallelogram), 120.0, 1e-11);
    EXPECT_NEAR(
        RightAngleError({parallelogram[3], parallelogram[2], parallelogram[1], parallelogram[0]}),
        120.0, 1e-11);
}

TEST(AxisAlignmentError, SumsTheOffsetsInPixels) {
    EXPECT_EQ(AxisAlignmentError({cv::Point2d(0, 0), {9, 0}, {9, 5}, {0, 5}}), 0.0);
    EXPECT_EQ(AxisAlignmentError({cv::Point2d(0, 0), {9, 2}, {10, 5}, {-3, 5.5}}),
              3.0 + 1.0 + 2.0 + 0.5);
}

TEST(Correction, TheAreaRatioIsNotSquareRooted) {
    const Pose pose{12.0, -8.0, 3.0, 30.0};
    const Corners projected =
        ProjectCorners(tilted, rayRotation(12.0, -8.0, 3.0), Lens(image, 30.0));
    const double ratio = PolygonArea(tilted.corners) / PolygonArea(projected);
    ASSERT_GT(std::abs(ratio - 1.0), 0.05);
    const Corners corrected = correctCorners(tilted, pose, {});
    // Lengths grow by the ratio, areas by its square.
    EXPECT_NEAR(cv::norm(corrected[1] - corrected[0]),
                cv::norm(projected[1] - projected[0]) * ratio, 1e-9);
    EXPECT_NEAR(PolygonArea(corrected) / PolygonArea(projected), ratio * ratio, 1e-9);
}

TEST(Correction, KeepsTheCentroidAndAddsTheOffsets) {
    const Pose pose{12.0, -8.0, 3.0, 30.0};
    CorrectionOptions options;
    options.offsetX = 100.0;
    options.offsetY = -40.0;
    const Corners plain = correctCorners(tilted, pose, {});
    const Corners shifted = correctCorners(tilted, pose, options);
    EXPECT_LE(cv::norm(PolygonCentroid(plain) - PolygonCentroid(tilted.corners)), 1e-3);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_LE(cv::norm(shifted[i] - plain[i] - cv::Point2d(100, -40)), 1e-9);
    }
}

TEST(Correction, ScaleTwoDoublesTheDistancesFromTheCentroid) {
    const Pose pose{12.0, -8.0, 3.0, 30.0};
    CorrectionOptions options;
    options.scale = 2.0;
    const Corners one = correctCorners(tilted, pose, {});
    const Corners two = correctCorners(tilted, pose, options);
    const cv::Point2d c = PolygonCentroid(tilted.corners);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_LE(cv::norm((two[i] - c) - 2.0 * (one[i] - c)), 1e-9);
    }
}

TEST(Correction, PitchOnlyTurnsByThePitchAlone) {
    CorrectionOptions options;
    options.pitchOnly = true;
    const Corners a = correctCorners(tilted, {12.0, -8.0, 3.0, 30.0}, options);
    const Corners b = correctCorners(tilted, {12.0, 0.0, 0.0, 30.0}, {});
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_LE(cv::norm(a[i] - b[i]), 1e-9);
    }
}

// Simulated views.

struct Recovery {
    double error = 0.0;      // right-angle error of what was found, degrees
    double tilt = 0.0;       // largest deviation of pitch and yaw from the truth, degrees
    double misalignment = 0; // of the corrected edges from the axes, degrees
};

Recovery recover(const SimulatedView& view, double focalMm) {
    const MarkedQuad quad = photograph(view);
    const Pose pose = findPose(quad, focalMm);
    const Corners c = correctCorners(quad, pose, {});
    const auto slope = [](const cv::Point2d& along, bool vertical) {
        return std::abs(vertical ? std::atan2(along.x, along.y) : std::atan2(along.y, along.x)) *
               180.0 / pi;
    };
    return {rightAngleError(quad, pose),
            std::max(std::abs(pose.pitchDeg - view.pitchDeg), std::abs(pose.yawDeg - view.yawDeg)),
            std::max({slope(c[1] - c[0], false), slope(c[2] - c[3], false),
                      slope(c[3] - c[0], true), slope(c[2] - c[1], true)})};
}

// The grid of poses: pitch, yaw, roll; the rectangle is off the centre, as facades are.
template <class Check>
void overPoses(const Check& check) {
    for (const double pitch : {-27.337, -11.012, 14.621, 31.209}) {
        for (const double yaw : {-24.418, -9.731, 12.127, 28.811}) {
            for (const double roll : {-6.327, 0.0, 4.919}) {
                for (const double focal : {24.02, 35.013}) {
                    SimulatedView view;
                    view.pitchDeg = pitch;
                    view.yawDeg = yaw;
                    view.rollDeg = roll;
                    view.focalMm = focal;
                    view.width = 0.7;
                    view.height = 0.5;
                    view.centreX = 0.1;
                    view.centreY = -0.05;
                    check(view);
                }
            }
        }
    }
}

// The truth lies between the steps of 0.05 of the last stages.

TEST(SimulatedViews, WithKnownFocalLengthThePoseIsRecovered) {
    overPoses([](const SimulatedView& view) {
        SCOPED_TRACE(testing::Message() << view.pitchDeg << " " << view.yawDeg << " "
                                        << view.rollDeg << " " << view.focalMm);
        const Recovery r = recover(view, view.focalMm);
        EXPECT_LE(r.error, 0.05);
        EXPECT_LE(r.tilt, 0.05);
        EXPECT_LE(r.misalignment, 0.05);
    });
}

TEST(SimulatedViews, WithUnknownFocalLengthTheRectangleIsRecovered) {
    // Focal length and angles trade off along a narrow valley, and where the steps of the coarse
    // scan miss its bottom, the fine ranges, +-5 about the coarse best, do not always reach it. So
    // the pose is only recovered nearly everywhere; the corners are close to right everywhere.
    int poses = 0;
    int recovered = 0;
    overPoses([&](const SimulatedView& view) {
        SCOPED_TRACE(testing::Message() << view.pitchDeg << " " << view.yawDeg << " "
                                        << view.rollDeg << " " << view.focalMm);
        const Recovery r = recover(view, 0.0);
        ++poses;
        recovered += r.error <= 0.1 && r.tilt <= 0.1 && r.misalignment <= 0.05 ? 1 : 0;
        EXPECT_LE(r.error, 0.5);
        EXPECT_LE(r.misalignment, 0.25);
    });
    EXPECT_GE(recovered, poses * 9 / 10) << "of " << poses;
}

TEST(SimulatedViews, AFaceOnViewSaysNothingAboutTheFocalLength) {
    // Ambiguous: seen face-on, the corners are right for every focal length.
    SimulatedView view;
    view.rollDeg = 10.0;
    view.width = 0.6;
    view.height = 0.4;
    const MarkedQuad quad = photograph(view);
    for (const double focal : {5.0, 20.0, 35.0, 200.0}) {
        EXPECT_LE(rightAngleError(quad, {0.0, 0.0, 10.0, focal}), 1e-9);
    }
}

} // namespace
