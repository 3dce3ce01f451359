// The sub-command converge: corners in any order, what it says of them, canvases, corrections in
// files.
#include "tests/assist/quads.h"
#include "tests/host/in_process.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <iomanip>
#include <sstream>

namespace {

using nlohmann::json;
using tarvix::Quad;
using test::inProcess;
using test::ProgramResult;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string shown(const cv::Point2d& point) {
    std::ostringstream text;
    text << std::setprecision(17) << point.x << ',' << point.y;
    return text.str();
}

std::vector<std::string> codesOf(const json& data) {
    std::vector<std::string> codes;
    for (const json& remark : data.at("remarks")) {
        codes.push_back(remark.at("code"));
    }
    return codes;
}

class Converge : public testing::Test {
protected:
    // The words of a run on that image.
    [[nodiscard]] std::vector<std::string> words(const std::string& image, const Quad& corners,
                                                 const std::vector<std::string>& more = {}) const {
        std::vector<std::string> line = {"converge", image, "-o", out, "--corners"};
        for (const cv::Point2d& p : corners) {
            line.push_back(shown(p));
        }
        line.insert(line.end(), more.begin(), more.end());
        return line;
    }
    // The data of a run that must succeed.
    static json dataOf(std::vector<std::string> line) {
        line.emplace_back("--json");
        const ProgramResult run = inProcess(line);
        EXPECT_EQ(run.status, 0) << run.err;
        return json::parse(run.out);
    }
    [[nodiscard]] cv::Mat result() const { return cv::imread(out, cv::IMREAD_UNCHANGED); }

    test::TempFolder folder;
    std::string out = folder / "out.png";
    std::string sudoku = test::photoPath("sudoku.png");
    std::string building = test::photoPath("building.jpg");
    Quad sheet = {cv::Point2d(73, 85.5), {491, 69.5}, {520, 520.5}, {35.5, 515.5}};
    Quad facade = {cv::Point2d(193.5, 302), {778, 52}, {797, 299}, {192.5, 422}};
};

// Photographs with the corners of a rectangle in them, marked by hand.
struct MarkedPhotograph {
    const char* name;
    Quad corners;
};

class EveryOrder : public Converge, public testing::WithParamInterface<MarkedPhotograph> {};

TEST_P(EveryOrder, GivesTheSameResultToTheBit) {
    const auto& [name, corners] = GetParam();
    const std::string photo = test::photoPath(name);
    out = folder / "out.bmp"; // quick to write
    const ProgramResult expected = inProcess(words(photo, corners, {"--json", "--crop"}));
    ASSERT_EQ(expected.status, 0) << expected.err;
    const std::string bytes = test::bytesOf(out);
    ASSERT_FALSE(bytes.empty());
    for (const Quad& order : test::allOrders(corners)) {
        const ProgramResult run = inProcess(words(photo, order, {"--json", "--crop"}));
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, expected.out);
        EXPECT_EQ(test::bytesOf(out), bytes) << "of the image";
    }
}

