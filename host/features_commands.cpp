#include "host/application.h"
#include "host/arguments.h"
#include "host/commands.h"
#include "host/failure.h"
#include "host/images.h"
#include "host/photographs.h"
#include "host/print_json.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <tarvix/tarvix.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>

namespace host {

namespace {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

void addSelector(CLI::App& command, const std::string& name, int& selector,
                 const std::map<std::string, int>& choices, const std::string& help) {
    command.add_option(name, selector, help)
        ->transform(CLI::CheckedTransformer(choices, CLI::ignore_case))
        ->capture_default_str();
}

void addDetector(CLI::App& command, int& detector) {
    addSelector(command, "--detector", detector,
                {{"mser", 0}, {"orb", 1}, {"brisk", 2}, {"kaze", 3}, {"akaze", 4}},
                "Keypoint detector");
}

void addOut(CLI::App& command, std::string& out) {
    command.add_option("-o,--out", out, "Picture file to write; the extension chooses the format")
        ->required();
}

void addKeypoints(CLI::App& app) {
    struct Options {
        std::string in, out;
        bool gray = false;
        int detector = 1;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "keypoints", "Detect keypoints and draw them as circles of random colours");
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    addDetector(*command, o->detector);
    command->callback([o] {
        const Bitmap in = loadImage(o->in, o->gray);
        const cv::Mat out = take(tx_DetectorTest(*in, o->detector), "no keypoints could be drawn");
        saveImage(out, o->out);
    });
}

void addMatch(CLI::App& app) {
    struct Options {
        std::string first, second, out;
        bool gray = false;
        int detector = 1, descriptor = 0;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "match", "Match the keypoints of two pictures and draw every match, side by side");
    command->add_option("FIRST", o->first, "Picture whose keypoints look for a match")->required();
    command->add_option("SECOND", o->second, "Picture they are looked for in")->required();
    addOut(*command, o->out);
    addGray(*command, o->gray);
    addDetector(*command, o->detector);
    addSelector(*command, "--descriptor", o->descriptor, {{"orb", 0}, {"brisk", 1}},
                "Descriptor of a keypoint's surroundings");
    command->callback([o] {
        const Bitmap first = loadImage(o->first, o->gray);
        const Bitmap second = loadImage(o->second, o->gray);
        const cv::Mat out = take(tx_MatchTest(*first, *second, o->detector, o->descriptor),
                                 "the two pictures cannot be matched");
        saveImage(out, o->out);
    });
}

void addStitch(CLI::App& app) {
    struct Options {
        std::vector<std::string> in;
        std::string out;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "stitch", "Join overlapping photographs, taken from one place, into a panorama");
    command->add_option("IN", o->in, "Picture files to read, two at least")->required();
    addOut(*command, o->out);
    command->callback([o] {
        for (const std::string& path : o->in) {
            loadImage(path, false); // says which file cannot be read; the export does not
        }
        CStringArray files;
        addTo(files, o->in);
        const cv::Mat out =
            take(tx_Stitch(files), "the photographs cannot be joined: fewer than two, too little "
                                   "overlap, or not taken from one place");
        saveImage(out, o->out);
    });
}

// ---- register

// The names of the results: a folder, or a pattern in which {} stands for the picture's number.
class OutputNames {
public:
    OutputNames(std::string folderOrPattern, std::size_t count)
        : m_pattern(std::move(folderOrPattern)),
          m_digits(std::max<std::size_t>(2, std::to_string(count == 0 ? 0 : count - 1).size())) {
        if (m_pattern.find("{}") == std::string::npos) {
            m_pattern = nameOf(pathOf(m_pattern) / "registered-{}.png");
        }
        if (nameOf(folder()).find("{}") != std::string::npos) {
            throw CLI::ValidationError("{} may stand in a file's name, not in a folder's: '" +
                                       m_pattern + "'");
        }
    }
    [[nodiscard]] fs::path folder() const { return pathOf(m_pattern).parent_path(); }
    [[nodiscard]] std::string extension() const { return nameOf(pathOf(m_pattern).extension()); }
    [[nodiscard]] std::string name(std::size_t picture) const {
        std::string number = std::to_string(picture);
        number.insert(0, m_digits - std::min(m_digits, number.size()), '0');
        std::string path = m_pattern;
        return path.replace(path.find("{}"), 2, number);
    }

private:
    std::string m_pattern;
    std::size_t m_digits;
};

// The export gives 1 whatever happens: what was written tells whether the pictures registered.
class Registration {
public:
    Registration(const std::vector<std::string>& inputs, const OutputNames& names)
        : m_inputs(inputs), m_names(names), m_work(names.folder()) {}

