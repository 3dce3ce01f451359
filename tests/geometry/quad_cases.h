// Quadrilaterals for the convergence search: simulated facades, and everything that could upset it.
// The same bits on every system.
#pragma once

#include "geometry/converge.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace tarvix::test {

// A rectangle in the world, upright before the camera turned, as a camera sees it.
struct SimulatedView {
    cv::Size image{1600, 1200};
    double pitchDeg = 0.0; // the correcting angles: turning the rays by them straightens the view
    double yawDeg = 0.0;
    double rollDeg = 0.0;
    double focalMm = 35.0;
    double width = 1.0; // of the rectangle, in units of the distance along the straightened axis
    double height = 1.0;
    double centreX = 0.0; // of the rectangle, in the same unit, seen in the straightened frame
    double centreY = 0.0;
};

// The marked corners of such a view, without noise, clockwise from the top left.
MarkedQuad photograph(const SimulatedView& view);

struct QuadCase {
    std::string name;
    MarkedQuad quad;
    double focalMm;
};

// A facade as a person would photograph and mark it: moderate angles, 18 to 45 mm, corners within
// the image, marked to about a pixel.
MarkedQuad randomFacade(std::mt19937_64& random);

// count cases, deterministic for the seed, cycling through all classes.
std::vector<QuadCase> hostileCases(std::uint64_t seed, int count);

} // namespace tarvix::test
