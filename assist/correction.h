// A convergence correction as the export returns it, and what a person should know about it before
// trusting it.
#pragma once

#include "marked_corners.h"

#include <opencv2/core/types.hpp>

#include <optional>
#include <string>
#include <vector>

namespace tarvix {

// The size factors that make sense: a pixel of a photograph comes to be a thousand, or the reverse.
constexpr double smallestScale = 1e-3;
constexpr double largestScale = 1e3;

// What the search found for an image. Angles are degrees.
struct Correction {
    cv::Size image;            // pixels, of the image on which the corners were marked
    Quad marked;               // clockwise from the top left
    Quad corrected;            // in the same order, on a canvas of the image's size
    double pitchDeg = 0.0;     // about the horizontal image axis
    double yawDeg = 0.0;       // about the vertical image axis
    double rollDeg = 0.0;      // about the optical axis
    double focalMm = 0.0;      // 35-mm equivalent: the longer side of the image is 36 mm
    bool searchedFocal = true; // false if the focal length was known
    bool pitchOnly = false;    // true: the corrected corners keep yaw and roll
    double scale = 1.0;        // size factor that was asked for
    double missedDeg = 0.0; // missedRightAnglesDeg() of the corners corrected by all three angles
};

// How far the corners of a quadrilateral are from right angles: the sum over the four corners, in
// degrees. 0 for a rectangle. Not a number if a coordinate is not one.
double missedRightAnglesDeg(const Quad& corners);

// The focal length (mm, 35-mm equivalent) that the vanishing points of the two pairs of edges give:
//     f^2 = -(u1 u2 + v1 v2) / (w1 w2)
// for the vanishing points (u, v, w), centred on the image; lines that vanish there are at right
// angles in space (Hartley and Zisserman, Multiple View Geometry, chapter 8).
// Returns no value if no focal length does, or every one: a pair of edges is parallel in the image.
std::optional<double> focalOfVanishingPoints(const Quad& marked, cv::Size image);

// Whether the corners leave the focal length open: no focal length explains them, or moving single
// coordinates by one pixel changes it by more than a third (root of the sum of the squares).
bool leavesFocalOpen(const Quad& marked, cv::Size image);

// Whether the corners are an upright rectangle already, to half a pixel.
bool isUprightRectangle(const Quad& corners);

// One thing that a person should know.
struct Remark {
    std::string
        code; // for programs: focal-open, no-correction, search-rim, not-a-rectangle, cut-off
    std::string text; // one sentence without a full stop
};

// All there is to say:
//   focal-open       the focal length was searched, and the corners leave it open
//   no-correction    the marked corners are an upright rectangle already
//   search-rim       the search ended at the rim of its range: an angle beyond 60 degrees, or a
//                    searched focal length beyond 51 mm or below 1 mm
//   not-a-rectangle  the right angles are missed by more than 2 degrees in sum
//   cut-off          a corrected corner is outside the canvas
//   onCanvas  where the corrected corners are on the canvas of the result
std::vector<Remark> remarksOn(const Correction& correction, const Quad& onCanvas, cv::Size canvas);

} // namespace tarvix
