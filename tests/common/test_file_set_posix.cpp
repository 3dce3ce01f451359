// Replaced files keep what POSIX systems know of them, and folders and file systems that refuse.
#include <common/file_set.h>

#include "platform/system/files.h"
#include "tests/support/faulty_files.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/files.h"
#include "tests/support/locked_folder.h"
#include "tests/support/other_user.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

namespace {

using tarvix::FileError;
using tarvix::FileSet;
using tarvix::systemFiles;
using test::bytesOf;
using test::namesIn;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

unsigned modeOf(const fs::path& path) {
    return statusOf(path).st_mode & 07777U;
}

std::string attributeOf(const fs::path& path, const char* name) {
    std::vector<char> value(1000);
    const ssize_t size = getxattr(path.c_str(), name, value.data(), value.size());
    return size < 0 ? "none" : std::string(value.data(), static_cast<std::size_t>(size));
}

// An access control list that gives a user more than the mode does, as the system stores it.
std::string aclFor(unsigned user) {
    struct Entry {
        std::uint16_t tag, permissions;
        std::uint32_t id;
    };
    constexpr std::uint32_t nobody = 0xffffffffU;
    const Entry entries[] = {{0x01, 6, nobody},
                             {0x02, 6, user},
                             {0x04, 0, nobody},
                             {0x10, 6, nobody},
                             {0x20, 0, nobody}}; // owner, user, group, mask, all
    const std::uint32_t version = 2;
    std::string bytes(sizeof version + sizeof entries, '\0');
    std::memcpy(bytes.data(), &version, sizeof version);
    std::memcpy(bytes.data() + sizeof version, entries, sizeof entries);
    return bytes;
}

const char* const accessList = "system.posix_acl_access";
const char* const inheritedList = "system.posix_acl_default";

// The message; nothing on success.
std::string replace(const fs::path& file, const std::string& bytes) {
    try {
        tarvix::replaceFile(systemFiles(), file, "it", bytes);
        return {};
    } catch (const FileError& e) {
        return e.what();
    }
}

// A pair of files, replaced together.
std::string replacePair(const fs::path& folder, const std::string& bytes) {
    try {
        FileSet files(systemFiles());
        files.add(folder / "a", "a", bytes);
        files.add(folder / "b", "b", bytes);
        files.commit();
        return {};
    } catch (const FileError& e) {
        return e.what();
    }
}

class PosixFileSets : public testing::Test {
protected:
    test::TempFolder temporary;
    fs::path folder = temporary.path();

