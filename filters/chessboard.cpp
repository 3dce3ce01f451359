#include "chessboard.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <string>
#include <utility>

namespace tarvix {

namespace {

// One decimal, correctly rounded, with a point in every locale: as std::to_chars writes it, which
// needs g++ 11 for numbers with decimals.
void appendNumber(std::string& text, float value) {
    constexpr float allAreWhole = 1 << 24; // from here on
    if (!(std::abs(value) < allAreWhole)) {
        text += cv::format("%.0f", double{value});
        text += std::isfinite(value) ? ".0" : "";
        return;
    }
    const double tenths = 10 * std::abs(double{value}); // exact: a float has 24 bits
    int rounded = static_cast<int>(tenths);
    const double rest = tenths - rounded;
    if (rest > 0.5 || (rest == 0.5 && rounded % 2 == 1)) {
        ++rounded;
    }
    text += std::signbit(value) ? "-" : "";
    text += std::to_string(rounded / 10) + '.' + std::to_string(rounded % 10);
}

} // namespace

std::optional<MarkedBoard> markChessboard(cv::Mat source, cv::Size board) {
    cv::Mat grey(source.size(), CV_8UC1);
    cv::cvtColor(source, grey, cv::COLOR_BGR2GRAY, 1);
    std::vector<cv::Point2f> corners;
    // The search runs on the colour image, the refinement on the grey one.
    if (!cv::findChessboardCorners(source, board, corners,
                                   cv::CALIB_CB_ADAPTIVE_THRESH | cv::CALIB_CB_NORMALIZE_IMAGE)) {
        return {};
    }
    cv::cornerSubPix(grey, corners, {11, 11}, {-1, -1},
                     cv::TermCriteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 30, 0.01));
    cv::drawChessboardCorners(source, board, corners, true);
    return MarkedBoard{std::move(source), std::move(corners)};
}

std::string cornerText(const std::vector<cv::Point2f>& corners) {
    std::string text;
    for (const cv::Point2f& corner : corners) {
        if (!text.empty()) {
            text += ';';
        }
        appendNumber(text, corner.x);
        text += ',';
        appendNumber(text, corner.y);
    }
    return text;
}

} // namespace tarvix
