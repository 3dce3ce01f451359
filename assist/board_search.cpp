#include "board_search.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <limits>

namespace tarvix {

std::vector<cv::Point3f> boardPoints(cv::Size pattern, float square) {
    std::vector<cv::Point3f> points;
    for (int row = 0; row < pattern.height; ++row) {
        for (int column = 0; column < pattern.width; ++column) {
            points.emplace_back(static_cast<float>(row) * square,
                                static_cast<float>(column) * square, 0.0F);
        }
    }
    return points;
}

double smallestSquare(const std::vector<cv::Point2f>& corners, cv::Size pattern) {
    const auto at = [&](int row, int column) {
        return corners.at(static_cast<std::size_t>(row) * static_cast<std::size_t>(pattern.width) +
                          static_cast<std::size_t>(column));
    };
    double smallest = std::numeric_limits<double>::infinity();
    for (int row = 0; row < pattern.height; ++row) {
        for (int column = 0; column < pattern.width; ++column) {
            if (column + 1 < pattern.width) {
                smallest = std::min(smallest, cv::norm(at(row, column + 1) - at(row, column)));
            }
            if (row + 1 < pattern.height) {
                smallest = std::min(smallest, cv::norm(at(row + 1, column) - at(row, column)));
            }
        }
    }
    return smallest;
}

int halfWindowFor(const std::vector<cv::Point2f>& corners, cv::Size pattern) {
    return static_cast<int>(std::clamp(smallestSquare(corners, pattern) / 3, 2.0, 11.0));
}

std::optional<SeenBoard> searchBoard(const cv::Mat& grey, cv::Size pattern, CornerWindow window) {
    SeenBoard board{grey.size(), {}};
    if (!cv::findChessboardCorners(grey, pattern, board.corners,
                                   cv::CALIB_CB_ADAPTIVE_THRESH + cv::CALIB_CB_NORMALIZE_IMAGE)) {
        return {};
    }
    const int half = window.half > 0 ? window.half : halfWindowFor(board.corners, pattern);
    cv::cornerSubPix(grey, board.corners, {half, half}, {-1, -1},
                     {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, window.epsilon});
    return board;
}

} // namespace tarvix
