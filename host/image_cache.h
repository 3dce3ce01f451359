// Images that were decoded, kept for the next request: what makes the steps of a drag quick. Off,
// unless a process turns it on. For one thread.
#pragma once

#include "host/photograph_file.h"

#include <opencv2/core/mat.hpp>

#include <optional>
#include <string>

namespace host {

// An upright image as it was loaded, the note about damage that goes with it, if any, and what its
// file says beside the pixels.
struct DecodedImage {
    cv::Mat image;
    std::optional<std::string> note;
    PhotographFile file;
};

void keepDecodedImages(bool keep);

// The image of a file that has not changed since (size and time of the last change); nothing if it
// is not kept.
std::optional<DecodedImage> keptImage(const std::string& path);

// Keeps it, and lets the oldest go if there are more than a few, or large ones.
void keepImage(const std::string& path, const DecodedImage& decoded);

} // namespace host
