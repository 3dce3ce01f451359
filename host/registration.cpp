#include "host/registration.h"

#include "assist/common_rectangle.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "host/photographs.h"
#include "host/registration_table.h"
#include "host/saving.h"
#include "host/sentences.h"
#include "host/set_matching.h"
#include "host/step_progress.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <utility>

namespace host {

namespace {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

// The names of the results: a folder, or a pattern in which {} stands for the image's number.
class OutputNames {
public:
    OutputNames(std::string folderOrPattern, std::size_t count)
        : m_pattern(std::move(folderOrPattern)),
          m_digits(std::max<std::size_t>(2, std::to_string(count == 0 ? 0 : count - 1).size())) {
        if (m_pattern.find("{}") == std::string::npos) {
            const fs::path path = pathOf(m_pattern);
            std::error_code ignored;
            if (cv::haveImageWriter(m_pattern) && !fs::is_directory(path, ignored)) {
                throw BadUsage("-o names a folder or numbered files, not one image: write '" +
                               nameOf(path.parent_path() / path.stem()) + "-{}" +
                               nameOf(path.extension()) + "' or a folder instead of '" + m_pattern +
                               "'");
            }
            m_pattern = nameOf(pathOf(m_pattern) / "registered-{}.png");
        }
        if (nameOf(folder()).find("{}") != std::string::npos) {
            throw BadUsage("{} may stand in a file's name, not in a folder's: '" + m_pattern + "'");
        }
    }
    [[nodiscard]] fs::path folder() const { return pathOf(m_pattern).parent_path(); }
    [[nodiscard]] std::string extension() const { return nameOf(pathOf(m_pattern).extension()); }
    [[nodiscard]] std::string name(std::size_t image) const {
        std::string number = std::to_string(image);
        number.insert(0, m_digits - std::min(m_digits, number.size()), '0');
        std::string path = m_pattern;
        return path.replace(path.find("{}"), 2, number);
    }

private:
    std::string m_pattern;
    std::size_t m_digits;
};

// The largest rectangle of the canvas that all images cover. Throws Failure if there is none.
cv::Rect commonPart(const PlacedSet& set) {
    cv::Mat common;
    for (const PlacedImage& image : set.images) {
        if (!image.whyNot.empty()) {
            continue;
        }
        // Where a white image is as white as before: its edges are mixed with black.
        const cv::Mat white(image.size, CV_8UC1, cv::Scalar(255));
        cv::Mat covered;
        if (common.empty()) {
            tarvix::drawReference(white, set.canvas, covered);
            common = covered;
            continue;
        }
        tarvix::drawRegistered(white, image.referenceFromImage, set.canvas, covered);
        common.setTo(0, covered < 255);
    }
    const cv::Rect part = tarvix::largestRectangle(common);
    if (part.empty()) {
        throw Failure("no part of the canvas is covered by all images; leave --crop out");
    }
    return part;
}

// Writes the images that register and returns their names. None is in its place before all are
// whole; if one cannot be moved to its place, those before it stay there.
//   part  of the canvas
//   work  inside the folder of the results
std::vector<std::string> writeAll(const PlacedSet& set, const cv::Rect& part,
                                  const OutputNames& names, const WorkFolder& work,
                                  Output& output) {
    std::vector<std::size_t> kept;
    for (std::size_t i = 0; i < set.images.size(); ++i) {
        if (set.images[i].whyNot.empty()) {
            kept.push_back(i);
        }
    }
    const auto half = [&](std::size_t i) { return std::to_string(i) + names.extension(); };
    cv::Mat canvas;
    {
        StepProgress progress(output, kept.size());
        for (const std::size_t i : kept) {
            const PlacedImage& placed = set.images[i];
            const cv::Mat image = cv::imread(placed.file, cv::IMREAD_COLOR);
            if (image.empty()) { // it could be read before
                throw Failure("not an image that can be read: '" + placed.file + "'");
            }
            if (image.size() != placed.size) {
                throw Failure("'" + placed.file + "' has " + times(image.cols, image.rows) +
                              " pixels, and not " + times(placed.size.width, placed.size.height));
            }
            if (i == 0) {
                tarvix::drawReference(image, set.canvas, canvas);
            } else {
                tarvix::drawRegistered(image, placed.referenceFromImage, set.canvas, canvas);
            }
            const std::string path = nameOf(work / half(i));
            // A disk that filled up leaves a file that cannot be read back.
            if (!cv::imwrite(path, canvas(part)) || cv::imread(path).empty()) {
                throw Failure("cannot write '" + names.name(i) + "': the disk may be full");
            }
            progress.done(nameOf(pathOf(names.name(i)).filename()), "drawn");
        }
    }
    std::vector<std::string> written;
    for (const std::size_t i : kept) {
        written.push_back(names.name(i));
        work.moveOut(half(i), written.back());
    }
    return written;
}

// The mean of the images at every pixel, of those that are not black there.
cv::Mat meanOf(const std::vector<std::string>& files) {
    cv::Mat sum;
    cv::Mat count;
    for (const std::string& file : files) {
        const cv::Mat image = cv::imread(file);
        if (sum.empty()) {
            sum = cv::Mat::zeros(image.size(), CV_32FC3);
            count = cv::Mat::zeros(image.size(), CV_32FC3);
        }
        cv::Mat black;
        cv::inRange(image, cv::Scalar::all(0), cv::Scalar::all(0), black);
        cv::add(sum, image, sum, cv::noArray(), CV_32FC3);
        cv::add(count, cv::Scalar::all(1), count, ~black);
    }
    cv::Mat mean;
    cv::Mat(sum / cv::max(count, 1)).convertTo(mean, CV_8UC3);
    return mean;
}

// Throws what would otherwise be found after the work.
void requireSafe(const RegisterOptions& options, const OutputNames& names) {
    requireImageFormat(names.name(0));
    if (!options.overlay.empty()) {
        requireImageFormat(options.overlay);
    }
    std::vector<std::string> outputs;
    for (std::size_t i = 0; i < options.images.size(); ++i) {
        outputs.push_back(names.name(i));
        requireNoFolder(outputs.back());
    }
    std::vector<std::string> read = options.images;
    if (!options.apply.empty()) {
        read.push_back(options.apply);
    }
    requireNotInputs(read, outputs); // of the numbered names; the parser's are checked
    Places places;
    for (const std::string& output : outputs) {
        for (const std::string& beside : {options.overlay, options.save}) {
            if (!beside.empty() && places.of(output) == places.of(beside)) {
                throw Failure("two results would be one file: '" + beside + "'");
            }
        }
    }
}

//   matched  whether these images were; a table has the matches of those that it was made of
Json imagesAsJson(const PlacedSet& set, const OutputNames& names, bool matched) {
    Json list = Json::array();
    for (std::size_t i = 0; i < set.images.size(); ++i) {
        const PlacedImage& image = set.images[i];
        Json entry{{"input", image.file}, {"output", nullptr}};
        if (i > 0 && matched) {
            entry["matches"] = image.matches;
        }
        if (image.whyNot.empty()) {
            entry["output"] = names.name(i);
        } else {
            entry["reason"] = image.whyNot;
        }
        list.push_back(std::move(entry));
    }
    return list;
}

} // namespace

Result registerImages(const RegisterOptions& options, Output& output) {
    const OutputNames names(options.names, options.images.size());
    requireSafe(options, names);
    requireImages(options.images);
    PlacedSet set;
    if (!options.apply.empty()) {
        set = readTable(options.apply, options.images);
    }
    const WorkFolder work(names.folder()); // what cannot be written is noticed before the work
    if (options.apply.empty()) {
        set = placeSet(options.images, output);
    }
    const cv::Rect part = options.crop ? commonPart(set) : cv::Rect({0, 0}, set.canvas.size);
    const std::vector<std::string> written = writeAll(set, part, names, work, output);
    Result result{.data = {{"canvas", {part.width, part.height}}}};
    if (options.crop) {
        result.data["crop"] = {part.x, part.y, part.width, part.height};
    }
    result.data["images"] = imagesAsJson(set, names, options.apply.empty());
    if (!options.overlay.empty()) {
        result.beside = {{options.overlay, [written] { return meanOf(written); }}};
    }
    if (!options.save.empty()) {
        result.texts = {{options.save, [set] { return tableText(set); }}};
    }
    return result;
}

std::string registrationAsText(const Json& data) {
    std::ostringstream text;
    text << "canvas " << data.at("canvas")[0] << " x " << data.at("canvas")[1];
    if (data.contains("crop")) {
        text << ", cut out at " << data["crop"][0] << ',' << data["crop"][1];
    }
    text << '\n';
    for (const Json& entry : data.at("images")) {
        const auto word = [&entry](const char* name) { return entry.at(name).get<std::string>(); };
        if (entry.at("output").is_null()) {
            text << "left out " << word("input") << ": " << word("reason") << '\n';
        } else {
            text << word("input") << " -> " << word("output") << '\n';
        }
    }
    return text.str();
}

} // namespace host
