// `-` for an image: standard input and standard output of the sample host.
#include "tests/host/in_process.h"
#include "tests/host/sub_command.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>

#if __has_include(<sys/wait.h>)
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

using test::expectOneLine;
using test::ProgramResult;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class PipedImages : public testing::Test {
protected:
    // Runs with a file as standard input and `out` as standard output.
    ProgramResult run(const std::vector<std::string>& words, const std::string& in = {}) {
        return test::runProgram(TARVIX_PROGRAM, words, {.in = in, .out = out});
    }

    test::TempFolder folder;
    std::string out = folder / "stdout";
    std::string file = folder / "result.png";
    std::string home = test::photoPath("home.jpg");
};

TEST_F(PipedImages, StandardInputIsReadAsTheFileIs) {
    ASSERT_EQ(test::tarvix({"canny", home, "-o", folder / "expected.png"}).status, 0);
    const ProgramResult piped = run({"canny", "-", "-o", file}, home);
    EXPECT_EQ(piped.status, 0);
    EXPECT_THAT(piped.err, IsEmpty());
    EXPECT_EQ(test::bytesOf(file), test::bytesOf(folder / "expected.png"));
    EXPECT_THAT(test::bytesOf(file), Not(IsEmpty()));
}

// Every byte, also those that text would change: line ends and the end of a file in a text.
TEST_F(PipedImages, StandardOutputGetsTheBytesOfTheFile) {
    cv::Mat every(256, 16, CV_8UC3);
    for (int r = 0; r < every.rows; ++r) {
        every.row(r) = cv::Scalar(r, 255 - r, r ^ 0x5A);
    }
    const std::string in = folder / "every.bmp";
    ASSERT_TRUE(cv::imwrite(in, every));
    for (const std::string format : {"bmp", "png", "jpg"}) {
        SCOPED_TRACE(format);
        const std::string expected = folder / ("expected." + format);
        ASSERT_EQ(test::tarvix({"load", in, "-o", expected}).status, 0);
        const ProgramResult piped = run({"load", "-", "-o", "-", "--format", format}, in);
        EXPECT_EQ(piped.status, 0);
        EXPECT_THAT(piped.err, IsEmpty());
        EXPECT_EQ(test::bytesOf(out), test::bytesOf(expected));
    }
    ASSERT_EQ(run({"load", in, "-o", "-"}).status, 0);
    EXPECT_EQ(test::bytesOf(out), test::bytesOf(folder / "expected.png")) << "without --format";
}

TEST_F(PipedImages, WhatAPhotographCarriesGoesWithIt) {
    // An EXIF block with nothing but an orientation: stored lying on its side.
    const std::string turned("\xff\xe1\0\x22"
                             "Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0"
                             "\0\0\0\0",
                             36);
    const std::string photo = folder / "turned.jpg";
    test::writeBytes(photo, test::bytesOf(home).insert(2, turned));
    const std::vector<std::string> options = {"--quality", "70"};
    ASSERT_EQ(test::tarvix({"load", photo, "-o", folder / "e.jpg", options[0], options[1]}).status,
              0);
    ASSERT_EQ(
        run({"load", "-", "-o", "-", "--format", "jpg", options[0], options[1]}, photo).status, 0);
    EXPECT_EQ(test::bytesOf(out), test::bytesOf(folder / "e.jpg"));
    EXPECT_THAT(test::bytesOf(out), HasSubstr("Exif"));
    EXPECT_EQ(cv::imread(out).rows, test::photo("home.jpg").cols);
}

TEST_F(PipedImages, TextAndJsonMakeRoomForTheImage) {
    for (const char* json : {"", "--json"}) {
        std::vector<std::string> words = {"lines", "-", "-o"};
        if (*json != '\0') {
            words.insert(words.begin() + 1, json);
        }
        std::vector<std::string> toFile = words;
        toFile.push_back(file);
        const ProgramResult expected = run(toFile, home);
        std::string printed = test::bytesOf(out);
        printed.erase(std::remove(printed.begin(), printed.end(), '\r'), printed.end());
        words.emplace_back("-");
        const ProgramResult piped = run(words, home);
        EXPECT_EQ(piped.status, 0);
        EXPECT_EQ(test::bytesOf(out), test::bytesOf(file));
        EXPECT_THAT(piped.err, HasSubstr(*json != '\0' ? "{\"segments\":[[" : ","));
        EXPECT_EQ(piped.err.size(), printed.size()) << expected.err;
    }
}

