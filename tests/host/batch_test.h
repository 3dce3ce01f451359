// What the tests of the command batch share.
#pragma once

#include "host/result.h"
#include "tests/host/sub_command.h"

#include <opencv2/imgcodecs.hpp>

#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace test {

// A folder with inputs, results and a manifest.
class BatchTest : public testing::Test {
protected:
    // Small images of noise, no two alike.
    void makeInputs(int count) {
        std::filesystem::create_directories(folder / "in");
        for (int i = 0; i < count; ++i) {
            cv::Mat image(12, 16 + i % 7, CV_8UC3);
            cv::RNG random(static_cast<std::uint64_t>(i) + 1);
            random.fill(image, cv::RNG::UNIFORM, 0, 256);
            char name[40];
            static_cast<void>(std::snprintf(name, sizeof name, "in/%04d.png", i));
            cv::imwrite(folder / name, image);
        }
    }
    [[nodiscard]] std::vector<std::string> words(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> all = {
            "batch",      "canny", folder / "in", "--low", "20", "--out", folder / "out/{name}.png",
            "--manifest", manifest};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    [[nodiscard]] std::vector<host::Json> lines(const std::string& path) const {
        std::vector<host::Json> all;
        std::istringstream text(bytesOf(path));
        for (std::string line; std::getline(text, line);) {
            all.push_back(host::Json::parse(line));
        }
        return all;
    }
    // Every input has one line, in order, and one whole result: the bytes of a run for itself.
    void expectComplete(int count) {
        const std::vector<host::Json> all = lines(manifest);
        ASSERT_EQ(all.size(), static_cast<std::size_t>(count)) << "one line for each";
        std::set<std::string> inputs;
        for (const host::Json& line : all) {
            EXPECT_EQ(line.at("status"), "done");
            EXPECT_TRUE(inputs.insert(line.at("input")).second) << line.dump();
        }
        const std::set<std::string> names = namesIn(folder / "out");
        EXPECT_EQ(names.size(), static_cast<std::size_t>(count)) << "nothing half written is left";
        EXPECT_EQ(names, namesIn(folder / "in"));
        for (const std::string& name : names) {
            EXPECT_EQ(bytesOf(folder / ("out/" + name)), expected.at(name)) << name;
        }
    }
    void makeExpected() {
        ASSERT_EQ(tarvix({"batch", "canny", folder / "in", "--low", "20", "--jobs", "1", "--out",
                          folder / "expected/{name}.png"})
                      .status,
                  0);
        for (const std::string& name : namesIn(folder / "expected")) {
            expected[name] = bytesOf(folder / ("expected/" + name));
        }
    }

    TempFolder folder;
    std::string manifest = folder / "m.jsonl";
    std::map<std::string, std::string> expected;
};

} // namespace test
