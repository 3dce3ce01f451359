// The calibration file set: small XML files of OpenCV's persistence format in one folder, each with
// one matrix of doubles under one top-level key. The folder is the only link between calibration
// and its use; docs/calibration.md has the table of the files.
//
// Failures are cv::Exception in OpenCV's own words.
#pragma once

#include <opencv2/core/mat.hpp>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace tarvix {

struct CalibFile {
    const char* name; // in the folder
    const char* key;  // the document's top-level key
};

// The single camera.
inline constexpr CalibFile cameraFile{"cam.xml", "CameraMatrix"}; // 3 x 3
inline constexpr CalibFile distortionFile{"dist.xml", "DistCoeffs"};

// One camera of the stereo set, in the order in which it is read.
struct StereoCameraFiles {
    CalibFile cameraMatrix, distortion, rotation, projection;
};
// On purpose: the keys of the camera matrices are MM1 and MM2 although the files are M1 and M2.
inline constexpr std::array<StereoCameraFiles, 2> stereoCameraFiles{{
    {{"M1.xml", "MM1"}, {"D1.xml", "D1"}, {"R1.xml", "R1"}, {"P1.xml", "P1"}},
    {{"M2.xml", "MM2"}, {"D2.xml", "D2"}, {"R2.xml", "R2"}, {"P2.xml", "P2"}},
}};
inline constexpr CalibFile reprojectionFile{"Q.xml", "Q"}; // 4 x 4

// Reads the matrix of a calibration file.
//   file  where it is
//   name  the same as the host wrote it, for messages
//   key   the document's top-level key
// Returns an empty matrix if there is no such file or the document lacks the key. The numbers' type
// and the shape are the caller's to judge. Never reads memory that is not its own, whatever the
// file holds.
// On failure: throws cv::Exception if it is not a regular file, cannot be read, is larger than any
// calibration file, or is not a sound document with a plain two-dimensional matrix.
cv::Mat readMatrix(const std::filesystem::path& file, const std::string& name, const char* key);

// The same for a document already in memory.
cv::Mat parseMatrix(const std::string& document, const std::string& name, const char* key);

// Throws for an empty matrix, as OpenCV does for an empty camera matrix. Other empty matrices it
// would take as "none", and a damaged file would go unnoticed.
void refuseEmpty(const cv::Mat& matrix, const CalibFile& file);

} // namespace tarvix
