// What the sample host says when something is wrong: one sentence that names the file, the option
// or the value, and nothing of what libraries print.
#include "host/run_command.h"
#include "host/sentences.h"
#include "platform/system/stray_lines.h"
#include "tests/host/sub_command.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>

#if __has_include(<sys/wait.h>)
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class Messages : public testing::Test {
protected:
    // Expects a failure of one line with these words, which is not OpenCV's.
    static void expectSaid(const std::vector<std::string>& words, int status,
                           const std::vector<std::string>& parts) {
        const ProgramResult run = tarvix(words);
        expectOneLine(run, status);
        for (const std::string& part : parts) {
            EXPECT_THAT(run.err, HasSubstr(part));
        }
        EXPECT_THAT(run.err, AllOf(Not(HasSubstr("OpenCV")), Not(HasSubstr(".cpp"))));
    }
    [[nodiscard]] std::string grey() const {
        cv::imwrite(folder / "grey.png", cv::Mat(60, 80, CV_8UC3, cv::Scalar::all(99)));
        return folder / "grey.png";
    }
    // The first half of a photograph's file.
    [[nodiscard]] std::string cutOff() const {
        std::ifstream whole(test::photoPath("home.jpg"), std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(whole)),
                          std::istreambuf_iterator<char>());
        bytes.resize(bytes.size() / 2);
        std::ofstream(folder / "half.jpg", std::ios::binary) << bytes;
        return folder / "half.jpg";
    }

    test::TempFolder folder;
    std::string out = folder / "out.png";
    std::string home = test::photoPath("home.jpg");
};

TEST_F(Messages, AFileThatCannotBeWrittenHasTheReason) {
    expectSaid({"load", home, "-o", folder / "nodir/x.png"}, 1,
               {"cannot write '", "there is no folder '", "nodir'"});
    expectSaid({"load", home, "-o", folder / "x.nosuch"}, 1,
               {"x.nosuch'", "'.nosuch' is not an image format", ".png"});
    expectSaid({"load", home, "-o", folder / "x"}, 1, {"its name has no extension", ".png"});
    std::filesystem::create_directory(folder / "x.png");
    expectSaid({"load", home, "-o", folder / "x.png"}, 1, {"a folder has that name"});
}

TEST_F(Messages, AFolderIsNotAnImage) {
    expectSaid({"canny", folder.path(), "-o", out}, 1, {folder.path(), "is a folder"});
}

TEST_F(Messages, TheNearestCommandAndOptionAreNamed) {
    expectSaid({}, 2, {"no command was given"});
    expectSaid({"cany", home, "-o", out}, 2, {"no command 'cany'", "did you mean 'canny'?"});
    expectSaid({"stereocalib"}, 2, {"did you mean 'stereo-calib'?"});
    expectSaid({"canny", home, "--otu", out}, 2, {"no option '--otu'", "did you mean '--out'?"});
    expectSaid({"canny", home, "-o", out, "--lwo=3"}, 2, {"no option '--lwo'", "'--low'"});
    expectSaid({"canny", home, "-o", out, "-x"}, 2, {"'canny' has no option '-x'"});
    const ProgramResult unlike = tarvix({"frobnicate"});
    expectOneLine(unlike, 2);
    EXPECT_THAT(unlike.err, AllOf(HasSubstr("'frobnicate'"), Not(HasSubstr("did you mean"))));
}

TEST(Sentences, TheNearestWordIsTheOneWithTheFewestChanges) {
    const std::vector<std::string> words = {"calib", "canny", "converge", "converge-scaled"};
    EXPECT_EQ(host::nearest("cnany", words), "canny");
    EXPECT_EQ(host::nearest("kalib", words), "calib");
    EXPECT_EQ(host::nearest("conv", words), "converge");
    EXPECT_EQ(host::nearest("converge-scald", words), "converge-scaled");
    EXPECT_EQ(host::nearest("stitch", words), "");
    EXPECT_EQ(host::nearest("", words), "");
    EXPECT_EQ(host::suggestion("stitch", words), "");
}

TEST_F(Messages, AValueOutOfRangeNamesItsOption) {
    expectSaid({"canny", home, "-o", out, "--aperture", "4"}, 2, {"--aperture", "'4'"});
    expectSaid({"patch", home, "-o", out, "--width", "-5", "--height", "5", "--center", "9,9"}, 2,
               {"--width", "'-5'"});
}

TEST_F(Messages, ADamagedImageIsUsedAndNamed) {
    const ProgramResult run = tarvix({"load", cutOff(), "-o", out});
    expectOneLine(run, 0);
    EXPECT_THAT(run.err, AllOf(HasSubstr("half.jpg' is damaged"), HasSubstr("JPEG")));
    EXPECT_EQ(cv::imread(out).size(), test::photo("home.jpg").size());
    // Of a set, too, whose files the module reads again.
    expectOneLine(tarvix({"register", cutOff(), "-o", folder / "set"}), 0);
}

