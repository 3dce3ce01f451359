// Canvases for a convergence correction, other than the image's own size.
#pragma once

#include "marked_corners.h"

#include <opencv2/core/types.hpp>

#include <optional>

namespace tarvix {

// The rectangle alone, as an upright rectangle from 0,0.
//   marked, corrected  clockwise from the top left; `corrected` is a rectangle
//   scale              size factor on top of the natural size
// Returns its natural size, pixels: it has the proportions of the corrected corners, and no edge is
// shorter than the marked edges that it stands for, so that no detail is lost.
cv::Size2d naturalSize(const Quad& marked, const Quad& corrected, double scale);

// A canvas that holds the whole corrected image.
struct FittedCanvas {
    cv::Size2d size; // pixels, before it is rounded
    Quad outline;    // where the image's outlineOf() is on it
    Quad corners;    // where the corrected corners are on it
};

// Fits a canvas around an image that is corrected from the marked to the corrected corners.
// Returns no value if no canvas holds it: the correction's horizon crosses the image.
std::optional<FittedCanvas> fittedCanvas(const Quad& marked, const Quad& corrected, cv::Size image);

// The corners of an image or rectangle of that size, clockwise from 0,0.
Quad outlineOf(cv::Size2d size);

} // namespace tarvix
