// Bounds of RightAngleError that do not project: two that leave out its rounding, and where they
// may be trusted in spite of that. geometry/converge_bounds.h has what they share.
//
// Edges. Seen through the rotation R, the plane of the camera and the marked edge from corner i to
// the next corner j has the normal
//
//     rayI' x rayJ' = m cof(R),  m = dI x dJ = (f (yI - yJ), f (xJ - xI), xI yJ - xJ yI),
//
// whose x and y components, turned by a quarter, have the direction of the projected edge. They are
// linear in the focal length f. The roll turns all four edges alike and is left out.
//
// Vanishing points. Opposite edges 0 and 2 are parallel if the point in which their lines meet is
// turned to depth 0. In general, with d the determinant of R and theta the angle between them,
//
//     |e0| |e2| sin theta = z component of (m0 cof(R)) x (m2 cof(R)) = d (z component of v R),
//     v = m0 x m2 = f (A, B, f C),
//     A = dx0 c2 - c0 dx2,  B = dy0 c2 - c0 dy2,  C = dx0 dy2 - dy0 dx2
//
// for edges (dx, dy) and c = xI yJ - xJ yI. A quadrilateral whose four cosines are small has
// parallel opposite edges: |sin theta| <= |c0| + |c1|, and <= |c2| + |c3|. So the sum is at least
// 2 |sin theta|, likewise for edges 1 and 3.
#pragma once

#include "converge.h"
#include "converge_bounds.h"
#include "four.h"
#include "rounded_trig.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarvix::converge_detail {

// When the bounds are trusted. W is the largest distance of a corner from the image's centre, C the
// largest coordinate, Z the depth of a rotated corner, T the doubled area of a marked triangle with
// its sign. Near candidates have all corners well before the turned camera:
//
// (a) every marked edge is at least W/64 long;
//
// (b) the triangles 012 and 023 have one sign and |T| >= W^2/1024;
//
// (c) max(W/32, C/100 + 1) <= f <= min(32 W, 2e9);
//
// (d) Z >= (W + f)/32 at every corner.
//
// These hold between two focal lengths if they hold at both. Far candidates may have corners beside
// or behind the camera, and marked corners that are concave or cross. They meet (a), (b) but for
// the signs, (c) with f <= 4 W, and:
//
// (e) |Z| >= (W + f)/256 at every corner;
//
// (f) the projected triangles do not cancel: |T012 Z3 + T023 Z1| is at least 1/64 of
// |T012 Z3| + |T023 Z1|;
//
// (g) nor do the marked ones: |T012 + T023| is at least 1/64 of |T012| + |T023|.
//
// The argument. Let F be the whole part of f; F >= f/2 and F > f - 1 >= C/100. Numbers are for near
// candidates, then in brackets for far ones.
//
// Points. Rounding of the rotation and of d * R is below 15 u (W + f) in X, Y, Z. As |X|, |Y| <=
// W + f <= 32 |Z| [256 |Z|], X/Z is off by less than 15840 u [986880 u]. The projected point is
// within 32 F [256 F] of the centre, its coordinates are below 133 F [357 F], and it is off by less
// than 16200 u F [989000 u F] in each.
//
// Areas. A projected triangle IJK has the doubled area F^2 f T/(ZI ZJ ZK), at least
// F^2 f (W^2/1024) / (W^2 + f^2)^(3/2) >= 9.5e-7 F^2 [3.04e-5 F^2]. Near, both triangles have one
// sign, so the area A of the whole is at least 1.9e-6 F^2. [Far, 012 and 023 add up to
// F^2 f (T012 Z3 + T023 Z1)/(Z0 Z1 Z2 Z3), so |A| is at least 1/64 of |A012| + |A023|, 9.5e-7 F^2.]
// The rounding of the points changes A by less than 1e-9 F^2 [3.2e-7 F^2].
//
// Centroids. Near, the centroid is among the points. [Far, it is the mean of two centroids within
// 257 F of the centre, whose weights' sizes add up to less than 98: within 25200 F.] Its sums are
// rounded: with products of two coordinates below p = (133 F)^2 [(357 F)^2], each cross product is
// off by 4 p u and their sum by 18 p u more, in all 34 p u; each moment, two coordinates times a
// cross product, by 50 * 266 F p u [50 * 714 F p u] in all. That moves the computed centroid by
// less than 0.01 F [20 F]. That of the marked corners is within 101 F of the origin, likewise
// [within 64 W <= 4096 F of the centre]. The points are moved by the difference, less than 235 F
// [29500 F], and rounded to less than 368 u F [30000 u F]. How the difference itself is rounded
// does not matter, it is the same for all four. In all, a coordinate is off by less than 16600 u F
// [1.03e6 u F].
//
// Edges. ray' x ray' is orthogonal to both rays, so by (d) its x and y components hold at least
// 1/32.02 of its length [by (e) 1/256.1], and that is at least f times the marked edge. So a
// projected edge is at least F f (W/64) / (32.02 (W^2 + f^2)) >= 1.5e-5 F long [1.9e-6 F, as
// f <= 4 W].
//
// Cosines. Hence the direction of an edge is off by less than 2 sqrt(2) 16600 u / 1.5e-5 = 3.5e-7
// rad [2 sqrt(2) 1.03e6 u / 1.9e-6 = 1.7e-4], the sum of four cosines by less than 8 times that,
// 2.8e-6 [1.4e-3]. The rounding of the bounds themselves, relative to the edges, is below
// 256 * 20 u (1 + W/f) = 1.9e-11. The margins are 1e-5 [2e-3].
//
// Inside the guards no product comes near overflow or underflow. A not-a-number coordinate fails
// (b), an infinite one (c).
template <class Rules>
class Screen {
public:
    // A focal length, and for both pairs of opposite edges half of |m| |m| / f. The
    // single-precision pitch makes R a rotation only to 1.3e-7; a millionth more covers it.
    struct Focal {
        double px;
        Two halfNormals;
    };

