#include "features/detectors.h"
#include "features/drawn_features.h"
#include "host/commands.h"
#include "host/failure.h"
#include "host/gallery_inputs.h"
#include "host/joining.h"
#include "host/options.h"
#include "host/registration.h"
#include "host/registration_table.h"
#include "host/set_matching.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <map>

namespace host {

namespace {

// An option whose values have names.
void addChoice(CLI::App& parser, const std::string& name, int& value,
               const std::map<std::string, int>& choices, const std::string& help) {
    CLI::CheckedTransformer check(choices, CLI::ignore_case);
    check.name(Json{{"choices", choices}}.dump()); // for the table of commands
    parser.add_option(name, value, help)->transform(std::move(check))->capture_default_str();
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
                      .text = "What a detector would recognise in another photograph: AKAZE's "
                              "keypoints. To compare five detectors on images of one's own.",
                      .lookFor = "Circles on corners and ornaments, none on the plain sky.",
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
            const cv::Ptr<cv::Feature2D> detector = tarvix::createDetector(o.detector);
            const tarvix::DrawnKeypoints drawn = tarvix::drawDetected(toMatrix(in), *detector);
            return Result{.image = drawn.image, .counts = {{"keypoints", drawn.count}}};
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
                      .text = "Each keypoint of one image joined to its nearest one in another. "
                              "Nothing is filtered, so this shows how far a detector and a "
                              "descriptor can be trusted. Here two moments of a scene in which "
                              "things moved a little.",
                      .lookFor = "Nearly all lines run side by side; those that cross the others "
                                 "are wrong matches.",
                      .command = {"match", "PHOTOS/rubberwhale1.png", "PHOTOS/rubberwhale2.png",
                                  "-o", "OUT/match.png", "--detector", "akaze", "--descriptor",
                                  "orb"},
                      .before = {"PHOTOS/rubberwhale1.png", "PHOTOS/rubberwhale2.png"},
                      .after = {"OUT/match.png"}}}},
        [](CLI::App& parser, Options& o) {
            parser
                .add_option("FIRST", o.in,
                            "Image whose keypoints look for a match; - is standard input")
                ->type_name("IMAGE")
                ->required();
            parser.add_option("SECOND", o.second, "Image they are looked for in")
                ->type_name("IMAGE")
                ->required();
            addOut(parser, o);
            addGray(parser, o);
            addDetector(parser, o.detector);
            addChoice(parser, "--descriptor", o.descriptor, {{"orb", 0}, {"brisk", 1}},
                      "Descriptor of a keypoint's surroundings");
        },
        [](const Options& o, Output&) {
            const Bitmap first = loadImage(o.in, o.gray);
            const Bitmap second = loadImage(o.second, o.gray);
            const tarvix::DrawnMatches drawn =
                tarvix::drawMatched(toMatrix(*first), toMatrix(*second), o.detector, o.descriptor);
            return Result{.image = drawn.image,
                          .counts = {{"keypoints", {drawn.queryKeypoints, drawn.trainKeypoints}},
                                     {"matches", drawn.count}}};
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
                      .text = "A set of images warped onto the first of them, for series that a "
                              "hand-held camera took. Here the two images of a stereo pair, and "
                              "their mean on the common canvas.",
                      .lookFor = "The cloth behind is sharp in the mean; the plant in front is "
                                 "doubled, because one plane was fitted.",
                      .command = {"register", "PHOTOS/aloeL.jpg", "PHOTOS/aloeR.jpg", "-o",
                                  "OUT/aloe-{}.png", "--overlay", "OUT/aloe-overlay.png"},
                      .before = {"PHOTOS/aloeL.jpg", "PHOTOS/aloeR.jpg"},
                      .after = {"OUT/aloe-overlay.png"}}}},
        [](CLI::App& parser, RegisterOptions& o) {
            parser.add_option("IN", o.images, "Image files to read, the reference first")
                ->type_name("IMAGE")
                ->required();
            parser
                .add_option("-o,--out", o.names,
                            "Folder for the results, or a pattern in which {} stands for the "
                            "image's number, such as out/view-{}.jpg")
                ->type_name("FOLDER")
                ->required();
            parser.add_option("--overlay", o.overlay, "Also write the mean of the results")
                ->type_name("FILE");
            parser.add_flag("--crop", o.crop,
                            "Cut the results to the largest rectangle that all images cover");
            CLI::Option* save =
                parser.add_option("--save", o.save, "Also write where each image is to this file");
            save->type_name("FILE");
            parser
                .add_option("--apply", o.apply,
                            "Put the images where this file says, one after the other, instead of "
                            "matching them")
                ->type_name("FILE")
                ->excludes(save);
            addJson(parser, o);
        },
        registerImages);
}

