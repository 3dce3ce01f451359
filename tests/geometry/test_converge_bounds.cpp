// The bounds that refuse candidates hold, and refuse from their margins on.
#include "geometry/converge_bounds.h"
#include "geometry/converge_roll.h"
#include "geometry/converge_scan.h"
#include "geometry/converge_screen.h"
#include "tests/geometry/quad_cases.h"
#include "tests/geometry/seen.h"
#include "tests/geometry/trig_inputs.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using namespace tarvix;
using namespace tarvix::test;
using converge_detail::CosineSum;
using converge_detail::exactlyAbove;
using converge_detail::RollScreen;
using converge_detail::SearchRules;

using RealScreen = converge_detail::Screen<SearchRules>;

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
    const double sine = std::sqrt(1.0 - cosine * cosine);
    const Corners q = {cv::Point2d(0, 0), {1, 0}, {1 + cosine, sine}, {cosine, sine}};
    EXPECT_FALSE(exactlyAbove<SearchRules>(q, (4 * cosine - 0.9e-9) * degrees));
    EXPECT_TRUE(exactlyAbove<SearchRules>(q, (4 * cosine - 1.1e-9) * degrees));
}

// The screen.

const cv::Size image(1200, 900);

TEST(Bounds, RefuseFromTheirMarginsOn) {
    const CosineSum sum(four(0.01, 0.01, 0.01, 0.01), four(1.0, 1.0, 1.0, 1.0));
    EXPECT_FALSE(sum.above(RealScreen::nearLimit((0.04 - 0.9e-5) * degrees)));
    EXPECT_TRUE(sum.above(RealScreen::nearLimit((0.04 - 1.1e-5) * degrees)));
    const Seen<SearchRules> seen(View{rectangleWithin(image, 400.0), 1000.0, 10.0, 20.0});
    const double parallel = seen.vanishingPoints();
    const auto refused = [&](double limit) {
        return RealScreen::notParallel(seen.cell, seen.focal, limit);
    };
    EXPECT_FALSE(refused(RealScreen::nearLimit((parallel - 0.9e-5) * degrees)));
    EXPECT_TRUE(refused(RealScreen::nearLimit((parallel - 1.1e-5) * degrees)));
    EXPECT_FALSE(refused(RealScreen::farLimit((parallel - 1.9e-3) * degrees)));
    EXPECT_TRUE(refused(RealScreen::farLimit((parallel - 2.1e-3) * degrees)));
}

// The single-precision pitch makes the rotation one only to 1.3e-7.
TEST(Bounds, TheVanishingPointsAllowAMillionthMore) {
    const Corners c = {cv::Point2d(-300, -200), {310, -190}, {280, 220}, {-320, 210}};
    const double px = 700.0;
    const auto normal = [&](std::size_t k) { // of the plane through edge k, its length
        const cv::Point3d a(c.at(k).x, c.at(k).y, px);
        const cv::Point3d b(c.at((k + 1) % 4).x, c.at((k + 1) % 4).y, px);
        return cv::norm(a.cross(b));
    };
    const Two found = RealScreen(aboutCentre(image, c)).focal(px).halfNormals;
    EXPECT_NEAR(found[0] / (0.5 * normal(0) * normal(2) / px), 1.0 + 1e-6, 1e-12);
    EXPECT_NEAR(found[1] / (0.5 * normal(1) * normal(3) / px), 1.0 + 1e-6, 1e-12);
}

// Random views of what upsets the search, of facades, and of rectangles on either side of the
// horizon.
std::vector<View> manyViews() {
    std::mt19937_64 random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    std::vector<View> views;
    for (const QuadCase& c : hostileCases(99, 2000)) {
        for (int i = 0; i < 40; ++i) {
            const double focalPx = Lens(c.quad.image, uniform(random, 0.1, 50.0)).focalPx;
            views.push_back(
                {c.quad, focalPx, uniform(random, -66.0, 66.0), uniform(random, -66.0, 66.0)});
        }
    }
    return views;
}

TEST(Bounds, NeverExceedTheError) {
    long nearCount = 0;
    long farCount = 0;
    double worstNear = 0.0;
    double worstFar = 0.0;
    for (const View& view : manyViews()) {
        const Seen<SearchRules> seen(view);
        if (!seen.isNear() && !seen.isFar()) {
            continue;
        }
        const double error = errorRadians(view, 33.0);
        EXPECT_LE(seen.vanishingPoints(), seen.cosines() + 1e-10);
        const double excess = seen.cosines() - error;
        if (seen.isNear()) {
            ++nearCount;
            worstNear = std::max(worstNear, excess);
        } else {
            ++farCount;
            worstFar = std::max(worstFar, excess);
        }
    }
    EXPECT_GT(nearCount, 5000);
    EXPECT_GT(farCount, 2000);
    EXPECT_LT(worstNear, 1e-8); // far below the proven 2.8e-6
    EXPECT_LT(worstFar, 1e-8);  // far below the proven 1.4e-3
}

