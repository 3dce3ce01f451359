// Warps by the homography fitted to four point pairs, on a canvas of given size.
//
// Unlike the projective warp (projective_warp.h), the points stay in double precision, the
// homography is a least-squares fit, and the canvas does not follow the points.
#pragma once

#include "corners.h"

#include <opencv2/core/mat.hpp>

namespace tarvix {

// Warps `source` into `destination`, which keeps its size, type and memory: bilinear, `fill` where
// the source does not reach.
//   from, to  points of the source and where they land in the destination, pixels
// Neither image may have more than 32766 rows or columns.
// On failure: throws what OpenCV throws, e.g. for an empty source or points that admit no
// homography.
void warpInto(const cv::Mat& source, cv::Mat& destination, const Corners& from, const Corners& to,
              const cv::Scalar& fill);

// Warps the image onto a canvas of its own size, white where it does not reach. Fails as warpInto.
//   memory  makes the canvas; null: OpenCV chooses
void warpOnWhite(cv::Mat& image, const Corners& from, const Corners& to,
                 cv::MatAllocator* memory = nullptr);

} // namespace tarvix
