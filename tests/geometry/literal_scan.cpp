#include "tests/geometry/literal_scan.h"

#include "geometry/vect.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tarvix::test {

namespace {

using Polygon = std::vector<cv::Point2d>;

Polygon project(const MarkedQuad& quad, double pitch, double yaw, double roll, double focal) {
    const double cx = quad.image.width * 0.5;
    const double cy = quad.image.height * 0.5;
    const double fPix = std::max(quad.image.width, quad.image.height) / 36.0 * focal;
    const int f = truncateToInt(fPix);

    cv::Matx33d r = RotationZ(-roll);
    PremultiplyMatrix(RotationX(pitch), r);
    PremultiplyMatrix(RotationY(yaw), r);
    const cv::Matx44d perspective = PerspectiveMatrix(f, f, fPix);

    Polygon result;
    for (const cv::Point2d& corner : quad.corners) {
        const double d[3] = {corner.x - cx, corner.y - cy, fPix};
        double row[4] = {0.0, 0.0, 0.0, 0.0};
        for (int j = 0; j < 3; ++j) {
            row[j] = d[0] * r(0, j) + d[1] * r(1, j) + d[2] * r(2, j);
        }
        double h[4];
        for (int j = 0; j < 4; ++j) {
            h[j] = row[0] * perspective(0, j) + row[1] * perspective(1, j) +
                   row[2] * perspective(2, j) + row[3] * perspective(3, j);
        }
        result.emplace_back(cx + h[0] / h[3], cy + h[1] / h[3]);
    }
    return result;
}

Polygon projectAndCentre(const MarkedQuad& quad, double pitch, double yaw, double roll,
                         double focal) {
    Polygon q = project(quad, pitch, yaw, roll, focal);
    const Polygon marked(quad.corners.begin(), quad.corners.end());
    const cv::Point2f shift = PolygonCentroid(marked) - PolygonCentroid(q);
    for (cv::Point2d& point : q) {
        point += cv::Point2d(shift.x, shift.y);
    }
    return q;
}

} // namespace

double literalRightAngleError(const MarkedQuad& quad, double pitch, double yaw, double roll,
                              double focal) {
    const Polygon q = projectAndCentre(quad, pitch, yaw, roll, focal);
    double error = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        const cv::Point2d v = q[(k + 1) % 4];
        CVect a(q[k].x, q[k].y);
        a -= CVect(v.x, v.y);
        CVect b(q[(k + 2) % 4].x, q[(k + 2) % 4].y);
        b -= CVect(v.x, v.y);
        const double deg = AngleBetween(a, b) * 180.0 / pi;
        const double target = deg < 180.0 ? 90.0 : 270.0;
        error += std::fabs(target - deg);
    }
    return error;
}

double literalAxisAlignmentError(const MarkedQuad& quad, double pitch, double yaw, double roll,
                                 double focal) {
    const Polygon q = projectAndCentre(quad, pitch, yaw, roll, focal);
    return std::fabs(q[0].x - q[3].x) + std::fabs(q[1].x - q[2].x) + std::fabs(q[0].y - q[1].y) +
           std::fabs(q[3].y - q[2].y);
}

// NOLINTBEGIN(clang-analyzer-security.FloatLoopCounter,cert-flp30-c): the scan is defined that way
Pose literalScan(const MarkedQuad& quad, double focalMm, long* evaluations) {
    const bool searchFocal = focalMm == 0.0;
    long count = 0;
    Pose best;
    best.focalMm = focalMm;

    // One right-angle stage over the given ranges; the best so far only supplies the roll.
    const auto angleStage = [&](double pitchFrom, double pitchTo, double yawFrom, double yawTo,
                                double focalFrom, double focalTo, double step, double focalStep) {
        double bestError = 1e10;
        const auto attempt = [&](double pitch, double yaw, double focal) {
            ++count;
            const double error = literalRightAngleError(quad, pitch, yaw, best.rollDeg, focal);
            if (error < bestError) {
                bestError = error;
                best.pitchDeg = pitch;
                best.yawDeg = yaw;
                best.focalMm = focal;
            }
        };
        for (double pitch = pitchFrom; pitch <= pitchTo; pitch += step) {
            for (double yaw = yawFrom; yaw <= yawTo; yaw += step) {
                if (!searchFocal) {
                    attempt(pitch, yaw, focalMm);
                    continue;
                }
                for (double focal = focalFrom; focal <= focalTo; focal += focalStep) {
                    attempt(pitch, yaw, focal);
                }
            }
        }
    };
    const auto fineAngleStage = [&](double reach, double step) {
        const Pose c = best;
        angleStage(c.pitchDeg - reach, c.pitchDeg + reach, c.yawDeg - reach, c.yawDeg + reach,
                   c.focalMm - reach, c.focalMm + reach, step, step);
    };
    const auto rollStage = [&](double from, double to, double step) {
        double bestError = 1e10;
        for (double roll = from; roll <= to; roll += step) {
            ++count;
            const double error =
                literalAxisAlignmentError(quad, best.pitchDeg, best.yawDeg, roll, best.focalMm);
            if (error < bestError) {
                bestError = error;
                best.rollDeg = roll;
            }
        }
    };

    angleStage(-60.0, 60.0, -60.0, 60.0, 1.0, 51.0, 5.0, 5.0);
    rollStage(-60.0, 60.0, 5.0);
    fineAngleStage(5.0, 0.5);
    rollStage(best.rollDeg - 5.0, best.rollDeg + 5.0, 0.5);
    fineAngleStage(0.5, 0.05f);
    rollStage(best.rollDeg - 0.5, best.rollDeg + 0.5, 0.05f);

    if (evaluations != nullptr) {
        *evaluations = count;
    }
    return best;
}
// NOLINTEND(clang-analyzer-security.FloatLoopCounter,cert-flp30-c)

} // namespace tarvix::test
