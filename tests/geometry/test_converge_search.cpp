// The fast search against the plain scan, bit for bit; what is on purpose in its results; and wrong
// rules, which must show. The bounds have tests of their own in test_converge_bounds.cpp.
#include "geometry/converge_scan.h"
#include "geometry/converge_search.h"
#include "tests/geometry/literal_scan.h"
#include "tests/geometry/quad_cases.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace {

using namespace tarvix;
using namespace tarvix::test;
using converge_detail::PoseSearch;
using converge_detail::SearchRules;

std::array<std::uint64_t, 4> bits(const Pose& p) {
    return {std::bit_cast<std::uint64_t>(p.pitchDeg), std::bit_cast<std::uint64_t>(p.yawDeg),
            std::bit_cast<std::uint64_t>(p.rollDeg), std::bit_cast<std::uint64_t>(p.focalMm)};
}

std::string text(const Pose& p) {
    return std::to_string(p.pitchDeg) + " " + std::to_string(p.yawDeg) + " " +
           std::to_string(p.rollDeg) + " " + std::to_string(p.focalMm);
}

MarkedQuad rectangle(cv::Size image, double halfWidth, double halfHeight) {
    const cv::Point2d c(image.width * 0.5, image.height * 0.5);
    return {image,
            {cv::Point2d(c.x - halfWidth, c.y - halfHeight),
             cv::Point2d(c.x + halfWidth, c.y - halfHeight),
             cv::Point2d(c.x + halfWidth, c.y + halfHeight),
             cv::Point2d(c.x - halfWidth, c.y + halfHeight)}};
}

TEST(LiteralScan, CountsItsEvaluations) {
    long count = 0;
    const MarkedQuad quad = rectangle({1000, 800}, 200, 150);
    literalScan(quad, 0.0, &count);
    EXPECT_EQ(count, 24202); // 6875 + 25 + 9261 + 21 + 8000 + 20: 0.05f takes 20 steps, not 21
    literalScan(quad, 35.0, &count);
    EXPECT_EQ(count, 625 + 25 + 441 + 21 + 400 + 20);
}

TEST(Search, EqualsThePlainScanToTheBit) {
    int differences = 0;
    for (const QuadCase& c : hostileCases(2024, 2400)) {
        const Pose fast = findPose(c.quad, c.focalMm);
        const Pose plain = literalScan(c.quad, c.focalMm);
        if (bits(fast) != bits(plain) && ++differences < 10) {
            ADD_FAILURE() << c.name << " in " << c.quad.image << ", focal " << c.focalMm << ": "
                          << text(fast) << " instead of " << text(plain);
        }
    }
    EXPECT_EQ(differences, 0);
}

TEST(Search, EqualsThePlainScanForFacades) {
    std::mt19937_64 random(11); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    for (int i = 0; i < 150; ++i) {
        const MarkedQuad quad = randomFacade(random);
        for (const double focal : {0.0, 24.0, 35.0}) {
            EXPECT_EQ(bits(findPose(quad, focal)), bits(literalScan(quad, focal))) << i;
        }
    }
}

// What is on purpose.

TEST(Search, TheStep005fMissesZero) {
    const Pose pose = findPose(rectangle({1200, 900}, 300, 200), 35.0);
    for (const double angle : {pose.pitchDeg, pose.yawDeg, pose.rollDeg}) {
        EXPECT_NEAR(std::abs(angle), 7.45e-9, 0.01e-9); // -0.5 + 10 * 0.05f
    }
    EXPECT_EQ(pose.focalMm, 35.0);
}

TEST(Search, AFaceOnRectangleWithUnknownFocalTakesTheFirstCandidates) {
    // The error is 0 for every focal length: 1, then 1 - 5, then -4 - 0.5.
    EXPECT_EQ(findPose(rectangle({1200, 900}, 300, 200), 0.0).focalMm, -4.5);
}

TEST(Search, FineStagesMayTryZeroAndNegativeFocalLengths) {
    // Seen from so close that the coarse scan ends at its lowest focal length.
    SimulatedView view;
    view.image = {1200, 900};
    view.pitchDeg = 20;
    view.yawDeg = -15;
    view.focalMm = 0.5;
    view.width = 0.5;
    view.height = 0.4;
    MarkedQuad quad = photograph(view);
    const Pose pose = findPose(quad, 0.0);
    EXPECT_EQ(bits(pose), bits(literalScan(quad, 0.0)));
    EXPECT_LT(pose.focalMm, 1.0);
}

TEST(Search, BelowOnePixelOfFocalLengthTheAnglesStay) {
    const MarkedQuad quad{{30, 20}, {cv::Point2d(3, 4), {25, 2}, {27, 18}, {5, 15}}};
    for (const double focal : {1.0, -1.0, 0.01, 5e-324}) {
        EXPECT_EQ(bits(findPose(quad, focal)), bits(Pose{0, 0, 0, focal}));
    }
    EXPECT_NE(findPose(quad, 1.3).pitchDeg, 0.0); // 1.08 pixels
}

