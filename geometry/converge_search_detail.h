// How findPose leaves out candidates. The plain scan evaluates RightAngleError some 24,000 times;
// here almost all candidates are refused by cheaper lower bounds of that error. What is not refused
// runs RightAngleError itself, in scan order with strict less, so only the refusals need an
// argument.
//
// A candidate is refused when it is proven that its error is larger than E, the error of some
// candidate of the same stage that has been evaluated, or not a number. Such a candidate cannot be
// the minimum, whether E's comes before or after it. At each corner RightAngleError adds |90 -
// theta| degrees, which is asin |c| for the cosine c between the edges, whichever branch it takes
// (180 degrees and more are measured from 270, a cosine outside [-1, 1] counts 90). As asin x >= x,
//
//     error * pi / 180  >=  |c0| + |c1| + |c2| + |c3|,
//
// and a candidate may be refused when this sum is above E * pi / 180 by more than rounding
// explains. Two bounds use it; u = 2^-53.
//
// The exact bound (exactlyAbove) takes the edges that RightAngleError forms, bit for bit. The
// cosines that the two form of them differ by less than 10 u; acos and the conversion to degrees
// add a few units in the last place of pi: below 100 u = 1.2e-14 rad in all, against a margin of
// 1e-9. Hazards:
//   - not-a-number: the comparisons are false, no refusal;
//   - overflow: no refusal, of the right side because nothing is above infinity, of the left
//   because an
//     infinite sum is excluded (products and sums of non-negative numbers never come back from it);
//   - underflow, and edges of length zero, where RightAngleError takes the cosine as 0: there is no
//     refusal unless every edge is at least 1e-30 long.
//
// The linear bound (Screen) does not project. Seen through the rotation R, the line through corners
// i and j has the direction of the x and y components of
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
// provably small. Let W be the largest distance of a corner from the picture's centre, C the
// largest coordinate. Guards, which hold between two focal lengths if they hold at both:
//   (a) every edge is at least W/128 long;
//   (b) the triangles 012 and 023 have one sign and doubled areas of at least W^2/4096;
//   (c) C < 1e12 and max(W/32, C/100 + 1) <= f <= min(32 W, 2e9);
//   (d) the depth Z of every rotated corner is at least (W + f)/64.
// Let F be the whole part of f; F >= f/2, so C <= 200 F.
//   - Rounding of the rotation and of d * R: below 15 u (W + f) in X, Y, Z. As |X|, |Y| <= W + f <=
//     64 Z by (d), X/Z is off by less than 63000 u and the projected point, which lies within 265 F
//     of the origin, by less than 63300 u F.
//   - By (b), (c) and (d) the projected triangles have one sign and doubled areas of at least
//     F^2 f (W^2/4096) / (W^2 + f^2)^(3/2) >= 2.3e-7 F^2, which the rounding of the points changes
//     by less than 7.3e-9 F^2. So their common centroid lies among them, and as computed within 266
//     F of the origin: the rounding of its sums counts less than 0.2 F. That of the marked corners
//     lies within 201 F, likewise. Moving by the difference costs less than 740 u F. (How the
//     difference itself is rounded does not matter, it is the same for all four points.) Together a
//     point is off by less than 65000 u F.
//   - ray' x ray' is orthogonal to both rays, so by (d) its x and y components hold at least 1/64.1
//   of
//     its length, and that is at least f times the marked edge. So a projected edge is at least
//     F f (W/128) / (64.1 (W^2 + f^2)) >= 3.8e-6 F long.
//   - Hence the direction of an edge is off by less than 2 sqrt(2) 65000 u / 3.8e-6 = 5.5e-6 rad,
//   the
//     sum of four cosines by less than 8 times that, 4.4e-5. The linear bound's own rounding
//     relative to the edges is below 64 * 10 u (1 + W/f) = 2.4e-12: differences and cross products
//     are formed without cancellation.
// The margin is 1e-4. Inside the guards no product comes near overflow or underflow; a not-a-number
// coordinate fails (b), an infinite one (c).
#pragma once

#include "converge.h"
#include "four.h"
#include "vect.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace tarvix::converge_detail {

