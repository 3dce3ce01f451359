#include <common/file_set.h>

#include <algorithm>
#include <memory>
#include <set>
#include <utility>

namespace tarvix {

namespace fs = std::filesystem;

// A file of the set on its way: add() makes `beside`; commit() moves the earlier file to `aside`
// and `beside` to `target`. A path is empty while nothing of ours is there.
struct FileSet::Entry {
    std::string name; // for messages
    fs::path target, beside, aside;
    std::string bytes;
    bool existed = false;
    bool isPlaced = false; // at `target`, even if only in part

    // Written in place:
    bool isInPlace = false;
    std::unique_ptr<OpenFile> file; // null until its earlier bytes are known
    std::string earlier;
    std::size_t overwritten = 0;
    bool isResized = false;
};

namespace {

void check(std::error_code error, const std::string& name) {
    if (error) {
        throw FileError(name, error);
    }
}

// Where the links lead. The file there need not exist.
fs::path followLinks(const fs::path& file, const std::string& name) {
    constexpr int mostLinks = 40;
    std::error_code ignored;
    fs::path target(file);
    for (int links = 0; fs::is_symlink(fs::symlink_status(target, ignored)); ++links) {
        std::error_code error;
        const fs::path to = fs::read_symlink(target, error);
        if (links == mostLinks) {
            error = make_error_code(std::errc::too_many_symbolic_link_levels);
        }
        check(error, name);
        target = target.parent_path() / to;
    }
    const fs::file_status status = fs::status(target, ignored);
    if (!target.has_filename() || (fs::exists(status) && !fs::is_regular_file(status))) {
        throw FileError(name, make_error_code(std::errc::is_a_directory));
    }
    return target;
}

fs::path nameBeside(const fs::path& target, const std::string& unique, const char* suffix) {
    constexpr std::size_t longest = 64; // with the rest it fits into any file system's names
    fs::path name(".");
    if (target.filename().native().size() <= longest) {
        name += target.filename();
        name += ".";
    }
    name += unique + suffix;
    return fs::path(target).replace_filename(name);
}

// A new file in the target's folder. Null, and `path` empty, if there can be none.
std::unique_ptr<OpenFile> createBeside(FileSystem& system, const fs::path& target,
                                       const char* suffix, fs::path& path, std::error_code& error) {
    for (int tries = 0; tries < 100; ++tries) {
        path = nameBeside(target, system.uniqueName(), suffix);
        std::unique_ptr<OpenFile> file = system.create(path, error);
        if (file != nullptr) {
            return file;
        }
        if (error != std::errc::file_exists) {
            break;
        }
    }
    path.clear();
    return nullptr;
}

// Does what can be done while something else has failed.
template <class Step>
void attempt(Step step) noexcept {
    try {
        step();
    } catch (const std::exception&) { // it stays as it is
    }
}

void removeIfThere(FileSystem& system, fs::path& path) noexcept {
    if (!path.empty()) {
        attempt([&] { (void)system.remove(path); });
        path.clear();
    }
}

// The folder takes no new files, whatever there is room for.
bool isFolderClosed(std::error_code error) {
    return error == std::errc::permission_denied || error == std::errc::operation_not_permitted ||
           error == std::errc::read_only_file_system;
}

} // namespace

std::string reasonOf(std::error_code code) {
    static const std::pair<std::errc, const char*> reasons[] = {
        {std::errc::no_space_on_device, "no space left"},
        {std::errc::file_too_large, "larger than files may be here"},
        {std::errc::permission_denied, "permission denied"},
        {std::errc::operation_not_permitted, "permission denied"},
        {std::errc::read_only_file_system, "read-only file system"},
        {std::errc::no_such_file_or_directory, "no such folder"},
        {std::errc::not_a_directory, "no such folder"},
        {std::errc::is_a_directory, "not a regular file"},
        {std::errc::filename_too_long, "the name is too long"},
        {std::errc::too_many_symbolic_link_levels, "a link that leads to itself"},
        {std::errc::device_or_resource_busy, "in use by another program"},
        {std::errc::text_file_busy, "in use by another program"},
    };
    const auto* const found = std::find_if(std::begin(reasons), std::end(reasons),
                                           [&](const auto& one) { return code == one.first; });
    return found == std::end(reasons) ? code.message() : found->second;
}

bool isLackOfSpace(std::error_code code) {
    return code == std::errc::no_space_on_device || code == std::errc::file_too_large;
}

FileError::FileError(const std::string& name, std::error_code code)
    : std::runtime_error("cannot write '" + name + "': " + reasonOf(code)), m_name(name),
      m_code(code) {}

FileSet::FileSet(FileSystem& system) : m_system(system) {}

FileSet::~FileSet() {
    rollBack();
}

void FileSet::add(const fs::path& file, const std::string& name, std::string bytes) {
    Entry entry;
    entry.name = name;
    entry.bytes = std::move(bytes);
    entry.target = followLinks(file, name);
    m_entries.push_back(std::move(entry));
    try {
        writeBeside(m_entries.back());
    } catch (...) {
        removeIfThere(m_system, m_entries.back().beside);
        m_entries.pop_back();
        throw;
    }
}

void FileSet::writeBeside(Entry& entry) {
    std::error_code error;
    // Opened without touching it: a file that may not be written must not be replaced either.
    const std::unique_ptr<OpenFile> earlier = m_system.open(entry.target, error);
    entry.existed = earlier != nullptr;
    if (!entry.existed && error != std::errc::no_such_file_or_directory) {
        throw FileError(entry.name, error);
    }
    const std::unique_ptr<OpenFile> beside =
        createBeside(m_system, entry.target, ".new", entry.beside, error);
    if (beside == nullptr) {
        if (!entry.existed || !isFolderClosed(error)) {
            throw FileError(entry.name, error);
        }
        entry.isInPlace = true;
        return;
    }
    entry.isInPlace = entry.existed && !beside->takeAfter(*earlier);
    std::size_t written = 0;
    check(beside->write(entry.bytes, written), entry.name);
    check(beside->sync(), entry.name);
}

void FileSet::commit() {
    const bool isAlone = m_entries.size() == 1;
    try {
        if (!isAlone) {
            for (Entry& entry : m_entries) {
                moveAside(entry);
            }
            syncFolders();
        }
        for (Entry& entry : m_entries) {
            if (entry.isInPlace) {
                prepareInPlace(entry);
            }
        }
        for (Entry& entry : m_entries) {
            place(entry);
        }
        // Only now: until here, what is put back needs no more room than there is.
        for (Entry& entry : m_entries) {
            finishInPlace(entry);
        }
    } catch (...) {
        rollBack();
        throw;
    }
    attempt([&] { syncFolders(); }); // whatever comes of it, the files are there
    for (Entry& entry : m_entries) {
        entry.file.reset();
        removeIfThere(m_system, entry.beside);
        removeIfThere(m_system, entry.aside);
    }
    m_entries.clear();
}

void FileSet::moveAside(Entry& entry) {
    if (!entry.existed || entry.isInPlace) {
        return;
    }
    // The name is made first, so that nobody else's file is replaced.
    std::error_code error;
    fs::path aside;
    std::unique_ptr<OpenFile> name = createBeside(m_system, entry.target, ".old", aside, error);
    if (name == nullptr) {
        throw FileError(entry.name, error);
    }
    name.reset();
    error = m_system.rename(entry.target, aside);
    if (!error) {
        entry.aside = aside;
        return;
    }
    removeIfThere(m_system, aside);
    // Somebody may have removed it meanwhile. Otherwise it may not be renamed, but perhaps written.
    entry.isInPlace = error != std::errc::no_such_file_or_directory;
}

void FileSet::prepareInPlace(Entry& entry) {
    std::error_code error;
    std::unique_ptr<OpenFile> file = m_system.open(entry.target, error);
    check(error, entry.name);
    check(file->read(entry.earlier), entry.name);
    entry.file = std::move(file); // from here on it can be put back
    check(entry.file->reserve(entry.bytes.size()), entry.name);
}

void FileSet::place(Entry& entry) {
    if (!entry.isInPlace) {
        const std::error_code error = m_system.rename(entry.beside, entry.target);
        if (!error) {
            entry.isPlaced = true;
            entry.beside.clear();
            return;
        }
        if (!entry.existed || !entry.aside.empty()) {
            throw FileError(entry.name, error);
        }
        entry.isInPlace = true; // it may not be replaced, but perhaps written
        prepareInPlace(entry);
    }
    entry.isPlaced = true;
    check(entry.file->write(entry.bytes, entry.overwritten), entry.name);
    check(entry.file->sync(), entry.name);
}

void FileSet::finishInPlace(Entry& entry) {
    if (entry.isInPlace && entry.bytes.size() < entry.earlier.size()) {
        entry.isResized = true;
        check(entry.file->resize(entry.bytes.size()), entry.name);
        check(entry.file->sync(), entry.name);
    }
}

void FileSet::syncFolders() {
    std::set<fs::path> folders;
    for (const Entry& entry : m_entries) {
        if (!entry.isInPlace && folders.insert(entry.target.parent_path()).second) {
            check(m_system.syncFolder(entry.target.parent_path()), entry.name);
        }
    }
}

void FileSet::rollBack() noexcept {
    // The new ones go first: killed in between, no old file stands beside a new one.
    bool hasRemoved = false;
    for (const Entry& entry : m_entries) {
        if (entry.isPlaced && !entry.isInPlace) {
            attempt([&] { (void)m_system.remove(entry.target); });
            hasRemoved = true;
        }
    }
    if (hasRemoved) {
        attempt([&] { syncFolders(); });
    }
    for (Entry& entry : m_entries) {
        attempt([&] { restore(entry); });
        removeIfThere(m_system, entry.beside);
    }
    m_entries.clear();
}

void FileSet::restore(Entry& entry) {
    if (entry.file != nullptr) {
        // What was not overwritten is left alone: a limit may allow no write there.
        const std::size_t lost = entry.isResized
                                     ? entry.earlier.size()
                                     : std::min(entry.overwritten, entry.earlier.size());
        std::size_t written = 0;
        if (lost > 0) {
            (void)entry.file->write(std::string_view(entry.earlier).substr(0, lost), written);
        }
        (void)entry.file->resize(entry.earlier.size()); // also gives back what was reserved
        (void)entry.file->sync();
        entry.file.reset();
    } else if (!entry.aside.empty()) {
        (void)m_system.rename(entry.aside, entry.target); // or it stays where it is
    }
}

void replaceFile(FileSystem& system, const fs::path& file, const std::string& name,
                 std::string bytes) {
    FileSet one(system);
    one.add(file, name, std::move(bytes));
    one.commit();
}

} // namespace tarvix
