// Calibration and rectification of a camera pair from photographs of a chessboard.
#pragma once

#include "chess_views.h"

#include <common/file_list.h>
#include <opencv2/core/mat.hpp>

#include <array>
#include <optional>
#include <vector>

namespace tarvix {

struct StereoViews {
    std::vector<std::vector<cv::Point3f>> objectPoints; // one board model for each pair
    std::vector<BoardCorners> imagePoints1;
    std::vector<BoardCorners> imagePoints2;
    cv::Size imageSize; // of the last camera-1 image; camera 2 is taken to have the same
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

// Finds the board in every file.
//   files       interleaved: even positions camera 1 (left), odd positions camera 2 (right)
//   pattern     inner corners: width per row, height per column
//   squareSize  edge of a square, in the unit wanted for the results
//   show        if set, gets each camera-1 view with its refined corners
// The two images of a pair are searched at the same time, in two OpenMP sections.
// Returns no value after the first pair in which a board is not seen.
// On failure: an exception in a section is thrown here after the join, camera 1's first.
std::optional<StereoViews> findStereoViews(const FileList& files, cv::Size pattern,
                                           float squareSize, const ShowView& show);

// Estimates how the cameras stand to each other, and rectifies. On purpose the intrinsics are held
// fixed and enter as empty matrices, which OpenCV takes as the unit camera matrix without
// distortion: they are not estimated.
// On failure: throws cv::Exception for too few views.
StereoCalibration calibrateStereo(const StereoViews& views);

} // namespace tarvix
