// Long runs: the page begins one, asks how far it is, and may stop it.
#pragma once

#include "workbench/engine.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace workbench {

// Any thread may call its functions.
class Jobs {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    // A job whose state nobody has asked for during this time is stopped: its page is gone. A
    // browser lets a page that is out of sight ask once a minute.
    static constexpr std::chrono::minutes forgottenAfter{10};

    // The engine must outlive the object, and must be closed before the object's end.
    explicit Jobs(Engine& engine, Clock clock = std::chrono::steady_clock::now);
    ~Jobs();
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    // Begins a run.
    //   answer  makes what the page gets of how it ended. If it throws, the page gets the reason.
    //   shown   makes the page's text of what the run says that it is at
    // Returns the job's id. Throws Busy.
    std::string begin(const std::vector<std::string>& words,
                      std::function<Json(const RunEnd&)> answer,
                      std::function<Json(const Json&)> shown);

    // {"state","done","total","what","answer"}; nothing if there is no such job.
    std::optional<Json> state(const std::string& job);

    // A job that waits is done at once. Returns false if there is no such job.
    bool stop(const std::string& job);

    // Stops the jobs that are forgotten, and returns how many. A thread of the object does so, too.
    std::size_t stopForgotten();

private:
    struct Job {
        Json state{};
        tarvix::Pool::Ticket ticket = 0;
        std::chrono::steady_clock::time_point asked;
    };
    void watch();

    Engine& m_engine;
    const Clock m_clock;

    std::mutex m_mutex; // guards the rest
    std::condition_variable m_wake;
    bool m_ending = false;
    std::map<std::string, Job> m_jobs;
    std::deque<std::string> m_order; // the oldest first
    std::uint64_t m_last = 0;
    std::thread m_watchdog;
};

} // namespace workbench
