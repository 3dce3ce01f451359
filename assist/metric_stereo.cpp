#include "metric_stereo.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace tarvix {

namespace {

const cv::TermCriteria pairCriteria{cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 100, 1e-7};

std::vector<cv::Point2f> rectified(const std::vector<cv::Point2f>& corners,
                                   const RectifyingCamera& camera) {
    std::vector<cv::Point2f> points;
    cv::undistortPoints(corners, points, camera.cameraMatrix, camera.distortion, camera.rotation,
                        camera.projection);
    return points;
}

void rectify(MetricPair& pair, cv::Size imageSize) {
    auto& [one, two] = pair.rectifying.cameras;
    cv::stereoRectify(one.cameraMatrix, one.distortion, two.cameraMatrix, two.distortion, imageSize,
                      pair.rotation, pair.translation, one.rotation, two.rotation, one.projection,
                      two.projection, pair.rectifying.reprojection, cv::CALIB_ZERO_DISPARITY, -1.0,
                      cv::Size(), nullptr, nullptr);
    pair.isSideBySide = std::abs(pair.translation[0]) >= std::abs(pair.translation[1]);
    pair.isSwapped = pair.translation[0] > 0;
    // tx_Meas3D takes the disparity as a distance, so depth must grow from positive ones.
    auto& perDisparity = pair.rectifying.reprojection.at<double>(3, 2);
    perDisparity = std::abs(perDisparity);
}

} // namespace

MetricPair calibrateMetric(const std::vector<SeenPair>& pairs, cv::Size pattern, float square,
                           Intrinsics intrinsics) {
    std::vector<SeenBoard> one;
    std::vector<SeenBoard> two;
    std::vector<std::vector<cv::Point2f>> corners1;
    std::vector<std::vector<cv::Point2f>> corners2;
    for (const SeenPair& pair : pairs) {
        one.push_back(pair.one);
        two.push_back(pair.two);
        corners1.push_back(pair.one.corners);
        corners2.push_back(pair.two.corners);
    }
    MetricPair pair;
    pair.cameras = {estimateCamera(one, pattern, square), estimateCamera(two, pattern, square)};
    for (std::size_t i = 0; i < pair.cameras.size(); ++i) {
        pair.rectifying.cameras[i].cameraMatrix = pair.cameras[i].cameraMatrix.clone();
        pair.rectifying.cameras[i].distortion = pair.cameras[i].distCoeffs.clone();
    }
    auto& [left, right] = pair.rectifying.cameras;
    const cv::Size imageSize = pair.cameras[0].imageSize;
    cv::Mat rotation;
    cv::Mat translation;
    cv::Mat rmsOfViews; // of each pair: camera 1's, camera 2's
    pair.rms = cv::stereoCalibrate(
        std::vector(pairs.size(), boardPoints(pattern, square)), corners1, corners2,
        left.cameraMatrix, left.distortion, right.cameraMatrix, right.distortion, imageSize,
        rotation, translation, cv::noArray(), cv::noArray(), rmsOfViews,
        intrinsics == Intrinsics::Fixed ? cv::CALIB_FIX_INTRINSIC : cv::CALIB_USE_INTRINSIC_GUESS,
        pairCriteria);
    pair.rotation = cv::Matx33d(rotation);
    pair.translation = cv::Vec3d(translation);
    pair.baseline = cv::norm(pair.translation);
    for (int i = 0; i < rmsOfViews.rows; ++i) {
        pair.pairRms.push_back(
            std::hypot(rmsOfViews.at<double>(i, 0), rmsOfViews.at<double>(i, 1)) / std::sqrt(2.0));
    }
    rectify(pair, imageSize);
    return pair;
}

RowErrors rowErrorsOf(const std::vector<SeenPair>& pairs, const RectifyingPair& rectifying) {
    RowErrors errors;
    std::vector<double> all;
    for (const SeenPair& pair : pairs) {
        const auto one = rectified(pair.one.corners, rectifying.cameras[0]);
        const auto two = rectified(pair.two.corners, rectifying.cameras[1]);
        std::vector<double> rows;
        for (std::size_t i = 0; i < one.size(); ++i) {
            rows.push_back(std::abs(double{one[i].y} - double{two.at(i).y}));
        }
        std::sort(rows.begin(), rows.end());
        errors.pairMedian.push_back(quantile(rows, 0.5));
        all.insert(all.end(), rows.begin(), rows.end());
    }
    std::sort(all.begin(), all.end());
    errors.median = quantile(all, 0.5);
    errors.p90 = quantile(all, 0.9);
    return errors;
}

std::vector<double> squareLengths(const std::vector<SeenPair>& pairs, cv::Size pattern,
                                  const RectifyingPair& rectifying) {
    std::vector<double> lengths;
    for (const SeenPair& pair : pairs) {
        const auto one = rectified(pair.one.corners, rectifying.cameras[0]);
        const auto two = rectified(pair.two.corners, rectifying.cameras[1]);
        std::vector<cv::Point3d> seen; // the point with the smaller x, and the disparity
        for (std::size_t i = 0; i < one.size(); ++i) {
            const cv::Point2f reference = one[i].x > two.at(i).x ? two[i] : one[i];
            seen.emplace_back(reference.x, reference.y, std::abs(double{one[i].x} - two[i].x));
        }
        std::vector<cv::Point3d> space;
        cv::perspectiveTransform(seen, space, rectifying.reprojection);
        const auto width = static_cast<std::size_t>(pattern.width);
        for (std::size_t i = 0; i < space.size(); ++i) {
            if ((i + 1) % width != 0) {
                lengths.push_back(cv::norm(space[i + 1] - space[i]));
            }
            if (i + width < space.size()) {
                lengths.push_back(cv::norm(space[i + width] - space[i]));
            }
        }
    }
    std::sort(lengths.begin(), lengths.end());
    return lengths;
}

double quantile(const std::vector<double>& sorted, double share) {
    if (sorted.empty()) {
        return 0;
    }
    const double position = share * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(position);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] +
           (position - static_cast<double>(below)) * (sorted[above] - sorted[below]);
}

} // namespace tarvix
