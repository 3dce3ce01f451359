// A list of file names, whoever holds it.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tarvix {

// The list is only viewed: what it was made from must outlive it.
struct FileList {
    int size = 0;
    // The name at a position. Throws for a position out of range: the exception is that of the
    // list behind it.
    std::function<std::string(int)> at;
};

// Views a vector; `at` throws std::out_of_range.
inline FileList viewList(const std::vector<std::string>& files) {
    return {static_cast<int>(files.size()),
            [&files](int i) { return files.at(static_cast<std::size_t>(i)); }};
}

FileList viewList(std::vector<std::string>&& files) = delete; // it would be gone

} // namespace tarvix
