// Sets of photographs as people have them, given to calib and stereo-calib.
#include "host/calibration_set.h"
#include "tests/calib/views.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include <filesystem>

namespace {

using nlohmann::json;
using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class CalibrationSets : public testing::Test {
protected:
    ProgramResult calib(std::vector<std::string> words, const std::vector<std::string>& more = {}) {
        words.insert(words.begin(), "calib");
        words.insert(words.end(), {"--board", "9x6", "-o", set});
        words.insert(words.end(), more.begin(), more.end());
        return tarvix(words);
    }
    ProgramResult stereoCalib(std::vector<std::string> words,
                              const std::vector<std::string>& more = {}) {
        words.insert(words.begin(), "stereo-calib");
        words.insert(words.end(), {"--board", "9x6", "-o", set});
        words.insert(words.end(), more.begin(), more.end());
        return tarvix(words);
    }

    test::TempFolder folder;
    std::string set = folder / "set";
};

TEST_F(CalibrationSets, WhatCannotBeUsedIsLeftOutAndNamed) {
    test::writeBytes(folder / "text.jpg", "not an image");
    cv::Mat larger;
    cv::resize(test::photo("left05.jpg"), larger, {800, 600}, 0, 0, cv::INTER_CUBIC);
    cv::imwrite(folder / "larger.png", larger);
    std::vector<std::string> files = test::leftPhotos(4);
    files.insert(files.begin(), {folder / "larger.png", test::photoPath("home.jpg")});
    files.push_back(folder / "text.jpg");
    const ProgramResult run = calib(files, {"--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("tarvix: left out '" + folder.path() +
                                   "/larger.png': 800 x 600 pixels, and not 640 x 480"));
    EXPECT_THAT(run.err, HasSubstr("home.jpg': no board of 9 x 6 inner corners\n"));
    EXPECT_THAT(run.err, HasSubstr("text.jpg': not an image that can be read\n"));
    const json data = json::parse(run.out);
    EXPECT_EQ(data.at("images").size(), 4U);
    EXPECT_EQ(data.at("leftOut").size(), 3U);
    // The same as from the good ones alone.
    const ProgramResult good = calib(test::leftPhotos(4), {"--json"});
    EXPECT_EQ(json::parse(good.out).at("CameraMatrix"), data.at("CameraMatrix"));
    EXPECT_EQ(good.err, "");
}

TEST_F(CalibrationSets, StrictMakesItAFailure) {
    std::vector<std::string> files = test::leftPhotos(4);
    files.push_back(test::photoPath("home.jpg"));
    const ProgramResult run = calib(files, {"--strict"});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("home.jpg' cannot be used: no board"));
    EXPECT_FALSE(std::filesystem::exists(set));
    EXPECT_EQ(calib(test::leftPhotos(3), {"--strict"}).status, 0);
}

TEST_F(CalibrationSets, FilesThatCannotBeReadAreNotSaidToLackABoard) {
    test::writeBytes(folder / "a.jpg", "not an image");
    test::writeBytes(folder / "b.jpg", "not an image");
    const ProgramResult run = calib({folder / "a.jpg", folder / "b.jpg"});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("a.jpg' cannot be used: not an image that can be read\n"));
    const ProgramResult mixed = calib({folder / "a.jpg", test::photoPath("home.jpg")});
    expectOneLine(mixed, 1);
    EXPECT_THAT(mixed.err, HasSubstr("no board of 9 x 6 inner corners in any of the photographs"));
}

TEST_F(CalibrationSets, SquaresCountedForCornersAreNoticed) {
    const ProgramResult run = tarvix({"calib", test::pairPhoto("left", 1),
                                      test::pairPhoto("left", 2), "--board", "10x7", "-o", set});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("a board of 9 x 6 is there"));
}

TEST_F(CalibrationSets, NumbersThatMakeNoSenseAreBadUsage) {
    const std::string photo = test::pairPhoto("left", 1);
    for (const std::string board : {"2x6", "9x2", "0x0", "-9x6"}) {
        const ProgramResult run = tarvix({"calib", photo, "--board=" + board, "-o", set});
        expectOneLine(run, 2);
        EXPECT_THAT(run.err, HasSubstr("'" + board + "'"));
    }
    for (const std::string square : {"0", "-25", "wide"}) {
        const ProgramResult run = stereoCalib({photo, photo}, {"--square=" + square});
        expectOneLine(run, 2);
        EXPECT_THAT(run.err, HasSubstr("'" + square + "'"));
    }
    expectOneLine(calib({photo}, {"--drop-worst=-1"}), 2);
    expectOneLine(calib({photo}, {"--max-rms=0"}), 2);
    expectOneLine(stereoCalib({photo, photo}, {"--drop-worst", "1"}), 2);
    expectOneLine(stereoCalib({photo, photo}, {"--refine"}), 2);
    expectOneLine(stereoCalib({photo, photo}, {"--metric", "--preview"}), 2);
    EXPECT_FALSE(std::filesystem::exists(set));
}

