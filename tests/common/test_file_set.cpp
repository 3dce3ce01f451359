// Files that are replaced together: every call of the system fails once, and the process is killed
// at every call.
#include <common/file_set.h>

#include "platform/system/files.h"
#include "tests/support/faulty_files.h"
#include "tests/support/files.h"
#include "tests/support/locked_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

namespace {

using tarvix::Access;
using tarvix::FileError;
using tarvix::FileSet;
using tarvix::FileSystem;
using tarvix::systemFiles;
using test::FaultyFiles;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

using Contents = std::map<std::string, std::string>; // of the files of a folder, by name

std::string bytesOf(const fs::path& path) {
    return test::bytesOf(path.string());
}

Contents contentsOf(const fs::path& folder) {
    Contents contents;
    for (const auto& entry : fs::directory_iterator(folder)) {
        contents[entry.path().filename().string()] =
            entry.is_directory() ? "" : bytesOf(entry.path());
    }
    return contents;
}

void fill(const fs::path& folder, const Contents& contents) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    for (const auto& [name, bytes] : contents) {
        std::ofstream(folder / name, std::ios::binary) << bytes;
    }
}

// A set of files in a folder: what is there before, and what is to be there.
struct Case {
    std::string what;
    Contents before;
    std::vector<std::pair<std::string, std::string>> wanted; // in order
    bool hasLinks = false;                                   // each earlier file has a second name

    // What the folder holds after a success.
    [[nodiscard]] Contents after() const {
        Contents all = before;
        for (const auto& [name, bytes] : wanted) {
            all[name] = bytes;
        }
        return all;
    }
    [[nodiscard]] std::string newBytes(const std::string& name) const {
        return std::find_if(wanted.begin(), wanted.end(),
                            [&](const auto& one) { return one.first == name; })
            ->second;
    }
};

const std::string longer = "new and longer than what was there";
const std::string shorter = "new";

std::vector<Case> cases() {
    return {
        {"a new file", {}, {{"a", longer}}},
        {"a file", {{"a", "old a"}, {"other", "stays"}}, {{"a", longer}}},
        {"a shorter file", {{"a", "old and long a"}}, {{"a", shorter}}},
        {"new files", {}, {{"a", "new a"}, {"b", longer}}},
        {"files", {{"a", "old a"}, {"b", "old and long b"}}, {{"a", longer}, {"b", shorter}}},
        {"an old and a new file", {{"a", "old a"}}, {{"a", "new a"}, {"b", "new b"}}},
        {"a new and an old file", {{"b", "old b"}}, {{"a", "new a"}, {"b", "new b"}}},
        {"three", {{"b", "old b"}}, {{"c", "new c"}, {"a", longer}, {"b", "new b"}}},
        {"nothing", {{"a", "old a"}}, {}},
        {"empty files", {{"a", ""}, {"b", "old b"}}, {{"a", "new a"}, {"b", ""}}},
    };
}

std::vector<Case> casesInPlace() {
    std::vector<Case> all{
        {"a file", {{"a", "old a"}}, {{"a", longer}}},
        {"a shorter file", {{"a", "old and long a"}}, {{"a", shorter}}},
        {"files", {{"a", "old a"}, {"b", "old and long b"}}, {{"a", longer}, {"b", shorter}}},
        {"an old and a new file", {{"a", "old and long a"}}, {{"a", "new a"}, {"b", "new b"}}},
        {"a new and an old file", {{"b", "old b"}}, {{"a", "new a"}, {"b", longer}}},
        {"empty files", {{"a", ""}, {"b", "old b"}}, {{"a", "new a"}, {"b", ""}}},
    };
    for (Case& one : all) {
        one.hasLinks = true;
    }
    return all;
}

class FileSets : public testing::Test {
protected:
    test::TempFolder temporary;
    const fs::path folder = fs::path(temporary.path()) / "folder";
    const fs::path links = fs::path(temporary.path()) / "links";

    void prepare(const Case& one) const {
        fill(folder, one.before);
        fs::remove_all(links);
        fs::create_directories(links);
        for (const auto& [name, bytes] : one.before) {
            if (one.hasLinks) {
                fs::create_hard_link(folder / name, links / name);
            }
        }
    }

