#include "host/registration_table.h"

#include "host/batch/manifest.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>

#include <cmath>
#include <fstream>
#include <map>
#include <utility>

namespace host {

namespace {

cv::Mat homographyOf(const Json& rows) {
    cv::Mat_<double> matrix(3, 3);
    if (rows.size() != 3) {
        throw Failure("a homography has not three rows");
    }
    for (int row = 0; row < 3; ++row) {
        const auto values = rows.at(static_cast<std::size_t>(row)).get<std::vector<double>>();
        if (values.size() != 3) {
            throw Failure("a homography has not three columns");
        }
        for (int column = 0; column < 3; ++column) {
            matrix(row, column) = values[static_cast<std::size_t>(column)];
        }
    }
    if (!cv::checkRange(matrix) || cv::determinant(matrix) == 0) {
        throw Failure("a homography cannot be used");
    }
    return matrix;
}

int numberIn(const Json& value, int least, int most) {
    // JSON has numbers beyond the signed ones, which the library would wrap.
    const bool isHuge = value.is_number_unsigned() && value.get<std::uint64_t>() > INT_MAX;
    const auto number =
        value.is_number_integer() && !isHuge ? value.get<std::int64_t>() : std::int64_t{most} + 1;
    if (number < least || number > most) {
        throw Failure("a size is not a number of pixels");
    }
    return static_cast<int>(number);
}

// With the name of the file that the place was saved for.
PlacedImage imageOf(const Json& entry) {
    PlacedImage image{.file = takeName(entry, "file"),
                      .size = {numberIn(entry.at("image_width"), 1, longestSide),
                               numberIn(entry.at("image_height"), 1, longestSide)}};
    if (image.file.empty()) {
        throw Failure("an image has no name");
    }
    image.matches = static_cast<std::size_t>(numberIn(entry.at("matches"), 0, INT_MAX));
    if (entry.at("reference_from_image").is_null()) {
        image.whyNot = "its place in the table is of an image that was left out";
    } else {
        image.referenceFromImage = homographyOf(entry.at("reference_from_image"));
    }
    return image;
}

// Throws Failure if an image cannot be drawn on the canvas.
void requireFitting(const PlacedSet& set) {
    const tarvix::Canvas& canvas = set.canvas;
    const cv::Size first = set.images.front().size;
    bool fits = canBeWritten(canvas) && set.images.front().whyNot.empty() &&
                first.width - canvas.left <= canvas.size.width &&
                first.height - canvas.top <= canvas.size.height;
    for (const PlacedImage& image : set.images) {
        fits = fits && (!image.whyNot.empty() || (image.size.width <= canvas.size.width &&
                                                  image.size.height <= canvas.size.height));
    }
    if (!fits) {
        throw Failure("its canvas does not hold its images");
    }
}

// Throws Failure if a file has the place of another one of the table.
void requireOrder(const PlacedSet& table, const std::vector<std::string>& files) {
    Places places;
    std::map<Digest, std::size_t> saved;
    for (std::size_t i = 0; i < table.images.size(); ++i) {
        saved.emplace(places.of(table.images[i].file), i);
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto place = saved.find(places.of(files[i]));
        if (place != saved.end() && places.of(table.images[i].file) != place->first) {
            throw Failure("'" + files[i] + "' is image " + std::to_string(place->second + 1) +
                          " of the table, not image " + std::to_string(i + 1) + "; keep the order");
        }
    }
}

PlacedSet setOf(const Json& document) {
    if (document.at("tarvix_registration") != Json(1)) {
        throw Failure("another version wrote it");
    }
    PlacedSet set;
    set.canvas = {.left = numberIn(document.at("canvas_left"), -longestSide, 0),
                  .top = numberIn(document.at("canvas_top"), -longestSide, 0),
                  .size = {numberIn(document.at("canvas_width"), 1, longestSide),
                           numberIn(document.at("canvas_height"), 1, longestSide)}};
    const Json& images = document.at("images");
    if (!images.is_array() || images.empty()) {
        throw Failure("it has no images");
    }
    for (const Json& image : images) {
        set.images.push_back(imageOf(image));
    }
    requireFitting(set);
    return set;
}

} // namespace

Json rowsAsJson(const cv::Mat_<double>& matrix) {
    Json rows = Json::array();
    for (int row = 0; row < matrix.rows; ++row) {
        rows.push_back(std::vector<double>(matrix[row], matrix[row] + matrix.cols));
    }
    return rows;
}

std::string tableText(const PlacedSet& set) {
    Json images = Json::array();
    for (const PlacedImage& image : set.images) {
        Json entry = Json::object();
        putName(entry, "file", image.file);
        entry["image_width"] = image.size.width;
        entry["image_height"] = image.size.height;
        entry["matches"] = image.matches;
        entry["reference_from_image"] =
            image.whyNot.empty() ? rowsAsJson(image.referenceFromImage) : Json();
        images.push_back(std::move(entry));
    }
    const Json document = {{"tarvix_registration", 1},
                           {"canvas_left", set.canvas.left},
                           {"canvas_top", set.canvas.top},
                           {"canvas_width", set.canvas.size.width},
                           {"canvas_height", set.canvas.size.height},
                           {"images", std::move(images)}};
    return document.dump(1) + "\n";
}

PlacedSet readTable(const std::string& path, const std::vector<std::string>& files) {
    std::ifstream file(tarvix::pathOf(path), std::ios::binary);
    if (!file) {
        throw Failure("no such file: '" + path + "'");
    }
    PlacedSet set;
    try {
        set = setOf(Json::parse(file));
    } catch (const std::exception& e) { // what the JSON library says, and what we say above
        throw Failure("'" + path + "' is not a table that register --save wrote: " + e.what());
    }
    if (set.images.size() != files.size()) {
        throw Failure("'" + path + "' is for " + std::to_string(set.images.size()) +
                      " images, not for " + std::to_string(files.size()));
    }
    requireOrder(set, files);
    for (std::size_t i = 0; i < files.size(); ++i) {
        set.images[i].file = files[i];
    }
    return set;
}

} // namespace host
