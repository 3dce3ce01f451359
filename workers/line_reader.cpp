#include "workers/line_reader.h"

#include <array>

namespace tarvix {

bool LineReader::read(std::string& line) {
    std::array<char, 65536> part{};
    for (;;) {
        const std::size_t end = m_text.find('\n', m_searched);
        if (end != std::string::npos) {
            line.assign(m_text, 0, end);
            if (line.ends_with('\r')) {
                line.pop_back();
            }
            m_text.erase(0, end + 1);
            m_searched = 0;
            return true;
        }
        m_searched = m_text.size();
        const std::size_t count =
            m_text.size() > m_longest ? 0 : m_source(part.data(), part.size());
        if (count == 0) {
            return false;
        }
        m_text.append(part.data(), count);
    }
}

} // namespace tarvix
