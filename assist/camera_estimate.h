// The estimate of one camera from views of a board, with all that is needed to judge it.
#pragma once

#include "board_search.h"

#include <opencv2/core/mat.hpp>
#include <opencv2/core/matx.hpp>

#include <optional>
#include <vector>

namespace tarvix {

// The parameters that are estimated, in OpenCV's order.
inline constexpr int parameterCount = 9;
inline constexpr const char* parameterNames[parameterCount] = {"fx", "fy", "cx", "cy", "k1",
                                                               "k2", "p1", "p2", "k3"};
using ParameterVector = cv::Vec<double, parameterCount>;
using ParameterMatrix = cv::Matx<double, parameterCount, parameterCount>;

// What one view says of the estimate.
struct ViewEstimate {
    cv::Vec3d rotation;                 // from the board's frame into the camera's, Rodrigues
    cv::Vec3d translation;              // in the unit of the board's squares
    std::vector<cv::Point2f> residuals; // corner seen minus corner projected, pixels
    double rms = 0;                     // of the residuals' lengths, pixels
    double largest = 0;                 // longest residual, pixels
};

struct CameraEstimate {
    cv::Size imageSize;
    cv::Mat cameraMatrix; // 3 x 3 doubles: fx 0 cx / 0 fy cy / 0 0 1, pixels
    cv::Mat distCoeffs;   // 1 x 5 doubles: k1 k2 p1 p2 k3
    double rms = 0;       // over all corners, pixels
    std::vector<ViewEstimate> views;
    ParameterVector parameters;
    ParameterVector deviations; // standard deviations
    ParameterMatrix covariance; // of the parameters; the views' poses are free
};

// Estimates a camera, a pinhole with five distortion coefficients, as tx_Calib does: the same call
// of OpenCV on the same corners gives the same camera.
//   views    all of one image size, at least one; each with pattern.area() corners
//   pattern  inner corners: width per row, height per column
//   square   edge of a square; the unit of translations
// The covariance is that of least squares (Hartley and Zisserman, Multiple View Geometry, 5.2.4):
// the noise of the corners, estimated from the residuals, times the inverse of the normal matrix
// from which the poses have been eliminated. OpenCV's own deviations (4.6) are larger by a factor
// of about 1.46: it estimates the noise as if each corner were one number, and it is two.
// On failure: throws cv::Exception for no view and for views that OpenCV refuses.
CameraEstimate estimateCamera(const std::vector<SeenBoard>& views, cv::Size pattern, float square);

// The residuals of a view under a camera that is given: only the pose is estimated.
// On failure: throws cv::Exception for matrices of a wrong shape.
ViewEstimate judgeView(const SeenBoard& view, cv::Size pattern, float square,
                       const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs);

// How well cameras from half of the views predict the other half.
struct CrossValidation {
    double fitRms = 0; // of the views that were used, pixels
    double otherRms =
        0; // of those that were not; much above fitRms: the estimate follows its views
};

// Fits every second view and judges the others, then the other way round.
// Returns no value for fewer than six views.
std::optional<CrossValidation> crossValidate(const std::vector<SeenBoard>& views, cv::Size pattern);

// Returns the standard deviation of where a direction in the camera's frame appears in the image,
// in pixels, along the direction in which it is largest: CV_64FC1, `grid` samples in the centres of
// equal cells of the image.
cv::Mat_<double> projectionDeviation(const CameraEstimate& camera, cv::Size grid);

} // namespace tarvix
