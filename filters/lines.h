// Straight line segments of a colour picture, with thresholds taken from the picture itself.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <vector>

namespace tarvix {

// The length of the shortest segment accepted in a picture of width x rows pixels: a tenth of the
// smaller side, truncated.
int shortestSegment(int width, int rows);

// Segments (x1, y1, x2, y2) of a CV_8UC3 picture, in top-down pixel coordinates, in the order of
// the probabilistic Hough transform (1 pixel, 1 degree, 50 votes, gaps of up to 10 pixels). Canny's
// upper threshold is Otsu's level of the grey picture, the lower one a third of it.
// Throws cv::Exception for any other type and for an empty picture.
std::vector<cv::Vec4i> findLines(const cv::Mat& source, int shortest);

} // namespace tarvix
