// The command batch, run as a user runs it.
#include "tests/host/batch_test.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using host::Json;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

using Batch = test::BatchTest;

TEST_F(Batch, GivesWhatTheCommandGivesForEachImage) {
    makeInputs(40);
    makeExpected();
    for (const std::string& name : {std::string("0000.png"), std::string("0017.png")}) {
        tarvix({"canny", folder / ("in/" + name), "--low", "20", "-o", folder / "one.png"});
        EXPECT_EQ(test::bytesOf(folder / "one.png"), expected.at(name));
    }
    std::vector<std::string> order;
    for (const char* jobs : {"1", "3"}) {
        SCOPED_TRACE(jobs);
        fs::remove_all(folder / "out");
        fs::remove(manifest);
        const ProgramResult run = tarvix(words({"--jobs", jobs, "--json"}));
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(Json::parse(run.out).at("done"), 40);
        expectComplete(40);
        std::vector<std::string> now;
        for (const Json& line : lines(manifest)) {
            now.push_back(line.at("input"));
            EXPECT_EQ(line.at("of"), 40);
            EXPECT_EQ(line.at("number"), now.size());
            EXPECT_EQ(line.at("data").at("channels"), 1);
            EXPECT_EQ(line.at("operation").at(1), "--low");
            EXPECT_GT(line.at("memory"), 0);
        }
        EXPECT_TRUE(std::is_sorted(now.begin(), now.end()));
    }
}

TEST_F(Batch, DataAreInTheManifest) {
    fs::create_directories(folder / "in");
    for (const char* name : {"left01.jpg", "left02.jpg", "home.jpg"}) {
        fs::copy_file(test::photoPath(name), folder / (std::string("in/") + name));
    }
    const ProgramResult run = tarvix(
        {"batch", "chessboard", "--board", "9x6", folder / "in/*.jpg", "--manifest", manifest});
    EXPECT_EQ(run.status, 1) << "home.jpg has no board";
    test::expectOneLine(run, 1);
    EXPECT_THAT(run.out, HasSubstr("2 of 3 images done, 1 failed"));
    const std::vector<Json> all = lines(manifest);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].at("status"), "failed");
    EXPECT_THAT(all[0].at("message"), HasSubstr("no chessboard"));
    EXPECT_EQ(all[1].at("data").at("corners").size(), 54U);
}

TEST_F(Batch, APoisonousImageCostsItself) {
    constexpr int count = 500;
    makeInputs(1);
    ASSERT_EQ(tarvix(words()).status, 0);
    const auto usual = lines(manifest).at(0).at("memory").get<std::uint64_t>() >> 20U;
    fs::remove(manifest);
    makeInputs(count);
    // Few bytes, and more pixels than a worker may hold: 243 MB.
    cv::imwrite(folder / "in/0100-poison.png", cv::Mat(9000, 9000, CV_8UC1, cv::Scalar(7)),
                {cv::IMWRITE_PNG_COMPRESSION, 1});
    const std::string limit = std::to_string(usual + 150);
    const ProgramResult run = tarvix(words({"--memory", limit}));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("0100-poison.png' failed: it took more than " + limit +
                                   " MiB of memory"));
    EXPECT_THAT(run.out, HasSubstr("500 of 501 images done, 1 failed"));
    EXPECT_EQ(test::namesIn(folder / "out").size(), static_cast<std::size_t>(count))
        << "and nothing half written";
    const ProgramResult summary = tarvix({"batch-summary", manifest});
    EXPECT_EQ(summary.status, 1);
    EXPECT_THAT(summary.out, HasSubstr("500 of 501 images done, 1 failed, 0 missing"));
    EXPECT_THAT(summary.out, HasSubstr("0100-poison.png' failed: "));
    // Failed images are finished, too, unless they are to be tried again.
    const ProgramResult resumed = tarvix(words({"--resume"}));
    EXPECT_EQ(resumed.status, 1) << "not all are done";
    EXPECT_THAT(resumed.out, HasSubstr("501 skipped; 1 of the skipped ones failed before"));
    EXPECT_THAT(tarvix(words({"--retry-failed"})).out,
                HasSubstr("1 of 501 images done, 500 skipped"));
    EXPECT_EQ(tarvix({"batch-summary", manifest}).status, 0);
}

TEST_F(Batch, ResumeRunsWhatHasChanged) {
    makeInputs(6);
    makeExpected();
    ASSERT_EQ(tarvix(words()).status, 0);
    const auto runs = [&](const std::vector<std::string>& more) {
        std::vector<std::string> all = words({"--resume", "--json"});
        all.insert(all.end(), more.begin(), more.end());
        const ProgramResult run = tarvix(all);
        EXPECT_EQ(run.status, 0) << run.err;
        return Json::parse(run.out).at("done").get<int>();
    };
    EXPECT_EQ(runs({}), 0);
    fs::remove(folder / "out/0001.png");
    EXPECT_EQ(runs({}), 1) << "its result is gone";
    fs::last_write_time(folder / "in/0002.png", fs::file_time_type::clock::now());
    EXPECT_EQ(runs({}), 0) << "the same bytes";
    fs::remove(folder / "in/0003.png"); // MinGW's library overwrites no file
    fs::copy_file(folder / "in/0004.png", folder / "in/0003.png");
    EXPECT_EQ(runs({}), 1) << "other bytes";
    EXPECT_EQ(runs({"--aperture", "5"}), 6) << "other options";
    EXPECT_EQ(tarvix({"batch-summary", manifest}).status, 0);
}

