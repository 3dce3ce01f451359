#include "calibration_quality.h"

#include "coverage.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace tarvix {

namespace {

constexpr int coverageCells = 10;
const cv::Size deviationSamples(20, 15);

double degrees(double radians) {
    return radians * 180 / CV_PI;
}

double rangeOf(const std::vector<double>& values) {
    if (values.empty()) {
        return 0;
    }
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return *most - *least;
}

} // namespace

Coverage coverageOf(const std::vector<SeenBoard>& views) {
    const cv::Size grid(coverageCells, coverageCells);
    Coverage coverage;
    coverage.cells.create(grid);
    coverage.cells.setTo(0);
    for (const SeenBoard& view : views) {
        coverage.cells += pointsInCells(view.corners, view.imageSize, grid);
        const double width = view.imageSize.width;
        const double height = view.imageSize.height;
        for (const cv::Point2f& corner : view.corners) {
            const double radius =
                std::hypot(corner.x + 0.5 - width / 2, corner.y + 0.5 - height / 2) /
                (std::hypot(width, height) / 2);
            ++coverage.thirds.at(static_cast<std::size_t>(std::clamp(radius * 3, 0.0, 2.0)));
            coverage.farthest = std::max(coverage.farthest, radius);
        }
    }
    coverage.emptyCells = grid.area() - cv::countNonZero(coverage.cells);
    return coverage;
}

Spread spreadOf(const std::vector<ViewEstimate>& views, cv::Size pattern, float square) {
    Spread spread;
    std::vector<double> aboutX;
    std::vector<double> aboutY;
    for (const ViewEstimate& view : views) {
        cv::Matx33d rotation;
        cv::Rodrigues(view.rotation, rotation);
        cv::Vec3d normal(rotation(0, 2), rotation(1, 2), rotation(2, 2));
        normal = normal[2] < 0 ? -normal : normal;
        spread.tiltDeg.push_back(degrees(std::atan2(std::hypot(normal[0], normal[1]), normal[2])));
        aboutX.push_back(degrees(std::atan2(normal[1], normal[2])));
        aboutY.push_back(degrees(std::atan2(normal[0], normal[2])));
        const cv::Vec3d centre((pattern.height - 1) * 0.5 * square,
                               (pattern.width - 1) * 0.5 * square, 0);
        spread.distance.push_back(cv::norm(rotation * centre + view.translation) / square);
    }
    spread.aboutXDeg = rangeOf(aboutX);
    spread.aboutYDeg = rangeOf(aboutY);
    return spread;
}

CalibrationQuality judgeCalibration(const std::vector<SeenBoard>& views, cv::Size pattern,
                                    float square) {
    CalibrationQuality quality;
    quality.camera = estimateCamera(views, pattern, square);
    quality.coverage = coverageOf(views);
    quality.crossValidation = crossValidate(views, pattern);
    const std::vector<ViewEstimate>& estimates = quality.camera.views;
    quality.spread = spreadOf(estimates, pattern, square);
    quality.deviation = projectionDeviation(quality.camera, deviationSamples);
    const auto worst = std::max_element(
        estimates.begin(), estimates.end(),
        [](const ViewEstimate& a, const ViewEstimate& b) { return a.rms < b.rms; });
    quality.worst = static_cast<std::size_t>(worst - estimates.begin());
    return quality;
}

} // namespace tarvix
