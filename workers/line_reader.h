// Lines out of a pipe.
#pragma once

#include "platform/system/pipe_end.h"

#include <functional>
#include <string>
#include <utility>

namespace tarvix {

class LineReader {
public:
    // The end must outlive the object. `longest`: bytes of a line; a longer one ends the reading.
    explicit LineReader(PipeEnd& end, std::size_t longest = longestLine)
        : LineReader([&end](char* to, std::size_t size) { return end.read(to, size); }, longest) {}

    // The same of a source that gives at most `size` bytes, and 0 at its end.
    using Source = std::function<std::size_t(char* to, std::size_t size)>;
    explicit LineReader(Source source, std::size_t longest = longestLine)
        : m_source(std::move(source)), m_longest(longest) {}

    // Waits for a line and gives it without its end. Returns false at the end of the pipe; what
    // follows the last line's end is dropped, because it may be half a line.
    bool read(std::string& line);

private:
    static constexpr std::size_t longestLine = std::size_t{256} << 20U;

    Source m_source;
    std::size_t m_longest;
    std::string m_text;         // read, not yet given
    std::size_t m_searched = 0; // bytes of it that have no line's end
};

} // namespace tarvix
