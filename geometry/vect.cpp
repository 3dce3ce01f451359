#include "vect.h"

#include "rounded_trig.h"

namespace tarvix {

namespace {

CVect normalised(const CVect& v) {
    const double length = std::sqrt(v.x * v.x + v.y * v.y);
    return length != 0.0 ? CVect(v.x / length, v.y / length) : v;
}

double radians(double angleDeg) {
    return angleDeg * pi / 180.0;
}

} // namespace

double AngleBetween(const CVect& a, const CVect& b) {
    const CVect u = normalised(a);
    const CVect v = normalised(b);
    const double cosine = u.x * v.x + u.y * v.y;
    if (cosine < -1.0 || cosine > 1.0) {
        return 0.0;
    }
    const double theta = roundedArcCosine(cosine);
    return u.x * v.y - u.y * v.x < 0.0 ? twoPi - theta : theta;
}

cv::Matx33d RotationX(double angleDeg) {
    const SineCosineF t = roundedSineCosine(static_cast<float>(radians(angleDeg)));
    const double c = t.cosine;
    const double s = t.sine;
    return {1.0, 0.0, 0.0, 0.0, c, -s, 0.0, s, c};
}

cv::Matx33d RotationY(double angleDeg) {
    const auto [s, c] = roundedSineCosine(radians(angleDeg));
    return {c, 0.0, s, 0.0, 1.0, 0.0, -s, 0.0, c};
}

cv::Matx33d RotationZ(double angleDeg) {
    const auto [s, c] = roundedSineCosine(radians(angleDeg));
    return {c, -s, 0.0, s, c, 0.0, 0.0, 0.0, 1.0};
}

void PremultiplyMatrix(const cv::Matx33d& a, cv::Matx33d& b) {
    cv::Matx33d product;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            product(i, j) = a(i, 0) * b(0, j) + a(i, 1) * b(1, j) + a(i, 2) * b(2, j);
        }
    }
    b = product;
}

cv::Matx44d PerspectiveMatrix(int sx, int sy, double f) {
    const double nearPlane = f / 10.0;
    const double farPlane = f;
    const double depth = farPlane - nearPlane;
    cv::Matx44d p = cv::Matx44d::zeros();
    p(0, 0) = sx;
    p(1, 1) = sy;
    p(2, 2) = -(nearPlane + farPlane) / depth;
    p(2, 3) = 1.0;
    p(3, 2) = -2.0 * nearPlane * farPlane / depth;
    return p;
}

cv::Point2f PolygonCentroid(std::span<const cv::Point2d> polygon) {
    double doubledArea = 0.0;
    double cx = 0.0;
    double cy = 0.0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const cv::Point2d& p = polygon[i];
        const cv::Point2d& q = polygon[i + 1 < polygon.size() ? i + 1 : 0];
        const double cross = p.x * q.y - p.y * q.x;
        doubledArea += cross;
        cx += (p.x + q.x) * cross;
        cy += (p.y + q.y) * cross;
    }
    const double divisor = doubledArea * 0.5 * 6.0;
    return {static_cast<float>(cx / divisor), static_cast<float>(cy / divisor)};
}

double PolygonArea(std::span<const cv::Point2d> polygon) {
    double sum = 0.0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const cv::Point2d& p = polygon[i];
        const cv::Point2d& q = polygon[i + 1 < polygon.size() ? i + 1 : 0];
        sum += (p.x - q.x) * (p.y + q.y);
    }
    return 0.5 * sum;
}

} // namespace tarvix
