#include "converge.h"

#include "four.h"
#include "vect.h"

#include <algorithm>
#include <cmath>

namespace tarvix {

Lens::Lens(cv::Size image, double focalMm)
    : focalPx(std::max(image.width, image.height) / 36.0 * focalMm),
      perspective(PerspectiveMatrix(truncateToInt(focalPx), truncateToInt(focalPx), focalPx)) {}

cv::Matx33d rayRotation(double pitchDeg, double yawDeg, double rollDeg) {
    cv::Matx33d rotation = RotationZ(-rollDeg);
    PremultiplyMatrix(RotationX(pitchDeg), rotation);
    PremultiplyMatrix(RotationY(yawDeg), rotation);
    return rotation;
}

Corners ProjectCorners(const MarkedQuad& quad, const cv::Matx33d& rotation, const Lens& lens) {
    const double cx = quad.image.width * 0.5;
    const double cy = quad.image.height * 0.5;
    const Corners& c = quad.corners;
    const Four dx = four(c[0].x, c[1].x, c[2].x, c[3].x) - cx;
    const Four dy = four(c[0].y, c[1].y, c[2].y, c[3].y) - cy;
    const double dz = lens.focalPx;
    const cv::Matx33d& r = rotation;
    const Four x = dz * r(2, 0) + (r(0, 0) * dx + r(1, 0) * dy);
    const Four y = dz * r(2, 1) + (r(0, 1) * dx + r(1, 1) * dy);
    const Four z = dz * r(2, 2) + (r(0, 2) * dx + r(1, 2) * dy);
    // The fourth component is 0. The terms multiplied by zero stay: where a coordinate overflows,
    // they turn the point into not-a-number.
    const cv::Matx44d& p = lens.perspective;
    const auto column = [&](int j) {
        return 0.0 * p(3, j) + (p(0, j) * x + p(1, j) * y + p(2, j) * z);
    };
    const Four w = column(3);
    const Four px = cx + column(0) / w;
    const Four py = cy + column(1) / w;
    return {cv::Point2d(px[0], py[0]), cv::Point2d(px[1], py[1]), cv::Point2d(px[2], py[2]),
            cv::Point2d(px[3], py[3])};
}

Corners projectOntoCentroid(const MarkedQuad& quad, const cv::Point2f& centroid,
                            const cv::Matx33d& rotation, const Lens& lens) {
    Corners q = ProjectCorners(quad, rotation, lens);
    const cv::Point2f shift = centroid - PolygonCentroid(q);
    for (cv::Point2d& point : q) {
        point.x += shift.x;
        point.y += shift.y;
    }
    return q;
}

double RightAngleError(const Corners& q) {
    double error = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        const CVect vertex(q[(k + 1) % 4].x, q[(k + 1) % 4].y);
        CVect a(q[k].x, q[k].y);
        CVect b(q[(k + 2) % 4].x, q[(k + 2) % 4].y);
        a -= vertex;
        b -= vertex;
        const double angleDeg = AngleBetween(a, b) * 180.0 / pi;
        error += std::abs((angleDeg < 180.0 ? 90.0 : 270.0) - angleDeg);
    }
    return error;
}

double AxisAlignmentError(const Corners& q) {
    return std::abs(q[0].x - q[3].x) + std::abs(q[1].x - q[2].x) + std::abs(q[0].y - q[1].y) +
           std::abs(q[3].y - q[2].y);
}

Corners correctCorners(const MarkedQuad& quad, const Pose& pose, const CorrectionOptions& options) {
    const cv::Matx33d rotation = options.pitchOnly
                                     ? RotationX(pose.pitchDeg)
                                     : rayRotation(pose.pitchDeg, pose.yawDeg, pose.rollDeg);
    Corners p = ProjectCorners(quad, rotation, Lens(quad.image, pose.focalMm));
    const cv::Point2f markedCentroid = PolygonCentroid(quad.corners);
    const cv::Point2f projectedCentroid = PolygonCentroid(p);
    const double s = PolygonArea(quad.corners) / PolygonArea(p) * options.scale;
    for (cv::Point2d& point : p) {
        point.x = (point.x - projectedCentroid.x) * s + markedCentroid.x + options.offsetX;
        point.y = (point.y - projectedCentroid.y) * s + markedCentroid.y + options.offsetY;
    }
    return p;
}

} // namespace tarvix
