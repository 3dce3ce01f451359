// The bounds by which the search refuses candidates. The scan that uses them:
// geometry/converge_scan.h.
//
// At each corner RightAngleError adds |90 - theta| degrees, which is asin |c| for the cosine c
// between the edges, whichever branch it takes (180 degrees and more are measured from 270, a
// cosine outside [-1, 1] counts 90). As asin x >= x,
//
//     error * pi / 180  >=  |c0| + |c1| + |c2| + |c3|,
//
// and a candidate may be refused if this sum is above the limit by more than rounding explains. Two
// bounds use it: the exact one on projected corners, the linear one without projecting. Each has
// its argument above it; u = 2^-53.
#pragma once

#include "converge.h"
#include "four.h"
#include "vect.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarvix::converge_detail {

// The numbers of both arguments, and who wins among equals. Tests substitute wrong ones and see the
// result change.
struct SearchRules {
    // The exact bound.
    static constexpr double exactMargin = 1e-9; // radians
    static constexpr double shortestEdge = 1e-30;

    // The linear bound; (a) to (d) below. W is the largest distance of a corner from the centre.
    static constexpr double screenMargin = 1e-4;              // radians
    static constexpr double shortestMarkedEdge = 1.0 / 128.0; // of W
    static constexpr double smallestArea = 1.0 / 4096.0;      // of W^2
    static constexpr double shortestFocal = 1.0 / 32.0;       // of W
    static constexpr double focalOfCoordinate = 1.0 / 100.0;  // of the largest coordinate
    static constexpr double longestFocal = 32.0;              // of W
    static constexpr double longestFocalPx = 2e9;
    static constexpr double smallestDepth = 1.0 / 64.0; // of W + f

    static constexpr bool lastOfEqualsWins = false;
};

// For the lengths l of the edges and |d| of the dot products of edges k and k + 1:
//     numerator / denominator = |d0| / (l0 l1) + |d1| / (l1 l2) + |d2| / (l2 l3) + |d3| / (l3 l0)
struct CosineSum {
    CosineSum(const Four& d, const Four& l) {
        const Four ll = l * next(l);
        numerator = d.v[0] * ll.v[2] + d.v[1] * ll.v[3] + d.v[2] * ll.v[0] + d.v[3] * ll.v[1];
        denominator = ll.v[0] * ll.v[2];
    }
    bool above(double limit) const {
        return numerator > limit * denominator && numerator <= std::numeric_limits<double>::max();
    }
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
    const Four x{{q[0].x, q[1].x, q[2].x, q[3].x}};
    const Four y{{q[0].y, q[1].y, q[2].y, q[3].y}};
    const Four ex = next(x) - x;
    const Four ey = next(y) - y;
    const Four length = sqrt4(ex * ex + ey * ey);
    const Four dot = abs4(ex * next(ex) + ey * next(ey));
    return smallest(length) >= Rules::shortestEdge &&
           CosineSum(dot, length).above(limitDeg * (pi / 180.0) + Rules::exactMargin);
}

// The linear bound does not project. Seen through the rotation R, the line through corners i and j
// has the direction of the x and y components of
//
//     rayI' x rayJ' = (dI x dJ) cof(R),
//     dI x dJ = (f (yI - yJ), f (xJ - xI), xI yJ - xJ yI),
//
// linear in the focal length f. The roll turns all four directions alike and is left out. Between
// two focal lengths an edge moves along a chord: its length is at most that at the longer end, and
// the dot product of two edges is a quadratic with the Bernstein coefficients e0.e0', (e0.e1' +
// e1.e0') / 2, e1.e1' of the ends 0 and 1; where these have one sign, none of its values is closer
// to 0 than they are. That bounds the cosines of all candidates of an interval of focal lengths,
// which is then refused as a whole or halved.
//
// The linear bound leaves out RightAngleError's own rounding, so it is only trusted where that is
// provably small. Let W be the largest distance of a corner from the image's centre, C the largest
// coordinate. Guards, which hold between two focal lengths if they hold at both:
//
// (a) every marked edge is at least W/128 long;
//
// (b) the triangles 012 and 023 have one sign and doubled areas of at least W^2/4096;
//
// (c) max(W/32, C/100 + 1) <= f <= min(32 W, 2e9);
//
// (d) the depth Z of every rotated corner is at least (W + f)/64.
//
// Let F be the whole part of f; F >= f/2 and F > f - 1 >= C/100.
//
// Points. Rounding of the rotation and of d * R is below 15 u (W + f) in X, Y, Z. As |X|, |Y| <=
// W + f <= 64 Z by (d), X/Z is off by less than 63000 u and the projected point, whose coordinates
// are below 265 F, by less than 63300 u F.
//
// Centroids. By (b), (c) and (d) the projected triangles have one sign and doubled areas of at
// least F^2 f (W^2/4096) / (W^2 + f^2)^(3/2) >= 2.3e-7 F^2, which the rounding of the points
// changes by less than 7.3e-9 F^2. So their common centroid lies among them, and the doubled area A
// of both is at least 4.4e-7 F^2. With products of two coordinates below p = 265^2 F^2, rounding
// costs each cross product 4 p u and their sum 18 p u more, in all 34 p u; each moment, two
// coordinates times a cross product, 8 * 530 F p u and their sum 18 * 530 F p u more, in all
// 50 * 530 F p u. The centroid as computed is off by
// (50 * 530 F / 3 + 34 * 265 F) p u / A < 0.32 F, so within 266 F of the origin. That of the
// marked corners lies within 201 F, likewise. Moving by the difference costs less than 740 u F. How
// the difference itself is rounded does not matter, it is the same for all four points. Together a
// point is off by less than 65000 u F.
//
// Edges. ray' x ray' is orthogonal to both rays, so by (d) its x and y components hold at least
// 1/64.1 of its length, and that is at least f times the marked edge. So a projected edge is at
// least F f (W/128) / (64.1 (W^2 + f^2)) >= 3.8e-6 F long.
//
// Cosines. Hence the direction of an edge is off by less than 2 sqrt(2) 65000 u / 3.8e-6 = 5.5e-6
// rad, the sum of four cosines by less than 8 times that, 4.4e-5. The linear bound's own rounding
// relative to the edges is below 64 * 10 u (1 + W/f) = 2.4e-12: differences and cross products are
// formed without cancellation. The margin is 1e-4.
//
// Inside the guards no product comes near overflow or underflow. A not-a-number coordinate fails
// (b), an infinite one (c).
template <class Rules>
class Screen {
public:
    // What one pitch and yaw make of the quadrilateral: edge k is focalPx * (ax, ay) + (bx, by),
    // the depth of corner k is focalPx * depthSlope + depth.
    struct Rotated {
        Four ax, ay, bx, by, depth;
        double depthSlope;
    };

