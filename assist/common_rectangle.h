// The part of a canvas that several images share.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

namespace tarvix {

// Returns the largest upright rectangle in which every element of `mask` is non-zero, in pixels;
// of several, the topmost, then the leftmost. An empty rectangle if there is none.
//   mask  CV_8UC1
cv::Rect largestRectangle(const cv::Mat& mask);

} // namespace tarvix
