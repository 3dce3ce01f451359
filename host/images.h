// Images as the host holds them: bitmaps that it owns, loaded through the module, and matrices for
// what it draws and writes itself.
#pragma once

#include <MorvelDib.h>
#include <opencv2/core/mat.hpp>

#include <memory>
#include <string>

namespace host {

using Bitmap = std::unique_ptr<CDib>;

// Loads an image file as a bitmap of 24 bits, or of 8 if `gray` is set. It is upright: the file's
// orientation is applied, also where OpenCV's decoder does not. Throws Failure, naming the file.
//   name  the file, or `-` if a command line reads standard input
Bitmap loadImage(const std::string& name, bool gray);

// A copy of a 24-bit bitmap in 8 bits of grey. Throws Failure if no such bitmap can be made.
Bitmap toGray(const CDib& dib);

// A top-down copy of an 8- or 24-bit bitmap; empty for any other depth.
cv::Mat toMatrix(const CDib& dib);

// A bitmap of a CV_8UC1 or CV_8UC3 matrix. Throws Failure if it cannot be made.
Bitmap toBitmap(const cv::Mat& m);

// Takes over the bitmap that an export returned, and gives its pixels. If it is null, throws
// Failure: with `what`, unless the module has already shown a message that says why. Without
// `what`, it says that there is no bitmap.
cv::Mat take(CDib* result, const std::string& what);
cv::Mat take(CDib* result);

} // namespace host
