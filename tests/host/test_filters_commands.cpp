// The sub-commands lines and chessboard, run as a user runs them.
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/images.h"
#include "tests/support/pattern.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace {

using nlohmann::json;
using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

class FilterCommands : public testing::Test {
protected:
    test::TempFolder folder;
    std::string out = folder / "out.png";
};

TEST_F(FilterCommands, LinesAsTextJsonAndImage) {
    cv::Mat image(240, 320, CV_8UC3, cv::Scalar::all(230));
    cv::rectangle(image, {0, 100}, {319, 119}, {20, 20, 20}, cv::FILLED);
    cv::imwrite(folder / "bar.png", image);
    const ProgramResult text = tarvix({"lines", folder / "bar.png"});
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_THAT(text.out, test::LinesMatch("[0-9]+,[0-9]+ [0-9]+,[0-9]+"));

    const ProgramResult run = tarvix({"lines", folder / "bar.png", "--json", "-o", out});
    EXPECT_EQ(run.status, 0) << run.err;
    const json segments = json::parse(run.out).at("segments");
    EXPECT_EQ(static_cast<std::ptrdiff_t>(segments.size()),
              std::count(text.out.begin(), text.out.end(), '\n'));
    ASSERT_FALSE(segments.empty());
    EXPECT_EQ(segments[0].size(), 4U);
    EXPECT_NEAR(segments[0][1].get<double>(), 110, 12);
    const cv::Mat drawn = cv::imread(out);
    ASSERT_EQ(drawn.size(), image.size());
    cv::Mat red;
    cv::inRange(drawn, cv::Scalar(0, 0, 180), cv::Scalar(80, 80, 255), red);
    EXPECT_GT(cv::countNonZero(red), 100);
}

TEST_F(FilterCommands, NoLinesIsAnEmptyAnswerNotAFailure) {
    cv::imwrite(folder / "flat.png", cv::Mat(60, 80, CV_8UC3, cv::Scalar::all(99)));
    const ProgramResult text = tarvix({"lines", folder / "flat.png"});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out, "");
    EXPECT_TRUE(
        json::parse(tarvix({"lines", folder / "flat.png", "--json"}).out).at("segments").empty());
}

TEST_F(FilterCommands, ChessboardAsTextJsonAndImage) {
    const std::string board = test::photoPath("left01.jpg");
    const ProgramResult text = tarvix({"chessboard", board, "--board", "9x6", "-o", out});
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(std::count(text.out.begin(), text.out.end(), '\n'), 54);
    EXPECT_THAT(text.out, test::LinesMatch("[0-9]+\\.[0-9],[0-9]+\\.[0-9]"));
    EXPECT_EQ(cv::imread(out).size(), cv::Size(640, 480));

    const ProgramResult run = tarvix({"chessboard", board, "--board", "9x6", "--json"});
    const json answer = json::parse(run.out);
    EXPECT_EQ(answer.at("board"), json({9, 6}));
    ASSERT_EQ(answer.at("corners").size(), 54U);
    std::ostringstream again;
    again << std::fixed << std::setprecision(1);
    for (const json& corner : answer.at("corners")) {
        again << corner[0].get<double>() << ',' << corner[1].get<double>() << '\n';
    }
    EXPECT_EQ(again.str(), text.out);
}

TEST_F(FilterCommands, ChessboardFailuresAreOneLine) {
    const std::string home = test::photoPath("home.jpg");
    const ProgramResult none = tarvix({"chessboard", home, "--board", "9x6", "-o", out});
    expectOneLine(none, 1);
    EXPECT_THAT(none.err, HasSubstr("no chessboard of 9 x 6"));
    EXPECT_FALSE(std::filesystem::exists(out));
    expectOneLine(tarvix({"chessboard", home, "--board", "9x6", "--gray"}), 1);
    expectOneLine(tarvix({"chessboard", home, "--board", "1x1"}), 1);
    for (const char* bad : {"9", "9x", "x6", "9x6x2", "axb", "9 x 6", "99999999999x6"}) {
        expectOneLine(tarvix({"chessboard", home, "--board", bad}), 2);
    }
    expectOneLine(tarvix({"chessboard", home}), 2);
    std::ofstream(folder / "text.png") << "not an image\n";
    for (const std::string& bad : {folder / "text.png", folder / "missing.png", folder.path()}) {
        expectOneLine(tarvix({"chessboard", bad, "--board", "9x6"}), 1);
    }
}

} // namespace