    // Replaces the files; the error's text, or nothing.
    std::string replace(const Case& one, FileSystem& system) const {
        try {
            FileSet files(system);
            for (const auto& [name, bytes] : one.wanted) {
                files.add(folder / name, name, bytes);
            }
            files.commit();
            return {};
        } catch (const FileError& e) {
            return e.what();
        }
    }

    int stepsOf(const Case& one) const {
        prepare(one);
        FaultyFiles files(systemFiles());
        EXPECT_EQ(replace(one, files), "");
        return static_cast<int>(files.steps().size());
    }

    // The folder without the files that a kill leaves behind, and those.
    [[nodiscard]] std::pair<Contents, Contents> apart() const {
        std::pair<Contents, Contents> result;
        for (const auto& [name, bytes] : contentsOf(folder)) {
            (name.front() == '.' ? result.second : result.first)[name] = bytes;
        }
        return result;
    }

    // After a run with a kill: each file is missing or whole, none is lost, and not some of them
    // are old and others new.
    void expectNoMixture(const Case& one, const test::Faults& faults) const {
        prepare(one);
        FaultyFiles files(systemFiles(), faults);
        replace(one, files);
        SCOPED_TRACE(one.what + ": fails: " + files.failed() + ", killed: " + files.killed());
        ASSERT_NE(files.killed(), "");
        const auto [contents, left] = apart();
        bool hasOld = false;
        bool hasNew = false;
        for (const auto& [name, bytes] : one.wanted) {
            const auto before = one.before.find(name);
            const auto now = contents.find(name);
            const bool isOld = before != one.before.end() && now != contents.end() &&
                               now->second == before->second;
            if (now != contents.end() && !isOld) {
                EXPECT_EQ(now->second, bytes) << name << " is torn";
                hasNew = true;
            }
            hasOld = hasOld || isOld;
            if (before != one.before.end() && now == contents.end()) {
                EXPECT_NE(one.wanted.size(), 1U) << "a single file is never missing";
                EXPECT_THAT(left,
                            Contains(testing::Pair(StartsWith("." + name + "."), before->second)));
            }
        }
        EXPECT_FALSE(hasOld && hasNew) << "files of two sets stand beside each other";
    }

    // What the links see is what the folder holds.
    void expectLinksKept(const Case& one) const {
        for (const auto& [name, bytes] : one.before) {
            if (one.hasLinks) {
                EXPECT_EQ(bytesOf(links / name), bytesOf(folder / name)) << name;
            }
        }
    }
};

TEST_F(FileSets, AreReplaced) {
    for (const auto& all : {cases(), casesInPlace()}) {
        for (const Case& one : all) {
            SCOPED_TRACE(one.what);
            prepare(one);
            EXPECT_EQ(replace(one, systemFiles()), "");
            EXPECT_EQ(contentsOf(folder), one.after());
            expectLinksKept(one);
        }
    }
}

TEST_F(FileSets, AreWhatTheyWereWithoutACommit) {
    for (const Case& one : cases()) {
        SCOPED_TRACE(one.what);
        prepare(one);
        {
            FileSet files(systemFiles());
            for (const auto& [name, bytes] : one.wanted) {
                files.add(folder / name, name, bytes);
            }
        }
        EXPECT_EQ(contentsOf(folder), one.before);
    }
}

TEST_F(FileSets, AreOldOrNewWhateverFails) {
    int failures = 0;
    int successes = 0;
    for (const auto& all : {cases(), casesInPlace()}) {
        for (const Case& one : all) {
            const int steps = stepsOf(one);
            for (const std::errc error : {std::errc::no_space_on_device,
                                          std::errc::permission_denied, std::errc::io_error}) {
                for (int step = 1; step <= steps; ++step) {
                    prepare(one);
                    FaultyFiles files(systemFiles(), {step, error});
                    const std::string message = replace(one, files);
                    SCOPED_TRACE(one.what + (one.hasLinks ? " in place: " : ": ") + files.failed() +
                                 ": " + make_error_code(error).message());
                    ASSERT_NE(files.failed(), "");
                    Contents contents = contentsOf(folder);
                    if (message.empty()) {
                        // Only what could not be removed stays.
                        if (files.failed().rfind("remove", 0) == 0) {
                            contents = apart().first;
                        }
                        EXPECT_EQ(contents, one.after());
                        ++successes;
                    } else {
                        EXPECT_EQ(contents, one.before);
                        EXPECT_THAT(message, StartsWith("cannot write '"));
                        ++failures;
                    }
                    expectLinksKept(one);
                }
            }
        }
    }
    EXPECT_GT(failures, 300);
    EXPECT_GT(successes, 30); // a rename that is refused, what cannot be removed
}

