// The rules of the convergence search, each time without one of the guards that keep its bounds
// from being trusted where they are wrong.
#pragma once

#include "geometry/converge_bounds.h"
#include "tests/geometry/seen.h"

namespace tarvix::test {

struct NoEdgeGuard : converge_detail::SearchRules {
    static constexpr double shortestMarkedEdge = 0.0;
};
struct NoAreaGuard : converge_detail::SearchRules {
    static constexpr double smallestArea = 0.0;
};
struct AnySigns : converge_detail::SearchRules {
    static constexpr bool signsMayDiffer = true;
};
struct NoMarkedBalance : converge_detail::SearchRules {
    static constexpr double markedBalance = 0.0;
};
struct NoShortestFocal : converge_detail::SearchRules {
    static constexpr double shortestFocal = 0.0;
};
struct NoFocalOfCoordinate : converge_detail::SearchRules {
    static constexpr double focalOfCoordinate = -1e300;
};
struct NoLongestFocal : converge_detail::SearchRules {
    static constexpr double longestFocal = 1e300;
};
struct NoLongestFarFocal : converge_detail::SearchRules {
    static constexpr double longestFarFocal = 1e300;
};
struct NoLongestFocalPx : converge_detail::SearchRules {
    static constexpr double longestFocalPx = 1e300;
};
struct NoNearDepth : converge_detail::SearchRules {
    static constexpr double nearDepth = -1e300;
};
struct NoFarDepth : converge_detail::SearchRules {
    static constexpr double farDepth = 0.0;
};
struct NoBalance : converge_detail::SearchRules {
    static constexpr double balance = 0.0;
};

struct NoBalances : NoMarkedBalance {
    static constexpr double balance = 0.0; // hardly turned, the projected triangles cancel, too
};

const inline cv::Size guardedImage(1200, 900);

// Crosses itself: triangle 012 has the doubled area -4 x y, triangle 023 4 x y less 2 x lift.
inline Corners crossing(double x, double y, double lift) {
    return {cv::Point2d(-x, -y), {x, y}, {x, -y}, {-x, y - lift}};
}

} // namespace tarvix::test
