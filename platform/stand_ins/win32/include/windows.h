// Stand-in for the Windows header of this name, for systems that have none: the types and the few
// calls that Tarvix, its bitmap library and its sample host use. Values and behaviour are those of
// the real calls if a caller can tell the difference.
//
// Omitted: everything else, such as GetLastError, and modules other than the running executable.
#pragma once

#include <cstdint>

// Exported from the stand-in's shared library.
#define TARVIX_WIN32_API extern "C" __attribute__((visibility("default")))

// Declared as in the real header, whose tags are part of decorated names.
// NOLINTBEGIN(modernize-use-using, bugprone-reserved-identifier)
typedef unsigned char BYTE;
typedef std::uint16_t WORD;
typedef std::uint32_t DWORD; // 32 bits, even if long has 64
typedef std::int32_t LONG;
typedef std::int64_t LONGLONG;
typedef std::intptr_t INT_PTR;
typedef unsigned int UINT;
typedef UINT* PUINT;
typedef int BOOL;
typedef char* LPSTR;
typedef const char* LPCSTR;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#define MAX_PATH 260 // characters of a path buffer, the terminator included

#define MB_OK 0x00000000L
#define IDOK 1

#define SRCCOPY 0x00CC0020U // raster operation: destination = source
#define BI_RGB 0U

// A window is the id of an X11 window, widened to a pointer. Other handles are opaque.
typedef struct HWND__* HWND;
typedef struct HBITMAP__* HBITMAP;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;

// right and bottom are one beyond the last pixel.
typedef struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT, *PRECT, *LPRECT;
typedef const RECT* LPCRECT;

typedef struct tagPOINT {
    LONG x;
    LONG y;
} POINT, *PPOINT, *LPPOINT;

typedef union _LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER;

typedef struct tagRGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
} RGBQUAD;

typedef struct tagBITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight; // positive: rows stored bottom-up; negative: top-down
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
} BITMAPINFOHEADER;
// NOLINTEND(modernize-use-using, bugprone-reserved-identifier)

// Writes the path of the running executable, symbolic links resolved, terminated. Returns the
// length without terminator. If the buffer is too small, cuts the path to size - 1 characters and
// returns size. Returns 0 on failure, also if module is not NULL.
TARVIX_WIN32_API DWORD GetModuleFileNameA(HMODULE module, LPSTR fileName, DWORD size);

// Writes the window's inner size as (0, 0, width, height), in pixels. Returns FALSE and leaves
// *rect unchanged if there is no such window or no display.
TARVIX_WIN32_API BOOL GetClientRect(HWND window, LPRECT rect);

// Returns TRUE for NULL and for a rectangle without area.
TARVIX_WIN32_API BOOL IsRectEmpty(const RECT* rect);

// A steady clock in ticks, and its ticks per second.
TARVIX_WIN32_API BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);
TARVIX_WIN32_API BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
