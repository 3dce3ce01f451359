// Lines out of a pipe.
#pragma once

#include "platform/system/pipe_end.h"

#include <string>

namespace tarvix {

class LineReader {
public:
    // The end must outlive the object. `longest`: bytes of a line; a longer one ends the reading.
    explicit LineReader(PipeEnd& end, std::size_t longest = std::size_t{256} << 20U)
        : m_end(end), m_longest(longest) {}

    // Waits for a line and gives it without its end. Returns false at the end of the pipe; what
    // follows the last line's end is dropped, because it may be half a line.
    bool read(std::string& line);

private:
    PipeEnd& m_end;
    std::size_t m_longest;
    std::string m_text;         // read, not yet given
    std::size_t m_searched = 0; // bytes of it that have no line's end
};

} // namespace tarvix
