// The pages that calib and stereo-calib write with --report.
#include "tests/calib/views.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace {

using nlohmann::json;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;
using testing::Not;

std::size_t countOf(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

// The page without the bytes of its images.
std::string withoutImages(const std::string& page) {
    const std::string mark = "base64,";
    std::string text;
    std::size_t from = 0;
    for (std::size_t at = page.find(mark); at != std::string::npos; at = page.find(mark, from)) {
        text += page.substr(from, at - from);
        from = page.find('"', at);
    }
    return text + page.substr(from);
}

// Nothing is loaded from elsewhere, every element that is opened is closed, no number is none.
void expectSoundPage(const std::string& page) {
    EXPECT_THAT(page, testing::StartsWith("<!doctype html>"));
    EXPECT_THAT(page, testing::EndsWith("</html>\n"));
    const std::string text = withoutImages(page);
    EXPECT_EQ(countOf(text, "http"), 0U);
    EXPECT_EQ(countOf(text, "href=\""), countOf(text, "href=\"data:"));
    EXPECT_EQ(countOf(text, "src=\""), countOf(text, "src=\"data:"));
    EXPECT_EQ(countOf(text, "<script"), 0U);
    for (const std::string name :
         {"svg", "figure", "section", "table", "text", "div", "ul", "li"}) {
        EXPECT_EQ(countOf(text, "<" + name + ">") + countOf(text, "<" + name + " "),
                  countOf(text, "</" + name + ">"))
            << name;
    }
    EXPECT_THAT(text, Not(HasSubstr("nan")));
    EXPECT_THAT(text, Not(HasSubstr(">inf")));
}

class CalibrationReport : public testing::Test {
protected:
    test::TempFolder folder;
    std::string set = folder / "set";
    std::string page = folder / "page.html";
};

TEST_F(CalibrationReport, OfACameraShowsEveryImage) {
    std::vector<std::string> words{"calib"};
    for (const std::string& file : test::leftPhotos(6)) {
        words.push_back(file);
    }
    std::filesystem::copy(test::pairPhoto("left", 7), folder / "a&b.jpg");
    words.insert(words.end(), {folder / "a&b.jpg", test::photoPath("home.jpg"), "--board", "9x6",
                               "-o", set, "--report", page, "--json"});
    const ProgramResult run = tarvix(words);
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string html = test::bytesOf(page);
    expectSoundPage(html);
    const json answer = json::parse(run.out);
    for (const json& image : answer.at("images")) {
        const std::string name =
            std::filesystem::path(image.at("file").get<std::string>()).filename().string();
        EXPECT_THAT(html, HasSubstr(name == "a&b.jpg" ? "a&amp;b.jpg: rms" : name + ": rms"));
    }
    EXPECT_THAT(html, Not(HasSubstr("a&b.jpg")));
    EXPECT_THAT(html, HasSubstr("home.jpg</td>")); // left out
    EXPECT_THAT(html, HasSubstr("undistorted: corners at most "));
    EXPECT_THAT(html, HasSubstr("below 0.5 px is usual"));
    // Seven images, and bars, residuals, coverage, deviation, displacements, two of straight lines.
    EXPECT_EQ(countOf(html, "<svg "), 14U);
}

TEST_F(CalibrationReport, OfAPairShowsRowsAndSquares) {
    std::vector<std::string> words{"stereo-calib"};
    for (const std::string& file : test::pairPhotos(3)) {
        words.push_back(file);
    }
    words.insert(words.end(), {"--board", "9x6", "--square", "25", "-o", set, "--report", page});
    ASSERT_EQ(tarvix(words).status, 0);
    const std::string plain = test::bytesOf(page);
    expectSoundPage(plain);
    EXPECT_THAT(plain, HasSubstr("not metric"));
    EXPECT_THAT(plain, Not(HasSubstr("a square, measured")));
    words.emplace_back("--metric");
    ASSERT_EQ(tarvix(words).status, 0);
    const std::string metric = test::bytesOf(page);
    expectSoundPage(metric);
    EXPECT_THAT(metric, HasSubstr("a square, measured"));
    EXPECT_THAT(metric, HasSubstr("the square: 25.00"));
    EXPECT_THAT(metric, HasSubstr("right camera"));
    EXPECT_EQ(countOf(metric, "A rectified pair with rows"), 3U);
}

TEST_F(CalibrationReport, ThatCannotBeWrittenLeavesTheCalibration) {
    const std::string tooLong = folder / (std::string(300, 'n') + ".html");
    const ProgramResult run =
        tarvix({"calib", test::pairPhoto("left", 1), test::pairPhoto("left", 2), "--board", "9x6",
                "-o", set, "--report", tooLong});
    test::expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("cannot write '"));
    EXPECT_TRUE(std::filesystem::exists(set + "/cam.xml"));
}

} // namespace
