// What the commands draw on copies of images, so that people see what was found. Images have 8 or
// 24 bits (CV_8UC1, CV_8UC3); what is drawn on has three channels. Coordinates are pixels.
#pragma once

#include <opencv2/core.hpp>

#include <array>
#include <vector>

namespace host {

// Segments x1, y1, x2, y2 on the faded image, so that they stand out on any image.
cv::Mat withSegments(const cv::Mat& image, const std::vector<cv::Vec4i>& segments);

// Frames whose outermost pixels belong to the rectangles.
cv::Mat withFrames(const cv::Mat& image, const std::vector<cv::Rect>& rectangles);

// Whether four corners x0, y0, ..., x3, y3 are near enough to be drawn: within a million pixels.
bool canBeDrawn(const std::array<double, 8>& corners);

// Four numbered corners and the edges between them.
cv::Mat withCorners(const cv::Mat& image, const std::array<double, 8>& corners,
                    const cv::Scalar& colour);

// Both images beside each other, with lines across that show whether rows match.
cv::Mat sideBySide(const cv::Mat& left, const cv::Mat& right);

} // namespace host
