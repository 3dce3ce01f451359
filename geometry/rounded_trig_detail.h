// The two roads of each function in geometry/rounded_trig.h: a quick one whose error has a bound,
// and an accurate one in double-double. Both add a small angle, by its series, to one of a table.
#pragma once

#include "double_double.h"
#include "rounded_trig_table.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace tarvix::rounded_trig {

// A value, its low part not normalised, and what it is off by at most.
struct Bounded {
    DoubleDouble value;
    double error;
};

// Whether all numbers within the error of the value round to one double, the result. If they do not
// (one sine in 4,000, one arc cosine in 3,000), the accurate road decides.
inline bool roundsTo(double& result, const Bounded& a) {
    result = a.value.high + (a.value.low - a.error);
    return result == a.value.high + (a.value.low + a.error);
}

// The same for single precision. The value is at least 2^-7, or the error is relative to it.
inline bool roundsTo(float& result, double value) {
    result = static_cast<float>(value * (1.0 - 0x1p-42));
    return result == static_cast<float>(value * (1.0 + 0x1p-42));
}

template <class T>
struct Pair {
    T sine;
    T cosine;
};

// a + b or, if that is no double, the one of its two neighbours whose last bit is 1. Rounded once
// more, to at least two bits fewer, it gives what a + b gives. The rule is Boldo's and Melquiond's.
inline double roundedToOdd(double a, double b) {
    const DoubleDouble sum = exactSum(a, b);
    const bool isEven = (std::bit_cast<std::uint64_t>(sum.high) & 1) == 0;
    if (sum.low == 0.0 || !isEven) {
        return sum.high;
    }
    const double infinity = std::numeric_limits<double>::infinity();
    return std::nextafter(sum.high, sum.low > 0.0 ? infinity : -infinity);
}

// The double nearest to a + b + rest, also if the sum is close to the middle between two doubles.
// The two must not nearly cancel, and the rest must be so small that it only decides such cases.
inline double nearestOfSum(const DoubleDouble& a, const DoubleDouble& b, double rest) {
    const DoubleDouble high = exactSum(a.high, b.high);
    const DoubleDouble low = exactSum(a.low, b.low);
    const DoubleDouble middle = exactSum(high.low, low.high);
    const DoubleDouble sum = orderedSum(high.high, middle.high);
    return sum.high + roundedToOdd(sum.low, middle.low + (low.low + rest));
}

// The table's entry next to an angle that is not negative.
inline int nearestStep(double angle) {
    const double steps = angle * stepsPerRadian;
    const int below = static_cast<int>(steps);
    return steps - below < 0.5 ? below : below + 1;
}

// Sine and cosine of k/64 + rest, |rest| <= 1/128, where `at` is the table's entry k.
//
// The cosine of the rest, less 1, is -2^-15 at most. As a double it is off by 3 * 2^-53 of that,
// and the terms of its size are rounded five more times: below 2^-64 in all. At k = 0 the sine has
// none of them; what is left is relative to the rest.
inline Pair<Bounded> quickSineCosine(const TableEntry& at, const DoubleDouble& rest) {
    const double r = rest.high;
    const double rr = r * r;
    const double sineLessRest =
        rest.low + r * rr * (-1.0 / 6.0 + rr * (1.0 / 120.0 - rr * (1.0 / 5040.0)));
    const double cosineLess1 = rr * (-0.5 + rr * (1.0 / 24.0 - rr * (1.0 / 720.0)));
    const DoubleDouble cr = exactProduct(at.cosine.high, r);
    const DoubleDouble sr = exactProduct(at.sine.high, r);
    const DoubleDouble s = orderedSum(at.sine.high, cr.high);
    const DoubleDouble c = orderedSum(at.cosine.high, -sr.high);
    const double sLow = at.sine.low + at.cosine.low * r + at.cosine.high * sineLessRest +
                        at.sine.high * cosineLess1;
    const double cLow = at.cosine.low - at.sine.low * r - at.sine.high * sineLessRest +
                        at.cosine.high * cosineLess1;
    return {
        {{s.high, s.low + (cr.low + sLow)}, at.sine.high == 0.0 ? 0x1p-66 * std::abs(r) : 0x1p-64},
        {{c.high, c.low + (cLow - sr.low)}, 0x1p-64}};
}

