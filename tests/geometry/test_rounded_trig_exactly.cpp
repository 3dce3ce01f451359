// The rounded functions against a multiple-precision library, and the bounds that their
// two roads claim.
#include "geometry/rounded_trig.h"
#include "geometry/rounded_trig_detail.h"
#include "tests/geometry/trig_inputs.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <mpfr.h>
#include <set>
#include <string>

namespace {

using namespace tarvix;
using namespace tarvix::rounded_trig;
using namespace tarvix::test;

// A number of many bits.
class Number {
public:
    explicit Number(int bits = 200) { mpfr_init2(m_value, bits); }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;
    ~Number() { mpfr_clear(m_value); }
    mpfr_ptr get() { return m_value; }
    double nearest() const { return mpfr_get_d(m_value, MPFR_RNDN); }
    float nearestFloat() const { return mpfr_get_flt(m_value, MPFR_RNDN); }

    // Of one double, to all bits of this number.
    template <class Function>
    Number& set(const Function& function, double x) {
        Number argument(53);
        mpfr_set_d(argument.get(), x, MPFR_RNDN);
        function(m_value, argument.get(), MPFR_RNDN);
        return *this;
    }

    // What this exceeds a sum by.
    double excessOver(const DoubleDouble& a, const DoubleDouble& b = {}) {
        Number rest;
        mpfr_sub_d(rest.get(), m_value, a.high, MPFR_RNDN);
        for (const double part : {a.low, b.high, b.low}) {
            mpfr_sub_d(rest.get(), rest.get(), part, MPFR_RNDN);
        }
        return rest.nearest();
    }

private:
    mpfr_t m_value;
};

// The true value rounded once.
double trueSine(double x) {
    return Number(53).set(mpfr_sin, x).nearest();
}
double trueCosine(double x) {
    return Number(53).set(mpfr_cos, x).nearest();
}
double trueArcCosine(double x) {
    return Number(53).set(mpfr_acos, x).nearest();
}

void expectRounded(double angle) {
    const SineCosine value = roundedSineCosine(angle);
    EXPECT_EQ(value.sine, trueSine(angle)) << std::hexfloat << angle;
    EXPECT_EQ(value.cosine, trueCosine(angle)) << std::hexfloat << angle;
}

void expectRounded(float angle) {
    const SineCosineF value = roundedSineCosine(angle);
    EXPECT_EQ(value.sine, Number(24).set(mpfr_sin, angle).nearestFloat()) << std::hexfloat << angle;
    EXPECT_EQ(value.cosine, Number(24).set(mpfr_cos, angle).nearestFloat())
        << std::hexfloat << angle;
}

TEST(RoundedTrig, TheTableHasTheNearestDoubles) {
    int k = 0;
    for (const TableEntry& at : table) {
        Number sine;
        Number cosine;
        sine.set(mpfr_sin, k / stepsPerRadian);
        cosine.set(mpfr_cos, k / stepsPerRadian);
        EXPECT_EQ(at.sine.high, sine.nearest()) << k;
        EXPECT_EQ(at.sine.low, sine.excessOver({at.sine.high})) << k;
        EXPECT_EQ(at.cosine.high, cosine.nearest()) << k;
        EXPECT_EQ(at.cosine.low, cosine.excessOver({at.cosine.high})) << k;
        ++k;
    }
    EXPECT_EQ(k, 81);
}

TEST(RoundedTrig, IsRoundedForEveryAngleThatTheSearchCanVisit) {
    // The values of stages 1, 3 and 5, each about those of the stage before.
    std::set<double> degrees;
    for (int i = -60; i <= 60; i += 5) {
        const double coarse = i;
        degrees.insert(coarse);
        for (double middle = coarse - 5.0; middle <= coarse + 5.0; middle += 0.5) {
            degrees.insert(middle);
            for (double fine = middle - 0.5; fine <= middle + 0.5; fine += 0.05f) {
                degrees.insert(fine);
            }
        }
    }
    EXPECT_GT(degrees.size(), 2500U);
    for (const double degree : degrees) {
        for (const double angle : {degree * pi / 180.0, -degree * pi / 180.0}) {
            expectRounded(angle);
            expectRounded(static_cast<float>(angle));
        }
    }
}

TEST(RoundedTrig, IsRoundedForManyAngles) {
    for (const double angle : someAngles(1, 200000)) {
        expectRounded(angle);
    }
}

TEST(RoundedTrig, IsRoundedForManyCosines) {
    for (const double cosine : someCosines(2, 200000)) {
        EXPECT_EQ(roundedArcCosine(cosine), trueArcCosine(cosine)) << std::hexfloat << cosine;
    }
}

// The sine or cosine is so close to the middle between two floats that the quick value gives the
// wrong one.
TEST(RoundedTrig, IsRoundedForFloatsNextToTheMiddle) {
    for (const float angle : {0x1.d12e8cp-12F, 0x1.d12e8ep-12F, 0x1.d12e9p-12F, 0x1.ffff82p-13F,
                              0x1.ffff84p-13F, 0x1.ffff86p-13F}) {
        expectRounded(angle);
        expectRounded(-angle);
    }
}

// The doubles next to that one in both directions.
template <class Expect>
void forNeighbours(double x, int steps, const Expect& expect) {
    double down = x;
    double up = x;
    expect(x);
    for (int i = 0; i < steps; ++i) {
        down = std::nextafter(down, -10.0);
        up = std::nextafter(up, 10.0);
        expect(down);
        expect(up);
    }
}

// The cosine of a small angle is nearly 1 - x^2 / 2, the angle of a small cosine nearly pi/2 - x:
// such values come closer to the middle between two doubles than most.
TEST(RoundedTrig, IsRoundedNextToTheMiddleOfTwoDoubles) {
    std::mt19937_64 random(6); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    Number middle;
    Number inverse;
    for (int i = 0; i < 20000; ++i) {
        const double odd = i < 10000
                               ? 2.0 * i + 1.0
                               : 2.0 * std::floor(std::ldexp(uniform(random, 1.0, 2.0),
                                                             static_cast<int>(random() % 50))) +
                                     1.0;
        mpfr_set_d(middle.get(), 1.0, MPFR_RNDN);
        mpfr_sub_d(middle.get(), middle.get(), odd * 0x1p-54, MPFR_RNDN);
        mpfr_acos(inverse.get(), middle.get(), MPFR_RNDN);
        forNeighbours(inverse.nearest(), 2, [](double angle) { expectRounded(angle); });
    }
    const double known = -0x1.124411a0ec32ep-5; // 2^-109 from a middle
    EXPECT_EQ(roundedArcCosine(known), trueArcCosine(known));
    for (int i = -4; i < 4; ++i) {
        mpfr_const_pi(middle.get(), MPFR_RNDN);
        mpfr_div_2ui(middle.get(), middle.get(), 1, MPFR_RNDN);
        mpfr_sub_d(inverse.get(), middle.get(), middle.nearest(), MPFR_RNDN);
        mpfr_sub_d(inverse.get(), inverse.get(), (2.0 * i + 1.0) * 0x1p-53, MPFR_RNDN);
        forNeighbours(inverse.nearest(), 50, [](double cosine) {
            EXPECT_EQ(roundedArcCosine(cosine), trueArcCosine(cosine)) << std::hexfloat << cosine;
        });
    }
}

TEST(RoundedTrig, ProductsAreExact) {
    std::mt19937_64 random(9); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    for (int i = 0; i < 100000; ++i) {
        const double a = -uniform(random, 1.0, 2.0); // all bits of the fraction
        const double b = 0x1p-40 * uniform(random, 1.0, 2.0);
        Number product;
        mpfr_set_d(product.get(), a, MPFR_RNDN);
        mpfr_mul_d(product.get(), product.get(), b, MPFR_RNDN);
        EXPECT_EQ(product.excessOver(exactProduct(a, b)), 0.0) << std::hexfloat << a << ' ' << b;
    }
}

// Sums on the middle of two doubles and next to it.
TEST(RoundedTrig, SumsAreRoundedOnce) {
    std::mt19937_64 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    const auto oneOf = [&random](std::initializer_list<double> values) {
        return values.begin()[random() % values.size()];
    };
    for (int i = 0; i < 100000; ++i) {
        const double unit = std::ldexp(oneOf({1.0, -1.0}), static_cast<int>(random() % 60) - 30);
        const double high = unit * oneOf({uniform(random, 1.0, 2.0), 1.0, 0.0});
        const DoubleDouble a{
            high, high == 0.0 ? 0.0 : unit * oneOf({0.0, 0x1p-54, -0x1p-54, 0x1.8p-54, -0x1p-80})};
        const double big =
            unit * oneOf({0.0, 0x1p-53, -0x1p-53, 0x1p-54, -0x1p-54, 0x1.1p-5, -0x1p-2});
        const DoubleDouble b{big, unit * oneOf({0.0, 0x1p-107, -0x1p-107, 0x1p-120, -0x1p-140})};
        const double rest = unit * oneOf({0.0, 0x1p-110, -0x1p-110, 0x1p-150});
        Number sum(400);
        mpfr_set_d(sum.get(), a.high, MPFR_RNDN);
        for (const double part : {a.low, b.high, b.low, rest}) {
            mpfr_add_d(sum.get(), sum.get(), part, MPFR_RNDN);
        }
        EXPECT_EQ(nearestOfSum(a, b, rest), sum.nearest())
            << std::hexfloat << a.high << ' ' << a.low << ' ' << b.high << ' ' << b.low << ' '
            << rest;
    }
}

// All of them if TARVIX_EVERY_FLOAT is set, which takes two minutes of processor time.
TEST(RoundedTrig, IsRoundedForFloatsOfTheRangeOfTheSearch) {
    const bool all = std::getenv("TARVIX_EVERY_FLOAT") != nullptr; // NOLINT(concurrency-mt-unsafe)
    const std::uint32_t end = std::bit_cast<std::uint32_t>(1.25F);
    std::uint64_t compared = 0;
    for (std::uint32_t bits = 0; bits <= end; bits += all ? 1 : 10007) {
        const float angle = std::bit_cast<float>(bits);
        // The double is off by less than 2^-52 of itself. So only where it is close to the middle
        // between two floats can the float be wrong.
        const SineCosine exact = roundedSineCosine(static_cast<double>(angle));
        const SineCosineF rounded = roundedSineCosine(angle);
        const auto clear = [](double value, float nearest) {
            return static_cast<float>(value * (1.0 - 0x1p-45)) == nearest &&
                   static_cast<float>(value * (1.0 + 0x1p-45)) == nearest;
        };
        if (!all || !clear(exact.sine, rounded.sine) || !clear(exact.cosine, rounded.cosine)) {
            expectRounded(angle);
            ++compared;
        }
    }
    RecordProperty("compared", std::to_string(compared));
    EXPECT_GT(compared, 100U);
}

// The roads, each by itself. Without the accurate one, hardly a result would be seen to change.

TEST(RoundedTrig, TheRoadsOfSineAndCosineAreAsGoodAsTheyClaim) {
    std::mt19937_64 random(3); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    double closest = 0.0;
    for (int i = 0; i < 40000; ++i) {
        const double angle = i % 4 == 0    ? uniform(random, 0.0, 0.02)
                             : i % 16 == 1 ? std::ldexp(uniform(random, 1.0, 2.0),
                                                        -static_cast<int>(random() % 40) - 8)
                                           : uniform(random, 0.0, 1.25);
        const int k = nearestStep(angle);
        const double low = i % 2 == 0 ? 0.0 : angle * uniform(random, -0x1p-54, 0x1p-54);
        const DoubleDouble rest = exactSum(angle - k / stepsPerRadian, low);
        Number exactly;
        Number sine;
        Number cosine;
        mpfr_set_d(exactly.get(), angle, MPFR_RNDN);
        mpfr_add_d(exactly.get(), exactly.get(), low, MPFR_RNDN);
        mpfr_sin(sine.get(), exactly.get(), MPFR_RNDN);
        mpfr_cos(cosine.get(), exactly.get(), MPFR_RNDN);
        const Pair<Bounded> quick = quickSineCosine(table[k], rest);
        const double offSine = std::abs(sine.excessOver(quick.sine.value)) / quick.sine.error;
        const double offCosine =
            std::abs(cosine.excessOver(quick.cosine.value)) / quick.cosine.error;
        EXPECT_LE(offSine, 1.0) << angle;
        EXPECT_LE(offCosine, 1.0) << angle;
        closest = std::max({closest, offSine, offCosine});
        const Pair<DoubleDouble> more = accurateDifference(table[k], rest);
        EXPECT_LE(std::abs(sine.excessOver(table[k].sine, more.sine)), 0x1p-104) << angle;
        EXPECT_LE(std::abs(cosine.excessOver(table[k].cosine, more.cosine)), 0x1p-104) << angle;
        if (k == 0) {
            EXPECT_LE(std::abs(sine.excessOver(more.sine)), 0x1p-100 * angle) << angle;
            EXPECT_LE(std::abs(cosine.excessOver({1.0}, more.cosine)),
                      0x1p-100 * std::abs(more.cosine.high))
                << angle;
        }
        const Pair<double> single = singleSineCosine(table[k], rest.high);
        EXPECT_LE(std::abs(sine.excessOver({single.sine})), 0x1p-49 * (k == 0 ? angle : 1.0));
        EXPECT_LE(std::abs(cosine.excessOver({single.cosine})), 0x1p-49);
    }
    EXPECT_GT(closest, 0.05); // the claim is not idle
}

TEST(RoundedTrig, TheRoadsOfTheArcCosineAreAsGoodAsTheyClaim) {
    double closest = 0.0;
    for (const double cosine : someCosines(4, 40000)) {
        const double given = std::abs(cosine);
        Number leg;
        mpfr_set_d(leg.get(), given, MPFR_RNDN);
        mpfr_sqr(leg.get(), leg.get(), MPFR_RNDN);
        mpfr_ui_sub(leg.get(), 1, leg.get(), MPFR_RNDN);
        mpfr_sqrt(leg.get(), leg.get(), MPFR_RNDN);
        const double high = leg.nearest();
        const DoubleDouble other{high, leg.excessOver({high})};
        const bool givenIsSmaller = given <= 0.7;
        const Legs legs = givenIsSmaller ? Legs{{given}, other} : Legs{other, {given}};
        Number angle;
        givenIsSmaller ? angle.set(mpfr_asin, given) : angle.set(mpfr_acos, given);
        const auto sineOfRest = [&](int k) {
            return std::abs(std::sin(angle.nearest() - k / stepsPerRadian));
        };
        const int nearby = nearbySteps(legs);
        EXPECT_LT(sineOfRest(nearby), 1.0 / 80.0) << cosine;
        for (int k = std::max(nearby - 1, 0); k <= nearby + 1; ++k) {
            if (sineOfRest(k) >= 1.0 / 80.0) {
                continue;
            }
            const Bounded quick = quickAngle(legs, k);
            const double off = std::abs(angle.excessOver(quick.value));
            EXPECT_LE(off, quick.error) << cosine;
            closest = std::max(closest, quick.error > 0.0 ? off / quick.error : 0.0);
            EXPECT_LE(std::abs(angle.excessOver(accurateAngle(legs, k))), 0x1p-98 * angle.nearest())
                << cosine;
        }
    }
    EXPECT_GT(closest, 0.05);
}

} // namespace
