// The images below the folder, and those that were uploaded.
#pragma once

#include "workbench/names.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

namespace workbench {

class ImageList {
public:
    explicit ImageList(const ImageFolder& folder) : m_folder(folder) {}

    // {"total":n,"images":[{"name","bytes"}]}: those whose name has the text, upper or lower case,
    // sorted by name, uploads first. Folders are looked through again once the list is two seconds
    // old. Hidden files and folders are left out, and names that are not UTF-8.
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

    const ImageFolder& m_folder;
    std::mutex m_mutex; // guards the rest
    std::vector<Entry> m_entries;
    std::chrono::steady_clock::time_point m_looked{};
};

} // namespace workbench
