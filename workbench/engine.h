// Runs command lines in worker processes, so that nothing that an image does to a decoder or an
// operation reaches the server.
#pragma once

#include "workers/pool.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace workbench {

using Json = nlohmann::ordered_json;

// Too many requests wait.
struct Busy : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The page goes on with this status if a worker died, took too long or too much memory.
inline constexpr int workerLost = 3;

// How a command line ended.
struct RunEnd {
    int status = workerLost; // the exit status, or workerLost
    Json data{};             // what it printed; null if nothing
    std::vector<std::string> messages{};
    std::vector<Json> images{}; // written: {"file","width","height"}
    double seconds = 0;
    double cpuSeconds = 0;
};

class Engine {
public:
    // What a run is for. Each has workers of its own: a calibration that takes a minute does not
    // hold up a drag.
    enum class Lane { Drag, Work, Long };

    // `program`: this program, whose command `worker` answers.
    explicit Engine(const std::string& program);

    using OnEnd = std::function<void(const RunEnd&)>;

    // Runs the words and waits for the end, which comes early if `gone` asks for a stop. Throws
    // Busy.
    RunEnd run(const std::vector<std::string>& words, Lane lane, bool draft = false,
               const std::stop_token& gone = {});

    // The same without waiting; `onEnd` is called once, on another thread, and must not throw.
    // Throws Busy.
    tarvix::Pool::Ticket start(const std::vector<std::string>& words, Lane lane, bool draft,
                               OnEnd onEnd, tarvix::OnProgress onProgress = {});

    // Ends a run that start() began in that lane.
    void stop(Lane lane, tarvix::Pool::Ticket ticket);

    // Ends all runs, waits until each has called its `onEnd`, and begins no more: start() throws
    // Busy then.
    void close();

private:
    tarvix::Pool& poolOf(Lane lane);

    tarvix::Pool m_drag;
    tarvix::Pool m_work;
    tarvix::Pool m_long;
    std::mutex m_mutex; // guards the rest
    bool m_closed = false;
};

} // namespace workbench