    // What one pitch makes of the quadrilateral, then one pitch and yaw: for focal length f, corner
    // k is at depth[k] + f * slope, the vanishing points (divided by f) at vanishing + f *
    // vanishingSlope.
    struct Row {
        double cosine, sine;
        Four depthX, depthY;
        Two vanishingX, vanishingY;
    };
    struct Cell {
        Four depth;
        Two vanishing, vanishingSlope;
        double slope;
        double cosine, sine; // of the yaw
    };

    // The edges of a cell for one focal length, up to a factor.
    struct Edges {
        Four x, y, length;
    };

    explicit Screen(const MarkedQuad& quad) {
        const double cx = quad.image.width * 0.5;
        const double cy = quad.image.height * 0.5;
        const Corners& c = quad.corners;
        m_x = four(c[0].x, c[1].x, c[2].x, c[3].x) - cx;
        m_y = four(c[0].y, c[1].y, c[2].y, c[3].y) - cy;
        double largest = std::max(cx, cy);
        for (std::size_t k = 0; k < 4; ++k) {
            m_reach = std::max(m_reach, std::sqrt(m_x[k] * m_x[k] + m_y[k] * m_y[k]));
            largest = std::max({largest, std::abs(c.at(k).x), std::abs(c.at(k).y)});
        }
        m_dx = next(m_x) - m_x;
        m_dy = next(m_y) - m_y;
        m_cross = m_x * m_dy - m_y * m_dx;
        m_vanishingX = m_dx.low * m_cross.high - m_cross.low * m_dx.high;
        m_vanishingY = m_dy.low * m_cross.high - m_cross.low * m_dy.high;
        m_vanishingZ = m_dx.low * m_dy.high - m_dy.low * m_dx.high;

        const double shortest = smallest(sqrt4(m_dx * m_dx + m_dy * m_dy));
        const Four triangles = m_dx * next(m_dy) - m_dy * next(m_dx); // 012, 123, 230, 301
        m_area012 = triangles[0];
        m_area023 = triangles[2];
        const double smallestArea = m_reach * m_reach * Rules::smallestArea;
        if (shortest >= m_reach * Rules::shortestMarkedEdge &&
            std::abs(m_area012) >= smallestArea && std::abs(m_area023) >= smallestArea) {
            m_focalFrom =
                std::max(m_reach * Rules::shortestFocal, largest * Rules::focalOfCoordinate + 1.0);
            const double focalTo = std::min(m_reach * Rules::longestFocal, Rules::longestFocalPx);
            if ((m_area012 < 0.0) == (m_area023 < 0.0) || Rules::signsMayDiffer) {
                m_nearTo = focalTo;
            }
            if (balanced(m_area012, m_area023, Rules::markedBalance)) {
                m_farTo = std::min(m_reach * Rules::longestFarFocal, focalTo);
            }
        }
    }

    Focal focal(double px) const {
        const Four length = sqrt4((px * px) * (m_dx * m_dx + m_dy * m_dy) + m_cross * m_cross);
        return {px, both(0.5 * (1.0 + 1e-6) / px) * length.low * length.high};
    }

    Row row(const cv::Matx33d& rotationX) const {
        const double cosine = rotationX(1, 1);
        const double sine = rotationX(2, 1);
        return {cosine,
                sine,
                cosine * m_x,
                sine * m_y,
                both(cosine) * m_vanishingX,
                both(sine) * m_vanishingY};
    }

    Cell cell(const Row& row, const SineCosine& yaw) const {
        const double slope = yaw.cosine * row.cosine;
        return {yaw.sine * row.depthX - row.depthY,
                both(yaw.sine) * row.vanishingX - row.vanishingY,
                both(slope) * m_vanishingZ,
                slope,
                yaw.cosine,
                yaw.sine};
    }

    bool isNear(const Cell& cell, const Focal& f) const {
        return isNear(smallest(cell.depth) + f.px * cell.slope, f.px);
    }

    // All cells of the row between two yaws. Between them the sine is monotone, and the cosine is
    // not smaller than at both ends.
    bool isNear(const Row& row, const SineCosine& from, const SineCosine& to,
                const Focal& f) const {
        const Four depth = min4(from.sine * row.depthX, to.sine * row.depthX) - row.depthY;
        return isNear(smallest(depth) + f.px * row.cosine * std::min(from.cosine, to.cosine), f.px);
    }

