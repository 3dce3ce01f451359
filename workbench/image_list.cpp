#include "workbench/image_list.h"

#include "platform/system/links.h"
#include "workbench/lower_case.h"
#include "workers/worker.h"

#include <algorithm>
#include <array>

namespace workbench {

namespace fs = std::filesystem;

namespace {

constexpr int deepest = 12; // folders in folders

std::string genericOf(const fs::path& path) {
    const auto text = path.generic_u8string();
    return {text.begin(), text.end()};
}

bool isImageName(const std::string& name) {
    constexpr std::array<const char*, 11> extensions = {
        ".jpg", ".jpeg", ".png", ".bmp", ".tif", ".tiff", ".webp", ".pgm", ".ppm", ".pbm", ".jp2"};
    const std::string extension = lowerCase(name.substr(std::min(name.rfind('.'), name.size())));
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

} // namespace

void ImageList::lookAgain() {
    const std::lock_guard lock(m_mutex);
    m_lookAt.reset();
}

void ImageList::lookBelow(const fs::path& folder, const std::string& prefix) {
    std::error_code error;
    fs::recursive_directory_iterator next(folder, fs::directory_options::skip_permission_denied,
                                          error);
    for (const fs::recursive_directory_iterator end;
         !error && next != end && m_visited < m_mostVisited; next.increment(error)) {
        ++m_visited;
        const fs::directory_entry& entry = *next;
        const std::string name = utf8Of(entry.path().filename());
        std::error_code unknown;
        if (entry.is_directory(unknown)) {
            if (name.starts_with(".") || next.depth() >= deepest || tarvix::isLink(entry)) {
                next.disable_recursion_pending();
            }
            continue;
        }
        if (name.starts_with(".") || !isImageName(name)) {
            continue;
        }
        std::string whole = genericOf(entry.path().lexically_relative(folder));
        whole.insert(0, prefix);
        const bool leadsOut = tarvix::isLink(entry) && !m_folder.find(whole);
        if (!leadsOut && entry.is_regular_file(unknown) && tarvix::isUtf8(whole)) {
            const std::uintmax_t bytes = entry.file_size(unknown);
            m_entries.push_back({std::move(whole), unknown ? 0 : bytes});
        }
    }
}

void ImageList::look() {
    const Clock::time_point begin = Clock::now();
    m_entries.clear();
    m_visited = 0;
    lookBelow(m_folder.uploads(), uploadsPrefix);
    const auto uploads = static_cast<std::ptrdiff_t>(m_entries.size());
    lookBelow(m_folder.folder(), "");
    std::sort(m_entries.begin() + uploads, m_entries.end(),
              [](const Entry& a, const Entry& b) { return a.name < b.name; });
    const Clock::time_point end = Clock::now();
    m_lookAt = end + std::max<Clock::duration>(std::chrono::seconds(2), 10 * (end - begin));
}

nlohmann::ordered_json ImageList::page(std::size_t from, std::size_t count,
                                       const std::string& filter) {
    const std::lock_guard lock(m_mutex);
    if (!m_lookAt || Clock::now() > *m_lookAt) {
        look();
    }
    const std::string wanted = lowerCase(filter);
    const auto has = [&wanted](const std::string& name) {
        return std::search(name.begin(), name.end(), wanted.begin(), wanted.end(),
                           [](char a, char b) { return lowerCase(a) == b; }) != name.end();
    };
    nlohmann::ordered_json images = nlohmann::ordered_json::array();
    std::size_t total = 0;
    for (const Entry& entry : m_entries) {
        if (!wanted.empty() && !has(entry.name)) {
            continue;
        }
        if (total >= from && images.size() < count) {
            images.push_back({{"name", entry.name}, {"bytes", entry.bytes}});
        }
        ++total;
    }
    return {{"total", total}, {"whole", m_visited < m_mostVisited}, {"images", std::move(images)}};
}

} // namespace workbench
