#include "workbench/names.h"

#include "platform/system/links.h"
#include "workbench/lower_case.h"
#include "workers/worker.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace workbench {

namespace fs = std::filesystem;

namespace {

int digitOf(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// "%41" and, in parameters, "+" decoded.
std::optional<std::string> decoded(const std::string& text, bool plusIsSpace) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            const int high = i + 2 < text.size() ? digitOf(text[i + 1]) : -1;
            const int low = high < 0 ? -1 : digitOf(text[i + 2]);
            if (low < 0) {
                return std::nullopt;
            }
            plain += static_cast<char>(16 * high + low);
            i += 2;
        } else {
            plain += plusIsSpace && text[i] == '+' ? ' ' : text[i];
        }
    }
    if (plain.find('\0') != std::string::npos || !tarvix::isUtf8(plain)) {
        return std::nullopt;
    }
    return plain;
}

constexpr bool hasDrives =
    fs::path::preferred_separator != '/'; // and '\\' separates, ':' is special

fs::path followed(const fs::path& folder) {
    std::error_code error;
    fs::path path = tarvix::followedPath(folder, error);
    if (error) {
        throw fs::filesystem_error("cannot open the folder", folder, error);
    }
    return path;
}

// A relative path without "." and "..".
bool isPlain(const std::string& name) {
    if (name.empty() || name.size() > 4096 || name.front() == '/' || name.back() == '/') {
        return false;
    }
    if (name.find('\0') != std::string::npos || !tarvix::isUtf8(name) ||
        (hasDrives && name.find_first_of("\\:") != std::string::npos)) {
        return false;
    }
    std::size_t begin = 0;
    while (begin <= name.size()) {
        const std::size_t end = std::min(name.find('/', begin), name.size());
        const std::string part = name.substr(begin, end - begin);
        if (part.empty() || part == "." || part == "..") {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

} // namespace

std::string utf8Of(const fs::path& path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

fs::path pathOfUtf8(const std::string& text) {
    return std::u8string(text.begin(), text.end());
}

std::optional<Target> readTarget(const std::string& target) {
    const std::size_t question = std::min(target.find('?'), target.size());
    auto path = decoded(target.substr(0, question), false);
    if (!path || path->empty() || path->front() != '/') {
        return std::nullopt;
    }
    Target read{.path = *path, .parameters = {}};
    std::size_t begin = question + 1;
    while (begin < target.size()) {
        const std::size_t end = std::min(target.find('&', begin), target.size());
        const std::size_t equals = std::min(target.find('=', begin), end);
        const auto name = decoded(target.substr(begin, equals - begin), true);
        const auto value =
            decoded(equals < end ? target.substr(equals + 1, end - equals - 1) : "", true);
        if (!name || !value || !read.parameters.emplace(*name, *value).second) {
            return std::nullopt;
        }
        begin = end + 1;
    }
    return read;
}

std::optional<std::uint64_t> readCount(const std::string& text, std::uint64_t most) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc{} || stop != end || number > most) {
        return std::nullopt;
    }
    return number;
}

bool isNewName(const std::string& name) {
    constexpr std::array<const char*, 6> devices = {"con", "prn", "aux", "nul", "com", "lpt"};
    if (!isPlain(name) || name.size() > 200 || name.front() == '.' || name.front() == '-' ||
        name.front() == ' ' || name.back() == '.' || name.back() == ' ') {
        return false;
    }
    for (const char c : name) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f ||
            std::string("/\\:*?\"<>|").find(c) != std::string::npos) {
            return false;
        }
    }
    std::string stem = lowerCase(name.substr(0, name.find('.')));
    while (!stem.empty() && stem.back() == ' ') {
        stem.pop_back();
    }
    const bool numbered = stem.size() == 4 && stem.back() >= '0' && stem.back() <= '9';
    return std::none_of(devices.begin(), devices.end(), [&](const std::string& device) {
        const bool ports = device == "com" || device == "lpt";
        return ports ? numbered && stem.substr(0, 3) == device : stem == device;
    });
}

bool isBelow(const fs::path& path, const fs::path& folder) {
    const auto [inFolder, inPath] =
        std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return inFolder == folder.end() && inPath != path.end();
}

ImageFolder::ImageFolder(const fs::path& folder, const fs::path& uploads)
    : m_folder(followed(folder)), m_uploads(followed(uploads)) {}

std::optional<fs::path> ImageFolder::find(const std::string& name) const {
    if (!isPlain(name)) {
        return std::nullopt;
    }
    const std::string prefix = uploadsPrefix;
    const bool isUpload = name.starts_with(prefix);
    std::error_code error;
    for (const bool uploaded : {true, false}) { // a folder of the user may be named "uploads", too
        if (uploaded && !isUpload) {
            continue;
        }
        const fs::path& folder = uploaded ? m_uploads : m_folder;
        const fs::path file = tarvix::followedPath(
            folder / pathOfUtf8(uploaded ? name.substr(prefix.size()) : name), error);
        if (!error && isBelow(file, folder) && fs::is_regular_file(file, error)) {
            return file;
        }
    }
    return std::nullopt;
}

std::optional<fs::path> ImageFolder::findFolder(const std::string& name) const {
    if (!isPlain(name)) {
        return std::nullopt;
    }
    std::error_code error;
    const fs::path path = tarvix::followedPath(m_folder / pathOfUtf8(name), error);
    if (error || !isBelow(path, m_folder) || !fs::is_directory(path, error)) {
        return std::nullopt;
    }
    return path;
}

} // namespace workbench
