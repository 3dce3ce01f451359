// Joining overlapping photographs into a panorama.
#pragma once

#include <common/file_list.h>
#include <opencv2/core/mat.hpp>

#include <optional>

namespace tarvix {

// Reads photographs that were taken from one place, in colour, and stitches them.
// Returns the panorama (CV_8UC3). Returns no value if a file cannot be read, if there are too few
// of them, or if they do not overlap.
// On failure: throws cv::Exception, and what the list throws.
std::optional<cv::Mat> stitchPanorama(const FileList& files);

} // namespace tarvix
