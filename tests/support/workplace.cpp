#include "tests/support/exports.h"
#include "tests/support/images.h"
#include "tests/support/matrix_files.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>

namespace test {

namespace {

namespace fs = std::filesystem;

// A board of squares of 1 with a white margin of 1, seen by a camera with this focal length.
cv::Mat boardView(cv::Size size, double focal, const cv::Vec3d& rotation,
                  const cv::Vec3d& translation) {
    constexpr int square = 24; // pixels of the flat board
    constexpr int columns = Workplace::boardWidth + 1;
    constexpr int rows = Workplace::boardHeight + 1;
    cv::Mat flat((rows + 2) * square, (columns + 2) * square, CV_8UC1, cv::Scalar(225));
    for (int i = 0; i < rows; ++i) {
        for (int j = i % 2; j < columns; j += 2) {
            flat({(j + 1) * square, (i + 1) * square, square, square}).setTo(40);
        }
    }
    cv::Matx33d r;
    cv::Rodrigues(rotation, r);
    const cv::Matx33d camera(focal, 0, size.width / 2.0, 0, focal, size.height / 2.0, 0, 0, 1);
    const cv::Matx33d pose(r(0, 0), r(0, 1), translation[0], r(1, 0), r(1, 1), translation[1],
                           r(2, 0), r(2, 1), translation[2]);
    const cv::Matx33d boardFromFlat(1.0 / square, 0, -columns / 2.0 - 1, 0, 1.0 / square,
                                    -rows / 2.0 - 1, 0, 0, 1);
    cv::Mat view;
    cv::warpPerspective(flat, view, cv::Mat(camera * pose * boardFromFlat), size, cv::INTER_LINEAR,
                        cv::BORDER_CONSTANT, cv::Scalar(120));
    return view;
}

} // namespace

Workplace::Workplace()
    : m_image(scene(96, 128)), m_face(128, 128, CV_8UC1),
      m_board(boardView({160, 120}, 160, {0.2, -0.3, 0.1}, {0, 0, 8})) {
    cv::rectangle(m_image, {10, 55, 105, 25}, cv::Scalar::all(250), cv::FILLED); // has lines
    for (const std::string name :
         {"GSTREAMER", "INTEL_MFX", "V4L2", "FIREWIRE", "UEYE", "GPHOTO2", "MSMF", "DSHOW"}) {
        m_noCameras.push_back(
            std::make_unique<ScopedEnvironment>("OPENCV_VIDEOIO_PRIORITY_" + name, "0"));
    }
    cv::resize(photo("messi5.jpg", true)({205, 75, 80, 80}), m_face, m_face.size());
    cv::cvtColor(m_board, m_board, cv::COLOR_GRAY2BGR);

    const cv::Mat whole = landscape({560, 300}, 12);
    for (int i = 0; i < 3; ++i) {
        m_windows.push_back(m_folder / ("window" + std::to_string(i) + ".bmp"));
        cv::imwrite(m_windows.back(), whole({i * 80, i * 10, 320, 240}));
    }
    for (int i = 0; i < 4; ++i) {
        const cv::Vec3d rotation(0.4 - 0.25 * i, i % 2 == 0 ? 0.4 : -0.35, 0.1 * i);
        for (int side = 0; side < 2; ++side) {
            m_boards.push_back(m_folder / ("board" + std::to_string(2 * i + side) + ".png"));
            cv::imwrite(m_boards.back(),
                        boardView({240, 180}, 220, rotation, {0.3 * i - 0.6 * side, -0.2, 9}));
        }
    }

    fs::create_directory(calibration());
    const auto inCalibration = [&](const std::string& file) { return calibration() + "/" + file; };
    const double f = 120;
    const cv::Mat camera = (cv::Mat_<double>(3, 3) << f, 0, 64, 0, f, 48, 0, 0, 1);
    const cv::Mat lens = (cv::Mat_<double>(1, 5) << -0.2, 0.05, 0.001, -0.001, 0);
    const cv::Mat projection = (cv::Mat_<double>(3, 4) << f, 0, 64, 0, 0, f, 48, 0, 0, 0, 1, 0);
    cv::Mat rotation;
    cv::Rodrigues(cv::Vec3d(0.01, -0.02, 0.015), rotation);
    store(inCalibration("cam.xml"), "CameraMatrix", camera);
    store(inCalibration("dist.xml"), "DistCoeffs", lens);
    for (const char* side : {"1", "2"}) {
        const std::string n = side;
        store(inCalibration("M" + n + ".xml"), "MM" + n, camera);
        store(inCalibration("D" + n + ".xml"), "D" + n, lens);
        store(inCalibration("R" + n + ".xml"), "R" + n, rotation);
        store(inCalibration("P" + n + ".xml"), "P" + n, projection);
    }
    store(inCalibration("Q.xml"), "Q",
          (cv::Mat_<double>(4, 4) << 1, 0, 0, -64, 0, 1, 0, -48, 0, 0, 0, f, 0, 0, 0.5, 0));
}

Arguments Workplace::usualFor(const Export& e, const std::string& outputs) const {
    const std::string name = e.name;
    Arguments a;
    a.image =
        dibOf(name == "tx_FindFaces" ? m_face : (name == "tx_FindChessboard" ? m_board : m_image));
    a.second = dibOf(m_image);
    a.from = {10, 12, 120, 5, 112, 88, 15, 90};
    a.to = {0, 0, 127, 0, 127, 95, 0, 95};
    a.reals = e.reals;
    a.ints = e.ints;
    const std::string out = m_folder / outputs;
    fs::create_directories(out);
    const bool isMono = name == "tx_Calib";
    const bool isStereo = name == "tx_StereoCalib";
    a.folder = isMono || isStereo ? out : calibration();
    a.files = isMono || isStereo ? m_boards : m_windows;
    std::vector<std::string> written;
    if (isMono) {
        written = {"cam.xml", "dist.xml"};
    } else if (isStereo) {
        written = {"M1.xml", "D1.xml", "R1.xml", "P1.xml", "M2.xml",
                   "D2.xml", "R2.xml", "P2.xml", "Q.xml"};
    } else if (name == "tx_MatchImages") {
        written = {"a.bmp", "b.png", "c.jpg"};
    }
    for (const std::string& file : written) {
        a.outputs.push_back((fs::path(out) / file).string());
    }
    return a;
}

} // namespace test
