// The pixels of a host bitmap where they are, without a copy.
#pragma once

#include <MorvelDib.h>
#include <opencv2/core/mat.hpp>

#include <cstddef>

namespace tarvix {

// What the module reads of a bitmap, taken straight from its public data. Nothing else names the
// host class's members.
struct DibView {
    unsigned char* bits = nullptr; // first stored row; null if the bitmap holds no pixels
    int width = 0;                 // pixels
    int rows = 0;                  // |height|
    int bitCount = 0;              // bits per pixel
    std::ptrdiff_t stride = 0;     // bytes from one stored row to the next, padded to 4

    // The stored row of the image's line `line` (0 = top). Rows are stored bottom-up.
    [[nodiscard]] unsigned char* lineFromTop(int line) const {
        return bits + static_cast<std::ptrdiff_t>(rows - 1 - line) * stride;
    }
};

// All zero for a bitmap that was never created. The sign of the height is ignored on purpose: rows
// are always treated as stored bottom-up.
DibView viewOf(const CDib& dib);

// Bytes of one stored row: ((bitCount * width + 31) >> 3) & ~3.
std::ptrdiff_t storedRowBytes(int width, int bitCount);

// Whether a result of this size and type could never become a bitmap: a row's bits must fit a
// signed 32-bit number, all rows' bytes an unsigned one, as the header counts them.
// On failure: throws cv::Exception if not even the matrix can be allocated.
bool isBeyondBitmaps(cv::Size size, int matrixType);

// Views a created 24-bit bitmap as CV_8UC3 and copies nothing. Row 0 is the image's top line, which
// is stored last, so the row step is negative. The view must not outlive the bitmap.
cv::Mat imageViewOf(const DibView& dib);

} // namespace tarvix
