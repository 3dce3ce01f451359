// The process of a worker: command lines as requests.
#include "host/worker_process.h"

#include "assist/tiff_bytes.h"
#include "assist/tiff_tree.h"
#include "host/photograph_file.h"
#include "tests/support/files.h"
#include "tests/support/images.h"
#include "workers/worker.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <filesystem>

namespace {

using host::Json;
using tarvix::Outcome;
using tarvix::Reply;
using tarvix::requestOf;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string program = std::filesystem::absolute(TARVIX_PROGRAM).string();

// A photograph that names its artist, Ann, and its focal length, 28 mm.
void writePhotograph(const std::string& path) {
    constexpr std::uint16_t artist = 0x013B, focalLength35 = 0xA405, text = 2;
    const std::string block = tarvix::exifBlock(
        {.main = {{artist, text, 4, std::string("Ann\0", 4)}},
         .exif = {{focalLength35, tarvix::tiffShort, 1, std::string("\x1c\0", 2)}}});
    std::vector<std::string> leftOut;
    test::writeBytes(path, host::withMetadata(test::bytesOf(test::photoPath("home.jpg")),
                                              {.exif = block}, {512, 384}, leftOut));
}

// Other bytes, and nobody can tell that the file has changed.
void overwriteUnseen(const std::string& path) {
    const auto time = std::filesystem::last_write_time(path);
    test::writeBytes(path, std::string(test::bytesOf(path).size(), '\0'));
    std::filesystem::last_write_time(path, time);
}

class WorkerProcess : public testing::Test {
protected:
    // The answer to a command line.
    Json run(const std::vector<std::string>& words) {
        const Reply reply = worker.ask(requestOf(words));
        EXPECT_EQ(reply.outcome, Outcome::Answered) << reply.why;
        return reply.answer;
    }

