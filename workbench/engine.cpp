#include "workbench/engine.h"

#include "workers/protocol.h"

#include <future>
#include <memory>
#include <utility>

namespace workbench {

namespace {

constexpr std::size_t longestQueue = 48;
constexpr std::uint64_t mostMemory = std::uint64_t{6} << 30U; // of a worker
constexpr double runSeconds = 180;
constexpr double longSeconds = 3600;

RunEnd endOf(const tarvix::Reply& reply) {
    if (reply.outcome != tarvix::Outcome::Answered) {
        return {.messages = {reply.why}, .seconds = reply.seconds};
    }
    std::optional<tarvix::CommandAnswer> answer = tarvix::commandAnswerOf(reply.answer);
    if (!answer) {
        return {.messages = {tarvix::noAnswer}, .seconds = reply.seconds};
    }
    return {.status = answer->status,
            .data = std::move(answer->data),
            .messages = std::move(answer->messages),
            .images = std::move(answer->images),
            .seconds = answer->seconds.value_or(reply.seconds),
            .cpuSeconds = answer->cpuSeconds.value_or(0)};
}

} // namespace

Engine::Engine(const std::string& program)
    : m_drag({program, "worker", "--keep-images"}, 1,
             {.seconds = runSeconds, .memory = mostMemory}),
      m_work({program, "worker", "--keep-images"}, 2,
             {.seconds = runSeconds, .memory = mostMemory}),
      m_long({program, "worker", "--keep-images"}, 1,
             {.seconds = longSeconds, .memory = mostMemory}) {}

tarvix::Pool& Engine::poolOf(Lane lane) {
    return lane == Lane::Drag ? m_drag : lane == Lane::Work ? m_work : m_long;
}

tarvix::Pool::Ticket Engine::start(const std::vector<std::string>& words, Lane lane, bool draft,
                                   OnEnd onEnd, tarvix::OnProgress onProgress) {
    tarvix::Pool& pool = poolOf(lane);
    Json request = tarvix::requestOf(words);
    if (draft) {
        request["draft"] = true;
    }
    const std::lock_guard lock(m_mutex);
    if (m_closed) {
        throw Busy("the workbench ends");
    }
    if (pool.waiting() >= longestQueue) {
        throw Busy("the workbench has too much to do; try again in a moment");
    }
    return pool.submit(
        std::move(request),
        [onEnd = std::move(onEnd)](const tarvix::Reply& reply) { onEnd(endOf(reply)); },
        std::move(onProgress));
}

RunEnd Engine::run(const std::vector<std::string>& words, Lane lane, bool draft,
                   const std::stop_token& gone) {
    const auto end = std::make_shared<std::promise<RunEnd>>();
    std::future<RunEnd> future = end->get_future();
    const tarvix::Pool::Ticket ticket =
        start(words, lane, draft, [end](const RunEnd& e) { end->set_value(e); });
    const std::stop_callback stopsIt(gone, [this, lane, ticket] { stop(lane, ticket); });
    return future.get();
}

void Engine::stop(Lane lane, tarvix::Pool::Ticket ticket) {
    poolOf(lane).stop(ticket);
}

void Engine::close() {
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
    }
    for (tarvix::Pool* pool : {&m_drag, &m_work, &m_long}) {
        pool->stopAll();
    }
    for (tarvix::Pool* pool : {&m_drag, &m_work, &m_long}) {
        pool->waitUntil(0);
    }
}

} // namespace workbench
