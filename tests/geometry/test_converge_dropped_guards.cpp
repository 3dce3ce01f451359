// What goes wrong without a guard of the convergence search's screen: a bound exceeds the error by
// more than its margin, and the search misses the pose of the plain scan. (Without the balance of
// the projected triangles, the first has been seen only.)
//
// Four guards keep the argument short; nothing has been seen to go wrong without one of them, and
// test_converge_guards.cpp holds their values.
//
// The shortest marked edge: the smallest area leaves no edge shorter than W/2048, since an edge is
// a side of triangle 012 or 023, and no side is longer than 2 W. Rounding then matters 32 times as
// much, still less than the margin in all that was tried.
//
// The smallest area: without it, a projected area may be what rounding makes of it. The centroid is
// then off by thousands of pixels; it takes some 1e12 to turn edges by more than the margin.
//
// The shortest focal length: f >= C/100 + 1 is left. It allows focal lengths a few times as short,
// and errors of the cosines that are larger by as much.
//
// The longest focal length of far candidates: 32 W is left, with edges an eighth as long. Far
// candidates have a margin of 2e-3; seen are errors of 1e-8.
#include "geometry/converge_scan.h"
#include "geometry/converge_screen.h"
#include "tests/geometry/dropped_guards.h"
#include "tests/geometry/literal_scan.h"
#include "tests/geometry/seen.h"
#include "tests/geometry/trig_inputs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace {

using namespace tarvix;
using namespace tarvix::test;
using converge_detail::PoseSearch;
using converge_detail::SearchRules;

const cv::Size image = guardedImage;

// The most by which a bound that drops a guard exceeds the error, over views that only this guard
// keeps from being trusted.
template <class Without, class MakeView, class Trusted, class Bound>
double worstExcess(const MakeView& makeView, const Trusted& trusted, const Bound& bound) {
    std::mt19937_64 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    double worst = 0.0;
    int views = 0;
    for (int i = 0; i < 40000; ++i) {
        const View view = makeView(random);
        const Seen<Without> without(view);
        if (trusted(Seen<SearchRules>(view)) || !trusted(without)) {
            continue;
        }
        ++views;
        const double error = errorRadians(view);
        if (!std::isnan(error)) {
            worst = std::max(worst, bound(without) - error);
        }
    }
    EXPECT_GT(views, 1000);
    return worst;
}
template <class Without, class MakeView>
double worstNearExcess(const MakeView& makeView) {
    return worstExcess<Without>(
        makeView, [](const auto& seen) { return seen.isNear(); },
        [](const auto& seen) { return seen.cosines(); });
}
template <class Without, class MakeView>
double worstFarExcess(const MakeView& makeView) {
    return worstExcess<Without>(
        makeView, [](const auto& seen) { return seen.isFar(); },
        [](const auto& seen) { return seen.vanishingPoints(); });
}

// Quadrilaterals that cross themselves and have next to no area: the centroid is so far away that
// moving by it makes corners coincide, and RightAngleError counts nothing at them.
View withHardlyAnyArea(std::mt19937_64& random) {
    const double x = uniform(random, 100.0, 400.0);
    const double y = uniform(random, 50.0, 300.0);
    return {aboutCentre(image, crossing(x, y, std::floor(uniform(random, 1.0, 4.0)) * 0x1p-43)),
            uniform(random, 500.0, 1500.0), uniform(random, -40.0, 40.0)};
}

TEST(NearGuards, WithoutTheSignsTheBoundIsWrong) {
    EXPECT_GT(worstNearExcess<AnySigns>(withHardlyAnyArea), SearchRules::nearMargin);
}

// Corners that are closer together than what the projection's rounding leaves apart.
View tiny(std::mt19937_64& random) {
    const auto around = [&](double x, double y) {
        const double dy = uniform(random, -2e-6, 2e-6);
        return cv::Point2d(x + uniform(random, -2e-6, 2e-6), y + dy);
    };
    const cv::Point2d first = around(-4e-6, -4e-6);
    const cv::Point2d second = around(4e-6, -4e-6);
    const cv::Point2d third = around(4e-6, 4e-6);
    const cv::Point2d last = around(-4e-6, 4e-6);
    return {aboutCentre(image, {first, second, third, last}), uniform(random, 1e4, 1e9),
            uniform(random, -40.0, 40.0)};
}

