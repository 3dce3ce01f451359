// The drawings of a calibration's report, each of the data that calibration_json.h makes. A drawing
// is about 440 units wide, so that its text can be read on a phone.
#pragma once

#include "host/result.h"

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

namespace host {

struct Bar {
    std::string name;
    double value;
};

// Horizontal bars with their values; a line marks what is usual.
std::string drawBars(const std::vector<Bar>& bars, double usual, const std::string& label);

// The image's cells, the darker the more corners, and the corners themselves.
std::string drawCoverage(const Json& camera);

// The length of each residual over the corner's distance from the image's centre.
std::string drawResidualsOverRadius(const Json& camera);

// Where the lens moves what, enlarged so that the longest arrow fits a cell; with the factor.
std::string drawDisplacements(const Json& camera);

// The deviation of a projected point over the image, with its range.
std::string drawDeviation(const Json& camera);

// A photograph with its corners and its residuals, enlarged.
//   image  one of camera.images
//   photo  the photograph in colour; if empty, corners are drawn without it
std::string drawView(const Json& image, const Json& imageSize, const cv::Mat& photo);

// The lines along the board's rows as straight chords over a photograph: `corners` should be on
// them.
//   columns  corners per row
std::string drawChords(const cv::Mat& photo, const std::vector<cv::Point2f>& corners, int columns,
                       const std::string& label);

// Two rectified photographs beside each other with rows across.
std::string drawRectifiedPair(const cv::Mat& left, const cv::Mat& right);

// The distances of neighbouring corners as a histogram, with the square's edge if it is above 0.
std::string drawHistogram(const Json& histogram, double edge);

} // namespace host