    // The edges for one focal length, up to a factor.
    struct Edges {
        Edges() = default;
        Edges(const Rotated& r, double focalPx)
            : x(focalPx * r.ax + r.bx), y(focalPx * r.ay + r.by), length(sqrt4(x * x + y * y)) {}
        Four x, y, length;
    };

    explicit Screen(const MarkedQuad& quad) {
        const double cx = quad.picture.width * 0.5;
        const double cy = quad.picture.height * 0.5;
        double largest = std::max(cx, cy);
        for (std::size_t k = 0; k < 4; ++k) {
            const cv::Point2d& p = quad.corners[k];
            m_x.v[k] = p.x - cx;
            m_y.v[k] = p.y - cy;
            m_reach = std::max(m_reach, std::hypot(m_x.v[k], m_y.v[k]));
            largest = std::max({largest, std::abs(p.x), std::abs(p.y)});
        }
        m_dx = next(m_x) - m_x;
        m_dy = next(m_y) - m_y;
        m_cross = m_x * m_dy - m_y * m_dx;
        const double shortest = smallest(sqrt4(m_dx * m_dx + m_dy * m_dy));
        const Four triangles = m_dx * next(m_dy) - m_dy * next(m_dx); // 012, 123, 230, 301
        const double sign = triangles.v[0] < 0.0 ? -1.0 : 1.0;
        const double smallestArea = m_reach * m_reach * Rules::smallestArea;
        if (shortest >= m_reach * Rules::shortestMarkedEdge &&
            sign * triangles.v[0] >= smallestArea && sign * triangles.v[2] >= smallestArea) {
            m_focalFrom =
                std::max(m_reach * Rules::shortestFocal, largest * Rules::focalOfCoordinate + 1.0);
            m_focalTo = std::min(m_reach * Rules::longestFocal, Rules::longestFocalPx);
        }
    }

    Rotated rotate(const cv::Matx33d& rotationX, const cv::Matx33d& rotationY) const {
        const double cp = rotationX(1, 1);
        const double sp = rotationX(2, 1);
        const double cy = rotationY(0, 0);
        const double sy = rotationY(0, 2);
        const double norm = cp * cp + sp * sp; // not quite 1, in single precision
        return {(-norm * cy) * m_dy, cp * m_dx - (sp * sy) * m_dy, (-norm * sy) * m_cross,
                (sp * cy) * m_cross, (sy * cp) * m_x - sp * m_y,   cy * cp};
    }

    // The guards hold.
    bool trustedAt(const Rotated& r, double focalPx) const {
        return focalPx >= m_focalFrom && focalPx <= m_focalTo &&
               smallest(r.depth) + focalPx * r.depthSlope >=
                   (m_reach + focalPx) * Rules::smallestDepth;
    }

    // Every candidate with at least this sum has an error larger than limitDeg.
    static bool above(const CosineSum& sum, double limitDeg) {
        return sum.above(limitDeg * (pi / 180.0) + Rules::screenMargin);
    }

    static CosineSum at(const Edges& e) {
        return {abs4(e.x * next(e.x) + e.y * next(e.y)), e.length};
    }

    // A lower bound of the sum for all focal lengths between two.
    static CosineSum between(const Edges& e, const Edges& f) {
        const Four ee = e.x * next(e.x) + e.y * next(e.y);
        const Four ff = f.x * next(f.x) + f.y * next(f.y);
        const Four ef =
            0.5 * (e.x * next(f.x) + e.y * next(f.y) + f.x * next(e.x) + f.y * next(e.y));
        const Four zero{};
        const Four aboveZero = min4(min4(ee, ff), ef);
        const Four belowZero = zero - max4(max4(ee, ff), ef);
        return {max4(zero, max4(aboveZero, belowZero)), max4(e.length, f.length)};
    }

private:
    Four m_x{}, m_y{};              // the corners from the centre
    Four m_dx{}, m_dy{}, m_cross{}; // edge k from corner k to the next; x_k y_k+1 - x_k+1 y_k
    double m_reach = 0.0;           // W
    double m_focalFrom = 1.0; // the trusted focal lengths; none until the guards have been checked
    double m_focalTo = 0.0;
};

} // namespace tarvix::converge_detail
