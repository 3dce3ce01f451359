#include "host/commands.h"
#include "host/host.h"

#include <iostream>
#include <string>
#include <vector>

namespace host {

int Application::DoMessageBox(LPCSTR text, UINT /*type*/, UINT /*helpId*/) {
    if (m_held != nullptr) {
        m_held->push_back(oneLine(text));
        return IDOK;
    }
    std::cerr << "tarvix: " << oneLine(text) << '\n';
    m_messageShown = true;
    return IDOK;
}

Application& application() {
    static Application instance;
    return instance;
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

int main(int argc, char** argv) {
    host::application(); // before the first call, as a host's application object is
    return host::runCommand(std::vector<std::string>(argv + 1, argv + argc));
}
