// Proposals for the corners of a rectangle in a photograph: of a sheet, by contours; of a facade,
// by straight segments and two vanishing points. They are proposals: a person should look at them.
#pragma once

#include "marked_corners.h"

#include <opencv2/core.hpp>

#include <optional>
#include <vector>

namespace tarvix {

struct Proposal {
    const char* kind = ""; // how it was found: "sheet" or "facade"
    Quad corners{};        // clockwise from the top left, pixels
    double score = 0;      // 0 to 1: how much of the sides has an edge of the image along it
    double rank = 0;       // what proposals are compared by: the score and the area
};

// Proposes the corners of a sheet: a quadrilateral that stands out from what is around it.
//   image  CV_8UC1 or CV_8UC3
// Returns no value if nothing in the image is carried by edges on all four sides. A proposal covers
// at least a twentieth of the image, and refusalOf() its corners has no value.
std::optional<Proposal> proposeSheet(const cv::Mat& image);

// Proposes the corners of a facade: two lines towards each of the two vanishing points that most
// segments agree on.
//   segments  x1, y1, x2, y2, pixels of the image, as tx_FindLines returns them
std::optional<Proposal> proposeFacade(const cv::Mat& image, const std::vector<cv::Vec4i>& segments);

// Both, the better one first; those that are found.
std::vector<Proposal> proposals(const cv::Mat& image, const std::vector<cv::Vec4i>& segments);

} // namespace tarvix
