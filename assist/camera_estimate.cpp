#include "camera_estimate.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>

namespace tarvix {

namespace {

constexpr int poseCount = 6;

// The columns of cv::projectPoints' derivatives: those by the pose, then those by the camera.
using PoseMatrix = cv::Matx<double, poseCount, poseCount>;
using MixedMatrix = cv::Matx<double, parameterCount, poseCount>;

// tx_Calib's.
const cv::TermCriteria criteria{cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, DBL_EPSILON};

// Residuals of a view and the derivatives of its projection: 2 n x (6 + 9).
cv::Mat judgePose(ViewEstimate& view, const SeenBoard& board, const std::vector<cv::Point3f>& model,
                  const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs) {
    std::vector<cv::Point2f> projected;
    cv::Mat derivatives;
    cv::projectPoints(model, view.rotation, view.translation, cameraMatrix, distCoeffs, projected,
                      derivatives);
    double sum = 0;
    view.residuals.clear();
    view.largest = 0;
    for (std::size_t i = 0; i < projected.size(); ++i) {
        const cv::Point2f residual = board.corners.at(i) - projected[i];
        const double length = cv::norm(residual);
        view.residuals.push_back(residual);
        view.largest = std::max(view.largest, length);
        sum += length * length;
    }
    view.rms = std::sqrt(sum / static_cast<double>(projected.size()));
    return derivatives;
}

// The inverse of a symmetric matrix whose parameters are of very different sizes. What the views do
// not determine gets a huge variance instead of none.
ParameterMatrix inverseOf(const ParameterMatrix& normal) {
    ParameterVector scale;
    for (int i = 0; i < parameterCount; ++i) {
        scale[i] = normal(i, i) > 0 ? 1 / std::sqrt(normal(i, i)) : 1;
    }
    const ParameterMatrix balanced =
        ParameterMatrix::diag(scale) * normal * ParameterMatrix::diag(scale);
    cv::Mat values;
    cv::Mat vectors; // in rows
    cv::eigen(balanced, values, vectors);
    constexpr double smallest = 1e-14; // below it, rounding decides
    for (int i = 0; i < parameterCount; ++i) {
        values.at<double>(i) = 1 / std::max(values.at<double>(i), smallest);
    }
    const cv::Mat inverse = vectors.t() * cv::Mat::diag(values) * vectors;
    return ParameterMatrix::diag(scale) * ParameterMatrix(inverse) * ParameterMatrix::diag(scale);
}

double rmsOf(const std::vector<ViewEstimate>& views) {
    double sum = 0;
    for (const ViewEstimate& view : views) {
        sum += view.rms * view.rms;
    }
    return std::sqrt(sum / static_cast<double>(views.size())); // each has as many corners
}

} // namespace

CameraEstimate estimateCamera(const std::vector<SeenBoard>& views, cv::Size pattern, float square) {
    CameraEstimate camera;
    std::vector<std::vector<cv::Point2f>> corners;
    for (const SeenBoard& view : views) {
        corners.push_back(view.corners);
        camera.imageSize = view.imageSize;
    }
    const std::vector<cv::Point3f> model = boardPoints(pattern, square);
    std::vector<cv::Mat> rotations;
    std::vector<cv::Mat> translations;
    cv::calibrateCamera(std::vector(views.size(), model), corners, camera.imageSize,
                        camera.cameraMatrix, camera.distCoeffs, rotations, translations, 0,
                        criteria);
    ParameterMatrix normal = ParameterMatrix::zeros();
    double squares = 0;
    for (std::size_t i = 0; i < views.size(); ++i) {
        ViewEstimate view;
        view.rotation = cv::Vec3d(rotations[i]);
        view.translation = cv::Vec3d(translations[i]);
        const cv::Mat j = judgePose(view, views[i], model, camera.cameraMatrix, camera.distCoeffs);
        const cv::Mat byPose = j.colRange(0, poseCount);
        const cv::Mat byCamera = j.colRange(poseCount, poseCount + parameterCount);
        const PoseMatrix pose(cv::Mat(byPose.t() * byPose));
        const MixedMatrix mixed(cv::Mat(byCamera.t() * byPose));
        normal += ParameterMatrix(cv::Mat(byCamera.t() * byCamera)) -
                  mixed * pose.inv(cv::DECOMP_SVD) * mixed.t();
        squares += view.rms * view.rms * static_cast<double>(model.size());
        camera.views.push_back(std::move(view));
    }
    camera.rms = rmsOf(camera.views);
    const double numbers = 2.0 * static_cast<double>(model.size() * views.size());
    const double unknowns = parameterCount + poseCount * static_cast<double>(views.size());
    camera.covariance = inverseOf(normal) * (squares / std::max(numbers - unknowns, 1.0));
    for (int i = 0; i < parameterCount; ++i) {
        camera.deviations[i] = std::sqrt(camera.covariance(i, i));
        camera.parameters[i] = i >= 4 ? camera.distCoeffs.at<double>(i - 4)
                                      : camera.cameraMatrix.at<double>(i % 2, i < 2 ? i : 2);
    }
    return camera;
}

ViewEstimate judgeView(const SeenBoard& view, cv::Size pattern, float square,
                       const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs) {
    ViewEstimate judged;
    const std::vector<cv::Point3f> model = boardPoints(pattern, square);
    cv::solvePnP(model, view.corners, cameraMatrix, distCoeffs, judged.rotation,
                 judged.translation);
    judgePose(judged, view, model, cameraMatrix, distCoeffs);
    return judged;
}

std::optional<CrossValidation> crossValidate(const std::vector<SeenBoard>& views,
                                             cv::Size pattern) {
    constexpr std::size_t fewestViews = 6;
    if (views.size() < fewestViews) {
        return {};
    }
    std::array<std::vector<SeenBoard>, 2> halves;
    for (std::size_t i = 0; i < views.size(); ++i) {
        halves[i % 2].push_back(views[i]);
    }
    std::vector<ViewEstimate> used;
    std::vector<ViewEstimate> others;
    for (std::size_t half = 0; half < halves.size(); ++half) {
        const CameraEstimate camera = estimateCamera(halves[half], pattern, 1.0F);
        used.insert(used.end(), camera.views.begin(), camera.views.end());
        for (const SeenBoard& view : halves[1 - half]) {
            others.push_back(
                judgeView(view, pattern, 1.0F, camera.cameraMatrix, camera.distCoeffs));
        }
    }
    return CrossValidation{rmsOf(used), rmsOf(others)};
}

cv::Mat_<double> projectionDeviation(const CameraEstimate& camera, cv::Size grid) {
    cv::Mat_<double> map(grid);
    for (int row = 0; row < grid.height; ++row) {
        for (int column = 0; column < grid.width; ++column) {
            const std::vector<cv::Point2d> pixel{
                {(column + 0.5) * camera.imageSize.width / grid.width - 0.5,
                 (row + 0.5) * camera.imageSize.height / grid.height - 0.5}};
            std::vector<cv::Point2d> ray;
            cv::undistortPoints(pixel, ray, camera.cameraMatrix, camera.distCoeffs);
            const std::vector<cv::Point3d> point{{ray[0].x, ray[0].y, 1}};
            std::vector<cv::Point2d> projected;
            cv::Mat derivatives;
            cv::projectPoints(point, cv::Vec3d(), cv::Vec3d(), camera.cameraMatrix,
                              camera.distCoeffs, projected, derivatives);
            const cv::Matx<double, 2, parameterCount> j(
                cv::Mat(derivatives.colRange(poseCount, poseCount + parameterCount).clone()));
            const cv::Matx22d spread = j * camera.covariance * j.t();
            // The larger eigenvalue of a symmetric 2 x 2 matrix.
            const double mean = (spread(0, 0) + spread(1, 1)) / 2;
            const double difference = (spread(0, 0) - spread(1, 1)) / 2;
            map(row, column) = std::sqrt(mean + std::hypot(difference, spread(0, 1)));
        }
    }
    return map;
}

} // namespace tarvix
