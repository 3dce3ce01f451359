// Points in space from pairs of points in rectified images.
#pragma once

#include <opencv2/core/mat.hpp>

namespace tarvix {

// True for what stereo rectification produces: 4 x 4 doubles.
bool isReprojectionMatrix(const cv::Mat& q);

// The point seen at p1 in one rectified image and at p2 in the other, in the frame of the
// rectified camera 1 and the unit of the board's squares. The reference is the point with the
// smaller x (p1 on a tie), whichever image it came from, and the disparity d the difference, so d
// >= 0. With (u, v) the reference:
//   W = d q32 + q33, X = (u q00 + q03) / W, Y = (v q11 + q13) / W, Z = q23 / W
// Only these entries of Q are read, on purpose. A W of 0 gives infinite coordinates.
// q must be a reprojection matrix.
cv::Point3f reproject(const cv::Mat& q, cv::Point2f p1, cv::Point2f p2);

} // namespace tarvix
