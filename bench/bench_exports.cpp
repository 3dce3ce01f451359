// Exports against the bare OpenCV call on matrices plus one copy in and one copy out, at 2 MP.
#include "bench/paired.h"
#include "bridge/dib_bridge.h"

#include <tarvix/tarvix.h>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>

#include <array>
#include <filesystem>

namespace {

const cv::Size twoMegapixels(1633, 1225);

// Smooth structure with noise: neither the best nor the worst case of any filter.
cv::Mat picture(int type) {
    cv::Mat m(twoMegapixels / 8, type);
    cv::theRNG().state = 7;
    cv::randu(m, 0, 256);
    cv::resize(m, m, twoMegapixels, 0, 0, cv::INTER_CUBIC);
    return m;
}

template <class Export, class Bare>
void compare(benchmark::State& state, int type, Export&& call, Bare&& bare) {
    const cv::Mat source = picture(type);
    const tarvix::DibPtr dib(tarvix::MatToDib(source));
    bench::paired(
        state, [&] { const tarvix::DibPtr result(call(*dib)); },
        [&] {
            const cv::Mat copiedIn = source.clone();
            const cv::Mat result = bare(copiedIn);
            benchmark::DoNotOptimize(result.clone().data);
        });
}

void canny(benchmark::State& state) {
    compare(
        state, CV_8UC3, [](CDib& dib) { return tx_Canny(dib, 50, 150, 3, 0); },
        [](const cv::Mat& m) {
            cv::Mat edges;
            cv::Canny(m, edges, 50, 150, 3, false);
            return edges;
        });
}

void denoise(benchmark::State& state) {
    compare(
        state, CV_8UC3, [](CDib& dib) { return tx_Denoise(dib, 3, 3, 3, 7); },
        [](const cv::Mat& m) {
            cv::Mat out;
            cv::fastNlMeansDenoisingColored(m, out, 3, 3, 3, 7);
            return out;
        });
}

void patch(benchmark::State& state) {
    compare(
        state, CV_8UC3, [](CDib& dib) { return tx_getRectSubPix(dib, 1200, 900, 800.3F, 600.7F); },
        [](const cv::Mat& m) {
            cv::Mat out;
            cv::getRectSubPix(m, {1200, 900}, {800.3F, 600.7F}, out, -1);
            return out;
        });
}

std::array<double, 8> from{20, 30, 1600, 10, 1580, 1200, 50, 1180};
std::array<double, 8> to{0, 0, 1633, 0, 1633, 1225, 0, 1225};

void warp(benchmark::State& state) {
    compare(
        state, CV_8UC3, [](CDib& dib) { return tx_Projective(dib, from.data(), to.data()); },
        [](const cv::Mat& m) {
            const std::array<cv::Point2f, 4> f{{{20, 30}, {1600, 10}, {1580, 1200}, {50, 1180}}};
            const std::array<cv::Point2f, 4> t{{{0, 0}, {1633, 0}, {1633, 1225}, {0, 1225}}};
            cv::Mat out;
            cv::warpPerspective(m, out, cv::getPerspectiveTransform(f.data(), t.data()),
                                {1633, 1225});
            return out;
        });
}

void load(benchmark::State& state) {
    const std::string path = (std::filesystem::temp_directory_path() / "tarvix-bench.png").string();
    cv::imwrite(path, picture(CV_8UC3));
    bench::paired(
        state, [&] { const tarvix::DibPtr result(tx_LoadFile(path.c_str())); },
        [&] { benchmark::DoNotOptimize(cv::imread(path).clone().data); });
    std::filesystem::remove(path);
}

void options(benchmark::internal::Benchmark* b) {
    b->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(1);
}

BENCHMARK(load)->Apply(options);
BENCHMARK(canny)->Apply(options);
BENCHMARK(denoise)->Apply(options);
BENCHMARK(patch)->Apply(options);
BENCHMARK(warp)->Apply(options);

} // namespace

BENCHMARK_MAIN();
