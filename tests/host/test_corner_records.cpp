// Corners that a batch recorded, in parts, and one calibration from all of them.
#include "tests/calib/views.h"
#include "tests/host/in_process.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"

#include "host/result.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <functional>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using host::Json;
using test::expectOneLine;
using test::inProcess;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

class CornerRecords : public testing::Test {
protected:
    void copyPhotos(int count) {
        fs::create_directories(photos);
        for (const std::string& file : test::leftPhotos(count)) {
            fs::copy(file, photos);
        }
    }
    // Records the corners of photographs in a manifest, without workers: quick.
    static void record(const std::string& path, const std::vector<std::string>& names,
                       const std::string& board = "9x6") {
        std::string text;
        for (const std::string& name : names) {
            const ProgramResult run =
                inProcess({"chessboard", name, "--board", board, "--for-calib", "--json"});
            ASSERT_EQ(run.status, 0) << run.err;
            const Json line = {{"status", "done"},
                               {"input", name},
                               {"number", 1},
                               {"of", names.size()},
                               {"data", Json::parse(run.out)},
                               {"operation", {"chessboard", "--board", board, "--for-calib"}},
                               {"version", host::programVersion()},
                               {"key", "0"}};
            text += line.dump() + "\n";
        }
        test::writeBytes(path, text);
    }
    ProgramResult fromCorners(std::vector<std::string> words,
                              const std::vector<std::string>& more = {}) {
        words.insert(words.begin(), {"calib", "--from-corners"});
        words.insert(words.end(), {"--board", "9x6", "-o", set});
        words.insert(words.end(), more.begin(), more.end());
        return inProcess(words);
    }
    // The same manifest with each line changed.
    void rewrite(const std::function<void(Json& record)>& change) {
        std::istringstream lines(test::bytesOf(manifest));
        std::string text;
        for (std::string line; std::getline(lines, line);) {
            Json record = Json::parse(line);
            change(record);
            text += record.dump() + "\n";
        }
        test::writeBytes(manifest, text);
    }

    test::TempFolder folder;
    std::string photos = folder / "photos";
    std::string manifest = folder / "corners.jsonl";
    std::string set = folder / "set";
};

TEST_F(CornerRecords, OfShardsGiveTheSameCalibrationToTheLastBit) {
    copyPhotos(7);
    fs::copy(test::photoPath("home.jpg"), photos); // no board
    test::writeBytes(photos + "/text.jpg", "not an image");
    cv::Mat larger;
    cv::resize(test::photo("left05.jpg"), larger, {800, 600}, 0, 0, cv::INTER_CUBIC);
    cv::imwrite(photos + "/a-larger.png", larger);
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

TEST_F(CornerRecords, ThatAreNotOfThisCalibrationAreRefused) {
    const std::string photo = test::pairPhoto("left", 1);
    record(manifest, {photo});
    const auto expectRefused = [&](const ProgramResult& run, const std::string& why) {
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr(why));
        EXPECT_FALSE(fs::exists(set));
    };
    // Twice the same photograph.
    fs::copy(manifest, folder / "again.jsonl");
    expectRefused(fromCorners({manifest, folder / "again.jsonl"}),
                  "'" + photo + "' is in two manifests");
    // Another board.
    record(folder / "smaller.jsonl", {test::pairPhoto("left", 2)}, "8x6");
    expectRefused(fromCorners({manifest, folder / "smaller.jsonl"}),
                  "it is of a board of 8 x 6 inner corners, not of 9 x 6");
    // Another operation, another file, none.
    const std::string good = test::bytesOf(manifest);
    rewrite([](Json& line) { line["operation"] = {"chessboard", "--board", "9x6"}; });
    expectRefused(fromCorners({manifest}), "is not of tarvix batch chessboard --for-calib: see");
    test::writeBytes(manifest, "{}\n");
    expectRefused(fromCorners({manifest}), "is not of tarvix batch chessboard --for-calib");
    test::writeBytes(manifest, "not a manifest\n");
    expectRefused(fromCorners({manifest}), "have no lines, so there are no corners");
    expectRefused(fromCorners({folder / "missing.jsonl"}), "cannot be read");
    // Lines that make no sense.
    const std::vector<std::function<void(Json & data)>> changes = {
        [](Json& data) { data["corners"].erase(0); },
        [](Json& data) {
            data["corners"][5] = {1e300, 2};
        },
        [](Json& data) { data["corners"][5] = "x"; },
        [](Json& data) {
            data["imageSize"] = {0, 480};
        },
        [](Json& data) {
            data["imageSize"] = {640.5, 480};
        },
        [](Json& data) { data["search"] = "otherwise"; },
        [](Json& data) { data.erase("board"); },
        [](Json& data) { data = nullptr; }};
    for (const auto& change : changes) {
        test::writeBytes(manifest, good);
        rewrite([&](Json& line) { change(line["data"]); });
        expectRefused(fromCorners({manifest}), "the corners of '" + photo + "' in '");
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
    expectOneLine(fromCorners({manifest}), 1); // nothing is left
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

TEST_F(CornerRecords, SayWhatIsDoubtful) {
    record(manifest, {test::pairPhoto("left", 1), test::pairPhoto("left", 2)});
    rewrite([](Json& line) { line["of"] = 5; });
    EXPECT_THAT(fromCorners({manifest}).err,
                HasSubstr("the batch has 5 photographs, and the manifests have 2 of them"));
    rewrite([](Json& line) {
        line["of"] = 2;
        line["version"] = "Tarvix 0.1";
    });
    EXPECT_THAT(fromCorners({manifest}).err, HasSubstr("corners were found by Tarvix 0.1, and"));
    rewrite([](Json& line) { line["version"] = host::programVersion(); });
    const std::string whole = test::bytesOf(manifest);
    test::writeBytes(manifest, whole + whole.substr(0, 99));
    EXPECT_THAT(fromCorners({manifest}).err, HasSubstr("1 lines of the manifests were cut off"));
}

TEST_F(CornerRecords, AreNotReplacedAndNotMixedWithPhotographs) {
    const std::string photo = test::pairPhoto("left", 1);
    record(manifest, {photo, test::pairPhoto("left", 2)});
    const std::string before = test::bytesOf(manifest);
    expectOneLine(fromCorners({folder / "*.jsonl"}, {"--report", manifest}), 1);
    EXPECT_EQ(test::bytesOf(manifest), before);
    expectOneLine(fromCorners({manifest}, {"--preview"}), 2);
    expectOneLine(
        inProcess({"calib", photo, "--from-corners", manifest, "--board", "9x6", "-o", set}), 2);
    expectOneLine(inProcess({"calib", "--board", "9x6", "-o", set}), 2);
    EXPECT_FALSE(fs::exists(set));
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

} // namespace
