#include "workbench/runner.h"

#include "platform/system/paths.h"
#include "workbench/names.h"
#include "workbench/new_files.h"
#include "workbench/output_names.h"
#include "workbench/shown_names.h"

#include <algorithm>

namespace workbench {

namespace fs = std::filesystem;

namespace {

std::string taken(const std::string& name) {
    return "there is a '" + name + "' already; nothing is replaced, choose another name";
}

} // namespace

Runner::Runner(Engine& engine, Previews& previews, const ImageFolder& images,
               const fs::path& folder, fs::path outFolder)
    : m_engine(engine), m_previews(previews), m_images(images), m_results(folder),
      m_outFolder(std::move(outFolder)), m_jobs(engine) {}

Runner::Prepared Runner::prepare(const RunRequest& request, const std::stop_token& gone) {
    Prepared prepared{.plan = {}, .folder = m_results.newRunFolder()};
    std::error_code error;
    const fs::path relative = fs::relative(m_outFolder, m_images.folder(), error);
    const bool inFolder = !error && !relative.empty() && *relative.begin() != "..";
    const Surroundings surroundings{
        .image = [this](const std::string& name) { return m_images.find(name); },
        .folder = [this](const std::string& name) { return m_images.findFolder(name); },
        .earlier = [this](const std::string& id) -> std::optional<Surroundings::Earlier> {
            const auto result = m_results.find(id);
            return result ? std::optional(Surroundings::Earlier{result->path, result->name})
                          : std::nullopt;
        },
        .copy =
            [this, &gone](const fs::path& image, std::uint64_t pixels) {
                const Preview copy = m_previews.of(image, Previews::Use::RunOn, pixels, gone);
                return copy.copy == copy.image
                           ? Surroundings::Copy{image, Reduction{}}
                           : Surroundings::Copy{copy.path, reductionBetween(copy.image, copy.copy)};
            },
        .freeName = [this](const std::string& wish) { return m_results.freeName(wish); },
        .runFolder = prepared.folder,
        .saveFolder = utf8Of(inFolder ? relative : m_outFolder)};
    try {
        prepared.plan = planOf(request, surroundings);
    } catch (...) {
        Results::drop(prepared.folder);
        throw;
    }
    prepared.plan.names.emplace_back(tarvix::nameOf(prepared.folder) + "/", "");
    return prepared;
}

std::vector<StoredResult> Runner::resultsOf(const Plan& plan, const RunEnd& end) {
    const auto sizeOf = [&](const fs::path& file) {
        for (const Json& image : end.images) {
            if (image.value("file", "") == tarvix::nameOf(file)) {
                return cv::Size(cvRound(image.value("width", 0) / plan.reduction.x),
                                cvRound(image.value("height", 0) / plan.reduction.y));
            }
        }
        return cv::Size();
    };
    std::vector<StoredResult> results;
    for (const PlannedOutput& output : plan.outputs) {
        std::error_code error;
        if (output.kind == "images") { // one for each image that registered
            const Json images = end.data.is_object() ? end.data.value("images", Json()) : Json();
            for (const Json& image : images) {
                if (image.value("output", Json()).is_string()) {
                    const fs::path file = tarvix::pathOf(image["output"].get<std::string>());
                    results.push_back({.id = {},
                                       .kind = "image",
                                       .name = output.name + "/" + utf8Of(file.filename()),
                                       .path = file,
                                       .size = sizeOf(file)});
                }
            }
        } else if (fs::exists(output.path, error)) {
            results.push_back({.id = {},
                               .kind = output.kind,
                               .name = output.name,
                               .path = output.path,
                               .size = sizeOf(output.path)});
        }
    }
    return results;
}

Json Runner::answerOf(const Prepared& prepared, RunEnd end) {
    const Plan& plan = prepared.plan;
    Json results = Json::array();
    std::vector<StoredResult> made = resultsOf(plan, end);
    for (const StoredResult& result : made) {
        if (result.kind == "page") {
            showNamesIn(tarvix::nameOf(result.path), plan.names);
        }
    }
    if (made.empty()) {
        Results::drop(prepared.folder);
    } else {
        for (const StoredResult& result : m_results.keep(prepared.folder, std::move(made))) {
            Json entry = {{"id", result.id}, {"kind", result.kind}, {"name", result.name}};
            if (!result.size.empty()) {
                entry["width"] = result.size.width;
                entry["height"] = result.size.height;
            }
            results.push_back(std::move(entry));
        }
    }
    Json data = plan.isReduced ? dataOfImage(std::move(end.data), plan.reduction) : end.data;
    showNames(data, plan.names);
    for (std::string& message : end.messages) {
        message = withShownNames(message, plan.names);
    }
    return {{"status", end.status},         {"data", std::move(data)},
            {"messages", end.messages},     {"seconds", end.seconds},
            {"cpuSeconds", end.cpuSeconds}, {"commandLine", commandLineOf(plan.shown)},
            {"words", plan.shown},          {"results", std::move(results)},
            {"reduced", plan.isReduced}};
}

RunEnd Runner::ended(const Prepared& prepared, Engine::Lane lane, const std::stop_token& gone) {
    try {
        return m_engine.run(prepared.plan.words, lane, prepared.plan.isReduced, gone);
    } catch (const Busy&) {
        Results::drop(prepared.folder);
        throw;
    }
}

Json Runner::run(const RunRequest& request, const std::stop_token& gone) {
    const Prepared prepared = prepare(request, gone);
    // What follows a drag is fast, and waits for nothing that is not.
    const bool drag = request.pixels > 0 && request.operation->name == "converge";
    return answerOf(prepared,
                    ended(prepared, drag ? Engine::Lane::Drag : Engine::Lane::Work, gone));
}

void Runner::checkNew(const std::string& name) const {
    if (!isNewName(name)) {
        throw BadRequest("'" + name + "' is not a name for a new file");
    }
    std::error_code error;
    if (fs::symlink_status(m_outFolder / pathOfUtf8(name), error).type() !=
        fs::file_type::not_found) {
        throw Conflict(taken(name));
    }
}

// Saves under that name. Returns why it could not be written, or nothing.
std::string Runner::place(const fs::path& made, const std::string& name) const {
    std::error_code error;
    fs::create_directories(m_outFolder, error);
    const std::error_code notPlaced = placeNew(made, m_outFolder / pathOfUtf8(name));
    if (notPlaced == std::errc::file_exists) {
        throw Conflict(taken(name));
    }
    return notPlaced ? "cannot write '" + name + "': " + notPlaced.message() : "";
}

Json Runner::save(const RunRequest& request) {
    checkNew(request.name); // before it takes long
    const Prepared prepared = prepare(request);
    const RunEnd end = ended(prepared, Engine::Lane::Work);
    const fs::path made = prepared.plan.outputs.front().path;
    std::error_code error;
    std::string failure;
    if (end.status == 0 && fs::exists(made, error)) {
        try {
            failure = place(made, request.name);
        } catch (const Conflict&) {
            Results::drop(prepared.folder);
            throw;
        }
    }
    Json answer = answerOf(prepared, end);
    if (!failure.empty()) {
        answer["status"] = 1;
        answer["messages"].push_back(failure);
    } else if (end.status == 0) {
        answer["saved"] = request.name;
    }
    return answer;
}

Json Runner::keep(const std::string& result, const std::string& name) {
    checkNew(name);
    const auto found = m_results.find(result);
    if (!found) {
        throw BadRequest("this result is not there any more; make it again");
    }
    const std::string failure = place(found->path, name);
    if (!failure.empty()) {
        throw BadRequest(failure);
    }
    return {{"saved", name}};
}

std::string Runner::begin(const RunRequest& request) {
    const auto prepared = std::make_shared<Prepared>(prepare(request));
    try {
        return m_jobs.begin(
            prepared->plan.words,
            [this, prepared](const RunEnd& end) { return answerOf(*prepared, end); },
            [prepared](Json what) {
                showNames(what, prepared->plan.names);
                return what;
            });
    } catch (const Busy&) {
        Results::drop(prepared->folder);
        throw;
    }
}

} // namespace workbench
