// The sample host, run as a user runs it.
#include "host/commands.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

namespace {

using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::AnyOf;
using testing::HasSubstr;

class CommandLine : public testing::Test {
protected:
    test::TempFolder folder;
    std::string out = folder / "out.png";
    std::string home = test::photoPath("home.jpg");

    [[nodiscard]] cv::Mat result() const { return cv::imread(out, cv::IMREAD_UNCHANGED); }
};

TEST_F(CommandLine, NoArgumentsIsBadUsage) {
    expectOneLine(tarvix({}), 2);
}

TEST_F(CommandLine, UnknownCommandIsBadUsage) {
    expectOneLine(tarvix({"frobnicate"}), 2);
}

TEST_F(CommandLine, HelpAndVersion) {
    const ProgramResult help = tarvix({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const host::Command& command : host::commands()) {
        EXPECT_EQ(help.out.find("  " + command.name + " ") == std::string::npos, command.internal)
            << command.name;
    }
    const ProgramResult one = tarvix({"canny", "--help"});
    EXPECT_EQ(one.status, 0);
    EXPECT_THAT(one.out, AnyOf(HasSubstr("=50"), HasSubstr("[50]"))); // as CLI11 shows defaults
    const ProgramResult version = tarvix({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out, HasSubstr("Tarvix "));
    EXPECT_THAT(version.out, HasSubstr("OpenCV "));
}

#if __has_include(<sys/wait.h>) // if there are a shell and /dev/full
TEST_F(CommandLine, OutputThatIsLostIsAFailure) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"lines", home}, {"lines", home, "--json"}, {"--help"}}) {
        std::vector<std::string> words = {"-c", R"(exec "$0" "$@" >/dev/full)", TARVIX_PROGRAM};
        words.insert(words.end(), command.begin(), command.end());
        const ProgramResult run = test::runProgram("/bin/sh", words);
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr("standard output cannot be written"));
    }
}
#endif

TEST_F(CommandLine, LoadWritesTheImage) {
    EXPECT_EQ(tarvix({"load", home, "-o", out}).status, 0);
    EXPECT_THAT(result(), test::IsIdenticalTo(test::photo("home.jpg")));
}

TEST_F(CommandLine, CannyOfColourAndGrey) {
    EXPECT_EQ(tarvix({"canny", home, "-o", out, "--low", "80", "--high", "200", "--l2"}).status, 0);
    EXPECT_EQ(result().type(), CV_8UC1);
    EXPECT_EQ(tarvix({"canny", home, "-o", out, "--gray"}).status, 0);
    EXPECT_EQ(result().type(), CV_8UC1);
}

TEST_F(CommandLine, AnExportsExceptionIsOneLine) {
    // Corners on an upright line admit no homography.
    expectOneLine(tarvix({"converge-scaled", home, "-o", out, "--from", "5,0", "5,9", "5,20",
                          "5,30", "--to", "0,0", "9,0", "9,9", "0,9"}),
                  1);
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(CommandLine, TheModulesMessageIsOneLine) {
    const ProgramResult run = tarvix({"denoise", home, "-o", out, "--gray"});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("CV_8UC3"));
}

TEST_F(CommandLine, DenoisePatchWarpMask) {
    EXPECT_EQ(
        tarvix({"patch", home, "-o", out, "--width", "41", "--height", "30", "--center", "80.5,60"})
            .status,
        0);
    EXPECT_EQ(result().size(), cv::Size(41, 30));
    EXPECT_EQ(
        tarvix({"denoise", out, "-o", folder / "denoised.png", "--template", "3", "--search", "7"})
            .status,
        0);
    EXPECT_EQ(cv::imread(folder / "denoised.png").size(), cv::Size(41, 30));
    // Negative coordinates are points, not options.
    EXPECT_EQ(tarvix({"warp", home, "-o", out, "--from", "0,0", "10,0", "10,10", "0,10", "--to",
                      "-5,-5", "5,-5", "5,5", "-5,5"})
                  .status,
              0);
    EXPECT_EQ(result().size(), cv::Size(10, 10));
    EXPECT_EQ(tarvix({"mask", home, "--from", "0,0", "10,0", "10,10", "0,10", "--to", "0,0", "20,0",
                      "20,30", "0,30", "-o", out})
                  .status,
              0);
    EXPECT_EQ(result().size(), cv::Size(20, 30));
}

TEST_F(CommandLine, ConvergePrintsWhatItFound) {
    const std::vector<std::string> base = {"converge", home,      "-o",      out,      "--corners",
                                           "370,300",  "435,280", "443,345", "378,357"};
    const ProgramResult text = tarvix(base);
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr("focal length"));
    EXPECT_THAT(text.out, HasSubstr("corrected corners"));
    EXPECT_EQ(result().size(), test::photo("home.jpg").size());
    std::vector<std::string> json = base;
    json.insert(json.end(), {"--focal", "30", "--pitch-only", "--json", "--overlay",
                             folder / "marked.png", folder / "corrected.png"});
    const ProgramResult run = tarvix(json);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\"focal_mm\":30.0"));
    EXPECT_THAT(run.out, HasSubstr("\"corners\":[["));
    const cv::Mat marked = cv::imread(folder / "marked.png");
    EXPECT_EQ(marked.at<cv::Vec3b>(300, 370), cv::Vec3b(40, 40, 235));
    EXPECT_EQ(cv::imread(folder / "corrected.png").size(), result().size());
}

