// Calibration of one camera from photographs of a chessboard.
#pragma once

#include "calib/chess_views.h"

#include <opencv2/core/mat.hpp>

namespace tarvix {

struct CameraCalibration {
    cv::Mat cameraMatrix; // 3 x 3 doubles: fx 0 cx / 0 fy cy / 0 0 1, pixels
    cv::Mat distCoeffs;   // 1 x 5 doubles: k1 k2 p1 p2 k3
};

// Finds the board in every file and estimates the camera, a pinhole with five distortion
// coefficients, from scratch. `show`, when set, gets each view with its corners as found, before
// their refinement. Ends silently (failSilently) at the first file without a visible board; raises
// cv::Exception for a file that cannot be read and for too few views. The size of the last picture
// is the one given to the estimation.
CameraCalibration calibrateCamera(const FileList& files, cv::Size pattern, const ShowView& show);

} // namespace tarvix
