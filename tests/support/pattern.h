// Matches text with regular expressions. GoogleTest's own matchers know brackets and groups on some
// systems only.
#pragma once

#include <gmock/gmock.h>

#include <sstream>
#include <string>

#if defined(__GNUC__) && !defined(__clang__)
// g++ 12 sees uninitialised members in its own header under the address sanitizer.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <regex>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace test {

// Each line matches as a whole. There is at least one line, and all lines are ended.
MATCHER_P(LinesMatch, pattern, std::string("every line matches ") + pattern) {
    if (arg.empty() || arg.back() != '\n') {
        return false;
    }
    const std::regex expression(pattern);
    std::istringstream lines(arg);
    for (std::string line; std::getline(lines, line);) {
        if (!std::regex_match(line, expression)) {
            *result_listener << "where the line is \"" << line << '"';
            return false;
        }
    }
    return true;
}

} // namespace test
