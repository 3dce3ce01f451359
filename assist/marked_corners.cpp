#include "marked_corners.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

namespace tarvix {

namespace {

constexpr double farthestPx = 1e6;      // beyond it, a corner is a slip of the pen
constexpr double nearestPx = 1.0;       // people do not mark more exactly
constexpr double flattestRatio = 0.002; // of a triangle's longest side

// Any order that does not depend on the given one.
Quad inReadingOrder(Quad corners) {
    std::sort(corners.begin(), corners.end(), [](const cv::Point2d& a, const cv::Point2d& b) {
        return a.y != b.y ? a.y < b.y : a.x < b.x;
    });
    return corners;
}

std::string shown(const cv::Point2d& point) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << point.x << ',' << point.y;
    return text.str();
}

// Twice the area of the triangle; positive if a, b, c run clockwise on the screen.
double doubleArea(const cv::Point2d& a, const cv::Point2d& b, const cv::Point2d& c) {
    return (b - a).cross(c - a);
}

bool isFlat(const cv::Point2d& a, const cv::Point2d& b, const cv::Point2d& c) {
    const double longest = std::max({cv::norm(b - a), cv::norm(c - b), cv::norm(a - c)});
    return std::abs(doubleArea(a, b, c)) < longest * std::max(nearestPx, flattestRatio * longest);
}

bool isInside(const cv::Point2d& p, const cv::Point2d& a, const cv::Point2d& b,
              const cv::Point2d& c) {
    const bool left = doubleArea(a, b, p) > 0;
    return left == (doubleArea(b, c, p) > 0) && left == (doubleArea(c, a, p) > 0);
}

// The three corners without the k-th.
std::array<cv::Point2d, 3> others(const Quad& corners, std::size_t k) {
    return {corners[(k + 1) % 4], corners[(k + 2) % 4], corners[(k + 3) % 4]};
}

} // namespace

std::optional<std::string> refusalOf(const Quad& corners) {
    // False for what is not a number, too.
    const auto isNear = [](const cv::Point2d& p) {
        return std::abs(p.x) <= farthestPx && std::abs(p.y) <= farthestPx;
    };
    if (!std::all_of(corners.begin(), corners.end(), isNear)) {
        return "a corner is not a point within a million pixels of the image";
    }
    const Quad q = inReadingOrder(corners);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t k = i + 1; k < 4; ++k) {
            if (cv::norm(q[i] - q[k]) < nearestPx) {
                return "the corners " + shown(q[i]) + " and " + shown(q[k]) + " coincide";
            }
        }
    }
    std::optional<std::size_t> left;
    int flat = 0;
    for (std::size_t k = 0; k < 4; ++k) {
        const auto [a, b, c] = others(q, k);
        if (isFlat(a, b, c)) {
            left = k;
            ++flat;
        }
    }
    if (flat > 1) {
        return "the corners are on one line";
    }
    if (left) {
        return "three corners are on one line: all but " + shown(q[*left]);
    }
    for (std::size_t k = 0; k < 4; ++k) {
        const auto [a, b, c] = others(q, k);
        if (isInside(q[k], a, b, c)) {
            return "the corner " + shown(q[k]) + " is inside the triangle of the other three";
        }
    }
    return std::nullopt;
}

Quad sortedCorners(const Quad& corners) {
    Quad q = inReadingOrder(corners);
    const cv::Point2d centre = (q[0] + q[1] + q[2] + q[3]) * 0.25;
    const auto angle = [&centre](const cv::Point2d& p) {
        return std::atan2(p.y - centre.y, p.x - centre.x); // grows clockwise on the screen
    };
    std::stable_sort(q.begin(), q.end(), [&angle](const cv::Point2d& a, const cv::Point2d& b) {
        return angle(a) < angle(b);
    });
    // So that of equally good beginnings the first in reading order wins.
    const Quad reading = inReadingOrder(corners);
    std::rotate(q.begin(), std::find(q.begin(), q.end(), reading[0]), q.end());
    std::size_t best = 0;
    double bestUpright = 0;
    for (const cv::Point2d& first : reading) {
        const auto k = static_cast<std::size_t>(std::find(q.begin(), q.end(), first) - q.begin());
        const auto at = [&q, k](std::size_t i) { return q[(k + i) % 4]; };
        const double upright =
            (at(1).x - at(0).x) + (at(2).x - at(3).x) + (at(3).y - at(0).y) + (at(2).y - at(1).y);
        if (upright > bestUpright) {
            best = k;
            bestUpright = upright;
        }
    }
    std::rotate(q.begin(), q.begin() + static_cast<std::ptrdiff_t>(best), q.end());
    return q;
}

} // namespace tarvix