    PosixFileSets() { chmod(folder.c_str(), 0755); }
};

#define NEEDS_PRIVILEGES()                                                                         \
    if (!test::isPrivileged()) {                                                                   \
        GTEST_SKIP() << "needs a privileged user";                                                 \
    }

TEST_F(PosixFileSets, KeepModeAndAttributes) {
    test::writeBytes(folder / "a", "old");
    test::writeBytes(folder / "b", "old");
    ASSERT_EQ(chmod((folder / "a").c_str(), 0660), 0);
    ASSERT_EQ(chmod((folder / "b").c_str(), 0604), 0);
    const bool hasAttributes = setxattr((folder / "a").c_str(), "user.note", "mine", 4, 0) == 0;
    const auto before = statusOf(folder / "a").st_ino;
    ASSERT_EQ(replacePair(folder, "new"), "");
    EXPECT_EQ(bytesOf(folder / "a"), "new");
    EXPECT_NE(statusOf(folder / "a").st_ino, before) << "renamed, not written in place";
    EXPECT_EQ(modeOf(folder / "a"), 0660U);
    EXPECT_EQ(modeOf(folder / "b"), 0604U);
    if (hasAttributes) {
        EXPECT_EQ(attributeOf(folder / "a", "user.note"), "mine");
    }
}

TEST_F(PosixFileSets, KeepAccessControlLists) {
    test::writeBytes(folder / "a", "old");
    test::writeBytes(folder / "b", "old");
    const std::string list = aclFor(4711);
    if (setxattr((folder / "a").c_str(), accessList, list.data(), list.size(), 0) != 0) {
        GTEST_SKIP() << "no access control lists in " << folder;
    }
    // New files inherit another list, which the second file does not have.
    const std::string inherited = aclFor(4712);
    ASSERT_EQ(setxattr(folder.c_str(), inheritedList, inherited.data(), inherited.size(), 0), 0);
    const unsigned modes[] = {modeOf(folder / "a"), modeOf(folder / "b")};
    const auto before = statusOf(folder / "b").st_ino;
    ASSERT_EQ(replacePair(folder, "new"), "");
    EXPECT_NE(statusOf(folder / "b").st_ino, before);
    EXPECT_EQ(attributeOf(folder / "a", accessList), list);
    EXPECT_EQ(attributeOf(folder / "b", accessList), "none");
    EXPECT_EQ(modeOf(folder / "a"), modes[0]);
    EXPECT_EQ(modeOf(folder / "b"), modes[1]);
    ASSERT_EQ(replace(folder / "c", "new"), "");
    EXPECT_EQ(attributeOf(folder / "c", accessList).substr(0, 12), inherited.substr(0, 12));
}

TEST_F(PosixFileSets, KeepTheOwner) {
    NEEDS_PRIVILEGES();
    test::writeBytes(folder / "a", "old");
    ASSERT_EQ(chown((folder / "a").c_str(), 4711, 4712), 0);
    ASSERT_EQ(replace(folder / "a", "new"), "");
    EXPECT_EQ(bytesOf(folder / "a"), "new");
    EXPECT_EQ(statusOf(folder / "a").st_uid, 4711U);
    EXPECT_EQ(statusOf(folder / "a").st_gid, 4712U);
}

TEST_F(PosixFileSets, KeepHardLinks) {
    test::writeBytes(folder / "a", "old");
    fs::create_hard_link(folder / "a", folder / "link");
    ASSERT_EQ(replace(folder / "a", "new and longer"), "");
    EXPECT_EQ(bytesOf(folder / "link"), "new and longer");
    EXPECT_EQ(statusOf(folder / "a").st_ino, statusOf(folder / "link").st_ino);
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a", "link"));
}

TEST_F(PosixFileSets, ANewFileHasTheModeThatTheProcessGives) {
    const mode_t before = umask(027);
    EXPECT_EQ(replace(folder / "a", "new"), "");
    umask(before);
    EXPECT_EQ(modeOf(folder / "a"), 0640U);
}

TEST_F(PosixFileSets, AnotherUsersFileStaysHis) {
    NEEDS_PRIVILEGES();
    for (const mode_t mode : {0777U, 01777U}) { // an open folder, and one with the sticky bit
        SCOPED_TRACE(mode);
        test::writeBytes(folder / "a", "old");
        test::writeBytes(folder / "b", "old and long");
        ASSERT_EQ(chmod((folder / "a").c_str(), 0666), 0);
        ASSERT_EQ(chmod((folder / "b").c_str(), 0666), 0);
        ASSERT_EQ(chmod(folder.c_str(), mode), 0);
        {
            const test::OtherUser user;
            EXPECT_EQ(replacePair(folder, "new"), "");
            EXPECT_EQ(replace(folder / "a", "newer"), "");
        }
        EXPECT_EQ(bytesOf(folder / "a"), "newer");
        EXPECT_EQ(bytesOf(folder / "b"), "new");
        EXPECT_EQ(statusOf(folder / "a").st_uid, 0U);
        EXPECT_EQ(modeOf(folder / "a"), 0666U);
        EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a", "b"));
    }
}

TEST_F(PosixFileSets, InASharedFolderNobodyReadsTheNewContentsWhoMayNotReadTheEarlier) {
    NEEDS_PRIVILEGES();
    test::writeBytes(folder / "a", "old");
    ASSERT_EQ(chmod((folder / "a").c_str(), 0606), 0);
    ASSERT_EQ(chown((folder / "a").c_str(), 4711, 4711), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
    unsigned modeBeside = 0;
    test::FaultyFiles files(systemFiles());
    files.refuse = [&](const std::string& call) {
        if (call == "write a.new") {
            for (const std::string& name : namesIn(folder)) {
                modeBeside = name == "a" ? modeBeside : modeOf(folder / name);
            }
        }
        return std::error_code();
    };
    const test::OtherUser user;
    tarvix::replaceFile(files, folder / "a", "a", "new");
    EXPECT_EQ(modeBeside, 0606U);
}

TEST_F(PosixFileSets, AFolderWithoutPermissionTakesNoNewFilesButExistingOnesAreWritten) {
    NEEDS_PRIVILEGES();
    test::writeBytes(folder / "a", "old");
    test::writeBytes(folder / "b", "old");
    test::writeBytes(folder / "kept", "old");
    ASSERT_EQ(chmod((folder / "a").c_str(), 0666), 0);
    ASSERT_EQ(chmod((folder / "b").c_str(), 0666), 0);
    const test::OtherUser user;
    EXPECT_EQ(replacePair(folder, "new"), "");
    EXPECT_EQ(bytesOf(folder / "b"), "new");
    EXPECT_EQ(replace(folder / "kept", "new"), "cannot write 'it': permission denied");
    EXPECT_EQ(bytesOf(folder / "kept"), "old");
    EXPECT_EQ(replace(folder / "c", "new"), "cannot write 'it': permission denied");
}

TEST_F(PosixFileSets, AFileThatMayOnlyBeWrittenIsReplacedButNotWrittenInPlace) {
    NEEDS_PRIVILEGES();
    test::writeBytes(folder / "a", "old");
    ASSERT_EQ(chmod((folder / "a").c_str(), 0200), 0);
    ASSERT_EQ(chown((folder / "a").c_str(), test::OtherUser::id, test::OtherUser::id), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
    {
        const test::OtherUser user;
        EXPECT_EQ(replace(folder / "a", "new"), "");
    }
    EXPECT_EQ(bytesOf(folder / "a"), "new");
    EXPECT_EQ(modeOf(folder / "a"), 0200U);
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    {
        const test::OtherUser user; // what was there could not be put back
        EXPECT_EQ(replace(folder / "a", "newer"), "cannot write 'it': permission denied");
    }
    EXPECT_EQ(bytesOf(folder / "a"), "new");
}

TEST_F(PosixFileSets, PipesLinksAndFilesUnderTheNameBesideAreLeftAlone) {
    test::writeBytes(folder / "a", "old");
    ASSERT_EQ(mkfifo((folder / ".a.t1.new").c_str(), 0600), 0);
    fs::create_symlink("nothing", folder / ".a.t2.new");
    fs::create_symlink("mine", folder / ".a.t3.new");
    test::writeBytes(folder / "mine", "mine");
    fs::create_directory(folder / ".a.t4.new");
    test::FaultyFiles files(systemFiles());
    files.names = {"t1", "t2", "t3", "t4", "free"};
    tarvix::replaceFile(files, folder / "a", "a", "new");
    EXPECT_EQ(bytesOf(folder / "a"), "new");
    EXPECT_EQ(bytesOf(folder / "mine"), "mine");
    EXPECT_TRUE(S_ISFIFO(statusOf(folder / ".a.t1.new").st_mode));
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a", "mine", ".a.t1.new", ".a.t2.new",
                                                      ".a.t3.new", ".a.t4.new"));
}

TEST_F(PosixFileSets, WhatIsNoFileIsRefusedAtOnce) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/full", folder / "device");
    fs::create_symlink("pipe", folder / "link");
    for (const char* name : {"pipe", "device", "link"}) {
        EXPECT_EQ(replace(folder / name, "new"), "cannot write 'it': not a regular file");
        std::error_code error; // also for who opens it without asking first
        EXPECT_EQ(systemFiles().open(folder / name, error), nullptr);
        EXPECT_TRUE(error);
    }
    fs::create_symlink("loop", folder / "loop");
    EXPECT_EQ(replace(folder / "loop", "new"), "cannot write 'it': a link that leads to itself");
    fs::create_symlink("nowhere/", folder / "slash");
    EXPECT_EQ(replace(folder / "slash", "new"), "cannot write 'it': not a regular file");
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("pipe", "device", "link", "loop", "slash"));
}

