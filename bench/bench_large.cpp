// Images of 12 MP. Compares the warps with the bare OpenCV pipeline on matrices plus one copy in
// and one copy out (tx_UseCalib and tx_UseStereoCalib: bench_calib), and says where the time of
// tx_Converge goes: copy in, search, homography, warp, copy out.
//
// The parts are measured in three ways, in turn, so that their times can be compared:
//   "plain"  each large block mapped page by page at its first write, as OpenCV and the C library
//            make it
//   "ours"   each mapped by large pages where the system takes the advice, the result made in the
//            bitmap, as the export does it; the copy out is the turning of the rows
//   "warm"   the same blocks each time, without a page fault: what the work itself takes
// What a way takes beyond "warm" are page faults.
#include "bench/paired.h"
#include "bridge/bitmap_matrices.h"
#include "bridge/dib_bridge.h"
#include "geometry/converge.h"
#include "geometry/converge_search.h"
#include "geometry/homography_warp.h"

#include <tarvix/tarvix.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace tarvix;

const cv::Size size(4001, 2999);
const MarkedQuad marked{size, {{{40., 90.}, {3920., 30.}, {3880., 2940.}, {120., 2880.}}}};

cv::Mat smooth() {
    cv::Mat m(size / 8, CV_8UC3);
    cv::theRNG().state = 7;
    cv::randu(m, 0, 256);
    cv::resize(m, m, size, 0, 0, cv::INTER_CUBIC);
    return m;
}

// The marked corners and where they go, as the exports take them.
std::array<double, 8> from{40, 90, 3920, 30, 3880, 2940, 120, 2880};
std::array<double, 8> to{0, 0, 4001, 0, 4001, 2999, 0, 2999};

enum Part : std::size_t { CopyIn, Search, Homography, Warp, CopyOut, Parts };
constexpr std::array<const char*, Parts> names{"copy_in", "search", "homography", "warp",
                                               "copy_out"};

// Milliseconds of each part, a number for each pass.
using Times = std::array<std::vector<double>, Parts>;

cv::Mat fit(const Corners& target) {
    return cv::findHomography(
        std::vector<cv::Point2d>(marked.corners.begin(), marked.corners.end()),
        std::vector<cv::Point2d>(target.begin(), target.end()));
}

void draw(const cv::Mat& image, cv::Mat& canvas, const cv::Mat& byHomography) {
    cv::warpPerspective(image, canvas, byHomography, size, cv::INTER_LINEAR, cv::BORDER_CONSTANT,
                        cv::Scalar::all(255));
}

// Blocks that stay.
struct Warm {
    cv::Mat in{size, CV_8UC3, cv::Scalar(0)}, canvas = in.clone(), out = in.clone();
};

// The bitmap `dib` holds the pixels of `stored`.
void onePass(const CDib& dib, const cv::Mat& stored, Times& times, bool isOurs, Warm* warm) {
    const auto time = [&](Part part, const auto& work) {
        times.at(part).push_back(bench::secondsOf(work) * 1e3);
    };
    cv::Mat image, canvas, byHomography;
    Corners corrected{};
    if (isOurs) {
        canvas.allocator = bitmapMatrices();
    } else if (warm != nullptr) {
        image = warm->in;
        canvas = warm->canvas;
    }
    time(CopyIn, [&] {
        if (isOurs) {
            image = DibToMat(dib);
        } else {
            stored.copyTo(image);
        }
    });
    time(Search, [&] { corrected = correctCorners(marked, findPose(marked, 0), {}); });
    time(Homography, [&] { byHomography = fit(corrected); });
    time(Warp, [&] { draw(image, canvas, byHomography); });
    time(CopyOut, [&] {
        if (isOurs) {
            const DibPtr result(resultToDib(std::move(canvas)));
            benchmark::DoNotOptimize(result->m_pBits);
        } else {
            cv::Mat result = warm != nullptr ? warm->out : cv::Mat();
            canvas.copyTo(result);
            benchmark::DoNotOptimize(result.data);
        }
    });
}

