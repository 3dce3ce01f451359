// What a photograph's file says beside its pixels, and the photograph turned upright.
#pragma once

#include "assist/exif.h"
#include "host/containers.h"

#include <opencv2/core/mat.hpp>

#include <string>

namespace host {

struct PhotographFile {
    Container container = Container::Other;
    Metadata metadata{};
    tarvix::ExifFacts exif{};
    int bits = 8; // per sample
};

// Reads the file; nothing is known of one that cannot be read.
//   name  the file, or `-` if a command line reads standard input
PhotographFile readPhotographFile(const std::string& name);

// The metadata for an image made of that photograph: upright, of its size, with a profile only if
// it is for as many channels.
//   sameView  false if the image was warped or cut
Metadata metadataFor(const PhotographFile& file, const cv::Mat& image, bool sameView);

// Turns an image that was stored with that orientation (1 to 8) upright.
cv::Mat upright(const cv::Mat& image, int orientation);

// Whether OpenCV's decoder turns the photograph upright itself. It differs by kind of file and
// version, so a small file of that kind is tried.
bool decoderTurns(const PhotographFile& file);

} // namespace host