TEST_F(FileSets, AreNeverMixedWhenTheProcessIsKilled) {
    for (const Case& one : cases()) {
        for (int step = stepsOf(one); step > 0; --step) {
            expectNoMixture(one, {0, {}, step});
        }
    }
}

TEST_F(FileSets, AreNeverMixedWhenTheProcessIsKilledAfterAFailure) {
    for (const Case& one : cases()) {
        for (int fails = stepsOf(one); fails > 0; --fails) {
            prepare(one);
            FaultyFiles files(systemFiles(), {fails});
            replace(one, files);
            const auto wasRead = [](const std::string& call) { return call.rfind("read", 0) == 0; };
            if (std::any_of(files.steps().begin(), files.steps().end(), wasRead)) {
                continue; // it led to writing in place
            }
            for (int step = static_cast<int>(files.steps().size()); step > fails; --step) {
                expectNoMixture(one, {fails, std::errc::io_error, step});
            }
        }
    }
}

TEST_F(FileSets, LeaveTheNewContentsWhenKilledWhileWritingInPlace) {
    for (const Case& one : casesInPlace()) {
        for (int step = stepsOf(one); step > 0; --step) {
            prepare(one);
            FaultyFiles files(systemFiles(), {0, {}, step});
            replace(one, files);
            SCOPED_TRACE(one.what + ": " + files.killed());
            const auto [contents, left] = apart();
            for (const auto& [name, bytes] : one.before) {
                const std::string now = contents.at(name);
                if (now != bytes && now != one.newBytes(name)) {
                    EXPECT_THAT(left, Contains(testing::Pair(StartsWith("." + name + "."),
                                                             one.newBytes(name))));
                }
            }
        }
    }
}

// What is on the disk when the power fails is what was synced before.
TEST_F(FileSets, AreOnTheDiskBeforeTheyTakeTheirPlaces) {
    FaultyFiles files(systemFiles());
    const Case one{"", {{"a", "old a"}, {"b", "old b"}}, {{"a", "new a"}, {"b", "new b"}}};
    prepare(one);
    ASSERT_EQ(replace(one, files), "");
    EXPECT_THAT(files.steps(),
                ElementsAre("open a", "create a.new", "takeAfter a.new", "write a.new",
                            "write a.new", "sync a.new", //
                            "open b", "create b.new", "takeAfter b.new", "write b.new",
                            "write b.new", "sync b.new", //
                            "create a.old", "rename a to a.old", "create b.old",
                            "rename b to b.old", "syncFolder",                      //
                            "rename a.new to a", "rename b.new to b", "syncFolder", //
                            "remove a.old", "remove b.old"));
}

TEST_F(FileSets, ASingleFileIsReplacedInOneStep) {
    FaultyFiles files(systemFiles());
    const Case one{"", {{"a", "old a"}}, {{"a", "new a"}}};
    prepare(one);
    ASSERT_EQ(replace(one, files), "");
    EXPECT_THAT(files.steps(),
                ElementsAre("open a", "create a.new", "takeAfter a.new", "write a.new",
                            "write a.new", "sync a.new", "rename a.new to a", "syncFolder"));
}

// Room is taken before anything is overwritten, and nothing is cut before all is written.
TEST_F(FileSets, AFileWrittenInPlaceIsOverwrittenLate) {
    FaultyFiles files(systemFiles());
    const Case one{
        "", {{"a", "old and long"}, {"b", "old"}}, {{"a", "new a"}, {"b", longer}}, true};
    prepare(one);
    ASSERT_EQ(replace(one, files), "");
    const auto first = std::find(files.steps().begin(), files.steps().end(), "sync b.new") + 1;
    EXPECT_THAT(std::vector<std::string>(first, files.steps().end()),
                ElementsAre("open a", "read a", "reserve a", "open b", "read b", "reserve b",
                            "write a", "write a", "sync a", "write b", "write b", "sync b",
                            "resize a", "sync a", "remove a.new", "remove b.new"));
}

