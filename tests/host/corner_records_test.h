// What the tests of corners that a batch recorded share.
#pragma once

#include "tests/calib/views.h"
#include "tests/host/in_process.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"

#include "host/batch/digest.h"
#include "host/result.h"

#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace test {

// A folder with photographs, manifests and a calibration.
class CornerRecordsTest : public testing::Test {
protected:
    void copyPhotos(int count) {
        std::filesystem::create_directories(photos);
        for (const std::string& file : leftPhotos(count)) {
            std::filesystem::copy(file, photos);
        }
    }
    // Records the corners of photographs in a manifest, without workers: quick.
    static void record(const std::string& path, const std::vector<std::string>& names,
                       const std::string& board = "9x6") {
        std::string text;
        std::size_t number = 0;
        for (const std::string& name : names) {
            const ProgramResult run =
                inProcess({"chessboard", name, "--board", board, "--for-calib", "--json"});
            ASSERT_EQ(run.status, 0) << run.err;
            const host::Json line = {{"status", "done"},
                                     {"input", name},
                                     {"number", ++number},
                                     {"of", names.size()},
                                     {"hash", host::asText(host::digestOfFile(name).value())},
                                     {"data", host::Json::parse(run.out)},
                                     {"operation", {"chessboard", "--board", board, "--for-calib"}},
                                     {"version", host::programVersion()},
                                     {"key", "0"}};
            text += line.dump() + "\n";
        }
        writeBytes(path, text);
    }
    ProgramResult fromCorners(std::vector<std::string> words,
                              const std::vector<std::string>& more = {}) {
        words.insert(words.begin(), {"calib", "--from-corners"});
        words.insert(words.end(), {"--board", "9x6", "-o", set});
        words.insert(words.end(), more.begin(), more.end());
        return inProcess(words);
    }
    // The same manifest with each line changed.
    void rewrite(const std::function<void(host::Json& record)>& change) {
        std::istringstream lines(bytesOf(manifest));
        std::string text;
        for (std::string line; std::getline(lines, line);) {
            host::Json record = host::Json::parse(line);
            change(record);
            text += record.dump() + "\n";
        }
        writeBytes(manifest, text);
    }

    TempFolder folder;
    std::string photos = folder / "photos";
    std::string manifest = folder / "corners.jsonl";
    std::string set = folder / "set";
};

} // namespace test
