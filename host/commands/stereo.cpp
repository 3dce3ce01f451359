#include "assist/fixed_number.h"
#include "host/calibrating.h"
#include "host/calibration_folder.h"
#include "host/calibration_text.h"
#include "host/commands.h"
#include "host/drawing.h"
#include "host/failure.h"
#include "host/numbers.h"
#include "host/options.h"
#include "host/pair_calibration.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>
#include <cmath>
#include <optional>
#include <sstream>

namespace host {

namespace {

const std::vector<StoredMatrix> files = {
    {"M1.xml", "MM1", "camera matrix 1"},      {"D1.xml", "D1", "distortion 1"},
    {"R1.xml", "R1", "rectifying rotation 1"}, {"P1.xml", "P1", "projection 1"},
    {"M2.xml", "MM2", "camera matrix 2"},      {"D2.xml", "D2", "distortion 2"},
    {"R2.xml", "R2", "rectifying rotation 2"}, {"P2.xml", "P2", "projection 2"},
    {"Q.xml", "Q", "disparity to depth"},
};

constexpr double mostRows = 5; // pixels between marks of one point, on a fair calibration

constexpr double smallestSquare = 1e-6; // in whatever unit: an atom's to a country's
constexpr double largestSquare = 1e6;

void addPairOptions(CLI::App& parser, PairOptions& o) {
    parser
        .add_option(
            "PHOTOS", o.photos,
            "Photographs as left right left right ..., one folder with pairs left*, right*, or "
            "the left and the right folder")
        ->type_name("IMAGE");
    parser.add_option("--left", o.left, "The left photographs, in order, or their folder, by name")
        ->type_name("IMAGE");
    parser
        .add_option("--right", o.right, "The right photographs, in the same order, or their folder")
        ->type_name("IMAGE");
    addCalibrationOptions(parser, o);
    CLI::Option* square = parser.add_option(
        "--square", o.square, "Edge of a square, in the unit wanted for measured points");
    square->check(numberFrom(smallestSquare, largestSquare))->capture_default_str();
    parser
        .add_flag("--metric", o.metric,
                  "Estimate each camera first, so that measured points have the unit of "
                  "--square; without it, the module's own calibration, which has no unit")
        ->needs(square);
    parser.add_flag("--refine", o.refine,
                    "With --metric: estimate the cameras again together with how they stand");
}

Command stereoCalib() {
    return command<PairOptions>(
        {.name = "stereo-calib",
         .help = "Calibrate and rectify a camera pair from photographs of a chessboard",
         .takes = Takes::ImageSet,
         .makes = Makes::Files,
         .text = [](const Json& data) { return matricesAsText(data, files) + pairAsText(data); },
         .example = {"IN", "IN", "--board", "9x6"}},
        addPairOptions,
        [](const PairOptions& o, Output& output) { return calibratePair(o, files, output); });
}

// The calibration that the page's entry uses, made before it.
std::vector<std::string> galleryCalibration() {
    std::vector<std::string> words{"stereo-calib"};
    for (const char* n :
         {"01", "02", "03", "04", "05", "06", "07", "08", "09", "11", "12", "13", "14"}) {
        words.push_back("PHOTOS/left" + std::string(n) + ".jpg");
        words.push_back("PHOTOS/right" + std::string(n) + ".jpg");
    }
    words.insert(words.end(), {"--board", "9x6", "--square", "25", "--metric", "-o", "OUT/stereo",
                               "--report", "OUT/stereo.html"});
    return words;
}

cv::Mat rectified(CDib& image, const std::string& folder, int camera) {
    const std::string n = camera == 1 ? "1" : "2";
    return take(tx_UseStereoCalib(image, folder.c_str(), camera),
                "no calibration in '" + folder + "': M" + n + ".xml, D" + n + ".xml, R" + n +
                    ".xml and P" + n + ".xml are needed (tarvix stereo-calib)");
}

Command rectify() {
    struct Options : CommonOptions {
        std::string folder;
        int camera = 1;
        std::optional<std::string> right;
    };
    return imageCommand<Options>(
        {.name = "rectify",
         .help = "Warp an image of a calibrated pair so that matching points lie in one row",
         .makes = Makes::Image,
         .example = {"IN", "--calib", "SET"},
         .gallery = {{.title = "A rectified pair",
                      .text = "Two cameras' images of one moment, warped so that matching "
                              "points lie in one row. What depth and measurements start from.",
                      .lookFor = "Each coloured line meets the same points of the board in both "
                                 "images. The row error says how well, in pixels.",
                      .command = {"rectify", "PHOTOS/left01.jpg", "--right", "PHOTOS/right01.jpg",
                                  "-o", "OUT/rectified.png", "--calib", "OUT/stereo"},
                      .before = {"PHOTOS/left01.jpg", "PHOTOS/right01.jpg"},
                      .after = {"OUT/rectified.png"},
                      .prepare = {galleryCalibration()},
                      .pages = {"OUT/stereo.html"}}}},
        [](CLI::App& parser, Options& o) {
            addInOut(parser, o);
            addGray(parser, o);
            addCalibrationFolder(parser, o.folder);
            CLI::Option* camera =
                parser.add_option("--camera", o.camera, "Camera of the image: 1 left, 2 right")
                    ->check(wholeFrom(1, 2))
                    ->capture_default_str();
            parser
                .add_option(
                    "--right", o.right,
                    "The right camera's image: IN is the left one, and both are written side by "
                    "side with lines across")
                ->type_name("IMAGE")
                ->excludes(camera);
        },
        [](const Options& o, CDib& in) {
            Result result{.image = rectified(in, o.folder, o.camera)};
            if (o.right) {
                const Bitmap right = loadImage(*o.right, o.gray);
                result.image = sideBySide(result.image, rectified(*right, o.folder, 2));
            }
            return result;
        });
}

std::string pointAsText(const Json& point) {
    std::ostringstream text;
    text << point.at("x").get<double>() << ' ' << point.at("y").get<double>() << ' '
         << point.at("z").get<double>();
    const auto unit = point.at("unit").get<std::string>();
    text << (unit.empty() ? "" : " ") << unit << '\n';
    return text.str();
}

// The page's entry measures points of the pair that was rectified before it.
std::vector<std::string> galleryPoint(const char* left, const char* right) {
    return {"measure", "--calib", "OUT/stereo", "--p1", left, "--p2", right, "--unit", "mm"};
}

Command measure() {
    struct Options : CommonOptions {
        std::string folder, unit;
        Point p1{}, p2{};
    };
    return command<Options>(
        {.name = "measure",
         .help = "The point in space seen at two points of a rectified pair: x y z, lengths if "
                 "stereo-calib --metric made the calibration",
         .makes = Makes::Data,
         .text = pointAsText,
         .gallery = {{.title = "A length measured",
                      .text = "Where two corners of the board are in space: each is marked in both "
                              "images of the rectified pair above, whose calibration took the "
                              "squares as 25 mm.",
                      .lookFor = "Eight squares are between the two points, and sqrt(dx^2 + dy^2 + "
                                 "dz^2) is 200 mm, to a millimetre.",
                      .command = galleryPoint("525.1,86.0", "395.9,86.3"),
                      .before = {"OUT/rectified.png"},
                      .after = {},
                      .prepare = {galleryPoint("241.2,95.7", "129.2,95.6")}}}},
        [](CLI::App& parser, Options& o) {
            addCalibrationFolder(parser, o.folder);
            addPoint(parser, "--p1", o.p1, "The point x,y in one rectified image (pixels)")
                ->required();
            addPoint(parser, "--p2", o.p2, "The same point x,y in the other (pixels)")->required();
            parser.add_option("--unit", o.unit,
                              "Unit that --square had in stereo-calib --metric, for printing");
            addJson(parser, o, "Print one JSON object instead of a line of text");
        },
        [](const Options& o, Output&) {
            const auto pixel = [](const Point& p) {
                return FPoint2D{static_cast<float>(p[0]), static_cast<float>(p[1])};
            };
            FPoint2D p1 = pixel(o.p1);
            FPoint2D p2 = pixel(o.p2);
            FPoint3D out{};
            tx_Meas3D meas;
            if (meas.Init(o.folder.c_str()) == 0 || meas.CalcXYZ(p1, p2, out) == 0) {
                throw Failure("no usable Q.xml in '" + o.folder + "' (tarvix stereo-calib)");
            }
            const Metric metric = metricOf(o.folder);
            if (metric != Metric::Yes && !o.unit.empty()) {
                throw Failure("no unit '" + o.unit + "' here: " + notMetric(metric, o.folder));
            }
            // JSON has no infinity: a point at infinity prints null.
            Result result{.data = {{"unit", o.unit},
                                   {"metric", metric == Metric::Yes},
                                   {"x", out.x},
                                   {"y", out.y},
                                   {"z", out.z}}};
            if (metric != Metric::Yes) {
                result.warnings.push_back(notMetric(metric, o.folder));
            }
            if (!std::isfinite(out.x + out.y + out.z)) {
                result.warnings.emplace_back("the two points have the same x: what they show is at "
                                             "infinity");
            }
            if (const double rows = std::abs(o.p1[1] - o.p2[1]); rows > mostRows) {
                result.warnings.push_back("the rows of the two points are " +
                                          tarvix::fixedNumber(rows, 1) +
                                          " pixels apart; one point of space is seen in one row of "
                                          "both rectified images");
            }
            return result;
        });
}

} // namespace

std::vector<Command> stereoCommands() {
    return {stereoCalib(), rectify(), measure()};
}

} // namespace host
