// The bytes of a whole file.
#pragma once

#include <filesystem>
#include <string>

namespace host {

// Empty if the file cannot be read to its end.
std::string bytesOfFile(const std::filesystem::path& path);

} // namespace host
