#include "workers/pool.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

namespace tarvix {

namespace {

struct Entry {
    Pool::Ticket ticket = 0;
    Json request;
    Pool::Done done;
    OnProgress onProgress;
    bool stopped = false;
};

} // namespace

struct Pool::State {
    // A worker with its thread.
    struct Seat {
        std::unique_ptr<Worker> worker;
        Ticket ticket = 0; // of the request that it has; 0: none
        std::thread thread;
    };

    void serve(Seat& seat);

    mutable std::mutex mutex;
    std::condition_variable wake;     // for the seats
    std::condition_variable finished; // for who waits
    std::deque<Entry> queue;
    std::size_t running = 0;
    Ticket last = 0;
    bool ending = false;
    std::vector<Seat> seats;
};

void Pool::State::serve(Seat& seat) {
    std::unique_lock lock(mutex);
    for (;;) {
        wake.wait(lock, [this] { return ending || !queue.empty(); });
        if (queue.empty()) {
            break;
        }
        const Entry entry = std::move(queue.front());
        queue.pop_front();
        ++running;
        seat.ticket = entry.ticket;
        lock.unlock();
        Reply reply;
        if (entry.stopped) {
            reply = {.outcome = Outcome::Stopped, .why = "it was stopped"};
        } else {
            reply = seat.worker->ask(entry.request, entry.onProgress);
        }
        entry.done(reply);
        lock.lock();
        seat.ticket = 0;
        seat.worker->forgetStop();
        --running;
        finished.notify_all();
    }
    lock.unlock();
    seat.worker.reset(); // on the thread that started its process
}

Pool::Pool(std::vector<std::string> words, std::size_t count, Limits limits, bool showErrors)
    : m_state(std::make_unique<State>()) {
    m_state->seats.resize(std::max<std::size_t>(count, 1));
    for (State::Seat& seat : m_state->seats) {
        seat.worker = std::make_unique<Worker>(words, limits, showErrors);
    }
    for (std::size_t i = 0; i < m_state->seats.size(); ++i) {
        State::Seat& seat = m_state->seats[i];
        try {
            seat.thread = std::thread([this, &seat] { m_state->serve(seat); });
        } catch (const std::system_error&) { // the system gives no more
            if (i == 0) {
                throw;
            }
            const std::lock_guard lock(m_state->mutex);
            m_state->seats.resize(i);
        }
    }
}

Pool::~Pool() {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->ending = true;
    }
    stopAll();
    m_state->wake.notify_all();
    for (State::Seat& seat : m_state->seats) {
        seat.thread.join();
    }
}

Pool::Ticket Pool::submit(Json request, Done done, OnProgress onProgress) {
    const std::lock_guard lock(m_state->mutex);
    const Ticket ticket = ++m_state->last;
    m_state->queue.push_back({ticket, std::move(request), std::move(done), std::move(onProgress)});
    m_state->wake.notify_one();
    return ticket;
}

std::size_t Pool::waiting() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->queue.size();
}

std::size_t Pool::unfinished() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->queue.size() + m_state->running;
}

void Pool::stop(Ticket ticket) {
    const std::lock_guard lock(m_state->mutex);
    for (Entry& entry : m_state->queue) {
        entry.stopped = entry.stopped || entry.ticket == ticket;
    }
    for (State::Seat& seat : m_state->seats) {
        if (seat.ticket == ticket) {
            seat.worker->stop();
        }
    }
}

void Pool::stopWaiting() {
    const std::lock_guard lock(m_state->mutex);
    for (Entry& entry : m_state->queue) {
        entry.stopped = true;
    }
}

void Pool::stopAll() {
    stopWaiting();
    const std::lock_guard lock(m_state->mutex);
    for (State::Seat& seat : m_state->seats) {
        if (seat.ticket != 0) {
            seat.worker->stop();
        }
    }
}

void Pool::waitUntil(std::size_t count) {
    std::unique_lock lock(m_state->mutex);
    m_state->finished.wait(lock, [&] { return m_state->queue.size() + m_state->running <= count; });
}

} // namespace tarvix