INSTANTIATE_TEST_SUITE_P(
    OfHandMarkedPhotographs, EveryOrder,
    testing::Values(
        MarkedPhotograph{"sudoku.png",
                         {cv::Point2d(73, 85.5), {491, 69.5}, {520, 520.5}, {35.5, 515.5}}},
        MarkedPhotograph{"building.jpg",
                         {cv::Point2d(193.5, 302), {778, 52}, {797, 299}, {192.5, 422}}},
        MarkedPhotograph{"home.jpg", {cv::Point2d(370, 300), {435, 280}, {443, 345}, {378, 357}}},
        MarkedPhotograph{"graf1.png", {cv::Point2d(150, 120), {650, 100}, {640, 520}, {140, 540}}},
        MarkedPhotograph{
            "graf3.png",
            {cv::Point2d(289.6, 90.4), {565.1, 197.6}, {459.7, 547.2}, {164.2, 497.3}}},
        MarkedPhotograph{"cards.png", {cv::Point2d(171, 78), {258, 76}, {258, 203}, {171, 203}}},
        MarkedPhotograph{"box_in_scene.png",
                         {cv::Point2d(117, 167), {302, 202}, {270, 310}, {99, 264}}},
        MarkedPhotograph{"left05.jpg", {cv::Point2d(200, 83), {475, 26}, {623, 373}, {238, 473}}},
        MarkedPhotograph{"right07.jpg", {cv::Point2d(110, 102), {279, 140}, {198, 379}, {27, 343}}},
        MarkedPhotograph{"stuff.jpg", {cv::Point2d(319, 317), {355, 317}, {354, 459}, {319, 455}}},
        MarkedPhotograph{"licenseplate_motion.jpg",
                         {cv::Point2d(232, 236), {347, 235}, {347, 300}, {232, 295}}},
        MarkedPhotograph{"board.jpg",
                         {cv::Point2d(353, 312), {494, 318}, {490, 434}, {348, 422}}}));

TEST_F(Converge, AsGivenIsTheExportsPlainBehaviour) {
    const Quad crossed = {sheet[0], sheet[2], sheet[1], sheet[3]};
    const json plain = dataOf(words(sudoku, crossed, {"--as-given"}));
    EXPECT_EQ(plain.at("marked")[1], json::array({520.0, 520.5}));
    EXPECT_GT(plain.at("missed_right_angles_deg"), 10);
    EXPECT_THAT(codesOf(plain), Contains("not-a-rectangle"));
    const json sorted = dataOf(words(sudoku, crossed));
    EXPECT_EQ(sorted.at("marked")[1], json::array({491.0, 69.5}));
    const Quad line = {cv::Point2d(100, 100), {200, 200}, {300, 300}, {400, 400}};
    const json white = dataOf(words(sudoku, line, {"--as-given"}));
    EXPECT_THAT(codesOf(white), Contains("refused"));
    EXPECT_EQ(cv::countNonZero(result().reshape(1) != 255), 0);
}

TEST_F(Converge, WhatNoRectangleHasIsRefusedInOneSentence) {
    const Quad line = {cv::Point2d(100, 100), {200, 200}, {300, 300}, {400, 400}};
    const Quad twice = {sheet[0], sheet[1], sheet[2], sheet[1]};
    const Quad concave = {sheet[0], sheet[1], {300, 150}, sheet[3]};
    for (const Quad& bad : {line, twice, concave}) {
        const std::string said = inProcess(words(sudoku, bad)).err;
        EXPECT_THAT(said, HasSubstr("; mark the four corners of a rectangle"));
        for (const Quad& order : test::allOrders(bad)) {
            const ProgramResult run = inProcess(words(sudoku, order));
            EXPECT_EQ(run.status, 1);
            EXPECT_EQ(run.err, said);
        }
    }
    EXPECT_THAT(test::namesIn(folder.path()), IsEmpty());
}

TEST_F(Converge, SaysWhatIsDoubtful) {
    EXPECT_THAT(codesOf(dataOf(words(sudoku, sheet))), Not(Contains("not-a-rectangle")));
    const Quad box = {cv::Point2d(100, 80), {500, 80}, {500, 380}, {100, 380}};
    EXPECT_THAT(codesOf(dataOf(words(sudoku, box))), ElementsAre("focal-open", "no-correction"));
    // A lens longer than the search tries.
    const test::View tele{
        .image = {868, 600}, .focalMm = 120, .aboutX = 30, .aboutY = 35, .centre = {0, 0, 14}};
    EXPECT_THAT(codesOf(dataOf(words(building, test::seen(tele)))), Contains("search-rim"));
    EXPECT_THAT(codesOf(dataOf(words(building, test::seen(tele), {"--focal", "120"}))),
                Not(Contains("search-rim")));
    EXPECT_THAT(codesOf(dataOf(words(sudoku, sheet, {"--offset", "300,0"}))), Contains("cut-off"));
    EXPECT_THAT(codesOf(dataOf(words(sudoku, sheet, {"--focal", "9"}))),
                Contains("not-a-rectangle"));
    const ProgramResult text = inProcess(words(sudoku, sheet, {"--offset", "300,0"}));
    EXPECT_THAT(text.out, HasSubstr("\nnote: the corrected corners leave the image"));
    EXPECT_THAT(text.out, HasSubstr(" mm, searched\nright angles missed by "));
}

