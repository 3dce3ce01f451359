// What people need to know before they trust the calibration of a camera.
#pragma once

#include "camera_estimate.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace tarvix {

// Where in the image the corners of a set of views are.
struct Coverage {
    cv::Mat_<int> cells; // 10 x 10 equal cells of the image: corners in each
    int emptyCells = 0;  // of 100
    std::array<int, 3>
        thirds{};        // corners in the inner, middle and outer third of the radius, which
                         // is half the image's diagonal
    double farthest = 0; // the outermost corner's radius as a share of that, 0 to 1
};

Coverage coverageOf(const std::vector<SeenBoard>& views);

// How differently the views see the board.
struct Spread {
    std::vector<double> tiltDeg;  // of each view, between the board's normal and the optical axis
    std::vector<double> distance; // of each view, to the board's centre, in squares
    double aboutXDeg = 0;         // range of the tilts about the image's horizontal axis
    double aboutYDeg = 0;         // and about its vertical axis
};

Spread spreadOf(const std::vector<ViewEstimate>& views, cv::Size pattern, float square);

struct CalibrationQuality {
    CameraEstimate camera;
    Coverage coverage;
    Spread spread;
    std::optional<CrossValidation> crossValidation; // none for fewer than six views
    cv::Mat_<double> deviation; // projectionDeviation on 20 x 15 samples, pixels
    std::size_t worst = 0;      // the view with the largest rms
};

// Estimates the camera and judges the estimate. On failure: as estimateCamera.
CalibrationQuality judgeCalibration(const std::vector<SeenBoard>& views, cv::Size pattern,
                                    float square);

// One sentence on a calibration.
struct Finding {
    bool isGood; // false: mind this
    std::string sentence;
};

// Whether the estimate is well founded, in sentences: the doubts; one good word if there are none.
//   names  of the views, for the sentences
std::vector<Finding> findingsOf(const CalibrationQuality& quality,
                                const std::vector<std::string>& names);

} // namespace tarvix
