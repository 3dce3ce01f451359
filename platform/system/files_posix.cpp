#include "platform/system/files.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tarvix {

namespace fs = std::filesystem;

namespace {

std::error_code lastError() {
    // std::errc has no name for a quota that is used up.
    return {errno == EDQUOT ? ENOSPC : errno, std::generic_category()};
}

// Repeats a call that a signal interrupted.
template <class Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

std::error_code syncDescriptor(int descriptor) {
    if (uninterrupted([&] { return fsync(descriptor); }) == 0 || errno == EINVAL ||
        errno == ENOTSUP || errno == ENOSYS) { // nothing to sync there
        return {};
    }
    return lastError();
}

using Attributes = std::map<std::string, std::string>;

// Extended attributes, which also hold access control lists. None where there are no such things;
// no value if they cannot be read.
std::optional<Attributes> attributesOf(int descriptor) {
    constexpr std::size_t longest = 65536; // of the list and of each value
    std::vector<char> names(longest);
    const ssize_t length = flistxattr(descriptor, names.data(), names.size());
    if (length < 0) {
        return errno == ENOTSUP ? std::make_optional<Attributes>() : std::nullopt;
    }
    Attributes attributes;
    std::vector<char> value(longest);
    for (const char* name = names.data(); name < names.data() + length;) {
        const std::string one = name;
        const ssize_t size = fgetxattr(descriptor, one.c_str(), value.data(), value.size());
        if (size < 0) {
            return std::nullopt;
        }
        attributes[one].assign(value.data(), static_cast<std::size_t>(size));
        name += one.size() + 1;
    }
    return attributes;
}

bool copyAttributes(int from, int to) {
    const std::optional<Attributes> wanted = attributesOf(from);
    const std::optional<Attributes> present = attributesOf(to);
    if (!wanted || !present) {
        return false;
    }
    bool all = true;
    for (const auto& [name, value] : *present) {
        if (!wanted->contains(name)) { // inherited from the folder
            all = fremovexattr(to, name.c_str()) == 0 && all;
        }
    }
    for (const auto& [name, value] : *wanted) {
        const auto same = present->find(name);
        if (same == present->end() || same->second != value) {
            all = fsetxattr(to, name.c_str(), value.data(), value.size(), 0) == 0 && all;
        }
    }
    return all;
}

class PosixFile final : public OpenFile {
public:
    explicit PosixFile(int descriptor) : m_descriptor(descriptor) {}
    ~PosixFile() override { close(m_descriptor); }
    PosixFile(const PosixFile&) = delete;
    PosixFile& operator=(const PosixFile&) = delete;

    std::error_code read(std::string& bytes) override {
        bytes.clear();
        std::array<char, 1 << 16> buffer{};
        for (;;) {
            const ssize_t count = uninterrupted([&] {
                return pread(m_descriptor, buffer.data(), buffer.size(),
                             static_cast<off_t>(bytes.size()));
            });
            if (count < 0) { // not opened for reading: it may only be written
                return errno == EBADF ? make_error_code(std::errc::permission_denied) : lastError();
            }
            if (count == 0) {
                return {};
            }
            bytes.append(buffer.data(), static_cast<std::size_t>(count));
        }
    }

    std::error_code write(std::string_view bytes, std::size_t& written) override {
        written = 0;
        while (written < bytes.size()) {
            const ssize_t count = uninterrupted([&] {
                return pwrite(m_descriptor, bytes.data() + written, bytes.size() - written,
                              static_cast<off_t>(written));
            });
            if (count < 0) {
                return lastError();
            }
            written += static_cast<std::size_t>(count);
        }
        return {};
    }

    std::error_code reserve(std::size_t size) override {
        if (size == 0 || uninterrupted([&] {
                             return fallocate(m_descriptor, FALLOC_FL_KEEP_SIZE, 0,
                                              static_cast<off_t>(size));
                         }) == 0) {
            return {};
        }
        const std::error_code error = lastError();
        const bool isUnable = errno == EOPNOTSUPP || errno == ENOSYS;
        struct stat status {};
        if (!isUnable && fstat(m_descriptor, &status) == 0) {
            (void)ftruncate(m_descriptor, status.st_size); // gives back a part that was taken
        }
        return isUnable ? std::error_code() : error;
    }

    std::error_code resize(std::size_t size) override {
        return uninterrupted([&] { return ftruncate(m_descriptor, static_cast<off_t>(size)); }) == 0
                   ? std::error_code()
                   : lastError();
    }

    std::error_code sync() override { return syncDescriptor(m_descriptor); }

