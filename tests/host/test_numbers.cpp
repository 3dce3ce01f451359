// Numbers on the command line: each is checked before anything runs.
#include "host/numbers.h"
#include "tests/host/in_process.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <CLI/App.hpp>
#include <gmock/gmock.h>

#include <filesystem>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(Numbers, AreReadWhollyAndFinite) {
    double number = 0;
    EXPECT_TRUE(host::readNumber(std::string("-2.5e3"), number));
    EXPECT_EQ(number, -2500);
    for (const char* bad : {"", "nan", "inf", "-inf", "1e400", "1,5", "1.5 ", "x", "0x10"}) {
        EXPECT_FALSE(host::readNumber(std::string(bad), number)) << bad;
    }
    int whole = 0;
    EXPECT_TRUE(host::readNumber(std::string("-7"), whole));
    EXPECT_EQ(whole, -7);
    for (const char* bad : {"", "7.0", "3000000000", "nan"}) {
        EXPECT_FALSE(host::readNumber(std::string(bad), whole)) << bad;
    }
}

TEST(Numbers, AreInTheirRange) {
    const auto takes = [](const CLI::Validator& check, const std::string& text) {
        return check(text).empty();
    };
    EXPECT_TRUE(takes(host::numberAbove(0), "1e-9"));
    EXPECT_FALSE(takes(host::numberAbove(0), "0"));
    EXPECT_TRUE(takes(host::numberFrom(1, 2), "1"));
    EXPECT_TRUE(takes(host::numberFrom(1, 2), "2"));
    EXPECT_FALSE(takes(host::numberFrom(1, 2), "2.01"));
    EXPECT_FALSE(takes(host::numberFrom(1), "0.99"));
    EXPECT_TRUE(takes(host::wholeFrom(1), "2147483647"));
    EXPECT_FALSE(takes(host::wholeFrom(1, 9), "10"));
    EXPECT_FALSE(takes(host::wholeFrom(1, 9), "0"));
    EXPECT_TRUE(takes(host::oddFrom(1, 127), "127"));
    EXPECT_FALSE(takes(host::oddFrom(1, 127), "8"));
    EXPECT_FALSE(takes(host::oddFrom(1, 127), "129"));
    EXPECT_FALSE(takes(host::oddFrom(1, 127), "-1"));
    EXPECT_EQ(host::oddFrom(1, 127)(std::string("8")), "'8' is not an odd number, from 1 to 127");
    EXPECT_EQ(host::numberAbove(0)(std::string("-5")), "'-5' is not a number above 0");
    EXPECT_EQ(host::numberFrom(0)(std::string("nan")), "'nan' is not a number, 0 and up");
}

struct BadNumber {
    std::vector<std::string> words; // after the program's name; IN and OUT are files
    std::string said;
};

class BadNumbers : public testing::TestWithParam<BadNumber> {};

TEST_P(BadNumbers, AreBadUsageInOneSentence) {
    const test::TempFolder folder;
    std::vector<std::string> words = GetParam().words;
    for (std::string& word : words) {
        word = word == "IN" ? test::photoPath("home.jpg") : word;
    }
    words.insert(words.end(), {"-o", folder / "out.png"});
    const test::ProgramResult run = test::inProcess(words);
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_THAT(run.err, HasSubstr(GetParam().said));
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    EXPECT_THAT(test::namesIn(folder.path()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryCommand, BadNumbers,
    testing::Values(
        BadNumber{{"canny", "IN", "--low", "nan"}, "--low: 'nan' is not a number, 0 and up"},
        BadNumber{{"canny", "IN", "--high", "-1"}, "--high: '-1'"},
        BadNumber{{"canny", "IN", "--aperture", "4"}, "'4' is not an odd number, from 3 to 7"},
        BadNumber{{"denoise", "IN", "--strength", "inf"}, "'inf' is not a number"},
        BadNumber{{"denoise", "IN", "--color-strength", "-0.5"}, "'-0.5'"},
        BadNumber{{"denoise", "IN", "--template", "8"}, "'8' is not an odd number, from 1 to 127"},
        BadNumber{{"denoise", "IN", "--template", "129"}, "'129'"},
        BadNumber{{"denoise", "IN", "--search", "128"}, "'128'"},
        BadNumber{{"denoise", "IN", "--search", "-21"}, "'-21'"},
        BadNumber{{"patch", "IN", "--width", "0", "--height", "9", "--center", "4,4"}, "'0'"},
        BadNumber{{"patch", "IN", "--width", "9", "--height", "-9", "--center", "4,4"}, "'-9'"},
        BadNumber{{"patch", "IN", "--width", "9", "--height", "9", "--center", "4,nan"},
                  "'4,nan' is not a point"},
        BadNumber{{"warp", "IN", "--from", "0,0", "9,0", "9,inf", "0,9", "--to", "0,0", "9,0",
                   "9,9", "0,9"},
                  "'9,inf' is not a point"},
        BadNumber{{"converge", "IN", "--corners", "0,0", "9,0", "9,9", "0,9", "--focal", "-5"},
                  "'-5' is not a number, from 0 to 10000"},
        BadNumber{{"converge", "IN", "--corners", "0,0", "9,0", "9,9", "0,9", "--focal", "nan"},
                  "'nan'"},
        BadNumber{{"converge", "IN", "--corners", "0,0", "9,0", "9,9", "0,9", "--scale", "0"},
                  "'0' is not a number, from 0.001 to 1000"},
        BadNumber{{"converge", "IN", "--corners", "0,0", "9,0", "9,9", "0,9", "--offset", "1,inf"},
                  "'1,inf' is not a point"},
        BadNumber{{"converge", "IN", "--corners", "0,0", "9,0", "9,9", "nan,9"},
                  "'nan,9' is not a point"}));

} // namespace
