// Perspective geometry. docs/conventions.md has axes, signs and the directions of every matrix.
//
// Corner arrays are 8 doubles, four points x0, y0, ..., x3, y3 in pixels of the image as seen.
// Point i of one array belongs to point i of the other. They are read without checks: 8 doubles
// must be readable.
#pragma once

#include <afx.h> // the class library comes before anything that includes windows.h

#include <MorvelDib.h>

#include <tarvix/tarvix_export.h>

// Warps the image so that srcCorners land on dstCorners. The canvas is the bounding box of
// dstCorners, moved to the canvas's origin; black where the image does not reach. If every x (or y)
// of dstCorners is negative, the box is taken to end at 0 instead.
//   image  8 or 24 bits
// Returns a new bitmap of the image's depth.
// On failure: returns null, without a warp, for a canvas that no bitmap can have. Every exception
// propagates to the caller (cv::Exception for an unsupported depth).
TARVIX_API CDib* tx_Projective(CDib& image, double* srcCorners, double* dstCorners);

// Draws the coverage mask of tx_Projective for the same arguments. Only the image's size matters.
// Returns a new 8-bit bitmap: 255 where the warped image covers the canvas, 0 where it does not,
// interpolated along the edges.
// On failure: as tx_Projective.
TARVIX_API CDib* tx_GetProjectiveMask(CDib& image, double* srcCorners, double* dstCorners);

// Straightens the photograph of a flat rectangle (a facade, a sheet): searches the camera's pitch,
// yaw and roll that make the corners an upright rectangle, and its focal length if unknown, and
// warps the image at its own size, on white.
//   image             8 or 24 bits
//   corners           points 0 and 1 on one horizontal edge of the object, 3 and 2 on the other, 0
//                     and 3 on one vertical edge, 1 and 2 on the other
//   focal             35-mm equivalent, mm; exactly 0.0: unknown
//   scale             size factor of the corrected corners, on top of the area ratio that sets it
//   offsetX, offsetY  pixels added to the corrected corners
//   pitchOnly         not 0: correct the pitch alone (verticals); the search is the same
//   result            NULL, or 12 doubles: the corrected corners x0, y0, ..., x3, y3, then pitch,
//                     yaw, roll (degrees), focal length (mm; the caller's unless it was 0.0)
// Angles that cannot be measured stay 0: corners on a line, or a focal length below one pixel.
// Returns a new bitmap of the image's depth.
// On failure: returns null if the bitmap cannot be made; `result` is filled. Every exception
// propagates to the caller and leaves `result` as it was: cv::Exception for an unsupported depth or
// corners that admit no homography.
TARVIX_API CDib* tx_Converge(CDib& image, double* corners, double focal, double scale,
                             double offsetX, double offsetY, int pitchOnly, double* result);

// Warps the image so that corners land on target, at its own size, on white: applies corrected
// corners of tx_Converge without a search.
//   image  8 or 24 bits
// Returns a new bitmap of the image's depth.
// On failure: returns null if it cannot be made. Every exception propagates to the caller.
TARVIX_API CDib* tx_ConvergeScaled(CDib& image, double* corners, double* target);

// Draws an image into the frame of another one: imagePoints land on referencePoints.
//   image                24 bits
//   reference            only its size matters
//   fill0, fill1, fill2  blue, green, red (0 to 255) where the image does not reach
// Returns a new 24-bit bitmap of the reference's size.
// On failure: returns null if the image is not a 24-bit bitmap or the result cannot be made.
// Exceptions of the warp propagate to the caller; the new bitmap is then freed.
TARVIX_API CDib* tx_PerspAlign(CDib& image, CDib& reference, double* imagePoints,
                               double* referencePoints, int fill0, int fill1, int fill2);
