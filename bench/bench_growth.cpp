// How time and memory grow with the number of images, pairs or photographs. The time is that of the
// processors, of all threads together: other programs do not add to it. Counters: ms_each, the time
// for each one, and peak_MB, what was needed above what was resident before.
//
// TARVIX_BENCH_FULL=1 goes on to the largest sets, for some minutes.
#include "bench/paired.h"
#include "calib/stereo_calibrate.h"
#include "tests/calib/views.h"
#include "tests/host/in_process.h"
#include "tests/support/files.h"
#include "tests/support/images.h"
#include "tests/support/lists.h"

#include <tarvix/tarvix.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// One run for each size. The smallest sets run once before, so that what is loaded at the first use
// does not count.
template <class Work>
void measure(benchmark::State& state, Work&& work) {
    bench::use(bench::Memory::fresh); // what is free does not stay resident
    const auto count = static_cast<double>(state.range(0));
    if (count < 8) {
        work();
    }
    for (auto _ : state) {
        const bench::Peak peak;
        const std::clock_t start = std::clock();
        work();
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        state.SetIterationTime(seconds);
        state.counters["ms_each"] = seconds * 1e3 / count;
        if (const std::optional<double> megabytes = peak.megabytes()) {
            state.counters["peak_MB"] = *megabytes;
        }
    }
}

// Images of 1.1 megapixels, each registered onto the first. They are read one at a time, so memory
// is not to grow.
void registration(benchmark::State& state) {
    const test::TempFolder folder;
    const auto count = static_cast<std::size_t>(state.range(0));
    const cv::Mat whole = test::landscape({1300, 1000}, 24);
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    for (std::size_t i = 0; i < count; ++i) {
        // Two images in turn: the canvas is the same for every number of them.
        const std::string input = folder / ("in" + std::to_string(i % 2) + ".bmp");
        if (i < 2) {
            const auto turn = static_cast<int>(i);
            cv::imwrite(input, whole(cv::Rect(turn * 80, turn * 60, 1200, 900)));
        }
        inputs.push_back(input);
        outputs.push_back(folder / ("out" + std::to_string(i) + ".bmp"));
    }
    CStringArray inputList;
    CStringArray outputList;
    test::fill(inputList, inputs);
    test::fill(outputList, outputs);
    measure(state, [&] { tx_MatchImages(inputList, outputList); });
    for (const std::string& output : outputs) {
        if (!fs::exists(output)) {
            state.SkipWithError("an image was not registered");
        }
    }
}

// Rendered views of a board, two cameras side by side: left and right in turn. Only those pairs in
// whose images the board is found. They are rendered once for all sizes.
class Pairs {
public:
    // Their files, 2 * count.
    std::vector<std::string> files(std::size_t count) {
        while (m_files.size() < 2 * count) {
            render();
        }
        return {m_files.begin(), m_files.begin() + static_cast<std::ptrdiff_t>(2 * count)};
    }
    // The left ones alone.
    std::vector<std::string> left(std::size_t count) {
        std::vector<std::string> chosen;
        for (std::size_t i = 0; i < count; ++i) {
            chosen.push_back(files(count)[2 * i]);
        }
        return chosen;
    }

private:
    void render() {
        const int number = m_number++;
        const cv::Vec3d rotation(m_random.uniform(-0.5, 0.5), m_random.uniform(-0.5, 0.5),
                                 m_random.uniform(-0.2, 0.2));
        const cv::Vec3d left(-4 + (number % 3 - 1) * 1.6, -2.5 + (number / 3 % 2 == 0 ? -0.9 : 0.9),
                             m_random.uniform(13.0, 16.0));
        std::vector<std::string> pair;
        for (const double baseline : {0.0, 0.8}) {
            const auto seed = static_cast<std::uint64_t>(m_files.size() + pair.size() + 1);
            const cv::Mat view = m_renderer.view(rotation, left - cv::Vec3d(baseline, 0, 0), seed);
            std::vector<cv::Point2f> corners;
            if (!cv::findChessboardCorners(view, test::boardPattern, corners)) {
                return;
            }
            pair.push_back(m_folder / (std::to_string(m_files.size() + pair.size()) + ".png"));
            cv::imwrite(pair.back(), view);
        }
        m_files.insert(m_files.end(), pair.begin(), pair.end());
    }

