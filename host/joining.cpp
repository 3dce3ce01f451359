#include "host/joining.h"

#include "features/panorama.h"
#include "host/calibrating.h"
#include "host/calibration_json.h"
#include "host/failure.h"
#include "host/photographs.h"

#include <opencv2/core.hpp>

namespace host {

namespace {

// The photographs that are not in a panorama, and why.
std::vector<LeftOut> leftOutOf(const tarvix::ExplainedPanorama& panorama,
                               const std::vector<std::string>& files) {
    std::vector<LeftOut> leftOut;
    for (std::size_t i = 0; i < panorama.parts.size(); ++i) {
        const tarvix::PanoramaPart& part = panorama.parts[i];
        if (!part.isUsed) {
            leftOut.push_back(
                {files.at(i),
                 part.neighbour < 0
                     ? "nothing in it matches another photograph"
                     : "too few matches fit together: " + std::to_string(part.agreeing) + " of " +
                           std::to_string(part.matches) + " with '" +
                           files.at(static_cast<std::size_t>(part.neighbour)) +
                           "', of those that are joined its best neighbour"});
        }
    }
    return leftOut;
}

} // namespace

Result joinPhotographs(const std::vector<std::string>& files, const std::string& out) {
    requireImages(files);
    cv::theRNG() = cv::RNG(); // the matching draws from it
    const tarvix::ExplainedPanorama panorama = tarvix::explainPanorama(tarvix::viewList(files));
    if (panorama.image.empty()) {
        throw Failure("the photographs cannot be joined: fewer than two, too little overlap, "
                      "nearly the same view, or not taken from one place");
    }
    const std::vector<LeftOut> leftOut = leftOutOf(panorama, files);
    return {.image = panorama.image,
            .data = {{"output", out},
                     {"size", {panorama.image.cols, panorama.image.rows}},
                     {"channels", panorama.image.channels()},
                     {"leftOut", leftOutAsJson(leftOut)}},
            .warnings = leftOutAsSentences(leftOut)};
}

} // namespace host
