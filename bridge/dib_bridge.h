// The bitmap bridge: host bitmaps to matrices and back.
//
// Images inside the module are CV_8UC1 (grey) or CV_8UC3 (blue, green, red) matrices, rows
// top-down. Pixel bytes are copied unchanged. Every conversion copies, so nothing aliases a
// bitmap. Both operations are safe on any thread while nobody changes the bitmap.
#pragma once

#include <MorvelDib.h>
#include <opencv2/core/mat.hpp>

#include <memory>

namespace tarvix {

// A result on its way to the host: freed on every path that does not return it.
using DibPtr = std::unique_ptr<CDib>;

// Copies a bitmap into a new matrix.
//
// Returns CV_8UC1 for 8 bits per pixel (palette indices become grey levels) and CV_8UC3 for 24.
// Returns an empty matrix for any other bit count and for a bitmap that was never created. A
// top-down bitmap (negative height) comes out upside down, on purpose.
// On failure: throws cv::Exception if the matrix cannot be allocated.
cv::Mat DibToMat(const CDib& dib);

// A new bitmap for a matrix of that size and type, its pixels not written: 8-bit grey for CV_8UC1,
// 24 bits for CV_8UC3, and never created for any other type.
// Returns null if the bitmap library refuses the size.
DibPtr newDib(int rows, int columns, int type);

// Copies a matrix into a new bitmap that the caller owns.
//
// Returns an 8-bit grey bitmap for CV_8UC1 and a 24-bit one for CV_8UC3. Any other type gives, on
// purpose, a bitmap that was never created. An empty matrix asks for a 0 x 0 grey bitmap, which the
// bitmap library may refuse.
// On failure: returns null, silently.
CDib* MatToDib(const cv::Mat& m);

} // namespace tarvix
