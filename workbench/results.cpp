#include "workbench/results.h"

#include "workbench/names.h"

#include <algorithm>
#include <numeric>

namespace workbench {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostImageRuns = 300;
constexpr std::size_t mostBases = 100;
constexpr std::uintmax_t mostBytes = std::uintmax_t{2} << 30U; // of each kind

std::uintmax_t bytesBelow(const fs::path& folder) {
    std::uintmax_t bytes = 0;
    std::error_code error;
    for (fs::recursive_directory_iterator next(folder, error), end; !error && next != end;
         next.increment(error)) {
        std::error_code unknown;
        const std::uintmax_t size = next->is_regular_file(unknown) ? next->file_size(unknown) : 0;
        bytes += unknown ? 0 : size;
    }
    return bytes;
}

} // namespace

fs::path Results::newRunFolder() {
    const std::lock_guard lock(m_mutex);
    ++m_lastRun;
    fs::path folder = m_folder / ("run-" + std::to_string(m_lastRun));
    fs::create_directory(folder);
    return folder;
}

std::vector<StoredResult> Results::keep(const fs::path& runFolder,
                                        std::vector<StoredResult> results) {
    const std::uintmax_t bytes = bytesBelow(runFolder);
    const std::lock_guard lock(m_mutex);
    Run run{.folder = runFolder, .ids = {}, .bytes = bytes};
    bool isBase = false;
    for (StoredResult& result : results) {
        result.id = "r" + std::to_string(++m_lastResult);
        isBase = isBase || result.kind == "folder" || result.kind == "file";
        run.ids.push_back(result.id);
        m_results.emplace(result.id, result);
    }
    (isBase ? m_bases : m_images).push_back(std::move(run));
    limit(m_images, mostImageRuns, mostBytes);
    limit(m_bases, mostBases, mostBytes);
    return results;
}

void Results::limit(std::deque<Run>& runs, std::size_t count, std::uintmax_t bytes) {
    std::uintmax_t total =
        std::accumulate(runs.begin(), runs.end(), std::uintmax_t{0},
                        [](std::uintmax_t sum, const Run& run) { return sum + run.bytes; });
    while (runs.size() > 1 && (runs.size() > count || total > bytes)) {
        total -= runs.front().bytes;
        for (const std::string& id : runs.front().ids) {
            m_names.erase(m_results[id].name);
            m_results.erase(id);
        }
        drop(runs.front().folder);
        runs.pop_front();
    }
}

void Results::drop(const fs::path& runFolder) {
    std::error_code ignored;
    fs::remove_all(runFolder, ignored);
}

std::optional<StoredResult> Results::find(const std::string& id) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_results.find(id);
    return found == m_results.end() ? std::nullopt : std::optional(found->second);
}

std::string Results::freeName(const std::string& wish) {
    const std::lock_guard lock(m_mutex);
    const fs::path path = pathOfUtf8(wish);
    std::string name = wish;
    for (int n = 2; !m_names.insert(name).second; ++n) {
        name = utf8Of(path.stem()) + "-" + std::to_string(n) + utf8Of(path.extension());
    }
    return name;
}

} // namespace workbench
