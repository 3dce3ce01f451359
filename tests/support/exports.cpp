#include "tests/support/exports.h"

#include <tarvix/tarvix.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace test {

namespace {

namespace fs = std::filesystem;

thread_local int messagesHere = 0;
thread_local Digest* messageDigest = nullptr;

void fill(CStringArray& list, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        list.Add(text.c_str());
    }
}

template <std::size_t N>
void addAll(Digest& digest, const std::array<double, N>& numbers) {
    digest.add(numbers.data(), sizeof numbers);
}

float narrow(double value) {
    return static_cast<float>(value);
}

constexpr unsigned passAll = passOpenCv | passMemory;

// The usual numbers of each export, and the call.
const Export table[] = {
    {"tx_LoadFile",
     passAll,
     true,
     {},
     {},
     [](Arguments& a, Digest& d) { return d.take(tx_LoadFile(a.files.at(0).c_str())); }},
    {"tx_Canny",
     passAll,
     true,
     {50, 150},
     {3, 0},
     [](Arguments& a, Digest& d) {
         return d.take(tx_Canny(*a.image, a.reals[0], a.reals[1], a.ints[0], a.ints[1]));
     }},
    {"tx_Denoise",
     passNothing,
     true,
     {3, 3},
     {3, 5},
     [](Arguments& a, Digest& d) {
         return d.take(
             tx_Denoise(*a.image, narrow(a.reals[0]), narrow(a.reals[1]), a.ints[0], a.ints[1]));
     }},
    {"tx_getRectSubPix",
     passNothing,
     true,
     {40.3, 30.7},
     {50, 40},
     [](Arguments& a, Digest& d) {
         return d.take(tx_getRectSubPix(*a.image, a.ints[0], a.ints[1], narrow(a.reals[0]),
                                        narrow(a.reals[1])));
     }},
    {"tx_FindLines",
     passAll,
     true,
     {},
     {},
     [](Arguments& a, Digest& d) {
         POINT* points = nullptr;
         const int count = tx_FindLines(*a.image, points);
         const std::unique_ptr<POINT[]> owner(points);
         d.add(points, sizeof(POINT) * 2 * static_cast<std::size_t>(count));
         return count;
     }},
    {"tx_FindChessboard",
     passNothing,
     true,
     {},
     {Workplace::boardWidth, Workplace::boardHeight},
     [](Arguments& a, Digest& d) {
         CString corners("before");
         const int found = d.take(tx_FindChessboard(*a.image, a.ints[0], a.ints[1], corners));
         d.add(corners.GetString());
         return found;
     }},
    {"tx_FindFaces",
     passNothing,
     false,
     {},
     {},
     [](Arguments& a, Digest& d) {
         CArray<RECT, RECT&> faces;
         const int count = tx_FindFaces(*a.image, faces);
         for (INT_PTR i = 0; i < faces.GetSize(); ++i) {
             d.add(&faces[i], sizeof(RECT));
         }
         return count;
     }},
    {"tx_TrackFace",
     passNothing,
     true,
     {},
     {},
     [](Arguments&, Digest&) { return tx_TrackFace(""); }},
    {"tx_Projective",
     passAll,
     true,
     {},
     {},
     [](Arguments& a, Digest& d) {
         return d.take(tx_Projective(*a.image, a.from.data(), a.to.data()));
     }},
    {"tx_GetProjectiveMask",
     passAll,
     true,
     {},
     {},
     [](Arguments& a, Digest& d) {
         return d.take(tx_GetProjectiveMask(*a.image, a.from.data(), a.to.data()));
     }},
    {"tx_Converge",
     passAll,
     true,
     {0, 1, 3, -2},
     {0},
     [](Arguments& a, Digest& d) {
         std::array<double, 12> result{};
         const int made = d.take(tx_Converge(*a.image, a.from.data(), a.reals[0], a.reals[1],
                                             a.reals[2], a.reals[3], a.ints[0], result.data()));
         addAll(d, result);
         return made;
     }},
    {"tx_ConvergeScaled",
     passAll,
     true,
     {},
     {},
     [](Arguments& a, Digest& d) {
         return d.take(tx_ConvergeScaled(*a.image, a.from.data(), a.to.data()));
     }},
    {"tx_PerspAlign",
     passAll,
     true,
     {},
     {10, 20, 30},
     [](Arguments& a, Digest& d) {
         return d.take(tx_PerspAlign(*a.image, *a.second, a.from.data(), a.to.data(), a.ints[0],
                                     a.ints[1], a.ints[2]));
     }},
    {"tx_DetectorTest",
     passMemory,
     true,
     {},
     {1},
     [](Arguments& a, Digest& d) { return d.take(tx_DetectorTest(*a.image, a.ints[0])); }},
    {"tx_MatchTest",
     passNothing,
     true,
     {},
     {1, 0},
     [](Arguments& a, Digest& d) {
         return d.take(tx_MatchTest(*a.image, *a.second, a.ints[0], a.ints[1]));
     }},
    {"tx_MatchImages",
     passMemory | passInvalidArgument,
     false,
     {},
     {},
     [](Arguments& a, Digest&) { return tx_MatchImages(a.lists->files, a.lists->outputs); }},
    {"tx_Stitch",
     passMemory,
     false,
     {},
     {},
     [](Arguments& a, Digest& d) { return d.take(tx_Stitch(a.lists->files)); }},
    {"tx_Calib",
     passNothing,
     false,
     {},
     {Workplace::boardWidth, Workplace::boardHeight},
     [](Arguments& a, Digest&) {
         return tx_Calib(a.lists->files, a.folder.c_str(), a.ints[0], a.ints[1], nullptr);
     }},
    {"tx_UseCalib",
     passNothing,
     true,
     {},
     {},
     [](Arguments& a, Digest& d) {
         std::array<float, 2> sample{-7, -7};
         const int made =
             d.take(tx_UseCalib(*a.image, a.folder.c_str(), sample.data(), &sample[1]));
         d.add(sample.data(), sizeof sample);
         return made;
     }},
    {"tx_StereoCalib",
     passNothing,
     false,
     {25},
     {Workplace::boardWidth, Workplace::boardHeight},
     [](Arguments& a, Digest&) {
         return tx_StereoCalib(a.lists->files, a.folder.c_str(), a.ints[0], a.ints[1],
                               narrow(a.reals[0]), nullptr);
     }},
    {"tx_UseStereoCalib",
     passNothing,
     true,
     {},
     {1},
     [](Arguments& a, Digest& d) {
         return d.take(tx_UseStereoCalib(*a.image, a.folder.c_str(), a.ints[0]));
     }},
    {"tx_Meas3D",
     passNothing,
     true,
     {30, 20, 25, 20},
     {},
     [](Arguments& a, Digest& d) {
         tx_Meas3D measure;
         const int loaded = measure.Init(a.folder.c_str());
         FPoint2D p1{narrow(a.reals[0]), narrow(a.reals[1])};
         FPoint2D p2{narrow(a.reals[2]), narrow(a.reals[3])};
         FPoint3D point{-7, -7, -7};
         const int computed = measure.CalcXYZ(p1, p2, point);
         d.add(&point, sizeof point);
         return 2 * loaded + computed;
     }},
};

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

