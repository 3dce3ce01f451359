#include "workers/worker.h"

#include "platform/system/child_process.h"
#include "workers/protocol.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <sstream>
#include <thread>

namespace tarvix {

namespace {

using Clock = std::chrono::steady_clock;

// A start loads some hundred libraries, on a machine that may be busy. This only ends a hang.
constexpr std::chrono::seconds longestStart{120};
constexpr std::chrono::milliseconds memoryPeriod{20};

constexpr double longestLimit = 1e8; // s: more than that overflows the clock in the end

std::string shown(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << value;
    return text.str();
}

} // namespace

struct Worker::State {
    State(std::vector<std::string> programWords, Limits requestLimits, bool errorsShown)
        : words(std::move(programWords)), limits(requestLimits),
          errors(errorsShown ? Errors::Shown : Errors::Dropped) {}

    // Ends the process because of what is wrong with the running request. Needs the lock.
    void endAs(Outcome reason) {
        if (!ended) {
            ended = reason;
            child->end();
        }
    }
    void watch();
    std::uint64_t watchMemory();
    void start();
    [[nodiscard]] bool isReady(Reply& reply);
    void begin(std::optional<Clock::time_point> until, bool withMemory);
    void finish(Reply& reply);
    Reply ask(const Json& request, const OnProgress& onProgress);
    [[nodiscard]] std::string sentence(Outcome outcome) const;

    const std::vector<std::string> words;
    const Limits limits;
    const Errors errors;
    std::unique_ptr<ChildProcess> child; // replaced by the asking thread only
    std::unique_ptr<LineReader> lines;
    std::uint64_t id = 0;
    bool answeredBefore = false; // this process, when the last request began

    std::mutex mutex; // of what follows, and of the pointer to the child
    std::condition_variable wake;
    bool asking = false;
    bool stopAsked = false;
    bool ending = false;
    bool memoryWatched = false;
    std::optional<Clock::time_point> deadline;
    std::optional<Outcome> ended; // by us
    std::uint64_t mostSeen = 0;   // bytes of memory during the request
    std::thread watchdog;
};

std::uint64_t Worker::State::watchMemory() {
    const std::uint64_t bytes = child->memory();
    mostSeen = std::max(mostSeen, bytes);
    return bytes;
}

void Worker::State::watch() {
    std::unique_lock lock(mutex);
    while (!ending) {
        if (!asking || ended || (!deadline && !memoryWatched)) {
            wake.wait(lock);
        } else if (deadline && Clock::now() >= *deadline) {
            endAs(Outcome::TimedOut);
        } else if (memoryWatched && watchMemory() > limits.memory) {
            endAs(Outcome::TooMuchMemory);
        } else if (!memoryWatched) {
            wake.wait_until(lock, *deadline);
        } else {
            const Clock::time_point next = Clock::now() + memoryPeriod;
            wake.wait_until(lock, deadline ? std::min(next, *deadline) : next);
        }
    }
}

// Starts what a request needs and is not there. Needs the lock. Throws std::exception.
void Worker::State::start() {
    if (!watchdog.joinable()) {
        watchdog = std::thread([this] { watch(); });
    }
    auto started = std::make_unique<ChildProcess>(words, errors);
    lines = std::make_unique<LineReader>(started->output());
    child = std::move(started);
}

// From here on the child can be ended by us.
void Worker::State::begin(std::optional<Clock::time_point> until, bool withMemory) {
    {
        const std::lock_guard lock(mutex);
        asking = true;
        deadline = until;
        memoryWatched = withMemory;
        mostSeen = 0;
        if (stopAsked) {
            endAs(Outcome::Stopped);
        }
    }
    wake.notify_all();
}

std::string Worker::State::sentence(Outcome outcome) const {
    constexpr double mebi = 1024.0 * 1024.0;
    switch (outcome) {
    case Outcome::TimedOut:
        return "it took longer than " + shown(limits.seconds) + " s";
    case Outcome::TooMuchMemory:
        return "it took more than " + shown(static_cast<double>(limits.memory) / mebi) +
               " MiB of memory";
    default:
        return "it was stopped";
    }
}

// Says how the request came out, and drops a process that is of no more use.
void Worker::State::finish(Reply& reply) {
    const std::lock_guard lock(mutex);
    asking = false;
    reply.peakMemory = std::max(child->peakMemory(), mostSeen);
    reply.process = child->number();
    if (reply.outcome == Outcome::Answered && !ended) {
        return;
    }
    child->end();
    const std::string how = child->wait();
    if (ended && reply.outcome != Outcome::Answered) {
        reply.outcome = *ended;
        reply.why = sentence(*ended);
    } else if (reply.why.empty()) {
        reply.why = "the worker process " + how;
    }
    lines.reset();
    child.reset();
}

Worker::Worker(std::vector<std::string> words, Limits limits, bool showErrors)
    : m_state(std::make_unique<State>(std::move(words), limits, showErrors)) {}

Worker::~Worker() {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->ending = true;
    }
    m_state->wake.notify_all();
    if (m_state->watchdog.joinable()) {
        m_state->watchdog.join();
    }
}