TEST_F(Messages, NothingFoundIsSaid) {
    for (const char* command : {"lines", "faces"}) {
        const ProgramResult run = tarvix({command, grey()});
        expectOneLine(run, 0);
        EXPECT_THAT(run.err, AllOf(HasSubstr("were found in '"), HasSubstr("grey.png'")));
        EXPECT_EQ(run.out, "");
    }
}

TEST_F(Messages, RegisterDoesNotMakeAFolderNamedAsAnImage) {
    expectSaid({"register", home, "-o", folder / "reg.png"}, 2, {"reg-{}.png", "reg.png'"});
    EXPECT_FALSE(std::filesystem::exists(folder / "reg.png"));
}

TEST_F(Messages, OpenCvsPlaceIsShownOnRequest) {
    const std::vector<std::string> words = {"denoise", home, "-o", out, "--gray"};
    const ProgramResult brief = tarvix(words);
    expectOneLine(brief, 1);
    EXPECT_THAT(brief.err, AllOf(StartsWith("tarvix: OpenCV refuses this: "), HasSubstr("CV_8UC3"),
                                 Not(HasSubstr(".cpp:"))));
    std::vector<std::string> more = words;
    more.emplace_back("--verbose");
    const ProgramResult verbose = tarvix(more);
    EXPECT_EQ(verbose.status, 1);
    EXPECT_THAT(verbose.err, AllOf(HasSubstr("tarvix: OpenCV("), HasSubstr(".cpp:")));
}

TEST_F(Messages, WhatALibraryPrintsIsShownOnRequest) {
    const std::vector<std::string> words = {"register", cutOff(), "-o", folder / "set"};
    const auto libraryLine = HasSubstr("tarvix: a library says: ");
    EXPECT_THAT(tarvix(words).err, Not(libraryLine));
    std::vector<std::string> more = words;
    more.emplace_back("--verbose");
    EXPECT_THAT(tarvix(more).err, AllOf(libraryLine, HasSubstr("JPEG file\n")));
}

TEST_F(Messages, LongWorkSaysInATerminalWhatItDoes) {
    const std::string tiny = folder / "small.png";
    cv::imwrite(tiny, cv::Mat(20, 30, CV_8UC3, cv::Scalar(1, 2, 3)));
    struct Work {
        std::string said;
        std::vector<std::string> words;
        int status;
    };
    const std::vector<Work> works = {
        {"denoising", {"denoise", tiny, "-o", out}, 0},
        {"\r[1/1] home.jpg", {"register", home, "-o", folder / "set"}, 0},
        {"joining", {"stitch", tiny, tiny, "-o", out}, 1}};
    for (const Work& work : works) {
        for (const bool terminal : {true, false}) {
            std::ostringstream printed;
            std::ostringstream errors;
            host::Output output(printed, errors, terminal);
            EXPECT_EQ(host::runCommand(work.words, output), work.status) << errors.str();
            EXPECT_EQ(printed.str().find(work.said) == 0, terminal) << printed.str();
        }
    }
}

void printAsLibrariesDo(const char* text) {
    static_cast<void>(std::fputs(text, stderr));
    static_cast<void>(std::fflush(stderr));
}

TEST(StrayLines, AreTakenOnceAndWithoutRepetitions) {
    EXPECT_THAT(tarvix::takeStrayLines(), IsEmpty());
    testing::internal::CaptureStderr();
    {
        const tarvix::StrayLines lines;
        printAsLibrariesDo("one\n\ntwo\none\n");
        std::cerr << "three\n"; // as OpenCV's log
        tarvix::standardError() << "ours\n" << 7 << '\n';
        EXPECT_THAT(tarvix::takeStrayLines(), ElementsAre("one", "two", "three"));
        printAsLibrariesDo("four");
        EXPECT_THAT(tarvix::takeStrayLines(), ElementsAre("four"));
        EXPECT_THAT(tarvix::takeStrayLines(), IsEmpty());
        printAsLibrariesDo("dropped\n");
    }
    printAsLibrariesDo("afterwards\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ours\n7\nafterwards\n");
}

TEST(StrayLines, TakeNoMoreOfTheDiskEachTime) {
    const std::string line(999, 'x');
    std::string many;
    for (int i = 0; i < 2000; ++i) {
        many.append(line).append("\n");
    }
    const tarvix::StrayLines lines;
    for (int i = 0; i < 3; ++i) {
        printAsLibrariesDo(many.c_str());
        EXPECT_THAT(tarvix::takeStrayLines(), ElementsAre(line));
#if __has_include(<sys/wait.h>)
        struct stat kept {};
        ASSERT_EQ(fstat(STDERR_FILENO, &kept), 0);
        EXPECT_LT(kept.st_size, 1500000);
#endif
    }
    printAsLibrariesDo("short\n");
    EXPECT_THAT(tarvix::takeStrayLines(), ElementsAre("short"));
}

#if GTEST_HAS_DEATH_TEST && __has_include(<sys/wait.h>)
TEST(StrayLinesDeathTest, AreShownIfTheProcessAborts) {
    EXPECT_DEATH(
        {
            const tarvix::StrayLines lines;
            printAsLibrariesDo("the last words\n");
            std::abort();
        },
        "the last words");
}
#endif

} // namespace
