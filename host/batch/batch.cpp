#include "host/batch/batch.h"

#include "host/batch/batch_progress.h"
#include "host/batch/inputs.h"
#include "host/batch/later_inputs.h"
#include "host/batch/places.h"
#include "host/batch/task.h"
#include "host/batch/worker_count.h"
#include "host/failure.h"
#include "host/saving.h"
#include "platform/system/child_process.h"
#include "platform/system/interrupts.h"
#include "platform/system/paths.h"
#include "workers/pool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <set>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

class Batch {
public:
    Batch(const BatchOptions& options, const Operation& operation, Output& output);
    Result run();

private:
    void openManifest();
    [[nodiscard]] bool isFinished(Task& task);
    void begin(tarvix::Pool& pool, const Task& task);
    void makeFolders(const Task& task);
    void submitAll(tarvix::Pool& pool, BatchProgress& progress, std::size_t most);
    void finishOrStop(tarvix::Pool& pool, BatchProgress& progress);
    void obeyInterruptions(tarvix::Pool& pool, BatchProgress& progress);
    void show(BatchProgress& progress) const;
    void warnOf(const Json& record);
    void noteNotStarted(const std::string& why);
    [[nodiscard]] std::string whyNotStarted() const;
    [[nodiscard]] Result result(std::size_t workers, double seconds) const;

    const BatchOptions& m_options;
    Output& m_output;
    const Shard m_shard;
    const Tasks m_tasks;
    NameList m_inputs;
    std::size_t m_ours = 0; // inputs of our shard
    FinishedImages m_finished;
    std::optional<ManifestWriter> m_manifest;
    std::optional<Recorder> m_recorder;
    std::atomic<int> m_interruptions = 0;
    int m_obeyed = 0;                // of them
    std::set<std::string> m_folders; // that are there
    std::size_t m_skipped = 0;
    std::size_t m_failedBefore = 0; // of those
    std::vector<std::string> m_warnings;
    std::size_t m_failures = 0; // that were told
    mutable std::mutex m_mutex; // of the next one
    std::string m_notStarted;   // why a worker was not
};

Batch::Batch(const BatchOptions& options, const Operation& operation, Output& output)
    : m_options(options), m_output(output), m_shard(readShard(options.shard)),
      m_tasks(operation, options.pattern) {
    requireSense(options, operation);
    m_inputs = expandInputs(options.inputs, std::cin);
    requireSeparatePlaces(m_inputs, {.written = m_tasks.patterns(),
                                     .read = operation.filesRead(),
                                     .manifest = options.manifest});
    requireNoLaterInputs(m_inputs, options.inputs, m_tasks.patterns(), options.manifest);
    for (std::size_t i = 0; i < m_inputs.size(); ++i) {
        m_ours += m_shard.has(m_inputs.at(i)) ? 1 : 0;
    }
    if (!options.manifest.empty()) {
        openManifest();
    }
    m_recorder.emplace(m_manifest ? &*m_manifest : nullptr,
                       [this](const Json& record) { warnOf(record); });
}

void Batch::openManifest() {
    std::error_code ignored;
    const bool exists = fs::exists(pathOf(m_options.manifest), ignored);
    if (exists && !m_options.resume && !m_options.retryFailed) {
        throw Failure("the manifest '" + m_options.manifest +
                      "' exists; --resume goes on with it, or name another");
    }
    m_manifest.emplace(m_options.manifest);
    if (exists) {
        m_finished = FinishedImages(m_options.manifest);
    }
}

bool Batch::isFinished(Task& task) {
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
    const bool same = task.state
                          ? before->state == *task.state || // touched is not changed
                                (before->state.bytes == task.state->bytes &&
                                 digestOfFile(task.placed.input) == before->hash)
                          : before->failed && before->state == InputState{}; // missing then, too
    m_failedBefore += same && before->failed ? 1 : 0;
    return same;
}

void Batch::makeFolders(const Task& task) {
    for (const std::string& output : task.outputs) {
        const std::string folder = nameOf(pathOf(output).parent_path());
        if (!m_folders.contains(folder)) {
            if (!folder.empty()) {
                makeFolder(folder);
            }
            m_folders.insert(folder);
            removeHalvesIn(folder); // of a run that was killed
        }
    }
}

