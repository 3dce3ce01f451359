// The toolkit under the convergence correction: an oriented angle between 2-D vectors, the three
// elementary rotations, a perspective matrix, centroid and area of a polygon.
//
// Angles go in as degrees. Points are pixels, x to the right, y down. The orders of summation and
// the precisions below decide the last bit of the convergence search, so they are part of the
// contract.
#pragma once

#include <opencv2/core.hpp>

#include <cmath>
#include <limits>
#include <span>

namespace tarvix {

constexpr double pi = 3.141592653589793;
constexpr double twoPi = 6.283185307179586;

// A 2-D vector.
class CVect {
public:
    CVect() = default;
    CVect(double xValue, double yValue) : x(xValue), y(yValue) {}
    CVect(const CVect&) = default;
    CVect& operator=(const CVect&) = default;
    virtual ~CVect() = default;

    CVect& operator-=(const CVect& other) {
        x -= other.x;
        y -= other.y;
        return *this;
    }

    double x = 0.0;
    double y = 0.0;
};

// The angle from a to b in radians, [0, 2 pi); positive from +x towards +y, which is clockwise on
// the screen. A vector of length 0 stays 0, so it makes pi/2 with everything. A cosine that
// rounding has driven past 1 or -1 gives 0: on purpose, the cosine is not clamped.
double AngleBetween(const CVect& a, const CVect& b);

// Rotation matrices for column vectors. The one about x carries single-precision sine and cosine,
// the other two double precision: on purpose. All of them are those of rounded_trig.h.
cv::Matx33d RotationX(double angleDeg);
cv::Matx33d RotationY(double angleDeg);
cv::Matx33d RotationZ(double angleDeg);

// b = a * b; every element is summed left to right.
void PremultiplyMatrix(const cv::Matx33d& a, cv::Matx33d& b);

// A pinhole as a 4 x 4 matrix for row vectors: [X Y Z 0] * P = [sx X, sy Y, ..., Z]. The near plane
// is at f / 10, the far plane at f; both only enter the third column, which no pixel depends on.
cv::Matx44d PerspectiveMatrix(int sx, int sy, double f);

// The centre of gravity of the polygon's area, narrowed to single precision. Not guarded: an empty
// polygon or one of zero area gives infinities or not-a-number.
cv::Point2f PolygonCentroid(std::span<const cv::Point2d> polygon);

// The signed area, positive for corners listed clockwise on the screen; 0 for an empty polygon.
double PolygonArea(std::span<const cv::Point2d> polygon);

// Truncation towards zero that stays defined: out-of-range values saturate, not-a-number gives 0.
inline int truncateToInt(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= static_cast<double>(std::numeric_limits<int>::max())) {
        return std::numeric_limits<int>::max();
    }
    if (value <= static_cast<double>(std::numeric_limits<int>::min())) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

} // namespace tarvix
