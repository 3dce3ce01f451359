// Warps by the homography fitted to four point pairs, on a canvas of given size.
//
// Unlike the projective warp (geometry/projective_warp.h), the points stay in double precision, the
// homography is a least-squares fit, and the canvas does not follow the points.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <array>

namespace tarvix {

// Four points in pixels.
using Corners = std::array<cv::Point2d, 4>;

// The points of 8 doubles x0, y0, ..., x3, y3.
Corners pointsFromArray(const double* xy);

// Warps `source` into `destination`, which keeps its size, type and memory: bilinear, `fill` where
// the source does not reach. Neither may have more than 32766 rows or columns of source. Throws
// what OpenCV throws, e.g. for an empty source or points that admit no homography.
void warpInto(const cv::Mat& source, cv::Mat& destination, const Corners& from, const Corners& to,
              const cv::Scalar& fill);

// Warps the picture onto a canvas of its own size; white where it does not reach.
void warpOnWhite(cv::Mat& picture, const Corners& from, const Corners& to);

} // namespace tarvix
