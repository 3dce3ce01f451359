// A program that this process starts and talks to through pipes.
#pragma once

#include "platform/system/pipe_end.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarvix {

// Where what the program prints on standard error goes.
enum class Errors { Dropped, Shown };

// A running program. It inherits nothing but its three standard streams. It does not get the
// terminal's Ctrl-C, and ignores the signals by which a system or a scheduler asks every process to
// end: this process ends it. It ends when this process ends, however that ends; on Linux already
// when the thread ends that started it.
class ChildProcess {
public:
    // Starts words[0], a path, with the other words passed unchanged. Throws std::runtime_error,
    // with the reason, if it cannot be started.
    ChildProcess(const std::vector<std::string>& words, Errors errors);
    ~ChildProcess(); // ends it
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    PipeEnd& input() { return m_in; }   // leads to its standard input
    PipeEnd& output() { return m_out; } // comes from its standard output

    // The system's number of it.
    [[nodiscard]] std::uint64_t number() const;

    // Ends it at once, with what it has started. Any thread may call this.
    void end();

    // True if it has ended by itself or was ended.
    [[nodiscard]] bool hasEnded() const;

    // Waits for its end. Returns how it ended, such as "was ended by signal 9" or "ended with
    // status 3".
    std::string wait();

    // Bytes of memory in use; 0 if that is not known. Any thread may call these.
    [[nodiscard]] std::uint64_t memory() const;

    // The most that was in use since forgetPeakMemory(). On Windows since the start.
    [[nodiscard]] std::uint64_t peakMemory() const;
    void forgetPeakMemory();

private:
    struct State;
    std::unique_ptr<State> m_state;
    PipeEnd m_in;
    PipeEnd m_out;
};

// The path of the program that runs.
std::string ownProgram();

// Standard input and output of this process.
struct StandardStreams {
    PipeEnd in;
    PipeEnd out;
};

// Takes both streams over, so that nothing else reads from one or prints into the other: the end
// of the input is at its place for everybody else, and what they print goes to standard error.
StandardStreams takeStandardStreams();

} // namespace tarvix
