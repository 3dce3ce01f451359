// Loading and single-picture operations.
#pragma once

#include <MorvelDib.h>

#include <tarvix/tarvix_export.h>

// Loads the picture file `path` (multi-byte string) into a new 24-bit bitmap, whatever the file's
// own depth. A missing or unreadable file becomes a request for a 0 x 0 bitmap: null with a bitmap
// library that refuses it. Exceptions of the decoder pass out.
TARVIX_API CDib* tx_LoadFile(const char* path);

// Canny edges as a new 8-bit bitmap of 0 and 255, of the source's size.
//   threshold1, threshold2  hysteresis thresholds
//   apertureSize            Sobel aperture: 3, 5 or 7
//   l2Gradient              non-zero: gradient magnitude by the L2 norm, else by L1
// Every exception passes out, as cv::Exception: a source that is not 8 or 24 bits, a bad aperture.
TARVIX_API CDib* tx_Canny(CDib& src, double threshold1, double threshold2, int apertureSize,
                          int l2Gradient);

// Removes colour noise by non-local means; a new 24-bit bitmap of the source's size.
//   h, hColor               filter strength for luminance and for colour
//   templateWindowSize      pixels, odd; searchWindowSize: pixels, odd (time grows with its square)
// Only 24-bit bitmaps can be denoised: OpenCV's message is shown for 8 bits, other depths give null
// silently.
TARVIX_API CDib* tx_Denoise(CDib& src, float h, float hColor, int templateWindowSize,
                            int searchWindowSize);

// The patch of width x height pixels centred on (centerX, centerY), interpolated, borders
// replicated; a new bitmap of the source's depth. A width or height of 0 gives null silently.
TARVIX_API CDib* tx_getRectSubPix(CDib& src, int width, int height, float centerX, float centerY);
