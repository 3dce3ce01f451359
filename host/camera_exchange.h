// The calibration of one camera in the formats of other tools.
#pragma once

#include <opencv2/core/mat.hpp>

#include <string>

namespace host {

struct ExchangedCamera {
    cv::Size imageSize; // pixels; empty if a file does not say
    cv::Mat matrix; // 3 x 3 doubles: fx 0 cx / 0 fy cy / 0 0 1, origin at the first pixel's centre
    cv::Mat distortion; // 1 x 4, 5, 8, 12 or 14 doubles, as OpenCV takes them
};

enum class CameraFormat {
    OpenCv, // .yml: a FileStorage with camera_matrix and distortion_coefficients
    Ros,    // .yaml: a camera_info document
    Colmap  // .txt: a line of cameras.txt, model FULL_OPENCV
};

// The format that the name's extension asks for. Throws BadUsage for any other.
CameraFormat formatOf(const std::string& path);

// The file's text. In COLMAP's frame the first pixel's centre is at (0.5, 0.5): the principal point
// is shifted by that. Throws Failure for a camera that the format cannot hold.
std::string cameraFileText(const ExchangedCamera& camera, CameraFormat format);

// Reads a YAML file of OpenCV or of ROS. Throws Failure, naming the file, for one that is neither,
// for numbers that make no camera, and for a lens model that OpenCV's distortion does not describe.
ExchangedCamera readCameraFile(const std::string& path);

} // namespace host
