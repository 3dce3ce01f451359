// What a lens does to an image, as a field of displacements.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <vector>

namespace tarvix {

struct Displacement {
    cv::Point2d ideal; // where a lens without distortion would show the point, pixels
    cv::Point2d shift; // from there to where this lens shows it, pixels
};

// Returns the displacements at the centres of `grid` equal cells of the image, row by row.
//   cameraMatrix  3 x 3
//   distCoeffs    as OpenCV takes them
// On failure: throws cv::Exception for matrices of a wrong shape.
std::vector<Displacement> lensField(const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs,
                                    cv::Size imageSize, cv::Size grid);

} // namespace tarvix
