#include "document_check.h"

#include <algorithm>
#include <string>
#include <vector>

namespace tarvix {

namespace {

constexpr std::size_t longestLine = 4000; // OpenCV's buffer for one literal holds 4096
constexpr std::size_t deepestNesting = 16;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool startsName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool continuesName(char c) {
    return startsName(c) || (c >= '0' && c <= '9') || c == '-';
}

bool linesAreSound(std::string_view text) {
    std::size_t length = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 32 && !isSpace(c)) {
            return false;
        }
        length = c == '\n' ? 0 : length + 1;
        if (length > longestLine) {
            return false;
        }
    }
    return true;
}

class Scanner {
public:
    explicit Scanner(std::string_view text) : m_rest(text) {}

    bool scan() {
        take("\xEF\xBB\xBF");
        if (!take("<?xml") || !skipAttributes() || !take("?>") || !skipFiller() ||
            !skipElements()) {
            return false;
        }
        return skipFiller() && m_rest.empty();
    }

private:
    bool take(std::string_view expected) {
        if (m_rest.substr(0, expected.size()) != expected) {
            return false;
        }
        m_rest.remove_prefix(expected.size());
        return true;
    }

    std::string_view takeName() {
        std::size_t n = 0;
        if (!m_rest.empty() && startsName(m_rest[0])) {
            while (n < m_rest.size() && continuesName(m_rest[n])) {
                ++n;
            }
        }
        const std::string_view name = m_rest.substr(0, n);
        m_rest.remove_prefix(n);
        return name;
    }

    void skipBlanks() {
        while (!m_rest.empty() && (m_rest[0] == ' ' || m_rest[0] == '\t')) {
            m_rest.remove_prefix(1);
        }
    }

    // White space and comments.
    bool skipFiller() {
        for (;;) {
            while (!m_rest.empty() && isSpace(m_rest[0])) {
                m_rest.remove_prefix(1);
            }
            if (!take("<!--")) {
                return true;
            }
            const std::size_t end = m_rest.find("-->");
            if (end == std::string_view::npos) {
                return false;
            }
            m_rest.remove_prefix(end + 3);
        }
    }

    // name="value" pairs, each after a blank; stops before the tag's end.
    bool skipAttributes() {
        for (;;) {
            const std::size_t before = m_rest.size();
            skipBlanks();
            if (m_rest.empty() || !startsName(m_rest[0])) {
                return !m_rest.empty();
            }
            if (m_rest.size() == before) {
                return false;
            }
            const std::string_view name = takeName();
            if (!take("=") || m_rest.empty() || (m_rest[0] != '"' && m_rest[0] != '\'')) {
                return false;
            }
            const std::size_t end = m_rest.find(m_rest[0], 1);
            if (end == std::string_view::npos) {
                return false;
            }
            const std::string_view value = m_rest.substr(1, end - 1);
            if (value.find_first_of("\r\n<>&") != std::string_view::npos ||
                (name == "type_id" && value == "binary")) {
                return false;
            }
            m_rest.remove_prefix(end + 1);
        }
    }

    // The text up to the next tag or comment: numbers, words, quoted strings.
    bool skipText() {
        const std::size_t end = m_rest.find('<');
        if (end == std::string_view::npos) {
            return false;
        }
        const std::string_view text = m_rest.substr(0, end);
        bool quoted = false;
        for (const char c : text) {
            if (c == '"') {
                quoted = !quoted;
            } else if (c == '&' || c == '>' || c == '\'' || (c == '\n' && quoted)) {
                return false;
            }
        }
        m_rest.remove_prefix(end);
        Element& element = m_open.back();
        element.hasText = true;
        return !quoted && !element.hasElements;
    }

    bool openElement() {
        const std::string_view name = takeName();
        if (name.empty() || (m_open.empty() && name != "opencv_storage") ||
            m_open.size() == deepestNesting || !skipAttributes() || !take(">")) {
            return false;
        }
        if (!m_open.empty()) {
            if (m_open.back().hasText) {
                return false;
            }
            m_open.back().hasElements = true;
        }
        m_open.push_back({name});
        return true;
    }

    bool closeElement() {
        if (m_open.empty() || takeName() != m_open.back().name) {
            return false;
        }
        skipBlanks();
        m_open.pop_back();
        return take(">");
    }

    // One element and everything in it.
    bool skipElements() {
        do {
            const bool sound = take("</")  ? closeElement()
                               : take("<") ? openElement()
                                           : !m_open.empty() && skipText();
            if (!sound || (!m_open.empty() && !skipFiller())) {
                return false;
            }
        } while (!m_open.empty());
        return true;
    }

    struct Element {
        std::string_view name;
        bool hasText = false;
        bool hasElements = false;
    };

    std::string_view m_rest;
    std::vector<Element> m_open;
};

} // namespace

bool isSoundDocument(std::string_view text) {
    return text.size() <= largestDocument && linesAreSound(text) && Scanner(text).scan();
}

} // namespace tarvix
