// Lower case of A to Z; all other bytes stay.
#pragma once

#include <algorithm>
#include <string>

namespace workbench {

inline char lowerCase(char c) {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
}

inline std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return lowerCase(c); });
    return text;
}

} // namespace workbench