TEST_F(Converge, PitchOnlyIsJudgedByAllAngles) {
    const json all = dataOf(words(building, facade));
    const json pitch = dataOf(words(building, facade, {"--pitch-only"}));
    EXPECT_EQ(pitch.at("missed_right_angles_deg"), all.at("missed_right_angles_deg"));
    EXPECT_NE(pitch.at("corners"), all.at("corners"));
}

TEST_F(Converge, AFocalLengthWithoutAPoseIsAFailure) {
    const ProgramResult run = inProcess(words(sudoku, sheet, {"--focal", "0.01"}));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("no pose was found"));
}

// The rectangle, drawn by its pose, comes out at its own proportions and filled to its edges.
TEST_F(Converge, CropCutsOutTheRectangleWithItsTrueProportions) {
    const test::View view{.aboutX = 25, .aboutY = 30, .aboutZ = 4, .rectangle = {4.2, 2.97}};
    const Quad corners = test::seen(view);
    cv::Mat photo(480, 640, CV_8UC3, cv::Scalar(200, 60, 30));
    std::vector<cv::Point> polygon;
    for (const cv::Point2d& p : corners) {
        polygon.emplace_back(cvRound(p.x), cvRound(p.y));
    }
    cv::fillConvexPoly(photo, polygon, {250, 250, 250});
    cv::imwrite(folder / "photo.png", photo);
    const json data = dataOf(words(folder / "photo.png", corners, {"--crop", "--focal", "35"}));
    const cv::Mat cut = result();
    EXPECT_EQ(cut.cols, data.at("width"));
    EXPECT_NEAR(static_cast<double>(cut.cols) / cut.rows, 4.2 / 2.97, 0.01 * 4.2 / 2.97);
    EXPECT_GE(cut.cols + 1, cv::norm(corners[1] - corners[0]));
    EXPECT_GE(cut.rows + 1, cv::norm(corners[3] - corners[0]));
    cv::Mat inside;
    cv::inRange(cut(cv::Rect(3, 3, cut.cols - 6, cut.rows - 6)), cv::Scalar(249, 249, 249),
                cv::Scalar(255, 255, 255), inside);
    EXPECT_EQ(cv::countNonZero(inside), inside.size().area());
    const json half =
        dataOf(words(folder / "photo.png", corners, {"--crop", "--focal", "35", "--scale", "0.5"}));
    EXPECT_NEAR(half.at("width").get<double>(), cut.cols / 2.0, 1);
    EXPECT_THAT(codesOf(half), IsEmpty());
}

TEST_F(Converge, FitCutsNothingOff) {
    const json data = dataOf(words(sudoku, sheet, {"--fit"}));
    const cv::Mat fitted = result();
    EXPECT_GT(fitted.cols, 558);
    EXPECT_EQ(fitted.cols, data.at("width"));
    EXPECT_THAT(codesOf(data), Not(Contains("cut-off")));
    const Quad box = {cv::Point2d(100, 80), {500, 80}, {500, 380}, {100, 380}};
    dataOf(words(sudoku, box, {"--fit", "--focal", "35"}));
    EXPECT_NEAR(result().cols, test::photo("sudoku.png").cols, 1);
    const Quad floor = test::seen({.image = {558, 563}, .focalMm = 18, .aboutX = -60});
    const ProgramResult run = inProcess(words(sudoku, floor, {"--fit", "--focal", "18"}));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("the horizon of the rectangle crosses the image"));
}

