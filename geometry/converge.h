// Straightening the photograph of a flat rectangle (a facade, a sheet) from its four marked
// corners.
//
// The corners are seen along rays d = (x - cx, y - cy, f) from the camera, in pixels, z into the
// scene. A pose (pitch, yaw, roll, focal length) turns the rays as row vectors,
//     ray' = ray * R,  R = RotationY(yaw) * RotationX(pitch) * RotationZ(-roll),
// and projects them again. findPose searches the pose that makes the corners an upright rectangle.
// The sign conventions are drawn up in docs/conventions.md.
#pragma once

#include "corners.h"

#include <opencv2/core.hpp>

namespace tarvix {

// Corners here are 0 and 1 on one horizontal edge of the object, 3 and 2 on the other, 0 and 3 on
// one vertical edge, 1 and 2 on the other (e.g. clockwise from the top left), in pixels.

// Four marked corners and the size of the image they were marked in.
struct MarkedQuad {
    cv::Size image;
    Corners corners;
};

// What the search finds.
struct Pose {
    double pitchDeg = 0.0; // about the horizontal image axis
    double yawDeg = 0.0;   // about the vertical image axis
    double rollDeg = 0.0;  // about the optical axis
    double focalMm = 0.0;  // 35-mm equivalent: the longer side of the image is 36 mm
};

// A focal length as the projection needs it.
struct Lens {
    Lens(cv::Size image, double focalMm);
    double focalPx;          // longer side / 36 * focalMm
    cv::Matx44d perspective; // scaled by the whole part of focalPx (saturating at the range of int)
};

// R of the header comment. With single-precision sine and cosine in the pitch it is a rotation only
// to about 1e-7.
cv::Matx33d rayRotation(double pitchDeg, double yawDeg, double rollDeg);

// The corners seen by the turned camera, in pixels. Not guarded: rays parallel to the image plane
// give infinities or not-a-number, and a lens whose focalPx is below 1 puts all on the centre.
Corners ProjectCorners(const MarkedQuad& quad, const cv::Matx33d& rotation, const Lens& lens);

// The same, moved so that the centroid comes to lie on the given one (of the marked corners): what
// the errors are measured on. The move only changes the rounding. The difference of the two
// single-precision centroids is taken in single precision.
Corners projectOntoCentroid(const MarkedQuad& quad, const cv::Point2f& centroid,
                            const cv::Matx33d& rotation, const Lens& lens);

// Of projected corners: sum over the corners of the deviation from a right angle, in degrees; 0 for
// any rectangle, whichever way it winds.
double RightAngleError(const Corners& q);

// Of projected corners: how far the edges 0-3 and 1-2 are from vertical, 0-1 and 3-2 from
// horizontal, in pixels.
double AxisAlignmentError(const Corners& q);

// How the corrected corners are made of the projected ones.
struct CorrectionOptions {
    double scale = 1.0;     // extra size factor
    double offsetX = 0.0;   // added to every corrected x, pixels
    double offsetY = 0.0;   // added to every corrected y, pixels
    bool pitchOnly = false; // turn the rays by the pitch alone: only the verticals are straightened
};

// The corrected corners, in the order of the marked ones. Their size is the plain ratio of the
// marked to the projected area (on purpose not its square root) times the scale, about the
// centroids.
Corners correctCorners(const MarkedQuad& quad, const Pose& pose, const CorrectionOptions& options);

} // namespace tarvix
