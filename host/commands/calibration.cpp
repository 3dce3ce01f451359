#include "host/calibrating.h"
#include "host/calibration_folder.h"
#include "host/calibration_text.h"
#include "host/camera_exchange.h"
#include "host/commands.h"
#include "host/numbers.h"
#include "host/options.h"
#include "host/printed_board.h"
#include "host/saving.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>

namespace host {

namespace {

const std::vector<StoredMatrix> files = {
    {"cam.xml", "CameraMatrix", "camera matrix: fx 0 cx / 0 fy cy (pixels)"},
    {"dist.xml", "DistCoeffs", "distortion: k1 k2 p1 p2 k3"},
};

Command calib() {
    return command<CameraOptions>(
        {.name = "calib",
         .help = "Calibrate a camera from photographs of a chessboard and print what was found",
         .takes = Takes::ImageSet,
         .makes = Makes::Files,
         .text = [](const Json& data) { return matricesAsText(data, files) + cameraAsText(data); },
         .example = {"IN", "IN", "--board", "9x6"}},
        [](CLI::App& parser, CameraOptions& o) {
            CLI::Option* photos = parser.add_option(
                "PHOTOS", o.photos,
                "Photographs, or folders of them; those without a board are left out");
            photos->type_name("IMAGE");
            addCalibrationOptions(parser, o);
            parser
                .add_option("--from-corners", o.records,
                            "Manifests of tarvix batch chessboard --for-calib, or a pattern, "
                            "instead of photographs")
                ->type_name("FILE")
                ->excludes(photos)
                ->excludes(parser.get_option("--preview"));
            parser
                .add_option("--export", o.exported,
                            "File for other tools, too: .yml for OpenCV, .yaml for ROS "
                            "(camera_info), .txt for COLMAP (a line of cameras.txt)")
                ->type_name("FILE");
        },
        [](const CameraOptions& o, Output& output) { return calibrateCamera(o, files, output); });
}

// The calibration that the page's entry uses, made before it.
std::vector<std::string> galleryCalibration() {
    std::vector<std::string> words{"calib"};
    for (const char* n :
         {"01", "02", "03", "04", "05", "06", "07", "08", "09", "11", "12", "13", "14"}) {
        words.push_back("PHOTOS/left" + std::string(n) + ".jpg");
    }
    words.insert(words.end(),
                 {"--board", "9x6", "-o", "OUT/calibration", "--report", "OUT/calibration.html"});
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
                              "bends the board's edges, afterwards they are straight. The report "
                              "has drawings of all that the calibration says.",
                      .lookFor = "The board's left edge becomes straight. An rms below 0.5 pixels "
                                 "is usual; the findings at the end say what the photographs lack.",
                      .command = {"undistort", "PHOTOS/left12.jpg", "-o", "OUT/undistorted.png",
                                  "--calib", "OUT/calibration"},
                      .before = {"PHOTOS/left12.jpg"},
                      .after = {"OUT/undistorted.png"},
                      .prepare = {galleryCalibration()},
                      .pages = {"OUT/calibration.html"}}}},
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

Command importCalib() {
    struct Options : CommonOptions {
        std::string file, folder;
    };
    return command<Options>(
        {.name = "import-calib",
         .help = "Make a calibration folder of a camera that OpenCV or ROS has stored as YAML",
         .makes = Makes::Files,
         .text = [](const Json& data) { return matricesAsText(data, files); }},
        [](CLI::App& parser, Options& o) {
            parser
                .add_option("FILE", o.file,
                            "YAML file with camera_matrix and distortion_coefficients")
                ->type_name("FILE")
                ->required();
            parser
                .add_option("-o,--folder", o.folder,
                            "Folder for the calibration files; made if missing, old files replaced")
                ->type_name("FOLDER")
                ->required();
            addJson(parser, o);
        },
        [](const Options& o, Output&) {
            const ExchangedCamera camera = readCameraFile(o.file);
            writeCamera(o.folder, camera.matrix, camera.distortion);
            return Result{.data = readMatrices(o.folder, files)};
        });
}

Command board() {
    struct Options : CommonOptions {
        Board board{};
        double square = 25;
        std::string file;
    };
    return command<Options>(
        {.name = "board",
         .help = "Make a chessboard to print in true size, with its sizes on it",
         .makes = Makes::Files,
         .text =
             [](const Json& data) {
                 return data.at("paper").get<std::string>() + ": " +
                        data.at("label").get<std::string>() + "\n";
             }},
        [](CLI::App& parser, Options& o) {
            addBoard(parser, o.board, smallestBoard);
            parser.add_option("--square", o.square, "Edge of a square, mm")
                ->check(numberAbove(0))
                ->capture_default_str();
            parser.add_option("-o,--out", o.file, "File to write: .pdf or .svg")
                ->type_name("FILE")
                ->required();
            addJson(parser, o);
        },
        [](const Options& o, Output&) {
            const PrintedBoard printed = layOutBoard(o.board, o.square);
            saveText(boardAsFile(printed, o.file), o.file);
            Result result{.data = {{"paper", printed.paper}, {"label", printed.label}}};
            if (o.board[0] % 2 == o.board[1] % 2) {
                result.warnings.emplace_back(
                    "the board looks the same upside down, so the two photographs of a pair may "
                    "disagree about its first corner; take one odd and one even number");
            }
            return result;
        });
}

} // namespace

std::vector<Command> calibrationCommands() {
    return {calib(), undistort(), importCalib(), board()};
}

} // namespace host
