// A 24-bit bitmap's own pixels as a picture.
#pragma once

#include "bridge/dib_bridge.h"

#include <opencv2/core/mat.hpp>

#include <cassert>

namespace tarvix {

// A CV_8UC3 view of a created 24-bit bitmap that copies nothing: row 0 is the picture's top line,
// stored last, and the row step is negative. Must not outlive the bitmap.
inline cv::Mat pictureViewOf(const DibView& dib) {
    assert(dib.bits != nullptr && dib.bitCount == 24);
    // cv::Mat keeps steps unsigned; modulo 2^64 a negative one works all the same.
    return {dib.rows, dib.width, CV_8UC3, dib.lineFromTop(0),
            static_cast<std::size_t>(-dib.stride)};
}

} // namespace tarvix
