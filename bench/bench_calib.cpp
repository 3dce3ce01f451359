// The calibration family. Compares each export with the bare OpenCV calls plus one copy in and one
// copy out, and the search of a stereo calibration with two OpenMP threads with one thread.
#include "bench/image_size.h"
#include "bench/paired.h"
#include "bridge/dib_bridge.h"
#include "calib/calib_files.h"
#include "calib/calib_writer.h"
#include "calib/stereo_calibrate.h"
#include "platform/system/files.h"
#include "tests/support/files.h"
#include "tests/support/lists.h"
#include "tests/support/matrix_files.h"

#include <tarvix/tarvix.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cfloat>
#include <filesystem>
#include <string>
#include <vector>

#include <omp.h>

namespace {

namespace fs = std::filesystem;

const cv::Size twoMegapixels = bench::sizeOr({1633, 1225});
const cv::Size twelveMegapixels(4000, 3000);

// Interleaved pairs of the distribution's stereo photographs. With equalSides, each pair is the
// left photograph twice. Otherwise the search may take much longer in one photograph of a pair than
// in the other, and a pass takes as long as the slower one.
std::vector<std::string> photos(bool equalSides) {
    const std::string folder = TARVIX_PHOTOS;
    std::vector<std::string> files;
    for (const char* n : {"01", "02", "03", "04", "05", "06"}) {
        files.push_back(folder + "/left" + n + ".jpg");
        files.push_back(equalSides ? files.back() : folder + "/right" + n + ".jpg");
    }
    return files;
}

// OpenCV's own threads are held to one, so that only the two sections count. Memory is reused,
// because threads that map fresh memory wait for each other in the system.
void stereoSearch(benchmark::State& state, bool equalSides) {
    const std::vector<std::string> files = photos(equalSides);
    if (!fs::exists(files[0])) {
        state.SkipWithError("no photographs (package opencv-doc)");
        return;
    }
    const tarvix::FileList list = tarvix::viewList(files);
    const auto search = [&](int threads) {
        omp_set_num_threads(threads);
        benchmark::DoNotOptimize(tarvix::findStereoViews(list, {9, 6}, 1, {})->imagePoints1.data());
    };
    const int before = cv::getNumThreads();
    cv::setNumThreads(1);
    bench::paired(
        state, [&] { search(2); }, [&] { search(1); }, bench::Memory::reused);
    cv::setNumThreads(before);
    state.counters["cores"] = omp_get_num_procs();
}

// A folder with a calibration for images of this size.
class Calibration {
public:
    explicit Calibration(cv::Size size) {
        const double f = size.width * 0.9;
        m_camera =
            (cv::Mat_<double>(3, 3) << f, 0, size.width / 2.0, 0, f, size.height / 2.0, 0, 0, 1);
        cv::Rodrigues(cv::Vec3d(0.01, -0.02, 0.015), m_rotation);
        m_projection = (cv::Mat_<double>(3, 4) << f, 0, size.width / 2.0, 0, 0, f,
                        size.height / 2.0, 0, 0, 0, 1, 0);
        tarvix::MatrixWriter writer(tarvix::systemFiles());
        const auto add = [&](const tarvix::CalibFile& file, const cv::Mat& matrix) {
            writer.add(fs::path(path()) / file.name, file.name, file.key, matrix);
        };
        add(tarvix::cameraFile, m_camera);
        add(tarvix::distortionFile, m_distortion);
        const tarvix::StereoCameraFiles& one = tarvix::stereoCameraFiles[0];
        add(one.cameraMatrix, m_camera);
        add(one.distortion, m_distortion);
        add(one.rotation, m_rotation);
        add(one.projection, m_projection);
        writer.commit();
    }
    [[nodiscard]] std::string path() const { return m_folder.path(); }

