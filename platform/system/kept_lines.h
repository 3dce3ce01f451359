// Shared by the two systems' ways to keep stray lines.
#pragma once

#include <algorithm>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace tarvix {

// Bytes that a file of kept lines may have before it is emptied: a worker may run for days.
inline constexpr long longestKept = 1L << 20U;

// Writes each character sequence at once, by the given function.
class UnbufferedStream : public std::streambuf {
public:
    using Write = void (*)(const char* text, std::size_t size);
    explicit UnbufferedStream(Write write) : m_write(write) {}

protected:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        m_write(text, static_cast<std::size_t>(size));
        return size;
    }
    int_type overflow(int_type c) override {
        const char character = traits_type::to_char_type(c);
        m_write(&character, 1);
        return traits_type::not_eof(c);
    }

private:
    Write m_write;
};

inline std::vector<std::string> differentLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) {
            line.pop_back();
        }
        if (!line.empty() && std::find(lines.begin(), lines.end(), line) == lines.end()) {
            lines.push_back(line);
        }
    }
    return lines;
}

} // namespace tarvix