    test::TempFolder m_folder;
    test::BoardRenderer m_renderer{test::KnownCamera()};
    cv::RNG m_random{17};
    int m_number = 0;
    std::vector<std::string> m_files;
};

Pairs& pairs() {
    static Pairs all;
    return all;
}

// The search for the boards alone, which is ours.
void stereoSearch(benchmark::State& state) {
    const std::vector<std::string> files = pairs().files(static_cast<std::size_t>(state.range(0)));
    const tarvix::FileList list = tarvix::viewList(files);
    measure(state, [&] {
        benchmark::DoNotOptimize(
            tarvix::findStereoViews(list, test::boardPattern, 1, {})->imagePoints1.data());
    });
}

// The whole export: the search, then OpenCV's stereoCalibrate.
void stereoCalibration(benchmark::State& state) {
    CStringArray list;
    test::fill(list, pairs().files(static_cast<std::size_t>(state.range(0))));
    const test::TempFolder results;
    int result = 0;
    measure(state,
            [&] { result = tx_StereoCalib(list, results.path().c_str(), 9, 6, 1, nullptr); });
    if (result == 0) {
        state.SkipWithError("no calibration");
    }
}

// Photographs of 0.3 megapixels in a row, each shifted by a third of its width.
void stitching(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    const test::TempFolder folder;
    const cv::Mat whole = test::landscape({640 + 11 * 210, 480}, 24);
    std::vector<std::string> files;
    for (int i = 0; i < count; ++i) {
        files.push_back(folder / (std::to_string(i) + ".bmp"));
        cv::imwrite(files.back(), whole(cv::Rect(i * 210, 0, 640, 480)));
    }
    CStringArray list;
    test::fill(list, files);
    std::unique_ptr<CDib> result;
    measure(state, [&] { result.reset(tx_Stitch(list)); });
    if (result == nullptr) {
        state.SkipWithError("no panorama");
    }
}

// `tarvix calib --report`: the search, the calibration, its quality and the page.
void report(benchmark::State& state) {
    const std::vector<std::string> photos = pairs().left(static_cast<std::size_t>(state.range(0)));
    const test::TempFolder folder;
    std::vector<std::string> words{"calib"};
    words.insert(words.end(), photos.begin(), photos.end());
    for (const std::string& word :
         {std::string("--board"), std::string("9x6"), std::string("-o"), folder / "set",
          std::string("--report"), folder / "page.html"}) {
        words.push_back(word);
    }
    test::ProgramResult result;
    measure(state, [&] { result = test::inProcess(words); });
    if (result.status != 0) {
        state.SkipWithError(result.err.c_str());
    }
}

// One run of each size; those of `full` only in a full run.
void add(const char* name, void (*run)(benchmark::State&), const char* what,
         const std::vector<int>& always, const std::vector<int>& full) {
    benchmark::internal::Benchmark* b = benchmark::RegisterBenchmark(name, run);
    b->ArgName(what)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
    for (const int size : always) {
        b->Arg(size);
    }
    if (std::getenv("TARVIX_BENCH_FULL") != nullptr) {
        for (const int size : full) {
            b->Arg(size);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    add("registration", registration, "images", {2, 4, 8, 16, 32}, {64, 128, 256});
    add("stereoSearch", stereoSearch, "pairs", {2, 4, 8, 16}, {32, 64, 100, 200});
    add("stereoCalibration", stereoCalibration, "pairs", {2, 4, 8, 16}, {32, 64, 100, 200});
    add("stitching", stitching, "images", {2, 4, 6, 8}, {10, 12});
    add("report", report, "photographs", {6, 12, 18}, {36, 72, 100});
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