TEST_F(FileSets, AFileThatMayNotBeRenamedIsWrittenInPlace) {
    for (const Case& one : cases()) {
        SCOPED_TRACE(one.what);
        prepare(one);
        FaultyFiles files(systemFiles());
        files.refuse = [&](const std::string& call) {
            const bool isRefused = std::any_of(one.before.begin(), one.before.end(), [&](auto& b) {
                return call.rfind("rename " + b.first + " ", 0) == 0 ||
                       call.find(" to " + b.first) == call.size() - 4 - b.first.size();
            });
            return isRefused ? make_error_code(std::errc::operation_not_permitted)
                             : std::error_code();
        };
        EXPECT_EQ(replace(one, files), "");
        EXPECT_EQ(contentsOf(folder), one.after());
    }
}

TEST_F(FileSets, InAFolderThatTakesNoFilesExistingOnesAreWritten) {
    const Case files{"", {{"a", "old a"}, {"b", "old and long b"}}, {{"a", longer}, {"b", "new"}}};
    const Case oneIsNew{"", {{"a", "old a"}}, {{"a", "new a"}, {"b", "new b"}}};
    for (const std::errc error : {std::errc::permission_denied, std::errc::operation_not_permitted,
                                  std::errc::read_only_file_system}) {
        FaultyFiles closed(systemFiles());
        closed.refuse = [&](const std::string& call) {
            return call.rfind("create", 0) == 0 ? make_error_code(error) : std::error_code();
        };
        prepare(files);
        EXPECT_EQ(replace(files, closed), "");
        EXPECT_EQ(contentsOf(folder), files.after());
        prepare(oneIsNew);
        EXPECT_THAT(replace(oneIsNew, closed), StartsWith("cannot write 'b': "));
        EXPECT_EQ(contentsOf(folder), oneIsNew.before);
    }
    FaultyFiles full(systemFiles());
    full.refuse = [](const std::string& call) {
        return call.rfind("create", 0) == 0 ? make_error_code(std::errc::no_space_on_device)
                                            : std::error_code();
    };
    prepare(files);
    EXPECT_EQ(replace(files, full), "cannot write 'a': no space left");
    EXPECT_EQ(contentsOf(folder), files.before);
}

TEST_F(FileSets, ARestoredFileIsOnlyWrittenWhereItWasOverwritten) {
    // As a limit does it: what is behind it cannot be written, not even with what is there.
    const Case one{"", {{"a", std::string(3000, 'o')}}, {{"a", longer}}, true};
    prepare(one);
    FaultyFiles files(systemFiles());
    int writes = 0;
    files.refuse = [&](const std::string& call) {
        if (call != "write a") {
            return std::error_code();
        }
        ++writes; // the first half, the second half; then what is put back
        return writes == 2 ? make_error_code(std::errc::file_too_large) : std::error_code();
    };
    EXPECT_EQ(replace(one, files), "cannot write 'a': larger than files may be here");
    EXPECT_EQ(contentsOf(folder), one.before);
    EXPECT_GE(writes, 3);
}

TEST_F(FileSets, NeverTakeANameThatSomebodyHas) {
    const Case one{"", {{"a", "old a"}, {"b", "old b"}}, {{"a", "new a"}, {"b", "new b"}}};
    prepare(one);
    const Contents taken{{".a.t1.new", "mine"}, {".a.t2.new", "mine, too"}, {".b.t4.old", "mine"}};
    for (const auto& [name, bytes] : taken) {
        std::ofstream(folder / name, std::ios::binary) << bytes;
    }
    FaultyFiles files(systemFiles());
    files.names = {"t1", "t2", "t3", "u", "v", "t4", "w"};
    EXPECT_EQ(replace(one, files), "");
    Contents expected = one.after();
    expected.insert(taken.begin(), taken.end());
    EXPECT_EQ(contentsOf(folder), expected);
    EXPECT_THAT(files.names, IsEmpty());
}

