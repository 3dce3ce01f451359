// Calibration and rectification of a camera pair from photographs of a chessboard.
#pragma once

#include "calib/chess_views.h"

#include <opencv2/core/mat.hpp>

#include <array>

namespace tarvix {

struct StereoViews {
    std::vector<std::vector<cv::Point3f>> objectPoints; // one board model for each pair
    std::vector<Corners> imagePoints1;
    std::vector<Corners> imagePoints2;
    cv::Size pictureSize; // of the last camera-1 picture; camera 2 is taken to have the same
};

struct StereoCameraCalibration {
    cv::Mat cameraMatrix; // M: 3 x 3 doubles
    cv::Mat distortion;   // D
    cv::Mat rotation;     // R: 3 x 3, into the rectified frame
    cv::Mat projection;   // P: 3 x 4, in the rectified frame
};

struct StereoCalibration {
    std::array<StereoCameraCalibration, 2> cameras;
    cv::Mat reprojection; // Q: 4 x 4, (x, y, disparity, 1) to homogeneous coordinates
};

// Files are interleaved: even positions camera 1 (left), odd positions camera 2 (right). The two
// pictures of a pair are searched at the same time, in two OpenMP sections; an exception in a
// section is raised here after the join, camera 1's first. `show`, when set, gets each camera-1
// view with its refined corners. Ends silently (failSilently) after the first pair in which a board
// is not seen.
StereoViews findStereoViews(const FileList& files, cv::Size pattern, float squareSize,
                            const ShowView& show);

// Estimates how the cameras stand to each other, and rectifies. On purpose the intrinsics are held
// fixed and enter as empty matrices, which OpenCV takes as the unit camera matrix without
// distortion: they are not estimated. Raises cv::Exception for too few views.
StereoCalibration calibrateStereo(const StereoViews& views);

} // namespace tarvix
