#include "chess_views.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

namespace tarvix {

std::vector<cv::Point3f> boardModel(cv::Size pattern, float squareSize) {
    std::vector<cv::Point3f> model;
    for (int i = 0; i < pattern.height; ++i) {
        for (int j = 0; j < pattern.width; ++j) {
            model.emplace_back(static_cast<float>(i) * squareSize,
                               static_cast<float>(j) * squareSize, 0.0F);
        }
    }
    return model;
}

std::optional<BoardCorners> findBoard(const cv::Mat& grey, cv::Size pattern) {
    BoardCorners corners;
    if (!cv::findChessboardCorners(grey, pattern, corners,
                                   cv::CALIB_CB_ADAPTIVE_THRESH + cv::CALIB_CB_NORMALIZE_IMAGE)) {
        return {};
    }
    return corners;
}

void refineCorners(const cv::Mat& grey, BoardCorners& corners, const Refinement& refinement) {
    cv::cornerSubPix(grey, corners, {refinement.halfWindow, refinement.halfWindow}, {-1, -1},
                     {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, refinement.epsilon});
}

} // namespace tarvix
