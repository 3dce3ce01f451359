#include "workbench/output_names.h"

#include "platform/system/windows_words.h"
#include "workbench/lower_case.h"
#include "workbench/names.h"

#include <algorithm>
#include <array>

namespace workbench {

namespace fs = std::filesystem;

namespace {

std::string lowerExtension(const std::string& name) {
    return lowerCase(utf8Of(pathOfUtf8(name).extension()));
}

} // namespace

std::string extensionFor(const Operation& operation, const std::string& firstImage) {
    constexpr std::array<const char*, 10> photographs = {
        "load",  "denoise", "converge",  "converge-scaled", "warp",
        "align", "patch",   "undistort", "rectify",         "stitch"};
    constexpr std::array<const char*, 7> formats = {".jpg", ".jpeg", ".png", ".bmp",
                                                    ".tif", ".tiff", ".webp"};
    const std::string own = lowerExtension(firstImage);
    const bool keeps =
        std::find(photographs.begin(), photographs.end(), operation.name) != photographs.end() &&
        std::find(formats.begin(), formats.end(), own) != formats.end();
    return keeps ? own : ".png";
}

std::string commandLineOf(const std::vector<std::string>& words) {
    constexpr bool posix = fs::path::preferred_separator == '/';
    std::string line = "tarvix";
    for (const std::string& word : words) {
        line += ' ';
        const bool plain =
            !word.empty() &&
            word.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                   "0123456789_-+=:,./@%") == std::string::npos;
        if (plain) {
            line += word;
        } else if (posix) {
            line += '\'';
            for (const char c : word) {
                line += c == '\'' ? std::string("'\\''") : std::string(1, c);
            }
            line += '\'';
        } else {
            line += tarvix::quotedForWindows(word);
        }
    }
    return line;
}

} // namespace workbench