// What decides whether a candidate is left out, and who wins among equals. Tests substitute wrong
// values and see the result change.
struct SearchRules {
    static constexpr double exactMargin = 1e-9;  // radians
    static constexpr double screenMargin = 1e-4; // radians
    static constexpr double depthGuard = 1.0 / 64.0;
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

// The exact bound: the error of these projected corners is larger than limitDeg.
template <class Rules>
bool exactlyAbove(const Corners& q, double limitDeg) {
    constexpr double shortestEdge = 1e-30;
    const Four x{{q[0].x, q[1].x, q[2].x, q[3].x}};
    const Four y{{q[0].y, q[1].y, q[2].y, q[3].y}};
    const Four ex = next(x) - x;
    const Four ey = next(y) - y;
    const Four length = sqrt4(ex * ex + ey * ey);
    const Four dot = abs4(ex * next(ex) + ey * next(ey));
    return smallest(length) >= shortestEdge &&
           CosineSum(dot, length).above(limitDeg * (pi / 180.0) + Rules::exactMargin);
}

// The linear bound for one marked quadrilateral.
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
        const double smallestArea = std::min(std::abs(triangles.v[0]), std::abs(triangles.v[2]));
        if (shortest >= m_reach / 128.0 && triangles.v[0] * triangles.v[2] > 0.0 &&
            smallestArea >= m_reach * m_reach / 4096.0 && largest < 1e12) {
            m_focalFrom = std::max(m_reach / 32.0, largest / 100.0 + 1.0);
            m_focalTo = std::min(32.0 * m_reach, 2e9);
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
                   (m_reach + focalPx) * Rules::depthGuard;
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

// first, first + step, ... by repeated addition, while not above last.
inline std::vector<double> steps(double first, double last, double step) {
    std::vector<double> values;
    // The values are defined so.
    // NOLINTNEXTLINE(clang-analyzer-security.FloatLoopCounter,cert-flp30-c)
    for (double value = first; value <= last; value += step) {
        values.push_back(value);
    }
    return values;
}

template <class Rules = SearchRules>
class PoseSearch {
public:
    PoseSearch(const MarkedQuad& quad, double focalMm)
        : m_quad(quad), m_centroid(PolygonCentroid(quad.corners)), m_screen(quad),
          m_focalKnown(focalMm != 0.0) {
        m_best.focalMm = focalMm;
    }

    Pose run() {
        scanAngles(steps(-60.0, 60.0, 5.0), steps(-60.0, 60.0, 5.0), steps(1.0, 51.0, 5.0));
        scanRoll(-60.0, 60.0, 5.0);
        scanAnglesAround(5.0, 0.5);
        scanRoll(m_best.rollDeg - 5.0, m_best.rollDeg + 5.0, 0.5);
        scanAnglesAround(0.5, 0.05f);
        scanRoll(m_best.rollDeg - 0.5, m_best.rollDeg + 0.5, 0.05f);
        return m_best;
    }

private:
    using Rotated = typename Screen<Rules>::Rotated;
    using Edges = typename Screen<Rules>::Edges;

    static constexpr double noError = 1e10; // what every stage starts from

    // One end of an interval of focal lengths.
    struct End {
        int lens;
        bool trusted;
        Edges edges; // if trusted
    };

    // Stages 3 and 5.
    void scanAnglesAround(double reach, double step) {
        const Pose c = m_best;
        scanAngles(steps(c.pitchDeg - reach, c.pitchDeg + reach, step),
                   steps(c.yawDeg - reach, c.yawDeg + reach, step),
                   // A known focal length can be so large that adding the step changes nothing.
                   m_focalKnown ? std::vector<double>()
                                : steps(c.focalMm - reach, c.focalMm + reach, step));
    }

    // Stages 1, 3 and 5.
    void scanAngles(const std::vector<double>& pitches, const std::vector<double>& yaws,
                    std::vector<double> focals) {
        if (m_focalKnown) {
            focals.assign(1, m_best.focalMm);
        }
        m_rotationZ = RotationZ(-m_best.rollDeg);
        m_rotationsX.clear();
        m_rotationsY.clear();
        m_lenses.clear();
        for (const double pitch : pitches) {
            m_rotationsX.push_back(RotationX(pitch));
        }
        for (const double yaw : yaws) {
            m_rotationsY.push_back(RotationY(yaw));
        }
        for (const double focal : focals) {
            m_lenses.emplace_back(m_quad.picture, focal);
        }

        const int lastLens = static_cast<int>(m_lenses.size()) - 1;
        double bestError = noError;
        m_limitDeg = errorNearMinimum();
        for (std::size_t pitch = 0; pitch < pitches.size(); ++pitch) {
            for (std::size_t yaw = 0; yaw < yaws.size(); ++yaw) {
                m_rotated = m_screen.rotate(m_rotationsX[pitch], m_rotationsY[yaw]);
                bool haveRotation = false;
                cv::Matx33d rotation;
                const auto evaluate = [&](int lens) {
                    if (!haveRotation) {
                        rotation = rotationAt(pitch, yaw);
                        haveRotation = true;
                    }
                    const Corners q =
                        projectOntoCentroid(m_quad, m_centroid, rotation, m_lenses[index(lens)]);
                    if (exactlyAbove<Rules>(q, m_limitDeg)) {
                        return;
                    }
                    const double error = RightAngleError(q);
                    if (error < bestError || (Rules::lastOfEqualsWins && error == bestError)) {
                        bestError = error;
                        m_limitDeg = std::min(m_limitDeg, error);
                        m_best.pitchDeg = pitches[pitch];
                        m_best.yawDeg = yaws[yaw];
                        m_best.focalMm = focals[index(lens)];
                    }
                };
                const End first = endAt(0);
                scanFocals(first, m_focalKnown ? first : endAt(lastLens), evaluate);
            }
        }
    }

    // Calls evaluate for the focal lengths that are not refused, in ascending order.
    template <class Evaluate>
    void scanFocals(const End& from, const End& to, const Evaluate& evaluate) const {
        if (from.trusted && to.trusted) {
            const double limit = m_limitDeg * (pi / 180.0) + Rules::screenMargin;
            const CosineSum sum = from.lens == to.lens
                                      ? Screen<Rules>::at(from.edges)
                                      : Screen<Rules>::between(from.edges, to.edges);
            if (sum.above(limit)) {
                return;
            }
        }
        if (from.lens == to.lens) {
            evaluate(from.lens);
            return;
        }
        const int middle = (from.lens + to.lens) / 2;
        scanFocals(from, middle == from.lens ? from : endAt(middle), evaluate);
        scanFocals(middle + 1 == to.lens ? to : endAt(middle + 1), to, evaluate);
    }

    End endAt(int lens) const {
        const double focalPx = m_lenses[index(lens)].focalPx;
        const bool trusted = m_screen.trustedAt(m_rotated, focalPx);
        return {lens, trusted, trusted ? Edges(m_rotated, focalPx) : Edges()};
    }

    cv::Matx33d rotationAt(std::size_t pitch, std::size_t yaw) const {
        cv::Matx33d rotation = m_rotationZ;
        PremultiplyMatrix(m_rotationsX[pitch], rotation);
        PremultiplyMatrix(m_rotationsY[yaw], rotation);
        return rotation;
    }

    // The error of a candidate that is likely to be close to the best of the stage: from the middle
    // of the ranges downhill on the linear bound. The better it is, the more is refused; whichever
    // candidate it is, the result is the same.
    double errorNearMinimum() const {
        const int counts[] = {static_cast<int>(m_rotationsX.size()),
                              static_cast<int>(m_rotationsY.size()),
                              static_cast<int>(m_lenses.size())};
        const auto bound = [&](const int(&c)[3]) {
            const Rotated r = m_screen.rotate(m_rotationsX[index(c[0])], m_rotationsY[index(c[1])]);
            const double focalPx = m_lenses[index(c[2])].focalPx;
            if (!m_screen.trustedAt(r, focalPx)) {
                return noError;
            }
            const CosineSum sum = Screen<Rules>::at(Edges(r, focalPx));
            return sum.numerator / sum.denominator;
        };
        int here[] = {counts[0] / 2, counts[1] / 2, counts[2] / 2};
        double lowest = bound(here);
        for (int step = 4; step > 0;) {
            bool moved = false;
            for (int axis = 0; axis < 3; ++axis) {
                for (const int move : {-step, step}) {
                    int there[] = {here[0], here[1], here[2]};
                    there[axis] += move;
                    if (there[axis] < 0 || there[axis] >= counts[axis]) {
                        continue;
                    }
                    const double value = bound(there);
                    if (value < lowest) {
                        lowest = value;
                        std::copy(there, there + 3, here);
                        moved = true;
                    }
                }
            }
            step = moved ? step : step / 2;
        }
        const double error = RightAngleError(
            projectOntoCentroid(m_quad, m_centroid, rotationAt(index(here[0]), index(here[1])),
                                m_lenses[index(here[2])]));
        return error < noError ? error : noError; // also where it is not a number
    }

    // Stages 2, 4 and 6.
    void scanRoll(double from, double to, double step) {
        const Lens lens(m_quad.picture, m_best.focalMm);
        const cv::Matx33d rotationX = RotationX(m_best.pitchDeg);
        const cv::Matx33d rotationY = RotationY(m_best.yawDeg);
        double bestError = noError;
        for (const double roll : steps(from, to, step)) {
            cv::Matx33d rotation = RotationZ(-roll);
            PremultiplyMatrix(rotationX, rotation);
            PremultiplyMatrix(rotationY, rotation);
            const double error =
                AxisAlignmentError(projectOntoCentroid(m_quad, m_centroid, rotation, lens));
            if (error < bestError || (Rules::lastOfEqualsWins && error == bestError)) {
                bestError = error;
                m_best.rollDeg = roll;
            }
        }
    }

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }

    const MarkedQuad m_quad;
    const cv::Point2f m_centroid;
    const Screen<Rules> m_screen;
    const bool m_focalKnown;
    Pose m_best;

    // The current stage of scanAngles: its matrices and lenses, the rotation it is at, and the
    // smallest error known to be reached.
    cv::Matx33d m_rotationZ;
    std::vector<cv::Matx33d> m_rotationsX, m_rotationsY;
    std::vector<Lens> m_lenses;
    Rotated m_rotated;
    double m_limitDeg = noError;
};

} // namespace tarvix::converge_detail
