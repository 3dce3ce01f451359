#include "preview.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace tarvix {

cv::Mat previewImage(const cv::Mat& colour, cv::Size pattern, const BoardCorners& corners,
                     cv::Size imageSize, cv::Size client) {
    const double s = std::min(static_cast<double>(client.width) / imageSize.width,
                              static_cast<double>(client.height) / imageSize.height);
    cv::Mat image = colour.clone();
    cv::drawChessboardCorners(image, pattern, corners, true);
    if (s <= 1.0) {
        cv::Mat shrunk;
        cv::resize(image, shrunk, {}, s, s, cv::INTER_AREA);
        return shrunk;
    }
    return image;
}

} // namespace tarvix
