// Which manifests of recorded corners make no calibration, and what is said of doubtful ones.
#include "tests/host/corner_records_test.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>

namespace {

namespace fs = std::filesystem;
using host::Json;
using test::expectOneLine;
using test::inProcess;
using test::ProgramResult;
using testing::HasSubstr;

class CornerManifests : public test::CornerRecordsTest {};

TEST_F(CornerManifests, ThatAreNotOfThisCalibrationAreRefused) {
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
    const std::string good = test::bytesOf(manifest);
    rewrite([](Json& line) { // searched for another board, and not found
        line["status"] = "failed";
        line["data"] = nullptr;
        line["operation"] = {"chessboard", "--board", "8x6", "--for-calib"};
    });
    record(folder / "others.jsonl", {test::pairPhoto("left", 2), test::pairPhoto("left", 3)});
    expectRefused(fromCorners({manifest, folder / "others.jsonl"}),
                  "it is of a board of 8 x 6 inner corners, not of 9 x 6");
    test::writeBytes(manifest, good);
    // Another operation, another file, none.
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

TEST_F(CornerManifests, SayWhatIsDoubtful) {
    record(manifest, {test::pairPhoto("left", 1), test::pairPhoto("left", 2)});
    rewrite([](Json& line) { line["of"] = 5; });
    EXPECT_THAT(fromCorners({manifest}).err,
                HasSubstr("a batch has 5 photographs, and the manifests have 2 of them"));
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

TEST_F(CornerManifests, OfSeveralBatchesMissTheirPartsEach) {
    record(manifest, {test::pairPhoto("left", 1), test::pairPhoto("left", 2)});
    rewrite([](Json& line) { line["of"] = 3; });
    record(folder / "more.jsonl", {test::pairPhoto("left", 3), test::pairPhoto("left", 4),
                                   test::pairPhoto("left", 5), test::pairPhoto("left", 6)});
    const ProgramResult run = fromCorners({manifest, folder / "more.jsonl"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "tarvix: a batch has 3 photographs, and the manifests have 2 of them; "
                       "is a part missing?\n");
    // Two photographs have been added since the first line was written; the other one is known.
    record(manifest, {test::pairPhoto("left", 1), test::pairPhoto("left", 2)});
    const std::string before = test::bytesOf(manifest);
    rewrite([](Json& line) { line["of"] = 3; });
    test::writeBytes(manifest, before.substr(0, before.find('\n') + 1) + test::bytesOf(manifest));
    EXPECT_EQ(fromCorners({manifest}).err, run.err);
}

TEST_F(CornerManifests, MustNotCountAnImageTwice) {
    copyPhotos(3);
    record(manifest, {photos + "/left01.jpg", photos + "/left02.jpg"});
    const std::string again = folder.path() + "/./photos/left01.jpg";
    record(folder / "again.jsonl", {again, photos + "/left03.jpg"});
    const ProgramResult twice = fromCorners({manifest, folder / "again.jsonl"});
    expectOneLine(twice, 1);
    EXPECT_THAT(twice.err, HasSubstr("'" + photos + "/left01.jpg' and '" + again +
                                     "' are the same image; leave one of them out"));
    EXPECT_FALSE(fs::exists(set));
    // Lines without a hash say nothing of that, nor do those that failed.
    const std::string good = test::bytesOf(manifest);
    rewrite([](Json& line) { line["hash"] = nullptr; });
    EXPECT_EQ(fromCorners({manifest, folder / "again.jsonl"}).status, 0);
    test::writeBytes(manifest, good);
    rewrite([&](Json& line) {
        line["status"] = line["input"] == photos + "/left01.jpg" ? "failed" : "done";
    });
    EXPECT_EQ(fromCorners({manifest, folder / "again.jsonl"}).status, 0);
    // A copy in one folder counts for calib, too.
    fs::copy(photos + "/left01.jpg", photos + "/left04.jpg");
    record(manifest, {photos + "/left01.jpg", photos + "/left02.jpg", photos + "/left04.jpg"});
    EXPECT_EQ(fromCorners({manifest}).status, 0);
}

TEST_F(CornerManifests, DoNotCostAPhotograph) {
    copyPhotos(2);
    const std::string photo = photos + "/left01.jpg";
    record(manifest, {photo, photos + "/left02.jpg"});
    const std::string before = test::bytesOf(photo);
    for (const std::string& report : {photo, folder.path() + "/photos/../photos/left01.jpg"}) {
        const ProgramResult run = fromCorners({manifest}, {"--report", report});
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr("'" + report + "' would replace an input"));
        EXPECT_EQ(test::bytesOf(photo), before);
        EXPECT_FALSE(fs::exists(set));
    }
}

TEST_F(CornerManifests, AreNotReplacedAndNotMixedWithPhotographs) {
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

TEST_F(CornerManifests, MustNotCountAPhotographTwiceThatHasTwoNames) {
    copyPhotos(2);
    record(manifest, {photos + "/left01.jpg", photos + "/left02.jpg"});
    const std::string good = test::bytesOf(manifest);
    const std::string again = folder.path() + "/./photos/left01.jpg";
    record(manifest, {again}); // the batch went on with other words
    test::writeBytes(manifest, good + test::bytesOf(manifest));
    const ProgramResult run = fromCorners({manifest});
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr(again + "' and '" + photos + "/left01.jpg' in '" + manifest +
                                   "' are one photograph under two names"));
    EXPECT_FALSE(fs::exists(set));
    test::writeBytes(manifest, good + good); // under the same names, the last line counts
    EXPECT_EQ(fromCorners({manifest}).status, 0);
}

TEST_F(CornerManifests, OfBatchesOfOneSizeMissTheirPartsToo) {
    const auto names = [](const std::vector<int>& numbers) {
        std::vector<std::string> list;
        for (const int number : numbers) {
            list.push_back(test::pairPhoto("left", number));
        }
        return list;
    };
    const std::string whole = folder / "whole.jsonl";
    record(whole, names({1, 2, 3, 4}));
    record(manifest, names({5, 6, 7, 8}));
    EXPECT_EQ(fromCorners({whole, manifest}).err, "");
    record(manifest, names({5, 6})); // the first two of four
    rewrite([](Json& line) { line["of"] = 4; });
    EXPECT_EQ(fromCorners({whole, manifest}).err,
              "tarvix: 2 batches have together 8 photographs, and the manifests have 6 of them; "
              "is a part missing?\n");
}

TEST_F(CornerManifests, SayWhatALineLacks) {
    record(manifest, {test::pairPhoto("left", 1), test::pairPhoto("left", 2)});
    const std::string good = test::bytesOf(manifest);
    const auto expectRefused = [&](const std::function<void(Json & line)>& change,
                                   const std::string& why) {
        test::writeBytes(manifest, good);
        rewrite(change);
        const ProgramResult run = fromCorners({manifest});
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr(why));
        EXPECT_THAT(run.err, HasSubstr(manifest));
    };
    expectRefused([](Json& line) { line["data"]["board"][0] = std::int64_t{4294967305}; },
                  "it is of a board of 4294967305 x 6 inner corners, not of 9 x 6\n");
    expectRefused([](Json& line) { line["data"]["board"][0] = 9.5; }, "board of 9.5 x 6");
    for (const Json& words :
         {Json{"chessboard", "--for-calib"}, Json{"chessboard", "--for-calib", "--board"}}) {
        expectRefused(
            [&](Json& line) {
                line["status"] = "failed";
                line["operation"] = words;
            },
            "cannot be used: its board is not said\n");
    }
    expectRefused(
        [](Json& line) {
            line["inputHex"] = "6x";
            line.erase("input");
        },
        "has a name that cannot be read: not hexadecimal digits\n");
}

} // namespace
