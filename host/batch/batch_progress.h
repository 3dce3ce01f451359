// How far a batch is, for people who watch.
#pragma once

#include "host/output.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace host {

// On a terminal, one line with a bar that is rewritten; otherwise a line every now and then.
class BatchProgress {
public:
    BatchProgress(Output& output, std::size_t total) : m_output(output), m_total(total) {}
    ~BatchProgress() { clear(); }
    BatchProgress(const BatchProgress&) = delete;
    BatchProgress& operator=(const BatchProgress&) = delete;

    // Shows it, if it was not shown a moment ago.
    //   finished  images that were run, with the failed ones
    //   skipped   that were finished before
    void show(std::size_t finished, std::size_t failed, std::size_t skipped);

    // Removes the line, so that something else can be printed.
    void clear();

private:
    Output& m_output;
    std::size_t m_total;
    std::size_t m_width = 0; // of the line that is shown
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_shown = m_start;
};

// The line: "[####----] 40/100, 12.5 a second, 5 s left, 1 failed".
std::string progressLine(std::size_t finished, std::size_t failed, std::size_t skipped,
                         std::size_t total, double seconds, bool bar);

} // namespace host
