// Paths as hosts give them: multi-byte strings.
#pragma once

#include <filesystem>
#include <string>

namespace tarvix {

struct HostPath {
    std::string name;           // as the host wrote it, for messages
    std::filesystem::path path; // the same, for the standard library
};

// The file `name` in `folder`. Empty if it does not fit MAX_PATH characters.
HostPath pathIn(const char* folder, const char* name);

// Whether there is something at the path.
bool exists(const HostPath& path);

} // namespace tarvix
