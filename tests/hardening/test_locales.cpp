// Every export gives the same whatever the locale of the process, to the byte of what it writes.
#include "tests/support/exports.h"
#include "tests/support/foreign_locale.h"

#include <gmock/gmock.h>

#include <locale>

namespace {

using test::oneAndAHalf;

class Locales : public testing::Test {
protected:
    const test::MessageCounter host{};
    const test::Workplace place;
    std::vector<test::Outcome> usual = outcomes();

    [[nodiscard]] std::vector<test::Outcome> outcomes() const {
        std::vector<test::Outcome> all;
        for (const test::Export& e : test::allExports()) {
            test::Arguments arguments = place.usualFor(e);
            all.push_back(test::run(e, arguments));
        }
        return all;
    }

    void expectTheUsual() const {
        const std::vector<test::Outcome> now = outcomes();
        for (std::size_t i = 0; i < now.size(); ++i) {
            const char* const name = test::allExports()[i].name;
            EXPECT_NE(now[i].value, 0) << name;
            EXPECT_EQ(now[i].messages, 0) << name;
            EXPECT_TRUE(now[i] == usual[i]) << name;
        }
    }
};

TEST_F(Locales, WithADecimalCommaChangeNothing) {
    const test::DecimalComma locale;
    ASSERT_EQ(oneAndAHalf(), "1,5") << "the locale is not in force";
    expectTheUsual();
    EXPECT_EQ(oneAndAHalf(), "1,5") << "the host's own locale";
}

TEST_F(Locales, WithAnotherDecimalPointChangeNothing) {
    if (!test::DecimalOther::exists()) {
        GTEST_SKIP() << "this system has no locale with another decimal point";
    }
    const test::DecimalOther locale;
    const std::string before = oneAndAHalf();
    ASSERT_NE(before, "1.5") << "the locale is not in force";
    ASSERT_NE(before, "1,5");
    expectTheUsual();
    EXPECT_EQ(oneAndAHalf(), before) << "the host's own locale";
}

// As streams take it: digits in groups of one, which no file may hold.
TEST_F(Locales, OfStreamsChangeNothing) {
    struct Odd : std::numpunct<char> {
        char do_decimal_point() const override { return ';'; }
        char do_thousands_sep() const override { return '_'; }
        std::string do_grouping() const override { return "\1"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale(), new Odd));
    expectTheUsual();
    std::locale::global(before);
}

} // namespace
