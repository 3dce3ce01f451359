#include "host/progress.h"

#include <iomanip>
#include <iostream>

namespace host {

Progress::Progress(const std::string& what, bool quiet) : m_quiet(quiet) {
    if (!m_quiet) {
        std::cout << what << ' ' << std::flush;
        m_thread = std::thread([this] { tick(); });
    }
}

Progress::~Progress() {
    if (!m_quiet) {
        {
            const std::lock_guard lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_one();
        m_thread.join();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - m_start;
        std::cout << ' ' << std::fixed << std::setprecision(1) << took.count() << " s\n"
                  << std::defaultfloat << std::flush;
    }
}

void Progress::tick() {
    std::unique_lock lock(m_mutex);
    while (!m_wake.wait_for(lock, std::chrono::seconds(1), [this] { return m_done; })) {
        std::cout << '.' << std::flush;
    }
}

} // namespace host
