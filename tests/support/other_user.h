// What only a privileged test can set up: another user, mounts, immutable folders. POSIX systems.
#pragma once

#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace test {

inline bool isPrivileged() {
    return geteuid() == 0;
}

// Within the scope this process acts as a user without privileges. Throws if it may not.
class OtherUser {
public:
    static constexpr uid_t id = 65534; // nobody; also the group's

    OtherUser() {
        if (setegid(id) != 0 || seteuid(id) != 0) {
            throw std::runtime_error("cannot act as another user");
        }
    }
    ~OtherUser() {
        (void)!seteuid(0);
        (void)!setegid(0);
    }
    OtherUser(const OtherUser&) = delete;
    OtherUser& operator=(const OtherUser&) = delete;
};

// Within the scope, mounts of the calling thread are its own, and gone at the end.
class OwnMounts {
public:
    OwnMounts() : m_before(open("/proc/thread-self/ns/mnt", O_RDONLY | O_CLOEXEC)) {
        m_isOn = m_before >= 0 && unshare(CLONE_NEWNS) == 0 &&
                 mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    ~OwnMounts() {
        if (m_isOn) {
            (void)setns(m_before, CLONE_NEWNS);
        }
        close(m_before);
    }
    OwnMounts(const OwnMounts&) = delete;
    OwnMounts& operator=(const OwnMounts&) = delete;

    // False where the system does not allow it.
    explicit operator bool() const { return m_isOn; }

    // A file system of this size in memory.
    [[nodiscard]] static bool mountMemory(const std::string& folder, int kilobytes) {
        const std::string options = "mode=0755,size=" + std::to_string(kilobytes) + "k";
        return mount("none", folder.c_str(), "tmpfs", 0, options.c_str()) == 0;
    }
    [[nodiscard]] static bool bind(const std::string& from, const std::string& to) {
        return mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) == 0;
    }
    [[nodiscard]] static bool makeReadOnly(const std::string& folder) {
        return mount("none", folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

private:
    int m_before;
    bool m_isOn = false;
};

// A file or folder that nobody may change within the scope, not even a privileged user.
class Immutable {
public:
    explicit Immutable(const std::string& path) : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        m_isOn = set(true);
    }
    ~Immutable() {
        set(false);
        close(m_file);
    }
    Immutable(const Immutable&) = delete;
    Immutable& operator=(const Immutable&) = delete;

    // False where there is no such thing.
    explicit operator bool() const { return m_isOn; }

private:
    bool set(bool on) const {
        int flags = 0;
        if (ioctl(m_file, FS_IOC_GETFLAGS, &flags) != 0) {
            return false;
        }
        flags = on ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
        return ioctl(m_file, FS_IOC_SETFLAGS, &flags) == 0;
    }

    int m_file;
    bool m_isOn = false;
};

} // namespace test
