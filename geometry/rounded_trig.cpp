#include "rounded_trig.h"

#include "rounded_trig_detail.h"

#include <cmath>
#include <limits>

namespace tarvix {

using namespace rounded_trig;

namespace {

constexpr double tableEnd = 1.25; // radians
constexpr double largestReduced = 1e6;

// A sum of three doubles. The third counts for small cosines, some of whose angles are very close
// to the middle between two doubles. Next to half a turn, there are too few angles for that.
struct Start {
    DoubleDouble angle;
    double rest = 0.0;
};
constexpr Start quarterTurn{{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54}, -0x1.f1976b7ed8fbcp-110};
constexpr Start halfTurn{{0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53}};

// Of an angle in [0, 1.25].
SineCosine fromTable(const DoubleDouble& angle) {
    const int k = nearestStep(angle.high);
    const DoubleDouble rest = exactSum(angle.high - k / stepsPerRadian, angle.low);
    const Pair<Bounded> quick = quickSineCosine(table[k], rest);
    SineCosine result{};
    const bool sineIsKnown = roundsTo(result.sine, quick.sine);
    const bool cosineIsKnown = roundsTo(result.cosine, quick.cosine);
    if (!sineIsKnown || !cosineIsKnown) {
        const Pair<DoubleDouble> more = accurateDifference(table[k], rest);
        result = {nearestOfSum(table[k].sine, more.sine, 0.0),
                  nearestOfSum(table[k].cosine, more.cosine, 0.0)};
    }
    return result;
}

// angle - quarters * pi/2, for up to 2^20 quarters: three parts of 33 bits, whose products with the
// quarters are exact, and a rest.
DoubleDouble reduced(double angle, double quarters) {
    const DoubleDouble first = exactSum(angle, -quarters * 0x1.921fb544p+0);
    const DoubleDouble second = first + DoubleDouble{-quarters * 0x1.0b4611a6p-34};
    const DoubleDouble third = second + DoubleDouble{-quarters * 0x1.3198a2ep-69};
    return third + -exactProduct(quarters, 0x1.b839a252049c1p-104);
}

} // namespace

SineCosine roundedSineCosine(double angle) {
    const double size = std::abs(angle);
    if (size <= tableEnd) {
        const SineCosine result = fromTable({size, 0.0});
        return {std::copysign(result.sine, angle), result.cosine};
    }
    if (!(size <= largestReduced)) {
        return {std::sin(angle), std::cos(angle)};
    }
    const double quarters = std::floor(size * 0x1.45f306dc9c883p-1 + 0.5);
    const DoubleDouble rest = reduced(size, quarters);
    const bool negative = rest.high < 0.0;
    const SineCosine r = fromTable(negative ? -rest : rest);
    const double sine = negative ? -r.sine : r.sine;
    const double sign = angle < 0.0 ? -1.0 : 1.0;
    switch (static_cast<int>(quarters) & 3) {
    case 0:
        return {sign * sine, r.cosine};
    case 1:
        return {sign * r.cosine, -sine};
    case 2:
        return {-sign * sine, -r.cosine};
    default:
        return {-sign * r.cosine, sine};
    }
}

// The result is a struct of floats, not of doubles that were narrowed: where GCC 12 vectorises a
// pair of conversions to float and back, it leaves them out.
SineCosineF roundedSineCosine(float angle) {
    const double size = std::abs(angle);
    if (size <= tableEnd) {
        const int k = nearestStep(size);
        const Pair<double> quick = singleSineCosine(table[k], size - k / stepsPerRadian);
        SineCosineF result{};
        const bool sineIsKnown = roundsTo(result.sine, quick.sine);
        const bool cosineIsKnown = roundsTo(result.cosine, quick.cosine);
        if (sineIsKnown && cosineIsKnown) {
            return {std::copysign(result.sine, angle), result.cosine};
        }
    }
    // Close to the middle between two floats, or a large angle. No double is so close to the middle
    // that rounding twice goes wrong: all floats up to 1.25 have been tried.
    const SineCosine exact = roundedSineCosine(static_cast<double>(angle));
    return {static_cast<float>(exact.sine), static_cast<float>(exact.cosine)};
}

double roundedArcCosine(double cosine) {
    const double size = std::abs(cosine);
    if (!(size <= 1.0)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const DoubleDouble square = exactProduct(size, size);
    const DoubleDouble difference = exactSum(1.0, -square.high);
    const DoubleDouble leg = squareRoot(orderedSum(difference.high, difference.low - square.low));
    const bool sizeIsSmaller = size <= 0.7;
    const Legs legs = sizeIsSmaller ? Legs{{size}, leg} : Legs{leg, {size}};
    const int k = nearbySteps(legs);

    // From the angle opposite to the smaller leg to the one asked for: start + sign * angle.
    const Start start = sizeIsSmaller ? quarterTurn : cosine < 0.0 ? halfTurn : Start{};
    const double sign = (cosine < 0.0) == sizeIsSmaller ? 1.0 : -1.0;
    const Bounded angle = quickAngle(legs, k);
    const DoubleDouble sum = exactSum(start.angle.high, sign * angle.value.high);
    const double low = sum.low + (start.angle.low + sign * angle.value.low);
    double result = 0.0;
    if (!roundsTo(result, {{sum.high, low}, angle.error + 0x1p-100})) {
        const DoubleDouble accurate = accurateAngle(legs, k);
        result = nearestOfSum(start.angle, {sign * accurate.high, sign * accurate.low}, start.rest);
    }
    return result;
}

} // namespace tarvix
