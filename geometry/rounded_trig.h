// Sine, cosine and arc cosine, correctly rounded: each result is the double (or float) nearest to
// the true value, so it is the same on every system. C libraries differ in the last place, and the
// convergence search is defined to the last bit.
//
// Of the C library, only the square root is used, which is correctly rounded everywhere. The tests
// compare with a multiple-precision library: every angle that the search can visit, every float up
// to 1.25, hundreds of thousands of others.
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
