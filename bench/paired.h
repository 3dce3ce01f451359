// Benchmarks compare: each runs ours and a reference in turn, in one run on one machine, and
// reports the median of the ratios pair by pair. Only the ratio means something on another machine.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace bench {

// Large blocks come fresh from the system each time, for ours and for the reference alike;
// otherwise the one that happens to reuse warm pages wins.
inline void useFreshMemory() {
#if defined(__GLIBC__)
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
#endif
}

template <class Work>
double secondsOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

// Reports the time of `ours` and the counter "ratio" = median of ours / reference.
template <class Ours, class Reference>
void paired(benchmark::State& state, Ours&& ours, Reference&& reference) {
    useFreshMemory();
    ours();
    reference();
    std::vector<double> ratios;
    std::vector<double> references;
    bool oursFirst = false;
    for (auto _ : state) {
        double a = 0;
        double b = 0;
        oursFirst = !oursFirst; // neither always finds the other's caches
        if (oursFirst) {
            a = secondsOf(ours);
            b = secondsOf(reference);
        } else {
            b = secondsOf(reference);
            a = secondsOf(ours);
        }
        state.SetIterationTime(a);
        ratios.push_back(a / b);
        references.push_back(b);
    }
    state.counters["ratio"] = median(ratios);
    state.counters["reference_ms"] = median(references) * 1e3;
}

} // namespace bench
