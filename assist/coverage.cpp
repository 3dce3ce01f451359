#include "coverage.h"

namespace tarvix {

cv::Mat pointsInCells(const std::vector<cv::Point2f>& points, cv::Size image, cv::Size grid) {
    if (image.empty() || grid.empty()) {
        return {};
    }
    cv::Mat counts = cv::Mat::zeros(grid, CV_32SC1);
    for (const cv::Point2f& point : points) {
        // A pixel reaches half a pixel to each side of its centre.
        const double x = (static_cast<double>(point.x) + 0.5) / image.width;
        const double y = (static_cast<double>(point.y) + 0.5) / image.height;
        if (x >= 0.0 && x < 1.0 && y >= 0.0 && y < 1.0) {
            ++counts.at<int>(static_cast<int>(y * grid.height), static_cast<int>(x * grid.width));
        }
    }
    return counts;
}

} // namespace tarvix
