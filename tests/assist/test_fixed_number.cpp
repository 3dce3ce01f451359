#include "assist/fixed_number.h"

#include <gtest/gtest.h>

#include <locale>

namespace {

class Comma : public std::numpunct<char> {
    [[nodiscard]] char do_decimal_point() const override { return ','; }
};

TEST(FixedNumber, HasSoManyDecimals) {
    EXPECT_EQ(tarvix::fixedNumber(1.25, 0), "1");
    EXPECT_EQ(tarvix::fixedNumber(-0.25, 3), "-0.250");
}

TEST(FixedNumber, HasAPointInEveryLocale) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Comma)); // NOLINT: owned by it
    const std::string text = tarvix::fixedNumber(1.5, 1);
    std::locale::global(before);
    EXPECT_EQ(text, "1.5");
}

} // namespace
