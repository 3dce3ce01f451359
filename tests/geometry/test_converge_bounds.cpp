// The bounds that refuse candidates: they hold, every guard has the value that the argument gives
// it, and without a guard a bound goes wrong.
#include "geometry/converge_bounds.h"
#include "geometry/vect.h"
#include "tests/geometry/quad_cases.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using namespace tarvix;
using namespace tarvix::test;
using converge_detail::CosineSum;
using converge_detail::exactlyAbove;
using converge_detail::SearchRules;

template <class Rules>
using Screen = converge_detail::Screen<Rules>;

// The exact bound.

TEST(ExactBound, ZeroLengthEdgesAreNeverRefused) {
    // RightAngleError takes the cosine at an edge of length 0 as 0.
    const Corners q = {cv::Point2d(0, 0), {10, 0}, {10, 0}, {3, 7}};
    EXPECT_FALSE(exactlyAbove<SearchRules>(q, 0.0));
    const Corners repeated = {cv::Point2d(5, 5), {5, 5}, {5, 5}, {5, 5}};
    EXPECT_EQ(RightAngleError(repeated), 0.0);
    EXPECT_FALSE(exactlyAbove<SearchRules>(repeated, 0.0));
}

TEST(ExactBound, OverflowUnderflowAndNotANumberAreNeverRefused) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double unit : {1e80, 1e150, 1e200, 1e-200, 1e-35, nan}) {
        const Corners q = {cv::Point2d(0, 0), {2 * unit, 0}, {3 * unit, unit}, {0, unit}};
        EXPECT_FALSE(exactlyAbove<SearchRules>(q, 1.0)) << unit;
    }
    const Corners plain = {cv::Point2d(0, 0), {2, 0}, {3, 1}, {0, 1}};
    EXPECT_TRUE(exactlyAbove<SearchRules>(plain, 1.0));
}

TEST(ExactBound, RefusesFromTheShortestEdgeOn) {
    for (const double length : {0.99e-30, 1.01e-30}) {
        const Corners q = {cv::Point2d(0, 0), {length, 0}, {3e-30, 2e-30}, {0, 2e-30}};
        EXPECT_EQ(exactlyAbove<SearchRules>(q, 1.0), length > 1e-30) << length;
    }
}

TEST(ExactBound, RefusesFromTheMarginOn) {
    // A parallelogram: four cosines of the same size.
    const double cosine = 0.01;
    const Corners q = {cv::Point2d(0, 0),
                       {1, 0},
                       {1 + cosine, std::sqrt(1 - cosine * cosine)},
                       {cosine, std::sqrt(1 - cosine * cosine)}};
    EXPECT_FALSE(exactlyAbove<SearchRules>(q, (4 * cosine - 0.9e-9) * 180.0 / pi));
    EXPECT_TRUE(exactlyAbove<SearchRules>(q, (4 * cosine - 1.1e-9) * 180.0 / pi));
}

// The linear bound.

// A quadrilateral seen through one pose; yaw and roll are 0 unless the test says so.
struct View {
    MarkedQuad quad;
    double focalPx;
    double pitchDeg = 0.0;
};

template <class Rules>
bool trusted(const View& view) {
    const Screen<Rules> screen(view.quad);
    return screen.trustedAt(screen.rotate(RotationX(view.pitchDeg), RotationY(0.0)), view.focalPx);
}

// The bound exceeds the error by this, radians. 0 where the error is not a number.
template <class Rules>
double excess(const View& view) {
    const Screen<Rules> screen(view.quad);
    const CosineSum sum = Screen<Rules>::at(typename Screen<Rules>::Edges(
        screen.rotate(RotationX(view.pitchDeg), RotationY(0.0)), view.focalPx));
    Lens lens(view.quad.picture, 1.0);
    lens.focalPx = view.focalPx;
    lens.perspective =
        PerspectiveMatrix(truncateToInt(view.focalPx), truncateToInt(view.focalPx), view.focalPx);
    const double error = RightAngleError(projectOntoCentroid(
        view.quad, PolygonCentroid(view.quad.corners), rayRotation(view.pitchDeg, 0.0, 0.0), lens));
    return std::isnan(error) ? 0.0 : sum.numerator / sum.denominator - error * pi / 180.0;
}

// view(t) meets the guard that Without drops from t = 1 on, and all others.
template <class Without, class MakeView>
void expectGuardFrom1(const MakeView& view) {
    EXPECT_TRUE(trusted<SearchRules>(view(1.01)));
    EXPECT_FALSE(trusted<SearchRules>(view(0.99)));
    EXPECT_TRUE(trusted<Without>(view(0.99)));
}

// Four corners from the centre of an image.
MarkedQuad aboutCentre(cv::Size image, const Corners& fromCentre) {
    MarkedQuad quad{image, fromCentre};
    for (cv::Point2d& p : quad.corners) {
        p += cv::Point2d(image.width * 0.5, image.height * 0.5);
    }
    return quad;
}

