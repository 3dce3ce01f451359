// Several workers that share a queue of requests.
#pragma once

#include "workers/worker.h"

#include <cstddef>

namespace tarvix {

// Any thread may call its functions.
class Pool {
public:
    using Ticket = std::uint64_t;

    // Gets the reply, on a thread of the pool. It must not throw, and must not wait for the pool.
    using Done = std::function<void(const Reply&)>;

    // `count` workers, at least one, each with a thread. Processes start with the first requests.
    // Has fewer if the system gives no more threads. Throws std::system_error if it gives none.
    Pool(std::vector<std::string> words, std::size_t count, Limits limits, bool showErrors = false);
    ~Pool(); // stops what runs and what waits; each request's `done` has been called then
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    // Puts the request at the end of the queue, which has no limit, and returns at once.
    Ticket submit(Json request, Done done, OnProgress onProgress = {});

    // Requests that no worker has begun, and those that are not finished: these, too.
    [[nodiscard]] std::size_t waiting() const;
    [[nodiscard]] std::size_t unfinished() const;

    // Stops a request: its reply is Stopped, unless it was answered already. Nothing happens if
    // it is finished.
    void stop(Ticket ticket);
    void stopWaiting(); // all that no worker has begun
    void stopAll();

    // Waits until at most `count` requests are not finished.
    void waitUntil(std::size_t count);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace tarvix
