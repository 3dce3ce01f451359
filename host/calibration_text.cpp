#include "host/calibration_text.h"

#include "platform/system/paths.h"

#include <algorithm>
#include <vector>

namespace host {

namespace {

std::string nameIn(const Json& file) {
    return tarvix::nameOf(tarvix::pathOf(file.get<std::string>()).filename());
}

std::string row(const std::string& name, const std::string& value) {
    constexpr std::size_t nameWidth = 20;
    std::string line = "  " + name;
    line.resize(std::max(line.size() + 1, nameWidth), ' ');
    return line + value + "\n";
}

double number(const Json& data, const char* key) {
    return data.at(key).is_null() ? 0 : data.at(key).get<double>();
}

std::string findingsAsText(const Json& findings) {
    std::string text;
    for (const Json& finding : findings) {
        text += std::string(finding.at("good").get<bool>() ? "good: " : "mind: ") +
                finding.at("sentence").get<std::string>() + "\n";
    }
    return text;
}

std::string range(const Json& images, const char* key, int digits) {
    std::vector<double> values;
    for (const Json& image : images) {
        values.push_back(number(image, key));
    }
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return fixedNumber(*least, digits) + " to " + fixedNumber(*most, digits);
}

} // namespace

std::string cameraAsText(const Json& camera) {
    const Json& images = camera.at("images");
    const Json& coverage = camera.at("coverage");
    std::string text = row("rms", fixedNumber(number(camera, "rms"), 3) +
                                      " pixels; below 0.5 is usual for sharp photographs");
    if (const Json& cross = camera.at("crossValidation"); !cross.is_null()) {
        text += row("cross-validation", fixedNumber(number(cross, "otherRms"), 3) +
                                            " pixels in the other half of the images, " +
                                            fixedNumber(number(cross, "fitRms"), 3) +
                                            " in the half that was used");
    }
    for (const Json& parameter : camera.at("parameters")) {
        const bool inPixels = parameter.at("name").get<std::string>().find_first_of("fc") == 0;
        text += row(parameter.at("name").get<std::string>(),
                    fixedNumber(number(parameter, "value"), inPixels ? 2 : 5) + " +- " +
                        fixedNumber(number(parameter, "deviation"), inPixels ? 2 : 5));
    }
    text += row("coverage", std::to_string(100 - coverage.at("emptyCells").get<int>()) +
                                " of 100 cells of the image hold a corner; inner, middle, outer "
                                "third: " +
                                std::to_string(coverage.at("thirds")[0].get<int>()) + ", " +
                                std::to_string(coverage.at("thirds")[1].get<int>()) + ", " +
                                std::to_string(coverage.at("thirds")[2].get<int>()) + " corners");
    text += row("tilt", range(images, "tiltDeg", 0) + " degrees");
    text += row("distance", range(images, "distance", 1) + " squares");
    text += "  image               rms   largest residual (pixels)\n";
    for (const Json& image : images) {
        text += row(nameIn(image.at("file")),
                    fixedNumber(number(image, "rms"), 3) + " " +
                        fixedNumber(number(image, "largest"), 2) +
                        (image.at("file") == camera.at("worst") ? "  the worst" : ""));
    }
    return text + findingsAsText(camera.at("findings"));
}

std::string pairAsText(const Json& pair) {
    std::string text;
    if (pair.contains("cameras")) {
        text += "left camera\n" + cameraAsText(pair.at("cameras")[0]);
        text += "right camera\n" + cameraAsText(pair.at("cameras")[1]);
    }
    text += "pair\n";
    if (!pair.at("rms").is_null()) {
        text += row("rms", fixedNumber(number(pair, "rms"), 3) + " pixels");
    }
    const Json& rows = pair.at("rowError");
    const Json& square = pair.at("square");
    text += row("row error", fixedNumber(number(rows, "median"), 3) + " pixels (median), " +
                                 fixedNumber(number(rows, "p90"), 3) +
                                 " (nine of ten are below); below 0.2 is usual");
    if (pair.at("metric").get<bool>()) {
        text +=
            row("baseline", fixedNumber(number(pair, "baseline"), 3) + " in the unit of --square");
        text += row("square", fixedNumber(number(square, "median"), 3) + " (median), " +
                                  fixedNumber(number(square, "p10"), 3) + " to " +
                                  fixedNumber(number(square, "p90"), 3) +
                                  " (eight of ten) where it is " +
                                  fixedNumber(number(square, "edge"), 3));
    }
    return text + findingsAsText(pair.at("findings"));
}

} // namespace host