    // The bare calls. They compute the map, too, as every call of the exports does.
    [[nodiscard]] cv::Mat bare(const cv::Mat& m, bool stereo) const {
        cv::Mat map1, map2, out;
        cv::initUndistortRectifyMap(m_camera, m_distortion, stereo ? m_rotation : cv::Mat(),
                                    stereo ? m_projection : m_camera, m.size(), CV_32FC1, map1,
                                    map2);
        cv::remap(m, out, map1, map2, stereo ? cv::INTER_AREA : cv::INTER_CUBIC);
        return out;
    }

private:
    test::TempFolder m_folder;
    cv::Mat m_camera, m_rotation, m_projection;
    cv::Mat m_distortion = (cv::Mat_<double>(1, 5) << -0.2, 0.05, 0.001, -0.001, 0);
};

void use(benchmark::State& state, cv::Size size, bool stereo) {
    cv::Mat image(size / 8, CV_8UC3);
    cv::theRNG().state = 7;
    cv::randu(image, 0, 256);
    cv::resize(image, image, size, 0, 0, cv::INTER_CUBIC);
    const Calibration calibration(size);
    const std::string path = calibration.path();
    const tarvix::DibPtr dib(tarvix::MatToDib(image));
    bench::paired(
        state,
        [&] {
            const tarvix::DibPtr result(stereo ? tx_UseStereoCalib(*dib, path.c_str(), 1)
                                               : tx_UseCalib(*dib, path.c_str(), nullptr, nullptr));
        },
        [&] {
            const cv::Mat copiedIn = image.clone();
            benchmark::DoNotOptimize(calibration.bare(copiedIn, stereo).clone().data);
        });
}

std::vector<cv::Point2f> boardIn(const std::string& file, int window, double epsilon) {
    const cv::Mat grey = cv::imread(file, cv::IMREAD_GRAYSCALE);
    std::vector<cv::Point2f> corners;
    cv::findChessboardCorners(grey, {9, 6}, corners);
    cv::cornerSubPix(grey, corners, {window, window}, {-1, -1},
                     {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, epsilon});
    return corners;
}

std::vector<cv::Point3f> flatBoard() {
    std::vector<cv::Point3f> model;
    model.reserve(54);
    for (int row = 0; row < 6; ++row) {
        for (int column = 0; column < 9; ++column) {
            model.emplace_back(static_cast<float>(row), static_cast<float>(column), 0.0F);
        }
    }
    return model;
}

void calibrate(benchmark::State& state, bool isStereo) {
    const std::vector<std::string> files = photos(false);
    if (!fs::exists(files[0])) {
        state.SkipWithError("no photographs (package opencv-doc)");
        return;
    }
    CStringArray list;
    test::fill(list, files);
    if (isStereo) {
        state.SetLabel("searches on two threads, which pays only where a second core is free");
    }
    const test::TempFolder ours;
    const test::TempFolder bare;
    const cv::Size size = cv::imread(files[0]).size();
    const auto stereo = [&] {
        std::vector<std::vector<cv::Point2f>> one, two;
        for (std::size_t k = 0; k < files.size(); k += 2) {
            one.push_back(boardIn(files[k], 11, 0.01));
            two.push_back(boardIn(files[k + 1], 11, 0.01));
        }
        const std::vector<std::vector<cv::Point3f>> objects(one.size(), flatBoard());
        cv::Mat m1, d1, m2, d2, r, t, e, f, r1, r2, p1, p2, q;
        cv::stereoCalibrate(objects, one, two, m1, d1, m2, d2, size, r, t, e, f,
                            cv::CALIB_FIX_INTRINSIC,
                            {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 100, 1e-5});
        cv::stereoRectify(m1, d1, m2, d2, size, r, t, r1, r2, p1, p2, q, 0);
        test::store(bare / "M1.xml", "MM1", m1);
        test::store(bare / "D1.xml", "D1", d1);
        test::store(bare / "R1.xml", "R1", r1);
        test::store(bare / "P1.xml", "P1", p1);
        test::store(bare / "M2.xml", "MM2", m2);
        test::store(bare / "D2.xml", "D2", d2);
        test::store(bare / "R2.xml", "R2", r2);
        test::store(bare / "P2.xml", "P2", p2);
        test::store(bare / "Q.xml", "Q", q);
    };
    const auto mono = [&] {
        std::vector<std::vector<cv::Point2f>> views;
        views.reserve(files.size());
        for (const std::string& file : files) {
            views.push_back(boardIn(file, 5, 0.1));
        }
        cv::Mat camera, distortion;
        std::vector<cv::Mat> rotations, translations;
        cv::calibrateCamera(std::vector<std::vector<cv::Point3f>>(views.size(), flatBoard()), views,
                            size, camera, distortion, rotations, translations, 0,
                            {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, DBL_EPSILON});
        test::store(bare / "cam.xml", "CameraMatrix", camera);
        test::store(bare / "dist.xml", "DistCoeffs", distortion);
    };
    if (isStereo) {
        bench::paired(
            state, [&] { tx_StereoCalib(list, ours.path().c_str(), 9, 6, 1, nullptr); }, stereo);
    } else {
        bench::paired(
            state, [&] { tx_Calib(list, ours.path().c_str(), 9, 6, nullptr); }, mono);
    }
}

// Reading and checking a file and computing a point takes microseconds.
void measure(benchmark::State& state) {
    state.SetLabel("the export checks the file before OpenCV's reader sees it");
    const test::TempFolder folder;
    test::store(
        folder / "Q.xml", "Q",
        (cv::Mat_<double>(4, 4) << 1, 0, 0, -320, 0, 1, 0, -240, 0, 0, 0, 700, 0, 0, 0.1, 0));
    FPoint2D p1{400, 250}, p2{380, 250};
    FPoint3D point{};
    bench::paired(
        state,
        [&] {
            tx_Meas3D measurement;
            measurement.Init(folder.path().c_str());
            measurement.CalcXYZ(p1, p2, point);
        },
        [&] {
            cv::Mat q;
            cv::FileStorage(folder.path() + "/Q.xml", cv::FileStorage::READ)["Q"] >> q;
            const cv::Mat result = q * (cv::Mat_<double>(4, 1) << p2.x, p2.y, 20, 1);
            benchmark::DoNotOptimize(result.data);
        });
}

void options(benchmark::internal::Benchmark* b) {
    b->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(3);
}

BENCHMARK_CAPTURE(stereoSearch, equal_sides, true)->Apply(options);
BENCHMARK_CAPTURE(stereoSearch, real_pairs, false)->Apply(options);
BENCHMARK_CAPTURE(use, 2MP, twoMegapixels, false)->Name("tx_UseCalib")->Apply(options);
BENCHMARK_CAPTURE(use, 12MP, twelveMegapixels, false)->Name("tx_UseCalib 12 MP")->Apply(options);
BENCHMARK_CAPTURE(use, 2MP, twoMegapixels, true)->Name("tx_UseStereoCalib")->Apply(options);
BENCHMARK_CAPTURE(use, 12MP, twelveMegapixels, true)
    ->Name("tx_UseStereoCalib 12 MP")
    ->Apply(options);
BENCHMARK_CAPTURE(calibrate, mono, false)->Name("tx_Calib")->Apply(options);
BENCHMARK_CAPTURE(calibrate, stereo, true)->Name("tx_StereoCalib")->Apply(options);
BENCHMARK(measure)->Name("tx_Meas3D")->Apply(options);

} // namespace

BENCHMARK_MAIN();
