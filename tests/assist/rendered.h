// Photographs with a sheet or a facade whose corners are known: rendered from a pose onto a real
// photograph.
#pragma once

#include "assist/marked_corners.h"

#include <opencv2/core.hpp>

#include <cstdint>

namespace test {

struct Rendered {
    cv::Mat image; // 480 x 360, CV_8UC3
    tarvix::Quad corners{};
};

// A printed sheet of paper: 12 to 60 percent of the image, rolled by up to 20 degrees. Or a wall
// with rows of windows and a frame: 20 to 70 percent, rolled by up to 8 degrees. Turned by up to 40
// degrees, on a photograph without a facade of its own. The light falls off to one side; there is
// blur and noise. The seed chooses all of it.
Rendered renderedSheet(std::uint64_t seed);
Rendered renderedFacade(std::uint64_t seed);

} // namespace test
