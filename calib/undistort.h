// Applies a stored calibration to an image.
#pragma once

#include <opencv2/core/mat.hpp>

namespace tarvix {

struct Undistorted {
    cv::Mat image;
    cv::Mat map1; // CV_32FC1: the source's x for each pixel of the image
    cv::Mat map2; // CV_32FC1: the source's y
};

// Removes the lens's distortion: bicubic, black outside. The camera matrix stays as calibrated.
//   cameraMatrix  3 x 3
//   distCoeffs    as OpenCV takes them
//   memory        makes the result and the maps; null: OpenCV chooses
// On failure: throws cv::Exception for an empty image or matrices of a wrong shape.
Undistorted undistort(const cv::Mat& image, const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs,
                      cv::MatAllocator* memory = nullptr);

// Returns element row * cols + column of a continuous CV_32FC1 map, a quiet NaN past its end.
float mapSample(const cv::Mat& map, int row, int column);

// Warps one camera's image into the rectified frame, black outside. The projection matrix is the
// new camera matrix; the size stays. On purpose the interpolation is code 3, which cv::remap takes
// as bilinear, and not the bicubic one of undistort().
//   memory  makes the result and the maps; null: OpenCV chooses
// On failure: as undistort.
cv::Mat rectify(const cv::Mat& image, const cv::Mat& cameraMatrix, const cv::Mat& distortion,
                const cv::Mat& rotation, const cv::Mat& projection,
                cv::MatAllocator* memory = nullptr);

} // namespace tarvix
