// Many calls of each export: the process does not grow and keeps no file open. The environment
// variable TARVIX_SOAK sets the number of calls of each quick export; slow ones get a hundredth.
#include "tests/support/exports.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <malloc.h>
#include <unistd.h>

namespace {

struct Usage {
    long heapBytes = 0; // allocated and not freed
    long residentKb = 0;
    long openFiles = 0;
};

Usage usageNow() {
    Usage usage;
    const auto heap = mallinfo2();
    usage.heapBytes = static_cast<long>(heap.uordblks + heap.hblkhd);
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages; // the second number
    usage.residentKb = pages * sysconf(_SC_PAGESIZE) / 1024;
    const std::filesystem::directory_iterator files("/proc/self/fd");
    usage.openFiles = std::distance(begin(files), end(files));
    return usage;
}

// What a run may grow by: the C library and OpenCV keep freed blocks and a few caches. One bitmap
// of these tests has 36 KB.
constexpr long heapSlackBytes = 64L * 1024;
constexpr long residentSlackKb = 4L * 1024;

struct Growth : Usage {
    // Whether the memory grows by no more than that.
    [[nodiscard]] bool isSlack() const {
        return heapBytes < heapSlackBytes && residentKb < residentSlackKb;
    }
};

Growth growthBetween(const Usage& before, const Usage& after) {
    return {{after.heapBytes - before.heapBytes, after.residentKb - before.residentKb,
             after.openFiles - before.openFiles}};
}

constexpr int mostRounds = 4;

TEST(Soak, TheProcessStaysAsItIs) {
    const char* const wanted = std::getenv("TARVIX_SOAK");
    const long quickCalls = wanted == nullptr ? 200 : std::strtol(wanted, nullptr, 10);
    const test::MessageCounter host{};
    const test::Workplace place;
    std::printf("%-22s %7s %9s %12s %12s %6s\n", "export", "calls", "ms each", "heap bytes",
                "resident KB", "files");
    for (const test::Export& e : test::allExports()) {
        test::Arguments arguments = place.usualFor(e);
        const test::Outcome first = test::run(e, arguments);
        const long calls = e.isQuick ? quickCalls : std::max(quickCalls / 100, 2L);
        for (long i = 0; i < std::max(calls / 10, 3L); ++i) {
            test::run(e, arguments); // until everything that is made once has been made
        }
        Growth growth;
        // OpenCV's threads keep blocks of their own, some for the first time in a later round. What
        // is lost by a call is lost in every round.
        for (int round = 0; round == 0 || (round < mostRounds && !growth.isSlack()); ++round) {
            const Usage before = usageNow();
            const auto start = std::chrono::steady_clock::now();
            for (long i = 0; i < calls; ++i) {
                ASSERT_EQ(test::run(e, arguments), first) << e.name;
            }
            const std::chrono::duration<double, std::milli> took =
                std::chrono::steady_clock::now() - start;
            growth = growthBetween(before, usageNow());
            std::printf("%-22s %7ld %9.2f %+12ld %+12ld %+6ld\n", e.name, calls,
                        took.count() / static_cast<double>(calls), growth.heapBytes,
                        growth.residentKb, growth.openFiles);
            EXPECT_EQ(growth.openFiles, 0) << e.name << " in round " << round;
        }
        EXPECT_TRUE(growth.isSlack())
            << e.name << " grows in every round, in the last one by " << growth.heapBytes
            << " bytes of heap and " << growth.residentKb << " KB of resident memory";
    }
}

} // namespace
