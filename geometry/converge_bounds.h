// What the convergence search refuses candidates by: lower bounds of RightAngleError.
//
// At each corner RightAngleError adds |90 - theta| degrees, which is asin |c| for the cosine c
// between the edges, whichever branch it takes (180 degrees and more are measured from 270, a
// cosine outside [-1, 1] counts 90). As asin x >= x,
//
//     error * pi / 180  >=  |c0| + |c1| + |c2| + |c3|,
//
// and a candidate may be refused if this sum is above the limit by more than rounding explains. The
// bound of this file takes projected corners; those of geometry/converge_screen.h do not project.
// Each has its argument above it; u = 2^-53.
#pragma once

#include "corners.h"
#include "four.h"
#include "vect.h"

#include <cstddef>
#include <limits>

namespace tarvix::converge_detail {

// What refused a candidate, cheapest first; or that its error was evaluated.
enum class Decision { VanishingPoints, Cosines, ProjectedEdges, Error };

// The numbers of the arguments, and who wins among equals. Tests substitute wrong ones and see the
// result change.
struct SearchRules {
    // The exact bound.
    static constexpr double exactMargin = 1e-9; // radians
    static constexpr double shortestEdge = 1e-30;

    // The screen, (a) to (g) there. W is the largest distance of a corner from the image's centre.
    static constexpr double nearMargin = 1e-5;               // radians
    static constexpr double farMargin = 2e-3;                // radians
    static constexpr double shortestMarkedEdge = 1.0 / 64.0; // of W
    static constexpr double smallestArea = 1.0 / 1024.0;     // of W^2
    static constexpr double shortestFocal = 1.0 / 32.0;      // of W
    static constexpr double focalOfCoordinate = 1.0 / 100.0; // of the largest coordinate
    static constexpr double longestFocal = 32.0;             // of W
    static constexpr double longestFarFocal = 4.0;           // of W
    static constexpr double longestFocalPx = 2e9;
    static constexpr double nearDepth = 1.0 / 32.0; // of W + f
    static constexpr double farDepth = 1.0 / 256.0; // of W + f
    static constexpr double balance = 1.0 / 64.0;   // of the projected triangles' areas
    static constexpr double markedBalance = 1.0 / 64.0;
    static constexpr bool signsMayDiffer = false; // of near triangles

    // The screen of the roll.
    static constexpr double rollMargin = 1e-9; // of f

    static constexpr bool lastOfEqualsWins = false;

    // Told the cell of a stage, then what decided on neighbouring candidates of it: the places of
    // the first and the last in the list of focal lengths. The search has no use for it; tests and
    // a drawing have.
    static void decided(Decision /*by*/, int /*firstFocal*/, int /*lastFocal*/) {}
    static void atCell(int /*stage*/, std::size_t /*pitch*/, std::size_t /*yaw*/) {}
};

// For the lengths l of the edges and |d| of the dot products of edges k and k + 1:
//     |d0| / (l0 l1) + |d1| / (l1 l2) + |d2| / (l2 l3) + |d3| / (l3 l0) = numerator / denominator
struct CosineSum {
    CosineSum(const Four& d, const Four& l) {
        const Four ll = l * next(l);
        const Four terms = d * Four{ll.high, ll.low};
        const Two sums = terms.low + terms.high;
        numerator = sums[0] + sums[1];
        denominator = ll[0] * ll[2];
    }
    bool above(double limit) const {
        return numerator > limit * denominator && numerator <= std::numeric_limits<double>::max();
    }
    double value() const { return numerator / denominator; }

    double numerator, denominator;
};

// The exact bound takes the edges that RightAngleError forms, bit for bit. The cosines that the two
// form of them differ by less than 10 u; acos and the conversion to degrees add a few units in the
// last place of pi: below 100 u = 1.2e-14 rad in all, against a margin of 1e-9. Hazards:
//
// Not-a-number: the comparisons are false, no refusal.
//
// Overflow: no refusal. Of the right side because nothing is above infinity; of the left because an
// infinite sum is excluded (products and sums of non-negative numbers never come back from it).
//
// Underflow, and edges of length zero, where RightAngleError takes the cosine as 0: no refusal
// unless every edge is at least 1e-30 long.
template <class Rules>
bool exactlyAbove(const Corners& q, double limitDeg) {
    const Four x = four(q[0].x, q[1].x, q[2].x, q[3].x);
    const Four y = four(q[0].y, q[1].y, q[2].y, q[3].y);
    const Four ex = next(x) - x;
    const Four ey = next(y) - y;
    const Four length = sqrt4(ex * ex + ey * ey);
    const Four dot = abs4(ex * next(ex) + ey * next(ey));
    return smallest(length) >= Rules::shortestEdge &&
           CosineSum(dot, length).above(limitDeg * (pi / 180.0) + Rules::exactMargin);
}

} // namespace tarvix::converge_detail
