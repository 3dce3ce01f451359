// Straight line segments of a colour image, with thresholds taken from the image itself.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <vector>

namespace tarvix {

// Returns the length of the shortest segment accepted in an image of width x rows pixels: a tenth
// of the smaller side, truncated.
int shortestSegment(int width, int rows);

// Finds segments by the probabilistic Hough transform: 1 pixel, 1 degree, 50 votes, gaps of up to
// 10 pixels. Canny's upper threshold is Otsu's level of the grey image, the lower one a third of
// it.
//   source    CV_8UC3
//   shortest  length of the shortest segment, pixels
// Returns (x1, y1, x2, y2) of each segment in top-down pixel coordinates, in OpenCV's order.
// On failure: throws cv::Exception for any other type and for an empty image.
std::vector<cv::Vec4i> findLines(const cv::Mat& source, int shortest);

} // namespace tarvix
