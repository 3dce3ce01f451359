#include "host/batch/batch.h"

#include "host/batch/batch_progress.h"
#include "host/batch/inputs.h"
#include "host/batch/places.h"
#include "host/batch/recorder.h"
#include "host/failure.h"
#include "host/numbers.h"
#include "host/run_command.h"
#include "host/saving.h"
#include "platform/system/child_process.h"
#include "platform/system/free_memory.h"
#include "platform/system/interrupts.h"
#include "platform/system/paths.h"
#include "workers/pool.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>
#include <thread>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

constexpr std::uint64_t mebi = std::uint64_t{1} << 20U;

// Worker processes: one for each processor that we may use, and no more than memory is free for.
std::size_t workersFor(const BatchOptions& options) {
    if (options.jobs > 0) {
        return static_cast<std::size_t>(options.jobs);
    }
    constexpr std::uint64_t usual = 512; // MiB, for an image of some ten megapixels
    const std::uint64_t each = (options.memory > 0 ? std::uint64_t(options.memory) : usual) * mebi;
    const std::uint64_t freeBytes = tarvix::freeMemory();
    std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    const char* const given = std::getenv("SLURM_CPUS_PER_TASK");
    if (int number = 0; given != nullptr && readNumber(given, number)) {
        processors = static_cast<std::size_t>(std::max(1, number));
    }
    const std::uint64_t fit = freeBytes == 0 ? processors : freeBytes / each;
    return std::clamp<std::size_t>(fit, 1, processors);
}

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

// One image of the batch.
struct Task {
    Placed placed;
    std::vector<std::string> words{}; // of its command line
    std::vector<std::string> outputs{};
    Digest key{}; // of the words and the version
    std::optional<InputState> state{};
};

class Batch {
public:
    Batch(const BatchOptions& options, const Operation& operation, Output& output);
    Result run();

private:
    [[nodiscard]] Task taskOf(std::size_t index) const;
    [[nodiscard]] bool isFinished(Task& task) const;
    void start(tarvix::Pool& pool, const Task& task);
    [[nodiscard]] Recorder::Entry entryOf(const Task& task, const std::optional<Digest>& hash,
                                          const tarvix::Reply& reply) const;
    void makeFolders(const Task& task);
    void obeyInterruptions(tarvix::Pool& pool, BatchProgress& progress);
    void finishOrStop(tarvix::Pool& pool, BatchProgress& progress);
    void warnOf(const Json& record);

    const BatchOptions& m_options;
    Output& m_output;
    const std::string m_version = programVersion();
    const Shard m_shard;
    std::vector<std::string> m_words;    // of the operation, with placeholders
    std::vector<std::string> m_patterns; // of the files that it writes
    NameList m_inputs;
    std::size_t m_ours = 0; // inputs of our shard
    FinishedImages m_finished;
    std::optional<ManifestWriter> m_manifest;
    std::optional<Recorder> m_recorder;
    std::atomic<int> m_interruptions = 0;
    int m_obeyed = 0; // of them
    tarvix::Interrupts m_interrupts{[this] { ++m_interruptions; }};
    std::set<std::string> m_folders; // that are there
    std::size_t m_skipped = 0;
    std::vector<std::string> m_warnings;
    std::size_t m_failures = 0; // that were told
};

void requireSense(const BatchOptions& options, const Operation& operation) {
    requireKnownPlaceholders(options.pattern);
    if (operation.mustWriteImage() && options.pattern.empty()) {
        throw BadUsage("'" + operation.name() + "' writes images: --out says where to");
    }
    if (!operation.mayWriteImage() && !options.pattern.empty()) {
        throw BadUsage("'" + operation.name() + "' writes no images: leave --out out");
    }
    if ((options.resume || options.retryFailed) && options.manifest.empty()) {
        throw BadUsage("--resume and --retry-failed need --manifest, which says what is done");
    }
}

