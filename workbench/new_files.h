// Files and folders that never replace others.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace workbench {

// Copies a file, or a folder of files, to a name that nothing has; std::errc::file_exists if it is
// taken, also if somebody else took it meanwhile. A file appears whole or not at all; a folder may
// be there in part if the copying fails.
std::error_code placeNew(const std::filesystem::path& from, const std::filesystem::path& to);

// A folder for one run of the program below the system's folder for temporary files, only for this
// user. Removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder(); // throws std::filesystem::filesystem_error
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // A folder in it.
    [[nodiscard]] std::filesystem::path part(const std::string& name) const;
    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace workbench
