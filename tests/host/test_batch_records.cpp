// What a batch leaves when it is killed, and what its manifests say together.
#include "host/saving.h"
#include "platform/system/child_process.h"
#include "platform/system/process_identity.h"
#include "tests/host/batch_test.h"
#include "tests/support/environment.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#if __has_include(<sys/wait.h>)
#include "tests/support/file_size_limit.h"
#endif

namespace {

namespace fs = std::filesystem;
using host::Json;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

const std::string program = fs::absolute(TARVIX_PROGRAM).string();

using BatchRecords = test::BatchTest;

int killsWanted() {
    const char* const given = std::getenv("TARVIX_BATCH_KILLS"); // .ci/run wants more
    return given == nullptr ? 6 : std::atoi(given);
}

TEST_F(BatchRecords, AKillAtAnyMomentLosesAndRepeatsNothing) {
    constexpr int count = 300;
    makeInputs(count);
    makeExpected();
    std::mt19937 random(19);
    const int kills = killsWanted();
    for (int i = 0; i < kills; ++i) {
        std::vector<std::string> line = words({"--resume"});
        line.insert(line.begin(), program);
        {
            tarvix::ChildProcess run(line, tarvix::Errors::Dropped);
            // No result depends on how far it comes meanwhile.
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % 700));
            run.end();
        }
        const std::string text = test::bytesOf(manifest); // its last line may be cut off
        if (std::count(text.begin(), text.end(), '\n') == count || i % 4 == 3) { // a new one
            ASSERT_EQ(tarvix(words({"--resume"})).status, 0);
            expectComplete(count);
            fs::remove_all(folder / "out");
            fs::remove(manifest);
        }
    }
    ASSERT_EQ(tarvix(words({"--resume"})).status, 0);
    expectComplete(count);
}

// Each process has its own name for what it has not finished.
TEST_F(BatchRecords, WhatKilledRunsLeftIsRemoved) {
    makeInputs(2);
    fs::create_directories(folder / "out");
    std::uint64_t ended = 0;
    {
        tarvix::ChildProcess run({program, "--version"}, tarvix::Errors::Dropped);
        ended = run.number();
        static_cast<void>(run.wait());
    }
    const std::string left = host::halfOf(folder / "out/0000.png", ended);
    const std::string written = host::halfOf(folder / "out/0000.png", tarvix::ownProcess());
    const std::string elsewhere = folder / "out/.half-00000000-1-0000.png";
    ASSERT_NE(left, written);
    for (const std::string& half : {left, written, elsewhere}) {
        test::writeBytes(half, "half");
    }
    EXPECT_EQ(tarvix(words()).status, 0);
    EXPECT_FALSE(fs::exists(left));
    EXPECT_TRUE(fs::exists(written)) << "somebody writes it";
    EXPECT_TRUE(fs::exists(elsewhere)) << "on another machine";
    EXPECT_EQ(test::namesIn(folder / "out").size(), 4U);
}

TEST_F(BatchRecords, ShardsMakeTheWhole) {
    makeInputs(50);
    makeExpected();
    std::vector<std::string> summary = {"batch-summary", "--out", manifest};
    for (const char* shard : {"1/3", "2/3", "3/3"}) {
        const std::string part = folder / (std::string("part") + shard[0] + ".jsonl");
        const ProgramResult run =
            tarvix({"batch", "canny", folder / "in", "--low", "20", "--shard", shard, "--manifest",
                    part, "--out", folder / "out/{name}.png"});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(tarvix({"batch-summary", part}).status, 1) << "the others are missing";
        summary.push_back(part);
    }
    EXPECT_EQ(tarvix(summary).status, 0);
    expectComplete(50);
    EXPECT_EQ(tarvix({"batch-summary", folder / "part*.jsonl"}).status, 0) << "expanded by us";
}

TEST_F(BatchRecords, ASummaryDoesNotMixBatches) {
    const auto write = [&](const char* name, const std::string& operation, int from, int to,
                           int of) {
        std::string text;
        for (int i = from; i <= to; ++i) {
            text += Json({{"status", "done"},
                          {"input", std::to_string(i)},
                          {"number", i},
                          {"of", of},
                          {"operation", {operation}},
                          {"version", "1"}})
                        .dump() +
                    '\n';
        }
        test::writeBytes(folder / name, test::bytesOf(folder / name) + text);
        return folder / name;
    };
    const auto summary = [&](const std::vector<std::string>& manifests) {
        std::vector<std::string> all = {"batch-summary"};
        all.insert(all.end(), manifests.begin(), manifests.end());
        return tarvix(all);
    };
    const std::string first = write("1", "canny", 1, 4, 6);
    const std::string second = write("2", "canny", 5, 6, 6);
    EXPECT_EQ(summary({first, second}).status, 0);
    const std::string merged = folder / "merged";
    EXPECT_EQ(summary({first, second, "--out", merged}).status, 0);
    EXPECT_EQ(lines(merged).size(), 6U);
    // Of other operations, and of as many inputs: neither is complete.
    const std::string other = write("3", "lines", 5, 6, 6);
    const ProgramResult mixed = summary({first, other});
    test::expectOneLine(mixed, 1);
    EXPECT_THAT(mixed.err, HasSubstr("of 2 batches"));
    EXPECT_THAT(mixed.out, HasSubstr("6 of 12 images done, 0 failed, 6 missing"));
    const std::string larger = write("4", "canny", 7, 20, 20);
    EXPECT_THAT(summary({first, second, larger}).out, HasSubstr("20 of 26 images done"));
    // One manifest that goes on with other options, and with more inputs.
    write("5", "lines", 1, 6, 6);
    const std::string grown = write("5", "canny", 1, 6, 6);
    EXPECT_EQ(summary({grown}).status, 0);
    write("5", "canny", 7, 7, 7);
    EXPECT_EQ(summary({grown}).status, 0);
    EXPECT_THAT(summary({grown}).out, HasSubstr("7 of 7 images done"));
    test::writeBytes(folder / "none", "");
    test::expectOneLine(summary({folder / "none"}), 1);
    const std::string before = test::bytesOf(first);
    test::expectOneLine(summary({"--out", first, second, first}), 1);
    EXPECT_EQ(test::bytesOf(first), before);
}

