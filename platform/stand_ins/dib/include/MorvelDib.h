// The bitmap library: device-independent bitmaps as hosts keep and display them. This one serves
// where a host brings none of its own.
#pragma once

#include <windows.h>

#if defined(_WIN32)
#if defined(MorvelDib_EXPORTS)
#define MORVEL_DIB_API __declspec(dllexport)
#else
#define MORVEL_DIB_API __declspec(dllimport)
#endif
#else
#define MORVEL_DIB_API __attribute__((visibility("default")))
#endif

// A bitmap. Rows are stored one after another, each padded to a multiple of 4 bytes: the image's
// bottom row first when the height is positive, its top row first when it is negative. Pixels are
// palette indices (1, 4 and 8 bits, the leftmost pixel in the highest bits), 5-5-5 bits of red,
// green and blue (16 bits, little-endian), blue, green, red bytes (24 bits), or those and an unused
// byte (32 bits).
class MORVEL_DIB_API CDib {
public:
    virtual ~CDib(); // first virtual: hosts delete what other modules allocated through it

    // No bitmap yet: handle and bits NULL, header zero.
    CDib();
    CDib(const CDib&) = delete;
    CDib& operator=(const CDib&) = delete;

    // An 8-bit bitmap with the grey ramp as palette.
    int CreateGray(int width, int height);

    // A bitmap of 1, 4, 8, 16, 24 or 32 bits per pixel, all bytes zero. Up to 8 bits, the palette
    // (1 << bitCount entries) is copied from palette, or else from paletteSource when that is a
    // bitmap of as many bits, or else is a ramp from black to white.
    //
    // Both creates return 1, and free the pixels that the object held before; or they return 0 and
    // change nothing: when the width is not positive, the height is 0, the bit count is another
    // one, the pixels' bytes do not fit the header's 32-bit size, or memory runs out.
    int Create(int width, int height, int bitCount, RGBQUAD* palette, CDib* paletteSource);

    // Draws width x height pixels from (xSrc, ySrc) to (xDest, yDest) of the window's client area.
    // Both points are top-left corners, x right, y down. What lies outside the bitmap or the window
    // is left out, which is no failure. Returns 0 when there is no bitmap, no such window or no
    // display, when width or height is not positive, and, on X11, when the window is not true
    // colour or rop is not SRCCOPY.
    int BitBlt(HWND window, int xDest, int yDest, int width, int height, int xSrc, int ySrc,
               DWORD rop);

    HBITMAP m_hBitmap = nullptr; // not NULL once created
    BYTE* m_pBits = nullptr;     // the first stored row
    struct {
        BITMAPINFOHEADER bmiHeader;
        RGBQUAD bmiColors[256]; // used up to 8 bits per pixel
    } m_bmi;                    // laid out as the system's BITMAPINFO
};
