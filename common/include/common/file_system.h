// What replacing files takes of the system, as an interface.
//
// Operations and common/ make no calls of the system themselves: who uses them passes the system
// in. platform/system/files.h has the real one; tests pass one that fails on demand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace tarvix {

// A regular file that is open. Closed by its destructor.
//
// An error code that is not zero says what failed. Codes compare with std::errc on every system.
class OpenFile {
public:
    OpenFile() = default;
    virtual ~OpenFile() = default;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    // All its bytes.
    virtual std::error_code read(std::string& bytes) = 0;

    // Writes over its beginning; what is behind that stays. `written` counts the bytes that were
    // written, also on failure.
    virtual std::error_code write(std::string_view bytes, std::size_t& written) = 0;

    // Takes the room for so many bytes, so that writing them does not end in a lack of space.
    // Changes neither bytes nor size. No error if the file system cannot reserve.
    virtual std::error_code reserve(std::size_t size) = 0;

    virtual std::error_code resize(std::size_t size) = 0;

    // Returns once bytes and size are on the disk.
    virtual std::error_code sync() = 0;

    // Makes this new file one that can take the place of `original`: the same owner, mode, access
    // control list and attributes. False if that cannot be, also if `original` has further names
    // (hard links), which would keep the earlier bytes.
    virtual bool takeAfter(const OpenFile& original) = 0;
};

enum class Access { Shared, Exclusive };

// Keeps others out who lock the same folder, in this process and in others, until it is destroyed
// or the process ends. Shared locks leave each other in, where the system knows such.
class FolderLock {
public:
    FolderLock() = default;
    virtual ~FolderLock() = default;
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
};

class FileSystem {
public:
    FileSystem() = default;
    virtual ~FileSystem() = default;
    FileSystem(const FileSystem&) = delete;
    FileSystem& operator=(const FileSystem&) = delete;

    // Opens an existing file for writing, and for reading if it may be read. Changes nothing. Null
    // with std::errc::is_a_directory for anything other than a regular file; never waits for the
    // other end of a pipe.
    virtual std::unique_ptr<OpenFile> open(const std::filesystem::path& file,
                                           std::error_code& error) = 0;

    // Makes an empty file. Null with std::errc::file_exists if the name is taken, even by a link
    // that leads nowhere.
    virtual std::unique_ptr<OpenFile> create(const std::filesystem::path& file,
                                             std::error_code& error) = 0;

    // Moves a file within its folder, in one step; a file at `to` is replaced.
    virtual std::error_code rename(const std::filesystem::path& from,
                                   const std::filesystem::path& to) = 0;

    virtual std::error_code remove(const std::filesystem::path& file) = 0;

    // Returns once the folder's names are on the disk, where the system can tell.
    virtual std::error_code syncFolder(const std::filesystem::path& folder) = 0;

    // Waits for whoever holds the lock, for ten seconds at most. Null after that, and where folders
    // cannot be locked.
    virtual std::unique_ptr<FolderLock> lockFolder(const std::filesystem::path& folder,
                                                   Access access) = 0;

    // Letters and digits that no other call comes up with, in this process or another.
    virtual std::string uniqueName() = 0;

    // How a line of a text file ends.
    virtual std::string_view lineEnd() = 0;
};

} // namespace tarvix
