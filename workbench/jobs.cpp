#include "workbench/jobs.h"

#include <utility>

namespace workbench {

namespace {

// More than the engine takes at once, so that only jobs that have ended are dropped.
constexpr std::size_t mostJobs = 50;
constexpr std::chrono::seconds betweenLooks{30};

// The answer of a run whose end cannot be told otherwise.
Json answerOfFailure(const RunEnd& end, const std::string& why) {
    std::vector<std::string> messages = end.messages;
    messages.push_back(why);
    return {{"status", workerLost},   {"data", nullptr},   {"messages", messages},
            {"seconds", end.seconds}, {"commandLine", ""}, {"results", Json::array()},
            {"reduced", false}};
}

bool isDone(const Json& state) {
    return state["state"] == "done";
}

// The first answer stays.
void finish(Json& state, Json answer) {
    if (!isDone(state)) {
        state["state"] = "done";
        state["answer"] = std::move(answer);
    }
}

} // namespace

Jobs::Jobs(Engine& engine, Clock clock)
    : m_engine(engine), m_clock(std::move(clock)), m_watchdog([this] { watch(); }) {}

Jobs::~Jobs() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_wake.notify_all();
    m_watchdog.join();
}

std::string Jobs::begin(const std::vector<std::string>& words,
                        std::function<Json(const RunEnd&)> answer,
                        std::function<Json(const Json&)> shown) {
    const std::lock_guard lock(m_mutex);
    std::string id = "j" + std::to_string(++m_last);
    const auto onEnd = [this, id, answer = std::move(answer)](const RunEnd& end) {
        Json made;
        try {
            made = answer(end);
        } catch (const std::exception& e) { // this is a thread of the engine's
            made = answerOfFailure(end, e.what());
        }
        const std::lock_guard ended(m_mutex);
        if (const auto job = m_jobs.find(id); job != m_jobs.end()) {
            finish(job->second.state, std::move(made));
        }
    };
    const auto onProgress = [this, id, shown = std::move(shown)](const Json& progress) {
        if (!progress.is_object()) {
            return;
        }
        Json what = shown(progress.value("what", Json("")));
        const std::lock_guard running(m_mutex);
        if (const auto job = m_jobs.find(id); job != m_jobs.end() && !isDone(job->second.state)) {
            job->second.state["state"] = "running";
            job->second.state["done"] = progress.value("done", Json(0));
            job->second.state["total"] = progress.value("total", Json(0));
            job->second.state["what"] = std::move(what);
        }
    };
    Job job{.state = {{"state", "waiting"}, {"done", 0}, {"total", 0}, {"what", ""}},
            .asked = m_clock()};
    // The job's own thread waits for the lock until the ticket is known.
    job.ticket = m_engine.start(words, Engine::Lane::Long, false, onEnd, onProgress);
    m_jobs.emplace(id, std::move(job));
    m_order.push_back(id);
    while (m_order.size() > mostJobs) {
        m_jobs.erase(m_order.front());
        m_order.pop_front();
    }
    return id;
}

std::optional<Json> Jobs::state(const std::string& job) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_jobs.find(job);
    if (found == m_jobs.end()) {
        return std::nullopt;
    }
    found->second.asked = m_clock();
    return found->second.state;
}

bool Jobs::stop(const std::string& job) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_jobs.find(job);
    if (found == m_jobs.end()) {
        return false;
    }
    m_engine.stop(Engine::Lane::Long, found->second.ticket);
    if (Json& state = found->second.state; state["state"] == "waiting") {
        finish(state, answerOfFailure({}, "it was stopped")); // another may run for long before it
    }
    return true;
}

std::size_t Jobs::stopForgotten() {
    const std::lock_guard lock(m_mutex);
    std::size_t count = 0;
    for (const auto& [id, job] : m_jobs) {
        if (!isDone(job.state) && m_clock() - job.asked > forgottenAfter) {
            m_engine.stop(Engine::Lane::Long, job.ticket);
            ++count;
        }
    }
    return count;
}

void Jobs::watch() {
    std::unique_lock lock(m_mutex);
    while (!m_wake.wait_for(lock, betweenLooks, [this] { return m_ending; })) {
        lock.unlock();
        static_cast<void>(stopForgotten());
        lock.lock();
    }
}

} // namespace workbench
