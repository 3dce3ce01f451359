// The guards of the convergence search's screen: each has the value that the argument gives it.
// What goes wrong without them is in test_converge_dropped_guards.cpp.
#include "geometry/converge_screen.h"
#include "tests/geometry/dropped_guards.h"
#include "tests/geometry/seen.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace tarvix;
using namespace tarvix::test;
using converge_detail::SearchRules;

// view(t) meets the guard that Without drops from t = 1 on, and all others.
template <class Without, class MakeView>
void expectNearFrom1(const MakeView& view) {
    EXPECT_TRUE(Seen<SearchRules>(view(1.01)).isNear());
    EXPECT_FALSE(Seen<SearchRules>(view(0.99)).isNear());
    EXPECT_TRUE(Seen<Without>(view(0.99)).isNear());
}
template <class Without, class MakeView>
void expectFarFrom1(const MakeView& view) {
    EXPECT_TRUE(Seen<SearchRules>(view(1.01)).isFar());
    EXPECT_FALSE(Seen<SearchRules>(view(0.99)).isFar());
    EXPECT_TRUE(Seen<Without>(view(0.99)).isFar());
}

const cv::Size image = guardedImage;

TEST(NearGuards, TheShortestMarkedEdge) {
    // Along a row, then slanted.
    for (const cv::Point2d& direction : {cv::Point2d(1.0, 0.0), {std::sqrt(0.5), std::sqrt(0.5)}}) {
        expectNearFrom1<NoEdgeGuard>([&](double t) {
            const cv::Point2d middle(0.0, -300.0);
            const cv::Point2d half = direction * (0.5 * t * 500.0 / 64.0);
            return View{aboutCentre(image, {middle - half, middle + half, {400, 300}, {-400, 300}}),
                        1000.0};
        });
    }
}

TEST(NearGuards, TheSmallestArea) {
    // Corner 1, then corner 3, close to the diagonal between the others, which is 1000 long.
    for (const int thin : {1, 3}) {
        expectNearFrom1<NoAreaGuard>([&](double t) {
            const double side = thin == 1 ? 1.0 : -1.0;
            const double height = t * 500.0 * 500.0 / 1024.0 / 1000.0;
            Corners c = {cv::Point2d(-400, -300), {240, -320}, {400, 300}, {-240, 320}};
            c.at(static_cast<std::size_t>(thin)) = cv::Point2d(0.6, -0.8) * side * height;
            return View{aboutCentre(image, c), 1000.0};
        });
    }
}

TEST(NearGuards, TrianglesOfOneSign) {
    const View concave{
        aboutCentre(image, {cv::Point2d(-400, -300), {240, -320}, {400, 300}, {100, -100}}),
        1000.0};
    EXPECT_FALSE(Seen<SearchRules>(concave).isNear());
    EXPECT_TRUE(Seen<AnySigns>(concave).isNear());
    EXPECT_TRUE(Seen<SearchRules>(concave).isFar());
}

TEST(NearGuards, NoFocalLengthForCornersThatFail) {
    // One edge is too short. One pixel is where the other focal lengths begin.
    const Corners corners = {cv::Point2d(-0.01, -3), {0.01, -3}, {4, 3}, {-4, 3}};
    for (const double focalPx : {0.5, 1.0, 2.0, 10.0}) {
        const Seen<SearchRules> seen(View{aboutCentre({36, 27}, corners), focalPx});
        EXPECT_FALSE(seen.isNear()) << focalPx;
        EXPECT_FALSE(seen.isFar()) << focalPx;
    }
}

TEST(NearGuards, FiniteCoordinates) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity}) {
        for (std::size_t k = 0; k < 4; ++k) {
            for (const double focalPx : {1000.0, infinity}) {
                View view{rectangleWithin(image, 500.0), focalPx};
                view.quad.corners.at(k).x = value;
                EXPECT_FALSE(Seen<SearchRules>(view).isNear()) << value << " at " << k;
                EXPECT_FALSE(Seen<SearchRules>(view).isFar()) << value << " at " << k;
            }
        }
    }
}

TEST(NearGuards, TheShortestFocalLength) {
    // Off the centre, and turned towards it.
    expectNearFrom1<NoShortestFocal>([](double t) {
        const Corners right = {cv::Point2d(300, -100), {400, -100}, {400, 300}, {300, 300}};
        return View{aboutCentre(image, right), t * 500.0 / 32.0, 0.0, 60.0};
    });
    expectFarFrom1<NoShortestFocal>([](double t) {
        return View{rectangleWithin(image, 500.0), t * 500.0 / 32.0};
    });
}

