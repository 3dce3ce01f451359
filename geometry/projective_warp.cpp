#include "projective_warp.h"

#include "vect.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cfloat>

namespace tarvix {

ProjectiveCanvas fitCanvas(const CornersF& from, const CornersF& to) {
    const cv::Mat canvasFromImage =
        cv::getPerspectiveTransform(from.data(), to.data(), cv::DECOMP_LU);
    float minX = FLT_MAX;
    float minY = FLT_MAX;
    // FLT_MIN, the smallest positive float, on purpose: with every coordinate negative the box ends
    // at 0.
    float maxX = FLT_MIN;
    float maxY = FLT_MIN;
    for (const cv::Point2f& p : to) {
        minX = std::min(minX, p.x);
        minY = std::min(minY, p.y);
        maxX = std::max(maxX, p.x);
        maxY = std::max(maxY, p.y);
    }
    const cv::Matx33d toOrigin(1, 0, -static_cast<double>(minX), //
                               0, 1, -static_cast<double>(minY), //
                               0, 0, 1);
    ProjectiveCanvas canvas;
    canvas.canvasFromImage = cv::Mat(cv::Mat(toOrigin) * canvasFromImage);
    canvas.size = {truncateToInt(static_cast<double>(maxX - minX) + 0.5),
                   truncateToInt(static_cast<double>(maxY - minY) + 0.5)};
    CV_Assert(canvas.size.width >= 0 && canvas.size.height >= 0);
    return canvas;
}

cv::Mat warpOntoCanvas(const cv::Mat& image, const ProjectiveCanvas& canvas,
                       cv::MatAllocator* memory) {
    cv::Mat warped;
    warped.allocator = memory;
    cv::warpPerspective(image, warped, canvas.canvasFromImage, canvas.size, cv::INTER_LINEAR,
                        cv::BORDER_CONSTANT, cv::Scalar(0, 0, 0, 0));
    return warped;
}

cv::Mat coverageOnCanvas(cv::Size imageSize, const ProjectiveCanvas& canvas,
                         cv::MatAllocator* memory, cv::MatAllocator* scratch) {
    cv::Mat white;
    white.allocator = scratch;
    white.create(imageSize, CV_8UC1);
    white = cv::Scalar(255, 255, 255, 0);
    return warpOntoCanvas(white, canvas, memory);
}

} // namespace tarvix