TEST(Bounds, BetweenTwoFocalLengthsNeverExceedTheBoundsAtOne) {
    std::mt19937_64 random(18); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    int refusedByBoth = 0;
    int compared = 0;
    for (const View& view : manyViews()) {
        const Seen<SearchRules> seen(view);
        const auto other = seen.screen.focal(view.focalPx * uniform(random, 1.0, 2.0));
        if (!seen.isNear() || !seen.screen.isNear(seen.cell, other)) {
            continue;
        }
        ++compared;
        const auto between = seen.screen.focal(uniform(random, seen.focal.px, other.px));
        const auto edges = [&](const RealScreen::Focal& f) {
            return seen.screen.edges(seen.row, seen.cell, f);
        };
        EXPECT_LE(RealScreen::cosines(edges(seen.focal), edges(other)).value(),
                  RealScreen::cosines(edges(between)).value() + 1e-9);
        for (const double limit : {0.001, 0.01, 0.1, 0.5}) {
            if (RealScreen::notParallel(seen.cell, seen.focal, other, limit)) {
                ++refusedByBoth;
                EXPECT_TRUE(RealScreen::notParallel(seen.cell, between, limit * (1.0 - 1e-12)));
            }
        }
    }
    EXPECT_GT(compared, 5000);
    EXPECT_GT(refusedByBoth, 5000);
}

TEST(Bounds, AlongChordsNeverExceedTheCosinesOnThem) {
    // Edges that turn far: their dot products may be closer to 0 on the way than at both ends.
    using Edges = RealScreen::Edges;
    std::mt19937_64 random(19); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    const auto edges = [](const Four& x, const Four& y) {
        return Edges{x, y, sqrt4(x * x + y * y)};
    };
    const auto anyFour = [&](double from, double to) {
        const double a = uniform(random, from, to);
        const double b = uniform(random, from, to);
        const double c = uniform(random, from, to);
        return four(a, b, c, uniform(random, from, to));
    };
    int aboveZero = 0;
    for (int i = 0; i < 2000; ++i) {
        // The dot products are y squared less something, or the other way round.
        const Four alternating = four(1.0, -1.0, 1.0, -1.0);
        const Four alike = four(1.0, 1.0, 1.0, 1.0);
        const Four xSigns = i % 2 == 0 ? alternating : alike;
        const Four ySigns = i % 2 == 0 ? alike : alternating;
        const double last = uniform(random, -1.0, 1.0);
        const Edges e = edges(xSigns * anyFour(0.1, 0.5), ySigns * anyFour(0.7, 1.0));
        const Edges f = edges(xSigns * anyFour(0.1, 0.5), last * ySigns * anyFour(0.7, 1.0));
        const double bound = RealScreen::cosines(e, f).value();
        aboveZero += bound > 0.0 ? 1 : 0;
        for (double t = 0.0; t <= 1.0; t += 0.0625) {
            const Edges on = edges((1.0 - t) * e.x + t * f.x, (1.0 - t) * e.y + t * f.y);
            EXPECT_LE(bound, RealScreen::cosines(on).value() + 1e-12);
        }
    }
    EXPECT_GT(aboveZero, 500);
}

TEST(Bounds, AlongChordsTakeTheSmallestCoefficient) {
    // All four dot products go from 1.25 by way of 1 to 1.25 or their negatives; the coefficient
    // between is 0.75. Then from 1.25 to -1.25.
    const double s = 0.5;
    const Four same = four(1.0, 1.0, 1.0, 1.0);
    const Four inTurn = four(1.0, -1.0, 1.0, -1.0);
    const auto edges = [](const Four& x, const Four& y) {
        return RealScreen::Edges{x, y, sqrt4(x * x + y * y)};
    };
    for (const Four& signs : {same, inTurn}) {
        const double value =
            RealScreen::cosines(edges(signs, s * signs), edges(signs, -s * signs)).value();
        EXPECT_NEAR(value, 4.0 * 0.75 / 1.25, 1e-12);
    }
    EXPECT_EQ(RealScreen::cosines(edges(same, s * same), edges(inTurn, s * inTurn)).value(), 0.0);
}

TEST(Bounds, OfTheRollNeverExceedTheError) {
    double worst = 0.0;
    int compared = 0;
    for (const View& view : manyViews()) {
        if (!Seen<SearchRules>(view).isNear()) {
            continue;
        }
        ++compared;
        const Lens lens = lensOf(view);
        const RollScreen<SearchRules> screen(
            ProjectCorners(view.quad, rayRotation(view.pitchDeg, view.yawDeg, 0.0), lens),
            view.focalPx);
        EXPECT_EQ(screen.margin(), view.focalPx * 1e-9);
        for (const double roll : {-60.0, -7.5, 0.0, 33.25}) {
            const double value = screen.value(roundedSineCosine(-roll * pi / 180.0));
            const double error = AxisAlignmentError(
                projectOntoCentroid(view.quad, PolygonCentroid(view.quad.corners),
                                    rayRotation(view.pitchDeg, view.yawDeg, roll), lens));
            worst = std::max(worst, std::abs(value - error) / view.focalPx);
        }
    }
    EXPECT_GT(compared, 5000);
    EXPECT_LT(worst, 1e-11); // the proven 4.7e-11 is a worst case
}

TEST(Bounds, OfTheRollAreTakenAtTheAnglesOfTheScan) {
    double worst = 0.0;
    for (const auto& [step, reach] : {std::pair(5.0, 60.0), {0.5, 5.0}, {double{0.05f}, 0.5}}) {
        for (double middle = step == 5.0 ? 0.0 : -65.0; middle <= 65.0; middle += 0.35) {
            const std::vector<double> rolls =
                converge_detail::steps(middle - reach, middle + reach, step);
            const std::vector<SineCosine> turned = converge_detail::turnedBy(rolls, step);
            ASSERT_EQ(turned.size(), rolls.size());
            for (std::size_t i = 0; i < rolls.size(); ++i) {
                const SineCosine angle = roundedSineCosine(-rolls[i] * pi / 180.0);
                worst = std::max({worst, std::abs(turned[i].sine - angle.sine),
                                  std::abs(turned[i].cosine - angle.cosine)});
            }
        }
    }
    EXPECT_LT(worst, 2e-14);
}

} // namespace