TEST(NearGuards, TheShortestFocalLengthOfTheCoordinates) {
    expectNearFrom1<NoFocalOfCoordinate>([](double t) {
        return View{rectangleWithin({12000, 9000}, 50.0), t * (6000.0 + 40.0 + 100.0) / 100.0};
    });
    // The centre's coordinates count, too: all corners are left of it.
    expectNearFrom1<NoFocalOfCoordinate>([](double t) {
        const Corners left = {cv::Point2d(5000, 10), {5080, 10}, {5080, 90}, {5000, 90}};
        return View{{{12000, 100}, left}, t * (6000.0 + 100.0) / 100.0};
    });
    // At least the whole pixel that the projection is scaled by.
    expectNearFrom1<NoFocalOfCoordinate>([](double t) {
        return View{rectangleWithin({10, 10}, 5.0), t * (9.0 + 100.0) / 100.0};
    });
}

TEST(NearGuards, TheLongestFocalLength) {
    expectNearFrom1<NoLongestFocal>([](double t) {
        return View{rectangleWithin(image, 50.0), 32.0 * 50.0 / t};
    });
    expectNearFrom1<NoLongestFocalPx>([](double t) {
        return View{rectangleWithin(image, 1e9), 2e9 / t};
    });
}

// Turned by the pitch, the upper corners are f cosine - 300 sine deep.
View withUpperCornersAt(double depth) {
    const cv::Matx33d x = RotationX(50.0);
    const double focalPx = (300.0 * x(2, 1) + 500.0 * depth) / (x(1, 1) - depth);
    return {rectangleWithin(image, 500.0), focalPx, 50.0};
}

TEST(NearGuards, TheSmallestDepth) {
    expectNearFrom1<NoNearDepth>([](double t) { return withUpperCornersAt(t / 32.0); });
    EXPECT_FALSE(Seen<SearchRules>(withUpperCornersAt(-1.0 / 8.0)).isNear());
}

TEST(NearGuards, OfARowAreThoseOfItsCells) {
    int nearRows = 0;
    for (int pitch = -60; pitch <= 60; pitch += 4) {
        for (const double focalPx : {30.0, 100.0, 300.0, 500.0, 1000.0, 20000.0}) {
            const Seen<SearchRules> seen(
                View{rectangleWithin(image, 400.0), focalPx, static_cast<double>(pitch)});
            const auto sines = [](double yawDeg) {
                const cv::Matx33d y = RotationY(yawDeg);
                return SineCosine{y(0, 2), y(0, 0)};
            };
            for (const auto& [from, to] : {std::pair(-60, 60), {-10, 10}, {30, 40}}) {
                if (!seen.screen.isNear(seen.row, sines(from), sines(to), seen.focal)) {
                    continue;
                }
                ++nearRows;
                for (int yaw = from; yaw <= to; ++yaw) {
                    EXPECT_TRUE(seen.screen.isNear(seen.cellOf(yaw), seen.focal))
                        << pitch << " " << yaw << " " << focalPx;
                }
            }
        }
    }
    EXPECT_GT(nearRows, 100);
}

TEST(FarGuards, TheSmallestDepthInFrontAndBehind) {
    for (const double sign : {1.0, -1.0}) {
        expectFarFrom1<NoFarDepth>([&](double t) { return withUpperCornersAt(sign * t / 256.0); });
    }
}

TEST(FarGuards, TheLongestFocalLength) {
    expectFarFrom1<NoLongestFarFocal>([](double t) {
        return View{rectangleWithin(image, 50.0), 4.0 * 50.0 / t};
    });
}

// A rectangle whose middle is `offset` above the horizon of the turned camera. Two corners are in
// front of it and two behind, and without the offset the projected triangles cancel.
View aboutHorizon(double offset) {
    const double pitch = 60.0;
    const cv::Matx33d x = RotationX(pitch);
    const double focalPx = 700.0;
    const double middle = focalPx * x(1, 1) / x(2, 1) - offset;
    return {aboutCentre(image, {cv::Point2d(-250, middle - 100),
                                {250, middle - 100},
                                {250, middle + 100},
                                {-250, middle + 100}}),
            focalPx, pitch};
}

TEST(FarGuards, TheBalanceOfTheMarkedTriangles) {
    expectFarFrom1<NoMarkedBalance>([](double t) {
        const double lift = 4.0 * 200.0 * (t / 64.0) / (1.0 + t / 64.0);
        return View{aboutCentre(image, crossing(300.0, 200.0, lift)), 700.0, 20.0, 30.0};
    });
}

TEST(FarGuards, TheBalanceOfTheProjectedTriangles) {
    expectFarFrom1<NoBalance>([](double t) { return aboutHorizon(t * 100.0 / 64.0); });
}

} // namespace
