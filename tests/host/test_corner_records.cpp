// Corners that a batch recorded, in parts, and one calibration from all of them.
#include "tests/host/corner_records_test.h"
#include "tests/support/pattern.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using host::Json;
using test::expectOneLine;
using test::inProcess;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

class CornerRecords : public test::CornerRecordsTest {};

TEST_F(CornerRecords, OfShardsGiveTheSameCalibrationToTheLastBit) {
    copyPhotos(7);
    fs::copy(test::photoPath("home.jpg"), photos); // no board
    test::writeBytes(photos + "/text.jpg", "not an image");
    cv::Mat larger;
    cv::resize(test::photo("left05.jpg"), larger, {800, 600}, 0, 0, cv::INTER_CUBIC);
    cv::imwrite(photos + "/a-larger.png", larger);
    // Both take the same files of a folder.
    cv::imwrite(photos + "/left20.webp", test::photo("left12.jpg"));
    fs::copy(test::photoPath("left13.jpg"), photos + "/.left13.jpg");
    for (const char* part : {"1", "2"}) {
        const std::string shard = std::string(part) + "/2";
        const ProgramResult run =
            tarvix({"batch", "chessboard", photos, "--board", "9x6", "--for-calib", "--shard",
                    shard, "--jobs", "1", "--manifest", folder / (std::string(part) + ".jsonl")});
        EXPECT_NE(run.status, 2) << run.err;
    }
    const ProgramResult whole = tarvix(
        {"calib", photos, "--board", "9x6", "-o", folder / "whole", "--json", "--drop-worst", "1"});
    ASSERT_EQ(whole.status, 0) << whole.err;
    fs::rename(photos, folder / "elsewhere"); // they are not read again
    const ProgramResult parts =
        tarvix({"calib", "--from-corners", folder / "2.jsonl", folder / "1.jsonl", "--board", "9x6",
                "-o", set, "--json", "--drop-worst", "1"});
    ASSERT_EQ(parts.status, 0) << parts.err;
    EXPECT_EQ(test::bytesOf(set + "/cam.xml"), test::bytesOf(folder / "whole/cam.xml"));
    EXPECT_EQ(test::bytesOf(set + "/dist.xml"), test::bytesOf(folder / "whole/dist.xml"));
    EXPECT_EQ(parts.out, whole.out) << "everything that is said of it, to the last digit";
    EXPECT_EQ(parts.err, whole.err) << "and what was left out";
    EXPECT_EQ(Json::parse(parts.out).at("leftOut").size(), 3U);
}

TEST_F(CornerRecords, AreWhatCalibFindsAndNotWhatChessboardPrints) {
    const std::string photo = test::pairPhoto("left", 3);
    const auto corners = [&](const std::vector<std::string>& more) {
        std::vector<std::string> words = {"chessboard", photo, "--board", "9x6", "--json"};
        words.insert(words.end(), more.begin(), more.end());
        return Json::parse(inProcess(words).out);
    };
    const Json exact = corners({"--for-calib"});
    EXPECT_EQ(exact.at("imageSize"), Json({640, 480}));
    EXPECT_EQ(exact.at("corners").size(), 54U);
    EXPECT_NE(exact.at("corners"), corners({}).at("corners"));
    const ProgramResult calib = inProcess(
        {"calib", photo, test::pairPhoto("left", 1), "--board", "9x6", "-o", set, "--json"});
    ASSERT_EQ(calib.status, 0) << calib.err;
    EXPECT_EQ(exact.at("corners"), Json::parse(calib.out).at("images")[0].at("corners"));
    expectOneLine(inProcess({"chessboard", photo, "--board", "9x6", "--for-calib", "--gray"}), 2);
    const ProgramResult none =
        inProcess({"chessboard", test::photoPath("home.jpg"), "--board", "9x6", "--for-calib"});
    expectOneLine(none, 1);
    EXPECT_THAT(none.err, HasSubstr("home.jpg' cannot be used: no board of 9 x 6 inner corners"));
    expectOneLine(
        inProcess({"chessboard", folder / "missing.png", "--board", "9x6", "--for-calib"}), 1);
}

TEST_F(CornerRecords, AreToTheLastDigitInJson) {
    EXPECT_THAT(inProcess({"chessboard", "--help"}).out, HasSubstr("with --json or in a manifest"));
    const std::string photo = test::pairPhoto("left", 3);
    const ProgramResult text = inProcess({"chessboard", photo, "--board", "9x6", "--for-calib"});
    EXPECT_THAT(text.out, test::LinesMatch("[0-9]+[.][0-9],[0-9]+[.][0-9]"));
}

TEST_F(CornerRecords, ComeWithoutAnImage) {
    const std::vector<std::string> words = {
        "batch",       "chessboard", test::pairPhoto("left", 1), "--board", "9x6",
        "--for-calib", "--out",      folder / "{name}.png"};
    const ProgramResult run = inProcess(words);
    expectOneLine(run, 2);
    EXPECT_THAT(run.err, HasSubstr("with --for-calib, 'chessboard' writes no images"));
    EXPECT_TRUE(test::namesIn(folder.path()).empty());
}

