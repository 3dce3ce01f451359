#include "host/batch/task.h"

#include "host/run_command.h"
#include "workers/protocol.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace host {

namespace {

// The time as 2026-11-22T07:00:00Z.
std::string nowAsText() {
    using namespace std::chrono;
    const auto now = floor<seconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    std::array<char, 40> text{};
    static_cast<void>(std::snprintf(
        text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
        static_cast<int>(time.seconds().count())));
    return text.data();
}

// A file's name that begins like an option is not one.
std::string asPath(const std::string& name) {
    return name.starts_with("-") ? "./" + name : name;
}

std::string messageOf(const tarvix::Reply& reply,
                      const std::optional<tarvix::CommandAnswer>& answer) {
    if (reply.outcome != tarvix::Outcome::Answered) {
        return reply.why;
    }
    if (!answer) {
        return tarvix::noAnswer;
    }
    // Notes about the image follow the failure among the messages.
    return answer->failure.value_or(answer->messages.empty() ? "" : answer->messages.back());
}

} // namespace

Tasks::Tasks(const Operation& operation, std::string pattern)
    : m_version(programVersion()), m_pattern(std::move(pattern)), m_words(operation.words()),
      m_patterns(operation.filesBeside()) {
    if (!m_pattern.empty()) {
        m_words.insert(m_words.end(), {"-o", m_pattern});
        m_patterns.push_back(m_pattern);
    }
}

Task Tasks::of(const NameList& inputs, std::size_t index) const {
    Task task{.placed = {inputs.at(index), index + 1, inputs.size()}};
    for (const std::string& word : m_words) {
        task.words.push_back(fillIn(word, task.placed));
    }
    for (const std::string& pattern : m_patterns) {
        task.outputs.push_back(fillIn(pattern, task.placed));
    }
    task.words.insert(task.words.begin() + 1, asPath(task.placed.input));
    task.words.emplace_back("--json");
    std::string whole = m_version;
    for (const std::string& word : task.words) {
        whole.append(1, '\0').append(word);
    }
    task.key = digestOf(whole);
    return task;
}

Recorder::Entry Tasks::entryOf(const Task& task, const std::optional<Digest>& hash,
                               const tarvix::Reply& reply) const {
    std::optional<tarvix::CommandAnswer> answer;
    if (reply.outcome == tarvix::Outcome::Answered) {
        answer = tarvix::commandAnswerOf(reply.answer);
    }
    const bool failed = !answer || answer->status != 0;
    Json record = {{"status", failed ? "failed" : "done"}};
    putName(record, "input", task.placed.input);
    record["number"] = task.placed.number;
    record["of"] = task.placed.count;
    record["bytes"] = task.state ? Json(task.state->bytes) : Json();
    record["modified"] = task.state ? Json(task.state->modified) : Json();
    record["hash"] = hash ? Json(asText(*hash)) : Json();
    if (!m_pattern.empty()) {
        putName(record, "output", fillIn(m_pattern, task.placed));
    }
    record["message"] = failed ? Json(messageOf(reply, answer)) : Json();
    record["warnings"] = !failed ? Json(answer->messages) : Json::array();
    record["data"] = answer ? std::move(answer->data) : Json();
    record["seconds"] = reply.seconds;
    record["cpuSeconds"] = answer && answer->cpuSeconds ? Json(*answer->cpuSeconds) : Json();
    record["memory"] = reply.peakMemory;
    record["operation"] = tarvix::requestOf(m_words).front();
    record["version"] = m_version;
    if (const char* const node = std::getenv("SLURMD_NODENAME")) {
        record["node"] = node;
    }
    record["finished"] = nowAsText();
    record["key"] = asText(task.key);
    return {.record = std::move(record), .failed = failed};
}

} // namespace host
