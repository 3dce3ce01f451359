#include "host/application.h"
#include "host/arguments.h"
#include "host/commands.h"
#include "host/drawing.h"
#include "host/failure.h"
#include "host/images.h"
#include "host/photographs.h"
#include "host/print_json.h"
#include "host/progress.h"
#include "host/saving.h"
#include "platform/system/paths.h"
#include "platform/system/preview_window.h"

#include <tarvix/tarvix.h>

#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>

namespace host {

namespace {

using tarvix::nameOf;
using tarvix::pathOf;

// What both calibrations take.
struct CalibrationOptions {
    std::vector<std::string> photos;
    std::string folder;
    std::array<int, 2> board{};
    bool preview = false, json = false;
};

void addCalibrationOptions(CLI::App& command, CalibrationOptions& o) {
    addBoard(command, o.board);
    command
        .add_option("-o,--folder", o.folder,
                    "Folder for the calibration files; made when missing, old files replaced")
        ->required();
    command.add_flag("--preview", o.preview, "Show each photograph with its corners in a window");
    command.add_flag("--json", o.json, "Print one JSON object instead of lines of text");
}

// Runs a calibration export on the files, with progress and preview. When it fails silently, a
// board was not seen: the chessboard export is asked in which files.
template <class Export>
void runCalibration(const CalibrationOptions& o, const std::vector<std::string>& files,
                    Export&& run) {
    requireFiles(files);
    makeFolder(o.folder);
    CStringArray list;
    addTo(list, files);
    std::optional<PreviewWindow> window;
    if (o.preview) {
        window.emplace("Tarvix calibration", 800, 600);
    }
    const std::string size = std::to_string(o.board[0]) + " x " + std::to_string(o.board[1]);
    int done = 0;
    {
        const Progress progress("calibrating from " + std::to_string(files.size()) +
                                    " photographs, board " + size,
                                o.json);
        done = std::forward<Export>(run)(list, window ? window->handle() : nullptr);
    }
    if (done != 0) {
        return;
    }
    if (application().messageShown()) {
        throw Failure::alreadyShown();
    }
    std::string missing;
    std::size_t without = 0;
    for (const std::string& file : files) {
        const Bitmap image = loadImage(file, false);
        CString corners;
        if (Bitmap(tx_FindChessboard(*image, o.board[0], o.board[1], corners)) == nullptr) {
            missing += (missing.empty() ? "" : ", ") + ("'" + file + "'");
            ++without;
        }
    }
    if (without > 1 && without == files.size()) {
        throw Failure("no board of " + size + " inner corners in any of the photographs");
    }
    throw Failure(missing.empty() ? "the board of " + size +
                                        " inner corners was not found in one of the photographs"
                                  : "no board of " + size + " inner corners in " + missing);
}

struct StoredMatrix {
    const char* file;
    const char* key;
    const char* meaning;
};

cv::Mat readStored(const std::string& folder, const StoredMatrix& stored) {
    const std::string path = nameOf(pathOf(folder) / stored.file);
    const cv::FileStorage storage(path, cv::FileStorage::READ);
    cv::Mat matrix;
    cv::read(storage[stored.key], matrix, cv::Mat());
    if (matrix.empty()) {
        throw Failure("cannot read '" + path + "' back");
    }
    return matrix;
}

void printMatrices(const std::string& folder, const std::vector<StoredMatrix>& set, bool json) {
    nlohmann::json all = nlohmann::json::object();
    for (const StoredMatrix& stored : set) {
        const cv::Mat_<double> m = readStored(folder, stored);
        if (!json) {
            std::cout << stored.file << "  " << stored.meaning << '\n';
        }
        nlohmann::json rows = nlohmann::json::array();
        for (int r = 0; r < m.rows; ++r) {
            nlohmann::json row = nlohmann::json::array();
            for (int c = 0; c < m.cols; ++c) {
                row.push_back(m(r, c));
                if (!json) {
                    std::cout << std::setw(14) << std::setprecision(6) << m(r, c);
                }
            }
            rows.push_back(std::move(row));
            if (!json) {
                std::cout << '\n';
            }
        }
        all[stored.key] = std::move(rows);
    }
    if (json) {
        printJson(all);
    }
}

void addCalib(CLI::App& app) {
    auto o = std::make_shared<CalibrationOptions>();
    CLI::App* command = app.add_subcommand(
        "calib", "Calibrate a camera from photographs of a chessboard and print what was found");
    command
        ->add_option("PHOTOS", o->photos,
                     "Photographs, or folders of them; the board must be seen in each")
        ->required();
    addCalibrationOptions(*command, *o);
    command->callback([o] {
        const std::vector<std::string> files = photographsOf(o->photos);
        runCalibration(*o, files, [&](CStringArray& list, HWND window) {
            return tx_Calib(list, o->folder.c_str(), o->board[0], o->board[1], window);
        });
        printMatrices(o->folder,
                      {{"cam.xml", "CameraMatrix", "camera matrix: fx 0 cx / 0 fy cy (pixels)"},
                       {"dist.xml", "DistCoeffs", "distortion: k1 k2 p1 p2 k3"}},
                      o->json);
    });
}

void addStereoCalib(CLI::App& app) {
    struct Options : CalibrationOptions {
        std::vector<std::string> left, right;
        float square = 1;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "stereo-calib", "Calibrate and rectify a camera pair from photographs of a chessboard");
    command->add_option(
        "PHOTOS", o->photos,
        "Photographs as left right left right ..., or one folder with pairs left*, right*");
    command->add_option("--left", o->left, "The left photographs, in order");
    command->add_option("--right", o->right, "The right photographs, in the same order");
    addCalibrationOptions(*command, *o);
    command
        ->add_option("--square", o->square,
                     "Edge of a square, in the unit wanted for measured points")
        ->capture_default_str();
    command->callback([o] {
        std::vector<std::string> files;
        if (!o->left.empty() || !o->right.empty()) {
            if (o->left.size() != o->right.size() || !o->photos.empty()) {
                throw CLI::ValidationError("give as many --left as --right photographs");
            }
            for (std::size_t i = 0; i < o->left.size(); ++i) {
                files.push_back(o->left[i]);
                files.push_back(o->right[i]);
            }
        } else {
            files =
                o->photos.size() == 1 && isFolder(o->photos[0]) ? pairsIn(o->photos[0]) : o->photos;
        }
        requireFiles(files);
        if (files.empty() || files.size() % 2 != 0) {
            throw CLI::ValidationError("the photographs come in pairs: left right left right ...");
        }
        runCalibration(*o, files, [&](CStringArray& list, HWND window) {
            return tx_StereoCalib(list, o->folder.c_str(), o->board[0], o->board[1], o->square,
                                  window);
        });
        printMatrices(o->folder,
                      {{"M1.xml", "MM1", "camera matrix 1 (not estimated)"},
                       {"D1.xml", "D1", "distortion 1 (not estimated)"},
                       {"R1.xml", "R1", "rectifying rotation 1"},
                       {"P1.xml", "P1", "projection 1"},
                       {"M2.xml", "MM2", "camera matrix 2 (not estimated)"},
                       {"D2.xml", "D2", "distortion 2 (not estimated)"},
                       {"R2.xml", "R2", "rectifying rotation 2"},
                       {"P2.xml", "P2", "projection 2"},
                       {"Q.xml", "Q", "disparity to depth"}},
                      o->json);
    });
}

CLI::Option* addFolder(CLI::App& command, std::string& folder) {
    return command.add_option("--calib", folder, "Folder of the calibration files")->required();
}

void addUndistort(CLI::App& app) {
    struct Options {
        std::string in, out, folder;
        bool gray = false;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("undistort", "Remove lens distortion with a calibration made by calib");
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    addFolder(*command, o->folder);
    command->callback([o] {
        const Bitmap in = loadImage(o->in, o->gray);
        const cv::Mat out = take(tx_UseCalib(*in, o->folder.c_str(), nullptr, nullptr),
                                 "no calibration in '" + o->folder +
                                     "': cam.xml and dist.xml are needed (tarvix calib)");
        saveImage(out, o->out);
    });
}

cv::Mat rectified(CDib& image, const std::string& folder, int camera) {
    const std::string n = camera == 1 ? "1" : "2";
    return take(tx_UseStereoCalib(image, folder.c_str(), camera),
                "no calibration in '" + folder + "': M" + n + ".xml, D" + n + ".xml, R" + n +
                    ".xml and P" + n + ".xml are needed (tarvix stereo-calib)");
}

void addRectify(CLI::App& app) {
    struct Options {
        std::string in, out, right, folder;
        int camera = 1;
        bool gray = false;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "rectify", "Warp a picture of a calibrated pair so that matching points lie in one row");
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    addFolder(*command, o->folder);
    CLI::Option* camera =
        command->add_option("--camera", o->camera, "Camera of the picture: 1 left, 2 right")
            ->capture_default_str();
    const CLI::Option* right =
        command
            ->add_option(
                "--right", o->right,
                "The right camera's picture: IN is the left one, and both are written side by "
                "side with lines across")
            ->excludes(camera);
    command->callback([o, right] {
        const Bitmap in = loadImage(o->in, o->gray);
        const cv::Mat first = rectified(*in, o->folder, o->camera);
        if (right->empty()) {
            saveImage(first, o->out);
            return;
        }
        const cv::Mat second = rectified(*loadImage(o->right, o->gray), o->folder, 2);
        saveImage(sideBySide(first, second), o->out);
    });
}

void addMeasure(CLI::App& app) {
    struct Options {
        std::string folder, p1, p2, unit;
        bool json = false;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "measure", "The point in space seen at two points of a rectified pair: x y z (stereo-calib "
                   "alone gives no metric space; docs/calibration.md)");
    addFolder(*command, o->folder);
    command->add_option("--p1", o->p1, "The point x,y in one rectified picture (pixels)")
        ->required();
    command->add_option("--p2", o->p2, "The same point x,y in the other (pixels)")->required();
    command->add_option("--unit", o->unit, "Unit that --square had in stereo-calib, for printing");
    command->add_flag("--json", o->json, "Print one JSON object instead of a line of text");
    command->callback([o] {
        const auto point = [](const std::string& text) {
            const auto [x, y] = parsePoint(text);
            return FPoint2D{static_cast<float>(x), static_cast<float>(y)};
        };
        FPoint2D p1 = point(o->p1);
        FPoint2D p2 = point(o->p2);
        FPoint3D out{};
        tx_Meas3D meas;
        if (meas.Init(o->folder.c_str()) == 0 || meas.CalcXYZ(p1, p2, out) == 0) {
            throw Failure("no usable Q.xml in '" + o->folder + "' (tarvix stereo-calib)");
        }
        if (o->json) {
            // JSON has no infinity: a point at infinity prints null.
            printJson(nlohmann::json{{"x", out.x}, {"y", out.y}, {"z", out.z}, {"unit", o->unit}});
            return;
        }
        std::cout << out.x << ' ' << out.y << ' ' << out.z << (o->unit.empty() ? "" : " ")
                  << o->unit << '\n';
    });
}

} // namespace

void addCalibCommands(CLI::App& app) {
    addCalib(app);
    addUndistort(app);
    addStereoCalib(app);
    addRectify(app);
    addMeasure(app);
}

std::vector<GalleryEntry> calibGallery() {
    std::vector<std::string> calib{"calib"};
    std::vector<std::string> stereo{"stereo-calib"};
    for (const char* n :
         {"01", "02", "03", "04", "05", "06", "07", "08", "09", "11", "12", "13", "14"}) {
        calib.push_back("PHOTOS/left" + std::string(n) + ".jpg");
        stereo.push_back("PHOTOS/left" + std::string(n) + ".jpg");
        stereo.push_back("PHOTOS/right" + std::string(n) + ".jpg");
    }
    calib.insert(calib.end(), {"--board", "9x6", "-o", "OUT/calibration"});
    stereo.insert(stereo.end(), {"--board", "9x6", "--square", "25", "-o", "OUT/stereo"});
    return {
        {"Undistortion",
         "A camera calibrated from thirteen photographs of a board; the lens bends the board's "
         "edges, afterwards they are straight.",
         {"undistort", "PHOTOS/left12.jpg", "-o", "OUT/undistorted.png", "--calib",
          "OUT/calibration"},
         {"PHOTOS/left12.jpg"},
         {"OUT/undistorted.png"},
         {calib}},
        {"A rectified pair",
         "Two cameras' pictures of one moment, warped so that matching points lie in one row.",
         {"rectify", "PHOTOS/left01.jpg", "--right", "PHOTOS/right01.jpg", "-o",
          "OUT/rectified.png", "--calib", "OUT/stereo"},
         {"PHOTOS/left01.jpg", "PHOTOS/right01.jpg"},
         {"OUT/rectified.png"},
         {stereo}},
    };
}

} // namespace host
