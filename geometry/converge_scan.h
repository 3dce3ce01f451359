// The scan behind findPose. The plain scan evaluates RightAngleError some 24,000 times. This one
// refuses almost all candidates by lower bounds (geometry/converge_bounds.h). What is not refused
// runs RightAngleError itself, in scan order with strict less, so only the refusals need an
// argument:
//
// A candidate is refused if it is proven that its error is larger than E, the error of some
// candidate of the same stage that has been evaluated, or not a number. Such a candidate cannot be
// the minimum, whether E's comes before or after it.
#pragma once

#include "converge.h"
#include "converge_bounds.h"
#include "converge_roll.h"
#include "converge_screen.h"
#include "rounded_trig.h"
#include "vect.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <vector>

namespace tarvix::converge_detail {

// first, first + step, ... by repeated addition, while not above last.
inline std::vector<double> steps(double first, double last, double step) {
    std::vector<double> values;
    values.reserve(25); // the most that a stage takes
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
        // Moved by a centroid that is not finite, no corner is finite and no error is a number.
        if (!std::isfinite(m_centroid.x) || !std::isfinite(m_centroid.y)) {
            return m_best;
        }
        scanAngles(steps(-60.0, 60.0, 5.0), steps(-60.0, 60.0, 5.0), steps(1.0, 51.0, 5.0));
        scanRoll(-60.0, 60.0, 5.0);
        scanAnglesAround(5.0, 0.5);
        scanRoll(m_best.rollDeg - 5.0, m_best.rollDeg + 5.0, 0.5);
        scanAnglesAround(0.5, 0.05f);
        scanRoll(m_best.rollDeg - 0.5, m_best.rollDeg + 0.5, 0.05f);
        return m_best;
    }

private:
    using Screen = converge_detail::Screen<Rules>;
    using Focal = typename Screen::Focal;

    static constexpr double noError = 1e10; // what every stage starts from

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
    void scanAngles(std::vector<double> pitches, std::vector<double> yaws,
                    std::vector<double> focals) {
        m_pitches = std::move(pitches);
        m_yaws = std::move(yaws);
        m_focals = std::move(focals);
        if (m_focalKnown) {
            m_focals.assign(1, m_best.focalMm);
        }
        prepare();
        ++m_stage;
        m_bestError = noError;
        m_limitDeg = errorNearMinimum();
        const int lastFocal = static_cast<int>(m_focals.size()) - 1;
        for (m_pitch = 0; m_pitch < m_pitches.size(); ++m_pitch) {
            m_row = m_screen.row(m_rotationsX[m_pitch]);
            m_rowIsNear = isRowNear(m_screenFocals.front()) && isRowNear(m_screenFocals.back());
            for (m_yaw = 0; m_yaw < m_yaws.size(); ++m_yaw) {
                Rules::atCell(m_stage, m_pitch, m_yaw);
                m_cell = m_screen.cell(m_row, m_yawSines[m_yaw]);
                m_cellRotation.reset();
                int focal = 0;
                // The shortest focal lengths, whose corners may be beside or behind the camera.
                for (; focal <= lastFocal && !isNear(focal); ++focal) {
                    scanFocals(focal, focal);
                }
                if (focal <= lastFocal) {
                    scanFocals(focal, lastFocal);
                }
            }
        }
    }

    void prepare() {
        m_rotationZ = RotationZ(-m_best.rollDeg);
        m_rotationsX.clear();
        m_rotationsY.clear();
        m_yawSines.clear();
        m_lenses.clear();
        m_screenFocals.clear();
        for (const double pitch : m_pitches) {
            m_rotationsX.push_back(RotationX(pitch));
        }
        for (const double yaw : m_yaws) {
            m_rotationsY.push_back(RotationY(yaw));
            m_yawSines.push_back({m_rotationsY.back()(0, 2), m_rotationsY.back()(0, 0)});
        }
        for (const double focal : m_focals) {
            m_lenses.emplace_back(m_quad.image, focal);
            m_screenFocals.push_back(m_screen.focal(m_lenses.back().focalPx));
        }
    }

    bool isRowNear(const Focal& f) const {
        return m_screen.isNear(m_row, m_yawSines.front(), m_yawSines.back(), f);
    }
    bool isNear(int focal) const {
        return m_rowIsNear || m_screen.isNear(m_cell, m_screenFocals[index(focal)]);
    }

    // Evaluates those focal lengths of the cell that are not refused, in ascending order.
    void scanFocals(int from, int to) {
        if (from == to) {
            if (!isRefused(from)) {
                evaluate(from);
            }
            return;
        }
        if (isNear(from) && isNear(to)) {
            const Focal& f = m_screenFocals[index(from)];
            const Focal& g = m_screenFocals[index(to)];
            const double limit = Screen::nearLimit(m_limitDeg);
            if (Screen::notParallel(m_cell, f, g, limit)) {
                Rules::decided(Decision::VanishingPoints, from, to);
                return;
            }
            if (Screen::cosines(m_screen.edges(m_row, m_cell, f), m_screen.edges(m_row, m_cell, g))
                    .above(limit)) {
                Rules::decided(Decision::Cosines, from, to);
                return;
            }
        }
        const int middle = (from + to) / 2;
        scanFocals(from, middle);
        scanFocals(middle + 1, to);
    }

    bool isRefused(int focal) const {
        const Focal& f = m_screenFocals[index(focal)];
        const bool isTrusted = isNear(focal);
        if (!isTrusted && !m_screen.isFar(m_cell, f)) {
            return false;
        }
        const double limit =
            isTrusted ? Screen::nearLimit(m_limitDeg) : Screen::farLimit(m_limitDeg);
        if (Screen::notParallel(m_cell, f, limit)) {
            Rules::decided(Decision::VanishingPoints, focal, focal);
            return true;
        }
        if (Screen::cosines(m_screen.edges(m_row, m_cell, f)).above(limit)) {
            Rules::decided(Decision::Cosines, focal, focal);
            return true;
        }
        return false;
    }

