#include "pixels.h"

namespace morvel_dib {

Pixels allocatePixels(const BitmapInfo& info) {
    Pixels pixels;
    void* bits = nullptr;
    // A section's memory is zeroed pages.
    pixels.handle = CreateDIBSection(nullptr, reinterpret_cast<const BITMAPINFO*>(&info),
                                     DIB_RGB_COLORS, &bits, nullptr, 0);
    pixels.bits = static_cast<BYTE*>(bits);
    return pixels;
}

void freePixels(const Pixels& pixels) {
    DeleteObject(pixels.handle);
}

int drawPixels(const CDib& dib, HWND window, const Blit& blit, DWORD rop) {
    // A window handle of NULL would mean the whole screen.
    if (!IsWindow(window)) {
        return 0;
    }
    const HDC windowDc = GetDC(window);
    if (windowDc == nullptr) {
        return 0;
    }
    int drawn = 0;
    if (const HDC bitmapDc = CreateCompatibleDC(windowDc)) {
        if (const HGDIOBJ previous = SelectObject(bitmapDc, dib.m_hBitmap)) {
            if (dib.m_bmi.bmiHeader.biBitCount <= 8) {
                // The section keeps the palette of its creation. A host may have changed ours.
                SetDIBColorTable(bitmapDc, 0, 1U << dib.m_bmi.bmiHeader.biBitCount,
                                 dib.m_bmi.bmiColors);
            }
            drawn = blit.height == 0 ||
                    ::BitBlt(windowDc, blit.xDest, blit.yDest, blit.width, blit.height, bitmapDc,
                             blit.xSrc, blit.ySrc, rop) != FALSE;
            GdiFlush(); // the caller may delete the bitmap at once
            SelectObject(bitmapDc, previous);
        }
        DeleteDC(bitmapDc);
    }
    ReleaseDC(window, windowDc);
    return drawn;
}

} // namespace morvel_dib
