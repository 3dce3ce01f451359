// Names of files as the page writes them: UTF-8, with '/', relative to the folder that the
// workbench was started for, or "uploads/NAME". And nothing else: whatever a request says, no other
// file is read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace workbench {

// A path as UTF-8, on every system; and back. Bytes of a name that are not UTF-8 stay as they are.
std::string utf8Of(const std::filesystem::path& path);
std::filesystem::path pathOfUtf8(const std::string& text);

// What a request asks for.
struct Target {
    std::string path; // "/api/image", decoded
    std::map<std::string, std::string> parameters;
};

// Reads "/path?name=value&...". Nothing if it is not wholly that: a malformed escape, a zero byte,
// what is not UTF-8, a parameter that is there twice.
std::optional<Target> readTarget(const std::string& target);

// A whole number without sign that is not above `most`; nothing for any other text.
std::optional<std::uint64_t> readCount(const std::string& text, std::uint64_t most);

// True for a name that a new file can have on every system: no separator, no control character, no
// dot or dash in front, not a device of Windows, not too long.
bool isNewName(const std::string& name);

class ImageFolder {
public:
    // `uploads` is another folder. Both must exist. Throws std::filesystem::filesystem_error.
    ImageFolder(const std::filesystem::path& folder, const std::filesystem::path& uploads);

    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }
    [[nodiscard]] const std::filesystem::path& uploads() const { return m_uploads; }

    // The file of that name, with all links followed; nothing if it is not a regular file below one
    // of the two folders.
    [[nodiscard]] std::optional<std::filesystem::path> find(const std::string& name) const;

    // The same for a folder below that of the images.
    [[nodiscard]] std::optional<std::filesystem::path> findFolder(const std::string& name) const;

private:
    std::filesystem::path m_folder; // links followed
    std::filesystem::path m_uploads;
};

inline constexpr const char* uploadsPrefix = "uploads/";

// True if `path` is below `folder`; both with all links followed.
bool isBelow(const std::filesystem::path& path, const std::filesystem::path& folder);

} // namespace workbench