    void evaluate(int focal) {
        if (!m_cellRotation) {
            m_cellRotation = rotationAt(m_pitch, m_yaw);
        }
        const Corners q =
            projectOntoCentroid(m_quad, m_centroid, *m_cellRotation, m_lenses[index(focal)]);
        if (exactlyAbove<Rules>(q, m_limitDeg)) {
            Rules::decided(Decision::ProjectedEdges, focal, focal);
            return;
        }
        Rules::decided(Decision::Error, focal, focal);
        const double error = RightAngleError(q);
        if (error < m_bestError || (Rules::lastOfEqualsWins && error == m_bestError)) {
            m_bestError = error;
            m_limitDeg = std::min(m_limitDeg, error);
            m_best.pitchDeg = m_pitches[m_pitch];
            m_best.yawDeg = m_yaws[m_yaw];
            m_best.focalMm = m_focals[index(focal)];
        }
    }

    cv::Matx33d rotationAt(std::size_t pitch, std::size_t yaw) const {
        cv::Matx33d rotation = m_rotationZ;
        PremultiplyMatrix(m_rotationsX[pitch], rotation);
        PremultiplyMatrix(m_rotationsY[yaw], rotation);
        return rotation;
    }

    // The error of a candidate that is likely to be close to the best of the stage: from the middle
    // of the ranges downhill on the bound by the cosines. The better it is, the more is refused;
    // whichever candidate it is, the result is the same.
    double errorNearMinimum() const {
        const std::array<int, 3> counts = {static_cast<int>(m_pitches.size()),
                                           static_cast<int>(m_yaws.size()),
                                           static_cast<int>(m_focals.size())};
        const auto height = [&](const std::array<int, 3>& c) {
            const auto row = m_screen.row(m_rotationsX[index(c[0])]);
            const auto cell = m_screen.cell(row, m_yawSines[index(c[1])]);
            const Focal& f = m_screenFocals[index(c[2])];
            return m_screen.isNear(cell, f) ? Screen::cosines(m_screen.edges(row, cell, f)).value()
                                            : noError;
        };
        std::array<int, 3> here = {counts[0] / 2, counts[1] / 2, counts[2] / 2};
        double lowest = height(here);
        for (int step = 4; step > 0;) {
            bool moved = false;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                for (const int move : {-step, step}) {
                    std::array<int, 3> there = here;
                    there.at(axis) += move;
                    if (there.at(axis) < 0 || there.at(axis) >= counts.at(axis)) {
                        continue;
                    }
                    const double value = height(there);
                    if (value < lowest) {
                        lowest = value;
                        here = there;
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
        const Lens lens(m_quad.image, m_best.focalMm);
        const cv::Matx33d rotationX = RotationX(m_best.pitchDeg);
        const cv::Matx33d rotationY = RotationY(m_best.yawDeg);
        const auto errorOf = [&](double roll) {
            cv::Matx33d rotation = RotationZ(-roll);
            PremultiplyMatrix(rotationX, rotation);
            PremultiplyMatrix(rotationY, rotation);
            return AxisAlignmentError(projectOntoCentroid(m_quad, m_centroid, rotation, lens));
        };
        ++m_stage;
        const std::vector<double> rolls = steps(from, to, step);
        std::vector<double> bounds(rolls.size(), 0.0);
        double limit = noError;
        const auto cell =
            m_screen.cell(m_screen.row(rotationX), {rotationY(0, 2), rotationY(0, 0)});
        if (m_screen.isNear(cell, m_screen.focal(lens.focalPx))) {
            cv::Matx33d rotation = rotationX;
            PremultiplyMatrix(rotationY, rotation);
            const RollScreen<Rules> screen(ProjectCorners(m_quad, rotation, lens), lens.focalPx);
            const std::vector<SineCosine> angles = turnedBy(rolls, step);
            for (std::size_t i = 0; i < rolls.size(); ++i) {
                bounds[i] = screen.value(angles[i]) - screen.margin();
            }
            const auto lowest = std::min_element(bounds.begin(), bounds.end());
            limit = errorOf(rolls[static_cast<std::size_t>(lowest - bounds.begin())]);
        }
        double bestError = noError;
        for (std::size_t i = 0; i < rolls.size(); ++i) {
            if (bounds[i] > limit) {
                continue;
            }
            const double error = errorOf(rolls[i]);
            if (error < bestError || (Rules::lastOfEqualsWins && error == bestError)) {
                bestError = error;
                m_best.rollDeg = rolls[i];
            }
        }
    }

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }

    const MarkedQuad m_quad;
    const cv::Point2f m_centroid;
    const Screen m_screen;
    Pose m_best;

    // The current stage of scanAngles: its ranges, their matrices and lenses, the smallest error
    // known to be reached and the smallest in scan order.
    std::vector<double> m_pitches, m_yaws, m_focals;
    cv::Matx33d m_rotationZ;
    std::vector<cv::Matx33d> m_rotationsX, m_rotationsY;
    std::vector<SineCosine> m_yawSines;
    std::vector<Lens> m_lenses;
    std::vector<Focal> m_screenFocals;
    double m_limitDeg = noError;
    double m_bestError = noError;

    // Where scanAngles is.
    std::size_t m_pitch = 0;
    std::size_t m_yaw = 0;
    typename Screen::Row m_row;
    typename Screen::Cell m_cell;
    std::optional<cv::Matx33d> m_cellRotation;
    int m_stage = 0;
    bool m_rowIsNear = false;
    const bool m_focalKnown;
};

} // namespace tarvix::converge_detail