    // Passes the given inputs and as many names; why it failed, or nothing when every file came
    // out whole. An export that is refused a picture writes nothing or not all.
    std::optional<std::string> tryTogether(const std::vector<std::size_t>& pictures) {
        CStringArray in;
        CStringArray out;
        for (const std::size_t i : pictures) {
            std::error_code ignored;
            fs::remove(half(i), ignored);
            in.Add(m_inputs[i].c_str());
            out.Add(nameOf(half(i)).c_str());
        }
        const HeldMessages held;
        tx_MatchImages(in, out);
        for (const std::size_t i : pictures) {
            std::error_code ignored;
            // A disk that filled up leaves a file that cannot be read back.
            if (!fs::exists(half(i), ignored) || cv::imread(nameOf(half(i))).empty()) {
                return held.texts.empty() ? "too few good matches with the first picture"
                                          : held.texts[0];
            }
        }
        return std::nullopt;
    }

    // Moves the results of the last call to their names.
    void keep(const std::vector<std::size_t>& pictures) const {
        for (const std::size_t i : pictures) {
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

// The mean of the pictures at every pixel, of those that are not black there.
cv::Mat overlayOf(const std::vector<std::string>& files) {
    cv::Mat sum;
    cv::Mat count;
    for (const std::string& file : files) {
        const cv::Mat picture = cv::imread(file);
        if (sum.empty()) {
            sum = cv::Mat::zeros(picture.size(), CV_32FC3);
            count = cv::Mat::zeros(picture.size(), CV_32FC3);
        }
        cv::Mat seen;
        cv::inRange(picture, cv::Scalar::all(0), cv::Scalar::all(0), seen);
        cv::add(sum, picture, sum, cv::noArray(), CV_32FC3);
        cv::add(count, cv::Scalar::all(1), count, ~seen);
    }
    cv::Mat mean;
    cv::Mat(sum / cv::max(count, 1)).convertTo(mean, CV_8UC3);
    return mean;
}

struct RegisterOptions {
    std::vector<std::string> in;
    std::string out, overlay;
    bool json = false;
};

void runRegister(const RegisterOptions& o) {
    for (const std::string& path : o.in) {
        loadImage(path, false); // says which file cannot be read; the export does not
    }
    const OutputNames names(o.out, o.in.size());
    Registration registration(o.in, names);
    std::vector<std::size_t> pictures(o.in.size());
    std::iota(pictures.begin(), pictures.end(), std::size_t{0});
    std::vector<std::string> whyNot(o.in.size());
    if (registration.tryTogether(pictures)) {
        // Some picture is refused: each on its own shows which, the rest goes together.
        std::vector<std::size_t> good = {0};
        for (std::size_t i = 1; i < o.in.size(); ++i) {
            if (const auto reason = registration.tryTogether({0, i})) {
                whyNot[i] = *reason;
            } else {
                good.push_back(i);
            }
        }
        if (good.size() == 1) {
            const auto first = std::find_if(whyNot.begin(), whyNot.end(),
                                            [](const std::string& s) { return !s.empty(); });
            throw Failure("no picture could be registered onto '" + o.in[0] + "'" +
                          (first == whyNot.end() ? "" : ": " + *first));
        }
        if (const auto reason = registration.tryTogether(good)) {
            throw Failure("the pictures register one by one but not together: " + *reason);
        }
        pictures = std::move(good);
    }
    registration.keep(pictures);

    std::vector<std::string> written;
    nlohmann::json list = nlohmann::json::array();
    for (std::size_t i = 0; i < o.in.size(); ++i) {
        const bool kept = std::find(pictures.begin(), pictures.end(), i) != pictures.end();
        nlohmann::json entry{{"input", o.in[i]}, {"output", nullptr}};
        if (kept) {
            written.push_back(names.name(i));
            entry["output"] = written.back();
        } else {
            entry["reason"] = whyNot[i];
        }
        list.push_back(std::move(entry));
    }
    const cv::Size canvas = cv::imread(written[0]).size();
    if (!o.overlay.empty()) {
        saveImage(overlayOf(written), o.overlay);
    }
    if (o.json) {
        printJson(nlohmann::json{{"canvas", {canvas.width, canvas.height}},
                                 {"pictures", std::move(list)}});
        return;
    }
    std::cout << "canvas " << canvas.width << " x " << canvas.height << '\n';
    for (const nlohmann::json& entry : list) {
        const auto input = entry.at("input").get<std::string>();
        if (entry.at("output").is_null()) {
            std::cout << "left out " << input << ": " << entry.at("reason").get<std::string>()
                      << '\n';
        } else {
            std::cout << input << " -> " << entry.at("output").get<std::string>() << '\n';
        }
    }
}

void addRegister(CLI::App& app) {
    auto o = std::make_shared<RegisterOptions>();
    CLI::App* command = app.add_subcommand(
        "register", "Register pictures of one scene onto the first, each written on one canvas");
    command->add_option("IN", o->in, "Picture files to read, the reference first")->required();
    command
        ->add_option("-o,--out", o->out,
                     "Folder for the results, or a pattern in which {} stands for the picture's "
                     "number, such as out/view-{}.jpg")
        ->required();
    command->add_option("--overlay", o->overlay, "Also write the mean of the results");
    command->add_flag("--json", o->json, "Print one JSON object instead of lines of text");
    command->callback([o] { runRegister(*o); });
}

} // namespace

void addFeatureCommands(CLI::App& app) {
    addKeypoints(app);
    addMatch(app);
    addRegister(app);
    addStitch(app);
}

std::vector<GalleryEntry> featureGallery() {
    const auto window = [](const std::string& out, const std::string& center) {
        return std::vector<std::string>{"patch",    "PHOTOS/building.jpg",
                                        "-o",       out,
                                        "--width",  "460",
                                        "--height", "420", //
                                        "--center", center};
    };
    return {
        {"Keypoints",
         "What a detector would recognise again: AKAZE's keypoints on a building.",
         {"keypoints", "PHOTOS/building.jpg", "-o", "OUT/keypoints.png", "--detector", "akaze"},
         {"PHOTOS/building.jpg"},
         {"OUT/keypoints.png"},
         {}},
        {"Matches",
         "Every keypoint of the box joined to its nearest one in the scene; nothing is filtered, "
         "so "
         "wrong matches show as lines that cross the others.",
         {"match", "PHOTOS/box.png", "PHOTOS/box_in_scene.png", "-o", "OUT/match.png", "--detector",
          "akaze", "--descriptor", "orb"},
         {"PHOTOS/box.png", "PHOTOS/box_in_scene.png"},
         {"OUT/match.png"},
         {}},
        {"Registered pictures",
         "The right picture of a stereo pair, registered onto the left one; their mean on the "
         "common canvas. The wall agrees, the plant in front of it does not: one plane fits.",
         {"register", "PHOTOS/aloeL.jpg", "PHOTOS/aloeR.jpg", "-o", "OUT/aloe-{}.png", "--overlay",
          "OUT/aloe-overlay.png"},
         {"PHOTOS/aloeL.jpg", "PHOTOS/aloeR.jpg"},
         {"OUT/aloe-overlay.png"},
         {}},
        {"Panorama",
         "Three overlapping views of a building, joined.",
         {"stitch", "OUT/view-1.png", "OUT/view-2.png", "OUT/view-3.png", "-o", "OUT/panorama.png"},
         {"OUT/view-1.png", "OUT/view-2.png", "OUT/view-3.png"},
         {"OUT/panorama.png"},
         {window("OUT/view-1.png", "240,300"), window("OUT/view-2.png", "440,320"),
          window("OUT/view-3.png", "630,280")}},
    };
}

} // namespace host
