// A process whose locale writes decimal numbers with a comma.
#pragma once

#include "tests/support/files.h"

#include <string>

namespace test {

// Switches the C locale of the process to one with a decimal comma for the object's lifetime: an
// installed one, or one compiled into a temporary folder. Throws when neither can be had.
class DecimalComma {
public:
    DecimalComma();
    ~DecimalComma();
    DecimalComma(const DecimalComma&) = delete;
    DecimalComma& operator=(const DecimalComma&) = delete;

private:
    std::string m_before;
    TempFolder m_compiled;
};

} // namespace test
