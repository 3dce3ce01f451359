// The rounded functions, on every system. That they give the nearest double is tested where there
// is a multiple-precision library (test_rounded_trig_exactly.cpp).
#include "geometry/rounded_trig.h"
#include "geometry/rounded_trig_detail.h"
#include "tests/geometry/trig_inputs.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace tarvix;
using namespace tarvix::test;

// Of the values that test_rounded_trig_exactly.cpp compares with the true ones.
constexpr std::uint64_t sineCosineDigest = 4455914092847429512U;
constexpr std::uint64_t arcCosineDigest = 17054937916396229105U;

TEST(RoundedTrig, GivesTheSameBitsOnEverySystem) {
    Digest sineCosines;
    for (const double angle : someAngles(1, 200000)) {
        const SineCosine value = roundedSineCosine(angle);
        sineCosines.add(value.sine);
        sineCosines.add(value.cosine);
    }
    EXPECT_EQ(sineCosines.value(), sineCosineDigest);
    Digest arcCosines;
    for (const double cosine : someCosines(2, 200000)) {
        arcCosines.add(roundedArcCosine(cosine));
    }
    EXPECT_EQ(arcCosines.value(), arcCosineDigest);
}

TEST(RoundedTrig, KeepsTheSignOfZero) {
    EXPECT_FALSE(std::signbit(roundedSineCosine(0.0).sine));
    EXPECT_TRUE(std::signbit(roundedSineCosine(-0.0).sine));
    EXPECT_EQ(roundedSineCosine(-0.0).cosine, 1.0);
    EXPECT_TRUE(std::signbit(roundedSineCosine(-0.0F).sine));
}

TEST(RoundedTrig, GivesWholeTurnsAndTheEndsOfTheArcCosine) {
    EXPECT_EQ(roundedArcCosine(1.0), 0.0);
    EXPECT_EQ(roundedArcCosine(-1.0), pi);
    EXPECT_EQ(roundedArcCosine(0.0), pi / 2.0);
    EXPECT_EQ(roundedArcCosine(-0.0), pi / 2.0);
    EXPECT_EQ(roundedSineCosine(pi / 2.0).sine, 1.0);
    EXPECT_EQ(roundedSineCosine(pi / 2.0).cosine, 0x1.1a62633145c07p-54);
}

TEST(RoundedTrig, IsNotANumberWhereThereIsNone) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double angle : {infinity, -infinity, nan}) {
        EXPECT_TRUE(std::isnan(roundedSineCosine(angle).sine));
        EXPECT_TRUE(std::isnan(roundedSineCosine(angle).cosine));
        EXPECT_TRUE(std::isnan(roundedArcCosine(angle)));
    }
    EXPECT_TRUE(std::isnan(roundedArcCosine(std::nextafter(1.0, 2.0))));
    EXPECT_TRUE(std::isnan(roundedArcCosine(std::nextafter(-1.0, -2.0))));
}

// Many angles: that the library is asked shows only where it does not give the nearest double.
TEST(RoundedTrig, IsTheCLibrarysBeyondAMillionRadians) {
    std::mt19937_64 random(8); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    for (int i = 0; i < 200000; ++i) {
        const double angle = i == 0 ? -1e300 : uniform(random, 1e6, 2e6);
        EXPECT_EQ(roundedSineCosine(angle).sine, std::sin(angle)) << std::hexfloat << angle;
        EXPECT_EQ(roundedSineCosine(angle).cosine, std::cos(angle)) << std::hexfloat << angle;
    }
}

// The true angles are within 2^-107 of the middle between these and the next doubles towards 0.
TEST(RoundedTrig, IsTheOtherNeighbourOfThreeKnownArcCosines) {
    EXPECT_EQ(roundedArcCosine(0x1.53ea6c7255e88p-4), 0x1.7cdacb6bbe708p+0);
    EXPECT_EQ(roundedArcCosine(-0x1.52f06359672cdp-2), 0x1.e87ccc94ba418p+0);
    EXPECT_EQ(roundedArcCosine(0x1.4182199998587p-1), 0x1.c8a538ae83d20p-1);
}

// 2^-53 is half the distance of 1 from the next double, 2^-54 that from the one before.
TEST(RoundedTrig, AValueIsKnownIfItsErrorDoesNotReachTheMiddleOfTwoDoubles) {
    const double error = 0x1p-60;
    struct {
        double low, result;
        bool isKnown;
    } const cases[] = {{0x1p-53 - 0x1p-59, 1.0, true},
                       {0x1p-53 - 0x1p-61, 1.0, false},
                       {0x1p-53 + 0x1p-61, 1.0, false},
                       {0x1p-53 + 0x1p-59, 1.0 + 0x1p-52, true},
                       {-0x1p-54 + 0x1p-59, 1.0, true},
                       {-0x1p-54 + 0x1p-61, 1.0 - 0x1p-53, false},
                       {-0x1p-54 - 0x1p-61, 1.0 - 0x1p-53, false},
                       {-0x1p-54 - 0x1p-59, 1.0 - 0x1p-53, true}};
    for (const auto& c : cases) {
        double result = 0.0;
        EXPECT_EQ(rounded_trig::roundsTo(result, {{1.0, c.low}, error}), c.isKnown) << c.low;
        EXPECT_EQ(result, c.result) << c.low;
    }
}

TEST(RoundedTrig, AValueIsKnownIfItsErrorDoesNotReachTheMiddleOfTwoFloats) {
    const double middle = 1.0 + 0x1p-24;
    struct {
        double off;
        float result;
        bool isKnown;
    } const cases[] = {{-0x1.8p-42, 1.0F, true},
                       {-0x1.8p-43, 1.0F, false},
                       {0x1.8p-43, 1.0F, false},
                       {0x1.8p-42, 1.0F + 0x1p-23F, true}};
    for (const auto& c : cases) {
        float result = 0.0F;
        EXPECT_EQ(rounded_trig::roundsTo(result, middle * (1.0 + c.off)), c.isKnown) << c.off;
        EXPECT_EQ(result, c.result) << c.off;
    }
}

} // namespace
