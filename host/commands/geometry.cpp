#include "host/commands.h"
#include "host/drawing.h"
#include "host/failure.h"
#include "host/options.h"

#include <tarvix/tarvix.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace host {

namespace {

std::string poseAsText(const Json& pose) {
    const auto number = [&pose](const char* name) { return pose.at(name).get<double>(); };
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << "pitch " << number("pitch_deg") << ", yaw "
         << number("yaw_deg") << ", roll " << number("roll_deg") << " degrees; focal length "
         << number("focal_mm") << " mm\ncorrected corners";
    for (const Json& corner : pose.at("corners")) {
        text << ' ' << corner[0].get<double>() << ',' << corner[1].get<double>();
    }
    text << '\n';
    return text.str();
}

// The image with its corners, as a file of that name.
ImageBeside overlay(const std::string& path, const cv::Mat& image, const Corners& corners,
                    const cv::Scalar& colour) {
    return {path, [=] {
                if (!canBeDrawn(corners)) {
                    throw Failure("the corners are too far out to be drawn on '" + path + "'");
                }
                return withCorners(image, corners, colour);
            }};
}

struct ConvergeOptions : CommonOptions {
    Corners corners{};
    double focal = 0, scale = 1;
    Point offset{};
    bool pitchOnly = false;
    std::vector<std::string> overlay; // none, or two
};

void addConvergeOptions(CLI::App& parser, ConvergeOptions& o) {
    addInOut(parser, o);
    addGray(parser, o);
    addCorners(parser, "--corners", o.corners,
               "The marked corners, e.g. clockwise from the top left");
    parser
        .add_option("--focal", o.focal,
                    "Focal length (mm, 35-mm equivalent); 0 if unknown, then it is searched")
        ->capture_default_str();
    parser.add_option("--scale", o.scale, "Extra size factor")->capture_default_str();
    addPoint(parser, "--offset", o.offset, "Shift x,y of the corrected corners (pixels)")
        ->default_str("0,0");
    parser.add_flag("--pitch-only", o.pitchOnly, "Straighten the verticals only");
    addJson(parser, o, "Print what was found as JSON");
    parser
        .add_option("--overlay", o.overlay,
                    "Two more image files: the marked corners drawn on the photograph, the "
                    "corrected ones on the result")
        ->type_name("MARKED CORRECTED")
        ->expected(2);
}

Result runConverge(const ConvergeOptions& o, CDib& in) {
    Corners marked = o.corners; // exports take arrays that are not const
    std::array<double, 12> found{};
    Result result;
    result.image = take(tx_Converge(in, marked.data(), o.focal, o.scale, o.offset[0], o.offset[1],
                                    o.pitchOnly ? 1 : 0, found.data()),
                        "no bitmap could be made for the corrected image");
    result.data = {{"pitch_deg", found[8]},
                   {"yaw_deg", found[9]},
                   {"roll_deg", found[10]},
                   {"focal_mm", found[11]},
                   {"corners", Json::array()}};
    Corners corrected{};
    std::copy_n(found.begin(), corrected.size(), corrected.begin());
    for (std::size_t i = 0; i < 8; i += 2) {
        result.data["corners"].push_back({corrected[i], corrected[i + 1]});
    }
    if (!o.overlay.empty()) {
        result.beside = {overlay(o.overlay[0], toMatrix(in), marked, {40, 40, 235}),
                         overlay(o.overlay[1], result.image, corrected, {60, 190, 30})};
    }
    return result;
}

Command converge() {
    return imageCommand<ConvergeOptions>(
        {.name = "converge",
         .help = "Straighten a photographed rectangle from its four marked corners",
         .makes = Makes::Image,
         .text = poseAsText,
         .example = {"IN", "--corners", "-40,-30", "41,-30", "41,31", "-40,31", "--focal", "60"},
         .gallery = {{.title = "A facade straightened",
                      .text = "The outline of two storeys, marked on the photograph; the focal "
                              "length is not known. Pitch, yaw, roll and focal length are "
                              "searched.",
                      .command = {"converge", "PHOTOS/building.jpg", "-o", "OUT/facade.png",
                                  "--corners", "193.5,302", "778,52", "797,299", "192.5,422",
                                  "--scale", "1.9", "--offset", "-75,30", "--overlay",
                                  "OUT/facade-marked.png", "OUT/facade-corrected.png"},
                      .before = {"OUT/facade-marked.png"},
                      .after = {"OUT/facade-corrected.png"}},
                     {.title = "A sheet straightened",
                      .text = "The border of a printed grid on a page that is not quite flat.",
                      .command = {"converge", "PHOTOS/sudoku.png", "-o", "OUT/sheet.png",
                                  "--corners", "73,85.5", "491,69.5", "520,520.5", "35.5,515.5",
                                  "--overlay", "OUT/sheet-marked.png", "OUT/sheet-corrected.png"},
                      .before = {"OUT/sheet-marked.png"},
                      .after = {"OUT/sheet-corrected.png"}}}},
        addConvergeOptions, runConverge);
}

// What the commands take that move four points onto four others.
struct PointsOptions : CommonOptions {
    Corners from{}, to{};
};

Command convergeScaled() {
    return imageCommand<PointsOptions>(
        {.name = "converge-scaled",
         .help = "Apply a correction whose corners are known, without a search",
         .makes = Makes::Image,
         .example = {"IN", "--from", "0,0", "9,0", "9,9", "0,9", "--to", "0,0", "9,0", "9,9",
                     "0,9"},
         .gallery = {{.title = "The same correction again",
                      .text = "The corners found above, applied to the grey image without a "
                              "search.",
                      .command = {"converge-scaled", "PHOTOS/sudoku.png", "-o",
                                  "OUT/sheet-again.png", "--gray", "--from", "73,85.5", "491,69.5",
                                  "520,520.5", "35.5,515.5", "--to", "73.43,92.41", "490.02,92.51",
                                  "489.96,513.88", "73.33,513.80"},
                      .before = {"PHOTOS/sudoku.png"},
                      .after = {"OUT/sheet-again.png"}}}},
        [](CLI::App& parser, PointsOptions& o) {
            addInOut(parser, o);
            addGray(parser, o);
            addCorners(parser, "--from", o.from, "The marked corners");
            addCorners(parser, "--to", o.to, "The corrected corners, in the same order");
        },
        [](const PointsOptions& o, CDib& in) {
            Corners from = o.from, to = o.to;
            return Result{.image = take(tx_ConvergeScaled(in, from.data(), to.data()),
                                        "no bitmap could be made for the corrected image")};
        });
}

Command align() {
    struct Options : PointsOptions {
        std::string reference;
        std::array<int, 3> fill{};
    };
    return command<Options>(
        {.name = "align",
         .help = "Draw an image into the frame of another one",
         .takes = Takes::TwoImages,
         .makes = Makes::Image,
         .example = {"IN", "IN", "--from", "0,0", "9,0", "9,9", "0,9", "--to", "0,0", "9,0", "9,9",
                     "0,9"},
         .gallery = {{.title = "Perspective alignment",
                      .text = "One photograph of a painted wall drawn into the frame of another, "
                              "by four points.",
                      .command = {"align", "PHOTOS/graf3.png", "PHOTOS/graf1.png", "-o",
                                  "OUT/align.png", "--from", "289.6,90.4", "565.1,197.6",
                                  "459.7,547.2", "164.2,497.3", "--to", "150,120", "650,100",
                                  "640,520", "140,540", "--fill", "90", "60", "30"},
                      .before = {"PHOTOS/graf3.png", "PHOTOS/graf1.png"},
                      .after = {"OUT/align.png"}}}},
        [](CLI::App& parser, Options& o) {
            parser.add_option("IN", o.in, "Image file to draw")->required();
            parser.add_option("REFERENCE", o.reference, "Image file that gives the frame")
                ->required();
            addOut(parser, o);
            addCorners(parser, "--from", o.from, "Four points in the image");
            addCorners(parser, "--to", o.to, "The same points in the reference");
            parser.add_option("--fill", o.fill, "Colour outside: blue green red (0 to 255)")
                ->check(CLI::Range(0, 255))
                ->capture_default_str();
        },
        [](const Options& o, Output&) {
            const Bitmap in = loadImage(o.in, false);
            const Bitmap reference = loadImage(o.reference, false);
            Corners from = o.from, to = o.to;
            return Result{.image = take(tx_PerspAlign(*in, *reference, from.data(), to.data(),
                                                      o.fill[0], o.fill[1], o.fill[2]),
                                        "no bitmap could be made for the aligned image")};
        });
}

// warp and mask take the same arguments.
Command onFittedCanvas(Command row, CDib* (*operation)(CDib&, double*, double*)) {
    row.makes = Makes::Image;
    row.example = {"IN",   "--from", "0,0", "9,0", "9,9", "0,9", //
                   "--to", "0,0",    "9,0", "9,9", "0,9"};
    return imageCommand<PointsOptions>(
        std::move(row),
        [](CLI::App& parser, PointsOptions& o) {
            addInOut(parser, o);
            addGray(parser, o);
            addCorners(parser, "--from", o.from, "Four points in the image");
            addCorners(parser, "--to", o.to, "Where they go, in the same order");
        },
        [operation](const PointsOptions& o, CDib& in) {
            Corners from = o.from, to = o.to;
            return Result{.image = take(operation(in, from.data(), to.data()),
                                        "the corners give no canvas that a bitmap can hold")};
        });
}

Command warp() {
    return onFittedCanvas(
        {.name = "warp",
         .help = "Warp four points of an image onto four others, on a fitted canvas",
         .gallery = {{.title = "Projective warp",
                      .text = "Four marked corners of a printed grid become a square.",
                      .command = {"warp", "PHOTOS/sudoku.png", "-o", "OUT/warp.png", "--from",
                                  "73,88", "492,72", "521,525", "35,518", "--to", "0,0", "450,0",
                                  "450,450", "0,450"},
                      .before = {"PHOTOS/sudoku.png"},
                      .after = {"OUT/warp.png"}}}},
        tx_Projective);
}

Command mask() {
    const std::vector<std::string> kite = {"--from", "0,0",  "512,0",  "512,384", "0,384",
                                           "--to",   "90,0", "470,60", "400,330", "0,250"};
    const auto onKite = [&kite](std::vector<std::string> words) {
        words.insert(words.end(), kite.begin(), kite.end());
        return words;
    };
    return onFittedCanvas(
        {.name = "mask",
         .help = "The coverage mask of 'warp' for the same arguments",
         .gallery = {{.title = "Coverage mask",
                      .text = "Which pixels of its canvas a warped photograph covers; here its "
                              "corners go to a kite.",
                      .command = onKite({"mask", "PHOTOS/home.jpg", "-o", "OUT/mask.png"}),
                      .before = {"OUT/mask-warp.png"},
                      .after = {"OUT/mask.png"},
                      .prepare = {onKite(
                          {"warp", "PHOTOS/home.jpg", "-o", "OUT/mask-warp.png"})}}}},
        tx_GetProjectiveMask);
}

} // namespace

std::vector<Command> geometryCommands() {
    return {converge(), convergeScaled(), align(), warp(), mask()};
}

} // namespace host
