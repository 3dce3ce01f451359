#include "pixel_filters.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>

#include <algorithm>
#include <cmath>

namespace tarvix {

cv::Mat loadColour(const std::string& path) {
    return cv::imread(path, cv::IMREAD_COLOR);
}

cv::Mat cannyEdges(const cv::Mat& source, double threshold1, double threshold2, int apertureSize,
                   bool l2Gradient) {
    CV_Assert(!source.empty()); // not every OpenCV version refuses it
    cv::Mat edges(source.size(), CV_8UC1);
    cv::Canny(source, edges, threshold1, threshold2, apertureSize, l2Gradient);
    return edges;
}

cv::Mat denoiseColour(const cv::Mat& source, float h, float hColor, int templateWindowSize,
                      int searchWindowSize) {
    if (source.empty()) {
        return {};
    }
    cv::Mat output(source.size(), source.type());
    // OpenCV halves these and divides by zero if the half is negative.
    CV_Assert(templateWindowSize / 2 >= 0 && searchWindowSize / 2 >= 0);
    cv::fastNlMeansDenoisingColored(source, output, h, hColor, templateWindowSize,
                                    searchWindowSize);
    return output;
}

cv::Mat subPixelPatch(const cv::Mat& source, cv::Size size, cv::Point2f center) {
    cv::Mat patch(size, source.type());
    if (patch.empty()) {
        return {};
    }
    CV_Assert(!source.empty()); // OpenCV 4.6 would read through a null pointer
    CV_Assert(!std::isnan(center.x) && !std::isnan(center.y));
    // OpenCV counts positions in ints, which a far centre overflows. A patch that lies wholly
    // outside is all border wherever it lies, so its centre can be clamped.
    const auto nearer = [](float position, int patchSide, int imageSide) {
        const float beyond = static_cast<float>(patchSide) + 2;
        return std::clamp(position, -beyond, static_cast<float>(imageSide) + beyond);
    };
    const cv::Point2f reachable(nearer(center.x, size.width, source.cols),
                                nearer(center.y, size.height, source.rows));
    cv::getRectSubPix(source, size, reachable, patch, -1);
    return patch;
}

} // namespace tarvix
