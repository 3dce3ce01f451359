#include "bridge/dib_view.h"

#include <cassert>
#include <climits>
#include <cstdint>
#include <cstdlib>

namespace tarvix {

std::ptrdiff_t storedRowBytes(int width, int bitCount) {
    // 64 bits, so that a damaged header cannot overflow. The value equals the 32-bit one if that
    // exists.
    const std::int64_t bits = std::int64_t{bitCount} * width + 31;
    return static_cast<std::ptrdiff_t>((bits >> 3) & ~std::int64_t{3});
}

DibView viewOf(const CDib& dib) {
    DibView view;
    if (dib.m_hBitmap == nullptr) {
        return view;
    }
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    view.bits = dib.m_pBits;
    view.width = header.biWidth;
    view.rows = header.biHeight == INT_MIN ? INT_MAX : std::abs(header.biHeight);
    view.bitCount = header.biBitCount;
    view.stride = storedRowBytes(view.width, view.bitCount);
    return view;
}

bool isBeyondBitmaps(cv::Size size, int matrixType) {
    if (size.width <= 0 || size.height <= 0) {
        return false;
    }
    const int bitCount = static_cast<int>(CV_ELEM_SIZE(matrixType)) * 8;
    const std::int64_t rowBits = std::int64_t{bitCount} * size.width + 31;
    // The product fits only if the row does.
    if (rowBits <= INT32_MAX && std::int64_t{storedRowBytes(size.width, bitCount)} * size.height <=
                                    std::int64_t{UINT32_MAX}) {
        return false;
    }
    const cv::Mat probe(size, matrixType); // touches no memory, throws as an operation would
    return true;
}

cv::Mat imageViewOf(const DibView& dib) {
    assert(dib.bits != nullptr && dib.bitCount == 24);
    // cv::Mat keeps steps unsigned. Modulo 2^64 a negative one works, too.
    return {dib.rows, dib.width, CV_8UC3, dib.lineFromTop(0),
            static_cast<std::size_t>(-dib.stride)};
}

} // namespace tarvix
