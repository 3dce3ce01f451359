// Loading an image file and the single-image pixel filters, on matrices.
//
// Parameters go to OpenCV unchanged. What OpenCV refuses, it answers with cv::Exception.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <string>

namespace tarvix {

// Reads an image file in colour.
// Returns CV_8UC3 (BGR) for any readable file, whatever its own depth; an empty matrix if the file
// is missing or is not an image.
cv::Mat loadColour(const std::string& path);

// Finds Canny edges.
//   source  CV_8UC1 or CV_8UC3; colour is taken as it is, not turned to grey first
// Returns a CV_8UC1 map of 0 and 255 of the source's size.
// On failure: throws cv::Exception for an empty source and for a bad aperture.
cv::Mat cannyEdges(const cv::Mat& source, double threshold1, double threshold2, int apertureSize,
                   bool l2Gradient);

// Removes colour noise by non-local means.
//   source     CV_8UC3; the colour variant serves every source, so CV_8UC1 is refused on purpose
//   h, hColor  filter strength for luminance and for colour
//   templateWindowSize, searchWindowSize  sides of the windows, pixels
// Returns an image of the source's size and type; an empty matrix for an empty source.
// On failure: throws cv::Exception for what OpenCV refuses, for negative windows, and for a
// template of 128 or more: OpenCV's sums would leave the range of int.
cv::Mat denoiseColour(const cv::Mat& source, float h, float hColor, int templateWindowSize,
                      int searchWindowSize);

// Cuts out a patch, interpolated bilinearly, borders replicated.
//   source  CV_8UC1 or CV_8UC3
//   size    of the patch, pixels; a row's bytes must fit an int
//   center  of the patch in top-down image coordinates, pixels; passed on unchanged up to 2^29
// Returns a patch of the source's type; an empty matrix if `size` has no pixels.
// On failure: throws cv::Exception for an empty source, a negative size or a centre that is not a
// number.
cv::Mat subPixelPatch(const cv::Mat& source, cv::Size size, cv::Point2f center);

} // namespace tarvix
