// Pictures as the host holds them: bitmaps it owns, loaded through the module and written with
// OpenCV.
#pragma once

#include <MorvelDib.h>
#include <opencv2/core/mat.hpp>

#include <memory>
#include <string>

namespace host {

using Picture = std::unique_ptr<CDib>;

// Loads a picture file; 24 bits, or 8 when `gray` is set. Throws Failure, naming the file.
Picture loadPicture(const std::string& path, bool gray);

// Takes what an export returned. Throws Failure with `what` when it is null and the module has
// shown no message that already says why.
Picture take(CDib* result, const std::string& what);

// A top-down copy of an 8- or 24-bit bitmap; empty for anything else.
cv::Mat toMatrix(const CDib& dib);

// A bitmap of a CV_8UC1 or CV_8UC3 matrix. Throws Failure when the bitmap cannot be made.
Picture toPicture(const cv::Mat& m);

// Writes a picture in the format that the name's extension asks for. An existing file is only
// replaced once the new one is whole. Throws Failure.
void savePicture(const CDib& dib, const std::string& path);
void saveMatrix(const cv::Mat& m, const std::string& path);

} // namespace host
