// The progress image of both calibrations: a view with its corners.
#pragma once

#include "chess_views.h"

#include <opencv2/core/mat.hpp>

namespace tarvix {

// Draws the corners on a copy of the image and shrinks it by min(client / imageSize), so that it
// fits a client area of that size. Never enlarges.
//   colour     CV_8UC3
//   imageSize  of the image in which the corners were found
//   client     size of the client area, pixels
// On failure: throws what OpenCV throws.
cv::Mat previewImage(const cv::Mat& colour, cv::Size pattern, const BoardCorners& corners,
                     cv::Size imageSize, cv::Size client);

} // namespace tarvix
