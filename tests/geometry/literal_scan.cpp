#include "tests/geometry/literal_scan.h"

#include "geometry/rounded_trig.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace tarvix::test {

namespace {

constexpr double halfTurn = 3.141592653589793;

using Matrix = std::array<std::array<double, 3>, 3>;
using Polygon = std::vector<cv::Point2d>;

Matrix aboutX(double deg) {
    const SineCosineF t = roundedSineCosine(static_cast<float>(deg * halfTurn / 180.0));
    const double s = t.sine;
    const double c = t.cosine;
    return {{{1.0, 0.0, 0.0}, {0.0, c, -s}, {0.0, s, c}}};
}

Matrix aboutY(double deg) {
    const auto [s, c] = roundedSineCosine(deg * halfTurn / 180.0);
    return {{{c, 0.0, s}, {0.0, 1.0, 0.0}, {-s, 0.0, c}}};
}

Matrix aboutZ(double deg) {
    const auto [s, c] = roundedSineCosine(deg * halfTurn / 180.0);
    return {{{c, -s, 0.0}, {s, c, 0.0}, {0.0, 0.0, 1.0}}};
}

Matrix product(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            result[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
        }
    }
    return result;
}

Matrix rotationOf(const Pose& pose) {
    Matrix r = aboutZ(-pose.rollDeg);
    r = product(aboutX(pose.pitchDeg), r);
    return product(aboutY(pose.yawDeg), r);
}

int wholePart(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(std::clamp(value, -2147483648.0, 2147483647.0));
}

Polygon project(const MarkedQuad& quad, const Matrix& r, double focalMm) {
    const double cx = quad.image.width * 0.5;
    const double cy = quad.image.height * 0.5;
    const double f = std::max(quad.image.width, quad.image.height) / 36.0 * focalMm;
    const double scale = wholePart(f);
    const double nearest = f / 10.0;
    const double depth = f - nearest;
    const double perspective[4][4] = {{scale, 0.0, 0.0, 0.0},
                                      {0.0, scale, 0.0, 0.0},
                                      {0.0, 0.0, -(nearest + f) / depth, 1.0},
                                      {0.0, 0.0, -2.0 * nearest * f / depth, 0.0}};
    Polygon result;
    for (const cv::Point2d& corner : quad.corners) {
        const double d[3] = {corner.x - cx, corner.y - cy, f};
        double row[4] = {0.0, 0.0, 0.0, 0.0};
        for (std::size_t j = 0; j < 3; ++j) {
            row[j] = d[0] * r[0][j] + d[1] * r[1][j] + d[2] * r[2][j];
        }
        double h[4];
        for (std::size_t j = 0; j < 4; ++j) {
            h[j] = row[0] * perspective[0][j] + row[1] * perspective[1][j] +
                   row[2] * perspective[2][j] + row[3] * perspective[3][j];
        }
        result.emplace_back(cx + h[0] / h[3], cy + h[1] / h[3]);
    }
    return result;
}

cv::Point2f centroidOf(const Polygon& p) {
    double doubledArea = 0.0;
    double x = 0.0;
    double y = 0.0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const std::size_t j = (i + 1) % p.size();
        const double cross = p[i].x * p[j].y - p[j].x * p[i].y;
        doubledArea += cross;
        x += (p[i].x + p[j].x) * cross;
        y += (p[i].y + p[j].y) * cross;
    }
    const double d = doubledArea * 0.5 * 6.0;
    return {static_cast<float>(x / d), static_cast<float>(y / d)};
}

double areaOf(const Polygon& p) {
    double sum = 0.0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const std::size_t j = (i + 1) % p.size();
        sum += (p[i].x - p[j].x) * (p[i].y + p[j].y);
    }
    return 0.5 * sum;
}

Polygon markedOf(const MarkedQuad& quad) {
    return {quad.corners.begin(), quad.corners.end()};
}

Polygon projectAndCentre(const MarkedQuad& quad, const Pose& pose) {
    Polygon q = project(quad, rotationOf(pose), pose.focalMm);
    const cv::Point2f shift = centroidOf(markedOf(quad)) - centroidOf(q);
    for (cv::Point2d& point : q) {
        point += cv::Point2d(shift.x, shift.y);
    }
    return q;
}

} // namespace

double literalAngle(double ax, double ay, double bx, double by) {
    const double lengthA = std::sqrt(ax * ax + ay * ay);
    if (lengthA != 0.0) {
        ax /= lengthA;
        ay /= lengthA;
    }
    const double lengthB = std::sqrt(bx * bx + by * by);
    if (lengthB != 0.0) {
        bx /= lengthB;
        by /= lengthB;
    }
    const double c = ax * bx + ay * by;
    if (c < -1.0 || c > 1.0) {
        return 0.0;
    }
    const double theta = roundedArcCosine(c);
    return ax * by - ay * bx < 0.0 ? 6.283185307179586 - theta : theta;
}

double literalRightAngleError(const MarkedQuad& quad, const Pose& pose) {
    const Polygon q = projectAndCentre(quad, pose);
    double error = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        const cv::Point2d v = q[(k + 1) % 4];
        const cv::Point2d a = q[k] - v;
        const cv::Point2d b = q[(k + 2) % 4] - v;
        const double deg = literalAngle(a.x, a.y, b.x, b.y) * 180.0 / halfTurn;
        const double target = deg < 180.0 ? 90.0 : 270.0;
        error += std::fabs(target - deg);
    }
    return error;
}

double literalAxisAlignmentError(const MarkedQuad& quad, const Pose& pose) {
    const Polygon q = projectAndCentre(quad, pose);
    return std::fabs(q[0].x - q[3].x) + std::fabs(q[1].x - q[2].x) + std::fabs(q[0].y - q[1].y) +
           std::fabs(q[3].y - q[2].y);
}

Corners literalCorrection(const MarkedQuad& quad, const Pose& pose,
                          const CorrectionOptions& options) {
    const Matrix r = options.pitchOnly ? aboutX(pose.pitchDeg) : rotationOf(pose);
    const Polygon marked = markedOf(quad);
    const Polygon p = project(quad, r, pose.focalMm);
    const cv::Point2d from(centroidOf(p));
    const cv::Point2d to(centroidOf(marked));
    const double s = areaOf(marked) / areaOf(p) * options.scale;
    Corners corrected;
    for (std::size_t i = 0; i < 4; ++i) {
        corrected[i].x = (p[i].x - from.x) * s + to.x + options.offsetX;
        corrected[i].y = (p[i].y - from.y) * s + to.y + options.offsetY;
    }
    return corrected;
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
            const double error = literalRightAngleError(quad, {pitch, yaw, best.rollDeg, focal});
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
                literalAxisAlignmentError(quad, {best.pitchDeg, best.yawDeg, roll, best.focalMm});
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
