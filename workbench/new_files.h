// Files and folders that never replace others.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace workbench {

// Copies a file, or a folder of files, to a name that nothing has.
// Returns std::errc::file_exists if it is taken, also if somebody else took it meanwhile; another
// error if the copying fails. Nothing of ours stays then. A file appears whole; on a file system
// without hard links, it grows under its name. A folder fills file by file.
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
