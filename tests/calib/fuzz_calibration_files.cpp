// Hostile calibration files: whatever the bytes, reading ends with a matrix or an exception, and so
// does the use of what was read.
#include "calib/calib_files.h"
#include "calib/meas3d.h"
#include "calib/undistort.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's entry point
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string document(reinterpret_cast<const char*>(data), size);
    try {
        const cv::Mat m = tarvix::parseMatrix(document, "Q.xml", "Q");
        if (tarvix::isReprojectionMatrix(m)) {
            tarvix::reproject(m, {3, 4}, {5, 6});
        }
        const cv::Mat picture(12, 16, CV_8UC3, cv::Scalar(1, 2, 3));
        const cv::Mat eye = cv::Mat::eye(3, 3, CV_64F);
        const cv::Mat none = cv::Mat::zeros(1, 5, CV_64F);
        for (int role = 0; role < 4; ++role) {
            try {
                tarvix::rectify(picture, role == 0 ? m : eye, role == 1 ? m : none,
                                role == 2 ? m : eye, role == 3 ? m : eye);
            } catch (const cv::Exception&) {
            }
        }
    } catch (const cv::Exception&) {
    }
    return 0;
}
