// Results that are made in the bitmap that the host gets.
#pragma once

#include <MorvelDib.h>
#include <opencv2/core/mat.hpp>

namespace tarvix {

// An allocator to be passed to an operation whose result becomes a bitmap. A matrix of CV_8UC1 or
// CV_8UC3 of 4 MB or more is made in the memory of a new bitmap, rows padded as the bitmap's, so
// the row step is positive. All others, and those whose bitmap is refused, come from
// largeMatrices(). If making the bitmap throws, OpenCV asks its default allocator.
// Returns an object that lives as long as the module.
cv::MatAllocator* bitmapMatrices();

// Makes a bitmap of an operation's result, which is used up. If the result is the only matrix in
// the memory of a bitmap, its rows are turned over there, and that bitmap is returned. Otherwise it
// is copied.
// Returns, and fails, as MatToDib.
CDib* resultToDib(cv::Mat result);

} // namespace tarvix
