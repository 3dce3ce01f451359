// Four corners that a person or a program marked on the photograph of a flat rectangle: whether
// they can be those of a rectangle, and the order that the convergence correction takes.
#pragma once

#include <opencv2/core/types.hpp>

#include <array>
#include <optional>
#include <string>

namespace tarvix {

// Four points in pixels of the image as seen: x to the right, y down.
using Quad = std::array<cv::Point2d, 4>;

// Says why no rectangle has these corners, as one sentence without a full stop:
//   - a corner is not a number, or more than a million pixels away,
//   - corners coincide: they are nearer than a pixel,
//   - three or four are on one line: a triangle is less than a pixel high, or less than 0.002 of
//     its longest side, or
//   - one is inside the triangle of the other three.
// The order of the corners does not matter, not even for the words.
// Returns no value for the corners of a convex quadrilateral.
std::optional<std::string> refusalOf(const Quad& corners);

// Sorts the corners of a convex quadrilateral clockwise, beginning with the top left one: the edges
// 0-1 and 3-2 then point most to the right, 0-3 and 1-2 most downwards. If two beginnings are equal
// (a square on its corner), the first in order of y, then x, is taken. The result is the same, to
// the bit, for all 24 orders.
//   corners  refusalOf() has no value for them; otherwise the order is not defined
Quad sortedCorners(const Quad& corners);

} // namespace tarvix
