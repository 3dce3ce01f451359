#include "host/application.h"

#include "host/output.h"
#include "host/sentences.h"
#include "platform/system/stray_lines.h"

#include <algorithm>
#include <utility>

namespace host {

int Application::DoMessageBox(LPCSTR text, UINT /*type*/, UINT /*helpId*/) {
    std::ostream& errors = m_errors == nullptr ? tarvix::standardError() : *m_errors;
    m_lastMessage = sentence(text);
    errors << "tarvix: " << m_lastMessage << '\n';
    m_messageShown = true;
    return IDOK;
}

std::string Application::sentence(const std::string& message) const {
    return oneLine(m_verbose ? message : withoutPlace(message));
}

void Application::note(const std::string& sentence) {
    if (std::find(m_notes.begin(), m_notes.end(), sentence) == m_notes.end()) {
        m_notes.push_back(sentence);
    }
}

std::vector<std::string> Application::takeNotes() {
    return std::exchange(m_notes, {});
}

Application& application() {
    static Application instance;
    return instance;
}

} // namespace host
