#include "host/drawing.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <string>

namespace host {

namespace {

// A copy that has colours.
cv::Mat inColour(const cv::Mat& image) {
    cv::Mat colour;
    if (image.channels() == 1) {
        cv::cvtColor(image, colour, cv::COLOR_GRAY2BGR);
    } else {
        image.copyTo(colour);
    }
    return colour;
}

} // namespace

cv::Mat withSegments(const cv::Mat& image, const std::vector<cv::Vec4i>& segments) {
    cv::Mat drawn;
    inColour(image).convertTo(drawn, -1, 0.45, 140);
    for (const cv::Vec4i& s : segments) {
        cv::line(drawn, {s[0], s[1]}, {s[2], s[3]}, {40, 30, 220}, 2, cv::LINE_AA);
    }
    return drawn;
}

cv::Mat withFrames(const cv::Mat& image, const std::vector<cv::Rect>& rectangles) {
    cv::Mat drawn = inColour(image);
    const int thickness = std::max(2, std::min(drawn.cols, drawn.rows) / 150);
    for (const cv::Rect& r : rectangles) {
        cv::rectangle(drawn, r.tl(), r.br() - cv::Point(1, 1), {60, 220, 40}, thickness);
    }
    return drawn;
}

bool canBeDrawn(const std::array<double, 8>& corners) {
    // False for what is not a number, too.
    return std::all_of(corners.begin(), corners.end(), [](double c) { return std::abs(c) < 1e6; });
}

cv::Mat withCorners(const cv::Mat& image, const std::array<double, 8>& corners,
                    const cv::Scalar& colour) {
    cv::Mat drawn = inColour(image);
    const double unit = std::max(1.0, std::max(drawn.cols, drawn.rows) / 500.0);
    const int thickness = static_cast<int>(std::lround(2 * unit));
    constexpr int fraction = 4; // bits after the point
    const auto fixed = [](double pixels) {
        return static_cast<int>(std::lround(pixels * (1 << fraction)));
    };
    std::vector<cv::Point> points;
    for (std::size_t i = 0; i < 4; ++i) {
        points.emplace_back(fixed(corners[2 * i]), fixed(corners[2 * i + 1]));
    }
    cv::polylines(drawn, points, true, colour, thickness, cv::LINE_AA, fraction);
    for (std::size_t i = 0; i < 4; ++i) {
        const auto& p = points[i];
        cv::circle(drawn, p, static_cast<int>(6 * unit * (1 << fraction)), colour, cv::FILLED,
                   cv::LINE_AA, fraction);
        const cv::Point at(p.x >> fraction, p.y >> fraction);
        cv::putText(drawn, std::to_string(i), at + cv::Point(0, static_cast<int>(-9 * unit)),
                    cv::FONT_HERSHEY_SIMPLEX, 0.7 * unit, colour, thickness, cv::LINE_AA);
    }
    return drawn;
}

cv::Mat sideBySide(const cv::Mat& left, const cv::Mat& right) {
    cv::Mat both(std::max(left.rows, right.rows), left.cols + right.cols, CV_8UC3,
                 cv::Scalar::all(0));
    const auto put = [&](const cv::Mat& image, int x) {
        inColour(image).copyTo(both(cv::Rect(x, 0, image.cols, image.rows)));
    };
    put(left, 0);
    put(right, left.cols);
    const int step = std::max(both.rows / 16, 1);
    for (int y = step; y < both.rows; y += step) {
        cv::line(both, {0, y}, {both.cols - 1, y},
                 y / step % 2 == 0 ? cv::Scalar(80, 220, 80) : cv::Scalar(60, 160, 255));
    }
    return both;
}

} // namespace host
