// Joining overlapping photographs into a panorama.
#pragma once

#include <common/file_list.h>
#include <opencv2/core/mat.hpp>

#include <optional>
#include <vector>

namespace tarvix {

// Reads photographs that were taken from one place, in colour, and stitches them.
// Returns the panorama (CV_8UC3). Returns no value if a file cannot be read, if there are too few
// of them, or if they do not overlap.
// On failure: throws cv::Exception, and what the list throws.
std::optional<cv::Mat> stitchPanorama(const FileList& files);

// How well two photographs fit together.
struct PairAgreement {
    int matches = 0;
    int agreeing = 0;      // on one homography
    double confidence = 0; // the stitcher's; it joins pairs from 1 on
};

// Whether the stitcher takes the two for the same view. Its confidence is agreeing / (8 + 0.3
// matches), but 0 above 3.
bool isSameView(const PairAgreement& pair);

// What joins a photograph to the others.
struct PanoramaPart {
    bool isUsed = false; // it is in the panorama
    // Of the photographs that are used, the one with which most matches agree on one homography; -1
    // if there is none.
    int neighbour = -1;
    int matches = 0;         // with that one
    int agreeing = 0;        // of these
    bool isSameView = false; // as that one: the stitcher does not join the two, but by others
};

// Takes another photograph as the part's neighbour if it is the first, or better than the one so
// far: more matches agree, or as many and it comes before that one among the photographs. So the
// neighbour does not depend on the order of the calls, which is any.
void consider(PanoramaPart& part, int neighbour, const PairAgreement& pair);

struct ExplainedPanorama {
    cv::Mat image; // CV_8UC3; empty if the photographs cannot be joined
    std::vector<PanoramaPart> parts;
};

// The same panorama, and which photographs are in it: the stitcher leaves out what matches none of
// the others well enough.
// On failure: as stitchPanorama. No parts if a file cannot be read.
ExplainedPanorama explainPanorama(const FileList& files);

} // namespace tarvix
