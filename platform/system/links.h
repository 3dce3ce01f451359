// Links in the file system: symbolic ones, and junctions on Windows, which not every standard
// library sees there.
#pragma once

#include <filesystem>
#include <system_error>

namespace tarvix {

// The path of what is there, absolute and with all links followed. Sets `error` and returns an
// empty path if nothing is there.
std::filesystem::path followedPath(const std::filesystem::path& path, std::error_code& error);

// True if the entry is a link itself.
bool isLink(const std::filesystem::directory_entry& entry);

} // namespace tarvix
