#include "host/file_bytes.h"

#include <fstream>
#include <sstream>
#include <utility>

namespace host {

std::string bytesOfFile(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes; // block by block; an iterator would take byte by byte
    bytes << file.rdbuf();
    return bytes.fail() ? std::string() : std::move(bytes).str();
}

} // namespace host