void report(benchmark::State& state, const std::string& way, const Times& times) {
    double sum = 0;
    for (std::size_t part = 0; part < Parts; ++part) {
        const double median = bench::median(times.at(part));
        state.counters[way + "_" + names.at(part)] = median;
        sum += median;
    }
    state.counters[way + "_sum"] = sum;
}

void partsOfConverge(benchmark::State& state) {
    bench::use(bench::Memory::fresh);
    const cv::Mat stored = smooth();
    const DibPtr dib(MatToDib(stored));
    Warm warm;
    Times plain, ours, warmed;
    while (state.KeepRunning()) {
        onePass(*dib, stored, plain, false, nullptr);
        onePass(*dib, stored, ours, true, nullptr);
        onePass(*dib, stored, warmed, false, &warm);
    }
    report(state, "plain", plain);
    report(state, "ours", ours);
    report(state, "warm", warmed);
}

// The bare warp, black outside, with a homography from four points.
cv::Mat warpOnBlack(const cv::Mat& image) {
    const CornersF f = narrowedCornersFromArray(from.data());
    const CornersF t = narrowedCornersFromArray(to.data());
    cv::Mat warped;
    cv::warpPerspective(image, warped, cv::getPerspectiveTransform(f.data(), t.data()), size);
    return warped;
}

// The bare warp, white outside, with a homography fitted to the points.
cv::Mat warpOnWhite(const cv::Mat& image, const double* target) {
    cv::Mat warped;
    draw(image, warped, fit(cornersFromArray(target)));
    return warped;
}

template <class Export, class Bare>
void compare(benchmark::State& state, Export&& call, Bare&& bare) {
    const cv::Mat source = smooth();
    const DibPtr dib(MatToDib(source));
    bench::paired(
        state, [&] { const DibPtr result(call(*dib)); },
        [&] {
            const cv::Mat copiedIn = source.clone();
            benchmark::DoNotOptimize(bare(copiedIn).clone().data);
        });
}

void projective(benchmark::State& state) {
    compare(
        state, [](CDib& dib) { return tx_Projective(dib, from.data(), to.data()); },
        [](const cv::Mat& image) { return warpOnBlack(image); });
}

// No pixels are copied in: only the size matters.
void mask(benchmark::State& state) {
    const DibPtr dib(MatToDib(smooth()));
    bench::paired(
        state, [&] { const DibPtr result(tx_GetProjectiveMask(*dib, from.data(), to.data())); },
        [&] {
            const cv::Mat white(size, CV_8UC1, cv::Scalar(255));
            benchmark::DoNotOptimize(warpOnBlack(white).clone().data);
        });
}

void converge(benchmark::State& state) {
    std::array<double, 12> found{};
    compare(
        state,
        [&](CDib& dib) { return tx_Converge(dib, from.data(), 0, 1, 0, 0, 0, found.data()); },
        [&](const cv::Mat& image) { return warpOnWhite(image, found.data()); });
}

void scaled(benchmark::State& state) {
    compare(
        state, [](CDib& dib) { return tx_ConvergeScaled(dib, from.data(), to.data()); },
        [](const cv::Mat& image) { return warpOnWhite(image, to.data()); });
}

void options(benchmark::internal::Benchmark* b) {
    b->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(3);
}

BENCHMARK(projective)->Name("tx_Projective 12 MP")->Apply(options);
BENCHMARK(mask)->Name("tx_GetProjectiveMask 12 MP")->Apply(options);
BENCHMARK(converge)->Name("tx_Converge 12 MP")->Apply(options);
BENCHMARK(scaled)->Name("tx_ConvergeScaled 12 MP")->Apply(options);
BENCHMARK(partsOfConverge)->Unit(benchmark::kMillisecond)->MinTime(5);

} // namespace

BENCHMARK_MAIN();
