// Runs what the page asks for: plan, worker, results, answer.
#pragma once

#include "workbench/engine.h"
#include "workbench/names.h"
#include "workbench/plan.h"
#include "workbench/previews.h"
#include "workbench/results.h"

#include <memory>
#include <mutex>
#include <string>

namespace workbench {

// A name is taken; what() is a sentence.
struct Conflict : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Runner {
public:
    // The folder must exist and is the object's own. `outFolder` gets what is saved; it is made
    // when it is needed. The rest must outlive the object.
    Runner(Engine& engine, Previews& previews, const ImageFolder& images,
           const std::filesystem::path& folder, std::filesystem::path outFolder);

    [[nodiscard]] Results& results() { return m_results; }
    [[nodiscard]] const std::filesystem::path& outFolder() const { return m_outFolder; }

    // The answer to a request. Throws BadRequest, Busy and NoPreview.
    Json run(const RunRequest& request);

    // Runs in full and saves the result as request.name. Throws Conflict if that exists, too.
    Json save(const RunRequest& request);

    // Begins a long run, and gives its id.
    std::string begin(const RunRequest& request);

    // How far it is; nothing if there is no such job. stop() returns false then.
    std::optional<Json> state(const std::string& job);
    bool stop(const std::string& job);

private:
    struct Prepared {
        Plan plan;
        std::filesystem::path folder;
    };
    struct Job {
        Json state{};
        tarvix::Pool::Ticket ticket = 0;
    };
    Prepared prepare(const RunRequest& request);
    Json answerOf(const Prepared& prepared, RunEnd end);
    static std::vector<StoredResult> resultsOf(const Plan& plan, const RunEnd& end);

    Engine& m_engine;
    Previews& m_previews;
    const ImageFolder& m_images;
    Results m_results;
    const std::filesystem::path m_outFolder;

    std::mutex m_jobsMutex; // guards the rest
    std::map<std::string, Job> m_jobs;
    std::deque<std::string> m_jobOrder;
    std::uint64_t m_lastJob = 0;
};

} // namespace workbench
