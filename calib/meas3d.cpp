#include "meas3d.h"

namespace tarvix {

bool isReprojectionMatrix(const cv::Mat& q) {
    return q.rows == 4 && q.cols == 4 && q.type() == CV_64FC1;
}

cv::Point3f reproject(const cv::Mat& q, cv::Point2f p1, cv::Point2f p2) {
    const bool secondIsReference = p1.x > p2.x;
    const cv::Point2d reference = secondIsReference ? p2 : p1;
    const double d = secondIsReference ? p1.x - p2.x : p2.x - p1.x;
    const double w = d * q.at<double>(3, 2) + q.at<double>(3, 3);
    const double x = (reference.x * q.at<double>(0, 0) + q.at<double>(0, 3)) / w;
    const double y = (reference.y * q.at<double>(1, 1) + q.at<double>(1, 3)) / w;
    const double z = q.at<double>(2, 3) / w;
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
}

} // namespace tarvix
