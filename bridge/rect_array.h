// Rectangles in the host's array.
#pragma once

#include <afxtempl.h>
#include <opencv2/core/types.hpp>

#include <functional>
#include <vector>

namespace tarvix {

// left = x, top = y, right = x + width, bottom = y + height: right and bottom are one pixel beyond.
RECT rectOf(const cv::Rect& rectangle);

// Empties `array` (its growth setting stays), runs `find` and appends what it returns, in its
// order.
// Returns the array's size.
// On failure: a cv::Exception is shown and 0 returned, though rectangles that were appended before
// it stay, on purpose. After any other exception, and if nothing was found, returns the array's
// size at that moment, silently.
int collectRects(CArray<RECT, RECT&>& array, const std::function<std::vector<cv::Rect>()>& find);

} // namespace tarvix
