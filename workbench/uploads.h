// Images that the page has sent. They are kept until the workbench ends.
#pragma once

#include "workbench/http.h"
#include "workbench/previews.h"

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>

namespace workbench {

// Any thread may call its functions.
class Uploads {
public:
    static constexpr std::uint64_t mostBytes = std::uint64_t{200} << 20U; // of one
    static constexpr std::uint64_t mostBytesInAll = std::uint64_t{4} << 30U;

    // `folder` gets the images, `unfinished` what is on its way. Both must exist.
    Uploads(Previews& previews, std::filesystem::path folder, std::filesystem::path unfinished)
        : m_previews(previews), m_folder(std::move(folder)), m_unfinished(std::move(unfinished)) {}

    // Why a file of that name is not taken, or nothing.
    std::optional<HttpResponse> refusal(const std::string& name);

    // Where the next one goes.
    BodyPlan begin();

    // Takes a whole one over: {"name":"uploads/a.jpg","width","height"}. A second one of the same
    // name gets a number. Throws BadRequest if it is not an image, and Busy; it is removed then.
    nlohmann::ordered_json finish(const std::filesystem::path& file, const std::string& name);

private:
    Previews& m_previews;
    const std::filesystem::path m_folder;
    const std::filesystem::path m_unfinished;
    std::mutex m_mutex; // guards the rest
    std::uint64_t m_last = 0;
    std::uint64_t m_bytes = 0;
};

} // namespace workbench
