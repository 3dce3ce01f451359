// Loading and single-image operations.
#pragma once

#include <afx.h> // the class library comes before anything that includes windows.h

#include <MorvelDib.h>

#include <tarvix/tarvix_export.h>

// Loads an image file into a new bitmap.
//   path  a multi-byte string
// Returns a 24-bit bitmap, whatever the file's own depth.
// On failure: a missing or unreadable file becomes a request for a 0 x 0 bitmap, so the result is
// null if the bitmap library refuses that. Exceptions of the decoder propagate to the caller.
TARVIX_API CDib* tx_LoadFile(const char* path);

// Finds Canny edges.
//   src                     8 or 24 bits
//   threshold1, threshold2  hysteresis thresholds
//   apertureSize            Sobel aperture: 3, 5 or 7
//   l2Gradient              non-zero: gradient magnitude by the L2 norm, else by L1
// Returns a new 8-bit bitmap of 0 and 255, of the source's size.
// On failure: every exception propagates to the caller, as cv::Exception: a source that is not 8 or
// 24 bits, a bad aperture.
TARVIX_API CDib* tx_Canny(CDib& src, double threshold1, double threshold2, int apertureSize,
                          int l2Gradient);

// Removes colour noise by non-local means.
//   src                 24 bits
//   h, hColor           filter strength for luminance and for colour
//   templateWindowSize  pixels, odd, at most 127
//   searchWindowSize    pixels, odd; time grows with its square
// Returns a new 24-bit bitmap of the source's size.
// On failure: returns null. OpenCV's message is shown for 8 bits, for negative windows and for a
// template of 128 or more, whose sums OpenCV cannot hold. Other depths fail silently.
TARVIX_API CDib* tx_Denoise(CDib& src, float h, float hColor, int templateWindowSize,
                            int searchWindowSize);

// Cuts out a patch, interpolated between pixels, borders replicated.
//   src               8 or 24 bits
//   width, height     of the patch, pixels
//   centerX, centerY  of the patch, pixels of the image as seen
// Returns a new bitmap of width x height pixels and the source's depth.
// On failure: returns null. OpenCV's message is shown for other depths, for a negative size and for
// a centre that is not a number. A size of 0, or one that no bitmap can have, fails silently.
TARVIX_API CDib* tx_getRectSubPix(CDib& src, int width, int height, float centerX, float centerY);

// Finds straight segments. The thresholds come from the image: Canny's by Otsu's method, the
// shortest segment is a tenth of the smaller side. Red and blue count with exchanged weights in the
// grey image, on purpose.
//   image   24 bits
//   points  receives an array of 2 n points: segment i is points[2 i] to points[2 i + 1], in pixels
//           of the image as seen. It is made with new[] even if n is 0; the caller frees it with
//           delete[]. What the pointer held before is overwritten, not freed.
// Returns the number n of segments. If there is no memory for the array, returns 0 and stores null.
// On failure: every exception propagates to the caller, as cv::Exception, and `points` stays: a
// bitmap that is not 24 bits.
TARVIX_API int tx_FindLines(CDib& image, POINT*& points);

// Finds a chessboard, refines its corners to a fraction of a pixel and draws them.
//   image             24 bits
//   cornersPerRow, cornersPerColumn  inner corners of the board, 3 x 3 at least
//   corners           receives "x,y;x,y;..." row by row along the board, in pixels of the image as
//                     seen, one decimal each. The decimal point is '.' whatever the locale.
// Returns a new 24-bit bitmap of the image with the corners drawn.
// On failure: returns null and `corners` stays. OpenCV's message is shown for an 8-bit bitmap. If
// there is no such board, fails silently.
TARVIX_API CDib* tx_FindChessboard(CDib& image, int cornersPerRow, int cornersPerColumn,
                                   CString& corners);
