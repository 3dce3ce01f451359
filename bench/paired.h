// Benchmarks compare: each runs our code and a reference in turn, in one run on one machine. It
// reports the median of the ratios pair by pair. Only ratios are meaningful on another machine.
#pragma once

#include "bench/peak.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace bench {

// Where large blocks come from, for ours and for the reference alike.
enum class Memory {
    fresh,  // from the system each time; otherwise the one that happens to reuse warm pages wins
    reused, // kept by the allocator, as in a host that has been running for a while
};

inline void use([[maybe_unused]] Memory memory) {
#if defined(__GLIBC__)
    constexpr int smallest = 128 * 1024;
    constexpr int largest = 32 * 1024 * 1024; // as far as the allocator's own adjustment goes
    mallopt(M_MMAP_THRESHOLD, memory == Memory::fresh ? smallest : largest);
    mallopt(M_TRIM_THRESHOLD, memory == Memory::fresh ? smallest : 2 * largest);
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

// How far values lie from their median: the median absolute deviation. A few pairs that something
// else disturbed do not move it.
inline double spread(const std::vector<double>& values) {
    const double middle = median(values);
    std::vector<double> distances;
    for (const double value : values) {
        distances.push_back(std::abs(value - middle));
    }
    return median(distances);
}

// Which of the two a process measures the memory of, instead of comparing times: "ours",
// "reference", or empty. bench/bench_memory.py asks for one after the other.
inline std::string sideOfPeak() {
    const char* side = std::getenv("TARVIX_BENCH_PEAK");
    return side == nullptr ? "" : side;
}

// The counter "peak_MB": what `work` needs at its peak. It has run once before, so that code and
// tables that are loaded at the first use do not count.
template <class Work>
void peakOf(benchmark::State& state, Work&& work) {
    for (auto _ : state) {
        const Peak peak;
        work();
        if (const std::optional<double> megabytes = peak.megabytes()) {
            state.counters["peak_MB"] = *megabytes;
        }
        state.SetIterationTime(1e6); // long enough, so that there is no second run
    }
}

// Reports the time of `ours` and the counters "ratio" = median of ours / reference, "spread" of
// the pairs' ratios, and "pairs", how many there were.
template <class Ours, class Reference>
void paired(benchmark::State& state, Ours&& ours, Reference&& reference,
            Memory memory = Memory::fresh) {
    const std::string side = sideOfPeak();
    if (!side.empty()) {
        use(Memory::fresh); // otherwise what is free stays resident and hides what is needed
        if (side == "ours") {
            ours();
            peakOf(state, ours);
        } else {
            ours(); // what it finds may be what the reference is given
            reference();
            peakOf(state, reference);
        }
        return;
    }
    use(memory);
    ours();
    reference();
    std::vector<double> ratios;
    std::vector<double> references;
    bool oursFirst = false;
    for (auto _ : state) {
        double a = 0;
        double b = 0;
        oursFirst = !oursFirst; // so that neither always finds the other's caches
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
    state.counters["spread"] = spread(ratios);
    state.counters["pairs"] = static_cast<double>(ratios.size());
    state.counters["reference_ms"] = median(references) * 1e3;
}

} // namespace bench
