// Two numbers as the compiler's vector and written out give the same bits.
#include "geometry/four.h"
#include "tests/geometry/trig_inputs.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

using namespace tarvix;
using namespace tarvix::test;

std::vector<double> values() {
    const double infinity = std::numeric_limits<double>::infinity();
    std::vector<double> all = {0.0,    -0.0,     1.0,       -1.0,   5e-324,  -5e-324, 1e308,
                               -1e308, infinity, -infinity, 1e-160, 0x1p-53, 1e200};
    std::mt19937_64 random(23); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    for (int i = 0; i < 30; ++i) {
        all.push_back(uniform(random, -2.0, 2.0));
    }
    all.push_back(std::numeric_limits<double>::quiet_NaN());
    return all;
}

// Whatever is not a number is one value: its sign and payload say nothing.
std::uint64_t bits(double value) {
    return std::isnan(value) ? 1 : std::bit_cast<std::uint64_t>(value);
}

template <class A, class B>
void expectSame(const A& vector, const B& plain) {
    EXPECT_EQ(bits(vector[0]), bits(plain[0]));
    EXPECT_EQ(bits(vector[1]), bits(plain[1]));
}

TEST(Two, IsTheSameWrittenOut) {
    for (const double a : values()) {
        for (const double b : values()) {
            const Two vectorA{a, b};
            const Two vectorB{b, 0.75};
            const PlainTwo plainA{a, b};
            const PlainTwo plainB{b, 0.75};
            expectSame(vectorA + vectorB, plainA + plainB);
            expectSame(vectorA - vectorB, plainA - plainB);
            expectSame(vectorA * vectorB, plainA * plainB);
            expectSame(vectorA / vectorB, plainA / plainB);
            expectSame(a * vectorB, a * plainB);
            expectSame(abs2(vectorA), abs2(plainA));
            expectSame(min2(vectorA, vectorB), min2(plainA, plainB));
            expectSame(max2(vectorA, vectorB), max2(plainA, plainB));
        }
    }
}

TEST(Four, KnowsItsNeighbours) {
    const Four a = four(1.0, -2.0, 3.0, -4.0);
    EXPECT_EQ(a[0], 1.0);
    EXPECT_EQ(a[1], -2.0);
    EXPECT_EQ(a[2], 3.0);
    EXPECT_EQ(a[3], -4.0);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(next(a)[i], a[(i + 1) % 4]);
        EXPECT_EQ(abs4(a)[i], std::abs(a[i]));
        EXPECT_EQ(sqrt4(a * a)[i], std::abs(a[i]));
    }
    EXPECT_EQ(smallest(four(1.0, 2.0, 3.0, 4.0)), 1.0);
    EXPECT_EQ(smallest(four(2.0, 1.0, 3.0, 4.0)), 1.0);
    EXPECT_EQ(smallest(four(2.0, 3.0, 1.0, 4.0)), 1.0);
    EXPECT_EQ(smallest(four(2.0, 3.0, 4.0, 1.0)), 1.0);
}

// As std::min and std::max: of equal ones the first, seen by the sign of 0.
TEST(Four, TakesTheFirstOfEqualOnes) {
    const Four plus = four(0.0, 0.0, 0.0, 0.0);
    const Four minus = four(-0.0, -0.0, -0.0, -0.0);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_FALSE(std::signbit(min4(plus, minus)[i]));
        EXPECT_TRUE(std::signbit(min4(minus, plus)[i]));
        EXPECT_FALSE(std::signbit(max4(plus, minus)[i]));
        EXPECT_TRUE(std::signbit(max4(minus, plus)[i]));
    }
    EXPECT_FALSE(std::signbit(smallest(four(0.0, 0.0, -0.0, -0.0))));
    EXPECT_TRUE(std::signbit(smallest(four(-0.0, 0.0, 0.0, 0.0))));
    EXPECT_FALSE(std::signbit(smallest(four(0.0, -0.0, 0.0, -0.0))));
}

} // namespace
