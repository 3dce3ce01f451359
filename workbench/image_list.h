// The images below the folder, and those that were uploaded.
#pragma once

#include "workbench/names.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace workbench {

class ImageList {
public:
    // `mostVisited`: files and folders that are looked at; what is beyond them is not listed.
    explicit ImageList(const ImageFolder& folder, std::size_t mostVisited = 300000)
        : m_folder(folder), m_mostVisited(mostVisited) {}

    // {"total":n,"whole":true,"images":[{"name","bytes"}]}: those whose name has the text, upper or
    // lower case, sorted by name, uploads first. "whole" is false if not everything was looked at.
    // Folders are looked through again once the list is two seconds old, or ten times as old as the
    // look took. Hidden files and folders are left out, and names that are not UTF-8.
    nlohmann::ordered_json page(std::size_t from, std::size_t count, const std::string& filter);

    // The next call looks at once.
    void lookAgain();

private:
    struct Entry {
        std::string name;
        std::uint64_t bytes = 0;
    };
    void look();
    void lookBelow(const std::filesystem::path& folder, const std::string& prefix);

    using Clock = std::chrono::steady_clock;

    const ImageFolder& m_folder;
    const std::size_t m_mostVisited;
    std::mutex m_mutex; // guards the rest
    std::vector<Entry> m_entries;
    std::size_t m_visited = 0;
    std::optional<Clock::time_point> m_lookAt; // when the folders are looked through again
};

} // namespace workbench
