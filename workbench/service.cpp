#include "workbench/service.h"

#include "host/commands.h"
#include "platform/system/links.h"
#include "workbench/embedded.h"
#include "workbench/version.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>

namespace workbench {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t mostRequestBytes = std::uint64_t{1} << 20U;
constexpr std::uint64_t mostPixels = 100'000'000; // of an image that is shown
constexpr std::uint64_t thumbnailSide = 160;

constexpr const char* pagePolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src "
    "'self'; form-action 'none'; frame-ancestors 'none'; base-uri 'none'";

// A report brings its own style and its images, and needs nothing else.
constexpr const char* reportPolicy =
    "default-src 'none'; style-src 'unsafe-inline'; img-src data:; form-action 'none'; "
    "frame-ancestors 'none'; base-uri 'none'; sandbox";

HttpResponse json(const Json& data) {
    return {.body = data.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

void addSafety(HttpResponse& response) {
    const auto has = [&response](const std::string& name) {
        return std::any_of(response.fields.begin(), response.fields.end(),
                           [&](const auto& field) { return field.first == name; });
    };
    if (!has("Content-Security-Policy")) {
        response.fields.emplace_back("Content-Security-Policy", pagePolicy);
    }
    response.fields.insert(response.fields.end(), {{"X-Content-Type-Options", "nosniff"},
                                                   {"Referrer-Policy", "no-referrer"},
                                                   {"Cross-Origin-Resource-Policy", "same-origin"},
                                                   {"Cross-Origin-Opener-Policy", "same-origin"},
                                                   {"Cache-Control", "no-store"}});
}

std::string parameter(const Target& target, const std::string& name) {
    const auto found = target.parameters.find(name);
    return found == target.parameters.end() ? std::string() : found->second;
}

// A number of the request, or `otherwise` if it has none.
std::uint64_t count(const Target& target, const std::string& name, std::uint64_t otherwise,
                    std::uint64_t most) {
    if (!target.parameters.contains(name)) {
        return otherwise;
    }
    const auto number = readCount(target.parameters.at(name), most);
    if (!number) {
        throw BadRequest("'" + name + "' must be a whole number up to " + std::to_string(most));
    }
    return *number;
}

// Quoted as HTTP wants it.
std::string attachment(const std::string& name) {
    std::string plain;
    for (const char c : name.substr(name.rfind('/') + 1)) {
        const bool quotable = c >= ' ' && c < 0x7f && c != '"' && c != '\\';
        plain += quotable ? c : '_';
    }
    return "attachment; filename=\"" + plain + "\"";
}

HttpResponse embedded(const std::string& name) {
    for (const EmbeddedFile& file : embeddedFiles()) {
        if (file.name == name) {
            return {.type = contentTypeOf(name), .body = std::string(file.bytes)};
        }
    }
    return refused(404, "there is no such page");
}

} // namespace

std::optional<HttpResponse> Service::refusal(const HttpRequest& head) {
    const auto target = readTarget(head.target);
    auto refusal = target ? m_session->refusal(head, *target)
                          : refused(400, "the address is not one that the workbench understands");
    if (!refusal && head.method == "POST" && target->path == "/api/upload") {
        refusal = m_parts.uploads.refusal(parameter(*target, "name"));
    }
    if (refusal) {
        addSafety(*refusal);
    }
    return refusal;
}

BodyPlan Service::bodyPlan(const HttpRequest& head) {
    if (head.method != "POST") {
        return {};
    }
    const auto target = readTarget(head.target);
    if (target && target->path == "/api/upload") {
        return m_parts.uploads.begin();
    }
    return {.limit = mostRequestBytes, .file = {}};
}

HttpResponse Service::answer(const HttpRequest& request) {
    HttpResponse response;
    try {
        const auto target = readTarget(request.target); // refusal() has seen that it is one
        response = request.method == "POST" ? posted(request, *target) : routed(request, *target);
    } catch (const BadRequest& e) {
        response = refused(400, e.what());
    } catch (const NoPreview& e) {
        response = refused(404, e.what());
    } catch (const Conflict& e) {
        response = refused(409, e.what());
    } catch (const Busy& e) {
        response = refused(503, e.what());
    } catch (const std::exception& e) {
        response = refused(500, e.what());
    }
    addSafety(response);
    return response;
}

HttpResponse Service::routed(const HttpRequest& request, const Target& target) {
    const std::string& path = target.path;
    if (path == "/") {
        return Session::isEntry(request, target) ? m_session->entry(request)
                                                 : embedded("index.html");
    }
    if (path.starts_with("/web/")) {
        return embedded(path.substr(5));
    }
    if (path == "/api/about") {
        return about();
    }
    if (path == "/api/commands") {
        Json commands = Json::array();
        for (const host::Command& command : host::commands()) {
            if (isOffered(command)) {
                commands.push_back(host::asJson(command));
            }
        }
        return json(commands);
    }
    if (path == "/api/images") {
        return imageList(target);
    }
    if (path == "/api/image") {
        return image(target, Previews::Use::Show, request.gone);
    }
    if (path == "/api/thumbnail") {
        return image(target, Previews::Use::Thumbnail, request.gone);
    }
    if (path.starts_with("/api/result/")) {
        return result(target, request.gone);
    }
    if (path.starts_with("/api/saved/")) {
        return saved(path.substr(11));
    }
    if (path.starts_with("/api/job/")) {
        const auto state = m_parts.runner.jobs().state(path.substr(9));
        return state ? json(*state) : refused(404, "there is no such job");
    }
    return refused(404, "there is no such page");
}

HttpResponse Service::posted(const HttpRequest& request, const Target& target) {
    const std::string& path = target.path;
    if (path == "/api/upload") {
        Json uploaded = m_parts.uploads.finish(request.bodyFile, parameter(target, "name"));
        m_parts.list.lookAgain();
        return json(uploaded);
    }
    if (path == "/api/run") {
        return json(m_parts.runner.run(readRequest(request.body, operations()), request.gone));
    }
    if (path == "/api/job") {
        return json({{"id", m_parts.runner.begin(readRequest(request.body, operations()))}});
    }
    if (path == "/api/save") {
        Json answer = m_parts.runner.save(readRequest(request.body, operations()));
        m_parts.list.lookAgain();
        return json(answer);
    }
    if (path.starts_with("/api/result/") && path.ends_with("/save")) {
        return json(
            m_parts.runner.keep(path.substr(12, path.size() - 17), parameter(target, "name")));
    }
    if (path.starts_with("/api/job/") && path.ends_with("/stop")) {
        const std::string job = path.substr(9, path.size() - 14);
        return m_parts.runner.jobs().stop(job) ? json(Json::object())
                                               : refused(404, "there is no such job");
    }
    return refused(404, "there is no such page");
}

HttpResponse Service::about() const {
    return json({{"version", version()},
                 {"opencv", cv::getVersionString()},
                 {"folder", utf8Of(m_parts.images.folder())},
                 {"out", utf8Of(m_parts.runner.outFolder())},
                 {"limits", {{"upload", Uploads::mostBytes}, {"pixels", mostPixels}}}});
}

HttpResponse Service::imageList(const Target& target) {
    constexpr std::uint64_t mostAtOnce = 1000;
    return json(m_parts.list.page(count(target, "from", 0, 1'000'000'000),
                                  count(target, "count", 200, mostAtOnce),
                                  parameter(target, "filter")));
}

HttpResponse Service::shown(const fs::path& file, Previews::Use use, std::uint64_t pixels,
                            const std::stop_token& gone) {
    const Preview preview = m_parts.previews.of(file, use, pixels, gone);
    return {.type = "image/jpeg",
            .file = preview.path,
            .fields = {{"X-Image-Width", std::to_string(preview.image.width)},
                       {"X-Image-Height", std::to_string(preview.image.height)}}};
}

HttpResponse Service::image(const Target& target, Previews::Use use, const std::stop_token& gone) {
    const std::string name = parameter(target, "name");
    const auto file = m_parts.images.find(name);
    if (!file) {
        return refused(404, "there is no image '" + name + "'");
    }
    const bool thumbnail = use == Previews::Use::Thumbnail;
    return shown(*file, use,
                 thumbnail ? thumbnailSide : count(target, "pixels", mostPixels, mostPixels), gone);
}

HttpResponse Service::result(const Target& target, const std::stop_token& gone) {
    const auto found = m_parts.runner.results().find(target.path.substr(12));
    if (!found || found->kind == "folder") {
        return refused(404, "this result is not there any more; run it again");
    }
    if (target.parameters.contains("pixels") && found->kind == "image") {
        return shown(found->path, Previews::Use::Show,
                     count(target, "pixels", mostPixels, mostPixels), gone);
    }
    HttpResponse response{.type = contentTypeOf(utf8Of(found->path.filename())),
                          .file = found->path};
    if (found->kind == "page" || found->kind == "file") {
        response.fields.emplace_back("Content-Security-Policy", reportPolicy);
    }
    if (target.parameters.contains("download")) {
        response.fields.emplace_back("Content-Disposition", attachment(found->name));
    }
    return response;
}

HttpResponse Service::saved(const std::string& name) const {
    std::error_code error;
    const fs::path file = m_parts.runner.outFolder() / pathOfUtf8(name);
    if (!isNewName(name) || fs::symlink_status(file, error).type() != fs::file_type::regular ||
        tarvix::isLink(fs::directory_entry(file, error))) {
        return refused(404, "there is no saved file '" + name + "'");
    }
    return {.type = contentTypeOf(name),
            .file = file,
            .fields = {{"Content-Security-Policy", reportPolicy}}};
}

} // namespace workbench