TEST(Search, WhatCannotBeMeasuredKeepsTheStartingValues) {
    const MarkedQuad line{{640, 480}, {cv::Point2d(10, 10), {20, 20}, {30, 30}, {40, 40}}};
    EXPECT_EQ(bits(findPose(line, 0.0)), bits(Pose{}));
    EXPECT_EQ(bits(findPose(line, 28.0)), bits(Pose{0, 0, 0, 28.0}));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(findPose(rectangle({640, 480}, 99, 88), nan).focalMm));
}

// A rectangle that lies on its side, so that no roll of the stage makes it upright: half of its
// perimeter is the least error.
TEST(Search, RollsWithErrorsFrom1e10OnAreNotTaken) {
    const auto rollOf = [](double halfSide) {
        MarkedQuad quad = rectangle({3600, 2400}, halfSide, halfSide);
        std::rotate(quad.corners.begin(), quad.corners.begin() + 1, quad.corners.end());
        const double focal = 2.2e7; // 2.2e9 pixels
        const Pose pose = findPose(quad, focal);
        EXPECT_EQ(bits(pose), bits(literalScan(quad, focal)));
        return pose.rollDeg;
    };
    EXPECT_EQ(rollOf(4e9), 0.0); // 1.6e10 pixels, less what the scale of an int loses
    EXPECT_NE(rollOf(2e9), 0.0);
}

TEST(Search, MinusZeroIsUnknownToo) {
    std::mt19937_64 random(3); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    const MarkedQuad quad = randomFacade(random);
    EXPECT_EQ(bits(findPose(quad, -0.0)), bits(findPose(quad, 0.0)));
}

// Wrong rules, which the comparison with the plain scan must notice.

struct Expected {
    QuadCase given;
    Pose pose; // of the plain scan
};

const std::vector<Expected>& mutantCases() {
    static const std::vector<Expected> cases = [] {
        std::vector<QuadCase> given = hostileCases(5, 320);
        for (const double size : {100.0, 150.0}) {
            given.push_back({"wide", rectangle({1200, 900}, 3 * size, size), 35.0});
            given.push_back({"square", rectangle({1200, 900}, size, size), 0.0});
        }
        std::vector<Expected> expected;
        for (const QuadCase& c : given) {
            expected.push_back({c, literalScan(c.quad, c.focalMm)});
        }
        return expected;
    }();
    return cases;
}

template <class Rules>
int differencesWith() {
    int differences = 0;
    for (const Expected& e : mutantCases()) {
        const Pose pose = PoseSearch<Rules>(e.given.quad, e.given.focalMm).run();
        differences += bits(pose) != bits(e.pose) ? 1 : 0;
    }
    return differences;
}

struct NegativeExactMargin : SearchRules {
    static constexpr double exactMargin = -1e-2;
};
struct NegativeNearMargin : SearchRules {
    static constexpr double nearMargin = -1e-2;
};
struct NegativeFarMargin : SearchRules {
    static constexpr double farMargin = -1.0;
};
struct NegativeRollMargin : SearchRules {
    static constexpr double rollMargin = -1e-3;
};
struct NoMargins : SearchRules {
    static constexpr double exactMargin = 0.0;
    static constexpr double nearMargin = 0.0;
    static constexpr double farMargin = 0.0;
    static constexpr double rollMargin = 0.0;
};
struct LessOrEqual : SearchRules {
    static constexpr bool lastOfEqualsWins = true;
};

TEST(Mutants, TheRightRulesMakeNoDifference) {
    EXPECT_EQ(differencesWith<SearchRules>(), 0);
}
TEST(Mutants, ANegativeMarginOfTheExactBoundShows) {
    EXPECT_GT(differencesWith<NegativeExactMargin>(), 0);
}
TEST(Mutants, ANegativeMarginOfNearCandidatesShows) {
    EXPECT_GT(differencesWith<NegativeNearMargin>(), 0);
}
TEST(Mutants, ANegativeMarginOfFarCandidatesShows) {
    EXPECT_GT(differencesWith<NegativeFarMargin>(), 0);
}
TEST(Mutants, ANegativeMarginOfTheRollShows) {
    EXPECT_GT(differencesWith<NegativeRollMargin>(), 0);
}
TEST(Mutants, NoMarginsShow) {
    EXPECT_GT(differencesWith<NoMargins>(), 0);
}
TEST(Mutants, LessOrEqualShows) {
    EXPECT_GT(differencesWith<LessOrEqual>(), 0);
}

} // namespace
