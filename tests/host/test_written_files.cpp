// What a command line must not do to files: every case leaves them as they were.
#include "host/result.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;
using Words = std::vector<std::string>;

class WrittenFiles : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(folder / "photos");
        fs::create_directory(folder / "camera");
        fs::copy_file(test::photoPath("sudoku.png"), folder / "s.png");
        for (const char* name : {"left01.jpg", "left02.jpg"}) {
            fs::copy_file(test::photoPath(name), folder / (std::string("photos/") + name));
        }
        for (const auto& file : fs::recursive_directory_iterator(folder / "")) {
            if (file.is_regular_file()) {
                before[file.path().string()] = test::bytesOf(file.path().string());
            }
        }
    }
    [[nodiscard]] Words converge(const Words& more) const {
        Words words = {"converge", folder / "s.png", "--corners", "73,85.5",
                       "491,69.5", "520,520.5",      "35.5,515.5"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    [[nodiscard]] Words calib(const Words& more) const {
        Words words = {"calib", folder / "photos", "--board", "9x6", "-o", folder / "camera"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    void expectRefused(const Words& words, const std::string& why) {
        const ProgramResult run = tarvix(words);
        test::expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr(why));
        std::size_t files = 0;
        for (const auto& file : fs::recursive_directory_iterator(folder / "")) {
            files += file.is_regular_file() ? 1 : 0;
        }
        EXPECT_EQ(files, before.size()) << "nothing was written";
        for (const auto& [name, bytes] : before) {
            EXPECT_EQ(test::bytesOf(name), bytes) << name;
        }
    }

    test::TempFolder folder;
    std::map<std::string, std::string> before;
};

TEST_F(WrittenFiles, NoResultReplacesAnInput) {
    const std::string photo = folder / "s.png";
    const std::string out = folder / "o.png";
    for (const Words& words :
         {converge({"-o", photo}),
          converge({"-o", folder / "photos/../s.png"}),
          converge({"-o", out, "--save", photo}),
          converge({"-o", out, "--overlay", folder / "a.png", photo}),
          Words{"canny", photo, "-o", photo},
          {"reduced", photo, "-o", photo},
          {"match", folder / "photos/left01.jpg", photo, "-o", photo},
          {"converge", photo, "-o", out, "--apply", folder / "k.json", "--save", folder / "k.json"},
          calib({"--report", folder / "photos/left02.jpg"}),
          calib({"--export", folder / "photos/left01.jpg"})}) {
        expectRefused(words, "would replace an input");
    }
}

TEST_F(WrittenFiles, NoResultReplacesAnother) {
    const std::string out = folder / "o.png";
    for (const Words& words :
         {converge({"-o", out, "--save", out}), converge({"-o", out, "--overlay", out, out}),
          calib({"--report", folder / "r.txt", "--export", folder / "photos/../r.txt"})}) {
        expectRefused(words, "two results would be one file");
    }
}

TEST_F(WrittenFiles, NoResultReplacesAFileOfTheCalibration) {
    expectRefused(calib({"--report", folder / "camera/cam.xml"}),
                  "may be a file of the calibration");
}

TEST_F(WrittenFiles, AMissingFolderIsNoticedBeforeTheWork) {
    for (const char* option : {"--report", "--export"}) {
        expectRefused(calib({option, folder / "nowhere/file.txt"}), "there is no folder");
    }
    expectRefused(converge({"-o", folder / "o.png", "--save", folder / "nowhere/k.json"}),
                  "there is no folder");
}

TEST_F(WrittenFiles, AFolderOfThatNameIsNoticedBeforeTheWork) {
    expectRefused(calib({"--report", folder / "photos"}), "a folder has that name");
}

TEST_F(WrittenFiles, AnOverlayReplacesNoRegisteredImage) {
    expectRefused({"register", folder / "photos/left01.jpg", folder / "photos/left02.jpg", "-o",
                   folder / "camera", "--overlay", folder / "camera/registered-00.png"},
                  "two results would be one file");
}

TEST_F(WrittenFiles, WhatIsBesideResultsGoesIntoTheirNewFolder) {
    const Words words = {"calib", folder / "photos", "--board",  "9x6",
                         "-o",    folder / "new",    "--report", folder / "new/report.html"};
    EXPECT_EQ(tarvix(words).status, 0);
    EXPECT_TRUE(fs::exists(folder / "new/report.html"));
}

} // namespace
