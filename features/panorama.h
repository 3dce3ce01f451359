// Joining overlapping photographs into a panorama.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/stitching.hpp>

#include <vector>

namespace tarvix {

// Stitches CV_8UC3 photographs taken from one place into `panorama`. Only Stitcher::OK means that
// there is one; too few pictures and pictures without overlap give another status.
cv::Stitcher::Status stitchPanorama(const std::vector<cv::Mat>& photographs, cv::Mat& panorama);

} // namespace tarvix
