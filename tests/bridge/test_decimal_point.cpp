// Numbers within the scope of a DecimalPoint, and after it.
#include "bridge/decimal_point.h"

#include "tests/support/foreign_locale.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using test::oneAndAHalf;

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
