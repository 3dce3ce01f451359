// Compares the bridge with one memcpy of the same bytes into equally fresh memory.
#include "bench/paired.h"
#include "bridge/dib_bridge.h"

#include <opencv2/core.hpp>

#include <cstdlib>
#include <cstring>

namespace {

cv::Size sizeOf(std::int64_t tenthsOfMegapixels) {
    switch (tenthsOfMegapixels) {
    case 3:
        return {641, 479};
    case 20:
        return {1633, 1225};
    default:
        return {4001, 2999};
    }
}

cv::Mat filled(cv::Size size, int type) {
    cv::Mat m(size, type);
    cv::randu(m, 0, 256);
    return m;
}

void copyFresh(const void* from, std::size_t bytes) {
    void* to = std::malloc(bytes);
    std::memcpy(to, from, bytes);
    benchmark::DoNotOptimize(to);
    benchmark::ClobberMemory();
    std::free(to);
}

void dibToMat(benchmark::State& state) {
    const cv::Mat image = filled(sizeOf(state.range(0)), state.range(1) == 8 ? CV_8UC1 : CV_8UC3);
    const tarvix::DibPtr dib(tarvix::MatToDib(image));
    const std::size_t bytes = image.total() * image.elemSize();
    bench::paired(
        state, [&] { benchmark::DoNotOptimize(tarvix::DibToMat(*dib).data); },
        [&] { copyFresh(image.data, bytes); });
}

void matToDib(benchmark::State& state) {
    const cv::Mat image = filled(sizeOf(state.range(0)), state.range(1) == 8 ? CV_8UC1 : CV_8UC3);
    const std::size_t bytes = image.total() * image.elemSize();
    bench::paired(
        state,
        [&] {
            const tarvix::DibPtr dib(tarvix::MatToDib(image));
            benchmark::DoNotOptimize(dib->m_pBits);
        },
        [&] { copyFresh(image.data, bytes); });
}

void sizes(benchmark::internal::Benchmark* b) {
    b->ArgNames({"MP/10", "bits"})->ArgsProduct({{3, 20, 120}, {8, 24}})->UseManualTime();
    b->Unit(benchmark::kMillisecond)->MinTime(0.4);
}

BENCHMARK(dibToMat)->Apply(sizes);
BENCHMARK(matToDib)->Apply(sizes);

} // namespace

BENCHMARK_MAIN();