// The same in double precision alone, for single-precision results: off by less than 2^-49, at k =
// 0 the sine by less than 2^-49 of itself.
inline Pair<double> singleSineCosine(const TableEntry& at, double r) {
    const double rr = r * r;
    const double sine = r + r * rr * (-1.0 / 6.0 + rr * (1.0 / 120.0));
    const double cosineLess1 = rr * (-0.5 + rr * (1.0 / 24.0));
    return {at.sine.high + (at.cosine.high * sine + at.sine.high * cosineLess1),
            at.cosine.high + (at.cosine.high * cosineLess1 - at.sine.high * sine)};
}

// a[0] + x a[1] + x^2 a[2] + ...
template <std::size_t N>
DoubleDouble polynomial(const DoubleDouble (&a)[N], const DoubleDouble& x) {
    DoubleDouble sum = a[N - 1];
    for (std::size_t i = N - 1; i > 0; --i) {
        sum = sum * x + a[i - 1];
    }
    return sum;
}

// By how much they exceed the table's, off by less than 2^-104 and, at k = 0, by less than 2^-100
// of the difference. The first terms left out are r^13 / 13! and r^14 / 14!.
inline Pair<DoubleDouble> accurateDifference(const TableEntry& at, const DoubleDouble& rest) {
    const DoubleDouble sineTerms[] = {{1.0},
                                      ratio(-1.0, 6.0),
                                      ratio(1.0, 120.0),
                                      ratio(-1.0, 5040.0),
                                      ratio(1.0, 362880.0),
                                      ratio(-1.0, 39916800.0)};
    const DoubleDouble cosineTerms[] = {{-0.5},
                                        ratio(1.0, 24.0),
                                        ratio(-1.0, 720.0),
                                        ratio(1.0, 40320.0),
                                        ratio(-1.0, 3628800.0),
                                        ratio(1.0, 479001600.0)};
    const DoubleDouble square = rest * rest;
    const DoubleDouble s = rest * polynomial(sineTerms, square);
    const DoubleDouble less1 = square * polynomial(cosineTerms, square);
    return {at.cosine * s + at.sine * less1, at.cosine * less1 - at.sine * s};
}

// The legs of a triangle whose longest side is 1, the smaller one up to 0.72. The angle opposite to
// it is k/64 + asin x with x = smaller * cos(k/64) - larger * sin(k/64).
struct Legs {
    DoubleDouble smaller;
    DoubleDouble larger;
};

// A k that makes |x| less than 1/80.
inline int nearbySteps(const Legs& legs) {
    const double s = legs.smaller.high;
    const double ss = s * s;
    return nearestStep(s * (1.0 + ss * (1.0 / 6.0 + ss * 0.11))); // asin s, off by less than 1/900
}

// The angle. asin x - x is below 2^-21; as a double it is off by 2^-72. It is taken at the high
// part of x, which leaves out x^2 / 2 of the low part, 2^-67. At k = 0 both are relative to x.
inline Bounded quickAngle(const Legs& legs, int k) {
    const TableEntry& at = table[k];
    const DoubleDouble sc = exactProduct(legs.smaller.high, at.cosine.high);
    const DoubleDouble ls = exactProduct(legs.larger.high, at.sine.high);
    const DoubleDouble x = exactSum(sc.high, -ls.high);
    const double xLow =
        x.low + ((sc.low - ls.low) +
                 ((legs.smaller.high * at.cosine.low + legs.smaller.low * at.cosine.high) -
                  (legs.larger.high * at.sine.low + legs.larger.low * at.sine.high)));
    const double xx = x.high * x.high;
    const double less =
        x.high * xx * (1.0 / 6.0 + xx * (3.0 / 40.0 + xx * (5.0 / 112.0 + xx * (35.0 / 1152.0))));
    const DoubleDouble angle = orderedSum(k / stepsPerRadian, x.high);
    return {{angle.high, angle.low + (xLow + less)}, k == 0 ? 0x1p-65 * x.high : 0x1p-65};
}

// The same, off by less than 2^-98 of itself. The first term left out is x^17 * 6435 / 557056.
inline DoubleDouble accurateAngle(const Legs& legs, int k) {
    const DoubleDouble terms[] = {{1.0},
                                  ratio(1.0, 6.0),
                                  ratio(3.0, 40.0),
                                  ratio(5.0, 112.0),
                                  ratio(35.0, 1152.0),
                                  ratio(63.0, 2816.0),
                                  ratio(231.0, 13312.0),
                                  ratio(143.0, 10240.0)};
    const DoubleDouble x = legs.smaller * table[k].cosine - legs.larger * table[k].sine;
    return DoubleDouble{k / stepsPerRadian} + x * polynomial(terms, x * x);
}

} // namespace tarvix::rounded_trig
