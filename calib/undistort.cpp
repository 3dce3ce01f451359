#include "undistort.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <limits>

namespace tarvix {

Undistorted undistort(const cv::Mat& image, const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs,
                      cv::MatAllocator* memory) {
    Undistorted result;
    result.image.allocator = result.map1.allocator = result.map2.allocator = memory;
    cv::initUndistortRectifyMap(cameraMatrix, distCoeffs, cv::Mat(), cameraMatrix, image.size(),
                                CV_32FC1, result.map1, result.map2);
    cv::remap(image, result.image, result.map1, result.map2, cv::INTER_CUBIC, cv::BORDER_CONSTANT,
              cv::Scalar(0, 0, 0, 0));
    return result;
}

float mapSample(const cv::Mat& map, int row, int column) {
    const std::size_t element = static_cast<std::size_t>(row) * static_cast<std::size_t>(map.cols) +
                                static_cast<std::size_t>(column);
    return element < map.total() ? map.ptr<float>()[element]
                                 : std::numeric_limits<float>::quiet_NaN();
}

cv::Mat rectify(const cv::Mat& image, const cv::Mat& cameraMatrix, const cv::Mat& distortion,
                const cv::Mat& rotation, const cv::Mat& projection, cv::MatAllocator* memory) {
    cv::Mat map1;
    cv::Mat map2;
    cv::Mat rectified;
    rectified.allocator = map1.allocator = map2.allocator = memory;
    cv::initUndistortRectifyMap(cameraMatrix, distortion, rotation, projection, image.size(),
                                CV_32FC1, map1, map2);
    cv::remap(image, rectified, map1, map2, cv::INTER_AREA, cv::BORDER_CONSTANT,
              cv::Scalar(0, 0, 0, 0));
    return rectified;
}

} // namespace tarvix