TEST_F(CornerRecords, AreTakenInTheOrderOfTheNames) {
    record(manifest, {test::pairPhoto("left", 4), test::pairPhoto("left", 1)});
    record(folder / "more.jsonl", {test::pairPhoto("left", 2)});
    const ProgramResult run = fromCorners({folder / "*.jsonl"}, {"--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const Json images = Json::parse(run.out).at("images");
    ASSERT_EQ(images.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        const int number = i < 2 ? static_cast<int>(i) + 1 : 4;
        EXPECT_EQ(images[i].at("file"), test::pairPhoto("left", number));
    }
}

TEST_F(CornerRecords, ThatFailedAreLeftOutAndTheLastLineCounts) {
    record(manifest,
           {test::pairPhoto("left", 1), test::pairPhoto("left", 2), test::pairPhoto("left", 3)});
    const std::string good = test::bytesOf(manifest);
    rewrite([](Json& line) {
        line["status"] = "failed";
        line["data"] = nullptr;
        line["message"] = "it took longer than 5 s";
    });
    const std::string failed = test::bytesOf(manifest);
    const ProgramResult nothing = fromCorners({manifest});
    expectOneLine(nothing, 1);
    EXPECT_THAT(nothing.err, HasSubstr("left01.jpg' cannot be used: it took longer than 5 s\n"));
    test::writeBytes(manifest, failed + good); // tried again
    const ProgramResult whole = fromCorners({manifest});
    EXPECT_EQ(whole.status, 0);
    EXPECT_EQ(whole.err, "");
    // One failed in the end.
    test::writeBytes(manifest, good + failed.substr(0, failed.find('\n') + 1));
    const ProgramResult rest = fromCorners({manifest});
    EXPECT_EQ(rest.status, 0);
    EXPECT_EQ(rest.err,
              "tarvix: left out '" + test::pairPhoto("left", 1) + "': it took longer than 5 s\n");
    const ProgramResult strict = fromCorners({manifest}, {"--strict"});
    expectOneLine(strict, 1);
    EXPECT_THAT(strict.err, HasSubstr("cannot be used: it took longer"));
}

TEST_F(CornerRecords, MakeTheReportAndTheFileForOtherTools) {
    record(manifest,
           {test::pairPhoto("left", 1), test::pairPhoto("left", 2), test::pairPhoto("left", 3)});
    const ProgramResult run = fromCorners(
        {manifest}, {"--report", folder / "report.html", "--export", folder / "camera.yml"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(test::bytesOf(folder / "report.html"), HasSubstr("--from-corners"));
    EXPECT_THAT(test::bytesOf(folder / "camera.yml"), HasSubstr("camera_matrix"));
}

TEST_F(CornerRecords, SayThatSquaresWereCounted) {
    const ProgramResult counted =
        inProcess({"chessboard", test::pairPhoto("left", 1), "--board", "10x7", "--for-calib"});
    expectOneLine(counted, 1);
    const std::string hint =
        ": a board of 9 x 6 is there; --board counts inner corners, not squares";
    EXPECT_THAT(counted.err, HasSubstr("no board of 10 x 7 inner corners" + hint));
    // The photographs need not be there any more.
    record(manifest,
           {test::pairPhoto("left", 1), test::pairPhoto("left", 2), test::pairPhoto("left", 3)});
    const std::string good = test::bytesOf(manifest);
    const auto fail = [&](Json& line, const std::string& reason) {
        line["status"] = "failed";
        line["data"] = nullptr;
        line["message"] = "'x' cannot be used: " + reason;
    };
    const std::string missing = "no board of 9 x 6 inner corners";
    rewrite([&](Json& line) { fail(line, missing + (line["number"] == 2 ? hint : "")); });
    const ProgramResult none = fromCorners({manifest});
    expectOneLine(none, 1);
    EXPECT_THAT(none.err, HasSubstr(missing + " in any of the photographs" + hint + "\n"));
    // If others can be used, the photograph has the reason that calib gives.
    test::writeBytes(manifest, good);
    rewrite([&](Json& line) {
        if (line["number"] == 2) {
            fail(line, missing + hint);
        }
    });
    EXPECT_EQ(fromCorners({manifest}).err,
              "tarvix: left out '" + test::pairPhoto("left", 2) + "': " + missing + "\n");
    // One that was not searched is none without a board.
    rewrite(
        [&](Json& line) { fail(line, line["number"] == 2 ? "it took longer than 5 s" : missing); });
    EXPECT_THAT(fromCorners({manifest}).err,
                HasSubstr(missing + " in any of the photographs; 1 could not be searched, '" +
                          test::pairPhoto("left", 2) + "' for example: it took longer than 5 s\n"));
}

} // namespace
