#include "lines.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace tarvix {

int shortestSegment(int width, int rows) {
    return std::min(width, rows) / 10;
}

std::vector<cv::Vec4i> findLines(const cv::Mat& source, int shortest) {
    cv::Mat grey;
    // On purpose, the weights of red and blue are exchanged: the channels are blue, green, red.
    cv::cvtColor(source, grey, cv::COLOR_RGB2GRAY, 0);
    cv::Mat map; // the thresholded image, then the edges
    const double level = cv::threshold(grey, map, 0.0, 255.0, cv::THRESH_OTSU);
    cv::Canny(grey, map, level / 3.0, level, 3, false);
    std::vector<cv::Vec4i> segments;
    cv::HoughLinesP(map, segments, 1.0, CV_PI / 180, 50, shortest, 10.0);
    return segments;
}

} // namespace tarvix
