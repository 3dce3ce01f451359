// The bitmap library: device-independent bitmaps as hosts keep and display them. This one is used
// if a host brings none of its own.
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
// bottom row first if the height is positive, its top row first if it is negative. Pixels are
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
    // (1 << bitCount entries) is copied from palette, or else from paletteSource if that is a
    // bitmap of as many bits, or else is a ramp from black to white.
    //
    // Both creates return 1 and free the pixels that the object held before. They return 0 and
    // change nothing if the width is not positive, the height is 0, the bit count is another one,
    // the pixels' bytes do not fit the header's 32-bit size, or memory runs out.
    int Create(int width, int height, int bitCount, RGBQUAD* palette, CDib* paletteSource);

    // Draws width x height pixels from (xSrc, ySrc) to (xDest, yDest) of the window's client area.
    // Both points are top-left corners, x right, y down. What is outside the bitmap or the window
    // is omitted; that is not a failure. Returns 0 if there is no bitmap, no such window or no
    // display, or if width or height is not positive. On X11, also returns 0 if the window is not
    // true colour or rop is not SRCCOPY.
    int BitBlt(HWND window, int xDest, int yDest, int width, int height, int xSrc, int ySrc,
               DWORD rop);

    HBITMAP m_hBitmap = nullptr; // not NULL after a create
    BYTE* m_pBits = nullptr;     // the first stored row
    struct {
        BITMAPINFOHEADER bmiHeader;
        RGBQUAD bmiColors[256]; // used up to 8 bits per pixel
    } m_bmi;                    // laid out as the system's BITMAPINFO
};
