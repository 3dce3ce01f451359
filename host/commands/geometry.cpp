#include "host/commands.h"
#include "host/options.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>
#include <array>

namespace host {

namespace {

// What the commands take that move four points onto four others.
struct PointsOptions : CommonOptions {
    Corners from{}, to{};
};

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
                      .text = "One photograph drawn into the frame of another by four points that "
                              "both show, so that the two can be compared or blended.",
                      .lookFor = "The painting of the first photograph stands where and as the "
                                 "second one shows it; brown is what it does not cover.",
                      .command = {"align", "PHOTOS/graf3.png", "PHOTOS/graf1.png", "-o",
                                  "OUT/align.png", "--from", "289.6,90.4", "565.1,197.6",
                                  "459.7,547.2", "164.2,497.3", "--to", "150,120", "650,100",
                                  "640,520", "140,540", "--fill", "90", "60", "30"},
                      .before = {"PHOTOS/graf3.png", "PHOTOS/graf1.png"},
                      .after = {"OUT/align.png"}}}},
        [](CLI::App& parser, Options& o) {
            parser.add_option("IN", o.in, "Image file to draw; - is standard input")
                ->type_name("IMAGE")
                ->required();
            parser.add_option("REFERENCE", o.reference, "Image file that gives the frame")
                ->type_name("IMAGE")
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
                      .text = "Four points go where four others are wanted: here the corners of a "
                              "printed grid become a square.",
                      .lookFor = "Square cells, and the grid's border at the image's own.",
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
                      .text = "Which pixels of its canvas a warped photograph covers, for blending "
                              "it with others; here its corners go to a kite.",
                      .lookFor = "White exactly where the warped photograph is.",
                      .command = onKite({"mask", "PHOTOS/home.jpg", "-o", "OUT/mask.png"}),
                      .before = {"OUT/mask-warp.png"},
                      .after = {"OUT/mask.png"},
                      .prepare = {onKite(
                          {"warp", "PHOTOS/home.jpg", "-o", "OUT/mask-warp.png"})}}}},
        tx_GetProjectiveMask);
}

} // namespace

std::vector<Command> geometryCommands() {
    return {align(), warp(), mask()};
}

} // namespace host
