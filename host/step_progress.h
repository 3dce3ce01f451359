// How far a long list of steps is, for people who watch.
#pragma once

#include "host/output.h"

#include <chrono>
#include <string>

namespace host {

// On a terminal, one line that is rewritten; otherwise one line a step. Nothing else may print on
// the output while it lives.
class StepProgress {
public:
    StepProgress(Output& output, std::size_t steps) : m_output(output), m_steps(steps) {}
    ~StepProgress();
    StepProgress(const StepProgress&) = delete;
    StepProgress& operator=(const StepProgress&) = delete;

    // Says that a step is done: its name, what came of it, and how long the rest may take.
    void done(const std::string& name, const std::string& result);

private:
    Output& m_output;
    std::size_t m_steps;
    std::size_t m_done = 0;
    std::size_t m_width = 0; // of the line that is shown on a terminal
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace host
