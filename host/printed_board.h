// Chessboards to print in true size.
#pragma once

#include "host/options.h"

#include <opencv2/core/types.hpp>

#include <string>
#include <vector>

namespace host {

// Millimetres, x right, y down, origin at the page's top-left corner.
struct PrintedBoard {
    std::string paper; // "A4"
    cv::Size2d page;
    std::vector<cv::Rect2d> squares; // the black ones
    cv::Rect2d ruler;                // 100 mm long: what a printer scales shows here
    cv::Point2d labelAt;             // the left end of the label's base line
    std::string label;               // the sizes
};

// Lays the board out on the smallest paper from A4 to A0 that holds it with a white margin.
//   board   inner corners per row, per column
//   square  edge of a square, mm
// Throws Failure if none holds it.
PrintedBoard layOutBoard(const Board& board, double square);

// What an SVG file of the board holds.
std::string boardAsSvg(const PrintedBoard& board);

// What a file of that name holds: .svg or .pdf, whichever the case of the letters. Throws BadUsage
// for any other extension, and as boardAsPdf.
std::string boardAsFile(const PrintedBoard& board, const std::string& path);

// What a PDF file of it holds. Throws Failure if it cannot be made, or if this build makes none.
std::string boardAsPdf(const PrintedBoard& board);

} // namespace host