Batch::Batch(const BatchOptions& options, const Operation& operation, Output& output)
    : m_options(options), m_output(output), m_shard(readShard(options.shard)),
      m_words(operation.words()), m_patterns(operation.filesBeside()) {
    requireSense(options, operation);
    if (!options.pattern.empty()) {
        m_words.insert(m_words.end(), {"-o", options.pattern});
        m_patterns.push_back(options.pattern);
        requireImageFormat(fillIn(options.pattern, {"image.png", 1, 1}));
    }
    m_inputs = expandInputs(options.inputs, std::cin);
    std::vector<std::string> kept;
    if (!options.manifest.empty()) {
        kept.push_back(options.manifest);
    }
    requireSeparatePlaces(m_inputs, m_patterns, kept);
    for (std::size_t i = 0; i < m_inputs.size(); ++i) {
        m_ours += m_shard.has(m_inputs.at(i)) ? 1 : 0;
    }
    if (!options.manifest.empty()) {
        std::error_code ignored;
        const bool exists = fs::exists(pathOf(options.manifest), ignored);
        if (exists && !options.resume && !options.retryFailed) {
            throw Failure("the manifest '" + options.manifest +
                          "' exists; --resume goes on with it, or name another");
        }
        m_manifest.emplace(options.manifest);
        if (exists) {
            m_finished = FinishedImages(options.manifest);
        }
    }
    m_recorder.emplace(m_manifest ? &*m_manifest : nullptr,
                       [this](const Json& record) { warnOf(record); });
}

// A file's name that begins like an option is not one.
std::string asPath(const std::string& name) {
    return name.starts_with("-") ? "./" + name : name;
}