TEST_F(PosixFileSets, LinksAreFollowed) {
    fs::create_directory(folder / "there");
    test::writeBytes(folder / "there/a", "old");
    fs::create_symlink("there/a", folder / "a");
    fs::create_symlink("there/b", folder / "b"); // leads to nothing yet
    ASSERT_EQ(replacePair(folder, "new"), "");
    EXPECT_TRUE(fs::is_symlink(folder / "a"));
    EXPECT_TRUE(fs::is_symlink(folder / "b"));
    EXPECT_EQ(bytesOf(folder / "there/a"), "new");
    EXPECT_EQ(bytesOf(folder / "there/b"), "new");
    EXPECT_THAT(namesIn(folder / "there"), UnorderedElementsAre("a", "b"));
}

TEST_F(PosixFileSets, AFileThatIsAMountPointIsWritten) {
    test::writeBytes(folder / "a", "old");
    test::writeBytes(folder / "b", "old");
    test::writeBytes(folder / "elsewhere", "old elsewhere");
    const test::OwnMounts mounts;
    if (!mounts || !test::OwnMounts::bind(folder / "elsewhere", folder / "a")) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    EXPECT_EQ(replacePair(folder, "new"), "");
    EXPECT_EQ(replace(folder / "a", "newer"), "");
    EXPECT_EQ(bytesOf(folder / "a"), "newer");
    EXPECT_EQ(bytesOf(folder / "elsewhere"), "newer");
    EXPECT_EQ(bytesOf(folder / "b"), "new");
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a", "b", "elsewhere"));
}