void Worker::stop() {
    const std::lock_guard lock(m_state->mutex);
    m_state->stopAsked = true;
    if (m_state->asking) {
        m_state->endAs(Outcome::Stopped);
    }
}

void Worker::forgetStop() {
    const std::lock_guard lock(m_state->mutex);
    m_state->stopAsked = false;
}

// Waits for the new process to be ready. Otherwise, the reply says why it is not.
bool Worker::State::isReady(Reply& reply) {
    begin(Clock::now() + longestStart, false);
    std::string line;
    const bool answers = lines->read(line);
    if (answers && saysReady(line)) {
        return true;
    }
    reply.why = answers ? noAnswer : "";
    finish(reply);
    if (reply.outcome == Outcome::TimedOut) {
        reply.why =
            "the worker process was not ready after " + std::to_string(longestStart.count()) + " s";
    }
    if (reply.outcome != Outcome::Stopped) {
        reply.outcome = Outcome::NotStarted;
    }
    return false;
}

Reply Worker::State::ask(const Json& request, const OnProgress& onProgress) {
    Reply reply;
    bool started = false;
    {
        const std::lock_guard lock(mutex);
        ended.reset();
        if (child && child->hasEnded()) { // while it had nothing to do
            lines.reset();
            child.reset();
        }
        answeredBefore = child != nullptr;
        if (!child) {
            try {
                start();
            } catch (const std::exception& e) {
                reply.outcome = Outcome::NotStarted;
                reply.why = e.what();
                return reply;
            }
            started = true;
        }
    }
    if (started && !isReady(reply)) {
        return reply;
    }
    child->forgetPeakMemory();
    const Clock::time_point begun = Clock::now();
    std::optional<Clock::time_point> until;
    if (limits.seconds > 0) {
        until = begun + std::chrono::duration_cast<Clock::duration>(
                            std::chrono::duration<double>(std::min(limits.seconds, longestLimit)));
    }
    begin(until, limits.memory > 0);
    Json sent = request;
    sent["id"] = ++id;
    if (child->input().write(sent.dump() + '\n')) {
        std::optional<Json> answer = answerTo(id, *lines, onProgress);
        if (answer && answer->is_discarded()) {
            reply.why = noAnswer;
        } else if (answer) {
            reply.outcome = Outcome::Answered;
            reply.answer = std::move(*answer);
        }
    }
    reply.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
    finish(reply);
    return reply;
}

Reply Worker::ask(const Json& request, const OnProgress& onProgress) {
    Reply reply = m_state->ask(request, onProgress);
    // A process keeps some of what earlier requests took: that is not held against this one.
    if (reply.outcome == Outcome::TooMuchMemory && m_state->answeredBefore) {
        reply = m_state->ask(request, onProgress);
    }
    return reply;
}

} // namespace tarvix