// Gives the image to the pool. If its folders cannot be made, it has failed.
void Batch::begin(tarvix::Pool& pool, const Task& task) {
    const std::optional<Digest> hash =
        m_manifest && task.state ? digestOfFile(task.placed.input) : std::nullopt;
    const std::size_t place = m_recorder->begin();
    try {
        makeFolders(task);
    } catch (const Failure& e) {
        m_recorder->finish(place, m_tasks.entryOf(task, hash, {.why = e.what()}));
        return;
    }
    pool.submit(tarvix::requestOf(task.words), [=, this](const tarvix::Reply& reply) {
        if (reply.outcome != tarvix::Outcome::Answered) { // ended in the middle, perhaps
            for (const std::string& output : task.outputs) {
                removeHalf(output, reply.process);
            }
        }
        std::optional<Recorder::Entry> entry;
        if (reply.outcome == tarvix::Outcome::NotStarted) { // which is not the image's fault
            noteNotStarted(reply.why);
        } else if (reply.outcome != tarvix::Outcome::Stopped) {
            entry = m_tasks.entryOf(task, hash, reply);
        }
        m_recorder->finish(place, std::move(entry));
    });
}

void Batch::noteNotStarted(const std::string& why) {
    const std::lock_guard lock(m_mutex);
    m_notStarted = why;
}

std::string Batch::whyNotStarted() const {
    const std::lock_guard lock(m_mutex);
    return m_notStarted;
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

void Batch::show(BatchProgress& progress) const {
    const Counts counts = m_recorder->counts();
    progress.show(counts.done + counts.failed, counts.failed, m_skipped);
}

// Until an interruption, or until no worker can be started.
//   most  images that may be begun and not written down
void Batch::submitAll(tarvix::Pool& pool, BatchProgress& progress, std::size_t most) {
    const auto goesOn = [this] { return m_interruptions == 0 && whyNotStarted().empty(); };
    for (std::size_t i = 0; i < m_inputs.size() && goesOn(); ++i) {
        if (m_shard.count > 1 && !m_shard.has(m_inputs.at(i))) {
            continue;
        }
        Task task = m_tasks.of(m_inputs, i);
        task.state = stateOf(task.placed.input);
        if (isFinished(task)) {
            ++m_skipped;
        } else {
            while (!m_recorder->waitFor(most) && goesOn()) {
            }
            m_recorder->rethrow();
            begin(pool, task);
        }
        show(progress);
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
        if (!whyNotStarted().empty()) {
            pool.stopWaiting();
        }
        show(progress);
    } while (!m_recorder->waitFor(0));
}

Result Batch::run() {
    const auto begun = std::chrono::steady_clock::now();
    const std::size_t workers = workersFor(m_options.jobs, m_options.memory);
    constexpr std::size_t perWorker = 32; // images that may wait for a slow one before them
    constexpr std::uint64_t mebi = std::uint64_t{1} << 20U;
    const tarvix::Interrupts interrupts([this] { ++m_interruptions; });
    {
        BatchProgress progress(m_output, m_ours);
        tarvix::Pool pool(
            {tarvix::ownProgram(), "worker", "--threads", std::to_string(m_options.threads)},
            std::min(workers, std::max<std::size_t>(m_ours, 1)),
            {.seconds = m_options.timeout, .memory = std::uint64_t(m_options.memory) * mebi});
        submitAll(pool, progress, workers * perWorker);
        finishOrStop(pool, progress);
    }
    // What workers of a killed run were still ending at our start.
    std::for_each(m_folders.begin(), m_folders.end(), removeHalvesIn);
    m_recorder->rethrow();
    if (!whyNotStarted().empty()) {
        throw Failure("no worker process can be started: " + whyNotStarted() +
                      (m_manifest ? "; what was done is recorded, and --resume goes on" : ""));
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begun;
    return result(workers, took.count());
}

Result Batch::result(std::size_t workers, double seconds) const {
    const Counts counts = m_recorder->counts();
    const std::size_t left = m_ours - counts.done - counts.failed - m_skipped;
    Result result{.data = {{"images", m_ours},
                           {"done", counts.done},
                           {"failed", counts.failed},
                           {"skipped", m_skipped},
                           {"failedBefore", m_failedBefore},
                           {"left", left},
                           {"workers", workers},
                           {"seconds", seconds}},
                  .warnings = m_warnings,
                  .status = counts.failed + m_failedBefore + left > 0 ? 1 : 0};
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
        const bool isOne = Operation::named(options.operation) != nullptr;
        throw BadUsage("'" + options.operation +
                       (isOne ? "' must follow 'batch' at once, as in tarvix batch "
                              : "' is not a command that takes one image; tarvix batch ") +
                       (isOne ? options.operation : "OPERATION") + " ...");
    }
    return Batch(options, *operation, output).run();
}

} // namespace host