// Squares with sharp corners, so that keypoints are found again in every window.
cv::Mat landscape() {
    cv::Mat whole(300, 560, CV_8UC3, cv::Scalar::all(0));
    for (int cell = 12; cell <= 48; cell *= 2) {
        cv::Mat layer;
        cv::resize(noise(whole.rows / cell + 1, whole.cols / cell + 1, CV_8UC3, 5), layer,
                   whole.size(), 0, 0, cv::INTER_NEAREST);
        cv::addWeighted(whole, 0.6, layer, 0.4, 0, whole);
    }
    cv::normalize(whole, whole, 0, 255, cv::NORM_MINMAX);
    return whole;
}

void store(const std::string& folder, const std::string& name, const std::string& key,
           const cv::Mat& m) {
    cv::FileStorage storage(folder + "/" + name + ".xml", cv::FileStorage::WRITE);
    storage << key << m;
}

} // namespace

void Digest::add(const void* data, std::size_t bytes) {
    const auto* next = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < bytes; ++i) {
        m_value = (m_value ^ next[i]) * 1099511628211U;
    }
}

void Digest::addFile(const std::string& path) {
    std::error_code ignored;
    if (fs::is_regular_file(path, ignored)) {
        std::ifstream file(path, std::ios::binary);
        add("a file");
        add(std::string(std::istreambuf_iterator<char>(file), {}));
    }
}

int Digest::take(CDib* result) {
    const Dib owner(result);
    if (result == nullptr) {
        return 0;
    }
    const BITMAPINFOHEADER& header = result->m_bmi.bmiHeader;
    add(&header.biWidth, sizeof header.biWidth);
    add(&header.biHeight, sizeof header.biHeight);
    add(&header.biBitCount, sizeof header.biBitCount);
    if (result->m_hBitmap != nullptr) {
        const auto bits = static_cast<std::size_t>(header.biWidth) * header.biBitCount;
        for (int row = 0; row < std::abs(header.biHeight); ++row) {
            add(result->m_pBits + static_cast<std::size_t>(row) * ((bits + 31) / 32 * 4), bits / 8);
        }
    }
    return 1;
}

