// Converts file names between the host's multi-byte strings in the system's code page and the
// standard library's paths. Some standard libraries do not decode narrow strings in that code page.
#pragma once

#include <filesystem>
#include <string>

namespace tarvix {

std::filesystem::path pathOf(const std::string& name);

// Characters that the code page lacks are replaced as the system chooses.
std::string nameOf(const std::filesystem::path& path);

// The same for two paths that differ only in what the system does not tell apart in names: capital
// and small letters on Windows.
std::filesystem::path foldedPath(const std::filesystem::path& path);

} // namespace tarvix
