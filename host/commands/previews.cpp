#include "host/commands.h"
#include "host/numbers.h"
#include "host/options.h"
#include "host/photograph_file.h"
#include "host/saving.h"

#include <CLI/App.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace host {

namespace {

struct ReducedOptions : CommonOptions {
    int pixels = 0;
    int side = 0;
};

// The largest size with the image's proportions that keeps to the limits.
cv::Size reducedSize(cv::Size image, const ReducedOptions& o) {
    double factor = 1;
    if (o.pixels > 0) {
        factor = std::min(factor, std::sqrt(o.pixels / static_cast<double>(image.area())));
    }
    if (o.side > 0) {
        factor =
            std::min(factor, o.side / static_cast<double>(std::max(image.width, image.height)));
    }
    const auto scaled = [factor](int length) {
        return std::max(1, static_cast<int>(std::floor(length * factor + 1e-9)));
    };
    return {scaled(image.width), scaled(image.height)};
}

Result reduce(const ReducedOptions& o, CDib& in) {
    const cv::Mat image = toMatrix(in);
    const cv::Size size = reducedSize(image.size(), o);
    cv::Mat copy = image;
    if (size != image.size()) {
        cv::resize(image, copy, size, 0, 0, cv::INTER_AREA);
    }
    // What the photograph says of the lens is about all of its sensor: it stays as it is.
    saveImage(copy, o.out, {.metadata = metadataFor(readPhotographFile(o.in), image, true)});
    return {.data = {{"image", {image.cols, image.rows}}, {"size", {copy.cols, copy.rows}}}};
}

Command reduced() {
    return imageCommand<ReducedOptions>(
        {.name = "reduced",
         .help = "Write a smaller copy of an image: for programs",
         .makes = Makes::Files,
         .example = {"IN"},
         .internal = true},
        [](CLI::App& parser, ReducedOptions& o) {
            addIn(parser, o);
            parser.add_option("-o,--file", o.out, "Image file to write")
                ->type_name("FILE")
                ->required();
            parser.add_option("--pixels", o.pixels, "Pixels that it may have")->check(wholeFrom(1));
            parser.add_option("--side", o.side, "Pixels that a side may have")
                ->check(wholeFrom(1, 65535));
            addJson(parser, o);
        },
        reduce);
}

} // namespace

std::vector<Command> previewCommands() {
    return {reduced()};
}

} // namespace host
