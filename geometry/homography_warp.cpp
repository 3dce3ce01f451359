#include "homography_warp.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <vector>

namespace tarvix {

void warpInto(const cv::Mat& source, cv::Mat& destination, const Corners& from, const Corners& to,
              const cv::Scalar& fill) {
    const std::vector<cv::Point2d> fromPoints(from.begin(), from.end());
    const std::vector<cv::Point2d> toPoints(to.begin(), to.end());
    const cv::Mat homography =
        cv::findHomography(fromPoints, toPoints, 0, 3.0, cv::noArray(), 2000, 0.995);
    cv::warpPerspective(source, destination, homography, destination.size(), cv::INTER_LINEAR,
                        cv::BORDER_CONSTANT, fill);
}

void warpOnWhite(cv::Mat& image, const Corners& from, const Corners& to, cv::MatAllocator* memory) {
    cv::Mat warped;
    warped.allocator = memory;
    warped.create(image.size(), image.type()); // in place, OpenCV would copy the source first
    warpInto(image, warped, from, to, cv::Scalar(255, 255, 255, 0));
    image = warped;
}

} // namespace tarvix
