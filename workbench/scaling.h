// Coordinates between an image and its reduced copy.
#pragma once

#include "workbench/request.h"

#include <opencv2/core/types.hpp>

namespace workbench {

// How much smaller a copy is: pixels of the copy per pixel of the image, 1 for the image itself.
struct Reduction {
    double x = 1;
    double y = 1;

    [[nodiscard]] bool isNone() const { return x == 1 && y == 1; }
};

// The reduction from one size to another. Neither is empty.
Reduction reductionBetween(cv::Size image, cv::Size copy);

// The value of an option of points in the image, for a copy. Positions keep their place in the
// scene: whole numbers are pixel centres. An offset is scaled alone. What is not a point stays as
// it is.
Json pointsOnCopy(const Json& points, const Reduction& reduction, bool isOffset);

// The data that a command printed for copies, as it would say of the images: points and sizes are
// scaled.
//   reduction  of the image whose canvas the result has
Json dataOfImage(Json data, const Reduction& reduction);

// True if a command does the same thing to a reduced copy, only smaller. Others look at single
// pixels.
bool canBeReduced(const std::string& command);

} // namespace workbench
