// Names of files as hosts give them, multi-byte strings in the system's code page, and as the
// standard library takes them: not every one reads a narrow string in that code page.
#pragma once

#include <filesystem>
#include <string>

namespace tarvix {

std::filesystem::path pathOf(const std::string& name);

// Characters that the code page lacks become others, as the system chooses.
std::string nameOf(const std::filesystem::path& path);

} // namespace tarvix
