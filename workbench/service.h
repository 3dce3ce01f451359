// What the workbench answers: the page's files and the API under /api/. docs/workbench.md lists it.
#pragma once

#include "workbench/http.h"
#include "workbench/image_list.h"
#include "workbench/runner.h"
#include "workbench/session.h"
#include "workbench/uploads.h"

#include <optional>
#include <string>

namespace workbench {

class Service : public HttpService {
public:
    // What it uses must outlive it.
    struct Parts {
        const ImageFolder& images;
        ImageList& list;
        Previews& previews;
        Runner& runner;
        Uploads& uploads;
    };
    explicit Service(Parts parts) : m_parts(parts) {}

    // Before the first request: the port is known only when the server listens.
    void open(const Session& session) { m_session = session; }

    std::optional<HttpResponse> refusal(const HttpRequest& head) override;
    BodyPlan bodyPlan(const HttpRequest& head) override;
    HttpResponse answer(const HttpRequest& request) override;

private:
    HttpResponse routed(const HttpRequest& request, const Target& target);
    HttpResponse posted(const HttpRequest& request, const Target& target);
    HttpResponse about() const;
    HttpResponse imageList(const Target& target);
    HttpResponse image(const Target& target, Previews::Use use, const std::stop_token& gone);
    HttpResponse result(const Target& target, const std::stop_token& gone);
    HttpResponse saved(const std::string& name) const;
    HttpResponse shown(const std::filesystem::path& file, Previews::Use use, std::uint64_t pixels,
                       const std::stop_token& gone);

    Parts m_parts;
    std::optional<Session> m_session;
};

} // namespace workbench
