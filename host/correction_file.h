// Files that keep a correction, so that it can be applied to other images.
#pragma once

#include "assist/correction.h"

#include <string>

namespace host {

// Writes the correction as JSON: the image's size, the marked and the corrected corners, the
// angles, the focal length and how it was asked for. Throws Failure; an existing file is then
// unchanged.
void saveCorrection(const tarvix::Correction& correction, const std::string& path);

// Reads such a file. Throws Failure if it is missing or is not a correction whose corners are four
// points of a rectangle.
tarvix::Correction loadCorrection(const std::string& path);

// The correction for an image of another resolution. Throws Failure if the image has another shape:
// its proportions differ by more than a hundredth.
//   path  of the image, for the message
tarvix::Correction scaledTo(const tarvix::Correction& correction, cv::Size image,
                            const std::string& path);

} // namespace host
