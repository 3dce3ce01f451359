// Shows that a long call is at work: the module says nothing meanwhile.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace host {

// Prints what is done, a dot a second, and in the end the seconds it took; nothing if `quiet`.
class Progress {
public:
    Progress(const std::string& what, bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void tick();

    bool m_quiet;
    bool m_done = false;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::thread m_thread;
};

} // namespace host
