// The bound by which the convergence search refuses rolls.
#pragma once

#include "converge.h"
#include "converge_screen.h"
#include "four.h"
#include "rounded_trig.h"
#include "vect.h"

#include <cstddef>
#include <vector>

namespace tarvix::converge_detail {

// Sine and cosine of minus each roll, the angle of RotationZ: one turn from each to the next.
//
// They are off by less than 2e-14 for up to 25 rolls: 24 turns add 4 u each, 1.1e-14 in all; the
// rolls themselves, added up in degrees below 128, add 24 * 2^-47 degrees = 3.0e-15 rad; their
// conversion to radians adds 1e-15.
inline std::vector<SineCosine> turnedBy(const std::vector<double>& rolls, double step) {
    std::vector<SineCosine> turned;
    turned.reserve(rolls.size());
    SineCosine angle = roundedSineCosine(-rolls.front() * pi / 180.0);
    const SineCosine turn = roundedSineCosine(-step * pi / 180.0);
    for (std::size_t i = 0; i < rolls.size(); ++i) {
        turned.push_back(angle);
        angle = {angle.sine * turn.cosine + angle.cosine * turn.sine,
                 angle.cosine * turn.cosine - angle.sine * turn.sine};
    }
    return turned;
}

// AxisAlignmentError for one pitch, yaw and focal length, but for rounding. The roll turns the
// projected corners about the image's centre, so it turns the four differences that the error is
// made of.
//
// Trusted for near candidates of the screen, where a projected coordinate is off by less than
// 16600 u F (geometry/converge_screen.h). That goes for the eight that the error takes, and for the
// eight taken here, which are turned: below 8 * 16600 u F (1 + sqrt(2)) = 3.6e-11 F. The corners
// are within 32.1 F of the centre, so a sine and cosine off by 2e-14 cost less than
// 8 * 64.2 F * 2e-14 more, in all less than 4.7e-11 F. The margin is 1e-9 f, and f >= F.
template <class Rules>
class RollScreen {
public:
    // `unrolled` are the corners projected with roll 0.
    RollScreen(const Corners& unrolled, double focalPx) : m_margin(focalPx * Rules::rollMargin) {
        const cv::Point2d d03 = unrolled[0] - unrolled[3];
        const cv::Point2d d12 = unrolled[1] - unrolled[2];
        const cv::Point2d d01 = unrolled[0] - unrolled[1];
        const cv::Point2d d32 = unrolled[3] - unrolled[2];
        m_byCosine = four(d03.x, d12.x, d01.y, d32.y);
        m_bySine = four(d03.y, d12.y, -d01.x, -d32.x);
    }

    // Every roll whose value is above the error of another by more than the margin has a larger
    // error. `angle` is minus the roll.
    double value(const SineCosine& angle) const {
        const Four terms = abs4(angle.cosine * m_byCosine + angle.sine * m_bySine);
        const Two sums = terms.low + terms.high;
        return sums[0] + sums[1];
    }
    double margin() const { return m_margin; }

private:
    Four m_byCosine, m_bySine;
    double m_margin;
};

} // namespace tarvix::converge_detail
