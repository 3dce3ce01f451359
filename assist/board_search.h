// Chessboards in photographs, for calibrations that judge themselves: the corners of a board,
// refined as far as its squares allow.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <optional>
#include <vector>

namespace tarvix {

// A board as one photograph shows it.
struct SeenBoard {
    cv::Size imageSize;               // pixels
    std::vector<cv::Point2f> corners; // row by row, pixels, origin at the top-left pixel's centre
};

// Half the side of the window in which a corner is refined, pixels.
struct CornerWindow {
    int half = 0;          // 0: follows the size of the squares, as halfWindowFor() says
    double epsilon = 0.01; // the shift that ends the refinement, pixels
};
// The window of tx_Calib: what it finds is found again.
inline constexpr CornerWindow fixedWindow{5, 0.1};

// Returns the inner corners in the board's own plane, z = 0. As in the exports, the first
// coordinate is the row's index and the second the position in the row.
//   pattern  inner corners: width per row, height per column
//   square   edge of a square, in the unit wanted for the results
std::vector<cv::Point3f> boardPoints(cv::Size pattern, float square);

// Returns the shortest distance between neighbouring corners, pixels: the size of the smallest
// square in the image.
//   corners  pattern.area() of them
double smallestSquare(const std::vector<cv::Point2f>& corners, cv::Size pattern);

// Returns half a window's side, pixels, that holds one corner and none of its neighbours: a third
// of the smallest square, 2 to 11.
int halfWindowFor(const std::vector<cv::Point2f>& corners, cv::Size pattern);

// Finds the board in a CV_8UC1 image.
// Returns no value if it is not wholly seen.
// On failure: throws cv::Exception for an empty image and a pattern below 3 x 3.
std::optional<SeenBoard> searchBoard(const cv::Mat& grey, cv::Size pattern, CornerWindow window);

} // namespace tarvix