Task Batch::taskOf(std::size_t index) const {
    Task task{.placed = {m_inputs.at(index), index + 1, m_inputs.size()}};
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

bool Batch::isFinished(Task& task) const {
    const Finished* const before = m_finished.find(task.key);
    if (before == nullptr || (before->failed && m_options.retryFailed)) {
        return false;
    }
    std::error_code ignored;
    if (!before->failed &&
        !std::all_of(task.outputs.begin(), task.outputs.end(), [&](const std::string& output) {
            return fs::exists(pathOf(output), ignored);
        })) {
        return false;
    }
    if (!task.state) { // it was missing then, too
        return before->failed && before->state == InputState{};
    }
    // Touched is not changed.
    return before->state == *task.state || (before->state.bytes == task.state->bytes &&
                                            digestOfFile(task.placed.input) == before->hash);
}

void Batch::makeFolders(const Task& task) {
    for (const std::string& output : task.outputs) {
        const std::string folder = nameOf(pathOf(output).parent_path());
        if (!folder.empty() && m_folders.insert(folder).second) {
            makeFolder(folder);
        }
    }
}

std::string messageOf(const tarvix::Reply& reply) {
    if (reply.outcome != tarvix::Outcome::Answered) {
        return reply.why;
    }
    const Json& messages = reply.answer.at("messages");
    return messages.empty() ? "" : messages.back().get<std::string>();
}

Recorder::Entry Batch::entryOf(const Task& task, const std::optional<Digest>& hash,
                               const tarvix::Reply& reply) const {
    const bool answered = reply.outcome == tarvix::Outcome::Answered;
    const bool failed = !answered || reply.answer.at("status") != 0;
    Json record = {{"status", failed ? "failed" : "done"}};
    putName(record, "input", task.placed.input);
    record["number"] = task.placed.number;
    record["of"] = task.placed.count;
    record["bytes"] = task.state ? Json(task.state->bytes) : Json();
    record["modified"] = task.state ? Json(task.state->modified) : Json();
    record["hash"] = hash ? Json(asText(*hash)) : Json();
    if (!m_options.pattern.empty()) {
        putName(record, "output", fillIn(m_options.pattern, task.placed));
    }
    record["message"] = failed ? Json(messageOf(reply)) : Json();
    record["warnings"] = !failed ? reply.answer.at("messages") : Json::array();
    record["data"] = answered ? reply.answer.at("data") : Json();
    record["seconds"] = reply.seconds;
    record["cpuSeconds"] = answered ? reply.answer.at("cpuSeconds") : Json();
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

void Batch::start(tarvix::Pool& pool, const Task& task) {
    makeFolders(task);
    const std::optional<Digest> hash =
        m_manifest && task.state ? digestOfFile(task.placed.input) : std::nullopt;
    const std::size_t place = m_recorder->begin();
    pool.submit(tarvix::requestOf(task.words), [=, this](const tarvix::Reply& reply) {
        if (reply.outcome != tarvix::Outcome::Answered) { // ended in the middle, perhaps
            for (const std::string& output : task.outputs) {
                removeHalf(output);
            }
        }
        std::optional<Recorder::Entry> entry;
        if (reply.outcome != tarvix::Outcome::Stopped) {
            entry = entryOf(task, hash, reply);
        }
        m_recorder->finish(place, std::move(entry));
    });
}

// On a pool's thread, but one after the other.
void Batch::warnOf(const Json& record) {
    constexpr std::size_t most = 20;
    if (++m_failures <= most) {
        m_warnings.push_back("'" + takeName(record, "input") +
                             "' failed: " + record.at("message").get<std::string>());
    } else if (m_failures == most + 1) {
        m_warnings.emplace_back(m_options.manifest.empty()
                                    ? "more failed; --manifest would keep their names"
                                    : "more failed; tarvix batch-summary lists them");
    }
}

// The first interruption leaves what runs, the second one nothing.
void Batch::obeyInterruptions(tarvix::Pool& pool, BatchProgress& progress) {
    const int now = m_interruptions;
    if (m_obeyed == 0 && now > 0) {
        pool.stopWaiting();
        progress.clear();
        m_output.say("finishing what is running; once more stops it\n");
    }
    if (m_obeyed < 2 && now > 1) {
        pool.stopAll();
    }
    m_obeyed = now;
}

// Waits for what is begun. Nothing is submitted any more.
void Batch::finishOrStop(tarvix::Pool& pool, BatchProgress& progress) {
    do {
        obeyInterruptions(pool, progress);
        const Counts counts = m_recorder->counts();
        progress.show(counts.done + counts.failed, counts.failed, m_skipped);
    } while (!m_recorder->waitFor(0));
}

Result Batch::run() {
    const auto begun = std::chrono::steady_clock::now();
    const std::size_t workers = workersFor(m_options);
    constexpr std::size_t perWorker = 32; // images that may wait for a slow one before them
    {
        BatchProgress progress(m_output, m_ours);
        tarvix::Pool pool(
            {tarvix::ownProgram(), "worker", "--threads", std::to_string(m_options.threads)},
            std::min(workers, std::max<std::size_t>(m_ours, 1)),
            {.seconds = m_options.timeout, .memory = std::uint64_t(m_options.memory) * mebi});
        for (std::size_t i = 0; i < m_inputs.size() && m_interruptions == 0; ++i) {
            if (m_shard.count > 1 && !m_shard.has(m_inputs.at(i))) {
                continue;
            }
            Task task = taskOf(i);
            task.state = stateOf(task.placed.input);
            if (isFinished(task)) {
                ++m_skipped;
            } else {
                while (!m_recorder->waitFor(workers * perWorker) && m_interruptions == 0) {
                }
                m_recorder->rethrow();
                start(pool, task);
            }
            const Counts counts = m_recorder->counts();
            progress.show(counts.done + counts.failed, counts.failed, m_skipped);
        }
        finishOrStop(pool, progress);
    }
    m_recorder->rethrow();
    const Counts counts = m_recorder->counts();
    const std::size_t left = m_ours - counts.done - counts.failed - m_skipped;
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begun;
    Result result{.data = {{"images", m_ours},
                           {"done", counts.done},
                           {"failed", counts.failed},
                           {"skipped", m_skipped},
                           {"left", left},
                           {"workers", workers},
                           {"seconds", took.count()}},
                  .warnings = m_warnings,
                  .status = counts.failed + left > 0 ? 1 : 0};
    if (left > 0) {
        result.warnings.push_back("interrupted, " + std::to_string(left) + " images are left; " +
                                  (m_manifest
                                       ? "the same command line with --resume goes on"
                                       : "with --manifest, the same command line could go on"));
    }
    return result;
}

} // namespace

Result runBatch(const BatchOptions& options, const Operation* operation, Output& output) {
    if (operation == nullptr) {
        throw BadUsage("'" + options.operation +
                       "' is not a command that takes one image; tarvix batch OPERATION ...");
    }
    return Batch(options, *operation, output).run();
}

std::string batchAsText(const Json& data) {
    const auto number = [&data](const char* member) {
        return std::to_string(data.at(member).get<std::size_t>());
    };
    std::string text = number("done") + " of " + number("images") + " images done";
    for (const char* member : {"failed", "skipped", "left"}) {
        if (data.at(member) != 0) {
            text.append(", ").append(number(member)).append(" ").append(member);
        }
    }
    return text + "\n";
}

} // namespace host
