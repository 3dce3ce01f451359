#include "platform/system/links.h"

namespace tarvix {

std::filesystem::path followedPath(const std::filesystem::path& path, std::error_code& error) {
    return std::filesystem::canonical(path, error);
}

bool isLink(const std::filesystem::directory_entry& entry) {
    std::error_code ignored;
    return entry.is_symlink(ignored);
}

} // namespace tarvix
