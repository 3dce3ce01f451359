// What the tests of sets that register share.
#pragma once

#include "host/result.h"
#include "tests/host/in_process.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <functional>
#include <string>
#include <vector>

namespace test {

class RegisteredSet : public testing::Test {
protected:
    // A window of a photograph with its top-left corner at (x, y).
    std::string window(const std::string& name, int x, int y, cv::Size size = {440, 400}) {
        cv::imwrite(folder / name, photo("building.jpg")(cv::Rect({x, y}, size)));
        return folder / name;
    }
    ProgramResult registered(const std::vector<std::string>& images, const std::string& to,
                             const std::vector<std::string>& more = {}) {
        std::vector<std::string> words = {"register"};
        words.insert(words.end(), images.begin(), images.end());
        words.insert(words.end(), {"-o", folder / to, "--json"});
        words.insert(words.end(), more.begin(), more.end());
        return inProcess(words);
    }
    [[nodiscard]] std::string bytesIn(const std::string& name) const {
        return bytesOf(folder / name);
    }
    void changeTable(const std::function<void(host::Json& table)>& change) {
        host::Json document = host::Json::parse(bytesOf(table));
        change(document);
        writeBytes(table, document.dump());
    }

    TempFolder folder;
    std::string table = folder / "table.json";
    std::string home = photoPath("home.jpg");
};

} // namespace test