TEST_F(BatchRecords, ASummaryTellsBatchesOfOneSizeApart) {
    const auto write = [&](const char* name, const char* inputs, int count) {
        std::string text;
        for (int i = 1; i <= count; ++i) {
            const Json line = {{"status", "done"},
                               {"input", inputs + std::to_string(i)},
                               {"number", i},
                               {"of", 6},
                               {"operation", {"canny"}},
                               {"version", "1"}};
            text += line.dump() + '\n';
        }
        test::writeBytes(folder / name, text);
        return folder / name;
    };
    const std::string whole = write("1", "a/", 6);
    EXPECT_EQ(tarvix({"batch-summary", whole}).status, 0);
    EXPECT_EQ(tarvix({"batch-summary", whole, write("again", "a/", 6)}).status, 0) << "no others";
    const ProgramResult part = tarvix({"batch-summary", whole, write("2", "b/", 3)});
    test::expectOneLine(part, 1);
    EXPECT_THAT(part.err, HasSubstr("of 2 batches"));
    EXPECT_THAT(part.out, HasSubstr("9 of 12 images done, 0 failed, 3 missing"));
    const ProgramResult both = tarvix({"batch-summary", whole, write("2", "b/", 6)});
    test::expectOneLine(both, 1);
    EXPECT_THAT(both.out, HasSubstr("12 of 12 images done, 0 failed, 0 missing"));
}

TEST_F(BatchRecords, AFailureIsRecordedAndNotTheNoteThatFollowsIt) {
    std::string bytes = test::bytesOf(test::photoPath("home.jpg"));
    bytes.resize(bytes.size() / 2);
    test::writeBytes(folder / "cut.jpg", bytes);
    const ProgramResult run = tarvix(
        {"batch", "chessboard", folder / "cut.jpg", "--board", "9x6", "--manifest", manifest});
    EXPECT_EQ(run.status, 1);
    ASSERT_EQ(lines(manifest).size(), 1U);
    EXPECT_THAT(lines(manifest)[0].at("message").get<std::string>(),
                HasSubstr("no chessboard of 9 x 6 inner corners in '"));
    EXPECT_THAT(run.err, HasSubstr("cut.jpg' failed: no chessboard"));
}

TEST_F(BatchRecords, MoreManifestsThanFilesCanBeOpenAreSummed) {
    constexpr int count = 1100;
    for (int i = 1; i <= count; ++i) {
        test::writeBytes(folder / (std::to_string(i) + ".jsonl"),
                         Json({{"status", "failed"},
                               {"input", std::to_string(i)},
                               {"message", "bad"},
                               {"number", i},
                               {"of", count}})
                                 .dump() +
                             '\n');
    }
    EXPECT_THAT(tarvix({"batch-summary", folder / "*.jsonl"}).out, HasSubstr("'1100' failed: bad"));
}

#if __has_include(<sys/wait.h>)

TEST_F(BatchRecords, LongNamesAreWritten) {
    fs::create_directories(folder / "in");
    const std::string name = std::string(240, 'x') + ".png";
    cv::imwrite(folder / ("in/" + name), cv::Mat(9, 9, CV_8UC3, cv::Scalar(1, 2, 3)));
    EXPECT_EQ(tarvix(words()).status, 0);
    EXPECT_THAT(test::namesIn(folder / "out"), testing::ElementsAre(name));
}

TEST_F(BatchRecords, AFullDiskLeavesWholeLines) {
    makeInputs(60);
    makeExpected();
    {
        const test::FileSizeLimit limit(10000); // of the manifest; the results are smaller
        const test::ScopedEnvironment fresh("TARVIX_PROBE", "full disk"); // the limit is inherited
        const ProgramResult run = tarvix(words());
        test::expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr("the disk may be full"));
    }
    EXPECT_GT(lines(manifest).size(), 5U) << "all of them whole";
    EXPECT_EQ(tarvix(words({"--resume"})).status, 0);
    expectComplete(60);
}

#endif

} // namespace
