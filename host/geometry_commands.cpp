#include "host/arguments.h"
#include "host/commands.h"
#include "host/drawing.h"
#include "host/failure.h"
#include "host/images.h"
#include "host/print_json.h"
#include "host/saving.h"

#include <tarvix/tarvix.h>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>

namespace host {

namespace {

// warp and mask take the same arguments.
void addWarp(CLI::App& app, const std::string& name, const std::string& help,
             CDib* (*operation)(CDib&, double*, double*)) {
    struct Options {
        std::string in, out;
        bool gray = false;
        std::array<double, 8> from{}, to{};
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(name, help);
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    addCorners(*command, "--from", o->from, "Four points in the picture")->required();
    addCorners(*command, "--to", o->to, "Where they go, in the same order")->required();
    command->callback([o, operation] {
        const Bitmap in = loadImage(o->in, o->gray);
        const cv::Mat out = take(operation(*in, o->from.data(), o->to.data()),
                                 "the corners give no canvas that a bitmap can hold");
        saveImage(out, o->out);
    });
}

void saveOverlay(const cv::Mat& image, const std::array<double, 8>& corners,
                 const cv::Scalar& colour, const std::string& path) {
    if (!canBeDrawn(corners)) {
        throw Failure("the corners are too far out to be drawn on '" + path + "'");
    }
    saveImage(withCorners(image, corners, colour), path);
}

void printPose(const std::array<double, 12>& result, bool json) {
    if (json) {
        nlohmann::ordered_json out;
        out["pitch_deg"] = result[8];
        out["yaw_deg"] = result[9];
        out["roll_deg"] = result[10];
        out["focal_mm"] = result[11];
        for (std::size_t i = 0; i < 8; i += 2) {
            out["corners"].push_back({result[i], result[i + 1]});
        }
        printJson(out);
        return;
    }
    std::cout << std::fixed << std::setprecision(2) << "pitch " << result[8] << ", yaw "
              << result[9] << ", roll " << result[10] << " degrees; focal length " << result[11]
              << " mm\ncorrected corners";
    for (std::size_t i = 0; i < 8; i += 2) {
        std::cout << ' ' << result[i] << ',' << result[i + 1];
    }
    std::cout << '\n';
}

void addConverge(CLI::App& app) {
    struct Options {
        std::string in, out, offset = "0,0";
        std::vector<std::string> overlay;
        bool gray = false, pitchOnly = false, json = false;
        std::array<double, 8> corners{};
        double focal = 0, scale = 1;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "converge", "Straighten a photographed rectangle from its four marked corners");
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    addCorners(*command, "--corners", o->corners,
               "The marked corners, e.g. clockwise from the top left")
        ->required();
    command
        ->add_option("--focal", o->focal,
                     "Focal length (mm, 35-mm equivalent); 0 if unknown, then it is searched")
        ->capture_default_str();
    command->add_option("--scale", o->scale, "Extra size factor")->capture_default_str();
    command->add_option("--offset", o->offset, "Shift x,y of the corrected corners (pixels)")
        ->capture_default_str();
    command->add_flag("--pitch-only", o->pitchOnly, "Straighten the verticals only");
    command->add_flag("--json", o->json, "Print what was found as JSON");
    command
        ->add_option("--overlay", o->overlay,
                     "Two more picture files: the marked corners drawn on the photograph, the "
                     "corrected ones on the result")
        ->type_name("MARKED CORRECTED")
        ->expected(2);
    command->callback([o] {
        const auto [offsetX, offsetY] = parsePoint(o->offset);
        const Bitmap in = loadImage(o->in, o->gray);
        std::array<double, 12> result{};
        const cv::Mat out = take(tx_Converge(*in, o->corners.data(), o->focal, o->scale, offsetX,
                                             offsetY, o->pitchOnly ? 1 : 0, result.data()),
                                 "no bitmap could be made for the corrected picture");
        saveImage(out, o->out);
        printPose(result, o->json);
        if (!o->overlay.empty()) {
            std::array<double, 8> corrected{};
            std::copy_n(result.begin(), corrected.size(), corrected.begin());
            saveOverlay(toMatrix(*in), o->corners, {40, 40, 235}, o->overlay[0]);
            saveOverlay(out, corrected, {60, 190, 30}, o->overlay[1]);
        }
    });
}

void addConvergeScaled(CLI::App& app) {
    struct Options {
        std::string in, out;
        bool gray = false;
        std::array<double, 8> from{}, to{};
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "converge-scaled", "Apply a correction whose corners are known, without a search");
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    addCorners(*command, "--from", o->from, "The marked corners")->required();
    addCorners(*command, "--to", o->to, "The corrected corners, in the same order")->required();
    command->callback([o] {
        const Bitmap in = loadImage(o->in, o->gray);
        const cv::Mat out = take(tx_ConvergeScaled(*in, o->from.data(), o->to.data()),
                                 "no bitmap could be made for the corrected picture");
        saveImage(out, o->out);
    });
}

void addAlign(CLI::App& app) {
    struct Options {
        std::string in, reference, out;
        std::array<double, 8> from{}, to{};
        std::array<int, 3> fill{0, 0, 0};
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("align", "Draw a picture into the frame of another one");
    command->add_option("IN", o->in, "Picture file to draw")->required();
    command->add_option("REFERENCE", o->reference, "Picture file that gives the frame")->required();
    command->add_option("-o,--out", o->out, "Picture file to write")->required();
    addCorners(*command, "--from", o->from, "Four points in the picture")->required();
    addCorners(*command, "--to", o->to, "The same points in the reference")->required();
    command->add_option("--fill", o->fill, "Colour outside: blue green red (0 to 255)")
        ->check(CLI::Range(0, 255))
        ->capture_default_str();
    command->callback([o] {
        const Bitmap in = loadImage(o->in, false);
        const Bitmap reference = loadImage(o->reference, false);
        const cv::Mat out = take(tx_PerspAlign(*in, *reference, o->from.data(), o->to.data(),
                                               o->fill[0], o->fill[1], o->fill[2]),
                                 "no bitmap could be made for the aligned picture");
        saveImage(out, o->out);
    });
}

} // namespace

void addGeometryCommands(CLI::App& app) {
    addConverge(app);
    addConvergeScaled(app);
    addAlign(app);
    addWarp(app, "warp", "Warp four points of a picture onto four others, on a fitted canvas",
            tx_Projective);
    addWarp(app, "mask", "The coverage mask of 'warp' for the same arguments",
            tx_GetProjectiveMask);
}

std::vector<GalleryEntry> geometryGallery() {
    return {
        {"A facade straightened",
         "The outline of two storeys, marked on the photograph; the focal length is not known. "
         "Pitch, yaw, roll and focal length are searched.",
         {"converge", "PHOTOS/building.jpg", "-o", "OUT/facade.png", "--corners", "193.5,302",
          "778,52", "797,299", "192.5,422", "--scale", "1.9", "--offset", "-75,30", "--overlay",
          "OUT/facade-marked.png", "OUT/facade-corrected.png"},
         {"OUT/facade-marked.png"},
         {"OUT/facade-corrected.png"},
         {}},
        {"A sheet straightened",
         "The border of a printed grid on a page that is not quite flat.",
         {"converge", "PHOTOS/sudoku.png", "-o", "OUT/sheet.png", "--corners", "73,85.5",
          "491,69.5", "520,520.5", "35.5,515.5", "--overlay", "OUT/sheet-marked.png",
          "OUT/sheet-corrected.png"},
         {"OUT/sheet-marked.png"},
         {"OUT/sheet-corrected.png"},
         {}},
        {"The same correction again",
         "The corners found above, applied to the grey picture without a search.",
         {"converge-scaled", "PHOTOS/sudoku.png", "-o", "OUT/sheet-again.png", "--gray", "--from",
          "73,85.5", "491,69.5", "520,520.5", "35.5,515.5", "--to", "73.43,92.41", "490.02,92.51",
          "489.96,513.88", "73.33,513.80"},
         {"PHOTOS/sudoku.png"},
         {"OUT/sheet-again.png"},
         {}},
        {"Projective warp",
         "Four marked corners of a printed grid become a square.",
         {"warp", "PHOTOS/sudoku.png", "-o", "OUT/warp.png", "--from", "73,88", "492,72", "521,525",
          "35,518", "--to", "0,0", "450,0", "450,450", "0,450"},
         {"PHOTOS/sudoku.png"},
         {"OUT/warp.png"},
         {}},
        {"Coverage mask",
         "Which pixels of its canvas a warped photograph covers; here its corners go to a kite.",
         {"mask", "PHOTOS/home.jpg", "-o", "OUT/mask.png", "--from", "0,0", "512,0", "512,384",
          "0,384", "--to", "90,0", "470,60", "400,330", "0,250"},
         {"OUT/mask-warp.png"},
         {"OUT/mask.png"},
         {{"warp", "PHOTOS/home.jpg", "-o", "OUT/mask-warp.png", "--from", "0,0", "512,0",
           "512,384", "0,384", "--to", "90,0", "470,60", "400,330", "0,250"}}},
        {"Perspective alignment",
         "One photograph of a painted wall drawn into the frame of another, by four points.",
         {"align", "PHOTOS/graf3.png", "PHOTOS/graf1.png", "-o", "OUT/align.png", "--from",
          "289.6,90.4", "565.1,197.6", "459.7,547.2", "164.2,497.3", "--to", "150,120", "650,100",
          "640,520", "140,540", "--fill", "90", "60", "30"},
         {"PHOTOS/graf3.png", "PHOTOS/graf1.png"},
         {"OUT/align.png"},
         {}},
    };
}

} // namespace host
