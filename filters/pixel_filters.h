// Loading a picture file and the single-picture pixel filters, on matrices.
//
// Parameters go to OpenCV unchanged; what it refuses it answers with cv::Exception.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <string>

namespace tarvix {

// Reads a picture file in colour: CV_8UC3 (BGR) for any readable file, whatever its own depth; an
// empty matrix for a file that is missing or not a picture.
cv::Mat loadColour(const std::string& path);

// Canny edges of `source` (CV_8UC1 or CV_8UC3; colour is taken as it is, not turned to grey first).
// The result is a CV_8UC1 map of 0 and 255.
cv::Mat cannyEdges(const cv::Mat& source, double threshold1, double threshold2, int apertureSize,
                   bool l2Gradient);

// Non-local-means denoising of a CV_8UC3 picture, strengths h (luminance) and hColor (colour),
// window sizes in pixels. The colour variant serves every source, so CV_8UC1 is refused by OpenCV
// on purpose. Raises the silent failure when `source` or the result holds no data.
cv::Mat denoiseColour(const cv::Mat& source, float h, float hColor, int templateWindowSize,
                      int searchWindowSize);

// The patch of `size` pixels centred on `center` (top-down picture coordinates, pixels),
// interpolated bilinearly, borders replicated; the source's type. Raises the silent failure for a
// patch without data.
cv::Mat subPixelPatch(const cv::Mat& source, cv::Size size, cv::Point2f center);

} // namespace tarvix
