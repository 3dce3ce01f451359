#include "host/registration.h"

#include "host/application.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "host/photographs.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <tarvix/tarvix.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <optional>
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

// The export gives 1 whatever happens: what was written tells whether the images registered.
class Registration {
public:
    Registration(const std::vector<std::string>& inputs, const OutputNames& names)
        : m_inputs(inputs), m_names(names), m_work(names.folder()) {}

    // Passes the given inputs and as many names; why it failed, or nothing if every file came out
    // whole. An export that is refused an image writes nothing or not all.
    std::optional<std::string> tryTogether(const std::vector<std::size_t>& images) {
        CStringArray in;
        CStringArray out;
        for (const std::size_t i : images) {
            std::error_code ignored;
            fs::remove(half(i), ignored);
            in.Add(m_inputs[i].c_str());
            out.Add(nameOf(half(i)).c_str());
        }
        const HeldMessages held;
        tx_MatchImages(in, out);
        for (const std::size_t i : images) {
            std::error_code ignored;
            // A disk that filled up leaves a file that cannot be read back.
            if (!fs::exists(half(i), ignored) || cv::imread(nameOf(half(i))).empty()) {
                return held.texts.empty() ? "too few good matches with the first image"
                                          : held.texts[0];
            }
        }
        return std::nullopt;
    }

    // Moves the results of the last call to their names.
    void keep(const std::vector<std::size_t>& images) const {
        for (const std::size_t i : images) {
            m_work.moveOut(halfName(i), m_names.name(i));
        }
    }

private:
    [[nodiscard]] std::string halfName(std::size_t i) const {
        return std::to_string(i) + m_names.extension();
    }
    [[nodiscard]] fs::path half(std::size_t i) const { return m_work / halfName(i); }

    const std::vector<std::string>& m_inputs;
    const OutputNames& m_names;
    WorkFolder m_work;
};

// Which of the inputs registered, by index; and of the others, why not.
struct Registered {
    std::vector<std::size_t> images;
    std::vector<std::string> whyNot; // one for each input
};

// Tries all together, and if some image is refused, each on its own: the rest goes together.
Registered registered(Registration& registration, const std::vector<std::string>& inputs) {
    Registered result{std::vector<std::size_t>(inputs.size()),
                      std::vector<std::string>(inputs.size())};
    std::iota(result.images.begin(), result.images.end(), std::size_t{0});
    if (!registration.tryTogether(result.images)) {
        return result;
    }
    result.images = {0};
    for (std::size_t i = 1; i < inputs.size(); ++i) {
        if (const auto reason = registration.tryTogether({0, i})) {
            result.whyNot[i] = *reason;
        } else {
            result.images.push_back(i);
        }
    }
    if (result.images.size() == 1) {
        const auto first = std::find_if(result.whyNot.begin(), result.whyNot.end(),
                                        [](const std::string& s) { return !s.empty(); });
        throw Failure("no image could be registered onto '" + inputs[0] + "'" +
                      (first == result.whyNot.end() ? "" : ": " + *first));
    }
    if (const auto reason = registration.tryTogether(result.images)) {
        throw Failure("the images register one by one but not together: " + *reason);
    }
    return result;
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

} // namespace

Result registerImages(const RegisterOptions& options) {
    requireImages(options.images);
    const OutputNames names(options.names, options.images.size());
    std::vector<std::string> outputs;
    for (std::size_t i = 0; i < options.images.size(); ++i) {
        outputs.push_back(names.name(i));
    }
    requireNotInputs(options.images, outputs); // of the numbered names; the parser's are checked
    Places places;
    for (const std::string& output : outputs) {
        if (!options.overlay.empty() && places.of(output) == places.of(options.overlay)) {
            throw Failure("two results would be one file: '" + options.overlay + "'");
        }
    }
    Registration registration(options.images, names);
    const Registered kept = registered(registration, options.images);
    registration.keep(kept.images);

    std::vector<std::string> written;
    Json list = Json::array();
    for (std::size_t i = 0; i < options.images.size(); ++i) {
        Json entry{{"input", options.images[i]}, {"output", nullptr}};
        if (std::find(kept.images.begin(), kept.images.end(), i) != kept.images.end()) {
            written.push_back(names.name(i));
            entry["output"] = written.back();
        } else {
            entry["reason"] = kept.whyNot[i];
        }
        list.push_back(std::move(entry));
    }
    const cv::Size canvas = cv::imread(written[0]).size();
    Result result{.data = {{"canvas", {canvas.width, canvas.height}}, {"images", std::move(list)}}};
    if (!options.overlay.empty()) {
        result.beside = {{options.overlay, [written] { return meanOf(written); }}};
    }
    return result;
}

std::string registrationAsText(const Json& data) {
    std::ostringstream text;
    text << "canvas " << data.at("canvas")[0] << " x " << data.at("canvas")[1] << '\n';
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
