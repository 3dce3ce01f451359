// Compares the convergence search with the plain scan that defines it: the ratio scan / search in
// one run, in processor time, over simulated facades.
#include "bench/paired.h"
#include "geometry/converge_search.h"
#include "tests/geometry/literal_scan.h"
#include "tests/geometry/quad_cases.h"

#include <algorithm>
#include <ctime>
#include <limits>

namespace {

constexpr int facades = 24;

// The least of several runs: other processes only add time.
template <class Work>
double processorSeconds(int runs, Work&& work) {
    double least = std::numeric_limits<double>::max();
    for (int i = 0; i < runs; ++i) {
        const std::clock_t start = std::clock();
        work();
        least = std::min(least, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return least;
}

// range(0): the given focal length, mm; 0 is unknown.
void convergeSearch(benchmark::State& state) {
    const auto focal = static_cast<double>(state.range(0));
    const int batch = focal == 0.0 ? 4 : 20; // the clock ticks in microseconds
    std::mt19937_64 random(1);
    std::vector<double> ratios;
    std::vector<double> plain;
    std::vector<double> ours;
    for (auto _ : state) {
        ratios.clear();
        for (int i = 0; i < facades; ++i) {
            const tarvix::MarkedQuad quad = tarvix::test::randomFacade(random);
            const double search = processorSeconds(5, [&] {
                for (int k = 0; k < batch; ++k) {
                    benchmark::DoNotOptimize(tarvix::findPose(quad, focal));
                }
            });
            const double scan = processorSeconds(
                3, [&] { benchmark::DoNotOptimize(tarvix::test::literalScan(quad, focal)); });
            ours.push_back(search / batch);
            plain.push_back(scan);
            ratios.push_back(scan * batch / search);
        }
        state.SetIterationTime(bench::median(ours));
    }
    state.counters["facades"] = facades;
    state.counters["ratio_median"] = bench::median(ratios);
    state.counters["spread"] = bench::spread(ratios);
    state.counters["ratio_worst"] = *std::min_element(ratios.begin(), ratios.end());
    state.counters["scan_ms"] = bench::median(plain) * 1e3;
}

BENCHMARK(convergeSearch)
    ->ArgName("focal")
    ->Arg(0)
    ->Arg(35)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
