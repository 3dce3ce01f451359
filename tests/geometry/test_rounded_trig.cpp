// The correctly rounded functions, on every system. That they are correctly rounded is tested where
// there is a multiple-precision library (test_rounded_trig_exactly.cpp).
#include "geometry/rounded_trig.h"
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

TEST(RoundedTrig, IsTheCLibrarysBeyondAMillionRadians) {
    // Volatile, or the compiler computes them itself.
    const volatile double someTurns = 3e6;
    const volatile double manyTurns = -1e300;
    EXPECT_EQ(roundedSineCosine(someTurns).sine, std::sin(someTurns));
    EXPECT_EQ(roundedSineCosine(manyTurns).cosine, std::cos(manyTurns));
}

} // namespace
