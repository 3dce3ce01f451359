#include "platform/system/interrupts.h"

#include <array>
#include <csignal>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace tarvix {

namespace {

constexpr std::array<int, 3> signals = {SIGINT, SIGTERM, SIGHUP};

// A handler may do next to nothing: it writes a byte into a pipe, from which a thread reads.
int pipeOfHandler = -1;

void onSignal(int /*signal*/) {
    const char interrupted = 'i';
    [[maybe_unused]] const ssize_t written = write(pipeOfHandler, &interrupted, 1);
}

} // namespace

struct Interrupts::State {
    std::function<void()> onInterrupt;
    std::array<int, 2> ends{-1, -1};
    std::array<struct sigaction, signals.size()> before{};
    std::thread reader;
};

Interrupts::Interrupts(std::function<void()> onInterrupt) : m_state(std::make_unique<State>()) {
    State& s = *m_state;
    s.onInterrupt = std::move(onInterrupt);
    if (pipe2(s.ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("the system gives no pipe");
    }
    pipeOfHandler = s.ends[1];
    s.reader = std::thread([&s] {
        char what = 0;
        while (read(s.ends[0], &what, 1) == 1 && what == 'i') {
            s.onInterrupt();
        }
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < signals.size(); ++i) {
        sigaction(signals[i], &action, &s.before[i]);
        if (s.before[i].sa_handler == SIG_IGN) { // as under nohup
            sigaction(signals[i], &s.before[i], nullptr);
        }
    }
}

Interrupts::~Interrupts() {
    State& s = *m_state;
    for (std::size_t i = 0; i < signals.size(); ++i) {
        sigaction(signals[i], &s.before[i], nullptr);
    }
    const char end = 'e';
    [[maybe_unused]] const ssize_t written = write(s.ends[1], &end, 1);
    s.reader.join();
    close(s.ends[0]);
    close(s.ends[1]);
}

} // namespace tarvix