TEST(NearGuards, WithoutTheLongestFocalLengthTheBoundIsWrong) {
    EXPECT_GT(worstNearExcess<NoLongestFocal>(tiny), SearchRules::nearMargin);
}

// A corner next to the horizon is projected so far away that moving by the centroid makes the
// others coincide.
View withCornerAtHorizon(std::mt19937_64& random, double pitch) {
    const double focalPx = uniform(random, 100.0, 900.0);
    const cv::Matx33d x = RotationX(pitch);
    // Compilers differ in the order in which they evaluate the arguments of one call.
    const auto within = [&](double reach) {
        const double y = uniform(random, -reach, reach);
        return cv::Point2d(uniform(random, -reach, reach), y);
    };
    const cv::Point2d middle = within(200.0);
    Corners corners{};
    for (cv::Point2d& p : corners) {
        p = middle + within(90.0);
    }
    corners[2] = {uniform(random, -900.0, 900.0),
                  focalPx * x(1, 1) / x(2, 1) + uniform(random, -3e-13, 3e-13)};
    return {aboutCentre(image, corners), focalPx, pitch};
}

// With any pitch.
template <class MakeView>
auto turned(const MakeView& makeView) {
    return [&makeView](std::mt19937_64& random) {
        const double pitch = uniform(random, 20.0, 60.0);
        return makeView(random, pitch);
    };
}

TEST(NearGuards, WithoutTheDepthTheBoundIsWrong) {
    EXPECT_GT(worstNearExcess<NoNearDepth>(turned(withCornerAtHorizon)), SearchRules::nearMargin);
}

TEST(FarGuards, WithoutTheDepthTheBoundIsWrong) {
    EXPECT_GT(worstFarExcess<NoFarDepth>(turned(withCornerAtHorizon)), SearchRules::farMargin);
}

TEST(FarGuards, WithoutTheBalanceOfTheMarkedTrianglesTheBoundIsWrong) {
    EXPECT_GT(worstFarExcess<NoBalances>(withHardlyAnyArea), SearchRules::farMargin);
}

// The projected triangles cancel, and the centroid is as far away as with no area.
View acrossHorizon(std::mt19937_64& random, double pitch) {
    const double focalPx = uniform(random, 300.0, 900.0);
    const cv::Matx33d x = RotationX(pitch);
    const double middle = focalPx * x(1, 1) / x(2, 1) + uniform(random, -3e-13, 3e-13);
    const double above = uniform(random, 50.0, 150.0);
    const double wideAbove = uniform(random, 100.0, 300.0);
    const double wideBelow = wideAbove * uniform(random, 0.9, 1.1);
    const double below = above * wideBelow / wideAbove;
    const Corners corners = {cv::Point2d(-wideAbove, middle - above),
                             {wideAbove, middle - above},
                             {wideBelow, middle + below},
                             {-wideBelow, middle + below}};
    return {aboutCentre(image, corners), focalPx, pitch};
}

TEST(FarGuards, WithoutTheBalanceTheBoundIsWrong) {
    EXPECT_GT(worstFarExcess<NoBalance>(turned(acrossHorizon)), SearchRules::farMargin);
}

// Edges of a sixtieth of a pixel at coordinates of 1e9, where numbers are 1.2e-7 apart.
View farFromTheOrigin(std::mt19937_64& random) {
    const double left = uniform(random, -0.04, -0.03);
    const double right = uniform(random, 0.03, 0.04);
    const double top = uniform(random, -0.04, -0.03);
    const double low = top + uniform(random, 0.002, 0.02);
    const double bottom = uniform(random, 0.03, 0.04);
    return {aboutCentre({2'000'000'000, 1'999'999'000},
                        {cv::Point2d(left, top), {right, top}, {right, bottom}, {left, low}}),
            uniform(random, 1.1, 1.2), uniform(random, -20.0, 20.0)};
}

// Corners beyond the range of int: the projection is scaled by the largest int only, and moving it
// to the marked centroid makes its corners coincide.
View beyondInt(std::mt19937_64& random) {
    const double unit = 1e25;
    const double x = uniform(random, 0.1, 0.3);
    const double y = uniform(random, 0.1, 0.3);
    const double width = uniform(random, 0.1, 0.3);
    const double height = uniform(random, 0.1, 0.3);
    Corners corners = {cv::Point2d(x, y), {x + width, y}, {x + width, y + height}, {x, y + height}};
    for (cv::Point2d& p : corners) {
        p *= unit;
    }
    return {aboutCentre(image, corners), unit * uniform(random, 0.5, 1.5),
            uniform(random, -40.0, 40.0)};
}