// A file system of 64 kilobytes with a pair of files, and then no room for more.
class FullDisk : public PosixFileSets {
protected:
    test::OwnMounts mounts;
    const std::string earlier = std::string(300, 'o');

    bool mountAndFill() {
        if (!mounts || !test::OwnMounts::mountMemory(folder, 64)) {
            return false;
        }
        for (const char* name : {"a", "b"}) {
            test::writeBytes(folder / name, earlier);
            chmod((folder / name).c_str(), 0666);
        }
        std::ofstream rest(folder / "rest", std::ios::binary);
        while (rest.put('x').flush()) {
        }
        return true;
    }
    void expectUnchanged() const {
        EXPECT_EQ(bytesOf(folder / "a"), earlier);
        EXPECT_EQ(bytesOf(folder / "b"), earlier);
        EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a", "b", "rest"));
    }
};

TEST_F(FullDisk, LeavesTheEarlierFiles) {
    if (!mountAndFill()) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    EXPECT_EQ(replacePair(folder, std::string(500, 'n')), "cannot write 'a': no space left");
    EXPECT_EQ(replace(folder / "a", std::string(500, 'n')), "cannot write 'it': no space left");
    expectUnchanged();
}

TEST_F(FullDisk, LeavesTheEarlierFilesOfAFolderThatTakesNoNewOnes) {
    NEEDS_PRIVILEGES();
    if (!mountAndFill()) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    const test::OtherUser user;
    const std::string tooLong(9000, 'n'); // more than the page that the file has
    EXPECT_EQ(replacePair(folder, tooLong), "cannot write 'a': no space left");
    EXPECT_EQ(replace(folder / "a", tooLong), "cannot write 'it': no space left");
    expectUnchanged();
    EXPECT_EQ(replacePair(folder, std::string(900, 'n')), ""); // it fits into what they have
    EXPECT_EQ(bytesOf(folder / "b"), std::string(900, 'n'));
}

TEST_F(FullDisk, AReadOnlyFileSystemIsSaidToBeOne) {
    if (!mountAndFill() || !test::OwnMounts::makeReadOnly(folder)) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    EXPECT_EQ(replacePair(folder, "new"), "cannot write 'a': read-only file system");
    EXPECT_EQ(replace(folder / "c", "new"), "cannot write 'it': read-only file system");
    expectUnchanged();
}

TEST_F(PosixFileSets, AnImmutableFolderTakesNoNewFilesButExistingOnesAreWritten) {
    test::writeBytes(folder / "a", "old");
    test::writeBytes(folder / "b", "old");
    const test::Immutable immutable(folder);
    if (!immutable) {
        GTEST_SKIP() << "no immutable folders here";
    }
    EXPECT_EQ(replacePair(folder, "new"), "");
    EXPECT_EQ(bytesOf(folder / "a"), "new");
    EXPECT_EQ(replace(folder / "c", "new"), "cannot write 'it': permission denied");
}

