// Numbers within the scope of a DecimalPoint, and after it.
#include "bridge/decimal_point.h"

#include "tests/support/foreign_locale.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

std::string oneAndAHalf() {
    std::array<char, 20> text{};
    (void)std::snprintf(text.data(), text.size(), "%.1f", 1.5);
    return text.data();
}

TEST(DecimalPoint, IsAPointWhereTheLocaleHasAnotherSign) {
    if (!test::DecimalOther::exists()) {
        GTEST_SKIP() << "this system has no locale with another decimal point";
    }
    const test::DecimalOther locale;
    const std::string before = oneAndAHalf();
    ASSERT_NE(before, "1.5") << "the locale is not in force";
    {
        const tarvix::DecimalPoint point;
        EXPECT_EQ(oneAndAHalf(), "1.5");
    }
    EXPECT_EQ(oneAndAHalf(), before);
}

// OpenCV itself reads and writes files right with these.
TEST(DecimalPoint, LeavesPointAndComma) {
    {
        const tarvix::DecimalPoint point;
        EXPECT_EQ(oneAndAHalf(), "1.5");
    }
    const test::DecimalComma locale;
    const tarvix::DecimalPoint point;
    EXPECT_EQ(oneAndAHalf(), "1,5");
}

} // namespace
