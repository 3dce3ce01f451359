// How the registration of a set grows with the number of images. Time grows in proportion (the
// counter ms_each stays the same). Memory does not grow (peak_MB stays the same): images are read
// one at a time.
#include "bench/paired.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <tarvix/tarvix.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <atomic>
#include <filesystem>
#include <string>

namespace {

// Counts the bytes of all matrices of the process, including the module's.
class CountingAllocator : public cv::MatAllocator {
public:
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        cv::UMatData* u = m_standard->allocate(dims, sizes, type, data, step, flags, usage);
        if (u != nullptr && data == nullptr) {
            u->currAllocator = this;
            const std::size_t now = m_now += u->size;
            std::size_t peak = m_peak;
            while (now > peak && !m_peak.compare_exchange_weak(peak, now)) {
            }
        }
        return u;
    }
    bool allocate(cv::UMatData* u, cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        return m_standard->allocate(u, flags, usage);
    }
    void deallocate(cv::UMatData* u) const override {
        if (u != nullptr && u->currAllocator == this) {
            m_now -= u->size;
            u->currAllocator = m_standard;
        }
        m_standard->deallocate(u);
    }
    void restart() const { m_peak = m_now.load(); }
    [[nodiscard]] std::size_t peak() const { return m_peak; }

private:
    cv::MatAllocator* m_standard = cv::Mat::getStdAllocator();
    mutable std::atomic<std::size_t> m_now{0};
    mutable std::atomic<std::size_t> m_peak{0};
};

void registration(benchmark::State& state) {
    static CountingAllocator allocator; // matrices may live longer than this function
    cv::Mat::setDefaultAllocator(&allocator);
    const test::TempFolder folder;
    const auto count = static_cast<int>(state.range(0));
    CStringArray inputs;
    CStringArray outputs;
    {
        const cv::Mat whole = test::landscape({1300, 1000}, 24);
        for (int i = 0; i < count; ++i) {
            // The canvas is the same for every number of images: the second one sets it.
            const cv::Rect window(i % 2 * 80, i % 2 * 60, 1200, 900);
            const std::string number = std::to_string(i);
            cv::imwrite(folder / ("in" + number + ".bmp"), whole(window));
            inputs.Add((folder / ("in" + number + ".bmp")).c_str());
            outputs.Add((folder / ("out" + number + ".bmp")).c_str());
        }
    }
    allocator.restart();
    std::size_t before = allocator.peak();
    double seconds = 0;
    for (auto _ : state) {
        const double took = bench::secondsOf([&] { tx_MatchImages(inputs, outputs); });
        state.SetIterationTime(took);
        seconds += took;
    }
    cv::Mat::setDefaultAllocator(nullptr);
    for (int i = 0; i < count; ++i) {
        if (!std::filesystem::exists(outputs[i].GetString())) {
            state.SkipWithError("an image was not registered");
            return;
        }
    }
    state.counters["ms_each"] = seconds * 1e3 / static_cast<double>(state.iterations()) / count;
    state.counters["peak_MB"] = static_cast<double>(allocator.peak() - before) / 1e6;
}

BENCHMARK(registration)
    ->ArgName("images")
    ->Arg(2)
    ->Arg(4)
    ->Arg(8)
    ->Arg(16)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->MinTime(1);

} // namespace

BENCHMARK_MAIN();
