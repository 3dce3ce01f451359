// Replaces files so that a failure leaves the earlier ones.
#pragma once

#include <common/file_system.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace tarvix {

// A file that cannot be written. what() is one sentence: "cannot write 'NAME': REASON".
class FileError : public std::runtime_error {
public:
    FileError(const std::string& name, std::error_code code);

    [[nodiscard]] const std::string& name() const { return m_name; } // as given to FileSet::add
    [[nodiscard]] std::error_code code() const { return m_code; }

private:
    std::string m_name;
    std::error_code m_code;
};

// Why a file cannot be written, in a few words, such as "no space left".
std::string reasonOf(std::error_code code);

// True if the code says that a file was refused for its size: a full disk, a quota, a limit.
bool isLackOfSpace(std::error_code code);

// Several files that are replaced together: after commit() all have their new contents; after a
// failure all have their earlier contents, and those that did not exist do not exist.
//
// How. add() writes the new contents to a file of its own beside the target, under a name that
// nobody else has (".NAME.UNIQUE.new"), and waits until they are on the disk. commit() moves the
// earlier files aside (".NAME.UNIQUE.old"; not if there is only one), then renames the new ones to
// their targets in the order of add(), then removes the earlier ones. A new file takes over the
// mode, owner, access control list and attributes of the one that it replaces.
//
// In place. An existing file is written in place if
//   - it has hard links, or what it has cannot be given to a new file,
//   - its folder takes no new files, or
//   - it may be written but not renamed (a folder with the sticky bit, a mount point, a file that
//     another program keeps open on Windows).
// Its earlier bytes are held in memory (it must be readable), and the room for the new ones is
// taken first. A failure puts the earlier bytes back; no file is cut to what fitted.
//
// If the process is killed or the power fails:
//   - A single file is the earlier one or the new one, whole.
//   - A set of several is the earlier set, the new set, or a set in which files are missing. Files
//     of two sets never stand beside each other. Contents that are missing are whole in the files
//     ".NAME.UNIQUE.old" and ".NAME.UNIQUE.new", which stay behind.
//   - After commit() the new files are on the disk.
//   - A file written in place is excepted from all three: it may be torn, and earlier and new files
//     of a set may be mixed. If its folder takes files, the new contents are whole in
//     ".NAME.UNIQUE.new".
//
// Links are followed; what is neither a file nor missing is refused. Two processes or threads never
// share a name. Both may replace the same files: a reader who must not see the files of one with
// those of the other needs FileSystem::lockFolder around add() and commit() of each. Windows needs
// the lock anyway: without it, one of two that replace a file at the same time may be refused.
class FileSet {
public:
    explicit FileSet(FileSystem& system); // which must outlive it
    ~FileSet();                           // without commit(): removes what add() wrote
    FileSet(const FileSet&) = delete;
    FileSet& operator=(const FileSet&) = delete;

    // `name` is the file as the user wrote it, for messages. Throws FileError.
    void add(const std::filesystem::path& file, const std::string& name, std::string bytes);

    // Throws FileError. The set is empty afterwards, in any case, and takes new files.
    void commit();

private:
    struct Entry;

    void writeBeside(Entry& entry);
    void moveAside(Entry& entry);
    void prepareInPlace(Entry& entry);
    void place(Entry& entry);
    static void finishInPlace(Entry& entry);
    void syncFolders();
    void rollBack() noexcept;
    void restore(Entry& entry);

    FileSystem& m_system;
    std::vector<Entry> m_entries;
};

// Replaces one file.
void replaceFile(FileSystem& system, const std::filesystem::path& file, const std::string& name,
                 std::string bytes);

} // namespace tarvix
