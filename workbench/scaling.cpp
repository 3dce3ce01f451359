#include "workbench/scaling.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace workbench {

namespace {

constexpr double centre = 0.5; // of a pixel, from its edge

bool isPoint(const Json& json) {
    return json.is_array() && json.size() == 2 && json[0].is_number() && json[1].is_number();
}

Json pointOnCopy(const Json& point, const Reduction& r, bool isOffset) {
    if (!isPoint(point)) {
        return point;
    }
    const double x = point[0].get<double>();
    const double y = point[1].get<double>();
    return isOffset ? Json{x * r.x, y * r.y}
                    : Json{(x + centre) * r.x - centre, (y + centre) * r.y - centre};
}

Json pointOnImage(const Json& point, const Reduction& r) {
    return pointOnCopy(point, {1 / r.x, 1 / r.y}, false);
}

void scalePoints(Json& points, const Reduction& r) {
    for (Json& point : points) {
        point = pointOnImage(point, r);
    }
}

void scaleLength(Json& length, double factor) {
    if (length.is_number()) {
        length = std::llround(length.get<double>() / factor);
    }
}

} // namespace

Reduction reductionBetween(cv::Size image, cv::Size copy) {
    return {static_cast<double>(copy.width) / image.width,
            static_cast<double>(copy.height) / image.height};
}

Json pointsOnCopy(const Json& points, const Reduction& reduction, bool isOffset) {
    if (isPoint(points)) {
        return pointOnCopy(points, reduction, isOffset);
    }
    if (!points.is_array()) {
        return points;
    }
    Json scaled = Json::array();
    for (const Json& point : points) {
        scaled.push_back(pointOnCopy(point, reduction, isOffset));
    }
    return scaled;
}

Json dataOfImage(Json data, const Reduction& r) {
    if (!data.is_object()) {
        return data;
    }
    for (const char* name : {"marked", "corners"}) {
        if (data.contains(name)) {
            scalePoints(data[name], r);
        }
    }
    if (data.contains("proposals")) {
        for (Json& proposal : data["proposals"]) {
            scalePoints(proposal["corners"], r);
        }
    }
    if (data.contains("width") && data.contains("height")) {
        scaleLength(data["width"], r.x);
        scaleLength(data["height"], r.y);
    }
    if (data.contains("size") && isPoint(data["size"])) {
        scaleLength(data["size"][0], r.x);
        scaleLength(data["size"][1], r.y);
    }
    return data;
}

bool canBeReduced(const std::string& command) {
    constexpr std::array<const char*, 7> smooth = {"load", "denoise", "converge", "converge-scaled",
                                                   "warp", "mask",    "align"};
    return std::find(smooth.begin(), smooth.end(), command) != smooth.end();
}

} // namespace workbench