TEST_F(PosixFileSets, OfTwoFilesTheFirstGoesBackWhenTheSecondIsImmutable) {
    test::writeBytes(folder / "a", "old");
    test::writeBytes(folder / "b", "old");
    FileSet files(systemFiles());
    files.add(folder / "a", "a", "new");
    files.add(folder / "b", "b", "new");
    const test::Immutable immutable(folder / "b"); // meanwhile
    if (!immutable) {
        GTEST_SKIP() << "no immutable files here";
    }
    EXPECT_THROW(files.commit(), FileError);
    EXPECT_EQ(bytesOf(folder / "a"), "old");
    EXPECT_EQ(bytesOf(folder / "b"), "old");
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a", "b"));
}

TEST_F(PosixFileSets, ALimitToTheSizeOfFilesLeavesThem) {
    test::writeBytes(folder / "a", std::string(300, 'o'));
    test::writeBytes(folder / "linked", std::string(300, 'o'));
    fs::create_hard_link(folder / "linked", folder / "link");
    {
        const test::FileSizeLimit limit(100);
        EXPECT_EQ(replace(folder / "a", std::string(500, 'n')),
                  "cannot write 'it': larger than files may be here");
        EXPECT_EQ(replace(folder / "linked", std::string(500, 'n')),
                  "cannot write 'it': larger than files may be here");
    }
    EXPECT_EQ(bytesOf(folder / "a"), std::string(300, 'o'));
    EXPECT_EQ(bytesOf(folder / "linked"), std::string(300, 'o'));
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a", "link", "linked"));
}

// Runs body() in a process of its own; its exit status, or the negative number of its signal.
template <class Body>
int inAnotherProcess(Body body) {
    const pid_t process = fork();
    if (process == 0) {
        _exit(body() ? 0 : 1);
    }
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST_F(PosixFileSets, OfSeveralProcessesAreNotMixed) {
    std::vector<pid_t> processes;
    for (int i = 0; i < 8; ++i) {
        const pid_t process = fork();
        if (process == 0) {
            bool good = true;
            for (int round = 0; round < 20; ++round) {
                const std::string mine = std::to_string(i) + '.' + std::to_string(round);
                const auto lock =
                    test::lockFolder(systemFiles(), folder, tarvix::Access::Exclusive);
                good = replacePair(folder, mine).empty() && bytesOf(folder / "a") == mine &&
                       bytesOf(folder / "b") == mine && good;
            }
            _exit(good ? 0 : 1);
        }
        processes.push_back(process);
    }
    for (const pid_t process : processes) {
        int status = -1;
        ASSERT_EQ(waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0);
    }
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a", "b"));
}

TEST_F(PosixFileSets, OfSeveralThreadsWithoutALockAllSucceed) {
    std::vector<std::thread> all;
    std::vector<std::string> errors(8);
    for (std::size_t i = 0; i < errors.size(); ++i) {
        all.emplace_back([&, i] {
            for (int round = 0; round < 50; ++round) {
                errors[i] += replace(folder / "a", std::to_string(i));
            }
        });
    }
    for (std::thread& one : all) {
        one.join();
    }
    EXPECT_THAT(errors, testing::Each(""));
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("a"));
}

TEST_F(PosixFileSets, AKilledProcessLeavesNoLockAndNoMixture) {
    ASSERT_EQ(replacePair(folder, "old"), "");
    EXPECT_EQ(inAnotherProcess([&] {
                  test::FaultyFiles files(systemFiles());
                  files.refuse = [](const std::string& call) {
                      if (call == "rename b.new to b") {
                          (void)raise(SIGKILL);
                      }
                      return std::error_code();
                  };
                  const auto lock = test::lockFolder(files, folder, tarvix::Access::Exclusive);
                  FileSet set(files);
                  set.add(folder / "a", "a", "new");
                  set.add(folder / "b", "b", "new");
                  set.commit();
                  return false;
              }),
              -SIGKILL);
    EXPECT_EQ(bytesOf(folder / "a"), "new");
    EXPECT_FALSE(fs::exists(folder / "b"));
    EXPECT_EQ(namesIn(folder).size(), 4U) << "and b, the earlier and the new one, beside";
    EXPECT_NE(systemFiles().lockFolder(folder, tarvix::Access::Exclusive), nullptr);
    EXPECT_EQ(replacePair(folder, "newer"), "");
    EXPECT_EQ(bytesOf(folder / "b"), "newer");
}

} // namespace
