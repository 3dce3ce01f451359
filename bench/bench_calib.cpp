// The calibration family: the search of a stereo calibration with two OpenMP threads against one,
// and the use of calibrations against the bare OpenCV calls plus one copy in and one copy out.
#include "bench/paired.h"
#include "bridge/dib_bridge.h"
#include "calib/calib_files.h"
#include "calib/stereo_calibrate.h"

#include <tarvix/tarvix.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <string>
#include <vector>

#include <omp.h>

namespace {

namespace fs = std::filesystem;

const cv::Size twoMegapixels(1633, 1225);
const cv::Size twelveMegapixels(4000, 3000);

// Interleaved pairs of the distribution's stereo photographs; with equalSides, each pair is the
// left photograph twice. Searching two photographs of one moment may take times that differ by far,
// and then the slower one is what a pass takes.
std::vector<std::string> photos(bool equalSides) {
    const std::string folder = TARVIX_PHOTOS;
    std::vector<std::string> files;
    for (const char* n : {"01", "02", "03", "04", "05", "06"}) {
        files.push_back(folder + "/left" + n + ".jpg");
        files.push_back(equalSides ? files.back() : folder + "/right" + n + ".jpg");
    }
    return files;
}

// OpenCV's own threads are held to one, so that only the two sections count; and memory is reused,
// since threads that map fresh memory wait for each other in the system.
void stereoSearch(benchmark::State& state, bool equalSides) {
    const std::vector<std::string> files = photos(equalSides);
    if (!fs::exists(files[0])) {
        state.SkipWithError("no photographs (package opencv-doc)");
        return;
    }
    const tarvix::FileList list{static_cast<int>(files.size()),
                                [&](int i) { return files[static_cast<std::size_t>(i)]; }};
    const auto search = [&](int threads) {
        omp_set_num_threads(threads);
        benchmark::DoNotOptimize(tarvix::findStereoViews(list, {9, 6}, 1, {}).imagePoints1.data());
    };
    const int before = cv::getNumThreads();
    cv::setNumThreads(1);
    bench::paired(
        state, [&] { search(2); }, [&] { search(1); }, bench::Memory::reused);
    cv::setNumThreads(before);
    state.counters["cores"] = omp_get_num_procs();
}

// A folder with a calibration for pictures of this size.
class Folder {
public:
    explicit Folder(cv::Size size)
        : m_path(fs::temp_directory_path() / "tarvix-bench-calibration"), m_camera(3, 3, CV_64F) {
        const double f = size.width * 0.9;
        m_camera =
            (cv::Mat_<double>(3, 3) << f, 0, size.width / 2.0, 0, f, size.height / 2.0, 0, 0, 1);
        cv::Rodrigues(cv::Vec3d(0.01, -0.02, 0.015), m_rotation);
        m_projection = (cv::Mat_<double>(3, 4) << f, 0, size.width / 2.0, 0, 0, f,
                        size.height / 2.0, 0, 0, 0, 1, 0);
        fs::create_directories(m_path);
        tarvix::MatrixWriter writer;
        const std::string folder = path();
        writer.add(folder.c_str(), tarvix::cameraFile, m_camera);
        writer.add(folder.c_str(), tarvix::distortionFile, m_distortion);
        const tarvix::StereoCameraFiles& one = tarvix::stereoCameraFiles[0];
        writer.add(folder.c_str(), one.cameraMatrix, m_camera);
        writer.add(folder.c_str(), one.distortion, m_distortion);
        writer.add(folder.c_str(), one.rotation, m_rotation);
        writer.add(folder.c_str(), one.projection, m_projection);
        writer.commit();
    }
    ~Folder() { fs::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] std::string path() const { return m_path.string(); }

    // The bare calls, map included, as every call of the exports computes it.
    [[nodiscard]] cv::Mat bare(const cv::Mat& m, bool stereo) const {
        cv::Mat map1, map2, out;
        cv::initUndistortRectifyMap(m_camera, m_distortion, stereo ? m_rotation : cv::Mat(),
                                    stereo ? m_projection : m_camera, m.size(), CV_32FC1, map1,
                                    map2);
        cv::remap(m, out, map1, map2, stereo ? cv::INTER_AREA : cv::INTER_CUBIC);
        return out;
    }

private:
    fs::path m_path;
    cv::Mat m_camera, m_rotation, m_projection;
    cv::Mat m_distortion = (cv::Mat_<double>(1, 5) << -0.2, 0.05, 0.001, -0.001, 0);
};

void use(benchmark::State& state, cv::Size size, bool stereo) {
    cv::Mat picture(size / 8, CV_8UC3);
    cv::theRNG().state = 7;
    cv::randu(picture, 0, 256);
    cv::resize(picture, picture, size, 0, 0, cv::INTER_CUBIC);
    const Folder folder(size);
    const std::string path = folder.path();
    const tarvix::DibPtr dib(tarvix::MatToDib(picture));
    bench::paired(
        state,
        [&] {
            const tarvix::DibPtr result(stereo ? tx_UseStereoCalib(*dib, path.c_str(), 1)
                                               : tx_UseCalib(*dib, path.c_str(), nullptr, nullptr));
        },
        [&] {
            const cv::Mat copiedIn = picture.clone();
            benchmark::DoNotOptimize(folder.bare(copiedIn, stereo).clone().data);
        });
}

void options(benchmark::internal::Benchmark* b) {
    b->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(1);
}

BENCHMARK_CAPTURE(stereoSearch, equal_sides, true)->Apply(options);
BENCHMARK_CAPTURE(stereoSearch, real_pairs, false)->Apply(options);
BENCHMARK_CAPTURE(use, undistort_2MP, twoMegapixels, false)->Apply(options);
BENCHMARK_CAPTURE(use, undistort_12MP, twelveMegapixels, false)->Apply(options);
BENCHMARK_CAPTURE(use, rectify_2MP, twoMegapixels, true)->Apply(options);
BENCHMARK_CAPTURE(use, rectify_12MP, twelveMegapixels, true)->Apply(options);

} // namespace

BENCHMARK_MAIN();
