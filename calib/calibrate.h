// Calibration of one camera from photographs of a chessboard.
#pragma once

#include "chess_views.h"

#include <common/file_list.h>
#include <opencv2/core/mat.hpp>

#include <optional>

namespace tarvix {

struct CameraCalibration {
    cv::Mat cameraMatrix; // 3 x 3 doubles: fx 0 cx / 0 fy cy / 0 0 1, pixels
    cv::Mat distCoeffs;   // 1 x 5 doubles: k1 k2 p1 p2 k3
};

// Finds the board in every file and estimates the camera, a pinhole with five distortion
// coefficients, from scratch.
//   pattern  inner corners: width per row, height per column
//   show     if set, gets each view with its corners as found, before they are refined
// Returns no value after the first image without a board: one bad image spoils the set.
// On failure: throws cv::Exception for an unreadable image and for too few views; what the list
// throws.
std::optional<CameraCalibration> calibrateCamera(const FileList& files, cv::Size pattern,
                                                 const ShowView& show);

} // namespace tarvix
