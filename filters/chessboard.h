// The inner corners of a calibration chessboard in a colour picture.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <string>
#include <vector>

namespace tarvix {

struct MarkedBoard {
    cv::Mat picture;                  // CV_8UC3, the source with the corners drawn
    std::vector<cv::Point2f> corners; // row by row along the board, pixels, refined
};

// Finds the board of `board` inner corners (width: per row, height: per column) in a CV_8UC3
// picture and refines the corners to sub-pixel accuracy. `source` is drawn on: the result shares
// its pixels. Raises the silent failure when there is no such board; throws cv::Exception for what
// OpenCV refuses (a grey or empty picture, a board smaller than 3 x 3).
MarkedBoard markChessboard(cv::Mat source, cv::Size board);

// The corners as text, "x,y;x,y;...", each number with one decimal as printf's "%.1f" rounds it,
// the decimal point being '.' whatever the locale of the process.
std::string cornerText(const std::vector<cv::Point2f>& corners);

} // namespace tarvix
