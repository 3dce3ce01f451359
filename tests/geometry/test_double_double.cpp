// Sums and products as two doubles: what is exact, and the error of what is not.
#include "geometry/double_double.h"
#include "tests/geometry/trig_inputs.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tarvix;
using namespace tarvix::test;

class DoubleDoubles : public testing::Test {
protected:
    std::mt19937_64 random{9}; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run

    double any() {
        const int power = static_cast<int>(random() % 80) - 40;
        return std::ldexp(uniform(random, -2.0, 2.0), power);
    }
};

// As orderedSum, which needs the larger one first and fewer operations.
TEST_F(DoubleDoubles, SumsAreExactInEitherOrder) {
    for (int i = 0; i < 100000; ++i) {
        double a = any();
        double b = any();
        const DoubleDouble oneWay = exactSum(a, b);
        const DoubleDouble otherWay = exactSum(b, a);
        if (std::abs(a) < std::abs(b)) {
            std::swap(a, b);
        }
        const DoubleDouble ordered = orderedSum(a, b);
        for (const DoubleDouble& sum : {oneWay, otherWay}) {
            EXPECT_EQ(sum.high, ordered.high);
            EXPECT_EQ(sum.low, ordered.low);
        }
    }
}

TEST_F(DoubleDoubles, WhatCancelsLeavesAnExactRest) {
    const DoubleDouble rest = DoubleDouble{1.0, 0x1p-55} + DoubleDouble{-1.0, 0x1p-108};
    EXPECT_EQ(rest.high, 0x1p-55);
    EXPECT_EQ(rest.low, 0x1p-108);
    const DoubleDouble less = DoubleDouble{1.0, 0x1p-55} - DoubleDouble{1.0, 0x1p-109};
    EXPECT_EQ(less.high, 0x1p-55);
    EXPECT_EQ(less.low, -0x1p-109);
}

TEST_F(DoubleDoubles, RatiosGiveBackTheirNumerator) {
    for (double a = -30.0; a <= 30.0; ++a) {
        for (double b = 1.0; b < 60.0; ++b) {
            const DoubleDouble back = ratio(a, b) * DoubleDouble{b};
            EXPECT_LE(std::abs((back.high - a) + back.low), 0x1p-100 * std::abs(a))
                << a << '/' << b;
        }
    }
}

TEST_F(DoubleDoubles, RootsGiveBackTheirSquare) {
    EXPECT_EQ(squareRoot({}).high, 0.0);
    EXPECT_EQ(squareRoot({}).low, 0.0);
    for (int i = 0; i < 20000; ++i) {
        const double high = std::abs(any());
        const DoubleDouble a = orderedSum(high, high * uniform(random, -0x1p-54, 0x1p-54));
        const DoubleDouble root = squareRoot(a);
        const DoubleDouble off = root * root - a;
        EXPECT_LE(std::abs(off.high), 0x1p-99 * high) << std::hexfloat << high;
    }
}

} // namespace
