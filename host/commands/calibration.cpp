#include "host/calibrating.h"
#include "host/calibration_text.h"
#include "host/commands.h"
#include "host/options.h"

#include <tarvix/tarvix.h>

namespace host {

namespace {

const std::vector<StoredMatrix> files = {
    {"cam.xml", "CameraMatrix", "camera matrix: fx 0 cx / 0 fy cy (pixels)"},
    {"dist.xml", "DistCoeffs", "distortion: k1 k2 p1 p2 k3"},
};

Command calib() {
    return command<CalibrationOptions>(
        {.name = "calib",
         .help = "Calibrate a camera from photographs of a chessboard and print what was found",
         .takes = Takes::ImageSet,
         .makes = Makes::Files,
         .text = [](const Json& data) { return matricesAsText(data, files) + cameraAsText(data); },
         .example = {"IN", "IN", "--board", "9x6"}},
        [](CLI::App& parser, CalibrationOptions& o) {
            parser
                .add_option("PHOTOS", o.photos,
                            "Photographs, or folders of them; those without a board are left out")
                ->required();
            addCalibrationOptions(parser, o);
        },
        [](const CalibrationOptions& o, Output& output) {
            return calibrateCamera(o, files, output);
        });
}

// The calibration that the page's entry uses, made before it.
std::vector<std::string> galleryCalibration() {
    std::vector<std::string> words{"calib"};
    for (const char* n :
         {"01", "02", "03", "04", "05", "06", "07", "08", "09", "11", "12", "13", "14"}) {
        words.push_back("PHOTOS/left" + std::string(n) + ".jpg");
    }
    words.insert(words.end(), {"--board", "9x6", "-o", "OUT/calibration"});
    return words;
}

Command undistort() {
    struct Options : CommonOptions {
        std::string folder;
    };
    return imageCommand<Options>(
        {.name = "undistort",
         .help = "Remove lens distortion with a calibration made by calib",
         .makes = Makes::Image,
         .example = {"IN", "--calib", "SET"},
         .gallery = {{.title = "Undistortion",
                      .text = "A camera calibrated from thirteen photographs of a board; the lens "
                              "bends the board's edges, afterwards they are straight.",
                      .command = {"undistort", "PHOTOS/left12.jpg", "-o", "OUT/undistorted.png",
                                  "--calib", "OUT/calibration"},
                      .before = {"PHOTOS/left12.jpg"},
                      .after = {"OUT/undistorted.png"},
                      .prepare = {galleryCalibration()}}}},
        [](CLI::App& parser, Options& o) {
            addInOut(parser, o);
            addGray(parser, o);
            addCalibrationFolder(parser, o.folder);
        },
        [](const Options& o, CDib& in) {
            return Result{.image = take(tx_UseCalib(in, o.folder.c_str(), nullptr, nullptr),
                                        "no calibration in '" + o.folder +
                                            "': cam.xml and dist.xml are needed (tarvix calib)")};
        });
}

} // namespace

std::vector<Command> calibrationCommands() {
    return {calib(), undistort()};
}

} // namespace host
