// The sub-commands calib, undistort, stereo-calib, rectify and measure, run as a user runs them.
#include "tests/calib/views.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/matrix_files.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#if __has_include(<xcb/xcb.h>)
#include "tests/support/environment.h"
#include "tests/support/x_server.h"
#endif

namespace {

using nlohmann::json;
using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> words(std::vector<std::string> first,
                               const std::vector<std::string>& more) {
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

class CalibCommands : public testing::Test {
protected:
    test::TempFolder folder;
    std::string out = folder / "out.png";
    std::string set = folder / "set";
    std::vector<std::string> mono =
        words(words({"calib"}, test::leftPhotos(3)), {"--board", "9x6", "-o", set});
    std::vector<std::string> stereo =
        words(words({"stereo-calib"}, test::pairPhotos(2)), {"--board", "9x6", "-o", set});
};

TEST_F(CalibCommands, CalibPrintsTheMatricesAndUndistortUsesThem) {
    const ProgramResult text = tarvix(mono);
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr("3 photographs"));
    EXPECT_THAT(text.out, HasSubstr("[1/3] left01.jpg: ")) << "what it is doing";
    EXPECT_THAT(text.out, HasSubstr("cam.xml"));
    const ProgramResult run = tarvix(words(mono, {"--json"}));
    ASSERT_EQ(run.status, 0) << run.err;
    const json matrices = json::parse(run.out);
    const cv::Mat camera = test::stored(set + "/cam.xml", "CameraMatrix");
    EXPECT_EQ(matrices.at("CameraMatrix")[0][0].get<double>(), camera.at<double>(0, 0));
    EXPECT_EQ(matrices.at("DistCoeffs")[0].size(), 5U);
    // What is judged is what the module has written.
    EXPECT_NEAR(matrices.at("parameters")[0].at("value").get<double>(), camera.at<double>(0, 0),
                1e-6);
    EXPECT_EQ(matrices.at("images").size(), 3U);
    EXPECT_EQ(matrices.at("images")[0].at("residuals").size(), 54U);
    EXPECT_LT(matrices.at("rms").get<double>(), 0.5);
    EXPECT_THAT(text.out, HasSubstr("mind: 3 images are too few to trust"));

    const std::string photo = test::pairPhoto("left", 12);
    ASSERT_EQ(tarvix({"undistort", photo, "-o", out, "--calib", set}).status, 0);
    EXPECT_EQ(cv::imread(out).size(), cv::Size(640, 480));
    EXPECT_THAT(cv::imread(out), testing::Not(test::IsIdenticalTo(cv::imread(photo))));
    ASSERT_EQ(tarvix({"undistort", photo, "-o", out, "--calib", set, "--gray"}).status, 0);
    EXPECT_EQ(cv::imread(out, cv::IMREAD_UNCHANGED).type(), CV_8UC1);
}

TEST_F(CalibCommands, AFolderOfPhotographs) {
    for (const std::string& file : test::leftPhotos(3)) {
        std::filesystem::copy(file, folder.path());
    }
    test::writeBytes(folder / "notes.txt", "not an image");
    const ProgramResult run = tarvix({"calib", folder.path(), "--board", "9x6", "-o", set});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("3 photographs"));
}

TEST_F(CalibCommands, TheFileWithoutABoardIsNamed) {
    mono.insert(mono.begin() + 3, test::photoPath("home.jpg"));
    mono.emplace_back("--strict");
    const ProgramResult run = tarvix(mono);
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("home.jpg' cannot be used: no board of 9 x 6"));
    EXPECT_THAT(run.err, Not(HasSubstr("left01.jpg")));
    EXPECT_FALSE(std::filesystem::exists(set));
    stereo[2] = test::photoPath("fruits.jpg");
    stereo.emplace_back("--strict");
    const ProgramResult pair = tarvix(stereo);
    expectOneLine(pair, 1);
    EXPECT_THAT(pair.err, HasSubstr("fruits.jpg"));
    const ProgramResult all = tarvix({"calib", test::photoPath("home.jpg"),
                                      test::photoPath("fruits.jpg"), "--board", "9x6", "-o", set});
    expectOneLine(all, 1);
    EXPECT_THAT(all.err, HasSubstr("in any of the photographs"));
}

