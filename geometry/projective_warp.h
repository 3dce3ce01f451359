// The four-point projective warp onto a fitted canvas, and the coverage mask that goes with it.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <array>

namespace tarvix {

using CornersF = std::array<cv::Point2f, 4>;

// Four interleaved x, y pairs, narrowed to float.
CornersF cornersFromArray(const double* corners);

// Where a warp puts the picture.
struct ProjectiveCanvas {
    cv::Matx33d canvasFromImage; // picture pixels -> canvas pixels
    cv::Size size;               // pixels; OpenCV takes 0 as "the picture's own size"
};

// The homography of the corner pairs, then the shift that brings the bounding box of `to` to the
// origin. Throws cv::Exception where OpenCV refuses the corners, or when they are not numbers.
ProjectiveCanvas fitCanvas(const CornersF& from, const CornersF& to);

// Draws `picture` on the canvas: bilinear, black outside, the picture's type.
// Throws cv::Exception for an empty picture or a canvas that cannot be made.
cv::Mat warpOntoCanvas(const cv::Mat& picture, const ProjectiveCanvas& canvas);

// The canvas coverage of a picture of `pictureSize`: CV_8UC1, 255 inside, 0 outside, grey on the
// edges.
cv::Mat coverageOnCanvas(cv::Size pictureSize, const ProjectiveCanvas& canvas);

} // namespace tarvix
