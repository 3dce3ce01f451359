#include "host/commands.h"
#include "host/drawing.h"
#include "host/gallery_inputs.h"
#include "host/numbers.h"
#include "host/options.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>
#include <sstream>

namespace host {

namespace {

Command load() {
    return imageCommand<CommonOptions>(
        {.name = "load",
         .help = "Load an image file into a bitmap and write it",
         .makes = Makes::Image,
         .example = {"IN"},
         .gallery = {{.title = "An image file as a bitmap",
                      .text = "Loads a file of any format that OpenCV reads into the host's own "
                              "bitmap, 24 bits per pixel, and back.",
                      .lookFor = "No difference: what was loaded is what was in the file.",
                      .command = {"load", "PHOTOS/fruits.jpg", "-o", "OUT/loaded.png"},
                      .before = {"PHOTOS/fruits.jpg"},
                      .after = {"OUT/loaded.png"}}}},
        addInOut, [](const CommonOptions&, CDib& in) { return Result{.image = toMatrix(in)}; });
}

Command canny() {
    struct Options : CommonOptions {
        double low = 50, high = 150;
        int aperture = 3;
        bool l2 = false;
    };
    return imageCommand<Options>(
        {.name = "canny",
         .help = "Edges by Canny's method, as a black and white image",
         .makes = Makes::Image,
         .example = {"IN"},
         .gallery = {{.title = "Edges",
                      .text = "Canny's edges: where brightness changes most, one pixel wide. What "
                              "outlines and measurements start from.",
                      .lookFor =
                          "Window frames and roof edges as closed, thin lines; hardly any in "
                          "the sky.",
                      .command = {"canny", "PHOTOS/home.jpg", "-o", "OUT/canny.png", "--low", "80",
                                  "--high", "200"},
                      .before = {"PHOTOS/home.jpg"},
                      .after = {"OUT/canny.png"}}}},
        [](CLI::App& parser, Options& o) {
            addInOut(parser, o);
            addGray(parser, o);
            parser.add_option("--low", o.low, "Lower hysteresis threshold (gradient units)")
                ->check(numberFrom(0))
                ->capture_default_str();
            parser.add_option("--high", o.high, "Upper hysteresis threshold (gradient units)")
                ->check(numberFrom(0))
                ->capture_default_str();
            parser.add_option("--aperture", o.aperture, "Sobel aperture: 3, 5 or 7")
                ->check(oddFrom(3, 7))
                ->capture_default_str();
            parser.add_flag("--l2", o.l2, "Measure the gradient by the L2 norm instead of L1");
        },
        [](const Options& o, CDib& in) {
            return Result{.image = take(tx_Canny(in, o.low, o.high, o.aperture, o.l2 ? 1 : 0),
                                        "no bitmap could be made for the edges")};
        });
}

Command denoise() {
    struct Options : CommonOptions {
        float strength = 3, colorStrength = 3;
        int templateWindow = 7, searchWindow = 21;
    };
    return imageCommand<Options>(
        {.name = "denoise",
         .help = "Remove colour noise by non-local means",
         .makes = Makes::Image,
         .example = {"IN", "--search", "7"},
         .gallery = {{.title = "Colour denoising",
                      .text = "Takes the grain of a photograph made in little light: each pixel "
                              "becomes the mean of pixels with similar surroundings.",
                      .lookFor = "Smooth skins without grain, and edges as sharp as before.",
                      .command = {"denoise", "OUT/grainy.png", "-o", "OUT/denoise.png",
                                  "--strength", "10", "--color-strength", "10"},
                      .before = {"OUT/grainy.png"},
                      .after = {"OUT/denoise.png"},
                      .made = {{.from = "PHOTOS/fruits.jpg",
                                .to = "OUT/grainy.png",
                                .how = "The input is synthetic: normally distributed noise of 20 "
                                       "grey levels was added to fruits.jpg, so the true image is "
                                       "known.",
                                .make = [](const cv::Mat& m) { return withGrain(m, 20.0); }}},
                      .truth = "PHOTOS/fruits.jpg"}},
         .work = "denoising"},
        [](CLI::App& parser, Options& o) {
            addInOut(parser, o);
            addGray(parser, o);
            parser
                .add_option("--strength", o.strength, "Luminance strength (grey levels, 0 and up)")
                ->check(numberFrom(0, 1e6))
                ->capture_default_str();
            parser.add_option("--color-strength", o.colorStrength, "Colour strength (0 and up)")
                ->check(numberFrom(0, 1e6))
                ->capture_default_str();
            parser
                .add_option("--template", o.templateWindow,
                            "Template window (pixels, odd, 1 to 127)")
                ->check(oddFrom(1, 127))
                ->capture_default_str();
            parser
                .add_option("--search", o.searchWindow,
                            "Search window (pixels, odd, 1 to 127; time grows with its "
                            "square)")
                ->check(oddFrom(1, 127))
                ->capture_default_str();
        },
        [](const Options& o, CDib& in) {
            return Result{.image = take(tx_Denoise(in, o.strength, o.colorStrength,
                                                   o.templateWindow, o.searchWindow),
                                        "the image cannot be denoised")};
        });
}

Command patch() {
    struct Options : CommonOptions {
        int width = 0, height = 0;
        Point center{};
    };
    return imageCommand<Options>(
        {.name = "patch",
         .help = "Cut out a patch around a centre given to a fraction of a pixel",
         .makes = Makes::Image,
         .example = {"IN", "--width", "3", "--height", "3", "--center", "1,1"},
         .gallery = {{.title = "Sub-pixel patch",
                      .text = "Cuts out a patch around a centre that lies between pixels, as "
                              "tracking and template matching need it.",
                      .lookFor = "The ball, in the middle of the patch.",
                      .command = {"patch", "PHOTOS/messi5.jpg", "-o", "OUT/patch.png", "--width",
                                  "72", "--height", "72", "--center", "363.5,305.25"},
                      .before = {"PHOTOS/messi5.jpg"},
                      .after = {"OUT/patch.png"}}}},
        [](CLI::App& parser, Options& o) {
            addInOut(parser, o);
            addGray(parser, o);
            parser.add_option("--width", o.width, "Patch width (pixels, 1 and up)")
                ->check(wholeFrom(1))
                ->required();
            parser.add_option("--height", o.height, "Patch height (pixels, 1 and up)")
                ->check(wholeFrom(1))
                ->required();
            addPoint(parser, "--center", o.center, "Centre x,y (pixels, origin top left)")
                ->required();
        },
        [](const Options& o, CDib& in) {
            return Result{.image = take(tx_getRectSubPix(in, o.width, o.height,
                                                         static_cast<float>(o.center[0]),
                                                         static_cast<float>(o.center[1])),
                                        "a patch of that size cannot be made")};
        });
}

std::string segmentsAsText(const Json& data) {
    std::ostringstream text;
    for (const Json& s : data.at("segments")) {
        text << s[0] << ',' << s[1] << ' ' << s[2] << ',' << s[3] << '\n';
    }
    return text.str();
}

Command lines() {
    return imageCommand<CommonOptions>(
        {.name = "lines",
         .help = "Find straight segments and print them, one x1,y1 x2,y2 a line (pixels)",
         .makes = Makes::Data,
         .text = segmentsAsText,
         .example = {"IN"},
         .gallery = {{.title = "Straight lines",
                      .text = "Straight segments along edges; the thresholds come from the image "
                              "itself. What vanishing points are found from.",
                      .lookFor = "Segments along the cornices and window rows, few elsewhere.",
                      .command = {"lines", "PHOTOS/building.jpg", "-o", "OUT/lines.png"},
                      .before = {"PHOTOS/building.jpg"},
                      .after = {"OUT/lines.png"}}}},
        [](CLI::App& parser, CommonOptions& o) {
            addIn(parser, o);
            addDrawing(parser, o, "-o,--out", "Write the image with the segments drawn");
            addJson(parser, o);
        },
        [](const CommonOptions& o, CDib& in) {
            POINT* found = nullptr;
            const int count = tx_FindLines(in, found);
            const std::unique_ptr<POINT[]> ends(found);
            std::vector<cv::Vec4i> segments;
            Result result{.data = {{"segments", Json::array()}}};
            for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
                const POINT& a = ends[2 * i];
                const POINT& b = ends[2 * i + 1];
                segments.emplace_back(a.x, a.y, b.x, b.y);
                result.data["segments"].push_back({a.x, a.y, b.x, b.y});
            }
            if (segments.empty()) {
                result.warnings.push_back("no straight segments were found in '" + o.in + "'");
            }
            if (!o.out.empty()) {
                result.image = withSegments(toMatrix(in), segments);
            }
            return result;
        });
}

} // namespace

std::vector<Command> filterCommands() {
    return {load(), canny(), denoise(), patch(), lines()};
}

} // namespace host
