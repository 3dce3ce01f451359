// What runs have made: files in a temporary folder, each under a number that the page asks for.
#pragma once

#include "workbench/plan.h"

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace workbench {

struct StoredResult {
    std::string id; // "r17"
    std::string kind;
    std::string name;
    std::filesystem::path path;
    cv::Size size{}; // of an image, in full; empty if unknown
};

// Bounded: the oldest runs go when there are too many, or when they take too much room. Runs that
// others build on, such as calibrations, are counted apart. Any thread may call its functions.
class Results {
public:
    // The folder must exist and is the store's own.
    explicit Results(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    // A new empty folder for what one run makes.
    std::filesystem::path newRunFolder();

    // Takes over what a run has made in its folder. Returns the results with their ids.
    std::vector<StoredResult> keep(const std::filesystem::path& runFolder,
                                   std::vector<StoredResult> results);

    // Removes the folder of a run that made nothing.
    static void drop(const std::filesystem::path& runFolder);

    [[nodiscard]] std::optional<StoredResult> find(const std::string& id) const;

    // The wish, or the wish with a number, so that no two calls return the same name.
    std::string freeName(const std::string& wish);

private:
    struct Run {
        std::filesystem::path folder;
        std::vector<std::string> ids;
        std::uintmax_t bytes = 0;
    };
    void limit(std::deque<Run>& runs, std::size_t count, std::uintmax_t bytes);

    const std::filesystem::path m_folder;
    mutable std::mutex m_mutex; // guards the rest
    std::uint64_t m_lastRun = 0;
    std::uint64_t m_lastResult = 0;
    std::map<std::string, StoredResult> m_results;
    std::deque<Run> m_images;
    std::deque<Run> m_bases; // with folders or files that later runs may read
    std::set<std::string> m_names;
};

} // namespace workbench
