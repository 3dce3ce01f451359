// The progress picture of both calibrations: a view with its corners, drawn into a host window.
#pragma once

#include "calib/chess_views.h"

#include <opencv2/core/mat.hpp>

#include <windows.h>

namespace tarvix {

// The picture with the corners drawn on it, shrunk by min(client / pictureSize) so that it fits a
// client area of that size; never enlarged. `pictureSize` is that of the picture the corners were
// found in.
cv::Mat previewPicture(const cv::Mat& colour, cv::Size pattern, const Corners& corners,
                       cv::Size pictureSize, cv::Size client);

// Reads the file again in colour and draws it at the window's top-left corner. A window that is
// gone and a bitmap that cannot be made draw nothing; OpenCV's exceptions pass.
void drawPreview(HWND window, const std::string& path, cv::Size pattern, const Corners& corners,
                 cv::Size pictureSize);

// What a calibration calls for each view; empty without a window.
ShowView previewInto(HWND window, cv::Size pattern);

} // namespace tarvix
