// Workers where the system gives few threads or none.
#include "workers/pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <limits>
#include <system_error>

#include <dlfcn.h>
#include <pthread.h>

namespace {

std::atomic<int> threadsLeft = std::numeric_limits<int>::max();

} // namespace

// Comes before the C library's.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*function)(void*), void* argument) {
    if (--threadsLeft < 0) {
        return EAGAIN;
    }
    static const auto real =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return real(thread, attributes, function, argument);
}

namespace {

using tarvix::Outcome;
using tarvix::Pool;
using tarvix::Reply;

const std::string probe = std::filesystem::absolute(TARVIX_WORKER_PROBE).string();

class FewThreads : public testing::Test {
protected:
    ~FewThreads() override { threadsLeft = std::numeric_limits<int>::max(); }
};

TEST_F(FewThreads, AWorkerThatCannotBeWatchedIsNotStarted) {
    tarvix::Worker worker({probe});
    threadsLeft = 0;
    EXPECT_EQ(worker.ask({{"do", ""}}).outcome, Outcome::NotStarted);
    threadsLeft = 1;
    EXPECT_EQ(worker.ask({{"do", ""}}).outcome, Outcome::Answered);
}

TEST_F(FewThreads, APoolHasFewerWorkers) {
    threadsLeft = 2;
    Pool pool({probe}, 5, {});
    threadsLeft = std::numeric_limits<int>::max(); // for what watches them
    std::atomic<int> answered = 0;
    for (int i = 0; i < 20; ++i) {
        pool.submit({{"do", ""}}, [&](const Reply& reply) {
            answered += reply.outcome == Outcome::Answered ? 1 : 0;
        });
    }
    pool.waitUntil(0);
    EXPECT_EQ(answered, 20);
}

TEST_F(FewThreads, APoolWithoutAnyIsRefused) {
    threadsLeft = 0;
    EXPECT_THROW(Pool({probe}, 5, {}), std::system_error);
}

} // namespace
