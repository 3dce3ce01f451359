// The inner corners of a calibration chessboard in a colour image.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <optional>
#include <string>
#include <vector>

namespace tarvix {

struct MarkedBoard {
    cv::Mat image;                    // CV_8UC3, the source with the corners drawn
    std::vector<cv::Point2f> corners; // row by row along the board, pixels, refined
};

// Finds a chessboard, refines its corners to sub-pixel accuracy and draws them.
//   source  CV_8UC3; it is drawn on, the result shares its pixels
//   board   inner corners: width per row, height per column; 3 x 3 at least
// Returns no value if there is no such board.
// On failure: throws cv::Exception for what OpenCV refuses (a grey or empty image, a small board).
std::optional<MarkedBoard> markChessboard(cv::Mat source, cv::Size board);

// Writes corners as text, "x,y;x,y;...". Each number has one decimal, rounded as printf's "%.1f"
// does. The decimal point is '.' whatever the locale of the process.
std::string cornerText(const std::vector<cv::Point2f>& corners);

} // namespace tarvix
