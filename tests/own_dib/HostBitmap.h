// A host's own bitmap class. Tarvix asks for the names of the public members and functions and
// for the virtual destructor; the rest is the host's business. docs/mfc.md has the list.
#pragma once

#include <windows.h>

#if !defined(_WIN32)
#define HOST_BITMAP_API __attribute__((visibility("default")))
#elif defined(HostBitmap_EXPORTS)
#define HOST_BITMAP_API __declspec(dllexport)
#else
#define HOST_BITMAP_API __declspec(dllimport)
#endif

class HOST_BITMAP_API CDib {
public:
    virtual ~CDib();
    virtual bool IsModified() const; // a host's class has virtual functions of its own

    CDib();
    CDib(const CDib&) = delete;
    CDib& operator=(const CDib&) = delete;

    int BitBlt(HWND window, int xDest, int yDest, int width, int height, int xSrc, int ySrc,
               DWORD rop);
    int Create(int width, int height, int bitCount, RGBQUAD* palette, CDib* paletteSource = nullptr,
               int resolution = 0);
    int CreateGray(int width, int height);
    void Destroy();

private:
    char m_title[40];
    void* m_document;

public:
    struct {
        BITMAPINFOHEADER bmiHeader;
        RGBQUAD bmiColors[256];
    } m_bmi;
    BYTE* m_pBits;

private:
    double m_zoom;

public:
    HBITMAP m_hBitmap;
};
