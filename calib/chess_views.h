// Photographs of a flat chessboard: the board's model, its corners in a picture, lists of files.
#pragma once

#include <opencv2/core/types.hpp>

#include <functional>
#include <string>
#include <vector>

namespace tarvix {

using Corners = std::vector<cv::Point2f>; // pixels

// File names by position. `at` may raise for a position out of range.
struct FileList {
    int count = 0;
    std::function<std::string(int)> at;
};

// Called with each view's file, its corners and its picture's size, on the calling thread.
using ShowView = std::function<void(const std::string& path, const Corners& corners, cv::Size)>;

// How corners are refined: half the search window's side, and the shift that ends the refinement.
struct Refinement {
    int halfWindow; // pixels
    double epsilon; // pixels
};
// They differ on purpose.
inline constexpr Refinement monoRefinement{5, 0.1};
inline constexpr Refinement stereoRefinement{11, 0.01};

// The board's inner corners in its own plane, z = 0. `pattern` is (corners per row, corners per
// column). On purpose the first coordinate is the row's index and the second the position in the
// row, times squareSize: the transpose of the usual model.
std::vector<cv::Point3f> boardModel(cv::Size pattern, float squareSize);

// Finds the board in a grey picture, corners to about a pixel. False when it is not (wholly) seen.
bool findBoard(const cv::Mat& grey, cv::Size pattern, Corners& corners);

void refineCorners(const cv::Mat& grey, Corners& corners, const Refinement& refinement);

} // namespace tarvix
