// The table of commands, and commands run in this process: what workers do.
#include "host/commands.h"
#include "host/failure.h"
#include "host/run_command.h"
#include "host/saving.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <CLI/App.hpp>
#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const host::Command& commandOf(const char* name) {
    const auto& all = host::commands();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const host::Command& c) { return c.name == name; });
    return found == all.end() ? throw std::out_of_range(name) : *found;
}

std::string bytesOfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class Commands : public testing::Test {
protected:
    // Runs the job unchanged and keeps what it prints.
    int perform(const host::Command& command, const host::Job& job) {
        out.str("");
        errors.str("");
        host::Output output(out, errors);
        return host::perform(command, job, output);
    }
    [[nodiscard]] std::vector<std::string> filesInFolder() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    test::TempFolder folder;
    std::ostringstream out;
    std::ostringstream errors;
    std::string home = test::photoPath("home.jpg");
};

TEST(CommandTable, EveryRowIsComplete) {
    std::set<std::string> names;
    for (const host::Command& command : host::commands()) {
        SCOPED_TRACE(command.name);
        EXPECT_TRUE(names.insert(command.name).second) << "twice";
        EXPECT_FALSE(command.help.empty());
        EXPECT_EQ(command.help.find('\n'), std::string::npos);
        EXPECT_FALSE(command.family.empty());
        EXPECT_EQ(command.example.empty(), command.takes == host::Takes::Nothing);
        EXPECT_TRUE(!command.internal || command.gallery.empty());
        for (const host::GalleryEntry& entry : command.gallery) {
            EXPECT_EQ(entry.command.at(0), command.name);
        }
        const host::Job job = command.newJob();
        CLI::App parser;
        job.addOptions(parser);
        const bool required =
            parser.get_option_no_throw("-o") != nullptr && parser.get_option("-o")->get_required();
        EXPECT_EQ(required, command.makes == host::Makes::Image ||
                                (command.makes == host::Makes::Files && command.name != "gallery"));
    }
    EXPECT_GT(names.size(), 20U);
}

TEST_F(Commands, AJobRunsWithoutTheParserAnyNumberOfTimes) {
    const host::Command& canny = commandOf("canny");
    const host::Job job = canny.newJob();
    for (const std::string& photo : {home, test::photoPath("fruits.jpg")}) {
        job.options->in = photo;
        job.options->out = folder / "job.png";
        EXPECT_EQ(perform(canny, job), 0) << errors.str();
        host::Output output(out, errors);
        ASSERT_EQ(host::runCommand({"canny", photo, "-o", folder / "words.png"}, output), 0);
        EXPECT_EQ(bytesOfFile(folder / "job.png"), bytesOfFile(folder / "words.png"));
        EXPECT_FALSE(bytesOfFile(folder / "job.png").empty());
    }
}

TEST_F(Commands, AFailedJobDoesNotSpoilTheNext) {
    const host::Command& denoise = commandOf("denoise");
    const host::Job job = denoise.newJob();
    cv::imwrite(folder / "small.png", cv::Mat(20, 30, CV_8UC3, cv::Scalar(1, 2, 3)));
    job.options->in = folder / "small.png";
    job.options->out = folder / "out.png";
    job.options->gray = true; // the export takes colour only, and shows a message
    EXPECT_EQ(perform(denoise, job), 1);
    EXPECT_THAT(errors.str(), IsEmpty()) << "the module's message goes to the application object";
    job.options->gray = false;
    EXPECT_EQ(perform(denoise, job), 0);
    job.options->in = folder / "missing.png";
    EXPECT_EQ(perform(denoise, job), 1);
    EXPECT_THAT(errors.str(), StartsWith("tarvix: no such file: "));
}

// A command whose result is given.
host::Command giving(const host::Result& result) {
    return host::command<host::CommonOptions>(
        {.name = "giving",
         .help = "Gives a result",
         .text = [](const host::Json& data) { return data.at("text").get<std::string>() + "\n"; }},
        [](CLI::App&, host::CommonOptions&) {},
        [result](const host::CommonOptions&, host::Output& output) {
            output.say("at work\n");
            return result;
        });
}

TEST_F(Commands, ResultsArePrintedAsTextOrAsOneObject) {
    const host::Command command =
        giving({.data = {{"text", "caf\xe9"}, {"a", 1}}, .warnings = {"Mind\nthis."}});
    const host::Job job = command.newJob();
    EXPECT_EQ(perform(command, job), 0);
    EXPECT_EQ(out.str(), "at work\ncaf\xe9\n");
    EXPECT_EQ(errors.str(), "tarvix: Mind this.\n");
    job.options->json = true;
    EXPECT_EQ(perform(command, job), 0);
    EXPECT_EQ(out.str(), "{\"text\":\"caf\xef\xbf\xbd\",\"a\":1}\n"); // U+FFFD
    EXPECT_EQ(errors.str(), "tarvix: Mind this.\n");
}

TEST_F(Commands, AFailureBesideTheResultComesLast) {
    const cv::Mat image(4, 5, CV_8UC1, cv::Scalar(7));
    const host::Command command = giving({.image = image,
                                          .data = {{"text", "found"}},
                                          .beside = {{folder / "beside.png", []() -> cv::Mat {
                                                          throw host::Failure("too far out");
                                                      }}}});
    const host::Job job = command.newJob();
    job.options->out = folder / "result.png";
    EXPECT_EQ(perform(command, job), 1);
    EXPECT_EQ(out.str(), "at work\nfound\n");
    EXPECT_EQ(errors.str(), "tarvix: too far out\n");
    EXPECT_EQ(cv::imread(folder / "result.png").size(), image.size());
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("result.png"));
}

TEST_F(Commands, AResultThatCannotBeWrittenIsNotPrinted) {
    const host::Command command =
        giving({.image = cv::Mat(4, 5, CV_8UC1, cv::Scalar(7)), .data = {{"text", "found"}}});
    const host::Job job = command.newJob();
    job.options->out = folder / "no/folder/result.png";
    EXPECT_EQ(perform(command, job), 1);
    EXPECT_EQ(out.str(), "") << "found before the work";
    EXPECT_THAT(errors.str(), StartsWith("tarvix: cannot write '"));
}

TEST_F(Commands, AFileIsReplacedOnlyByAWholeOne) {
    const std::string path = folder / "keep.png";
    std::ofstream(path) << "mine";
    EXPECT_THROW(host::saveImage(cv::Mat(), path), host::Failure);
    EXPECT_THROW(host::saveImage(cv::Mat(2, 2, CV_8UC1), folder / "keep.nosuchformat"),
                 host::Failure);
    EXPECT_EQ(bytesOfFile(path), "mine");
    host::saveText("yours", path);
    EXPECT_EQ(bytesOfFile(path), "yours");
    std::filesystem::create_directory(folder / "folder");
    EXPECT_THROW(host::saveText("text", folder / "folder"), host::Failure);
    EXPECT_THAT(filesInFolder(), testing::UnorderedElementsAre("keep.png", "folder"));
}

} // namespace
