#include "pixel_filters.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>

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
    // It sums squared differences of two channels over the template in ints, and looks up a table
    // by the sum: beyond their range it would read other memory.
    constexpr std::int64_t largestHalf = 63;
    constexpr std::int64_t largestDifference = std::int64_t{2} * 255 * 255;
    static_assert(largestDifference * (2 * largestHalf + 1) * (2 * largestHalf + 1) <= INT_MAX &&
                  largestDifference * (2 * largestHalf + 3) * (2 * largestHalf + 3) > INT_MAX);
    CV_Assert(templateWindowSize / 2 <= largestHalf);
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
    // OpenCV counts the bytes of a row in ints, which a farther centre would overflow. So far out,
    // all positions are whole pixels outside the image: moving the centre nearer changes no pixel.
    constexpr float farthest = 0x1p29F;
    const cv::Point2f reachable(std::clamp(center.x, -farthest, farthest),
                                std::clamp(center.y, -farthest, farthest));
    cv::getRectSubPix(source, size, reachable, patch, -1);
    return patch;
}

} // namespace tarvix
