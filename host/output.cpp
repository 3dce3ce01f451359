#include "host/output.h"

namespace host {

void Output::say(const std::string& text) {
    if (!m_json) {
        *m_out << text << std::flush;
    }
}

void Output::print(const Json& data, const AsText& text) {
    if (m_json) {
        *m_out << data.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
    } else if (text) {
        *m_out << text(data);
    }
}

void Output::warn(const std::string& sentence) {
    m_errors << "tarvix: " << oneLine(sentence) << '\n';
}

void Output::fail(const std::string& reason) {
    m_failure = oneLine(reason);
    m_errors << "tarvix: " << m_failure << '\n';
}

bool Output::flush() {
    return static_cast<bool>(m_out->flush());
}

std::string oneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        if (c != '\n' && c != '\r') {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line;
}

} // namespace host
