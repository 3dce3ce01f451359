// Runs what the page asks for: plan, worker, results, answer.
#pragma once

#include "workbench/engine.h"
#include "workbench/jobs.h"
#include "workbench/names.h"
#include "workbench/plan.h"
#include "workbench/previews.h"
#include "workbench/results.h"

#include <memory>
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
    //   gone  may ask for a stop: nobody waits for the answer any more
    Json run(const RunRequest& request, const std::stop_token& gone = {});

    // Runs in full and saves the result as request.name, also if who asked has gone. Throws what
    // run() throws, and Conflict if that name is taken.
    Json save(const RunRequest& request);

    // Copies an earlier result, a folder too, to that name in the output folder: {"saved"}. Throws
    // BadRequest, and Conflict if the name is taken.
    Json keep(const std::string& result, const std::string& name);

    // Begins a long run. Returns its id in jobs(). Throws as run() does.
    std::string begin(const RunRequest& request);

    // What begin() began.
    [[nodiscard]] Jobs& jobs() { return m_jobs; }

private:
    struct Prepared {
        Plan plan;
        std::filesystem::path folder;
    };
    Prepared prepare(const RunRequest& request, const std::stop_token& gone = {});
    RunEnd ended(const Prepared& prepared, Engine::Lane lane, const std::stop_token& gone = {});
    Json answerOf(const Prepared& prepared, RunEnd end);
    void checkNew(const std::string& name) const;
    [[nodiscard]] std::string place(const std::filesystem::path& made,
                                    const std::string& name) const;
    static std::vector<StoredResult> resultsOf(const Plan& plan, const RunEnd& end);

    Engine& m_engine;
    Previews& m_previews;
    const ImageFolder& m_images;
    Results m_results;
    const std::filesystem::path m_outFolder;
    Jobs m_jobs;
};

} // namespace workbench