    bool isFar(const Cell& cell, const Focal& f) const {
        const Four depth = f.px * cell.slope + cell.depth;
        return f.px >= m_focalFrom && f.px <= m_farTo &&
               smallest(abs4(depth)) >= (m_reach + f.px) * Rules::farDepth &&
               balanced(m_area012 * depth[3], m_area023 * depth[1], Rules::balance);
    }

    // What the bounds of near and of far candidates are compared with, radians.
    static double nearLimit(double errorDeg) { return errorDeg * (pi / 180.0) + Rules::nearMargin; }
    static double farLimit(double errorDeg) { return errorDeg * (pi / 180.0) + Rules::farMargin; }

    // The bound by the vanishing points: opposite edges are so far from parallel that the sum of
    // the cosines is above the limit.
    static bool notParallel(const Cell& cell, const Focal& f, double limit) {
        const Two depth = abs2(cell.vanishing + both(f.px) * cell.vanishingSlope);
        const Two allowed = both(limit) * f.halfNormals;
        return depth[0] > allowed[0] || depth[1] > allowed[1];
    }

    // The same for all focal lengths between two. The depth is linear in f, and what is allowed is
    // convex: with g = |c0 c2| / (l0 l2) for the lengths l of the edges,
    //
    //     (|m0| |m2| / (f l0 l2))^2 = (f + g/f)^2 + (|c0|/l0 - |c2|/l2)^2,
    //
    // the root of the square of a positive convex function plus a constant. So if the depth has one
    // sign and exceeds it at both ends, it does between.
    static bool notParallel(const Cell& cell, const Focal& f, const Focal& g, double limit) {
        const Two atF = cell.vanishing + both(f.px) * cell.vanishingSlope;
        const Two atG = cell.vanishing + both(g.px) * cell.vanishingSlope;
        const Two allowedF = both(limit) * f.halfNormals;
        const Two allowedG = both(limit) * g.halfNormals;
        const auto apart = [&](std::size_t pair) {
            return (atF[pair] > allowedF[pair] && atG[pair] > allowedG[pair]) ||
                   (atF[pair] < -allowedF[pair] && atG[pair] < -allowedG[pair]);
        };
        return apart(0) || apart(1);
    }

    Edges edges(const Row& row, const Cell& cell, const Focal& f) const {
        const double norm = row.cosine * row.cosine + row.sine * row.sine; // not quite 1
        const Four x = (-norm * cell.cosine * f.px) * m_dy - (norm * cell.sine) * m_cross;
        const Four y = (row.cosine * f.px) * m_dx +
                       ((row.sine * cell.cosine) * m_cross - (row.sine * cell.sine * f.px) * m_dy);
        return {x, y, sqrt4(x * x + y * y)};
    }

    // The bound by the cosines themselves.
    static CosineSum cosines(const Edges& e) {
        return {abs4(e.x * next(e.x) + e.y * next(e.y)), e.length};
    }

    // A lower bound of it for all focal lengths between two. An edge moves along a chord: its
    // length is at most that at the longer end, and the dot product of two edges is a quadratic
    // with the Bernstein coefficients e0.e0', (e0.e1' + e1.e0') / 2, e1.e1' of the ends 0 and 1;
    // where these have one sign, none of its values is closer to 0 than they are.
    static CosineSum cosines(const Edges& e, const Edges& f) {
        const Four ee = e.x * next(e.x) + e.y * next(e.y);
        const Four ff = f.x * next(f.x) + f.y * next(f.y);
        const Four ef =
            0.5 * ((e.x * next(f.x) + e.y * next(f.y)) + (f.x * next(e.x) + f.y * next(e.y)));
        const Four zero = four(0.0, 0.0, 0.0, 0.0);
        const Four aboveZero = min4(min4(ee, ff), ef);
        const Four belowZero = zero - max4(max4(ee, ff), ef);
        return {max4(zero, max4(aboveZero, belowZero)), max4(e.length, f.length)};
    }

private:
    bool isNear(double smallestDepth, double focalPx) const {
        return smallestDepth >= (m_reach + focalPx) * Rules::nearDepth && focalPx >= m_focalFrom &&
               focalPx <= m_nearTo;
    }
    static bool balanced(double a, double b, double part) {
        return std::abs(a + b) >= (std::abs(a) + std::abs(b)) * part;
    }

    Four m_x, m_y;                                // the corners from the centre
    Four m_dx, m_dy, m_cross;                     // edge k, from corner k to the next
    Two m_vanishingX, m_vanishingY, m_vanishingZ; // of edges 0 and 2, 1 and 3: A, B, C
    double m_area012 = 0.0;
    double m_area023 = 0.0;
    double m_reach = 0.0;     // W
    double m_focalFrom = 1.0; // near and far focal lengths; none until the corners are checked
    double m_nearTo = 0.0;
    double m_farTo = 0.0;
};

} // namespace tarvix::converge_detail
