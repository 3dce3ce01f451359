// Loading and single-picture operations.
#pragma once

#include <MorvelDib.h>
#include <afx.h>

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
// Only 24-bit bitmaps can be denoised: OpenCV's message is shown for 8 bits, for negative windows
// and for a template of 128 or more, whose sums OpenCV cannot hold; other depths give null
// silently.
TARVIX_API CDib* tx_Denoise(CDib& src, float h, float hColor, int templateWindowSize,
                            int searchWindowSize);

// The patch of width x height pixels centred on (centerX, centerY), interpolated, borders
// replicated; a new bitmap of the source's depth. A width or height of 0, or a size that no bitmap
// can have, gives null silently; OpenCV's message is shown for negative ones and for a centre that
// is not a number.
TARVIX_API CDib* tx_getRectSubPix(CDib& src, int width, int height, float centerX, float centerY);

// Straight segments of a 24-bit picture; returns their number n. `points` receives an array of 2 n
// points, segment i from points[2 i] to points[2 i + 1], in pixels of the picture as seen. It is
// made with new[] even when n is 0 and the caller frees it with delete[]; what `points` held before
// is overwritten, not freed. Null, with 0 returned, only when there is no memory for it.
// The thresholds come from the picture: Canny's by Otsu's method, the shortest segment is a tenth
// of the smaller side. Red and blue count with exchanged weights in the grey picture, on purpose.
// Every exception passes out with `points` untouched, as cv::Exception: a bitmap that is not 24
// bits.
TARVIX_API int tx_FindLines(CDib& image, POINT*& points);

// Finds a chessboard of cornersPerRow x cornersPerColumn inner corners (3 x 3 at least) in a 24-bit
// picture, refines the corners to a fraction of a pixel and returns a new 24-bit bitmap of the
// picture with the corners drawn.
//   corners  "x,y;x,y;..." row by row along the board, pixels of the picture as seen, one decimal
//            each, '.' as the decimal point whatever the locale; unchanged on every failure
// No such board gives null silently; OpenCV's message is shown for an 8-bit bitmap.
TARVIX_API CDib* tx_FindChessboard(CDib& image, int cornersPerRow, int cornersPerColumn,
                                   CString& corners);
