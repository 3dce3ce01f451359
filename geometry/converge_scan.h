// The scan behind findPose. The plain scan evaluates RightAngleError some 24,000 times. This one
// refuses almost all candidates by the lower bounds of geometry/converge_bounds.h. What is not
// refused runs RightAngleError itself, in scan order with strict less, so only the refusals need an
// argument:
//
// A candidate is refused if it is proven that its error is larger than E, the error of some
// candidate of the same stage that has been evaluated, or not a number. Such a candidate cannot be
// the minimum, whether E's comes before or after it.
#pragma once

#include "converge.h"
#include "converge_bounds.h"
#include "vect.h"

#include <algorithm>
#include <vector>

namespace tarvix::converge_detail {

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
            const CosineSum sum = from.lens == to.lens
                                      ? Screen<Rules>::at(from.edges)
                                      : Screen<Rules>::between(from.edges, to.edges);
            if (Screen<Rules>::above(sum, m_limitDeg)) {
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
