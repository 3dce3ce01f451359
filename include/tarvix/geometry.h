// Perspective geometry.
//
// Corner arrays are 8 doubles, four points x0, y0, ..., x3, y3 in pixels of the picture as seen;
// point i of one array belongs to point i of the other. They are read without checks: 8 doubles
// must be readable.
#pragma once

#include <MorvelDib.h>

#include <tarvix/tarvix_export.h>

// Warps the picture so that srcCorners land on dstCorners, on a canvas that is the bounding box of
// dstCorners, moved to the canvas's origin; black where the picture does not reach. A new bitmap of
// the picture's depth. Every exception passes out (cv::Exception for an unsupported depth). When
// every x (or y) of dstCorners is negative, the box is taken to end at 0 instead.
TARVIX_API CDib* tx_Projective(CDib& image, double* srcCorners, double* dstCorners);

// The coverage mask of tx_Projective for the same arguments: a new 8-bit bitmap, 255 where the
// warped picture covers the canvas, 0 where it does not, interpolated along the edges. Only the
// picture's size matters. Every exception passes out.
TARVIX_API CDib* tx_GetProjectiveMask(CDib& image, double* srcCorners, double* dstCorners);
