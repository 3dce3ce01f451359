#include "host/application.h"
#include "host/arguments.h"
#include "host/commands.h"
#include "host/failure.h"
#include "host/pictures.h"
#include "host/print_json.h"
#include "platform/system/paths.h"

#include <tarvix/tarvix.h>

#include "platform/system/preview_window.h"
#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

namespace host {

namespace {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

// The module says nothing while it searches the photographs; a dot a second shows that it works.
class Progress {
public:
    explicit Progress(const std::string& what, bool quiet) : m_quiet(quiet) {
        if (!m_quiet) {
            std::cout << what << ' ' << std::flush;
            m_thread = std::thread([this] { tick(); });
        }
    }
    ~Progress() {
        if (!m_quiet) {
            {
                const std::lock_guard lock(m_mutex);
                m_done = true;
            }
            m_wake.notify_one();
            m_thread.join();
            const std::chrono::duration<double> took = std::chrono::steady_clock::now() - m_start;
            std::cout << ' ' << std::fixed << std::setprecision(1) << took.count() << " s\n"
                      << std::defaultfloat << std::flush;
        }
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void tick() {
        std::unique_lock lock(m_mutex);
        while (!m_wake.wait_for(lock, std::chrono::seconds(1), [this] { return m_done; })) {
            std::cout << '.' << std::flush;
        }
    }

    bool m_quiet;
    bool m_done = false;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::thread m_thread;
};

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

bool isPicture(const fs::path& path) {
    static const std::set<std::string> extensions{".jpg", ".jpeg", ".png", ".bmp",
                                                  ".tif", ".tiff", ".pgm", ".ppm"};
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return extensions.contains(extension);
}

// The pictures of a folder, by name.
std::vector<std::string> picturesIn(const std::string& folder) {
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(pathOf(folder))) {
        if (entry.is_regular_file() && isPicture(entry.path())) {
            files.push_back(nameOf(entry.path()));
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        throw Failure("no pictures in the folder '" + folder + "'");
    }
    return files;
}

bool isFolder(const std::string& path) {
    std::error_code ignored;
    return fs::is_directory(pathOf(path), ignored);
}

std::vector<std::string> expanded(const std::vector<std::string>& photos) {
    std::vector<std::string> files;
    for (const std::string& photo : photos) {
        if (isFolder(photo)) {
            const std::vector<std::string> inside = picturesIn(photo);
            files.insert(files.end(), inside.begin(), inside.end());
        } else {
            files.push_back(photo);
        }
    }
    return files;
}

// "x/left03.jpg" and "x/right03.jpg" are a pair.
std::vector<std::string> pairsIn(const std::string& folder) {
    std::vector<std::string> files;
    for (const std::string& file : picturesIn(folder)) {
        const fs::path left = pathOf(file);
        std::string name = nameOf(left.filename());
        const std::size_t at = name.find("left");
        if (at == std::string::npos) {
            continue;
        }
        const fs::path right =
            fs::path(left).replace_filename(pathOf(name.replace(at, 4, "right")));
        std::error_code ignored;
        if (fs::exists(right, ignored)) {
            files.push_back(file);
            files.push_back(nameOf(right));
        }
    }
    if (files.empty()) {
        throw Failure("no pairs named left..., right... in the folder '" + folder + "'");
    }
    return files;
}

void checkFiles(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        std::error_code ignored;
        if (!fs::exists(pathOf(file), ignored)) {
            throw Failure("no such file: '" + file + "'");
        }
    }
}

void makeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(pathOf(folder), error);
    if (error) {
        throw Failure("cannot make the folder '" + folder + "': " + error.message());
    }
}

// Runs a calibration export on the files, with progress and preview. When it fails silently, a
// board was not seen: the chessboard export is asked in which files.
template <class Export>
void runCalibration(const CalibrationOptions& o, const std::vector<std::string>& files,
                    Export&& run) {
    checkFiles(files);
    makeFolder(o.folder);
    CStringArray list;
    for (const std::string& file : files) {
        list.Add(file.c_str());
    }
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
        const Picture picture = loadPicture(file, false);
        CString corners;
        if (Picture(tx_FindChessboard(*picture, o.board[0], o.board[1], corners)) == nullptr) {
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
        const std::vector<std::string> files = expanded(o->photos);
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
        checkFiles(files);
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
        const Picture in = loadPicture(o->in, o->gray);
        const Picture out = take(tx_UseCalib(*in, o->folder.c_str(), nullptr, nullptr),
                                 "no calibration in '" + o->folder +
                                     "': cam.xml and dist.xml are needed (tarvix calib)");
        savePicture(*out, o->out);
    });
}

Picture rectified(CDib& picture, const std::string& folder, int camera) {
    const std::string n = camera == 1 ? "1" : "2";
    return take(tx_UseStereoCalib(picture, folder.c_str(), camera),
                "no calibration in '" + folder + "': M" + n + ".xml, D" + n + ".xml, R" + n +
                    ".xml and P" + n + ".xml are needed (tarvix stereo-calib)");
}

// Both pictures beside each other, with lines across that show whether rows match.
cv::Mat sideBySide(const cv::Mat& left, const cv::Mat& right) {
    cv::Mat both(std::max(left.rows, right.rows), left.cols + right.cols, CV_8UC3,
                 cv::Scalar::all(0));
    const auto put = [&](const cv::Mat& picture, int x) {
        cv::Mat colour = picture;
        if (picture.channels() == 1) {
            cv::cvtColor(picture, colour, cv::COLOR_GRAY2BGR);
        }
        colour.copyTo(both(cv::Rect(x, 0, picture.cols, picture.rows)));
    };
    put(left, 0);
    put(right, left.cols);
    const int step = std::max(both.rows / 16, 1);
    for (int y = step; y < both.rows; y += step) {
        cv::line(both, {0, y}, {both.cols - 1, y},
                 y / step % 2 == 0 ? cv::Scalar(80, 220, 80) : cv::Scalar(60, 160, 255));
    }
    return both;
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
        const Picture in = loadPicture(o->in, o->gray);
        const Picture first = rectified(*in, o->folder, o->camera);
        if (right->empty()) {
            savePicture(*first, o->out);
            return;
        }
        const Picture second = rectified(*loadPicture(o->right, o->gray), o->folder, 2);
        saveMatrix(sideBySide(toMatrix(*first), toMatrix(*second)), o->out);
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
