#include "host/joining.h"

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
        if (!panorama.parts[i].isUsed) {
            leftOut.push_back({files.at(i), whyNotJoined(panorama.parts[i], files)});
        }
    }
    return leftOut;
}

} // namespace

std::string whyNotJoined(const tarvix::PanoramaPart& part, const std::vector<std::string>& files) {
    if (part.neighbour < 0) {
        return "nothing in it matches another photograph";
    }
    const std::string& neighbour = files.at(static_cast<std::size_t>(part.neighbour));
    if (part.isSameView) {
        return "it shows nearly the same as '" + neighbour + "'";
    }
    return "too few matches fit together: " + std::to_string(part.agreeing) + " of " +
           std::to_string(part.matches) + " with '" + neighbour +
           "', of those that are joined its best neighbour";
}

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
