// The sub-command faces, run as a user runs it.
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>

namespace {

using nlohmann::json;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

class FacesCommand : public testing::Test {
protected:
    test::TempFolder folder;
    std::string out = folder / "out.png";
    std::string photo = test::photoPath("messi5.jpg");
};

TEST_F(FacesCommand, PrintsTextAndJsonAndDraws) {
    const ProgramResult text = tarvix({"faces", photo});
    EXPECT_EQ(text.status, 0) << text.err;
    const ProgramResult run = tarvix({"faces", photo, "--json", "--draw", out});
    EXPECT_EQ(run.status, 0) << run.err;
    const json faces = json::parse(run.out).at("faces");
    ASSERT_EQ(faces.size(), 1U);
    const auto side = [&](const char* name) { return faces[0].at(name).get<int>(); };
    EXPECT_EQ(text.out, std::to_string(side("left")) + "," + std::to_string(side("top")) + " " +
                            std::to_string(side("right")) + "," + std::to_string(side("bottom")) +
                            "\n");
    EXPECT_TRUE(side("left") < 246 && side("right") > 246);
    EXPECT_TRUE(side("top") < 110 && side("bottom") > 110);

    cv::Mat changed;
    cv::absdiff(cv::imread(out), cv::imread(photo), changed);
    cv::cvtColor(changed, changed, cv::COLOR_BGR2GRAY);
    const cv::Rect frame = cv::boundingRect(changed);
    EXPECT_NEAR(frame.x, side("left"), 2);
    EXPECT_NEAR(frame.y, side("top"), 2);
    EXPECT_NEAR(frame.br().x, side("right"), 2);
    EXPECT_NEAR(frame.br().y, side("bottom"), 2);
}

TEST_F(FacesCommand, NoFaceIsAnAnswer) {
    cv::imwrite(folder / "grey.png", cv::Mat(100, 100, CV_8UC3, cv::Scalar::all(99)));
    const ProgramResult text = tarvix({"faces", folder / "grey.png"});
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out, "");
    const ProgramResult run = tarvix({"faces", folder / "grey.png", "--json"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(json::parse(run.out), json::parse(R"({"faces": []})"));
}

TEST_F(FacesCommand, WithoutItsCascadeSaysSoInOneLine) {
    const std::string alone = test::copyProgram(TARVIX_PROGRAM, folder.path());
    const ProgramResult run = tarvix({"faces", photo, "-o", out}, alone);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("tarvix: OpenCV"));
    EXPECT_THAT(run.err, HasSubstr("empty"));
    EXPECT_FALSE(std::filesystem::exists(out));
}

} // namespace
