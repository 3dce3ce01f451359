#include <MorvelDib.h>

#include "observed.h"
#include "pixels.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>

namespace {

// Fills the header of such a bitmap. Returns false if there can be none.
bool describe(BITMAPINFOHEADER& header, int width, int height, int bitCount) {
    constexpr int bitCounts[] = {1, 4, 8, 16, 24, 32};
    if (std::find(std::begin(bitCounts), std::end(bitCounts), bitCount) == std::end(bitCounts)) {
        return false;
    }
    if (width <= 0 || height == 0 || height == std::numeric_limits<int>::min()) {
        return false;
    }
    // Users of the bitmap compute its stride in signed 32 bits.
    const std::int64_t rowBits = std::int64_t{width} * bitCount + 31;
    if (rowBits > std::numeric_limits<std::int32_t>::max()) {
        return false;
    }
    const std::uint64_t bytes = std::uint64_t{morvel_dib::rowStride(width, bitCount)} *
                                static_cast<unsigned>(std::abs(height));
    if (bytes > std::numeric_limits<DWORD>::max()) {
        return false;
    }
    header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bitCount);
    header.biCompression = BI_RGB;
    header.biSizeImage = static_cast<DWORD>(bytes);
    return true;
}

void fillRamp(RGBQUAD* palette, int count) {
    for (int i = 0; i < count; ++i) {
        const auto grey = static_cast<BYTE>(i * 255 / (count - 1));
        palette[i] = {grey, grey, grey, 0};
    }
}

// Moves one axis of the copied rectangle into [0, size) of the source.
bool clip(std::int64_t& dest, std::int64_t& source, std::int64_t& extent, std::int64_t size) {
    const std::int64_t before = std::max<std::int64_t>(0, -source);
    dest += before;
    source += before;
    extent = std::min(extent - before, size - source);
    return extent > 0;
}

} // namespace

CDib::CDib() : m_bmi() {
    morvel_dib::constructed();
}

CDib::~CDib() {
    if (m_hBitmap != nullptr) {
        morvel_dib::freePixels({m_hBitmap, m_pBits});
        morvel_dib::pixelsFreed();
    }
    morvel_dib::destroyed();
}

int CDib::CreateGray(int width, int height) {
    return Create(width, height, 8, nullptr, nullptr);
}

int CDib::Create(int width, int height, int bitCount, RGBQUAD* palette, CDib* paletteSource) {
    morvel_dib::BitmapInfo info{};
    morvel_dib::changeFormat(width, height, bitCount);
    if (morvel_dib::createFails() || !describe(info.bmiHeader, width, height, bitCount)) {
        return 0;
    }
    if (bitCount <= 8) {
        const int count = 1 << bitCount;
        if (palette == nullptr && paletteSource != nullptr && paletteSource->m_hBitmap != nullptr &&
            paletteSource->m_bmi.bmiHeader.biBitCount == bitCount) {
            palette = paletteSource->m_bmi.bmiColors;
        }
        if (palette != nullptr) {
            std::copy_n(palette, count, info.bmiColors);
        } else {
            fillRamp(info.bmiColors, count);
        }
    }
    const morvel_dib::Pixels pixels = morvel_dib::allocatePixels(info);
    if (pixels.handle == nullptr) {
        return 0;
    }
    if (m_hBitmap != nullptr) {
        morvel_dib::freePixels({m_hBitmap, m_pBits});
        morvel_dib::pixelsFreed();
    }
    m_hBitmap = pixels.handle;
    m_pBits = pixels.bits;
    m_bmi = info;
    morvel_dib::pixelsMade();
    return 1;
}

// NOLINTNEXTLINE(readability-make-member-function-const): hosts link to the declaration as it is
int CDib::BitBlt(HWND window, int xDest, int yDest, int width, int height, int xSrc, int ySrc,
                 DWORD rop) {
    if (m_hBitmap == nullptr || window == nullptr || width <= 0 || height <= 0) {
        return 0;
    }
    std::int64_t left = xDest, top = yDest;
    std::int64_t x = xSrc, y = ySrc;
    std::int64_t columns = width, rows = height;
    const bool isVisible = clip(left, x, columns, m_bmi.bmiHeader.biWidth) &&
                           clip(top, y, rows, std::abs(std::int64_t{m_bmi.bmiHeader.biHeight})) &&
                           left <= std::numeric_limits<int>::max() &&
                           top <= std::numeric_limits<int>::max();
    return morvel_dib::drawPixels(
        *this, window,
        isVisible ? morvel_dib::Blit{static_cast<int>(left), static_cast<int>(top),
                                     static_cast<int>(columns), static_cast<int>(rows),
                                     static_cast<int>(x), static_cast<int>(y)}
                  : morvel_dib::Blit{},
        rop);
}
