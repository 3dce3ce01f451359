// Drawing into a window of the host.
#pragma once

#include <opencv2/core/mat.hpp>

#include <windows.h>

#include <optional>

namespace tarvix {

// The size of the window's client area, pixels. No value if the window is gone.
std::optional<cv::Size> clientSize(HWND window);

// Draws the image at the top left of the window's client area. Draws nothing if the window is gone
// or no bitmap of the image can be made.
void drawInto(HWND window, const cv::Mat& image);

} // namespace tarvix