TEST_F(FileSets, GiveUpWhenAllNamesAreTaken) {
    class OneName : public FaultyFiles {
    public:
        using FaultyFiles::FaultyFiles;
        std::string uniqueName() override { return "same"; }
    };
    const Case one{"", {{"a", "old a"}, {".a.same.new", "mine"}}, {{"a", "new a"}}};
    prepare(one);
    OneName files(systemFiles());
    EXPECT_THAT(replace(one, files), StartsWith("cannot write 'a': "));
    EXPECT_EQ(contentsOf(folder), one.before);
}

TEST_F(FileSets, AFileThatIsGoneAtTheCommitIsNew) {
    prepare({"", {{"a", "old a"}, {"b", "old b"}}, {}});
    FileSet files(systemFiles());
    files.add(folder / "a", "a", "new a");
    files.add(folder / "b", "b", "new b");
    fs::remove(folder / "b");
    files.commit();
    EXPECT_EQ(contentsOf(folder), (Contents{{"a", "new a"}, {"b", "new b"}}));
}

TEST_F(FileSets, AreEmptyAfterACommitAndTakeNewFiles) {
    prepare({"", {{"a", "old a"}}, {}});
    FileSet files(systemFiles());
    files.add(folder / "a", "a", "new a");
    files.commit();
    std::ofstream(folder / "a", std::ios::binary) << "mine";
    files.add(folder / "b", "b", "new b");
    files.commit();
    files.commit();
    EXPECT_EQ(contentsOf(folder), (Contents{{"a", "mine"}, {"b", "new b"}}));
}

TEST_F(FileSets, AFileThatIsRefusedLeavesTheOthersOfTheSet) {
    prepare({"", {{"a", "old a"}}, {}});
    fs::create_directory(folder / "b");
    FileSet files(systemFiles());
    files.add(folder / "a", "a", "new a");
    EXPECT_THROW(files.add(folder / "b", "b", "new b"), FileError);
    files.add(folder / "c", "c", "new c");
    files.commit();
    EXPECT_EQ(bytesOf(folder / "a"), "new a");
    EXPECT_EQ(bytesOf(folder / "c"), "new c");
    EXPECT_TRUE(fs::is_directory(folder / "b"));
    EXPECT_THAT(apart().second, IsEmpty());
}

TEST_F(FileSets, LongNamesHaveNoneOfTheirOwnBeside) {
    const std::string name(200, 'x');
    const Case one{"", {{name, "old"}, {"b", "old"}}, {{name, "new"}, {"b", "new b"}}};
    prepare(one);
    FaultyFiles files(systemFiles());
    EXPECT_EQ(replace(one, files), "");
    EXPECT_EQ(contentsOf(folder), one.after());
}

TEST_F(FileSets, SayWhatIsWrong) {
    fill(folder, {{"file", ""}});
    const auto messageFor = [&](const fs::path& file) {
        try {
            tarvix::replaceFile(systemFiles(), file, "shown", "bytes");
            return std::string();
        } catch (const FileError& e) {
            EXPECT_EQ(e.name(), "shown");
            EXPECT_TRUE(e.code());
            return std::string(e.what());
        }
    };
    EXPECT_EQ(messageFor(folder / "a"), "");
    EXPECT_EQ(messageFor(folder / "nowhere" / "a"), "cannot write 'shown': no such folder");
    EXPECT_EQ(messageFor(folder / "file" / "a"), "cannot write 'shown': no such folder");
    EXPECT_EQ(messageFor(folder), "cannot write 'shown': not a regular file");
    EXPECT_EQ(messageFor(""), "cannot write 'shown': not a regular file");
    EXPECT_EQ(contentsOf(folder), (Contents{{"a", "bytes"}, {"file", ""}}));
}

TEST(FileErrors, HaveAReasonInWords) {
    const auto reason = [](std::errc code) { return tarvix::reasonOf(make_error_code(code)); };
    EXPECT_EQ(reason(std::errc::no_space_on_device), "no space left");
    EXPECT_EQ(reason(std::errc::permission_denied), "permission denied");
    EXPECT_EQ(reason(std::errc::operation_not_permitted), "permission denied");
    EXPECT_EQ(reason(std::errc::read_only_file_system), "read-only file system");
    EXPECT_EQ(reason(std::errc::text_file_busy), "in use by another program");
    EXPECT_THAT(reason(std::errc::io_error), Not(IsEmpty()));
    EXPECT_TRUE(tarvix::isLackOfSpace(make_error_code(std::errc::no_space_on_device)));
    EXPECT_TRUE(tarvix::isLackOfSpace(make_error_code(std::errc::file_too_large)));
    EXPECT_FALSE(tarvix::isLackOfSpace(make_error_code(std::errc::permission_denied)));
}

