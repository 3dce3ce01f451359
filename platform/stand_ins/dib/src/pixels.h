// What differs between systems: where pixels are stored, and how they are drawn into a window.
#pragma once

#include <MorvelDib.h>

#include <cstddef>

namespace morvel_dib {

struct Pixels {
    HBITMAP handle = nullptr;
    BYTE* bits = nullptr;
};

// A part of the bitmap and where it is drawn. It is within the bitmap, or empty (height 0).
struct Blit {
    int xDest, yDest;
    int width, height;
    int xSrc, ySrc;
};

// Fresh zeroed pixels of info.bmiHeader.biSizeImage bytes, or NULL members if memory runs out.
using BitmapInfo = decltype(CDib::m_bmi);
Pixels allocatePixels(const BitmapInfo& info);
void freePixels(const Pixels& pixels);

// Draws what is inside the window. Returns 0 if the window cannot be drawn into. An empty part only
// tests that.
int drawPixels(const CDib& dib, HWND window, const Blit& blit, DWORD rop);

constexpr std::size_t rowStride(int width, int bitCount) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitCount) + 31) / 32 * 4;
}

} // namespace morvel_dib
