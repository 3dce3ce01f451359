#include "chessboard.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <array>
#include <charconv>
#include <utility>

namespace tarvix {

namespace {

void appendNumber(std::string& text, float value) {
    std::array<char, 64> digits{}; // a float has at most 39 digits before the point
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(),
                                            double{value}, std::chars_format::fixed, 1);
    CV_Assert(error == std::errc{});
    text.append(digits.data(), end);
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