TEST_F(CalibCommands, Failures) {
    expectOneLine(tarvix({"calib", folder / "no.jpg", "--board", "9x6", "-o", set}), 1);
    std::filesystem::create_directory(folder / "empty");
    expectOneLine(tarvix({"calib", folder / "empty", "--board", "9x6", "-o", set}), 1);
    expectOneLine(tarvix({"calib", test::pairPhoto("left", 1), "--board", "nine", "-o", set}), 2);
    expectOneLine(tarvix({"calib", "--board", "9x6", "-o", set}), 2);
    expectOneLine(tarvix({"stereo-calib", test::pairPhoto("left", 1), "--board", "9x6", "-o", set}),
                  2);
    const ProgramResult missing = tarvix({"stereo-calib", "none.jpg", "--board", "9x6", "-o", set});
    expectOneLine(missing, 1);
    EXPECT_THAT(missing.err, HasSubstr("no such file: 'none.jpg'"));
    expectOneLine(tarvix({"undistort", test::photoPath("home.jpg"), "-o", out, "--calib", set}), 1);
    expectOneLine(tarvix({"rectify", test::photoPath("home.jpg"), "-o", out, "--calib", set}), 1);
    expectOneLine(tarvix({"measure", "--calib", set, "--p1", "1,2", "--p2", "3,4"}), 1);
    expectOneLine(tarvix({"measure", "--calib", set, "--p1", "1;2", "--p2", "3,4"}), 2);
    test::writeBytes(folder / "cam.xml", "broken");
    test::writeBytes(folder / "dist.xml", "broken");
    const ProgramResult broken =
        tarvix({"undistort", test::photoPath("home.jpg"), "-o", out, "--calib", folder.path()});
    expectOneLine(broken, 1);
    EXPECT_THAT(broken.err, HasSubstr("OpenCV refuses this: "));
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(CalibCommands, StereoFromFilesListsAndAFolder) {
    const ProgramResult run = tarvix(words(stereo, {"--square", "25", "--json"}));
    ASSERT_EQ(run.status, 0) << run.err;
    const json matrices = json::parse(run.out);
    for (const char* key : {"MM1", "D1", "R1", "P1", "MM2", "D2", "R2", "P2"}) {
        EXPECT_TRUE(matrices.contains(key)) << key;
    }
    EXPECT_EQ(matrices.at("Q").size(), 4U);
    EXPECT_EQ(matrices.at("metric"), false);
    EXPECT_THAT(run.err, HasSubstr("tarvix: not metric: "));

    const auto photos = test::pairPhotos(2);
    const ProgramResult lists =
        tarvix({"stereo-calib", "--left", photos[0], photos[2], "--right", photos[1], photos[3],
                "--board", "9x6", "--square", "25", "-o", set, "--json"});
    ASSERT_EQ(lists.status, 0) << lists.err;
    EXPECT_EQ(lists.out, run.out);

    for (const std::string& photo : photos) {
        std::filesystem::copy(photo, folder.path());
    }
    const ProgramResult inside = tarvix(
        {"stereo-calib", folder.path(), "--board", "9x6", "--square", "25", "-o", set, "--json"});
    ASSERT_EQ(inside.status, 0) << inside.err;
    EXPECT_EQ(json::parse(inside.out).at("Q"), matrices.at("Q"));
}

TEST_F(CalibCommands, RectifyOneAndBothSideBySide) {
    ASSERT_EQ(tarvix(stereo).status, 0);
    const std::string left = test::pairPhoto("left", 1);
    const std::string right = test::pairPhoto("right", 1);
    ASSERT_EQ(tarvix({"rectify", right, "-o", out, "--calib", set, "--camera", "2"}).status, 0);
    const cv::Mat second = cv::imread(out);
    EXPECT_EQ(second.size(), cv::Size(640, 480));
    const ProgramResult both =
        tarvix({"rectify", left, "--right", right, "-o", out, "--calib", set});
    ASSERT_EQ(both.status, 0) << both.err;
    const cv::Mat pair = cv::imread(out);
    ASSERT_EQ(pair.size(), cv::Size(1280, 480));
    EXPECT_EQ(pair.at<cv::Vec3b>(30, 5), cv::Vec3b(60, 160, 255)); // the first line
    EXPECT_THAT(pair(cv::Rect(640, 0, 640, 29)),
                test::IsIdenticalTo(second(cv::Rect(0, 0, 640, 29))));
}

TEST_F(CalibCommands, EveryBadFileIsRefusedInOneLine) {
    ASSERT_EQ(tarvix(mono).status, 0);
    ASSERT_EQ(tarvix(stereo).status, 0);
    const std::string good = test::pairPhoto("left", 1);
    const std::string fresh = folder / "fresh";
    const std::vector<std::string> board = {"--board", "9x6", "-o", fresh, "--strict"};
    for (const std::vector<std::string>& command : {
             std::vector<std::string>{"undistort", "BAD", "-o", out, "--calib", set},
             {"rectify", "BAD", "-o", out, "--calib", set},
             {"rectify", good, "--right", "BAD", "-o", out, "--calib", set},
             {"undistort", good, "-o", out, "--calib", "BAD"},
             {"rectify", good, "-o", out, "--calib", "BAD"},
             {"measure", "--p1", "1,2", "--p2", "3,4", "--calib", "BAD"},
             words({"calib", good, "BAD"}, board),
             words({"stereo-calib", "BAD", good}, board),
             words({"stereo-calib", good, "BAD"}, board),
         }) {
        test::expectEveryBadFileRefused(command, folder, out);
        EXPECT_FALSE(std::filesystem::exists(fresh + "/cam.xml"));
        EXPECT_FALSE(std::filesystem::exists(fresh + "/Q.xml"));
    }
}

TEST_F(CalibCommands, MeasurePrintsTheUnit) {
    std::filesystem::create_directory(set);
    test::store(set + "/M1.xml", "MM1", 2 * cv::Mat::eye(3, 3, CV_64F));
    test::store(
        set + "/Q.xml", "Q",
        (cv::Mat_<double>(4, 4) << 1, 0, 0, -320, 0, 1, 0, -240, 0, 0, 0, 700, 0, 0, 0.1, 0));
    const ProgramResult text =
        tarvix({"measure", "--calib", set, "--p1", "400,250", "--p2", "380,250", "--unit", "mm"});
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out, "30 5 350 mm\n");
    const ProgramResult run =
        tarvix({"measure", "--calib", set, "--p1", "-5,0", "--p2", "-5,0", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(json::parse(run.out).at("z").is_null()); // infinitely far
    EXPECT_EQ(json::parse(run.out).at("metric"), true);
    EXPECT_THAT(run.err, HasSubstr("at infinity"));
}

TEST_F(CalibCommands, OnlyCameras1And2AreRectified) {
    ASSERT_EQ(tarvix(stereo).status, 0);
    for (const std::string camera : {"0", "3", "-7", "two"}) {
        const ProgramResult run = tarvix(
            {"rectify", test::pairPhoto("left", 1), "-o", out, "--calib", set, "--camera", camera});
        expectOneLine(run, 2);
        EXPECT_THAT(run.err, HasSubstr("'" + camera + "'"));
    }
}

#if __has_include(<xcb/xcb.h>)
TEST_F(CalibCommands, PreviewOpensAWindow) {
    const test::XServer server;
    const ProgramResult run = tarvix(words(mono, {"--preview"}));
    EXPECT_EQ(run.status, 0) << run.err;
}

TEST_F(CalibCommands, PreviewWithoutADisplayIsAFailure) {
    const test::ScopedEnvironment none("DISPLAY", std::nullopt);
    expectOneLine(tarvix(words(mono, {"--preview"})), 1);
}
#endif

} // namespace
