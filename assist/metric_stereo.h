// A camera pair that measures: each camera's intrinsics first, then how the cameras stand to each
// other, then what the exports read from the calibration folder.
#pragma once

#include "camera_estimate.h"

#include <array>
#include <vector>

namespace tarvix {

// The board in the two photographs of one moment.
struct SeenPair {
    SeenBoard one; // camera 1
    SeenBoard two; // camera 2
};

// What the folder holds for one camera.
struct RectifyingCamera {
    cv::Mat cameraMatrix; // M: 3 x 3 doubles
    cv::Mat distortion;   // D: 1 x 5
    cv::Mat rotation;     // R: 3 x 3, into the rectified frame
    cv::Mat projection;   // P: 3 x 4, in the rectified frame
};

// What the folder holds for the pair.
struct RectifyingPair {
    std::array<RectifyingCamera, 2> cameras;
    cv::Mat reprojection; // Q: 4 x 4, (x, y, disparity, 1) to homogeneous coordinates
};

struct MetricPair {
    std::array<CameraEstimate, 2> cameras; // each from its own views
    RectifyingPair rectifying;
    cv::Matx33d rotation;        // from camera 1's frame into camera 2's
    cv::Vec3d translation;       // the same, in the unit of the board's squares
    double baseline = 0;         // distance of the cameras, in that unit
    double rms = 0;              // over the corners of both cameras, pixels
    std::vector<double> pairRms; // of each pair, pixels
    bool isSideBySide = true;    // false: one above the other; tx_Meas3D cannot measure then
    bool isSwapped = false;      // camera 1 is the right one
};

enum class Intrinsics {
    Fixed,  // as each camera's own views give them
    Refined // estimated again together with how the cameras stand
};

// Estimates the pair and rectifies it so that tx_Meas3D measures in the unit of `square`:
//   - both rectified cameras have the same principal point, so that disparities begin at 0;
//   - the reprojection takes a disparity of 0 or more, whichever camera is the right one.
//   pairs    at least one, all images of one size
//   pattern  inner corners: width per row, height per column
//   square   edge of a square, above 0
// On failure: throws cv::Exception for no pair and for views that OpenCV refuses.
MetricPair calibrateMetric(const std::vector<SeenPair>& pairs, cv::Size pattern, float square,
                           Intrinsics intrinsics);

// How far apart the rows of corresponding corners are after rectification, pixels.
struct RowErrors {
    std::vector<double> pairMedian; // of each pair
    double median = 0;              // over all corners
    double p90 = 0;                 // nine of ten are below
};

// Judges any calibration of the exports' format, metric or not.
// On failure: throws cv::Exception for matrices of a wrong shape.
RowErrors rowErrorsOf(const std::vector<SeenPair>& pairs, const RectifyingPair& rectifying);

// Returns the distances of neighbouring corners in space, each measured as tx_Meas3D measures, in
// increasing order. With a metric calibration they are the edge of a square.
// On failure: as rowErrorsOf.
std::vector<double> squareLengths(const std::vector<SeenPair>& pairs, cv::Size pattern,
                                  const RectifyingPair& rectifying);

// Returns the value below which a share of the sorted values is, 0 <= share <= 1; 0 for no values.
double quantile(const std::vector<double>& sorted, double share);

} // namespace tarvix
