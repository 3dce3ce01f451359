#include "host/gallery_inputs.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>

namespace host {

cv::Mat withGrain(const cv::Mat& image, double deviation) {
    cv::RNG random(1);
    cv::Mat noise(image.size(), CV_16SC3);
    random.fill(noise, cv::RNG::NORMAL, 0.0, deviation);
    cv::Mat grainy;
    cv::add(image, noise, grainy, cv::noArray(), CV_8U);
    return grainy;
}

cv::Mat turnedView(const cv::Mat& image, double yawDeg, double focalPx, cv::Size size,
                   double gain) {
    const double yaw = yawDeg * CV_PI / 180.0;
    const auto camera = [focalPx](cv::Size s) {
        return cv::Matx33d(focalPx, 0, (s.width - 1) / 2.0, 0, focalPx, (s.height - 1) / 2.0, 0, 0,
                           1);
    };
    const cv::Matx33d turned(std::cos(yaw), 0, std::sin(yaw), 0, 1, 0, -std::sin(yaw), 0,
                             std::cos(yaw));
    // From the view's pixels to the image's.
    const cv::Matx33d toImage = camera(image.size()) * turned * camera(size).inv();
    cv::Mat view;
    cv::warpPerspective(image, view, toImage, size, cv::INTER_CUBIC | cv::WARP_INVERSE_MAP);
    return view * gain;
}

double decibels(const cv::Mat& image, const cv::Mat& truth) {
    return cv::PSNR(image, truth);
}

} // namespace host