TEST_F(PipedImages, WhatIsNoImageIsRefusedByItsName) {
    test::writeBytes(folder / "text", "not an image\n");
    for (const std::string& in : {folder / "text", std::string()}) {
        const ProgramResult piped = run({"load", "-", "-o", file}, in);
        expectOneLine(piped, 1);
        EXPECT_THAT(piped.err, HasSubstr("not an image that can be read: '-'"));
        EXPECT_THAT(test::namesIn(folder.path()), Not(testing::Contains("result.png")));
    }
    const ProgramResult none = run({"load", folder / "text", "-o", "-"});
    expectOneLine(none, 1);
    EXPECT_THAT(test::bytesOf(out), IsEmpty());
}

TEST_F(PipedImages, FormatsAreRefusedBeforeAnythingIsRead) {
    const ProgramResult unknown = run({"load", "-", "-o", "-", "--format", "nosuch"});
    expectOneLine(unknown, 2);
    EXPECT_THAT(unknown.err, HasSubstr("'nosuch' is not an image format; use png"));
    const ProgramResult ofFile = run({"load", home, "-o", file, "--format", "jpg"});
    expectOneLine(ofFile, 2);
    EXPECT_THAT(ofFile.err, HasSubstr("--format is for standard output"));
    const ProgramResult quality = run({"load", home, "-o", "-", "--quality", "70"});
    expectOneLine(quality, 2);
    EXPECT_THAT(quality.err, HasSubstr("--quality is for JPEG and WebP"));
}

TEST_F(PipedImages, CommandsThatWriteSeveralFilesRefuse) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"register", home, "-o", "-"},
          {"calib", "--board", "9x6", home, "-o", "-"}}) {
        const ProgramResult refused = run(words);
        expectOneLine(refused, 2);
        EXPECT_THAT(refused.err, AllOf(HasSubstr("'" + words[0] + "' writes files"),
                                       HasSubstr("none to standard output")));
    }
}

// Workers and what else runs command lines have other uses for the two streams.
TEST_F(PipedImages, OnlyTheProgramItselfHasPipes) {
    const ProgramResult in = test::inProcess({"load", "-", "-o", file});
    EXPECT_EQ(in.status, 1);
    EXPECT_THAT(in.err, HasSubstr("no such file: '-'"));
    const ProgramResult output = test::inProcess({"load", home, "-o", "-"});
    EXPECT_EQ(output.status, 1);
    EXPECT_THAT(output.err, HasSubstr("cannot write '-': its name has no extension"));
}

#if __has_include(<sys/wait.h>) // if there are a shell and terminals
TEST_F(PipedImages, TerminalsAreRefused) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const std::string name = ptsname(terminal);
    const ProgramResult in = run({"load", "-", "-o", file}, name);
    expectOneLine(in, 2);
    EXPECT_THAT(in.err, HasSubstr("standard input is a terminal"));
    out = name;
    const ProgramResult output = run({"load", home, "-o", "-"});
    expectOneLine(output, 2);
    EXPECT_THAT(output.err, HasSubstr("standard output is a terminal"));
    close(terminal);
}

TEST_F(PipedImages, OutputThatIsLostIsAFailure) {
    out = "/dev/full";
    const ProgramResult full = run({"load", home, "-o", "-"});
    expectOneLine(full, 1);
    EXPECT_THAT(full.err, HasSubstr("standard output cannot be written"));
}

TEST_F(PipedImages, NothingStaysInTheTemporaryFolder) {
    // A reader that ends at once: the write fails instead of ending the program.
    const std::string script =
        R"((TMPDIR="$1" "$0" load - -o - <"$2"; echo "status $?" >&2) | true)";
    const ProgramResult piped =
        test::runProgram("/bin/bash", {"-c", script, TARVIX_PROGRAM, folder.path(), home});
    EXPECT_THAT(piped.err, testing::AnyOf(HasSubstr("status 0\n"), HasSubstr("status 1\n")));
    EXPECT_THAT(test::namesIn(folder.path()), IsEmpty());
}
#endif

} // namespace