// The image as the reference sees it, the number of matches and the homography.
Result inFrameOf(const cv::Mat& reference, const std::string& name, const cv::Mat& image) {
    cv::theRNG() = cv::RNG(); // the index of the matching draws from it
    const tarvix::SetMatch match = matchOnto(tarvix::SetMatcher(reference), image);
    const std::string whyNot = whyNotRegistered(match, "'" + name + "'");
    if (!whyNot.empty()) {
        throw Failure(whyNot);
    }
    if (!isSeen(match.referenceFromImage, image.size(), reference.size())) {
        throw Failure("its " + std::to_string(match.matches) + " good matches with '" + name +
                      "' put all of it outside that image");
    }
    cv::Mat warped;
    cv::warpPerspective(image, warped, match.referenceFromImage, reference.size());
    return {
        .image = warped,
        .data = {{"matches", match.matches}, {"homography", rowsAsJson(match.referenceFromImage)}}};
}

Command registerTo() {
    struct Options : CommonOptions {
        std::string reference;
    };
    return imageCommand<Options>(
        {.name = "register-to",
         .help = "Warp an image into the frame of another one, by the keypoints that both show",
         .makes = Makes::Image,
         .text =
             [](const Json& data) {
                 return std::to_string(data.at("matches").get<std::size_t>()) + " good matches\n";
             },
         .example = {"IN", "--reference", "IN"}},
        [](CLI::App& parser, Options& o) {
            addInOut(parser, o);
            parser
                .add_option("--reference", o.reference,
                            "Image of the same scene: the result has its size and shows all at its "
                            "places")
                ->type_name("IMAGE")
                ->required();
            addJson(parser, o);
        },
        [](const Options& o, CDib& in) {
            const Bitmap reference = loadImage(o.reference, false);
            return inFrameOf(toMatrix(*reference), o.reference, toMatrix(in));
        });
}

Command stitch() {
    struct Options : CommonOptions {
        std::vector<std::string> images;
    };
    const std::vector<std::string> views = {"OUT/view-1.png", "OUT/view-2.png", "OUT/view-3.png"};
    // What a camera of its own brightness sees of the photograph when it turns.
    const auto view = [&](std::size_t i, double yawDeg, double gain, const std::string& how) {
        return MadeInput{.from = "PHOTOS/building.jpg",
                         .to = views[i],
                         .how = how,
                         .make = [=](const cv::Mat& photograph) {
                             return turnedView(photograph, yawDeg, 800.0, {440, 460}, gain);
                         }};
    };
    return command<Options>(
        {.name = "stitch",
         .help = "Join overlapping photographs, taken from one place, into a panorama",
         .takes = Takes::ImageSet,
         .makes = Makes::Image,
         .example = {"IN", "IN"},
         .gallery = {{.title = "Panorama",
                      .text = "Joins overlapping photographs that were taken from one place.",
                      .lookFor = "One building without seams, straight where the views' outer "
                                 "edges are slanted.",
                      .command = {"stitch", views[0], views[1], views[2], "-o", "OUT/panorama.png"},
                      .before = views,
                      .after = {"OUT/panorama.png"},
                      .made = {view(0, -13, 1.0,
                                    "The views are synthetic: rendered from building.jpg as a "
                                    "camera would see it that turns by 13 degrees to either side,"),
                               view(1, 0, 0.92, "the middle one 8 per cent darker,"),
                               view(2, 13, 1.05, "the last one 5 per cent brighter.")}}},
         .work = "joining"},
        [](CLI::App& parser, Options& o) {
            parser.add_option("IN", o.images, "Image files to read, two at least")
                ->type_name("IMAGE")
                ->required();
            addOut(parser, o);
        },
        [](const Options& o, Output&) { return joinPhotographs(o.images, o.out); });
}

} // namespace

std::vector<Command> featureCommands() {
    return {keypoints(), match(), registerSet(), registerTo(), stitch()};
}

} // namespace host
