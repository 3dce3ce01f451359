#include "canvas.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>
#include <vector>

namespace tarvix {

namespace {

double edge(const Quad& q, std::size_t a, std::size_t b) {
    return cv::norm(q[a] - q[b]);
}

} // namespace

Quad outlineOf(cv::Size2d size) {
    return {cv::Point2d(0, 0), cv::Point2d(size.width, 0), cv::Point2d(size.width, size.height),
            cv::Point2d(0, size.height)};
}

cv::Size2d naturalSize(const Quad& marked, const Quad& corrected, double scale) {
    const double aspect = (edge(corrected, 0, 1) + edge(corrected, 3, 2)) /
                          (edge(corrected, 0, 3) + edge(corrected, 1, 2));
    const double across = std::max(edge(marked, 0, 1), edge(marked, 3, 2));
    const double down = std::max(edge(marked, 0, 3), edge(marked, 1, 2));
    const double width = std::max(across, down * aspect);
    return {width * scale, width / aspect * scale};
}

std::optional<FittedCanvas> fittedCanvas(const Quad& marked, const Quad& corrected,
                                         cv::Size image) {
    const cv::Mat found =
        cv::findHomography(std::vector<cv::Point2d>(marked.begin(), marked.end()),
                           std::vector<cv::Point2d>(corrected.begin(), corrected.end()));
    if (found.empty()) {
        return std::nullopt;
    }
    const cv::Matx33d h = found;
    const Quad outline = outlineOf(image);
    // The side of the horizon on which the rectangle is.
    const auto weight = [&h](const cv::Point2d& p) {
        return h(2, 0) * p.x + h(2, 1) * p.y + h(2, 2);
    };
    const double inside = weight((marked[0] + marked[1] + marked[2] + marked[3]) * 0.25);
    FittedCanvas canvas;
    cv::Point2d low(std::numeric_limits<double>::max(), std::numeric_limits<double>::max());
    cv::Point2d high(std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest());
    for (std::size_t i = 0; i < 4; ++i) {
        const double w = weight(outline[i]);
        if (!(w * inside > 0)) {
            return std::nullopt;
        }
        const cv::Vec3d q = h * cv::Vec3d(outline[i].x, outline[i].y, 1);
        canvas.outline[i] = {q[0] / w, q[1] / w};
        low = {std::min(low.x, canvas.outline[i].x), std::min(low.y, canvas.outline[i].y)};
        high = {std::max(high.x, canvas.outline[i].x), std::max(high.y, canvas.outline[i].y)};
    }
    canvas.size = {high.x - low.x, high.y - low.y};
    for (std::size_t i = 0; i < 4; ++i) {
        canvas.outline[i] -= low;
        canvas.corners[i] = corrected[i] - low;
    }
    return canvas;
}

} // namespace tarvix
