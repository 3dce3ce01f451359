#include "host/progress.h"

#include <iomanip>
#include <sstream>

namespace host {

Progress::Progress(Output& output, const std::string& what) : m_output(output) {
    m_output.say(what + ' ');
    m_thread = std::thread([this] { tick(); });
}

Progress::~Progress() {
    {
        const std::lock_guard lock(m_mutex);
        m_done = true;
    }
    m_wake.notify_one();
    m_thread.join();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - m_start;
    std::ostringstream seconds;
    seconds << ' ' << std::fixed << std::setprecision(1) << took.count() << " s\n";
    m_output.say(seconds.str());
}

void Progress::tick() {
    std::unique_lock lock(m_mutex);
    while (!m_wake.wait_for(lock, std::chrono::seconds(1), [this] { return m_done; })) {
        m_output.say(".");
    }
}

} // namespace host
