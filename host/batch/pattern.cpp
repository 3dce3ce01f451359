#include "host/batch/pattern.h"

#include "platform/system/paths.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

WordKind kindOf(const std::string& word) {
    std::error_code ignored;
    const bool isFile = fs::is_regular_file(pathOf(word), ignored);
    if (word == "-") {
        return WordKind::StandardInput;
    }
    if (!isFile && word.starts_with("@")) {
        return WordKind::List;
    }
    if (fs::is_directory(pathOf(word), ignored)) {
        return WordKind::Folder;
    }
    return !isFile && isPattern(word) ? WordKind::Pattern : WordKind::File;
}

bool isPattern(const std::string& text) {
    return text.find_first_of("*?") != std::string::npos;
}

namespace {

// Where the character after that at `at` begins.
std::size_t after(std::string_view text, std::size_t at) {
    constexpr unsigned kind = 0xC0; // the bits that say which byte of a character it is
    constexpr unsigned further = 0x80;
    do {
        ++at;
    } while (at < text.size() && (static_cast<unsigned char>(text[at]) & kind) == further);
    return at;
}

bool matchesWhole(std::string_view pattern, std::string_view name) {
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t star = std::string_view::npos; // the last one, and where it may end next
    std::size_t next = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            next = n;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            n = after(name, n);
        } else if (p < pattern.size() && pattern[p] == name[n]) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = next = after(name, next);
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

std::string folded(const std::string& name) {
    return nameOf(tarvix::foldedPath(pathOf(name)));
}

} // namespace

bool matches(const std::string& pattern, const std::string& name) {
    return (!name.starts_with(".") || pattern.starts_with(".")) &&
           matchesWhole(folded(pattern), folded(name));
}

bool isImageName(const fs::path& path) {
    static const std::set<std::string> known = {".bmp", ".dib",  ".jpeg", ".jpg", ".jpe",  ".jp2",
                                                ".png", ".webp", ".pbm",  ".pgm", ".ppm",  ".pnm",
                                                ".tif", ".tiff", ".exr",  ".hdr", ".avif", ".ras"};
    std::string extension = nameOf(path.extension());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return known.contains(extension) && !nameOf(path.filename()).starts_with(".");
}

} // namespace host
