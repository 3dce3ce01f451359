// Photographs of a flat chessboard: the board's model and its corners in an image.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tarvix {

using BoardCorners = std::vector<cv::Point2f>; // row by row, pixels

// Called with each view's file, its corners and the size of the image they were found in, on the
// calling thread.
using ShowView =
    std::function<void(const std::string& file, const BoardCorners& corners, cv::Size imageSize)>;

// How corners are refined: half the search window's side, and the shift that ends the refinement.
struct Refinement {
    int halfWindow; // pixels
    double epsilon; // pixels
};
// They differ on purpose.
inline constexpr Refinement monoRefinement{5, 0.1};
inline constexpr Refinement stereoRefinement{11, 0.01};

// Returns the board's inner corners in its own plane, z = 0, in units of squareSize. On purpose the
// first coordinate is the row's index and the second the position in the row: the transpose of the
// usual model.
//   pattern  inner corners: width per row, height per column
std::vector<cv::Point3f> boardModel(cv::Size pattern, float squareSize);

// Finds the board in a CV_8UC1 image, corners to about a pixel.
// Returns no value if it is not wholly seen.
// On failure: throws cv::Exception for an empty image or a pattern that OpenCV refuses.
std::optional<BoardCorners> findBoard(const cv::Mat& grey, cv::Size pattern);

// Moves each corner to where the edges around it meet.
void refineCorners(const cv::Mat& grey, BoardCorners& corners, const Refinement& refinement);

} // namespace tarvix
