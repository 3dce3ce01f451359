// The sentences of calibration_quality.h. Every limit here is a rule of thumb, named with what it
// guards against; docs/calibration.md has the table.
#include "calibration_quality.h"
#include "fixed_number.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tarvix {

namespace {

constexpr std::size_t fewViews = 8;    // below: chance decides
constexpr double usualRms = 0.5;       // pixels; above: blur, a bent board, wrong corners
constexpr double strayFactor = 2.5;    // a view's rms over the median of all: it differs
constexpr double strayRms = 0.3;       // pixels; below: no view is a stray
constexpr double outerShare = 0.02;    // of the corners in the outer third: distortion there
constexpr int manyEmptyCells = 20;     // of 100
constexpr double flatTiltDeg = 15;     // no view tilted more: focal length is open
constexpr double oneSidedDeg = 20;     // range of tilts about an axis
constexpr double sameDistance = 1.15;  // farthest over nearest
constexpr double vagueFocal = 0.005;   // deviation of the focal length, relative
constexpr double unequalFocals = 0.02; // fx to fy; sensors with square pixels have the same
constexpr double overfitFactor = 1.5;  // the other half's rms over the fit's
constexpr double vaguePixels = 1;      // deviation of a projected point

class Findings {
public:
    // A doubt, if the condition holds.
    void mindIf(bool condition, const std::string& sentence) {
        if (condition) {
            m_all.push_back({false, sentence});
        }
    }
    [[nodiscard]] std::vector<Finding> all() const { return m_all; }

private:
    std::vector<Finding> m_all;
};

double medianRms(const std::vector<ViewEstimate>& views) {
    std::vector<double> values(views.size());
    std::transform(views.begin(), views.end(), values.begin(),
                   [](const ViewEstimate& view) { return view.rms; });
    std::nth_element(values.begin(),
                     values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void judgeFit(const CalibrationQuality& quality, const std::vector<std::string>& names,
              Findings& findings) {
    const CameraEstimate& camera = quality.camera;
    const double median = medianRms(camera.views);
    findings.mindIf(camera.rms > usualRms,
                    "the corners are " + fixedNumber(camera.rms, 2) +
                        " pixels (rms) off the estimate; below 0.5 is usual for sharp photographs "
                        "of a flat board");
    for (std::size_t i = 0; i < camera.views.size(); ++i) {
        const double rms = camera.views[i].rms;
        findings.mindIf(rms > strayRms && rms > strayFactor * median,
                        "'" + names.at(i) + "' does not fit the others: " + fixedNumber(rms, 2) +
                            " pixels rms, where the median is " + fixedNumber(median, 2));
    }
    if (quality.crossValidation) {
        const CrossValidation& cross = *quality.crossValidation;
        findings.mindIf(cross.otherRms > overfitFactor * cross.fitRms,
                        "half of the images predict the other half only to " +
                            fixedNumber(cross.otherRms, 2) + " pixels rms, themselves to " +
                            fixedNumber(cross.fitRms, 2) + ": more images would change the result");
    }
}

void judgeViews(const CalibrationQuality& quality, Findings& findings) {
    const std::size_t views = quality.camera.views.size();
    const Spread& spread = quality.spread;
    const auto [nearest, farthest] =
        std::minmax_element(spread.distance.begin(), spread.distance.end());
    const double mostTilted = *std::max_element(spread.tiltDeg.begin(), spread.tiltDeg.end());
    findings.mindIf(views < fewViews,
                    std::string(views == 1 ? "one image is" : "") +
                        (views == 1 ? "" : std::to_string(views) + " images are") +
                        " too few to trust: take ten to twenty");
    findings.mindIf(mostTilted < flatTiltDeg,
                    "no image tilts the board by more than " + fixedNumber(mostTilted, 0) +
                        " degrees: focal length and distance cannot be told apart");
    findings.mindIf(views > 1 && mostTilted >= flatTiltDeg &&
                        std::min(spread.aboutXDeg, spread.aboutYDeg) < oneSidedDeg,
                    std::string("the board is hardly tilted ") +
                        (spread.aboutXDeg < spread.aboutYDeg ? "up and down" : "left and right") +
                        ": tilt it in every direction");
    findings.mindIf(views > 1 && *farthest < sameDistance * *nearest,
                    "the board is at the same distance in all images: bring it nearer in some");
}

void judgeCoverage(const CalibrationQuality& quality, Findings& findings) {
    const Coverage& coverage = quality.coverage;
    const auto& [inner, middle, outer] = coverage.thirds;
    const int all = inner + middle + outer;
    findings.mindIf(outer == 0,
                    "the outer third of the image has no corner: distortion there is a guess");
    findings.mindIf(outer > 0 && outer < outerShare * all,
                    "the outer third of the image has only " + std::to_string(outer) + " of " +
                        std::to_string(all) +
                        " corners: distortion there is little more than a guess");
    findings.mindIf(coverage.emptyCells >= manyEmptyCells,
                    std::to_string(coverage.emptyCells) +
                        " of 100 cells of the image hold no corner: bring the board into all of "
                        "them");
}

void judgeParameters(const CalibrationQuality& quality, Findings& findings) {
    const double fx = quality.camera.parameters[0];
    const double fy = quality.camera.parameters[1];
    findings.mindIf(std::abs(fx - fy) > unequalFocals * std::max(fx, fy),
                    "fx and fy differ by " + fixedNumber(100 * std::abs(fx / fy - 1), 1) +
                        " %: most cameras have square pixels, where they are the same");
    const double vague =
        std::max(quality.camera.deviations[0] / fx, quality.camera.deviations[1] / fy);
    findings.mindIf(vague > vagueFocal, "the focal length is known to " +
                                            fixedNumber(100 * vague, 1) +
                                            " % only (one standard deviation)");
    double most = 0;
    cv::minMaxLoc(quality.deviation, nullptr, &most);
    findings.mindIf(most > vaguePixels,
                    "somewhere in the image, where a point appears is known to " +
                        fixedNumber(most, 1) + " pixels only (one standard deviation)");
}

} // namespace

std::vector<Finding> findingsOf(const CalibrationQuality& quality,
                                const std::vector<std::string>& names) {
    Findings findings;
    judgeViews(quality, findings);
    judgeFit(quality, names, findings);
    judgeCoverage(quality, findings);
    judgeParameters(quality, findings);
    std::vector<Finding> all = findings.all();
    if (all.empty()) {
        all.push_back({true, "the estimate is well founded: the images cover the image, tilt the "
                             "board, and agree with each other"});
    }
    return all;
}

} // namespace tarvix
