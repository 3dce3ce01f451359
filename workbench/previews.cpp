#include "workbench/previews.h"

#include "platform/system/paths.h"
#include "workbench/names.h"

namespace workbench {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostThumbnails = 5000;
constexpr std::size_t mostShown = 64;
constexpr std::size_t mostCopies = 32;

// A file that has changed has another key.
std::string keyOf(const fs::path& image, Previews::Use use, std::uint64_t pixels) {
    std::error_code error;
    const auto size = fs::file_size(image, error);
    const auto time = fs::last_write_time(image, error).time_since_epoch().count();
    return std::to_string(static_cast<int>(use)) + " " + std::to_string(pixels) + " " +
           std::to_string(size) + " " + std::to_string(time) + " " + utf8Of(image);
}

} // namespace

Previews::Store& Previews::storeOf(Use use) {
    return use == Use::Thumbnail ? m_thumbnails : use == Use::Show ? m_shown : m_copies;
}

Preview Previews::of(const fs::path& image, Use use, std::uint64_t pixels,
                     const std::stop_token& gone) {
    const std::string key = keyOf(image, use, pixels);
    fs::path file;
    {
        const std::lock_guard lock(m_mutex);
        const Store& store = storeOf(use);
        if (const auto found = store.made.find(key); found != store.made.end()) {
            return found->second;
        }
        file = m_folder / (std::to_string(++m_last) + (use == Use::RunOn ? ".png" : ".jpg"));
    }
    const RunEnd end = m_engine.run(
        {"reduced", tarvix::nameOf(image), "-o", tarvix::nameOf(file),
         use == Use::Thumbnail ? "--side" : "--pixels", std::to_string(pixels), "--json"},
        use == Use::RunOn ? Engine::Lane::Drag : Engine::Lane::Work, false, gone);
    if (end.status != 0 || !end.data.is_object()) {
        std::error_code ignored;
        fs::remove(file, ignored);
        throw NoPreview(end.messages.empty() ? "the image cannot be shown" : end.messages.front());
    }
    const auto sizeOf = [&end](const char* name) {
        return cv::Size(end.data.at(name).at(0).get<int>(), end.data.at(name).at(1).get<int>());
    };
    Preview preview{.path = file, .image = sizeOf("image"), .copy = sizeOf("size")};
    const std::lock_guard lock(m_mutex);
    Store& store = storeOf(use);
    if (store.made.emplace(key, preview).second) {
        store.order.push_back(key);
    }
    const std::size_t most = use == Use::Thumbnail ? mostThumbnails
                             : use == Use::Show    ? mostShown
                                                   : mostCopies;
    while (store.order.size() > most) {
        std::error_code ignored;
        fs::remove(store.made.at(store.order.front()).path, ignored);
        store.made.erase(store.order.front());
        store.order.pop_front();
    }
    return preview;
}

} // namespace workbench
