// The four-point projective warp onto a fitted canvas, and the coverage mask that goes with it.
#pragma once

#include "corners.h"

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

namespace tarvix {

// Where a warp puts the image.
struct ProjectiveCanvas {
    cv::Matx33d canvasFromImage; // image pixels -> canvas pixels
    cv::Size size;               // pixels; OpenCV takes 0 as "the image's own size"
};

// Fits a canvas to the corner pairs: their homography, then the shift that brings the bounding box
// of `to` to the origin.
// On failure: throws cv::Exception if OpenCV refuses the corners, or if no x or no y of `to`
// is a number.
ProjectiveCanvas fitCanvas(const CornersF& from, const CornersF& to);

// Draws `image` on the canvas: bilinear, black outside.
//   memory  makes the result; null: OpenCV chooses
// Returns a matrix of the image's type.
// On failure: throws cv::Exception for an empty image or a canvas that cannot be made.
cv::Mat warpOntoCanvas(const cv::Mat& image, const ProjectiveCanvas& canvas,
                       cv::MatAllocator* memory = nullptr);

// Draws the coverage of an image of `imageSize` on the canvas.
//   memory   makes the result; null: OpenCV chooses
//   scratch  makes the white image that is drawn; null: OpenCV chooses
// Returns CV_8UC1: 255 inside, 0 outside, grey on the edges.
cv::Mat coverageOnCanvas(cv::Size imageSize, const ProjectiveCanvas& canvas,
                         cv::MatAllocator* memory = nullptr, cv::MatAllocator* scratch = nullptr);

} // namespace tarvix