std::span<const Export> allExports() {
    return table;
}

const Export& exportNamed(const std::string& name) {
    const auto* const found = std::find_if(std::begin(table), std::end(table),
                                           [&](const Export& e) { return e.name == name; });
    if (found == std::end(table)) {
        throw std::invalid_argument("no export " + name);
    }
    return *found;
}

int MessageCounter::DoMessageBox(LPCSTR text, UINT /*type*/, UINT /*helpId*/) {
    ++messagesHere;
    if (messageDigest != nullptr) {
        messageDigest->add(text);
    }
    return IDOK;
}

Outcome run(const Export& e, Arguments& arguments, unsigned passes,
            const std::function<int(const Call&)>& around) {
    Digest digest;
    Outcome outcome;
    arguments.lists = std::make_unique<Lists>();
    fill(arguments.lists->files, arguments.files);
    fill(arguments.lists->outputs, arguments.outputs);
    const Call call = [&] { return e.call(arguments, digest); };
    messagesHere = 0;
    messageDigest = &digest;
    cv::theRNG().state = 1;
    const auto passed = [&](Passes kind, const std::string& text) {
        messageDigest = nullptr;
        if ((passes & kind) == 0) {
            throw std::logic_error(std::string(e.name) + " let out: " + text);
        }
        outcome.passedOut = kind;
        digest.add(text);
    };
    try {
        outcome.value = around ? around(call) : call();
    } catch (const cv::Exception& exception) {
        passed(passOpenCv, exception.what());
    } catch (const std::bad_alloc& exception) {
        passed(passMemory, exception.what());
    } catch (CInvalidArgException* exception) {
        exception->Delete();
        passed(passInvalidArgument, "an improper argument");
    }
    messageDigest = nullptr;
    for (const std::string& path : arguments.outputs) {
        digest.addFile(path);
    }
    outcome.messages = messagesHere;
    outcome.digest = digest.value();
    return outcome;
}

Workplace::Workplace()
    : m_picture(scene(96, 128)), m_face(128, 128, CV_8UC1),
      m_board(boardView({160, 120}, 160, {0.2, -0.3, 0.1}, {0, 0, 8})) {
    cv::rectangle(m_picture, {10, 55, 105, 25}, cv::Scalar::all(250), cv::FILLED); // has lines
    for (const std::string name :
         {"GSTREAMER", "INTEL_MFX", "V4L2", "FIREWIRE", "UEYE", "GPHOTO2", "MSMF", "DSHOW"}) {
        m_noCameras.push_back(
            std::make_unique<ScopedEnvironment>("OPENCV_VIDEOIO_PRIORITY_" + name, "0"));
    }
    cv::resize(photo("messi5.jpg", true)({205, 75, 80, 80}), m_face, m_face.size());
    cv::cvtColor(m_board, m_board, cv::COLOR_GRAY2BGR);

    const cv::Mat whole = landscape();
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
    const double f = 120;
    const cv::Mat camera = (cv::Mat_<double>(3, 3) << f, 0, 64, 0, f, 48, 0, 0, 1);
    const cv::Mat lens = (cv::Mat_<double>(1, 5) << -0.2, 0.05, 0.001, -0.001, 0);
    const cv::Mat projection = (cv::Mat_<double>(3, 4) << f, 0, 64, 0, 0, f, 48, 0, 0, 0, 1, 0);
    cv::Mat rotation;
    cv::Rodrigues(cv::Vec3d(0.01, -0.02, 0.015), rotation);
    store(calibration(), "cam", "CameraMatrix", camera);
    store(calibration(), "dist", "DistCoeffs", lens);
    for (const char* side : {"1", "2"}) {
        const std::string n = side;
        store(calibration(), "M" + n, "MM" + n, camera);
        store(calibration(), "D" + n, "D" + n, lens);
        store(calibration(), "R" + n, "R" + n, rotation);
        store(calibration(), "P" + n, "P" + n, projection);
    }
    store(calibration(), "Q", "Q",
          (cv::Mat_<double>(4, 4) << 1, 0, 0, -64, 0, 1, 0, -48, 0, 0, 0, f, 0, 0, 0.5, 0));
}

Arguments Workplace::usualFor(const Export& e, const std::string& outputs) const {
    const std::string name = e.name;
    Arguments a;
    a.image = dibOf(name == "tx_FindFaces" ? m_face
                                           : (name == "tx_FindChessboard" ? m_board : m_picture));
    a.second = dibOf(m_picture);
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
