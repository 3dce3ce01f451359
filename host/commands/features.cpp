#include "host/commands.h"
#include "host/options.h"
#include "host/photographs.h"
#include "host/registration.h"

#include <tarvix/tarvix.h>

#include <map>

namespace host {

namespace {

// An option whose values have names.
void addChoice(CLI::App& parser, const std::string& name, int& value,
               const std::map<std::string, int>& choices, const std::string& help) {
    parser.add_option(name, value, help)
        ->transform(CLI::CheckedTransformer(choices, CLI::ignore_case))
        ->capture_default_str();
}

void addDetector(CLI::App& parser, int& detector) {
    addChoice(parser, "--detector", detector,
              {{"mser", 0}, {"orb", 1}, {"brisk", 2}, {"kaze", 3}, {"akaze", 4}},
              "Keypoint detector");
}

Command keypoints() {
    struct Options : CommonOptions {
        int detector = 1;
    };
    return imageCommand<Options>(
        {.name = "keypoints",
         .help = "Detect keypoints and draw them as circles of random colours",
         .makes = Makes::Image,
         .example = {"IN"},
         .gallery = {{.title = "Keypoints",
                      .text = "What a detector would recognise again: AKAZE's keypoints on a "
                              "building.",
                      .command = {"keypoints", "PHOTOS/building.jpg", "-o", "OUT/keypoints.png",
                                  "--detector", "akaze"},
                      .before = {"PHOTOS/building.jpg"},
                      .after = {"OUT/keypoints.png"}}}},
        [](CLI::App& parser, Options& o) {
            addInOut(parser, o);
            addGray(parser, o);
            addDetector(parser, o.detector);
        },
        [](const Options& o, CDib& in) {
            return Result{.image =
                              take(tx_DetectorTest(in, o.detector), "no keypoints could be drawn")};
        });
}

Command match() {
    struct Options : CommonOptions {
        std::string second;
        int detector = 1, descriptor = 0;
    };
    return command<Options>(
        {.name = "match",
         .help = "Match the keypoints of two images and draw every match, side by side",
         .takes = Takes::TwoImages,
         .makes = Makes::Image,
         .example = {"IN", "IN"},
         .gallery = {{.title = "Matches",
                      .text = "Every keypoint of the box joined to its nearest one in the scene; "
                              "nothing is filtered, so wrong matches show as lines that cross the "
                              "others.",
                      .command = {"match", "PHOTOS/box.png", "PHOTOS/box_in_scene.png", "-o",
                                  "OUT/match.png", "--detector", "akaze", "--descriptor", "orb"},
                      .before = {"PHOTOS/box.png", "PHOTOS/box_in_scene.png"},
                      .after = {"OUT/match.png"}}}},
        [](CLI::App& parser, Options& o) {
            parser.add_option("FIRST", o.in, "Image whose keypoints look for a match")->required();
            parser.add_option("SECOND", o.second, "Image they are looked for in")->required();
            addOut(parser, o);
            addGray(parser, o);
            addDetector(parser, o.detector);
            addChoice(parser, "--descriptor", o.descriptor, {{"orb", 0}, {"brisk", 1}},
                      "Descriptor of a keypoint's surroundings");
        },
        [](const Options& o, Output&) {
            const Bitmap first = loadImage(o.in, o.gray);
            const Bitmap second = loadImage(o.second, o.gray);
            return Result{.image = take(tx_MatchTest(*first, *second, o.detector, o.descriptor),
                                        "the two images cannot be matched")};
        });
}

Command registerSet() {
    return command<RegisterOptions>(
        {.name = "register",
         .help = "Register images of one scene onto the first, each written on one canvas",
         .takes = Takes::ImageSet,
         .makes = Makes::Files,
         .text = registrationAsText,
         .example = {"IN", "IN"},
         .gallery = {{.title = "Registered images",
                      .text = "The right image of a stereo pair, registered onto the left one; "
                              "their mean on the common canvas. The wall agrees, the plant in "
                              "front of it does not: one plane fits.",
                      .command = {"register", "PHOTOS/aloeL.jpg", "PHOTOS/aloeR.jpg", "-o",
                                  "OUT/aloe-{}.png", "--overlay", "OUT/aloe-overlay.png"},
                      .before = {"PHOTOS/aloeL.jpg", "PHOTOS/aloeR.jpg"},
                      .after = {"OUT/aloe-overlay.png"}}}},
        [](CLI::App& parser, RegisterOptions& o) {
            parser.add_option("IN", o.images, "Image files to read, the reference first")
                ->required();
            parser
                .add_option("-o,--out", o.names,
                            "Folder for the results, or a pattern in which {} stands for the "
                            "image's number, such as out/view-{}.jpg")
                ->required();
            parser.add_option("--overlay", o.overlay, "Also write the mean of the results");
            addJson(parser, o);
        },
        [](const RegisterOptions& o, Output&) { return registerImages(o); });
}

Command stitch() {
    struct Options : CommonOptions {
        std::vector<std::string> images;
    };
    // One of three views of the same photograph.
    const auto view = [](const std::string& out, const std::string& center) {
        return std::vector<std::string>{"patch",    "PHOTOS/building.jpg",
                                        "-o",       out,
                                        "--width",  "460",
                                        "--height", "420",
                                        "--center", center};
    };
    const std::vector<std::string> views = {"OUT/view-1.png", "OUT/view-2.png", "OUT/view-3.png"};
    return command<Options>(
        {.name = "stitch",
         .help = "Join overlapping photographs, taken from one place, into a panorama",
         .takes = Takes::ImageSet,
         .makes = Makes::Image,
         .example = {"IN", "IN"},
         .gallery = {{.title = "Panorama",
                      .text = "Three overlapping views of a building, joined.",
                      .command = {"stitch", views[0], views[1], views[2], "-o", "OUT/panorama.png"},
                      .before = views,
                      .after = {"OUT/panorama.png"},
                      .prepare = {view(views[0], "240,300"), view(views[1], "440,320"),
                                  view(views[2], "630,280")}}}},
        [](CLI::App& parser, Options& o) {
            parser.add_option("IN", o.images, "Image files to read, two at least")->required();
            addOut(parser, o);
        },
        [](const Options& o, Output&) {
            requireImages(o.images);
            CStringArray files;
            addTo(files, o.images);
            return Result{.image = take(tx_Stitch(files),
                                        "the photographs cannot be joined: fewer than two, too "
                                        "little overlap, or not taken from one place")};
        });
}

} // namespace

std::vector<Command> featureCommands() {
    return {keypoints(), match(), registerSet(), stitch()};
}

} // namespace host
