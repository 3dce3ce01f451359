// The sub-commands keypoints, match, register and stitch, run as a user runs them.
#include "host/images.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <opencv2/features2d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <fstream>

namespace {

using nlohmann::json;
using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

class FeatureCommands : public testing::Test {
protected:
    // A window of a photograph with its top-left corner at (x, y).
    std::string window(const std::string& name, int x, int y) {
        cv::imwrite(folder / name, test::photo("building.jpg")(cv::Rect(x, y, 440, 400)));
        return folder / name;
    }
    static int filesIn(const std::string& directory) {
        int count = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) {
            ++count;
        }
        return count;
    }

    test::TempFolder folder;
    std::string out = folder / "out.png";
    std::string home = test::photoPath("home.jpg");
};

TEST_F(FeatureCommands, KeypointsByNameAndNumber) {
    for (const char* detector : {"mser", "ORB", "brisk", "akaze", "1"}) {
        std::filesystem::remove(out);
        EXPECT_EQ(tarvix({"keypoints", home, "-o", out, "--detector", detector}).status, 0);
        EXPECT_EQ(cv::imread(out).size(), test::photo("home.jpg").size()) << detector;
    }
    EXPECT_EQ(tarvix({"keypoints", home, "-o", out, "--gray"}).status, 0);
    expectOneLine(tarvix({"keypoints", home, "-o", out, "--detector", "sift"}), 2);
    expectOneLine(tarvix({"keypoints", home, "-o", out, "--detector", "9"}), 2);
}

TEST_F(FeatureCommands, MatchIsSideBySide) {
    const std::string box = test::photoPath("box.png");
    EXPECT_EQ(tarvix({"match", box, home, "-o", out, "--descriptor", "brisk"}).status, 0);
    EXPECT_EQ(cv::imread(out).cols, test::photo("box.png").cols + test::photo("home.jpg").cols);
    expectOneLine(tarvix({"match", box, folder / "missing.png", "-o", out}), 1);
    expectOneLine(tarvix({"match", box, "-o", out}), 2);
}

// The files are those of the exports, which count nothing.
TEST_F(FeatureCommands, WhatIsDrawnIsCounted) {
    const std::string box = test::photoPath("box.png");
    const json keypoints =
        json::parse(tarvix({"keypoints", home, "-o", out, "--detector", "brisk", "--json"}).out);
    const cv::Mat homeImage = test::photo("home.jpg");
    std::vector<cv::KeyPoint> expected;
    cv::BRISK::create()->detect(homeImage, expected);
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(keypoints.at("keypoints"), expected.size());
    EXPECT_EQ(keypoints.at("size"), json({homeImage.cols, homeImage.rows}));
    const host::Bitmap first = host::loadImage(box, false);
    const host::Bitmap second = host::loadImage(home, false);
    cv::theRNG() = cv::RNG(); // the colours, as in a new process
    EXPECT_THAT(cv::imread(out), test::IsIdenticalTo(host::take(tx_DetectorTest(*second, 2))));

    const json matches = json::parse(tarvix({"match", box, home, "-o", out, "--json"}).out);
    EXPECT_EQ(matches.at("matches"), matches.at("keypoints").at(0)) << "none is left out";
    EXPECT_GT(matches.at("matches"), 100);
    EXPECT_GT(matches.at("keypoints").at(1), 100);
    cv::theRNG() = cv::RNG();
    EXPECT_THAT(cv::imread(out),
                test::IsIdenticalTo(host::take(tx_MatchTest(*first, *second, 1, 0))));
}

