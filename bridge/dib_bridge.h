// The bitmap bridge: host bitmaps to matrices and back.
//
// Pictures inside the module are CV_8UC1 (grey) or CV_8UC3 (blue, green, red) matrices, rows
// top-down. Pixel bytes are copied as they stand; every conversion copies, so nothing aliases a
// bitmap. Both operations are safe on any thread while nobody changes the bitmap.
#pragma once

#include <MorvelDib.h>
#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <memory>

namespace tarvix {

// What the module reads of a bitmap, taken straight from its public data; the only place that names
// the host class's members.
struct DibView {
    unsigned char* bits = nullptr; // first stored row; null when the bitmap holds no pixels
    int width = 0;                 // pixels
    int rows = 0;                  // |height|
    int bitCount = 0;              // bits per pixel
    std::ptrdiff_t stride = 0;     // bytes from one stored row to the next, padded to 4

    // The stored row of the picture's line `line` (0 = top), rows being stored bottom-up.
    [[nodiscard]] unsigned char* lineFromTop(int line) const {
        return bits + static_cast<std::ptrdiff_t>(rows - 1 - line) * stride;
    }
};

// All zero for a bitmap that was never created. The sign of the height is ignored on purpose: rows
// are always taken as stored bottom-up.
DibView viewOf(const CDib& dib);

// Bytes of one stored row: ((bitCount * width + 31) >> 3) & ~3.
std::ptrdiff_t storedRowBytes(int width, int bitCount);

// Copies a bitmap into a new matrix: 8 bits per pixel -> CV_8UC1 (palette indices become grey
// levels), 24 -> CV_8UC3. Anything else, or a bitmap that was never created, gives an empty matrix.
// A top-down bitmap (negative height) comes out upside down; that is kept on purpose.
// Throws cv::Exception when the matrix cannot be allocated.
cv::Mat DibToMat(const CDib& dib);

// Copies a matrix into a new bitmap that the caller owns; null on any failure, silently.
// CV_8UC1 -> 8-bit grey, CV_8UC3 -> 24 bits. Any other type gives, on purpose, a bitmap that was
// never created. An empty matrix asks for a 0 x 0 grey bitmap, which the bitmap library may refuse
// (null).
CDib* MatToDib(const cv::Mat& m);

// A result on its way to the host: freed on every path that does not return it.
using DibPtr = std::unique_ptr<CDib>;

} // namespace tarvix
