#include "edge_support.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace tarvix {

namespace {

constexpr double weakestEdge = 5;    // grey levels per pixel, after smoothing
constexpr double straightest = 0.85; // cosine between the gradient and the normal of a side
constexpr double endsLeftOut = 0.04; // of a side: corners are rounded by the smoothing
constexpr int nearPx = 2;            // an edge so far from the side carries it
constexpr double offsetStep = 0.5;   // pixels, between the places where an edge is looked for

struct Line {
    cv::Point2d at;
    cv::Point2d along; // of length 1
};

std::optional<cv::Point2d> crossing(const Line& a, const Line& b) {
    const double sine = a.along.cross(b.along);
    if (std::abs(sine) < 0.05) {
        return std::nullopt;
    }
    return a.at + a.along * ((b.at - a.at).cross(b.along) / sine);
}

} // namespace

double SideSupport::least() const {
    return *std::min_element(sides.begin(), sides.end());
}

double SideSupport::mean() const {
    return (sides[0] + sides[1] + sides[2] + sides[3]) / 4;
}

EdgeMap::EdgeMap(const cv::Mat& image) {
    cv::Mat smooth;
    cv::GaussianBlur(image, smooth, {}, 1.0);
    cv::Mat x, y;
    cv::Sobel(smooth, x, CV_32F, 1, 0, 3, 1.0 / 8);
    cv::Sobel(smooth, y, CV_32F, 0, 1, 3, 1.0 / 8);
    if (image.channels() == 1) {
        m_gradientX = x;
        m_gradientY = y;
        return;
    }
    m_gradientX.create(image.size(), CV_32F);
    m_gradientY.create(image.size(), CV_32F);
    for (int r = 0; r < image.rows; ++r) {
        for (int c = 0; c < image.cols; ++c) {
            const auto& gx = x.at<cv::Vec3f>(r, c);
            const auto& gy = y.at<cv::Vec3f>(r, c);
            int best = 0;
            for (int k = 1; k < 3; ++k) {
                if (gx[k] * gx[k] + gy[k] * gy[k] > gx[best] * gx[best] + gy[best] * gy[best]) {
                    best = k;
                }
            }
            m_gradientX.at<float>(r, c) = gx[best];
            m_gradientY.at<float>(r, c) = gy[best];
        }
    }
}

double EdgeMap::across(const cv::Point2d& point, const cv::Point2d& normal) const {
    const int c = static_cast<int>(std::lround(point.x)),
              r = static_cast<int>(std::lround(point.y));
    if (c < 0 || r < 0 || c >= m_gradientX.cols || r >= m_gradientX.rows) {
        return 0;
    }
    const auto x = static_cast<double>(m_gradientX.at<float>(r, c));
    const auto y = static_cast<double>(m_gradientY.at<float>(r, c));
    const double g = x * normal.x + y * normal.y;
    return g * g >= straightest * straightest * (x * x + y * y) ? g : 0;
}

double EdgeMap::sideSupport(const cv::Point2d& from, const cv::Point2d& to, int samples) const {
    const cv::Point2d side = to - from;
    const double length = cv::norm(side);
    const cv::Point2d normal(-side.y / length, side.x / length); // inwards
    int bright = 0, dark = 0;
    for (int i = 0; i < samples; ++i) {
        const double t = endsLeftOut + (1 - 2 * endsLeftOut) * (i + 0.5) / samples;
        double most = 0, least = 0;
        for (int offset = -nearPx; offset <= nearPx; ++offset) {
            const double g = across(from + side * t + normal * offset, normal);
            most = std::max(most, g);
            least = std::min(least, g);
        }
        bright += most >= weakestEdge && most >= -least ? 1 : 0;
        dark += -least >= weakestEdge && -least > most ? 1 : 0;
    }
    return static_cast<double>(std::max(bright, dark)) / samples;
}

SideSupport EdgeMap::support(const Quad& corners, int samples) const {
    SideSupport result;
    for (std::size_t k = 0; k < 4; ++k) {
        result.sides[k] = sideSupport(corners[k], corners[(k + 1) % 4], samples);
    }
    return result;
}

Quad EdgeMap::refined(const Quad& corners, double reach) const {
    std::array<Line, 4> lines;
    for (std::size_t k = 0; k < 4; ++k) {
        const cv::Point2d from = corners[k], side = corners[(k + 1) % 4] - from;
        const double length = cv::norm(side);
        const cv::Point2d normal(-side.y / length, side.x / length);
        const int samples = std::clamp(static_cast<int>(length / 2), 8, 100);
        std::vector<cv::Point2f> bright, dark;
        for (int i = 0; i < samples; ++i) {
            const double t = endsLeftOut + (1 - 2 * endsLeftOut) * (i + 0.5) / samples;
            cv::Point2d mostAt, leastAt;
            double most = weakestEdge, least = -weakestEdge;
            const int steps = static_cast<int>(2 * reach / offsetStep);
            for (int step = 0; step <= steps; ++step) {
                const double offset = step * offsetStep - reach;
                const cv::Point2d point = from + side * t + normal * offset;
                const double g = across(point, normal);
                if (g > most) {
                    most = g;
                    mostAt = point;
                }
                if (g < least) {
                    least = g;
                    leastAt = point;
                }
            }
            if (most > weakestEdge) {
                bright.emplace_back(mostAt);
            }
            if (least < -weakestEdge) {
                dark.emplace_back(leastAt);
            }
        }
        const std::vector<cv::Point2f>& edge = bright.size() >= dark.size() ? bright : dark;
        if (edge.size() < 5) {
            return corners;
        }
        cv::Vec4f line;
        cv::fitLine(edge, line, cv::DIST_HUBER, 0, 0.01, 0.01);
        lines[k] = {cv::Point2d(static_cast<double>(line[2]), static_cast<double>(line[3])),
                    cv::Point2d(static_cast<double>(line[0]), static_cast<double>(line[1]))};
    }
    Quad result;
    for (std::size_t k = 0; k < 4; ++k) {
        const auto corner = crossing(lines[(k + 3) % 4], lines[k]);
        if (!corner || cv::norm(*corner - corners[k]) > 4 * reach) {
            return corners;
        }
        result[k] = *corner;
    }
    return result;
}

} // namespace tarvix