// Corners that lie `reach` from the centre.
MarkedQuad rectangle(cv::Size image, double reach) {
    const double x = 0.8 * reach;
    const double y = 0.6 * reach;
    return aboutCentre(image, {cv::Point2d(-x, -y), {x, -y}, {x, y}, {-x, y}});
}

struct NoEdgeGuard : SearchRules {
    static constexpr double shortestMarkedEdge = 0.0;
};
struct NoAreaGuard : SearchRules {
    static constexpr double smallestArea = -1e300;
};
struct NoShortestFocal : SearchRules {
    static constexpr double shortestFocal = 0.0;
};
struct NoFocalOfCoordinate : SearchRules {
    static constexpr double focalOfCoordinate = -1e300;
};
struct NoLongestFocal : SearchRules {
    static constexpr double longestFocal = 1e300;
};
struct NoLongestFocalPx : SearchRules {
    static constexpr double longestFocalPx = 1e300;
};
struct NoDepthGuard : SearchRules {
    static constexpr double smallestDepth = -1e300;
};

const cv::Size image(1200, 900);

TEST(LinearBound, IsTrustedFromTheShortestMarkedEdgeOn) {
    expectGuardFrom1<NoEdgeGuard>([](double t) {
        const double half = 0.5 * t * 500.0 / 128.0;
        return View{
            aboutCentre(image, {cv::Point2d(-half, -300), {half, -300}, {400, 300}, {-400, 300}}),
            1000.0};
    });
}

TEST(LinearBound, IsTrustedFromTheSmallestAreaOn) {
    // Corner 1, then corner 3, close to the diagonal between the others, which is 1000 long.
    for (const int thin : {1, 3}) {
        expectGuardFrom1<NoAreaGuard>([&](double t) {
            const double side = thin == 1 ? 1.0 : -1.0;
            const double height = t * 500.0 * 500.0 / 4096.0 / 1000.0;
            Corners c = {cv::Point2d(-400, -300), {240, -320}, {400, 300}, {-240, 320}};
            c[static_cast<std::size_t>(thin)] = cv::Point2d(0.6, -0.8) * side * height;
            return View{aboutCentre(image, c), 1000.0};
        });
    }
}

TEST(LinearBound, IsNotTrustedForTrianglesOfTwoSigns) {
    const View concave{
        aboutCentre(image, {cv::Point2d(-400, -300), {240, -320}, {400, 300}, {100, -100}}),
        1000.0};
    EXPECT_FALSE(trusted<SearchRules>(concave));
    EXPECT_TRUE(trusted<NoAreaGuard>(concave));
}

TEST(LinearBound, IsNotTrustedForCoordinatesThatAreNotFinite) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity}) {
        for (std::size_t k = 0; k < 4; ++k) {
            View view{rectangle(image, 500.0), 1000.0};
            view.quad.corners[k].x = value;
            EXPECT_FALSE(trusted<SearchRules>(view)) << value << " at " << k;
        }
    }
}

TEST(LinearBound, IsTrustedFromTheShortestFocalLengthOn) {
    expectGuardFrom1<NoShortestFocal>([](double t) {
        return View{rectangle(image, 500.0), t * 500.0 / 32.0};
    });
}

TEST(LinearBound, IsTrustedFromTheFocalLengthOfTheCoordinatesOn) {
    expectGuardFrom1<NoFocalOfCoordinate>([](double t) {
        return View{rectangle({12000, 9000}, 50.0), t * (6000.0 + 40.0 + 100.0) / 100.0};
    });
    // At least the whole pixel that the projection is scaled by.
    expectGuardFrom1<NoFocalOfCoordinate>([](double t) {
        return View{rectangle({10, 10}, 5.0), t * (9.0 + 100.0) / 100.0};
    });
}

TEST(LinearBound, IsTrustedToTheLongestFocalLength) {
    expectGuardFrom1<NoLongestFocal>([](double t) {
        return View{rectangle(image, 50.0), 32.0 * 50.0 / t};
    });
    expectGuardFrom1<NoLongestFocalPx>([](double t) {
        return View{rectangle(image, 1e9), 2e9 / t};
    });
}

TEST(LinearBound, IsTrustedFromTheSmallestDepthOn) {
    // Turned by a, the upper corners are (f cos a - y sin a) deep; f follows from the depth wanted.
    expectGuardFrom1<NoDepthGuard>([](double t) {
        const cv::Matx33d x = RotationX(50.0);
        const double depth = t / 64.0;
        const double focalPx = (300.0 * x(2, 1) + 500.0 * depth) / (x(1, 1) - depth);
        return View{rectangle(image, 500.0), focalPx, 50.0};
    });
}

TEST(LinearBound, RefusesFromTheMarginOn) {
    const CosineSum sum({{0.01, 0.01, 0.01, 0.01}}, {{1.0, 1.0, 1.0, 1.0}});
    EXPECT_FALSE(Screen<SearchRules>::above(sum, (0.04 - 0.9e-4) * 180.0 / pi));
    EXPECT_TRUE(Screen<SearchRules>::above(sum, (0.04 - 1.1e-4) * 180.0 / pi));
}

