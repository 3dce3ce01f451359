#pragma once

#include <vector>

#include <opencv2/core.hpp>

namespace tarvix {

/// How many of the points lie in each cell of a grid over an image.
///
/// A calibration needs coverage: where no photograph showed a corner,
/// the distortion is a guess.
/// @param points  in pixels, pixel centres at whole numbers; those outside the image
///                or not finite count nowhere
/// @param image   the image's size
/// @param grid    cells in x and in y
/// @return int, CV_32SC1, grid.height x grid.width; empty when a size is not positive
cv::Mat pointsInCells(const std::vector<cv::Point2f>& points, cv::Size image, cv::Size grid);

} // namespace tarvix