    test::TempFolder folder;
    std::string out = folder / "out.png";
    std::string home = test::photoPath("home.jpg");
    tarvix::Worker worker{{program, "worker"}};
};

TEST_F(WorkerProcess, RunsCommandLinesOneAfterTheOther) {
    const Json edges = run({"canny", home, "-o", out, "--json"});
    EXPECT_EQ(edges.at("status"), 0);
    EXPECT_EQ(edges.at("data").at("output"), out);
    EXPECT_EQ(edges.at("text"), "");
    EXPECT_THAT(edges.at("messages"), IsEmpty());
    EXPECT_GT(edges.at("seconds"), 0);
    EXPECT_GT(edges.at("cpuSeconds"), 0);
    EXPECT_FALSE(cv::imread(out).empty());

    const Json bad = run({"cany", home});
    EXPECT_EQ(bad.at("status"), 2);
    EXPECT_TRUE(bad.at("data").is_null());
    EXPECT_THAT(bad.at("messages").at(0), HasSubstr("did you mean 'canny'"));

    const Json text = run({"lines", home});
    EXPECT_EQ(text.at("status"), 0);
    EXPECT_THAT(text.at("text"), HasSubstr("\n"));
    EXPECT_TRUE(text.at("data").is_null());
    EXPECT_FALSE(run({"lines", home, "--json"}).at("data").at("segments").empty());
}

// OpenCV's random numbers go on from where the last request left them.
TEST_F(WorkerProcess, RandomColoursAreTheSameAgain) {
    const std::string again = folder / "again.png";
    ASSERT_EQ(run({"keypoints", home, "-o", out}).at("status"), 0);
    ASSERT_EQ(run({"keypoints", home, "-o", again}).at("status"), 0);
    EXPECT_EQ(cv::norm(cv::imread(out), cv::imread(again), cv::NORM_INF), 0);
}

TEST_F(WorkerProcess, AMessageOfTheModuleIsInTheAnswer) {
    const Json refused = run({"denoise", home, "-o", out, "--gray"});
    EXPECT_EQ(refused.at("status"), 1);
    ASSERT_EQ(refused.at("messages").size(), 1U);
    EXPECT_THAT(refused.at("messages").at(0), HasSubstr("CV_8UC3"));
    EXPECT_EQ(run({"load", home, "-o", out}).at("status"), 0) << "it does not stick";
}

// Only the workbench reads an image again: each image that is kept costs memory.
TEST_F(WorkerProcess, ImagesAreKeptOnRequest) {
    const std::string image = folder / "image.bmp";
    const auto shade = [&](tarvix::Worker& asked) {
        EXPECT_EQ(asked.ask(requestOf({"load", image, "-o", out})).outcome, Outcome::Answered);
        return cv::imread(out, cv::IMREAD_GRAYSCALE).at<unsigned char>(0, 0);
    };
    tarvix::Worker keeping({program, "worker", "--keep-images"});
    cv::imwrite(image, cv::Mat(4, 4, CV_8UC3, cv::Scalar(10, 10, 10)));
    const auto time = std::filesystem::last_write_time(image);
    EXPECT_EQ(shade(worker), 10);
    EXPECT_EQ(shade(keeping), 10);
    cv::imwrite(image, cv::Mat(4, 4, CV_8UC3, cv::Scalar(20, 20, 20)));
    std::filesystem::last_write_time(image, time); // nobody can tell that it has changed
    EXPECT_EQ(shade(worker), 20);
    EXPECT_EQ(shade(keeping), 10);
}

// Kept with the pixels: the focal length, what the result carries, and the number of bits.
TEST_F(WorkerProcess, KeptImagesKeepWhatTheirFilesSay) {
    const std::string photograph = folder / "photograph.jpg";
    const std::string deep = folder / "deep.png";
    writePhotograph(photograph);
    cv::imwrite(deep, cv::Mat(20, 30, CV_16UC3, cv::Scalar(60000, 300, 7)));
    const std::vector<std::string> straighten = {"converge", photograph,  "-o",     out,
                                                 "--json",   "--corners", "100,60", "400,40",
                                                 "430,250",  "80,275"};
    const std::vector<std::string> load = {"load", deep, "-o", out};
    tarvix::Worker keeping({program, "worker", "--keep-images"});
    for (const auto& [image, words] : {std::pair(photograph, straighten), std::pair(deep, load)}) {
        const Json first = keeping.ask(requestOf(words)).answer;
        ASSERT_EQ(first.value("status", -1), 0) << first.dump();
        const std::string written = test::bytesOf(out);
        if (image == photograph) {
            EXPECT_EQ(first.at("data").at("focal_mm"), 28);
            EXPECT_EQ(first.at("data").at("focal_source"), "from the file");
            EXPECT_THAT(host::readPhotographFile(out).metadata.exif, HasSubstr("Ann"));
        } else {
            EXPECT_THAT(first.at("messages").dump(), HasSubstr("has 16 bits per sample"));
        }
        overwriteUnseen(image);
        const Json second = keeping.ask(requestOf(words)).answer;
        for (const char* member : {"status", "data", "messages"}) {
            EXPECT_EQ(second.value(member, Json()), first.at(member)) << member;
        }
        EXPECT_TRUE(test::bytesOf(out) == written) << "another result of " << image;
    }
}

TEST_F(WorkerProcess, WhatIsWrongWithAFileIsInTheAnswer) {
    std::string bytes = test::bytesOf(home);
    bytes.resize(bytes.size() / 2);
    test::writeBytes(folder / "cut.jpg", bytes);
    const Json damaged = run({"load", folder / "cut.jpg", "-o", out});
    EXPECT_EQ(damaged.at("status"), 0);
    EXPECT_THAT(damaged.at("messages").at(0), HasSubstr("is damaged"));
    EXPECT_EQ(run({"load", folder / "missing.jpg", "-o", out}).at("messages").at(0),
              "no such file: '" + folder.path() + "/missing.jpg'");
}

// Notes about the image follow the failure among the messages.
TEST_F(WorkerProcess, TheFailureIsNamed) {
    cv::imwrite(folder / "grey.jpg", cv::imread(home, cv::IMREAD_GRAYSCALE));
    std::string bytes = test::bytesOf(folder / "grey.jpg");
    bytes.resize(bytes.size() / 2);
    test::writeBytes(folder / "cut.jpg", bytes);
    const std::string cut = folder / "cut.jpg";
    const std::vector<std::string> ours = {"chessboard", cut, "--board", "9x6"};
    const std::vector<std::string> ofModule = {"denoise", cut, "-o", out, "--gray"};
    for (const auto& [words, why] :
         {std::pair(ours, "no chessboard"), std::pair(ofModule, "CV_8UC3")}) {
        const Json failed = run(words);
        EXPECT_EQ(failed.at("status"), 1);
        EXPECT_THAT(failed.at("failure"), HasSubstr(why));
        EXPECT_EQ(failed.at("messages").front(), failed.at("failure"));
        EXPECT_THAT(failed.at("messages").back(), HasSubstr("is damaged"));
    }
    EXPECT_THAT(run({"cany"}).at("failure"), HasSubstr("did you mean 'canny'"));
    EXPECT_FALSE(run({"load", home, "-o", out}).contains("failure")) << "it does not stick";
}

TEST_F(WorkerProcess, ABadRequestIsAnswered) {
    EXPECT_EQ(run({}).at("status"), 2);
    EXPECT_EQ(run({"worker"}).at("status"), 2) << "it would wait for requests of its own";
    const Reply reply = worker.ask({{"sentence", "hello"}});
    ASSERT_EQ(reply.outcome, Outcome::Answered);
    EXPECT_EQ(reply.answer.at("status"), 2);
    EXPECT_THAT(reply.answer.at("messages").at(0), HasSubstr("a request is an object"));
    EXPECT_EQ(run({"--version"}).at("status"), 0);
}

TEST_F(WorkerProcess, LongWorkTellsItsSteps) {
    std::vector<std::string> words = {"calib", "--board", "9x6", "-o", folder.path()};
    for (const char* name : {"left01.jpg", "left02.jpg", "left03.jpg", "left04.jpg"}) {
        words.push_back(test::photoPath(name));
    }
    std::vector<Json> steps;
    const Reply reply =
        worker.ask(requestOf(words), [&](const Json& step) { steps.push_back(step); });
    ASSERT_EQ(reply.outcome, Outcome::Answered) << reply.why;
    ASSERT_FALSE(steps.empty()) << reply.answer.dump();
    EXPECT_EQ(steps.back().at("done"), steps.size());
    EXPECT_EQ(steps.back().at("total"), 4);
    EXPECT_THAT(steps.back().at("what"), HasSubstr("left04.jpg"));
}

#if __has_include(<sys/wait.h>) // where a file's name is any bytes
TEST_F(WorkerProcess, AFilesNameIsAnyBytes) {
    const std::string strange = folder / "gr\xfc\xdf\n.png";
    EXPECT_EQ(run({"load", home, "-o", strange}).at("status"), 0);
    EXPECT_TRUE(std::filesystem::exists(strange));
}
#endif

} // namespace
