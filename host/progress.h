// Shows that a long call is at work: the module says nothing meanwhile.
#pragma once

#include "host/output.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace host {

// Says what is done, a dot a second, and in the end the seconds it took. Nothing else may print on
// the output while it lives.
class Progress {
public:
    Progress(Output& output, const std::string& what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void tick();

    Output& m_output;
    bool m_done = false;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::thread m_thread; // last: it reads the others
};

} // namespace host
