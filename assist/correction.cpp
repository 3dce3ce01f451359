#include "correction.h"
#include "fixed_number.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tarvix {

namespace {

constexpr double widestAngleDeg = 60.0; // of the coarse scan, as are the next two
constexpr double longestFocalMm = 51.0;
constexpr double shortestFocalMm = 1.0;
constexpr double frameMm = 36.0;         // the longer side of the 35-mm frame
constexpr double toleratedMissDeg = 2.0; // of good marks on a photograph without much distortion
constexpr double openFocalRatio = 1.0 / 3.0;

// How far the farthest corner is outside the canvas, pixels; 0 if all are on it.
double outside(const Quad& corners, cv::Size canvas) {
    double most = 0;
    for (const cv::Point2d& p : corners) {
        most = std::max({most, -p.x, -p.y, p.x - canvas.width, p.y - canvas.height});
    }
    return most;
}

std::optional<std::string> rimOf(const Correction& c) {
    std::vector<std::string> ends;
    for (const auto& [name, angle] : {std::pair("pitch", c.pitchDeg), std::pair("yaw", c.yawDeg),
                                      std::pair("roll", c.rollDeg)}) {
        if (std::abs(angle) > widestAngleDeg) {
            ends.push_back(std::string(name) + " beyond 60 degrees");
        }
    }
    if (c.searchedFocal && c.focalMm > longestFocalMm) {
        ends.emplace_back("focal length beyond 51 mm");
    }
    if (c.searchedFocal && c.focalMm < shortestFocalMm) {
        ends.emplace_back("focal length below 1 mm");
    }
    if (ends.empty()) {
        return std::nullopt;
    }
    std::string text = "the search ended at the rim of its range (" + ends[0];
    for (std::size_t i = 1; i < ends.size(); ++i) {
        text += ", " + ends[i];
    }
    return text + "): check the corners and give the focal length if you know it";
}

} // namespace

double missedRightAnglesDeg(const Quad& corners) {
    double sum = 0;
    for (std::size_t k = 0; k < 4; ++k) {
        const cv::Point2d a = corners[(k + 3) % 4] - corners[k];
        const cv::Point2d b = corners[(k + 1) % 4] - corners[k];
        const double angleDeg = std::atan2(std::abs(a.cross(b)), a.dot(b)) * 180 / std::numbers::pi;
        sum += std::abs(angleDeg - 90);
    }
    return sum;
}

std::optional<double> focalOfVanishingPoints(const Quad& marked, cv::Size image) {
    const double unit = std::max(image.width, image.height); // keeps the products near 1
    std::array<cv::Vec3d, 4> p;
    for (std::size_t i = 0; i < 4; ++i) {
        p[i] = {(marked[i].x - image.width * 0.5) / unit, (marked[i].y - image.height * 0.5) / unit,
                1.0};
    }
    const cv::Vec3d across = p[0].cross(p[1]).cross(p[3].cross(p[2]));
    const cv::Vec3d down = p[0].cross(p[3]).cross(p[1].cross(p[2]));
    const double squared = -(across[0] * down[0] + across[1] * down[1]) / (across[2] * down[2]);
    if (!std::isfinite(squared) || squared <= 0) {
        return std::nullopt;
    }
    return frameMm * std::sqrt(squared);
}

bool leavesFocalOpen(const Quad& marked, cv::Size image) {
    const std::optional<double> focal = focalOfVanishingPoints(marked, image);
    if (!focal) {
        return true;
    }
    double sum = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        double largest = 0;
        for (const double step : {-1.0, 1.0}) {
            Quad moved = marked;
            (i % 2 == 0 ? moved[i / 2].x : moved[i / 2].y) += step;
            const std::optional<double> other = focalOfVanishingPoints(moved, image);
            if (!other) {
                return true;
            }
            largest = std::max(largest, std::abs(std::log(*other / *focal)));
        }
        sum += largest * largest;
    }
    return std::sqrt(sum) > openFocalRatio;
}

bool isUprightRectangle(const Quad& corners) {
    const auto [a, b, c, d] = corners;
    // Each corner is compared with that of the rectangle through the edges' middles.
    return std::max({std::abs(a.x - d.x), std::abs(b.x - c.x), std::abs(a.y - b.y),
                     std::abs(d.y - c.y)}) <= 1.0;
}

std::vector<Remark> remarksOn(const Correction& correction, const Quad& onCanvas, cv::Size canvas) {
    std::vector<Remark> remarks;
    const bool open =
        correction.searchedFocal && leavesFocalOpen(correction.marked, correction.image);
    if (open) {
        remarks.push_back({"focal-open", "these corners leave the focal length open (the rectangle "
                                         "is seen nearly face-on, or turned about one axis only): "
                                         "the one found means little; give it if you know it"});
    }
    if (isUprightRectangle(correction.marked)) {
        remarks.push_back({"no-correction", "the marked corners are an upright rectangle already: "
                                            "only the size changes"});
    } else if (const std::optional<std::string> rim = rimOf(correction)) {
        remarks.push_back({"search-rim", *rim});
    }
    if (!(correction.missedDeg <= toleratedMissDeg)) { // true for what is not a number, too
        remarks.push_back({"not-a-rectangle",
                           "no rectangle explains these corners: the right angles are missed by " +
                               fixedNumber(correction.missedDeg, 1) +
                               " degrees in sum; check the corners and the focal length"});
    }
    if (const double pixels = outside(onCanvas, canvas); pixels > 1.0) {
        remarks.push_back({"cut-off", "the corrected corners leave the image by " +
                                          fixedNumber(pixels, 1) +
                                          " pixels, and what is there is cut off"});
    }
    return remarks;
}

} // namespace tarvix
