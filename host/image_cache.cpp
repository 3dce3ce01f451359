#include "host/image_cache.h"

#include "platform/system/paths.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <system_error>

namespace host {

namespace {

constexpr std::size_t mostImages = 4;
constexpr std::size_t mostBytes = std::size_t{256} << 20U;

struct Kept {
    std::string key;
    DecodedImage decoded;
};

bool isKeeping = false;
std::deque<Kept> kept; // the oldest first

std::size_t bytesOf(const cv::Mat& image) {
    return image.total() * image.elemSize();
}

// Empty if the file cannot be asked.
std::string keyOf(const std::string& path) {
    const std::filesystem::path file = tarvix::pathOf(path);
    std::error_code noSize;
    std::error_code noTime;
    const auto size = std::filesystem::file_size(file, noSize);
    const auto time = static_cast<std::int64_t>( // some libraries count in more than 64 bits
        std::filesystem::last_write_time(file, noTime).time_since_epoch().count());
    return noSize || noTime ? std::string()
                            : std::to_string(size) + " " + std::to_string(time) + " " + path;
}

} // namespace

void keepDecodedImages(bool keep) {
    isKeeping = keep;
    kept.clear();
}

std::optional<DecodedImage> keptImage(const std::string& path) {
    if (!isKeeping) {
        return std::nullopt;
    }
    const std::string key = keyOf(path);
    for (const Kept& one : kept) {
        if (one.key == key) {
            return one.decoded;
        }
    }
    return std::nullopt;
}

void keepImage(const std::string& path, const DecodedImage& decoded) {
    std::string key = isKeeping ? keyOf(path) : std::string();
    if (key.empty() || bytesOf(decoded.image) > mostBytes / 2) {
        return;
    }
    kept.push_back({std::move(key), decoded});
    std::size_t bytes = 0;
    for (const Kept& one : kept) {
        bytes += bytesOf(one.decoded.image);
    }
    while (kept.size() > mostImages || bytes > mostBytes) {
        bytes -= bytesOf(kept.front().decoded.image);
        kept.pop_front();
    }
}

} // namespace host
