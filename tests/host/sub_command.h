// What the tests of the host's sub-commands share.
#pragma once

#include "tests/support/files.h"
#include "tests/support/program.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace test {

inline ProgramResult tarvix(const std::vector<std::string>& arguments,
                            const std::string& program = TARVIX_PROGRAM) {
    return runProgram(program, arguments);
}

// What users see of a failure or a warning: standard error is one line of ours, and nothing that
// a codec or OpenCV prints by itself.
inline void expectOneLine(const ProgramResult& run, int status) {
    EXPECT_EQ(run.status, status) << run.err;
    EXPECT_TRUE(run.err.starts_with("tarvix: ")) << run.err;
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    EXPECT_GT(run.err.size(), 20U) << run.err;
}

// Runs a command line for each kind of file that is not an image, in place of every word "BAD".
// Expects a failure of one line that does not write `out`.
inline void expectEveryBadFileRefused(const std::vector<std::string>& commandLine,
                                      const TempFolder& folder, const std::string& out) {
    std::ofstream(folder / "text.png") << "not an image\n";
    std::ofstream(folder / "empty.jpg");
    std::ofstream(folder / "cut.jpg", std::ios::binary) << "\xff\xd8\xff\xe0";
    for (const std::string& bad : {folder / "text.png", folder / "empty.jpg", folder / "cut.jpg",
                                   folder / "missing.png", std::string(), folder.path()}) {
        std::vector<std::string> words = commandLine;
        std::replace(words.begin(), words.end(), std::string("BAD"), bad);
        std::string shown;
        for (const std::string& word : words) {
            shown += word + ' ';
        }
        SCOPED_TRACE(shown);
        expectOneLine(tarvix(words), 1);
        EXPECT_FALSE(std::filesystem::exists(out));
    }
}

} // namespace test
