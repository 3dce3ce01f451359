#include "host/step_progress.h"

#include <algorithm>

namespace host {

namespace {

constexpr std::size_t widestLine = 79; // a longer one would wrap, and only its end be rewritten

} // namespace

StepProgress::~StepProgress() {
    if (m_width > 0) {
        m_output.say("\n");
    }
}

void StepProgress::done(const std::string& name, const std::string& result) {
    ++m_done;
    m_output.step(m_done, m_steps, name);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - m_start;
    const std::size_t left = m_steps - std::min(m_done, m_steps);
    const auto seconds =
        static_cast<long>(took.count() * static_cast<double>(left) / static_cast<double>(m_done));
    std::string line =
        "[" + std::to_string(m_done) + "/" + std::to_string(m_steps) + "] " + name + ": " + result;
    if (seconds > 0) {
        line += ", about " + std::to_string(seconds) + " s left";
    }
    if (!m_output.isTerminal()) {
        m_output.say(line + "\n");
        return;
    }
    line.resize(std::min(line.size(), widestLine));
    const std::size_t width = line.size();
    line.resize(std::max(width, m_width), ' '); // covers what was longer
    m_width = width;
    m_output.say("\r" + line);
}

} // namespace host