TEST_F(FeatureCommands, StitchAndItsFailures) {
    const std::string a = window("a.png", 20, 90), b = window("b.png", 200, 110),
                      c = window("c.png", 400, 80);
    const ProgramResult run = tarvix({"stitch", a, b, c, "-o", out});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_GT(cv::imread(out).cols, 600);
    // What shows another scene is named.
    const ProgramResult partly = tarvix({"stitch", a, home, b, c, "-o", out, "--json"});
    expectOneLine(partly, 0);
    EXPECT_THAT(partly.err, HasSubstr("left out '" + home + "': too few matches fit together: "));
    const json said = json::parse(partly.out);
    ASSERT_EQ(said.at("leftOut").size(), 1U);
    EXPECT_EQ(said.at("leftOut")[0].at("file"), home);
    EXPECT_EQ(said.at("size")[0], cv::imread(out).cols);
    std::filesystem::remove(out);
    expectOneLine(tarvix({"stitch", a, "-o", out}), 1);
    expectOneLine(tarvix({"stitch", a, home, "-o", out}), 1);
    const ProgramResult missing = tarvix({"stitch", a, b, folder / "missing.png", "-o", out});
    expectOneLine(missing, 1);
    EXPECT_THAT(missing.err, HasSubstr("missing.png"));
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(FeatureCommands, RegisterIntoAFolder) {
    const std::string a = window("a.png", 200, 100), b = window("b.png", 140, 130);
    const ProgramResult run =
        tarvix({"register", a, b, "-o", folder / "new/set", "--overlay", out, "--json"});
    EXPECT_EQ(run.status, 0) << run.err;
    const json answer = json::parse(run.out);
    const cv::Size canvas(answer.at("canvas")[0].get<int>(), answer.at("canvas")[1].get<int>());
    EXPECT_NEAR(canvas.width, 500, 2);
    EXPECT_NEAR(canvas.height, 430, 2);
    ASSERT_EQ(answer.at("images").size(), 2U);
    for (const json& image : answer.at("images")) {
        EXPECT_EQ(cv::imread(image.at("output").get<std::string>()).size(), canvas);
    }
    EXPECT_EQ(filesIn(folder / "new/set"), 2) << "only the results stay";
    EXPECT_EQ(cv::imread(out).size(), canvas);
}

TEST_F(FeatureCommands, RegisterPrintsJsonOfAnyFileName) {
    const std::string latin = window("caf\xe9.png", 200, 100);
    const ProgramResult run = tarvix({"register", latin, "-o", folder / "set", "--json"});
    EXPECT_EQ(run.status, 0) << run.err;
    const json image = json::parse(run.out).at("images").at(0);
    // U+FFFD, or the letter itself on Windows, where names are not bytes.
    EXPECT_THAT(image.at("input").get<std::string>(),
                testing::AnyOf(folder / "caf\xef\xbf\xbd.png", folder / "caf\xc3\xa9.png"));
}

TEST_F(FeatureCommands, RegisterNumbersFilesNotFolders) {
    const std::string a = window("a.png", 200, 100);
    expectOneLine(tarvix({"register", a, "-o", folder / "{}/view.png"}), 2);
    EXPECT_FALSE(std::filesystem::exists(folder / "{}"));
}

TEST_F(FeatureCommands, RegisterSaysWhatWasLeftOut) {
    const std::string a = window("a.png", 200, 100), b = window("b.png", 140, 130);
    cv::imwrite(folder / "one.png", cv::Mat(1, 1, CV_8UC3, cv::Scalar::all(9)));
    const std::string pattern = folder / "set/view-{}.bmp";
    const ProgramResult run = tarvix({"register", a, home, folder / "one.png", b, "-o", pattern});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, HasSubstr("left out " + home + ": too few good matches"));
    EXPECT_THAT(run.out, HasSubstr("left out " + (folder / "one.png") + ": "));
    EXPECT_EQ(filesIn(folder / "set"), 2);
    EXPECT_FALSE(cv::imread(folder / "set/view-00.bmp").empty());
    EXPECT_FALSE(cv::imread(folder / "set/view-03.bmp").empty());

    const json answer = json::parse(tarvix({"register", a, home, b, "-o", pattern, "--json"}).out);
    EXPECT_TRUE(answer.at("images")[1].at("output").is_null());
    EXPECT_THAT(answer.at("images")[1].at("reason").get<std::string>(), HasSubstr("too few"));
}

TEST_F(FeatureCommands, NoInputIsOverwritten) {
    const std::string a = window("a.png", 20, 100);
    for (const char* name : {"00.png", "01.png"}) {
        cv::imwrite(folder / name, cv::imread(a));
    }
    const std::string first = folder / "00.png";
    const std::string second = folder / "01.png";
    const std::string before = test::bytesOf(second);
    expectOneLine(tarvix({"register", first, second, "-o", folder / "{}.png"}), 1);
    expectOneLine(tarvix({"register", a, second, "-o", folder / "set", "--overlay", second}), 1);
    expectOneLine(tarvix({"stitch", first, second, "-o", second}), 1);
    EXPECT_EQ(test::bytesOf(second), before);
    EXPECT_THAT(test::namesIn(folder.path()),
                testing::UnorderedElementsAre("a.png", "00.png", "01.png"));
}

TEST_F(FeatureCommands, RegisterAloneWritesTheImage) {
    const std::string a = window("a.png", 200, 100);
    EXPECT_EQ(tarvix({"register", a, "-o", folder / "set"}).status, 0);
    EXPECT_THAT(cv::imread(folder / "set/registered-00.png"), test::IsIdenticalTo(cv::imread(a)));
}

TEST_F(FeatureCommands, RegisterFailuresAreOneLineAndLeaveNothing) {
    const std::string a = window("a.png", 200, 100);
    const std::string set = folder / "set";
    const ProgramResult none = tarvix({"register", a, home, "-o", set});
    expectOneLine(none, 1);
    EXPECT_THAT(none.err, HasSubstr("too few good matches"));
    EXPECT_EQ(filesIn(set), 0);
    expectOneLine(tarvix({"register", a, folder / "missing.png", "-o", set}), 1);
    std::ofstream(folder / "text.png") << "not an image\n";
    expectOneLine(tarvix({"register", folder / "text.png", a, "-o", set}), 1);
    expectOneLine(tarvix({"register", a, "-o", folder / "x-{}.nosuchformat"}), 1);
    std::ofstream(folder / "file") << "in the way\n";
    expectOneLine(tarvix({"register", a, "-o", folder / "file"}), 1);
    expectOneLine(tarvix({"register", "-o", set}), 2);
    expectOneLine(tarvix({"register", a}), 2);
}

} // namespace
