// The two roads of each function in geometry/rounded_trig.h: a quick one whose error has a bound,
// and an accurate one in double-double. Both add a small angle, by its series, to one of a table.
#pragma once

#include "double_double.h"
#include "rounded_trig_table.h"

#include <cmath>
#include <cstddef>

namespace tarvix::rounded_trig {

// A value, its low part not normalised, and what it is off by at most.
struct Bounded {
    DoubleDouble value;
    double error;
};

template <class T>
struct Pair {
    T sine;
    T cosine;
};

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
    const double cosineLess1 =
        rr * (-0.5 + rr * (1.0 / 24.0 - rr * (1.0 / 720.0 - rr * (1.0 / 40320.0))));
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
    const double sine = r + r * rr * (-1.0 / 6.0 + rr * (1.0 / 120.0 - rr * (1.0 / 5040.0)));
    const double cosineLess1 = rr * (-0.5 + rr * (1.0 / 24.0 - rr * (1.0 / 720.0)));
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

// The same, off by less than 2^-100. The first terms left out are r^15 / 15! and r^16 / 16!.
inline Pair<DoubleDouble> accurateSineCosine(const TableEntry& at, const DoubleDouble& rest) {
    const DoubleDouble sineTerms[] = {{1.0},
                                      ratio(-1.0, 6.0),
                                      ratio(1.0, 120.0),
                                      ratio(-1.0, 5040.0),
                                      ratio(1.0, 362880.0),
                                      ratio(-1.0, 39916800.0),
                                      ratio(1.0, 6227020800.0)};
    const DoubleDouble cosineTerms[] = {{-0.5},
                                        ratio(1.0, 24.0),
                                        ratio(-1.0, 720.0),
                                        ratio(1.0, 40320.0),
                                        ratio(-1.0, 3628800.0),
                                        ratio(1.0, 479001600.0),
                                        ratio(-1.0, 87178291200.0)};
    const DoubleDouble square = rest * rest;
    const DoubleDouble s = rest * polynomial(sineTerms, square);
    const DoubleDouble less1 = square * polynomial(cosineTerms, square);
    return {at.sine + (at.cosine * s + at.sine * less1),
            at.cosine + (at.cosine * less1 - at.sine * s)};
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
    const double series = 1.0 / 6.0 + ss * (3.0 / 40.0 + ss * (5.0 / 112.0 + ss * 0.07));
    return nearestStep(s * (1.0 + ss * series));
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
        x.high * xx *
        (1.0 / 6.0 +
         xx * (3.0 / 40.0 + xx * (5.0 / 112.0 + xx * (35.0 / 1152.0 + xx * (63.0 / 2816.0)))));
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
