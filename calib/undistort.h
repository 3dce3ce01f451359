// The use of a stored calibration on a picture.
#pragma once

#include <opencv2/core/mat.hpp>

namespace tarvix {

struct Undistorted {
    cv::Mat picture;
    cv::Mat map1; // CV_32FC1: the source's x for each pixel of the picture
    cv::Mat map2; // CV_32FC1: the source's y
};

// Removes the lens's distortion, bicubic, black outside; the camera matrix stays as calibrated.
// Raises cv::Exception for an empty picture or matrices of a wrong shape.
Undistorted undistort(const cv::Mat& picture, const cv::Mat& cameraMatrix,
                      const cv::Mat& distCoeffs);

// Element row * cols + column of a continuous map, a quiet NaN past its end.
float mapSample(const cv::Mat& map, int row, int column);

// Warps one camera's picture into the rectified frame, black outside. The projection matrix is the
// new camera matrix, the size stays. On purpose the interpolation is code 3, which cv::remap takes
// as bilinear, and not the bicubic one of undistort().
cv::Mat rectify(const cv::Mat& picture, const cv::Mat& cameraMatrix, const cv::Mat& distortion,
                const cv::Mat& rotation, const cv::Mat& projection);

} // namespace tarvix