    bool takeAfter(const OpenFile& original) override {
        const int from = static_cast<const PosixFile&>(original).m_descriptor;
        struct stat wanted {};
        struct stat present {};
        if (fstat(from, &wanted) != 0 || fstat(m_descriptor, &present) != 0) {
            return false;
        }
        // All of it is tried, so that nobody may read the new file who may not read the original.
        bool all = wanted.st_nlink == 1;
        if (wanted.st_uid != present.st_uid || wanted.st_gid != present.st_gid) {
            all = fchown(m_descriptor, wanted.st_uid, wanted.st_gid) == 0 && all;
        }
        all = copyAttributes(from, m_descriptor) && all;
        all = fchmod(m_descriptor, wanted.st_mode & 07777U) == 0 && all;
        // A bit may have been dropped without an error.
        return all && fstat(m_descriptor, &present) == 0 && present.st_mode == wanted.st_mode;
    }

private:
    int m_descriptor;
};

class PosixLock final : public FolderLock {
public:
    explicit PosixLock(int descriptor) : m_descriptor(descriptor) {}
    ~PosixLock() override { close(m_descriptor); }
    PosixLock(const PosixLock&) = delete;
    PosixLock& operator=(const PosixLock&) = delete;

private:
    int m_descriptor;
};

int openFolder(const fs::path& folder) {
    const fs::path where = folder.empty() ? fs::path(".") : folder;
    return uninterrupted([&] { return open(where.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
}

class PosixFiles final : public FileSystem {
public:
    std::unique_ptr<OpenFile> open(const fs::path& file, std::error_code& error) override {
        int descriptor = openWith(file, O_RDWR);
        if (descriptor < 0 && errno == EACCES) {
            descriptor = openWith(file, O_WRONLY);
        }
        struct stat status {};
        if (descriptor < 0 || fstat(descriptor, &status) != 0) {
            error = lastError();
            // A pipe without a reader, a socket.
            if (error == std::errc::no_such_device_or_address) {
                error = make_error_code(std::errc::is_a_directory);
            }
            return nullptr;
        }
        auto opened = std::make_unique<PosixFile>(descriptor);
        if (!S_ISREG(status.st_mode)) {
            error = make_error_code(std::errc::is_a_directory);
            return nullptr;
        }
        error.clear();
        return opened;
    }

    std::unique_ptr<OpenFile> create(const fs::path& file, std::error_code& error) override {
        const int descriptor = openWith(file, O_RDWR | O_CREAT | O_EXCL);
        if (descriptor < 0) {
            error = lastError();
            return nullptr;
        }
        error.clear();
        return std::make_unique<PosixFile>(descriptor);
    }

    std::error_code rename(const fs::path& from, const fs::path& to) override {
        return ::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : lastError();
    }

    std::error_code remove(const fs::path& file) override {
        return unlink(file.c_str()) == 0 ? std::error_code() : lastError();
    }

    std::error_code syncFolder(const fs::path& folder) override {
        const int descriptor = openFolder(folder);
        if (descriptor < 0) {
            return {}; // a folder that may not be read
        }
        const std::error_code error = syncDescriptor(descriptor);
        close(descriptor);
        return error;
    }

    std::unique_ptr<FolderLock> lockFolder(const fs::path& folder, Access access) override {
        using namespace std::chrono_literals;
        const int descriptor = openFolder(folder);
        if (descriptor < 0) {
            return nullptr;
        }
        auto lock = std::make_unique<PosixLock>(descriptor);
        const int kind = access == Access::Shared ? LOCK_SH : LOCK_EX;
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (flock(descriptor, kind | LOCK_NB) != 0) {
            if ((errno != EWOULDBLOCK && errno != EINTR) ||
                std::chrono::steady_clock::now() > end) {
                return nullptr;
            }
            std::this_thread::sleep_for(5ms);
        }
        return lock;
    }

    std::string uniqueName() override {
        static std::atomic<unsigned> count{0};
        std::random_device random;
        std::ostringstream name;
        name.imbue(std::locale::classic());
        name << std::hex << getpid() << 'x' << random() << random() << 'x' << ++count;
        return name.str();
    }

    std::string_view lineEnd() override { return "\n"; }

private:
    // Never waits for the other end of a pipe, never follows a link, never becomes the terminal of
    // the process.
    static int openWith(const fs::path& file, int flags) {
        constexpr int always = O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;
        constexpr mode_t everybody = 0666; // less what the process masks out
        return uninterrupted([&] { return ::open(file.c_str(), flags | always, everybody); });
    }
};

} // namespace

FileSystem& systemFiles() {
    static PosixFiles files;
    return files;
}

} // namespace tarvix
