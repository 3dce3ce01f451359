#include "workbench/uploads.h"

#include "platform/system/paths.h"
#include "workbench/names.h"
#include "workbench/new_files.h"
#include "workbench/request.h"
#include "workbench/shown_names.h"

namespace workbench {

namespace fs = std::filesystem;

namespace {

// Removes a file at the end.
struct Removed {
    const fs::path& file;
    ~Removed() {
        std::error_code ignored;
        fs::remove(file, ignored);
    }
};

} // namespace

std::optional<HttpResponse> Uploads::refusal(const std::string& name) {
    if (!isNewName(name)) {
        return refused(400, "'" + name + "' is not a name for an upload");
    }
    const std::lock_guard lock(m_mutex);
    if (m_bytes >= mostBytesInAll) {
        return refused(413, "the uploads take too much room; restart the workbench");
    }
    return std::nullopt;
}

BodyPlan Uploads::begin() {
    const std::lock_guard lock(m_mutex);
    return {.limit = mostBytes, .file = m_unfinished / std::to_string(++m_last)};
}

nlohmann::ordered_json Uploads::finish(const fs::path& file, const std::string& name) {
    constexpr std::uint64_t shown = 1'000'000;
    const Removed atEnd{file};
    const fs::path wish = pathOfUtf8(name);
    // A decoder may look at the extension; the page gets the preview in a moment anyway.
    fs::path placed;
    for (int n = 1; placed.empty(); ++n) {
        fs::path taken = m_folder / wish;
        if (n > 1) {
            taken.replace_filename(pathOfUtf8(utf8Of(wish.stem()) + "-" + std::to_string(n) +
                                              utf8Of(wish.extension())));
        }
        const std::error_code error = placeNew(file, taken);
        if (!error) {
            placed = taken;
        } else if (error != std::errc::file_exists) {
            throw BadRequest("the upload cannot be stored: " + error.message());
        }
    }
    try {
        const Preview preview = m_previews.of(placed, Previews::Use::Show, shown);
        const std::lock_guard lock(m_mutex);
        m_bytes += fs::file_size(placed);
        return {{"name", uploadsPrefix + utf8Of(placed.filename())},
                {"width", preview.image.width},
                {"height", preview.image.height}};
    } catch (const NoPreview& e) { // not an image, or too large, or the disk is full
        const Removed notShown{placed};
        throw BadRequest("'" + name + "' is not taken: " +
                         withShownNames(e.what(), {{tarvix::nameOf(placed), name}}));
    } catch (...) {
        const Removed notNow{placed};
        throw;
    }
}

} // namespace workbench
