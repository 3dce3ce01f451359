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
// every x (or y) of dstCorners is negative, the box is taken to end at 0 instead. NULL, without a
// warp, for a canvas that no bitmap can have.
TARVIX_API CDib* tx_Projective(CDib& image, double* srcCorners, double* dstCorners);

// The coverage mask of tx_Projective for the same arguments: a new 8-bit bitmap, 255 where the
// warped picture covers the canvas, 0 where it does not, interpolated along the edges. Only the
// picture's size matters. Every exception passes out.
TARVIX_API CDib* tx_GetProjectiveMask(CDib& image, double* srcCorners, double* dstCorners);

// Straightens the photograph of a flat rectangle (a facade, a sheet). corners: points 0 and 1 on
// one horizontal edge of the object, 3 and 2 on the other, 0 and 3 on one vertical edge, 1 and 2 on
// the other. Searches the camera's pitch, yaw and roll that make them an upright rectangle, and its
// focal length when `focal` is 0.0 (35-mm equivalent, mm), and warps the picture by the homography
// of the marked to the corrected corners, at its own size, on white. A new bitmap of the picture's
// depth.
//   scale             size factor of the corrected corners, on top of the area ratio that sets it
//   offsetX, offsetY  pixels added to the corrected corners
//   pitchOnly         not 0: correct the pitch alone (verticals); the search is the same
//   result            NULL, or 12 doubles: the corrected corners x0, y0, ..., x3, y3, then pitch,
//                     yaw, roll (degrees), focal length (mm; the caller's unless it was 0.0).
//                     Filled even when NULL is returned; untouched when an exception passes out.
// Angles that cannot be measured stay 0: corners on a line, or a focal length below one pixel.
// Every exception passes out (cv::Exception for an unsupported depth or corners that admit no
// homography). NULL when the result bitmap cannot be made. docs/conventions.md has the axes and
// signs.
TARVIX_API CDib* tx_Converge(CDib& image, double* corners, double focal, double scale,
                             double offsetX, double offsetY, int pitchOnly, double* result);

// Warps the picture so that corners land on target, at its own size, on white: applies corrected
// corners of tx_Converge without a search. A new bitmap of the picture's depth, NULL when it cannot
// be made. Every exception passes out.
TARVIX_API CDib* tx_ConvergeScaled(CDib& image, double* corners, double* target);

// Draws a 24-bit image into the frame of another picture: imagePoints land on referencePoints, on a
// new 24-bit bitmap of the reference's size (only its size matters), filled with the colour fill0
// (blue), fill1 (green), fill2 (red; 0 to 255) where the image does not reach. NULL when the image
// is not a 24-bit bitmap or the result cannot be made. Exceptions of the warp pass out; the new
// bitmap is then freed.
TARVIX_API CDib* tx_PerspAlign(CDib& image, CDib& reference, double* imagePoints,
                               double* referencePoints, int fill0, int fill1, int fill2);
