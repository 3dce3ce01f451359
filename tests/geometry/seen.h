// What the convergence search's screen makes of a quadrilateral seen through one pose.
#pragma once

#include "geometry/converge_screen.h"
#include "geometry/vect.h"

#include <algorithm>

namespace tarvix::test {

constexpr double degrees = 180.0 / pi;

// A quadrilateral seen through one pose; the roll is 0.
struct View {
    MarkedQuad quad;
    double focalPx;
    double pitchDeg = 0.0;
    double yawDeg = 0.0;
};

inline Lens lensOf(const View& view) {
    Lens lens(view.quad.image, 1.0);
    lens.focalPx = view.focalPx;
    lens.perspective =
        PerspectiveMatrix(truncateToInt(view.focalPx), truncateToInt(view.focalPx), view.focalPx);
    return lens;
}

inline double errorRadians(const View& view, double rollDeg = 0.0) {
    return RightAngleError(projectOntoCentroid(view.quad, PolygonCentroid(view.quad.corners),
                                               rayRotation(view.pitchDeg, view.yawDeg, rollDeg),
                                               lensOf(view))) /
           degrees;
}

// What the screen makes of a view.
template <class Rules>
struct Seen {
    using Screen = converge_detail::Screen<Rules>;

    explicit Seen(const View& view)
        : screen(view.quad), row(screen.row(RotationX(view.pitchDeg))), cell(cellOf(view.yawDeg)),
          focal(screen.focal(view.focalPx)) {}

    typename Screen::Cell cellOf(double yawDeg) const {
        const cv::Matx33d y = RotationY(yawDeg);
        return screen.cell(row, {y(0, 2), y(0, 0)});
    }
    bool isNear() const { return screen.isNear(cell, focal); }
    bool isFar() const { return screen.isFar(cell, focal); }
    double cosines() const { return Screen::cosines(screen.edges(row, cell, focal)).value(); }
    // The limit up to which the bound by the vanishing points refuses.
    double vanishingPoints() const {
        const Two depth = abs2(cell.vanishing + both(focal.px) * cell.vanishingSlope);
        return std::max(depth[0] / focal.halfNormals[0], depth[1] / focal.halfNormals[1]);
    }

    Screen screen;
    typename Screen::Row row;
    typename Screen::Cell cell;
    typename Screen::Focal focal;
};

// Four corners from the centre of an image.
inline MarkedQuad aboutCentre(cv::Size image, const Corners& fromCentre) {
    MarkedQuad quad{image, fromCentre};
    for (cv::Point2d& p : quad.corners) {
        p += cv::Point2d(image.width * 0.5, image.height * 0.5);
    }
    return quad;
}

// Corners that lie `reach` from the centre.
inline MarkedQuad rectangleWithin(cv::Size image, double reach) {
    const double x = 0.8 * reach;
    const double y = 0.6 * reach;
    return aboutCentre(image, {cv::Point2d(-x, -y), {x, -y}, {x, y}, {-x, y}});
}

} // namespace tarvix::test
