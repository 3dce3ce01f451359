#include "platform/system/paths.h"

namespace tarvix {

std::filesystem::path pathOf(const std::string& name) {
    return name;
}

std::string nameOf(const std::filesystem::path& path) {
    return path.string();
}

std::filesystem::path foldedPath(const std::filesystem::path& path) {
    return path;
}

} // namespace tarvix
