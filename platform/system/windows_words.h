// Words in a command line of Windows, which programs split themselves. Also used on other systems:
// to show lines, and in tests.
#pragma once

#include <cstddef>

namespace tarvix {

// The word between quotation marks, as the run-time library of a started program reads it.
template <class Text> // std::string, as UTF-8, or std::wstring
Text quotedForWindows(const Text& word) {
    using Char = typename Text::value_type;
    Text quoted(1, Char('"'));
    std::size_t backslashes = 0;
    for (const Char c : word) {
        if (c == Char('\\')) {
            ++backslashes;
            continue;
        }
        // Backslashes count double before a quotation mark only.
        quoted.append(c == Char('"') ? 2 * backslashes + 1 : backslashes, Char('\\'));
        backslashes = 0;
        quoted += c;
    }
    quoted.append(2 * backslashes, Char('\\'));
    quoted += Char('"');
    return quoted;
}

} // namespace tarvix
