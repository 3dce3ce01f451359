// The pool of workers: every request gets one reply, whatever happens to its worker.
#include "workers/pool.h"

#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <vector>

namespace {

using tarvix::Json;
using tarvix::Outcome;
using tarvix::Pool;
using tarvix::Reply;

const std::string probe = std::filesystem::absolute(TARVIX_WORKER_PROBE).string();

TEST(Pool, EveryRequestGetsItsOwnReplyOnce) {
    constexpr std::size_t count = 300;
    std::vector<int> replies(count, 0);
    std::vector<Outcome> outcomes(count);
    std::mutex mutex;
    Pool pool({probe}, 4, {});
    for (std::size_t i = 0; i < count; ++i) {
        const Json request = {{"do", i % 50 == 7 ? "die" : ""}, {"number", i}};
        pool.submit(request, [&, i](const Reply& reply) {
            const std::lock_guard lock(mutex);
            ++replies[i];
            outcomes[i] = reply.outcome;
            if (reply.outcome == Outcome::Answered) {
                EXPECT_EQ(reply.answer.at("got").at("number"), i);
            }
        });
    }
    pool.waitUntil(0);
    EXPECT_EQ(pool.unfinished(), 0U);
    EXPECT_EQ(replies, std::vector<int>(count, 1));
    for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(outcomes[i], i % 50 == 7 ? Outcome::Died : Outcome::Answered) << i;
    }
}

// Holds a pool's only worker: its request hangs from here on.
class HungPool {
public:
    HungPool() {
        ticket = pool.submit(
            {{"do", "hang"}}, [this](const Reply& reply) { hung = reply.outcome; },
            [this](const Json&) {
                const std::lock_guard lock(m_mutex);
                m_hangs = true;
                m_wake.notify_all();
            });
        std::unique_lock lock(m_mutex);
        m_wake.wait(lock, [this] { return m_hangs; });
    }
    std::atomic<Outcome> hung = Outcome::Answered;
    Pool::Ticket ticket = 0;

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_hangs = false;

public:
    Pool pool{{probe}, 1, {}}; // last: its threads use the others
};

TEST(Pool, ARequestIsStoppedWhereverItIs) {
    HungPool hung;
    std::vector<Outcome> outcomes(3, Outcome::Died);
    std::vector<Pool::Ticket> tickets;
    for (Outcome& outcome : outcomes) {
        tickets.push_back(hung.pool.submit(
            {{"do", ""}}, [&outcome](const Reply& reply) { outcome = reply.outcome; }));
    }
    EXPECT_EQ(hung.pool.waiting(), 3U);
    EXPECT_EQ(hung.pool.unfinished(), 4U);
    hung.pool.stop(tickets[1]);
    hung.pool.stop(tickets[2] + 100); // there is none
    hung.pool.stop(hung.ticket);
    hung.pool.waitUntil(0);
    EXPECT_EQ(hung.hung, Outcome::Stopped);
    EXPECT_THAT(outcomes,
                testing::ElementsAre(Outcome::Answered, Outcome::Stopped, Outcome::Answered));
    hung.pool.stop(tickets[0]); // finished: nothing happens
}

TEST(Pool, WhatWaitsIsStoppedAlone) {
    HungPool hung;
    std::vector<Outcome> outcomes(3, Outcome::Died);
    for (Outcome& outcome : outcomes) {
        hung.pool.submit({{"do", ""}}, [&outcome](const Reply& reply) { outcome = reply.outcome; });
    }
    hung.pool.stopWaiting();
    EXPECT_EQ(hung.hung, Outcome::Answered) << "not even that has changed";
    hung.pool.submit({{"do", ""}}, [](const Reply& reply) { // comes later
        EXPECT_EQ(reply.outcome, Outcome::Answered);
    });
    hung.pool.stop(hung.ticket);
    hung.pool.waitUntil(0);
    EXPECT_THAT(outcomes, testing::Each(Outcome::Stopped));
}

TEST(Pool, ItsEndStopsWhatIsLeft) {
    std::atomic<int> stopped = 0;
    {
        HungPool hung;
        for (int i = 0; i < 5; ++i) {
            hung.pool.submit({{"do", ""}}, [&](const Reply& reply) {
                stopped += reply.outcome == Outcome::Stopped ? 1 : 0;
            });
        }
    }
    EXPECT_EQ(stopped, 5);
}

} // namespace
