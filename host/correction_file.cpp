#include "host/correction_file.h"

#include "host/failure.h"
#include "host/result.h"
#include "host/saving.h"
#include "host/sentences.h"
#include "platform/system/paths.h"

#include <cmath>
#include <fstream>

namespace host {

using tarvix::Correction;
using tarvix::Quad;

namespace {

constexpr double toleratedShape = 0.01; // rounded sizes of small images differ by less

Json pointsOf(const Quad& corners) {
    Json points = Json::array();
    for (const cv::Point2d& p : corners) {
        points.push_back({p.x, p.y});
    }
    return points;
}

Quad quadOf(const Json& points) {
    if (points.size() != 4) {
        throw Failure("there are not four corners");
    }
    Quad corners;
    for (std::size_t i = 0; i < 4; ++i) {
        corners[i] = {points.at(i).at(0).get<double>(), points.at(i).at(1).get<double>()};
    }
    if (const auto refusal = tarvix::refusalOf(corners)) {
        throw Failure(*refusal);
    }
    return corners;
}

} // namespace

void saveCorrection(const Correction& c, const std::string& path) {
    if (!std::isfinite(c.missedDeg) || tarvix::refusalOf(c.corrected)) {
        throw Failure("the corrected corners are not those of a rectangle and are not saved");
    }
    const Json document = {{"tarvix_correction", 1},
                           {"image_width", c.image.width},
                           {"image_height", c.image.height},
                           {"marked", pointsOf(c.marked)},
                           {"corrected", pointsOf(c.corrected)},
                           {"pitch_deg", c.pitchDeg},
                           {"yaw_deg", c.yawDeg},
                           {"roll_deg", c.rollDeg},
                           {"focal_mm", c.focalMm},
                           {"focal_searched", c.searchedFocal},
                           {"pitch_only", c.pitchOnly},
                           {"scale", c.scale},
                           {"missed_right_angles_deg", c.missedDeg}};
    saveText(document.dump(1) + "\n", path);
}

Correction loadCorrection(const std::string& path) {
    std::ifstream file(tarvix::pathOf(path), std::ios::binary);
    if (!file) {
        throw Failure("no such file: '" + path + "'");
    }
    try {
        const Json document = Json::parse(file);
        if (document.at("tarvix_correction").get<int>() != 1) {
            throw Failure("another version wrote it");
        }
        const Correction c{.image = {document.at("image_width").get<int>(),
                                     document.at("image_height").get<int>()},
                           .marked = quadOf(document.at("marked")),
                           .corrected = quadOf(document.at("corrected")),
                           .pitchDeg = document.at("pitch_deg").get<double>(),
                           .yawDeg = document.at("yaw_deg").get<double>(),
                           .rollDeg = document.at("roll_deg").get<double>(),
                           .focalMm = document.at("focal_mm").get<double>(),
                           .searchedFocal = document.at("focal_searched").get<bool>(),
                           .pitchOnly = document.value("pitch_only", false),
                           .scale = document.value("scale", 1.0),
                           .missedDeg = document.at("missed_right_angles_deg").get<double>()};
        if (c.image.width < 1 || c.image.height < 1) {
            throw Failure("its image has no pixels");
        }
        if (!(c.scale >= tarvix::smallestScale && c.scale <= tarvix::largestScale)) {
            throw Failure("its scale is out of range");
        }
        return c;
    } catch (const std::exception& e) { // what the JSON library says, and what we say above
        throw Failure("'" + path + "' is not a correction that converge --save wrote: " + e.what());
    }
}

Correction scaledTo(const Correction& correction, cv::Size image, const std::string& path) {
    const double x = static_cast<double>(image.width) / correction.image.width;
    const double y = static_cast<double>(image.height) / correction.image.height;
    if (std::abs(x / y - 1) > toleratedShape) {
        const auto shown = [](cv::Size size) { return times(size.width, size.height); };
        throw Failure("the correction is for images of the shape " + shown(correction.image) +
                      ", and '" + path + "' has " + shown(image));
    }
    Correction scaled = correction;
    scaled.image = image;
    for (Quad* corners : {&scaled.marked, &scaled.corrected}) {
        for (cv::Point2d& p : *corners) {
            p = {p.x * x, p.y * y};
        }
    }
    return scaled;
}

} // namespace host