TEST_F(Converge, ACanvasManyTimesTheImageIsRefused) {
    const ProgramResult run = inProcess(words(sudoku, sheet, {"--crop", "--scale", "50"}));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("more than 16 times those of the image"));
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(Converge, ASavedCorrectionIsAppliedToTheBit) {
    const std::string file = folder / "sheet.json";
    const json found = dataOf(words(sudoku, sheet, {"--save", file}));
    const cv::Mat expected = result();
    const std::vector<std::string> apply = {"converge", sudoku, "-o", out, "--apply", file};
    const json again = dataOf(apply);
    EXPECT_THAT(result(), test::IsIdenticalTo(expected));
    EXPECT_EQ(again.at("corners"), found.at("corners"));
    EXPECT_EQ(again.at("focal_mm"), found.at("focal_mm"));
    EXPECT_EQ(again.at("focal_source"), "from the correction");
    dataOf(words(sudoku, sheet, {"--crop"}));
    const cv::Mat cut = result();
    std::vector<std::string> cropped = apply;
    cropped.emplace_back("--crop");
    dataOf(cropped);
    EXPECT_THAT(result(), test::IsIdenticalTo(cut));
}

TEST_F(Converge, ASavedCorrectionIsCutOutAtItsScale) {
    const std::string file = folder / "sheet.json";
    dataOf(words(sudoku, sheet, {"--scale", "2", "--save", file, "--crop"}));
    const cv::Mat cut = result();
    dataOf({"converge", sudoku, "-o", out, "--apply", file, "--crop"});
    EXPECT_THAT(result(), test::IsIdenticalTo(cut));
}

TEST_F(Converge, ASavedCorrectionOfTheVerticalsOnlyIsNotCutOut) {
    const std::string file = folder / "sheet.json";
    dataOf(words(sudoku, sheet, {"--pitch-only", "--save", file}));
    const ProgramResult run =
        inProcess({"converge", sudoku, "-o", folder / "cut.png", "--apply", file, "--crop"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("straightens the verticals only"));
    EXPECT_FALSE(std::filesystem::exists(folder / "cut.png"));
}

TEST_F(Converge, NumbersBeyondAllSenseAreBadUsage) {
    for (const auto& [option, value] :
         {std::pair("--scale", "1e-300"), std::pair("--scale", "1e300"),
          std::pair("--offset", "1e300,0"), std::pair("--offset", "0,-2e6")}) {
        EXPECT_EQ(inProcess(words(sudoku, sheet, {std::string(option) + "=" + value})).status, 2)
            << value;
    }
    EXPECT_FALSE(std::filesystem::exists(out));
    const Quad line = {cv::Point2d(100, 100), {200, 200}, {300, 300}, {400, 400}};
    EXPECT_THAT(inProcess(words(sudoku, line, {"--as-given", "--crop"})).err,
                HasSubstr("nothing can be cut out"));
}

TEST_F(Converge, ASavedCorrectionFitsAnotherResolution) {
    const std::string file = folder / "sheet.json";
    const json found = dataOf(words(sudoku, sheet, {"--save", file}));
    cv::Mat twice;
    cv::resize(test::photo("sudoku.png"), twice, {}, 2, 2, cv::INTER_LINEAR);
    cv::imwrite(folder / "twice.png", twice);
    const json data = dataOf({"converge", folder / "twice.png", "-o", out, "--apply", file});
    EXPECT_NEAR(data.at("corners")[2][0].get<double>(), 2 * found.at("corners")[2][0].get<double>(),
                1e-9);
    EXPECT_EQ(result().size(), twice.size());
    const ProgramResult other = inProcess({"converge", building, "-o", out, "--apply", file});
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.err, HasSubstr("is for images of the shape 558 x 563, and '"));
}

