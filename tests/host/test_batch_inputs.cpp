// The inputs of a batch: what its words give.
#include "host/batch/inputs.h"
#include "host/batch/later_inputs.h"
#include "host/failure.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#if __has_include(<sys/wait.h>)
#include "tests/support/other_user.h"
#endif

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

std::vector<std::string> allOf(const host::NameList& names) {
    std::vector<std::string> all;
    for (std::size_t i = 0; i < names.size(); ++i) {
        all.push_back(names.at(i));
    }
    return all;
}

class Inputs : public testing::Test {
protected:
    Inputs() {
        for (const char* name : {"a/1.jpg", "a/2.PNG", "a/notes.txt", "a/.half-1.jpg", "a/b/3.jpg",
                                 "a/b/c/4.jpg", "a/[x].jpg", "@list.jpg"}) {
            fs::create_directories(fs::path(folder / name).parent_path());
            test::writeBytes(folder / name, "x");
        }
        fs::create_directories(folder / "empty");
        before = fs::current_path();
        fs::current_path(folder.path());
    }
    ~Inputs() override { fs::current_path(before); }

    // With slashes on every system.
    static std::vector<std::string> expand(const std::vector<std::string>& words,
                                           const std::string& standardInput = "") {
        std::istringstream in(standardInput);
        std::vector<std::string> names = allOf(host::expandInputs(words, in));
        for (std::string& name : names) {
            std::replace(name.begin(), name.end(), '\\', '/');
        }
        return names;
    }

    test::TempFolder folder;
    fs::path before;
};

TEST_F(Inputs, AreFilesFoldersPatternsAndLists) {
    EXPECT_THAT(expand({"a"}), ElementsAre("a/1.jpg", "a/2.PNG", "a/[x].jpg"));
    EXPECT_THAT(expand({"a/*.jpg"}), ElementsAre("a/1.jpg", "a/[x].jpg"));
    EXPECT_THAT(expand({"a/?.*"}), ElementsAre("a/1.jpg", "a/2.PNG"));
    EXPECT_THAT(expand({"a/**/*.jpg"}),
                ElementsAre("a/1.jpg", "a/[x].jpg", "a/b/3.jpg", "a/b/c/4.jpg"));
    EXPECT_THAT(expand({"**/c/*"}), ElementsAre("a/b/c/4.jpg"));
    EXPECT_THAT(expand({"*/b/3.jpg"}), ElementsAre("a/b/3.jpg"));
    EXPECT_THAT(expand({"-"}, "x y.jpg\r\n\nz.jpg"), ElementsAre("x y.jpg", "z.jpg"));
    test::writeBytes(folder / "list", "a/1.jpg\nmissing.jpg\n");
    EXPECT_THAT(expand({"@list"}), ElementsAre("a/1.jpg", "missing.jpg"));
    EXPECT_THAT(expand({"@list.jpg", "a/[x].jpg"}), ElementsAre("@list.jpg", "a/[x].jpg"))
        << "a file of that name";
    EXPECT_THAT(expand({"a/2.PNG", "a", "missing.jpg"}),
                ElementsAre("a/2.PNG", "a/1.jpg", "a/[x].jpg", "missing.jpg"))
        << "in the order of the words, each once";
}

TEST_F(Inputs, QuestionMarksAreCharacters) {
    test::writeBytes(folder / "a/b/\xc3\xbc.jpg", "x"); // u with two dots, two bytes
    EXPECT_EQ(expand({"a/b/?.jpg"}).size(), 2U);
    EXPECT_THROW(expand({"a/b/??.jpg"}), host::Failure);
    EXPECT_EQ(expand({"a/b/*?.jpg"}).size(), 2U);
}

// Which of the folders and patterns would give a file that is made later.
TEST_F(Inputs, ResultsThatWouldBeInputsAreRefused) {
    const auto wouldBe = [&](const std::string& word, const std::string& result) {
        return host::LaterInputs({word}).wordFor(result) != nullptr;
    };
    EXPECT_TRUE(wouldBe("a", "a/1-edges.jpg"));
    EXPECT_TRUE(wouldBe("a", "a/b/../1-edges.jpg"));
    EXPECT_TRUE(wouldBe("a/", fs::absolute("a/1-edges.jpg").string()));
    EXPECT_FALSE(wouldBe("a", "a/1.xml"));
    EXPECT_FALSE(wouldBe("a", "a/.1.jpg"));
    EXPECT_FALSE(wouldBe("a", "a/edges/1.jpg"));
    EXPECT_TRUE(wouldBe("a/*.jpg", "a/new.jpg"));
    EXPECT_FALSE(wouldBe("a/*.jpg", "a/new.png"));
    EXPECT_FALSE(wouldBe("a/*.jpg", "a/b/new.jpg"));
    EXPECT_TRUE(wouldBe("a/**/*.jpg", "a/new.jpg"));
    EXPECT_TRUE(wouldBe("a/**/*.jpg", "a/new/deep/new.jpg"));
    EXPECT_FALSE(wouldBe("a/**/*.jpg", "a/.new/new.jpg"));
    EXPECT_FALSE(wouldBe("a/**/*.jpg", "other/new.jpg"));
    EXPECT_TRUE(wouldBe("**/x/*", "a/x/new.jpg"));
    EXPECT_FALSE(wouldBe("**/x/*", "a/y/new.jpg"));
    EXPECT_TRUE(wouldBe("*.jpg", "new.jpg"));
    EXPECT_FALSE(wouldBe("a/1.jpg", "a/new.jpg")) << "a file";
#if __has_include(<sys/wait.h>)
    fs::create_directories("far/away");
    fs::create_directory_symlink(fs::absolute("far/away"), "a/linked");
    EXPECT_TRUE(wouldBe("a/*/*.jpg", "a/linked/new.jpg")) << "through a link";
    EXPECT_FALSE(wouldBe("a/*/*.jpg", "far/away/new.jpg")) << "by another name";
#endif
    EXPECT_FALSE(wouldBe("@list", "a/new.jpg")) << "a list";
    host::NameList inputs;
    inputs.add("a/1.jpg");
    EXPECT_THROW(host::requireNoLaterInputs(inputs, {"a"}, {"{dir}/{name}-e.png"}, ""),
                 host::Failure);
    EXPECT_THROW(host::requireNoLaterInputs(inputs, {"a/*"}, {}, "a/m.jsonl"), host::Failure);
    EXPECT_NO_THROW(host::requireNoLaterInputs(inputs, {"a"}, {"e/{name}.png"}, "a/m.jsonl"));
}

#if __has_include(<sys/wait.h>)
TEST_F(Inputs, FoldersThatCannotBeReadAreNotLeftOut) {
    if (!test::isPrivileged()) {
        GTEST_SKIP() << "only a privileged user can become another one";
    }
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(folder / "a/b/c", fs::perms::none);
    {
        const test::OtherUser user;
        EXPECT_THROW(expand({"a/**/*.jpg"}), host::Failure);
        EXPECT_THROW(expand({"a/b/c"}), host::Failure);
        EXPECT_EQ(expand({"a/*.jpg"}).size(), 2U);
    }
}
#endif

TEST_F(Inputs, ThatGiveNothingAreRefused) {
    for (const char* word : {"a/*.gif", "nowhere/*.jpg", "@missing", "empty", "**/x/*"}) {
        EXPECT_THROW(expand({word}), host::Failure) << word;
    }
}

} // namespace
