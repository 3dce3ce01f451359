#include "host/straightening.h"
#include "assist/correction.h"
#include "host/commands.h"
#include "host/numbers.h"
#include "host/options.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>

namespace host {

namespace {

void addConvergeOptions(CLI::App& parser, StraighteningOptions& o) {
    addInOut(parser, o);
    addGray(parser, o);
    CLI::Option* corners = addCorners(parser, "--corners", o.corners,
                                      "The marked corners of the rectangle, in any order");
    CLI::Option* automatic =
        parser.add_flag("--auto", o.automatic,
                        "Look for a sheet or a facade, print what is proposed, and take the best");
    automatic->excludes(corners);
    parser
        .add_flag("--as-given", o.asGiven,
                  "Neither sort nor check the corners: the first two are the top edge, from left "
                  "to right, and the others follow clockwise")
        ->needs(corners);
    CLI::Option* focal = parser.add_option(
        "--focal", o.focal,
        "Focal length (mm, 35-mm equivalent), instead of the file's; 0: search it");
    focal->check(numberFrom(0, 1e4));
    parser
        .add_option("--crop-factor", o.cropFactor,
                    "35-mm equivalent per mm of the lens, for files that state only the latter")
        ->check(numberAbove(0))
        ->excludes(focal);
    CLI::Option* scale = parser.add_option("--scale", o.scale, "Extra size factor")
                             ->check(numberFrom(tarvix::smallestScale, tarvix::largestScale));
    scale->capture_default_str();
    CLI::Option* offset =
        addPoint(parser, "--offset", o.offset, "Shift x,y of the corrected corners (pixels)");
    offset->default_str("0,0");
    CLI::Option* pitchOnly =
        parser.add_flag("--pitch-only", o.pitchOnly, "Straighten the verticals only");
    CLI::Option* crop = parser.add_flag(
        "--crop", o.crop, "Cut out the rectangle, at its natural size and true proportions");
    crop->excludes(pitchOnly)->excludes(offset);
    parser.add_flag("--fit", o.fit, "Enlarge the canvas so that nothing of the image is cut off")
        ->excludes(crop)
        ->excludes(offset);
    parser.add_option("--save", o.save, "Also write the correction to this file")
        ->type_name("FILE");
    parser
        .add_option("--apply", o.apply,
                    "Apply the correction of this file, also to another resolution, instead of "
                    "searching one")
        ->type_name("FILE")
        ->excludes(corners)
        ->excludes(automatic)
        ->excludes(focal)
        ->excludes(scale)
        ->excludes(offset)
        ->excludes(pitchOnly);
    addJson(parser, o, "Print what was found as JSON");
    parser
        .add_option("--overlay", o.overlay,
                    "Two more image files: the marked corners drawn on the photograph, the "
                    "corrected ones on the result")
        ->type_name("MARKED CORRECTED")
        ->expected(2);
}

Command converge() {
    return imageCommand<StraighteningOptions>(
        {.name = "converge",
         .help = "Straighten a photographed rectangle from its four marked corners",
         .makes = Makes::Image,
         .text = straighteningAsText,
         .example = {"IN", "--corners", "-40,-30", "41,-30", "41,31", "-40,31", "--focal", "60"},
         .gallery = {{.title = "A facade straightened",
                      .text = "Four marked corners of what is a rectangle in the world give how "
                              "the camera was turned, here without a known focal length, and the "
                              "photograph is warped as if it had not been.",
                      .lookFor = "The marked storeys are a rectangle, and the windows within it "
                                 "have right angles.",
                      .command = {"converge", "PHOTOS/building.jpg", "-o", "OUT/facade.png",
                                  "--corners", "193.5,302", "778,52", "797,299", "192.5,422",
                                  "--scale", "1.9", "--offset", "-75,30", "--overlay",
                                  "OUT/facade-marked.png", "OUT/facade-corrected.png"},
                      .before = {"PHOTOS/building.jpg", "OUT/facade-marked.png"},
                      .after = {"OUT/facade.png", "OUT/facade-corrected.png"}},
                     {.title = "A sheet straightened",
                      .text = "The border of a printed grid on a page that is not quite flat.",
                      .command = {"converge", "PHOTOS/sudoku.png", "-o", "OUT/sheet.png",
                                  "--corners", "73,85.5", "491,69.5", "520,520.5", "35.5,515.5",
                                  "--overlay", "OUT/sheet-marked.png", "OUT/sheet-corrected.png"},
                      .before = {"OUT/sheet-marked.png"},
                      .after = {"OUT/sheet-corrected.png"}},
                     {.title = "A sheet found and cut out",
                      .text = "Nothing is marked: the program looks for a rectangle, says what it "
                              "proposes, and cuts that out in its true proportions.",
                      .lookFor = "The red outline around the grid and its heading; in the result, "
                                 "nothing but these, with straight edges.",
                      .command = {"converge", "PHOTOS/sudoku.png", "-o", "OUT/cut-out.png",
                                  "--auto", "--crop", "--overlay", "OUT/cut-out-marked.png",
                                  "OUT/cut-out-corners.png"},
                      .before = {"OUT/cut-out-marked.png"},
                      .after = {"OUT/cut-out.png"}}}},
        addConvergeOptions, straighten);
}

struct CornersOptions : CommonOptions {
    Corners from{}, to{};
};

Command convergeScaled() {
    return imageCommand<CornersOptions>(
        {.name = "converge-scaled",
         .help = "Apply a correction whose corners are known, without a search",
         .makes = Makes::Image,
         .example = {"IN", "--from", "0,0", "9,0", "9,9", "0,9", "--to", "0,0", "9,0", "9,9",
                     "0,9"},
         .gallery = {{.title = "The same correction again",
                      .text = "The corners found above, applied to the grey image without a "
                              "search: one correction for a whole series.",
                      .lookFor = "The same straight grid as above, in grey.",
                      .command = {"converge-scaled", "PHOTOS/sudoku.png", "-o",
                                  "OUT/sheet-again.png", "--gray", "--from", "73,85.5", "491,69.5",
                                  "520,520.5", "35.5,515.5", "--to", "73.43,92.41", "490.02,92.51",
                                  "489.96,513.88", "73.33,513.80"},
                      .before = {"PHOTOS/sudoku.png"},
                      .after = {"OUT/sheet-again.png"}}}},
        [](CLI::App& parser, CornersOptions& o) {
            addInOut(parser, o);
            addGray(parser, o);
            addCorners(parser, "--from", o.from, "The marked corners");
            addCorners(parser, "--to", o.to, "The corrected corners, in the same order");
        },
        [](const CornersOptions& o, CDib& in) {
            Corners from = o.from, to = o.to;
            return Result{.image = take(tx_ConvergeScaled(in, from.data(), to.data()),
                                        "no bitmap could be made for the corrected image")};
        });
}

} // namespace

std::vector<Command> straighteningCommands() {
    return {converge(), convergeScaled()};
}

} // namespace host
