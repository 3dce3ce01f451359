// Where large matrices are made.
#pragma once

#include <opencv2/core/mat.hpp>

namespace tarvix {

// An allocator to be set as that of a matrix before OpenCV writes into it. It takes the memory from
// OpenCV's default allocator and asks the system for large pages (platform/system/large_pages.h).
// If the memory runs out, OpenCV asks its default allocator once more, and throws as that does.
// Returns an object that lives as long as the module.
cv::MatAllocator* largeMatrices();

} // namespace tarvix
