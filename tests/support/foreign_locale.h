// A process whose locale writes numbers in another way.
#pragma once

#include "tests/support/files.h"

#include <array>
#include <cstdio>
#include <string>

namespace test {

// 1.5 as the C library writes it now.
inline std::string oneAndAHalf() {
    std::array<char, 20> text{};
    (void)std::snprintf(text.data(), text.size(), "%.1f", 1.5);
    return text.data();
}

// Switches the C locale of the process for the object's lifetime: to an installed one, or one
// compiled into a temporary folder. Throws if neither can be had.
class DecimalComma {
public:
    DecimalComma(); // "1,5"
    ~DecimalComma();
    DecimalComma(const DecimalComma&) = delete;
    DecimalComma& operator=(const DecimalComma&) = delete;

private:
    TempFolder m_compiled;
    std::string m_before;
};

// The same for a locale whose decimal point is neither '.' nor ','.
class DecimalOther {
public:
    static bool exists(); // false on a Windows without such a locale

    DecimalOther(); // "1\u066B5", for example
    ~DecimalOther();
    DecimalOther(const DecimalOther&) = delete;
    DecimalOther& operator=(const DecimalOther&) = delete;

private:
    TempFolder m_compiled;
    std::string m_before;
};

} // namespace test
