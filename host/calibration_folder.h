// The calibration folder, as the host itself reads and writes it: with the module's own care for
// the files, which calib/calib_writer.h describes.
#pragma once

#include "assist/metric_stereo.h"

#include <opencv2/core/mat.hpp>

#include <string>

namespace host {

// Writes cam.xml and dist.xml, both or neither, existing ones replaced. Makes the folder if it is
// missing. Throws Failure or cv::Exception if they cannot be written.
void writeCamera(const std::string& folder, const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs);

// Writes the nine stereo files, all or none, in the same way.
void writePair(const std::string& folder, const tarvix::RectifyingPair& pair);

// Reads the files back. They throw Failure if one is missing or has no matrix under its key, and
// cv::Exception for one that is damaged.
void readCamera(const std::string& folder, cv::Mat& cameraMatrix, cv::Mat& distCoeffs);
tarvix::RectifyingPair readPair(const std::string& folder);

// Whether measurements with a stereo calibration are lengths.
enum class Metric {
    Yes,
    No,     // M1.xml is the unit matrix: tx_StereoCalib does not estimate the cameras
    Unknown // there is no M1.xml
};
Metric metricOf(const std::string& folder);

// Why it is not, in one sentence; empty for Metric::Yes.
std::string notMetric(Metric metric, const std::string& folder);

} // namespace host
