// Several threads that call different exports at once: each call gives what it gives alone.
#include "tests/support/exports.h"

#include <gmock/gmock.h>

#include <atomic>
#include <barrier>
#include <thread>

namespace {

constexpr std::size_t threadCount = 4;
constexpr int quickCalls = 20; // of each export in each thread

TEST(Threads, ExportsCalledAtOnceGiveWhatTheyGiveAlone) {
    const test::MessageCounter host{};
    const test::Workplace place;
    const auto exports = test::allExports();
    std::vector<test::Outcome> alone;
    for (const test::Export& e : exports) {
        test::Arguments arguments = place.usualFor(e);
        alone.push_back(test::run(e, arguments));
        EXPECT_NE(alone.back().value, 0) << e.name;
        EXPECT_EQ(alone.back().messages, 0) << e.name;
    }

    std::atomic<int> calls = 0;
    std::barrier start(threadCount);
    std::vector<std::vector<std::string>> failures(threadCount);
    const auto work = [&](std::size_t thread) {
        start.arrive_and_wait();
        for (std::size_t i = 0; i < exports.size(); ++i) {
            // Each begins elsewhere in the table.
            const std::size_t chosen = (i + thread * exports.size() / threadCount) % exports.size();
            const test::Export& e = exports[chosen];
            test::Arguments arguments = place.usualFor(e, "out" + std::to_string(thread));
            for (int n = 0; n < (e.isQuick ? quickCalls : 2); ++n) {
                if (test::run(e, arguments) != alone[chosen]) {
                    failures[thread].emplace_back(e.name);
                }
                ++calls;
            }
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < threadCount; ++t) {
        threads.emplace_back(work, t);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const auto& names : failures) {
        EXPECT_THAT(names, testing::IsEmpty());
    }
    RecordProperty("calls", calls);
}

} // namespace
