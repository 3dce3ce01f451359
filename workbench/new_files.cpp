#include "workbench/new_files.h"

#include "workbench/session.h"

#include <vector>

namespace workbench {

namespace fs = std::filesystem;

namespace {

std::error_code placeFile(const fs::path& from, const fs::path& to) {
    const fs::path half = to.parent_path() / (".half-" + randomToken());
    std::error_code error;
    fs::copy_file(from, half, error);
    if (!error) {
        fs::create_hard_link(half, to, error); // whole at once, and never over a file
        std::error_code unknown;
        if (error && fs::symlink_status(to, unknown).type() == fs::file_type::not_found) {
            // A file system without hard links: the copy does not replace a file either.
            error.clear();
            fs::copy_file(half, to, fs::copy_options::none, error);
            if (error && error != std::errc::file_exists) { // a full disk; the half file is ours
                fs::remove(to, unknown);
            }
        } else if (error) {
            error = std::make_error_code(std::errc::file_exists);
        }
    }
    std::error_code ignored;
    fs::remove(half, ignored);
    return error;
}

} // namespace

std::error_code placeNew(const fs::path& from, const fs::path& to) {
    std::error_code error;
    if (!fs::is_directory(from, error)) {
        return placeFile(from, to);
    }
    if (!fs::create_directory(to, error)) {
        return error ? error : std::make_error_code(std::errc::file_exists);
    }
    std::vector<fs::path> placed;
    fs::directory_iterator next(from, error);
    for (const fs::directory_iterator end; !error && next != end;) {
        placed.push_back(to / next->path().filename());
        error = placeFile(next->path(), placed.back());
        if (error) {
            placed.pop_back();
        } else {
            next.increment(error);
        }
    }
    if (error) { // only what is ours
        std::error_code ignored;
        for (const fs::path& file : placed) {
            fs::remove(file, ignored);
        }
        fs::remove(to, ignored);
    }
    return error;
}

TemporaryFolder::TemporaryFolder()
    : m_path(fs::temp_directory_path() / ("tarvix-workbench-" + randomToken())) {
    if (!fs::create_directory(m_path)) {
        throw fs::filesystem_error("cannot make a folder for temporary files", m_path,
                                   std::make_error_code(std::errc::file_exists));
    }
    fs::permissions(m_path, fs::perms::owner_all);
    m_path = fs::canonical(m_path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

fs::path TemporaryFolder::part(const std::string& name) const {
    fs::path folder = m_path / name;
    fs::create_directory(folder);
    return folder;
}

} // namespace workbench