// Several at once: all succeed, and who locks the folder sees no file of another's set.
TEST_F(FileSets, OfSeveralThreadsDoNotMeet) {
    fill(folder, {});
    class Slow : public FaultyFiles { // whose calls let the others in
    public:
        using FaultyFiles::FaultyFiles;
        std::error_code rename(const fs::path& from, const fs::path& to) override {
            std::this_thread::yield();
            const std::error_code error = FaultyFiles::rename(from, to);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return error;
        }
    };
    constexpr int threads = 8;
    constexpr int rounds = 20;
    std::vector<std::thread> all;
    std::vector<std::string> errors(threads);
    for (int i = 0; i < threads; ++i) {
        all.emplace_back([&, i] {
            for (int round = 0; round < rounds; ++round) {
                Slow system(systemFiles());
                const std::string mine = std::to_string(i) + '.' + std::to_string(round);
                const auto lock = test::lockFolder(system, folder, Access::Exclusive);
                errors[static_cast<std::size_t>(i)] +=
                    replace({"", {}, {{"a", mine}, {"b", mine}}}, system);
                if (bytesOf(folder / "a") != mine || bytesOf(folder / "b") != mine) {
                    errors[static_cast<std::size_t>(i)] += " mixed";
                }
            }
        });
    }
    for (std::thread& one : all) {
        one.join();
    }
    EXPECT_THAT(errors, testing::Each(""));
    EXPECT_THAT(contentsOf(folder), SizeIs(2));
}

TEST_F(FileSets, AFolderThatIsLockedIsFreeAgainAfterwards) {
    fill(folder, {});
    EXPECT_NE(systemFiles().lockFolder(folder, Access::Exclusive), nullptr);
    EXPECT_NE(systemFiles().lockFolder(folder, Access::Shared), nullptr);
    EXPECT_NE(systemFiles().lockFolder(folder, Access::Exclusive), nullptr);
    EXPECT_EQ(systemFiles().lockFolder(folder / "nowhere", Access::Exclusive), nullptr);
}

// A reader who locks the folder sees a pair, never a part of one.
TEST_F(FileSets, AreWholeForWhoLocksTheFolderToRead) {
    fill(folder, {{"a", "0"}, {"b", "0"}});
    std::atomic<bool> isDone{false};
    std::thread writer([&] {
        for (int round = 0; round < 200; ++round) {
            const auto lock = test::lockFolder(systemFiles(), folder, Access::Exclusive);
            FaultyFiles fast(systemFiles()); // which does not wait for the disk
            const std::string bytes = std::to_string(round);
            EXPECT_EQ(replace({"", {}, {{"a", bytes}, {"b", bytes}}}, fast), "");
        }
        isDone = true;
    });
    int reads = 0;
    while (!isDone) {
        const auto lock = test::lockFolder(systemFiles(), folder, Access::Shared);
        const std::string a = bytesOf(folder / "a");
        EXPECT_NE(a, "");
        EXPECT_EQ(a, bytesOf(folder / "b"));
        ++reads;
    }
    writer.join();
    EXPECT_GT(reads, 0);
}

// The earlier files come back after the new ones have gone, and these on the disk.
TEST_F(FileSets, ThatFailGoBackInAnOrderThatMixesNothing) {
    const Case one{"", {{"a", "old a"}, {"b", "old b"}}, {{"a", "new a"}, {"b", "new b"}}};
    prepare(one);
    FaultyFiles files(systemFiles());
    files.refuse = [](const std::string& call) {
        return call == "rename b.new to b" ? make_error_code(std::errc::io_error)
                                           : std::error_code();
    };
    EXPECT_NE(replace(one, files), "");
    const auto first = std::find(files.steps().begin(), files.steps().end(), "rename a.new to a");
    EXPECT_THAT(std::vector<std::string>(first, files.steps().end()),
                ElementsAre("rename a.new to a", "remove a", "syncFolder", "rename a.old to a",
                            "rename b.old to b", "remove b.new"));
}

} // namespace