TEST_F(CalibrationSets, TheWorstAreLeftOutWhenAsked) {
    const ProgramResult all = calib(test::leftPhotos(6), {"--json"});
    const json before = json::parse(all.out);
    EXPECT_THAT(before.at("dropped"), IsEmpty());
    const ProgramResult run = calib(test::leftPhotos(6), {"--drop-worst", "2", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const json after = json::parse(run.out);
    ASSERT_EQ(after.at("dropped").size(), 2U);
    EXPECT_EQ(after.at("dropped")[0].at("file"), before.at("worst"));
    EXPECT_EQ(after.at("images").size(), 4U);
    EXPECT_LT(after.at("rms"), before.at("rms"));
    EXPECT_NE(after.at("CameraMatrix"), before.at("CameraMatrix"));
    expectOneLine(calib(test::leftPhotos(4), {"--max-rms", "0.001"}), 1);
}

TEST_F(CalibrationSets, APairIsLeftOutAsAWhole) {
    auto files = test::pairPhotos(3);
    files[3] = test::photoPath("fruits.jpg"); // the second pair's right one
    const ProgramResult run = stereoCalib(files, {"--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("fruits.jpg': no board"));
    EXPECT_THAT(run.err, HasSubstr("left02.jpg': its pair '"));
    const json data = json::parse(run.out);
    EXPECT_EQ(data.at("pairs").size(), 2U);
    EXPECT_EQ(data.at("leftOut").size(), 2U);
}

TEST_F(CalibrationSets, StrictMeansPhotographsWithoutAPairToo) {
    for (const char* name : {"left01.jpg", "right01.jpg", "fruits.jpg"}) {
        std::filesystem::copy_file(test::photoPath(name), folder / name);
    }
    const ProgramResult run = stereoCalib({folder.path()}, {"--strict"});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("fruits.jpg' cannot be used: whose name is of no pair"));
}

TEST_F(CalibrationSets, CamerasOfDifferentSizesAreTheReasonThatIsSaid) {
    cv::Mat right;
    cv::resize(test::photo("right01.jpg"), right, {}, 0.5, 0.5, cv::INTER_AREA);
    cv::imwrite(folder / "right01.png", right);
    const ProgramResult run =
        stereoCalib({test::photoPath("left01.jpg"), folder / "right01.png"}, {});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("right01.png' cannot be used: 320 x 240 pixels, and not"));
}

TEST(PairNumbers, ThatDifferAreNamed) {
    EXPECT_THAT(host::numbersThatDiffer({"left01.jpg", "right01.jpg", "a/l7x.png", "b/r007y.png"}),
                IsEmpty());
    EXPECT_THAT(host::numbersThatDiffer({"first.jpg", "second.jpg"}), IsEmpty());
    EXPECT_THAT(host::numbersThatDiffer({"l1.jpg", "r1.jpg", "l2.jpg", "r3.jpg"}),
                ElementsAre(HasSubstr("'l2.jpg' and 'r3.jpg' do not match")));
    // One sentence if all are shifted by the same.
    EXPECT_THAT(host::numbersThatDiffer({"l1.jpg", "r2.jpg", "l2.jpg", "r3.jpg"}),
                ElementsAre(HasSubstr("the numbers of all pairs do not match")));
    EXPECT_THAT(host::numbersThatDiffer({"l12345678901234567890.jpg", "r1.jpg"}), IsEmpty());
}

TEST_F(CalibrationSets, WhatCannotBeReadWasNotSearched) {
    test::writeBytes(folder / "text.jpg", "not an image");
    const ProgramResult run = calib({test::photoPath("home.jpg"), folder / "text.jpg"});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("in any of the photographs; 1 could not be searched, '" +
                                   (folder / "text.jpg") +
                                   "' for example: not an image that can be read\n"));
}

} // namespace
