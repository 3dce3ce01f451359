// The way of a still detection's result into the host's array, with the failure handling that goes
// with it.
#pragma once

#include <afxtempl.h>

#include <opencv2/core/types.hpp>

#include <functional>
#include <vector>

namespace tarvix {

// Empties `faces` (its growth setting stays), runs `detect` and appends what it returns, in its
// order. Returns the number of faces.
//   cv::Exception        its text is shown and the result is 0, though faces that were appended
//                        before it stay in the array: on purpose
//   no detection, and    the array's size at that moment, silently
//   any other exception
int collectFaces(CArray<RECT, RECT&>& faces, const std::function<std::vector<cv::Rect>()>& detect);

} // namespace tarvix