TEST(NearGuards, WithoutTheRangeOfIntTheBoundIsWrong) {
    EXPECT_GT(worstNearExcess<NoLongestFocalPx>(beyondInt), SearchRules::nearMargin);
}

// The search. Each trap is drawn so that a candidate of the first stage is wrongly refused.

struct Trap {
    MarkedQuad quad;
    double focalMm;
};

std::array<std::uint64_t, 4> bits(const Pose& p) {
    return {std::bit_cast<std::uint64_t>(p.pitchDeg), std::bit_cast<std::uint64_t>(p.yawDeg),
            std::bit_cast<std::uint64_t>(p.rollDeg), std::bit_cast<std::uint64_t>(p.focalMm)};
}

// How many poses are missed without a guard. With all of them, none is.
template <class Without, class MakeTrap>
int missed(const MakeTrap& makeTrap) {
    std::mt19937_64 random(9); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    int count = 0;
    for (int i = 0; i < 100; ++i) {
        const Trap trap = makeTrap(random);
        const auto expected = bits(literalScan(trap.quad, trap.focalMm));
        EXPECT_EQ(bits(PoseSearch<SearchRules>(trap.quad, trap.focalMm).run()), expected) << i;
        count += bits(PoseSearch<Without>(trap.quad, trap.focalMm).run()) != expected ? 1 : 0;
    }
    return count;
}

// The focal length in millimetres that a view has in pixels.
double millimetres(const View& view) {
    return view.focalPx * 36.0 / std::max(view.quad.image.width, view.quad.image.height);
}

Trap trapOf(const View& view) {
    return {view.quad, millimetres(view)};
}
Trap withNoArea(std::mt19937_64& random) {
    return trapOf(withHardlyAnyArea(random));
}

TEST(Search, MissesPosesWithoutTheSigns) {
    EXPECT_GT(missed<AnySigns>(withNoArea), 0);
}
// The focal length has less than two pixels, of which the projection is scaled by one: the corners
// coincide for the unturned camera, too, whose error is the first limit of what is not near.
TEST(Search, MissesPosesWithoutTheBalanceOfTheMarkedTriangles) {
    const int count = missed<NoBalances>([](std::mt19937_64& random) {
        const double x = uniform(random, 3.0, 12.0);
        const double y = uniform(random, 2.0, 9.0);
        const double lift = std::floor(uniform(random, 1.0, 4.0)) * 0x1p-48;
        return Trap{aboutCentre({36, 27}, crossing(x, y, lift)), uniform(random, 1.4, 1.9)};
    });
    EXPECT_GT(count, 0);
}

// The first stage has the pitch at which something is at the horizon.
template <class MakeView>
auto scanned(const MakeView& makeView) {
    return [&makeView](std::mt19937_64& random) {
        const double pitch = 20.0 + 5.0 * static_cast<double>(random() % 9);
        return trapOf(makeView(random, pitch));
    };
}

TEST(Search, MissesPosesWithoutTheDepthOfNearCandidates) {
    EXPECT_GT(missed<NoNearDepth>(scanned(withCornerAtHorizon)), 0);
}
TEST(Search, MissesPosesWithoutTheDepthOfFarCandidates) {
    EXPECT_GT(missed<NoFarDepth>(scanned(withCornerAtHorizon)), 0);
}

TEST(Search, MissesPosesWithoutTheLongestFocalLength) {
    EXPECT_GT(missed<NoLongestFocal>([](std::mt19937_64& random) { return trapOf(tiny(random)); }),
              0);
}
TEST(Search, MissesPosesWithoutTheFocalLengthOfTheCoordinates) {
    EXPECT_GT(missed<NoFocalOfCoordinate>(
                  [](std::mt19937_64& random) { return trapOf(farFromTheOrigin(random)); }),
              0);
}
TEST(Search, MissesPosesWithoutTheRangeOfInt) {
    EXPECT_GT(
        missed<NoLongestFocalPx>([](std::mt19937_64& random) { return trapOf(beyondInt(random)); }),
        0);
}

} // namespace