TEST_F(Batch, NothingIsOverwritten) {
    makeInputs(3);
    const std::string before = test::bytesOf(folder / "in/0001.png");
    for (const char* pattern : {"in/{name}.png", "out/same.png", "in/../in/{name}.{ext}"}) {
        const ProgramResult run = tarvix(
            {"batch", "canny", folder / "in", "--out", folder / pattern, "--manifest", manifest});
        test::expectOneLine(run, 1);
        EXPECT_FALSE(fs::exists(manifest)) << "nothing has run";
    }
    EXPECT_EQ(test::bytesOf(folder / "in/0001.png"), before);
    // A shell expands a pattern: the manifest is a photograph then.
    const ProgramResult expanded = tarvix({"batch", "lines", "--resume", "--manifest",
                                           folder / "in/0001.png", folder / "in/0002.png"});
    test::expectOneLine(expanded, 1);
    EXPECT_THAT(expanded.err, HasSubstr("is not a manifest"));
    EXPECT_EQ(test::bytesOf(folder / "in/0001.png"), before);
    // A result beside its input would be an input of the same words.
    const ProgramResult beside =
        tarvix({"batch", "canny", folder / "in", "--out", "{dir}/{name}-e.png"});
    test::expectOneLine(beside, 1);
    EXPECT_THAT(beside.err, HasSubstr("the next time"));
    EXPECT_EQ(test::namesIn(folder / "in").size(), 3U);
    ASSERT_EQ(tarvix(words()).status, 0);
    const std::string record = test::bytesOf(manifest);
    test::expectOneLine(tarvix(words()), 1);
    EXPECT_EQ(test::bytesOf(manifest), record) << "a manifest is gone on with on request only";
}

TEST_F(Batch, AFolderThatCannotBeMadeCostsItsImages) {
    makeInputs(4);
    fs::create_directories(folder / "out");
    test::writeBytes(folder / "out/0001", "a file in its place");
    std::vector<std::string> all = words();
    all[6] = folder / "out/{name}/edges.png";
    const ProgramResult run = tarvix(all);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("3 of 4 images done, 1 failed"));
    EXPECT_THAT(run.err, HasSubstr("0001.png' failed: cannot make the folder '"));
    ASSERT_EQ(lines(manifest).size(), 4U);
    EXPECT_EQ(lines(manifest)[1].at("status"), "failed");
    fs::remove(folder / "out/0001");
    all.emplace_back("--retry-failed");
    EXPECT_EQ(tarvix(all).status, 0);
}

TEST_F(Batch, OnlyWhatAnOperationCanUseIsAnOption) {
    makeInputs(1);
    const auto says = [&](const std::vector<std::string>& bad) {
        const ProgramResult run = tarvix(bad);
        test::expectOneLine(run, 2);
        return run.err;
    };
    const std::string in = folder / "in";
    EXPECT_THAT(says({"batch", "canny", in, "--out", folder / "{n}.png", "--format", "png"}),
                HasSubstr("no option '--format'"));
    EXPECT_THAT(says({"batch", "--jobs", "2", "canny", in}),
                HasSubstr("'canny' must follow 'batch' at once"));
    EXPECT_THAT(says({"--verbose", "batch", "canny", in}),
                HasSubstr("'canny' must follow 'batch' at once"));
}

TEST_F(Batch, BadUsageIsFoundBeforeAnythingRuns) {
    makeInputs(1);
    const std::string in = folder / "in";
    for (const std::vector<std::string>& bad :
         {std::vector<std::string>{"batch"},
          {"batch", "cany", in},
          {"batch", "register", in},
          {"batch", "canny", in},
          {"batch", "lines", in, "--low", "1"},
          {"batch", "canny", in, "--out", "{x}.png"},
          {"batch", "lines", in, "--resume"},
          {"batch", "lines", in, "--shard", "3/2"},
          {"batch", "lines", in, "--jobs", "0"},
          {"batch", "chessboard", in},
          {"batch", "canny", in, "--low", "x", "--out", "{n}.png"}}) {
        test::expectOneLine(tarvix(bad), 2);
    }
    test::expectOneLine(tarvix({"batch", "canny", in, "--out", folder / "{n}.doc"}), 1);
    test::expectOneLine(
        tarvix({"batch", "canny", folder / "nowhere/*", "--out", folder / "{n}.png"}), 1);
}

#if __has_include(<sys/wait.h>)

TEST_F(Batch, ALinkToAnInputIsThatInput) {
    makeInputs(2);
    fs::create_directories(folder / "out");
    fs::create_symlink(folder / "in/0000.png", folder / "link.png");
    fs::create_directory_symlink(folder / "in", folder / "links");
    test::expectOneLine(
        tarvix({"batch", "canny", folder / "in", "--out", folder / "links/{name}.png"}), 1);
    test::expectOneLine(
        tarvix({"batch", "canny", folder / "link.png", "--out", folder / "in/0000.png"}), 1);
}

#endif

} // namespace
