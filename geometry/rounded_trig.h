// Sine, cosine and arc cosine, the same on every system: the double (or float) nearest to the true
// value. C libraries differ in the last place, and the convergence search is defined to the last
// bit.
//
// Only where the true value is within about 2^-104 of the middle between two doubles can the
// result be the other neighbour. Three such arc cosines are known, and no sine or cosine. The tests
// compare with a multiple-precision library: every angle that the search can visit, every float up
// to 1.25, values that are known to be very close to a middle, hundreds of thousands of others.
//
// Of the C library, only functions are used that are exact or correctly rounded everywhere.
#pragma once

namespace tarvix {

struct SineCosine {
    double sine;
    double cosine;
};

struct SineCosineF {
    float sine;
    float cosine;
};

// Of an angle in radians. Beyond a million radians the result is the C library's, which may be the
// neighbour of the nearest. Not-a-number for infinities and what is not a number.
SineCosine roundedSineCosine(double angle);

// In single precision.
SineCosineF roundedSineCosine(float angle);

// In radians, [0, pi]. Not-a-number outside [-1, 1].
double roundedArcCosine(double cosine);

} // namespace tarvix