TEST_F(CommandLine, ConvergeScaledAndAlign) {
    EXPECT_EQ(tarvix({"converge-scaled", home, "-o", out, "--gray", "--from", "0,0", "9,0", "9,9",
                      "0,9", "--to", "0,0", "5,0", "5,5", "0,5"})
                  .status,
              0);
    EXPECT_EQ(result().type(), CV_8UC1);
    const cv::Mat frame(30, 40, CV_8UC3, cv::Scalar(1, 1, 1));
    cv::imwrite(folder / "frame.png", frame);
    EXPECT_EQ(
        tarvix({"align", home, folder / "frame.png", "-o", out, "--fill", "255", "0", "7", "--from",
                "0,0", "9,0", "9,9", "0,9", "--to", "20,20", "29,20", "29,29", "20,29"})
            .status,
        0);
    EXPECT_EQ(result().size(), frame.size());
    EXPECT_EQ(result().at<cv::Vec3b>(0, 0), cv::Vec3b(255, 0, 7));
    expectOneLine(
        tarvix({"align", home, folder / "frame.png", "-o", out, "--fill", "256", "0", "0", "--from",
                "0,0", "9,0", "9,9", "0,9", "--to", "0,0", "9,0", "9,9", "0,9"}),
        2);
}

TEST_F(CommandLine, BadPointsAreBadUsage) {
    expectOneLine(
        tarvix({"patch", home, "-o", out, "--width", "4", "--height", "4", "--center", "5"}), 2);
    expectOneLine(
        tarvix({"patch", home, "-o", out, "--width", "4", "--height", "4", "--center", "a,b"}), 2);
    expectOneLine(tarvix({"warp", home, "-o", out, "--from", "0,0", "1,0", "1,1", "--to", "0,0",
                          "1,0", "1,1", "0,1"}),
                  2);
}

TEST_F(CommandLine, AnExistingFileSurvivesAFailedWrite) {
    std::ofstream(folder / "keep.nosuchformat") << "mine";
    expectOneLine(tarvix({"load", home, "-o", folder / "keep.nosuchformat"}), 1);
    std::string text;
    std::ifstream(folder / "keep.nosuchformat") >> text;
    EXPECT_EQ(text, "mine");
    expectOneLine(tarvix({"load", home, "-o", folder / "no/such/folder/x.png"}), 1);
    int left = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        left += entry.path().filename() != "keep.nosuchformat" ? 1 : 0;
    }
    EXPECT_EQ(left, 0) << "half a file is left behind";
}

// The command line of an example of the table. The k-th image is `in`, the others are `other`.
std::vector<std::string> lineOf(const host::Command& command, int k, const std::string& in,
                                const std::string& other, const std::string& out) {
    std::vector<std::string> words = command.example;
    int image = 0;
    for (std::string& word : words) {
        if (word == "IN") {
            word = image++ == k ? in : other;
        }
    }
    words.insert(words.begin(), command.name);
    words.insert(words.end(), {"-o", command.name == "register" ? out + "-{}.png" : out});
    return words;
}

TEST_F(CommandLine, EveryCommandAnswersEveryBadFileInOneLine) {
    int lines = 0;
    for (const host::Command& command : host::commands()) {
        if (command.makes == host::Makes::Files && command.name != "register") {
            continue; // the calibrations, whose folder is made before a file is read
        }
        const auto images = std::count(command.example.begin(), command.example.end(), "IN");
        for (int k = 0; k < images; ++k, ++lines) {
            test::expectEveryBadFileRefused(lineOf(command, k, "BAD", home, out), folder, out);
        }
    }
    EXPECT_GT(lines, 20);
}

TEST_F(CommandLine, EveryCommandTakesOnePixel) {
    cv::imwrite(folder / "one.png", cv::Mat(1, 1, CV_8UC3, cv::Scalar(1, 2, 3)));
    // OpenCV's detectors cannot shrink an image of one pixel. There is no board on it, and no
    // calibration.
    const std::set<std::string> refused = {"keypoints", "chessboard", "undistort", "rectify",
                                           "register-to"};
    for (const host::Command& command : host::commands()) {
        if (command.takes != host::Takes::OneImage) {
            continue;
        }
        SCOPED_TRACE(command.name);
        const ProgramResult run =
            tarvix(lineOf(command, 0, folder / "one.png", folder / "one.png", out));
        if (refused.contains(command.name)) {
            expectOneLine(run, 1);
            continue;
        }
        EXPECT_EQ(run.status, 0) << run.err;
        if (run.err.find("were found in") == std::string::npos) {
            EXPECT_EQ(run.err, "");
        }
    }
}

TEST_F(CommandLine, HugeRequestsAreRefusedInOneLine) {
    expectOneLine(tarvix({"patch", home, "-o", out, "--width", "2000000000", "--height",
                          "2000000000", "--center", "1,1"}),
                  1);
    expectOneLine(tarvix({"warp", home, "-o", out, "--from", "0,0", "9,0", "9,9", "0,9", "--to",
                          "0,0", "2e9,0", "2e9,2e9", "0,2e9"}),
                  1);
}

} // namespace