TEST(LinearBound, NeverExceedsTheError) {
    using Trusted = Screen<SearchRules>;
    std::mt19937_64 random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    const auto uniform = [&](double from, double to) {
        return from + static_cast<double>(random() % 1000001) * 1e-6 * (to - from);
    };
    long trusted = 0;
    double worst = 0.0;
    for (const QuadCase& c : hostileCases(99, 2000)) {
        const Trusted screen(c.quad);
        const cv::Point2f centroid = PolygonCentroid(c.quad.corners);
        for (int i = 0; i < 40; ++i) {
            const double pitch = uniform(-66, 66);
            const double yaw = uniform(-66, 66);
            const double roll = uniform(-66, 66);
            const Lens shorter(c.quad.picture, uniform(0.1, 50));
            const Lens longer(c.quad.picture, uniform(0.1, 50));
            const auto rotated = screen.rotate(RotationX(pitch), RotationY(yaw));
            if (!screen.trustedAt(rotated, shorter.focalPx) ||
                !screen.trustedAt(rotated, longer.focalPx)) {
                continue;
            }
            ++trusted;
            const Trusted::Edges a(rotated, shorter.focalPx);
            const Trusted::Edges b(rotated, longer.focalPx);
            const CosineSum between = Trusted::between(a, b);
            const double t = uniform(0, 1);
            Lens lens = shorter;
            lens.focalPx = shorter.focalPx + t * (longer.focalPx - shorter.focalPx);
            lens.perspective = PerspectiveMatrix(truncateToInt(lens.focalPx),
                                                 truncateToInt(lens.focalPx), lens.focalPx);
            const CosineSum at = Trusted::at(Trusted::Edges(rotated, lens.focalPx));
            const double error = RightAngleError(projectOntoCentroid(
                                     c.quad, centroid, rayRotation(pitch, yaw, roll), lens)) *
                                 pi / 180.0;
            const double exact = at.numerator / at.denominator;
            worst = std::max(worst, exact - error);
            EXPECT_LE(between.numerator / between.denominator, exact + 1e-9) << c.name;
        }
    }
    EXPECT_GT(trusted, 5000);
    EXPECT_LT(worst, 1e-8); // far below the proven 4.4e-5
}

// Without a guard, the linear bound exceeds the error by more than its margin. The others of the
// guards only make the argument short: nothing seen exceeds the margin without them.

TEST(LinearBound, IsWrongForAnUntrustedArea) {
    // A quadrilateral that crosses itself and has next to no area: its centroid is so far away that
    // moving by it makes corners coincide, and RightAngleError counts nothing at them.
    double worst = 0.0;
    for (int i = 1; i < 1000; ++i) {
        const Corners crossed = {cv::Point2d(-358.6, -123.1),
                                 {358.6 + i * 0x1p-43, 123.1},
                                 {358.6, -123.1},
                                 {-358.6, 123.1}};
        const View view{aboutCentre(image, crossed), 878.3, -15.0};
        ASSERT_FALSE(trusted<SearchRules>(view));
        ASSERT_TRUE(trusted<NoAreaGuard>(view));
        worst = std::max(worst, excess<NoAreaGuard>(view));
    }
    EXPECT_GT(worst, SearchRules::screenMargin);
}

TEST(LinearBound, IsWrongForAnUntrustedLongFocalLength) {
    // The corners are closer together than the projection's rounding.
    double worst = 0.0;
    for (int i = 1; i < 1000; ++i) {
        const Corners tiny = {
            cv::Point2d(3e-6, 5e-6), {7e-6, -4e-6}, {-4e-6, -7e-6}, {-6e-6, 1e-6}};
        const View view{aboutCentre(image, tiny), 1e6 * i, -35.0};
        ASSERT_FALSE(trusted<SearchRules>(view));
        ASSERT_TRUE(trusted<NoLongestFocal>(view));
        worst = std::max(worst, excess<NoLongestFocal>(view));
    }
    EXPECT_GT(worst, SearchRules::screenMargin);
}

TEST(LinearBound, IsWrongForAnUntrustedDepth) {
    // A corner on the horizon is projected so far away that moving by the centroid makes the others
    // coincide.
    const double pitch = 45.0;
    const cv::Matx33d x = RotationX(pitch);
    double worst = 0.0;
    for (int i = 1; i < 200; ++i) {
        View view{{image, {cv::Point2d(595, 445), {610, 445}, {}, {592, 460}}}, 1200.0, pitch};
        view.quad.corners[2] = {1500.0, 450.0 + view.focalPx * x(1, 1) / x(2, 1) + i * 1e-12};
        ASSERT_FALSE(trusted<SearchRules>(view));
        ASSERT_TRUE(trusted<NoDepthGuard>(view));
        worst = std::max(worst, excess<NoDepthGuard>(view));
    }
    EXPECT_GT(worst, SearchRules::screenMargin);
}

} // namespace