TEST_F(Converge, WhatIsNotACorrectionIsRefused) {
    const std::string file = folder / "sheet.json";
    dataOf(words(sudoku, sheet, {"--save", file}));
    const std::string good = test::bytesOf(file);
    const auto with = [](std::string text, const std::string& was, const std::string& is) {
        return text.replace(text.find(was), was.size(), is);
    };
    const std::string inside = with(with(good, "520.0", "200.0"), "520.5", "200.0");
    for (const std::string& bad :
         {std::string(), std::string("{}"), std::string("[1, 2]"), std::string("not JSON"),
          good.substr(0, good.size() / 2), with(good, "520.5", "null"), inside,
          with(good, ": 1,", ": 2,"), with(good, ": 558,", ": 0,")}) {
        test::writeBytes(folder / "bad.json", bad);
        const ProgramResult run =
            inProcess({"converge", sudoku, "-o", out, "--apply", folder / "bad.json"});
        EXPECT_EQ(run.status, 1) << bad;
        EXPECT_THAT(run.err, HasSubstr("is not a correction that converge --save wrote")) << bad;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1);
    }
    const ProgramResult missing =
        inProcess({"converge", sudoku, "-o", out, "--apply", folder / "missing.json"});
    EXPECT_THAT(missing.err, HasSubstr("no such file: '"));
    const Quad line = {cv::Point2d(100, 100), {200, 200}, {300, 300}, {400, 400}};
    const ProgramResult unsaved =
        inProcess(words(sudoku, line, {"--as-given", "--save", folder / "line.json"}));
    EXPECT_EQ(unsaved.status, 1);
    EXPECT_THAT(unsaved.err, HasSubstr("are not saved"));
}

TEST_F(Converge, AutoProposesScoresAndCutsOut) {
    const json data = dataOf({"converge", sudoku, "-o", out, "--auto", "--crop"});
    const json& proposals = data.at("proposals");
    ASSERT_FALSE(proposals.empty());
    EXPECT_EQ(data.at("marked"), proposals[0].at("corners"));
    EXPECT_GT(proposals[0].at("score"), 0.7);
    // The grid's lower corners, as they are marked by hand. Above the upper ones is a heading.
    for (const std::size_t i : {2U, 3U}) {
        const json& corner = data.at("marked")[i];
        EXPECT_LE(cv::norm(cv::Point2d(corner[0], corner[1]) - sheet[i]), 0.02 * 793);
    }
    EXPECT_EQ(result().cols, data.at("width"));
    const ProgramResult text = inProcess({"converge", sudoku, "-o", out, "--auto"});
    EXPECT_THAT(text.out, HasSubstr("\nproposed as a "));
}

TEST_F(Converge, AutoWithoutARectangleIsAFailure) {
    cv::imwrite(folder / "noise.png", test::noise(120, 160, CV_8UC3));
    const ProgramResult run = inProcess({"converge", folder / "noise.png", "-o", out, "--auto"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("no rectangle stands out in '"));
    EXPECT_FALSE(std::filesystem::exists(out));
    EXPECT_EQ(inProcess(words(sudoku, sheet, {"--auto"})).status, 2);
}

TEST_F(Converge, ContradictionsAreBadUsage) {
    const std::string file = folder / "sheet.json";
    for (const std::vector<std::string>& line :
         {std::vector<std::string>{"converge", sudoku, "-o", out},
          words(sudoku, sheet, {"--apply", file}), words(sudoku, sheet, {"--crop", "--fit"}),
          words(sudoku, sheet, {"--crop", "--pitch-only"}),
          words(sudoku, sheet, {"--crop", "--offset", "1,1"}),
          std::vector<std::string>{"converge", sudoku, "-o", out, "--apply", file, "--focal", "30"},
          std::vector<std::string>{"converge", sudoku, "-o", out, "--apply", file, "--as-given"}}) {
        const ProgramResult run = inProcess(line);
        EXPECT_EQ(run.status, 2) << run.out;
        EXPECT_THAT(run.err, HasSubstr("--help shows the usage"));
    }
}

} // namespace
